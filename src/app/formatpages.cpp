#include "app/formatpages.h"

#include "app/logpage.h"
#include "app/settingspage.h"
#include "settings/quicksettingsgroups.h"
#include "settings/settingscodec.h"
#include "terminal/pane/receivepanel.h"
#include "terminal/pane/sendpanel.h"

#include <QDateTime>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

using namespace Qt::Literals::StringLiterals;

SendPage::SendPage(QWidget* parent)
    : SettingsPage(parent)
    , m_panel(new SendPanel(this))
{
    takePanel(*m_panel);
    // Sending line by line is a way of repeating that no record keeps.
    QStringList fields = QuickSettingsGroups::defaultFieldOrder(u"send"_s);
    fields.removeAll(u"txLineByLine"_s);
    m_panel->form().arrange(fields);
    extendToolTip("sendEncoding"_L1, LogPage::encodingNote());
    watchFields(*m_panel);
    followWithTab();
}

SendPage::~SendPage() = default;

FormatSetting SendPage::edited() const
{
    FormatSetting format = m_shown;
    m_panel->store(format);
    return format;
}

void SendPage::load(const FormatSetting& format)
{
    m_shown = format;
    m_panel->load(format);
    m_shown = edited();
    revalidate();
}

void SendPage::store(FormatSetting& format) const
{
    using F = FormatSetting;
    const F now = edited();
    takeEdits(format, m_shown, now, &F::sendMsgFormat, &F::sendEncoding, &F::formatSend,
        &F::autoSend, &F::sendChecksum, &F::terminalEnterMode, &F::displaySendMsg, &F::localEcho);
    takeEditsTogether(format, m_shown, now, &F::sendInterval, &F::sendTimeUnit);
    takeEditsTogether(format, m_shown, now, &F::txLineEndingMode, &F::txAutoFeedLine);
}

ReceivePage::ReceivePage(QWidget* parent)
    : SettingsPage(parent)
    , m_panel(new ReceivePanel(this))
    , m_rxStamp(new QLineEdit(this))
    , m_txStamp(new QLineEdit(this))
{
    m_rxStamp->setObjectName("rxTimeFormat"_L1);
    m_txStamp->setObjectName("txTimeFormat"_L1);
    buildStampRows(takePanel(*m_panel));
    extendToolTip("receiveEncoding"_L1, LogPage::encodingNote());
    for (QLineEdit* edit : {m_rxStamp, m_txStamp})
        connect(edit, &QLineEdit::textChanged, this, &ReceivePage::showStamps);
    watchFields(*this);
    followWithTab();
}

ReceivePage::~ReceivePage() = default;

void ReceivePage::buildStampRows(QFormLayout* form)
{
    const auto addStamp = [this, form](
                              const QString& label, QLineEdit* edit, const QString& example) {
        form->addRow(label, edit);
        addCheck(form, edit, [edit, example] {
            return edit->text().isEmpty() ? tr("Enter a pattern, for example %1").arg(example)
                                          : QString();
        });
    };
    addStamp(tr("Stamp of &Received Data"), m_rxStamp, SettingsCodec::defaultRxTimeFormat());
    addStamp(tr("Stamp of &Sent Data"), m_txStamp, SettingsCodec::defaultTxTimeFormat());
    m_stampPreview = addHint(form, {});
    m_stampPreview->setObjectName("timeFormatPreview"_L1);
    addHint(form, tr("yyyy year, MM month, dd day, hh hour, mm minute, ss second, zzz millisecond; "
                     "text between single quotes stays as it is"));
}

void ReceivePage::showStamps()
{
    const QDateTime now = QDateTime::currentDateTime();
    m_stampPreview->setText(
        tr("Now: %1 %2").arg(now.toString(m_rxStamp->text()), now.toString(m_txStamp->text())));
}

FormatSetting ReceivePage::edited() const
{
    FormatSetting format = m_shown;
    m_panel->store(format);
    format.rxTimeFormat = m_rxStamp->text();
    format.txTimeFormat = m_txStamp->text();
    return format;
}

void ReceivePage::load(const FormatSetting& format)
{
    m_shown = format;
    m_panel->load(format);
    m_rxStamp->setText(format.rxTimeFormat);
    m_txStamp->setText(format.txTimeFormat);
    m_shown = edited();
    showStamps();
    revalidate();
}

void ReceivePage::store(FormatSetting& format) const
{
    using F = FormatSetting;
    const F now = edited();
    takeEdits(format, m_shown, now, &F::receiveMsgFormat, &F::receiveEncoding, &F::displayMsgTime,
        &F::rxTimeFormat, &F::txTimeFormat);
    takeEditsTogether(format, m_shown, now, &F::rxAutoFeedLine, &F::autoFeedInterval);
}
