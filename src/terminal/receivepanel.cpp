#include "terminal/receivepanel.h"

#include "app/settings/settingscodec.h"
#include "terminal/colorbutton.h"
#include "terminal/format/sendmodes.h"
#include "terminal/panelform.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

namespace {

constexpr int bytesPerMb = 1 << 20;

} // namespace

ReceivePanel::ReceivePanel(QWidget* parent)
    : QGroupBox(tr("Receive Settings"), parent)
    , m_text(new QRadioButton(tr("Text"), this))
    , m_hex(new QRadioButton(tr("Hex"), this))
    , m_encoding(new QComboBox(this))
    , m_autoFeed(new QCheckBox(tr("Auto feed ending"), this))
    , m_interval(new QSpinBox(this))
    , m_displayTime(new QCheckBox(tr("Display Time"), this))
    , m_colored(new QCheckBox(tr("Color by direction"), this))
    , m_receiveColor(new ColorButton(tr("Color of received data"), this))
    , m_sendColor(new ColorButton(tr("Color of sent data"), this))
    , m_bufferMb(new QSpinBox(this))
    , m_fontButton(new QPushButton(this))
{
    m_text->setToolTip(tr("Show received data as text"));
    m_hex->setToolTip(tr("Show received data as hexadecimal bytes"));
    m_autoFeed->setToolTip(tr("Start a new line after an idle interval"));
    m_displayTime->setToolTip(tr("Prefix received data with a timestamp"));
    m_encoding->addItems(WireTextCodecRegistry::supportedEncodings());
    m_encoding->setAccessibleName(tr("Encoding of received data"));
    m_encoding->setToolTip(tr("The encoding that received bytes are read with"));
    m_interval->setRange(FormatSetting::minAutoFeedInterval, FormatSetting::maxAutoFeedInterval);
    m_interval->setSuffix(tr(" ms"));
    m_interval->setAccessibleName(tr("Minimal interval that starts a new line, in milliseconds"));
    m_bufferMb->setRange(FormatSetting::minDisplayBufferSize / bytesPerMb,
        FormatSetting::maxDisplayBufferSize / bytesPerMb);
    m_bufferMb->setSuffix(tr(" MB"));
    m_bufferMb->setToolTip(tr("How much text the view keeps; older text leaves at the top"));
    m_fontButton->setToolTip(tr("Font of the data views"));
    buildRows();
    connectEdits();
}

ReceivePanel::~ReceivePanel() = default;

void ReceivePanel::buildRows()
{
    QFormLayout* form = makePanelForm(this);

    auto* formats = new QHBoxLayout;
    formats->addWidget(m_text);
    formats->addWidget(m_hex);
    formats->addStretch();
    form->addRow(tr("Format"), formats);
    form->addRow(tr("Encoding"), m_encoding);
    form->addRow(m_autoFeed);
    form->addRow(tr("   Minimal Interval:"), m_interval);
    form->addRow(m_displayTime);
    auto* colors = new QHBoxLayout;
    colors->addWidget(m_colored);
    colors->addStretch();
    colors->addWidget(m_receiveColor);
    colors->addWidget(m_sendColor);
    form->addRow(colors);
    form->addRow(tr("Display Buffer"), m_bufferMb);
    form->addRow(tr("Font"), m_fontButton);
}

void ReceivePanel::connectEdits()
{
    auto* formats = new QButtonGroup(this);
    formats->addButton(m_text);
    formats->addButton(m_hex);
    const auto changed = [this] {
        syncEnabled();
        Q_EMIT edited();
    };
    connect(formats, &QButtonGroup::buttonClicked, this, changed);
    connect(m_encoding, &QComboBox::activated, this, changed);
    for (QCheckBox* box : {m_autoFeed, m_displayTime, m_colored})
        connect(box, &QCheckBox::clicked, this, changed);
    connect(m_receiveColor, &ColorButton::colorChosen, this, changed);
    connect(m_sendColor, &ColorButton::colorChosen, this, changed);
    connect(m_interval, &QSpinBox::editingFinished, this, changed);
    connect(m_bufferMb, &QSpinBox::editingFinished, this, changed);
    connect(m_fontButton, &QPushButton::clicked, this, &ReceivePanel::chooseFont);
}

void ReceivePanel::syncEnabled()
{
    m_encoding->setEnabled(m_text->isChecked());
    m_interval->setEnabled(m_autoFeed->isChecked());
    m_receiveColor->setEnabled(m_colored->isChecked());
    m_sendColor->setEnabled(m_colored->isChecked());
    m_fontButton->setText(
        tr("%1, %2 pt").arg(m_font.family(), QString::number(m_font.pointSize())));
}

void ReceivePanel::chooseFont()
{
    auto* dialog = new QFontDialog(m_font, this);
    dialog->setOption(QFontDialog::MonospacedFonts);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFontDialog::fontSelected, this, [this](const QFont& font) {
        m_font = font;
        syncEnabled();
        Q_EMIT edited();
    });
    dialog->open();
}

void ReceivePanel::load(const FormatSetting& format)
{
    const bool hex = format.receiveMsgFormat == int(MessageFormat::Hexadecimal);
    (hex ? m_hex : m_text)->setChecked(true);
    m_encoding->setCurrentText(format.receiveEncoding);
    m_autoFeed->setChecked(format.rxAutoFeedLine);
    m_interval->setValue(format.autoFeedInterval);
    m_displayTime->setChecked(format.displayMsgTime);
    m_colored->setChecked(format.formatDisplayColor);
    m_receiveColor->setColor(format.receiveTextColor);
    m_sendColor->setColor(format.sendTextColor);
    m_bufferMb->setValue(SettingsCodec::storedToDisplayBuffer(format.displayBufferSize));
    m_font = format.displayFont;
    syncEnabled();
}

void ReceivePanel::store(FormatSetting& format) const
{
    format.receiveMsgFormat =
        int(m_hex->isChecked() ? MessageFormat::Hexadecimal : MessageFormat::Text);
    format.receiveEncoding = m_encoding->currentText();
    format.rxAutoFeedLine = m_autoFeed->isChecked();
    format.autoFeedInterval = m_interval->value();
    format.displayMsgTime = m_displayTime->isChecked();
    format.formatDisplayColor = m_colored->isChecked();
    format.receiveTextColor = m_receiveColor->color();
    format.sendTextColor = m_sendColor->color();
    // A record may hold a size that is no whole megabyte; only an edit replaces it.
    if (SettingsCodec::storedToDisplayBuffer(format.displayBufferSize) != m_bufferMb->value())
        format.displayBufferSize = SettingsCodec::displayBufferToStored(m_bufferMb->value());
    format.displayFont = m_font;
}
