#include "app/sendpage.h"

#include "app/recordedits.h"
#include "terminal/sendpanel.h"

#include <QVBoxLayout>

SendPage::SendPage(QWidget* parent)
    : SettingsPage(parent)
    , m_panel(new SendPanel(this))
{
    takePanel(*m_panel);
    watchFields(*m_panel);
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
