#include "app/fieldnote.h"

#include "app/wrappedlabel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>

FieldNote::FieldNote(QWidget* parent)
    : QWidget(parent)
    , m_icon(new QLabel(this))
    , m_text(new WrappedLabel({}, this))
{
    const int iconSize = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(iconSize));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addWidget(m_text, 1);
}

FieldNote::~FieldNote() = default;

void FieldNote::setText(const QString& text)
{
    m_icon->setVisible(!text.isEmpty());
    m_text->setText(text);
}

QString FieldNote::text() const
{
    return m_text->text();
}
