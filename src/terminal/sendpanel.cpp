#include "terminal/sendpanel.h"

#include "terminal/format/sendmodes.h"
#include "terminal/panelform.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QRadioButton>
#include <QSpinBox>

namespace {

// The repeat period, in milliseconds: a device at the slowest line speed still gets room.
constexpr int minRepeatMs = 10;
constexpr int maxRepeatMs = 1'000'000'000;
constexpr int repeatStepMs = 100;

template<typename Entries>
void fill(QComboBox& box, const Entries& entries)
{
    for (const auto& entry : entries)
        box.addItem(QCoreApplication::translate("SendModes", entry.text), int(entry.mode));
}

void choose(QComboBox& box, int code)
{
    box.setCurrentIndex(std::max(box.findData(code), 0));
}

} // namespace

SendPanel::SendPanel(QWidget* parent)
    : QGroupBox(tr("Send Settings"), parent)
    , m_text(new QRadioButton(tr("Text"), this))
    , m_hex(new QRadioButton(tr("Hex"), this))
    , m_encoding(new QComboBox(this))
    , m_normaliseHex(new QCheckBox(tr("Tidy hex input"), this))
    , m_loop(new QCheckBox(tr("Loop "), this))
    , m_interval(new QSpinBox(this))
    , m_lineByLine(new QCheckBox(tr("Line by Line"), this))
    , m_lineEnding(new QComboBox(this))
    , m_checksum(new QComboBox(this))
    , m_enterSends(new QComboBox(this))
    , m_displaySend(new QCheckBox(tr("Display Send"), this))
    , m_localEcho(new QCheckBox(tr("Local Echo"), this))
{
    m_text->setToolTip(tr("Send the input as text"));
    m_hex->setToolTip(tr("Send the input as hexadecimal bytes; what follows // is a comment"));
    m_encoding->setAccessibleName(tr("Encoding of sent text"));
    m_normaliseHex->setToolTip(tr("Rewrite the input as pairs of upper-case digits when sending"));
    m_loop->setToolTip(tr("Resend automatically at an interval"));
    m_interval->setAccessibleName(tr("Repeat interval in milliseconds"));
    m_interval->setRange(minRepeatMs, maxRepeatMs);
    m_interval->setSingleStep(repeatStepMs);
    m_interval->setSuffix(tr(" ms"));
    m_lineByLine->setToolTip(tr("Send multi-line input line by line"));
    m_lineEnding->setToolTip(tr("Ending appended to each send"));
    m_checksum->setToolTip(tr("Checksum appended to each send"));
    m_enterSends->setToolTip(tr("Bytes sent when Enter is pressed in the receive terminal"));
    m_displaySend->setToolTip(tr("Echo sent data in the display"));
    m_localEcho->setToolTip(tr("Echo keys typed into the receive terminal"));
    fillLists();
    buildRows();
    connectEdits();
}

SendPanel::~SendPanel() = default;

void SendPanel::fillLists()
{
    m_encoding->addItems(WireTextCodecRegistry::supportedEncodings());
    fill(*m_lineEnding, kLineEndingTexts);
    fill(*m_enterSends, kTerminalEnterTexts);
    fill(*m_checksum, kChecksumTexts);
}

void SendPanel::buildRows()
{
    QFormLayout* form = makePanelForm(this);

    auto* formats = new QHBoxLayout;
    formats->addWidget(m_text);
    formats->addWidget(m_hex);
    formats->addStretch();
    form->addRow(tr("Format"), formats);
    form->addRow(tr("Encoding"), m_encoding);
    form->addRow(m_normaliseHex);
    form->addRow(m_loop, m_interval);
    form->addRow(m_lineByLine);
    form->addRow(tr("Append Line Ending"), m_lineEnding);
    form->addRow(tr("Append Checksum"), m_checksum);
    form->addRow(tr("Enter Sends"), m_enterSends);
    auto* echoes = new QHBoxLayout;
    echoes->addWidget(m_displaySend);
    echoes->addWidget(m_localEcho);
    echoes->addStretch();
    form->addRow(echoes);
}

void SendPanel::connectEdits()
{
    auto* formats = new QButtonGroup(this);
    formats->addButton(m_text);
    formats->addButton(m_hex);
    const auto changed = [this] {
        syncEnabled();
        Q_EMIT edited();
    };
    connect(formats, &QButtonGroup::buttonClicked, this, changed);
    for (QComboBox* box : {m_encoding, m_lineEnding, m_checksum, m_enterSends})
        connect(box, &QComboBox::activated, this, changed);
    for (QCheckBox* box : {m_normaliseHex, m_displaySend, m_localEcho})
        connect(box, &QCheckBox::clicked, this, changed);
    const auto repeatChanged = [this] {
        Q_EMIT edited();
        Q_EMIT repeatEdited();
    };
    connect(m_loop, &QCheckBox::clicked, this, repeatChanged);
    connect(m_lineByLine, &QCheckBox::clicked, this, repeatChanged);
    connect(m_interval, &QSpinBox::editingFinished, this, repeatChanged);
}

void SendPanel::syncEnabled()
{
    const bool hex = m_hex->isChecked();
    m_encoding->setEnabled(!hex);
    m_lineEnding->setEnabled(!hex);
    m_normaliseHex->setEnabled(hex);
}

bool SendPanel::lineByLine() const
{
    return m_lineByLine->isChecked();
}

void SendPanel::load(const FormatSetting& format)
{
    const bool hex = format.sendMsgFormat == int(MessageFormat::Hexadecimal);
    (hex ? m_hex : m_text)->setChecked(true);
    m_encoding->setCurrentText(format.sendEncoding);
    m_normaliseHex->setChecked(format.formatSend);
    m_loop->setChecked(format.autoSend);
    m_interval->setValue(format.sendInterval);
    choose(*m_lineEnding, format.txLineEndingMode);
    choose(*m_checksum, format.sendChecksum);
    choose(*m_enterSends, format.terminalEnterMode);
    m_displaySend->setChecked(format.displaySendMsg);
    m_localEcho->setChecked(format.localEcho);
    syncEnabled();
}

void SendPanel::store(FormatSetting& format) const
{
    format.sendMsgFormat =
        int(m_hex->isChecked() ? MessageFormat::Hexadecimal : MessageFormat::Text);
    format.sendEncoding = m_encoding->currentText();
    format.formatSend = m_normaliseHex->isChecked();
    format.autoSend = m_loop->isChecked();
    format.sendInterval = m_interval->value();
    format.txLineEndingMode = m_lineEnding->currentData().toInt();
    format.txAutoFeedLine = format.txLineEndingMode != 0;
    format.sendChecksum = m_checksum->currentData().toInt();
    format.terminalEnterMode = m_enterSends->currentData().toInt();
    format.displaySendMsg = m_displaySend->isChecked();
    format.localEcho = m_localEcho->isChecked();
}
