#include "app/displaypage.h"

#include "app/settingspage.h"
#include "settings/settingscodec.h"
#include "terminal/pane/colorbutton.h"
#include "terminal/view/displayfonts.h"
#include "terminal/view/textcontrast.h"

#include <QCheckBox>
#include <QFontComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kBytesPerMb = 1 << 20;
// Points: from what is just legible to a wall display. A record may hold any size.
constexpr int kMinFontSize = 4;
constexpr int kMaxFontSize = 144;

void showFamily(QFontComboBox& box, const QFont& font)
{
    // A session may name a proportional family that exists here: it is shown for what it is.
    if (box.findText(font.family()) < 0)
        box.setFontFilters(QFontComboBox::AllFonts);
    box.setCurrentFont(font);
}

// As the view paints it: what cannot be read has the text colour of the palette.
void paintSample(QLabel& sample, QPalette palette, const QFont& font, const QColor& color)
{
    if (color.isValid() && isReadable(color, palette.color(QPalette::Base)))
        palette.setColor(QPalette::Text, color);
    sample.setForegroundRole(QPalette::Text);
    sample.setPalette(palette);
    sample.setFont(font);
}

} // namespace

DisplayPage::DisplayPage(QWidget* parent)
    : SettingsPage(parent)
    , m_family(new QFontComboBox(this))
    , m_size(new QSpinBox(this))
    , m_bold(new QCheckBox(tr("&Bold"), this))
    , m_colored(new QCheckBox(tr("Color by &direction"), this))
    , m_receiveColor(new ColorButton(tr("Color of received data"), this))
    , m_sendColor(new ColorButton(tr("Color of sent data"), this))
    , m_bufferMb(new QSpinBox(this))
    , m_lamps(new QCheckBox(tr("S&how TX/RX and control line indicators"), this))
    , m_receiveSample(new QLabel(tr("Received: 0O 1lI {}[]() 48 65 6C"), this))
    , m_sendSample(new QLabel(tr("Sent: 0O 1lI {}[]() 48 65 6C"), this))
{
    describeFields();
    buildRows();

    connect(m_family, &QFontComboBox::currentFontChanged, this, &DisplayPage::onEdited);
    connect(m_size, &QSpinBox::valueChanged, this, &DisplayPage::onEdited);
    connect(m_bufferMb, &QSpinBox::valueChanged, this, &DisplayPage::onEdited);
    for (QCheckBox* box : {m_bold, m_colored, m_lamps})
        connect(box, &QCheckBox::toggled, this, &DisplayPage::onEdited);
    for (ColorButton* button : {m_receiveColor, m_sendColor})
        connect(button, &ColorButton::colorChosen, this, &DisplayPage::onEdited);
}

DisplayPage::~DisplayPage() = default;

void DisplayPage::describeFields()
{
    m_family->setObjectName("displayFontFamily"_L1);
    m_family->setFontFilters(QFontComboBox::MonospacedFonts);
    m_family->setEditable(false);
    m_size->setObjectName("displayFontSize"_L1);
    m_size->setRange(kMinFontSize, kMaxFontSize);
    m_size->setSuffix(tr(" pt"));
    m_bold->setObjectName("displayFontBold"_L1);
    m_colored->setObjectName("formatDisplayColor"_L1);
    m_bufferMb->setObjectName("displayBufferSize"_L1);
    m_bufferMb->setRange(FormatSetting::kMinDisplayBufferSize / kBytesPerMb,
        FormatSetting::kMaxDisplayBufferSize / kBytesPerMb);
    m_bufferMb->setSuffix(tr(" MB"));
    m_bufferMb->setToolTip(tr("How much text the view keeps; older text leaves at the top"));
    m_lamps->setObjectName("showControlLineLeds"_L1);
}

void DisplayPage::buildRows()
{
    QFormLayout* form = makeForm();
    form->addRow(tr("&Font"), m_family);
    auto* size = new QHBoxLayout;
    size->setSpacing(8);
    size->addWidget(m_size);
    size->addWidget(m_bold);
    size->addStretch();
    auto* sizeLabel = new QLabel(tr("Font Si&ze"), this);
    sizeLabel->setBuddy(m_size);
    form->addRow(sizeLabel, size);
    form->addRow(m_colored);
    form->addRow(tr("&Received"), m_receiveColor);
    form->addRow(tr("&Sent"), m_sendColor);
    form->addRow(tr("Sample"), makeSample());
    form->addRow(tr("Display B&uffer"), m_bufferMb);
    form->addRow(m_lamps);
    for (QWidget* field : {static_cast<QWidget*>(m_receiveColor),
             static_cast<QWidget*>(m_sendColor), static_cast<QWidget*>(m_bufferMb)})
        field->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QWidget* DisplayPage::makeSample()
{
    auto* frame = new QFrame(this);
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setBackgroundRole(QPalette::Base);
    frame->setAutoFillBackground(true);
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(4);
    for (QLabel* sample : {m_receiveSample, m_sendSample}) {
        // A large font must not widen the dialog.
        sample->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        layout->addWidget(sample);
    }
    return frame;
}

void DisplayPage::onEdited()
{
    const bool colored = m_colored->isChecked();
    m_receiveColor->setEnabled(colored);
    m_sendColor->setEnabled(colored);
    const QFont font = chosenFont();
    // A family that is not here is replaced: this one it is.
    for (QLabel* sample : {m_receiveSample, m_sendSample})
        sample->setToolTip(SettingsCodec::fontToDisplayString(displayFontOf(font)));
    paintSample(*m_receiveSample, palette(), font, colored ? m_receiveColor->color() : QColor());
    paintSample(*m_sendSample, palette(), font, colored ? m_sendColor->color() : QColor());
    revalidate();
}

QFont DisplayPage::chosenFont() const
{
    QFont font = resolveDisplayFont(m_family->currentFont().family(), m_size->value());
    font.setBold(m_bold->isChecked());
    return font;
}

FormatSetting DisplayPage::edited() const
{
    FormatSetting format = m_shown;
    format.displayFont = displayFontOf(chosenFont());
    format.formatDisplayColor = m_colored->isChecked();
    format.receiveTextColor = m_receiveColor->color().name();
    format.sendTextColor = m_sendColor->color().name();
    format.displayBufferSize = SettingsCodec::displayBufferToStored(m_bufferMb->value());
    format.showControlLineLeds = m_lamps->isChecked();
    return format;
}

void DisplayPage::load(const FormatSetting& format)
{
    const QFont font = resolveDisplayFont(format.displayFont);
    showFamily(*m_family, font);
    m_size->setValue(font.pointSize());
    m_bold->setChecked(font.bold());
    m_colored->setChecked(format.formatDisplayColor);
    m_receiveColor->setColor(QColor::fromString(format.receiveTextColor));
    m_sendColor->setColor(QColor::fromString(format.sendTextColor));
    m_bufferMb->setValue(SettingsCodec::storedToDisplayBuffer(format.displayBufferSize));
    m_lamps->setChecked(format.showControlLineLeds);
    m_shown = edited();
    onEdited();
}

void DisplayPage::store(FormatSetting& format) const
{
    using F = FormatSetting;
    takeEdits(format, m_shown, edited(), &F::displayFont, &F::formatDisplayColor,
        &F::receiveTextColor, &F::sendTextColor, &F::displayBufferSize, &F::showControlLineLeds);
}
