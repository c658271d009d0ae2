#include "terminal/pane/sendpanel.h"

#include "settings/settingscodec.h"
#include "terminal/pane/formatrow.h"
#include "terminal/pane/panelchoices.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QScopedValueRollback>
#include <QSpinBox>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// The repeat period, in milliseconds: a device at the slowest line speed still gets room.
constexpr int kMinRepeatMs = 10;
constexpr int kMaxRepeatMs = 1'000'000'000;
constexpr int kRepeatStepMs = 100;

} // namespace

SendPanel::SendPanel(QWidget* parent)
    : QGroupBox(tr("Send Settings"), parent)
    , m_form(this)
    , m_format(new FormatRow(tr("Send the input as text"),
          tr("Send the input as hexadecimal bytes; what follows // is a comment"), this))
    , m_encoding(new QComboBox(this))
    , m_normaliseHex(new QCheckBox(tr("Tidy hex input"), this))
    , m_loop(new QCheckBox(tr("Loop "), this))
    , m_interval(new QSpinBox(this))
    , m_unit(new QComboBox(this))
    , m_lineByLine(new QCheckBox(tr("Line by Line"), this))
    , m_lineEnding(new QComboBox(this))
    , m_checksum(new QComboBox(this))
    , m_enterSends(new QComboBox(this))
    , m_displaySend(new QCheckBox(tr("Display Send"), this))
    , m_localEcho(new QCheckBox(tr("Local Echo"), this))
{
    nameFields();
    describeFields();
    fillLists();
    showUnit(1);
    buildRows();
    connectEdits();
    syncEnabled();
}

SendPanel::~SendPanel() = default;

void SendPanel::nameFields()
{
    m_format->setObjectName("sendFormat"_L1);
    m_encoding->setObjectName("sendEncoding"_L1);
    m_normaliseHex->setObjectName("formatSend"_L1);
    m_loop->setObjectName("autoSend"_L1);
    m_interval->setObjectName("sendInterval"_L1);
    m_unit->setObjectName("sendTimeUnit"_L1);
    m_lineByLine->setObjectName("lineByLine"_L1);
    m_lineEnding->setObjectName("txLineEndingMode"_L1);
    m_checksum->setObjectName("sendChecksum"_L1);
    m_enterSends->setObjectName("terminalEnterMode"_L1);
    m_displaySend->setObjectName("displaySendMsg"_L1);
    m_localEcho->setObjectName("localEcho"_L1);
}

void SendPanel::describeFields()
{
    m_encoding->setAccessibleName(tr("Encoding of sent text"));
    m_encoding->setToolTip(tr("The encoding that typed text is sent in"));
    m_normaliseHex->setToolTip(tr("Rewrite the input as pairs of upper-case digits when sending"));
    m_loop->setToolTip(tr("Resend automatically at an interval"));
    m_interval->setAccessibleName(tr("Repeat interval"));
    m_interval->setKeyboardTracking(false);
    m_unit->setAccessibleName(tr("Unit of the repeat interval"));
    m_lineByLine->setToolTip(tr("Send multi-line input line by line"));
    m_lineEnding->setToolTip(tr("Ending appended to each send"));
    m_checksum->setToolTip(tr("Checksum appended to each send"));
    m_enterSends->setToolTip(tr("Bytes sent when Enter is pressed in the receive terminal"));
    m_displaySend->setToolTip(tr("Echo sent data in the display"));
    m_localEcho->setToolTip(tr("Echo keys typed into the receive terminal"));
}

void SendPanel::fillLists()
{
    PanelChoices::fillEncodings(*m_encoding);
    PanelChoices::fillLineEndings(*m_lineEnding);
    PanelChoices::fillTerminalEnters(*m_enterSends);
    PanelChoices::fillChecksums(*m_checksum);
    PanelChoices::fillTimeUnits(*m_unit);
    m_offeredUnits = m_unit->count();
    for (QComboBox* box : {m_encoding, m_lineEnding, m_enterSends, m_checksum}) {
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(8);
    }
}

QWidget* SendPanel::makePeriodField()
{
    auto* field = new QWidget(this);
    auto* row = new QHBoxLayout(field);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addWidget(m_interval, 1);
    row->addWidget(m_unit);
    field->setFocusProxy(m_interval);
    return field;
}

void SendPanel::buildRows()
{
    m_form.addRow(u"txFormat"_s, tr("Format"), m_format);
    m_form.addRow(u"txFormat"_s, tr("Encoding"), m_encoding);
    m_form.addRow(u"txFormat"_s, m_normaliseHex);
    m_form.addRow(u"txLoop"_s, m_loop, makePeriodField());
    m_form.addRow(u"txAutoFeed"_s, tr("Append Line Ending"), m_lineEnding);
    m_form.addRow(u"txTerminalEnter"_s, tr("Enter Sends"), m_enterSends);
    m_form.addRow(u"txChecksum"_s, tr("Append Checksum"), m_checksum);
    m_form.addRow(u"txDisplaySend"_s, m_displaySend);
    m_form.addRow(u"txLocalEcho"_s, m_localEcho);
    m_form.addRow(u"txLineByLine"_s, m_lineByLine);
}

