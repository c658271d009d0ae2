#include "terminal/pane/receivedesk.h"

#include "settings/formatsetting.h"
#include "terminal/format/sendmodes.h"
#include "terminal/pane/savetextdialog.h"
#include "terminal/port/sendpipeline.h"
#include "terminal/view/receiveview.h"

namespace {

constexpr int noticeMs = 3000;

} // namespace

ReceiveDesk::ReceiveDesk(ReceiveView& view, SendPipeline& send)
    : m_view(view)
    , m_send(send)
{
    wireKeys();
    wireSaving();
}

ReceiveDesk::~ReceiveDesk() = default;

void ReceiveDesk::applyFormat(const FormatSetting& format)
{
    m_view.setDisplayFont(format.displayFont);
    // A row of hexadecimal ends between bytes, not in one.
    m_view.setWrapAtBlanks(format.receiveMsgFormat == int(MessageFormat::Hexadecimal));
}

void ReceiveDesk::wireKeys()
{
    connect(&m_view, &ReceiveView::textTyped, this,
        [this](const QString& text) { Q_EMIT typed(m_send.sendTyped(text)); });
    connect(&m_view, &ReceiveView::enterTyped, this, [this] { Q_EMIT typed(m_send.sendEnter()); });
    connect(&m_view, &ReceiveView::controlTyped, this,
        [this](const QByteArray& bytes) { Q_EMIT typed(m_send.sendControl(bytes)); });
}

void ReceiveDesk::wireSaving()
{
    connect(&m_view, &ReceiveView::saveRequested, this, [this] {
        openSaveTextDialog(&m_view, m_view,
            [this] { Q_EMIT statusMessage(tr("A save is still running"), noticeMs); });
    });
    connect(&m_view, &ReceiveView::saveFinished, this, [this](bool ok, const QString& errorText) {
        if (ok)
            Q_EMIT statusMessage(tr("File saved"), noticeMs);
        else
            Q_EMIT errorOccurred(errorText);
    });
}
