#include "terminal/pane/receivepanel.h"

#include "terminal/pane/formatrow.h"
#include "terminal/pane/panelchoices.h"

#include <QCheckBox>
#include <QComboBox>
#include <QScopedValueRollback>
#include <QSpinBox>

using namespace Qt::Literals::StringLiterals;

ReceivePanel::ReceivePanel(QWidget* parent)
    : QGroupBox(tr("Receive Settings"), parent)
    , m_form(this)
    , m_format(new FormatRow(
          tr("Show received data as text"), tr("Show received data as hexadecimal bytes"), this))
    , m_encoding(new QComboBox(this))
    , m_autoFeed(new QCheckBox(tr("Auto feed ending"), this))
    , m_interval(new QSpinBox(this))
    , m_displayTime(new QCheckBox(tr("Display Time"), this))
{
    m_format->setObjectName("receiveFormat"_L1);
    m_encoding->setObjectName("receiveEncoding"_L1);
    m_autoFeed->setObjectName("rxAutoFeedLine"_L1);
    m_interval->setObjectName("autoFeedInterval"_L1);
    m_displayTime->setObjectName("displayMsgTime"_L1);

    PanelChoices::fillEncodings(*m_encoding);
    m_encoding->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_encoding->setMinimumContentsLength(8);
    m_encoding->setAccessibleName(tr("Encoding of received data"));
    m_encoding->setToolTip(tr("The encoding that received bytes are read with"));
    m_autoFeed->setToolTip(tr("Start a new line after an idle interval"));
    m_interval->setRange(FormatSetting::kMinAutoFeedInterval, FormatSetting::kMaxAutoFeedInterval);
    m_interval->setSuffix(tr(" ms"));
    m_interval->setKeyboardTracking(false);
    m_interval->setAccessibleName(tr("Minimal interval that starts a new line, in milliseconds"));
    m_displayTime->setToolTip(tr("Prefix received data with a timestamp"));
    buildRows();
    connectEdits();
}

ReceivePanel::~ReceivePanel() = default;

void ReceivePanel::buildRows()
{
    m_form.addRow(u"rxFormat"_s, tr("Format"), m_format);
    m_form.addRow(u"rxFormat"_s, tr("Encoding"), m_encoding);
    m_form.addRow(u"rxAutoFeed"_s, m_autoFeed);
    m_form.addRow(u"rxAutoFeed"_s, tr("   Minimal Interval:"), m_interval);
    m_form.addRow(u"rxDisplayTime"_s, m_displayTime);
}

void ReceivePanel::connectEdits()
{
    const auto changed = [this] {
        syncEnabled();
        if (!m_loading)
            Q_EMIT edited();
    };
    connect(m_format, &FormatRow::edited, this, changed);
    connect(m_encoding, &QComboBox::activated, this, changed);
    connect(m_autoFeed, &QCheckBox::clicked, this, changed);
    connect(m_displayTime, &QCheckBox::clicked, this, changed);
    connect(m_interval, &QSpinBox::valueChanged, this, changed);
}

void ReceivePanel::syncEnabled()
{
    m_encoding->setEnabled(!m_format->isHex());
    m_interval->setEnabled(m_autoFeed->isChecked());
}

void ReceivePanel::load(const FormatSetting& format)
{
    const QScopedValueRollback loading(m_loading, true);
    m_format->setFormat(format.receiveMsgFormat);
    PanelChoices::chooseEncoding(*m_encoding, format.receiveEncoding);
    m_autoFeed->setChecked(format.rxAutoFeedLine);
    m_interval->setValue(format.autoFeedInterval);
    m_displayTime->setChecked(format.displayMsgTime);
    syncEnabled();
}

void ReceivePanel::store(FormatSetting& format) const
{
    m_interval->interpretText();
    format.receiveMsgFormat = m_format->format(format.receiveMsgFormat);
    format.receiveEncoding = PanelChoices::editedEncoding(*m_encoding, format.receiveEncoding);
    format.rxAutoFeedLine = m_autoFeed->isChecked();
    format.autoFeedInterval = PanelChoices::edited(*m_interval, format.autoFeedInterval);
    format.displayMsgTime = m_displayTime->isChecked();
}