void SendPanel::connectEdits()
{
    const auto changed = [this] {
        syncEnabled();
        Q_EMIT edited();
    };
    connect(m_format, &FormatRow::edited, this, changed);
    for (QComboBox* box : {m_encoding, m_lineEnding, m_checksum, m_enterSends})
        connect(box, &QComboBox::activated, this, changed);
    for (QCheckBox* box : {m_normaliseHex, m_displaySend, m_localEcho})
        connect(box, &QCheckBox::clicked, this, changed);
    const auto repeatChanged = [this] {
        if (m_loading)
            return;
        Q_EMIT edited();
    };
    connect(m_loop, &QCheckBox::clicked, this, repeatChanged);
    connect(m_lineByLine, &QCheckBox::toggled, this, &SendPanel::lineByLineEdited);
    connect(m_interval, &QSpinBox::valueChanged, this, repeatChanged);
    connect(m_unit, &QComboBox::activated, this, [this, repeatChanged] {
        onUnitEdited();
        repeatChanged();
    });
}

void SendPanel::syncEnabled()
{
    const bool hex = m_format->isHex();
    m_lineEnding->setEnabled(!hex);
    m_form.setUsed(m_encoding, !hex);
    m_form.setUsed(m_normaliseHex, hex);
}

void SendPanel::showUnit(int unit)
{
    // A unit that is not offered leaves the list with the record that has it.
    while (m_unit->count() > m_offeredUnits)
        m_unit->removeItem(m_unit->count() - 1);
    if (m_unit->findData(unit) < 0)
        m_unit->addItem(tr("x %1 ms").arg(unit), unit);
    PanelChoices::choose(*m_unit, unit);
    m_shownUnit = unit;
    m_interval->setRange(std::max(kMinRepeatMs / unit, 1), std::max(kMaxRepeatMs / unit, 1));
    m_interval->setSingleStep(std::max(kRepeatStepMs / unit, 1));
}

// Another unit is another way of saying the same time.
void SendPanel::onUnitEdited()
{
    const QScopedValueRollback loading(m_loading, true);
    m_interval->interpretText();
    const qint64 periodMs = qint64(m_interval->value()) * m_shownUnit;
    showUnit(m_unit->currentData().toInt());
    m_interval->setValue(int(periodMs / m_shownUnit));
}

bool SendPanel::lineByLine() const
{
    return m_lineByLine->isChecked();
}

void SendPanel::load(const FormatSetting& format)
{
    const QScopedValueRollback loading(m_loading, true);
    m_format->setFormat(format.sendMsgFormat);
    PanelChoices::chooseEncoding(*m_encoding, format.sendEncoding);
    m_normaliseHex->setChecked(format.formatSend);
    m_loop->setChecked(format.autoSend);
    showUnit(SettingsCodec::sanitizeTimeUnit(format.sendTimeUnit));
    m_interval->setValue(format.sendInterval);
    PanelChoices::choose(*m_lineEnding, format.txLineEndingMode);
    PanelChoices::choose(*m_checksum, format.sendChecksum);
    PanelChoices::choose(*m_enterSends, format.terminalEnterMode);
    m_displaySend->setChecked(format.displaySendMsg);
    m_localEcho->setChecked(format.localEcho);
    syncEnabled();
}

void SendPanel::store(FormatSetting& format) const
{
    m_interval->interpretText();
    format.sendMsgFormat = m_format->format(format.sendMsgFormat);
    format.sendEncoding = PanelChoices::editedEncoding(*m_encoding, format.sendEncoding);
    format.formatSend = m_normaliseHex->isChecked();
    format.autoSend = m_loop->isChecked();
    if (m_shownUnit == SettingsCodec::sanitizeTimeUnit(format.sendTimeUnit)) {
        format.sendInterval = PanelChoices::edited(*m_interval, format.sendInterval);
    } else {
        format.sendInterval = m_interval->value();
        format.sendTimeUnit = m_shownUnit;
    }
    const int lineEnding = PanelChoices::edited(*m_lineEnding, format.txLineEndingMode);
    if (lineEnding != format.txLineEndingMode) {
        format.txLineEndingMode = lineEnding;
        format.txAutoFeedLine = lineEnding != 0;
    }
    format.sendChecksum = PanelChoices::edited(*m_checksum, format.sendChecksum);
    format.terminalEnterMode = PanelChoices::edited(*m_enterSends, format.terminalEnterMode);
    format.displaySendMsg = m_displaySend->isChecked();
    format.localEcho = m_localEcho->isChecked();
}
