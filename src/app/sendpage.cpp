#include "app/sendpage.h"

#include "app/logpage.h"
#include "app/settingspage.h"
#include "settings/quicksettingsgroups.h"
#include "terminal/pane/sendpanel.h"

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
