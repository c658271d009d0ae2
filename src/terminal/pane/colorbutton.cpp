#include "terminal/pane/colorbutton.h"

#include "settings/settingscodec.h"

#include <QColorDialog>
#include <QPixmap>

ColorButton::ColorButton(const QString& dialogTitle, QWidget* parent)
    : QPushButton(parent)
    , m_dialogTitle(dialogTitle)
{
    setAccessibleName(dialogTitle);
    setToolTip(dialogTitle);
    connect(this, &QPushButton::clicked, this, &ColorButton::choose);
}

ColorButton::~ColorButton() = default;

void ColorButton::setColor(const QColor& color)
{
    m_color = color;
    QPixmap swatch(iconSize());
    swatch.fill(color.isValid() ? color : QColor(Qt::transparent));
    setIcon(swatch);
    setAccessibleDescription(SettingsCodec::colorToDisplayString(color.name()));
}

void ColorButton::choose()
{
    // open(), not a blocking call: bytes go on arriving while the dialog is up.
    auto* dialog = new QColorDialog(m_color, this);
    dialog->setWindowTitle(m_dialogTitle);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QColorDialog::colorSelected, this, [this](const QColor& color) {
        setColor(color);
        Q_EMIT colorChosen(color);
    });
    dialog->open();
}
