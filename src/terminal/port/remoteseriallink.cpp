#include "terminal/port/remoteseriallink.h"

#include "connections/connectioncontroller.h"
#include "connections/rfc2217/rfc2217values.h"

#include <utility>

RemoteSerialLink::RemoteSerialLink(ConnectionController& controller, const Settings& settings)
    : m_controller(controller)
    , m_settings(settings)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(kNegotiationTimeout);
    connect(&m_timer, &QTimer::timeout, this, &RemoteSerialLink::onNegotiationTimeout);
    m_inquiryTimer.setInterval(Rfc2217ClientSession::modemStateInquiryMs);
    connect(
        &m_inquiryTimer, &QTimer::timeout, this, [this] { send(m_session.modemStateInquiry()); });
    connect(&controller, &ConnectionController::peerArrived, this, &RemoteSerialLink::onConnected);
    connect(&controller, &ConnectionController::tcpClientDisconnected, this,
        &RemoteSerialLink::onDisconnected);
    // An attempt that fails was no connection and is not reported as the end of one.
    connect(&controller, &ConnectionController::errorOccurred, this, [this] {
        if (!m_controller.hasTcpClient())
            dropWaiting();
    });
}

RemoteSerialLink::~RemoteSerialLink() = default;

bool RemoteSerialLink::isConnected() const
{
    return m_settings.connMode == connectionMode::RemoteSerialRfc2217
           && m_controller.isOpen(m_settings.connMode);
}

void RemoteSerialLink::onConnected()
{
    if (!isConnected())
        return;
    send(m_session.begin());
    m_timer.start();
    tellSummary();
}

void RemoteSerialLink::onDisconnected()
{
    // What a throttled reader has left can only be read by the session that it was sent to.
    if (m_controller.isReadThrottled()) {
        m_controller.setReadThrottled(m_settings.connMode, false);
        m_controller.setReadThrottled(m_settings.connMode, true);
    }
    m_timer.stop();
    m_inquiryTimer.stop();
    m_session.reset();
    if (!m_waiting.isEmpty())
        Q_EMIT unsent(m_waiting.size());
    dropWaiting();
    tellSummary();
}

// Its clock stands while nothing is read: the answer may lie there. Declared transparent, a server
// that agreed at once would show its commands as data and get 0xFF undoubled.
void RemoteSerialLink::onNegotiationTimeout()
{
    if (m_controller.isReadThrottled())
        m_timer.start();
    else
        apply(m_session.onNegotiationTimeout());
}

QByteArray RemoteSerialLink::receive(const QByteArray& bytes)
{
    const Rfc2217ClientSession::Outcome outcome = m_session.receive(bytes);
    apply(outcome);
    return outcome.data;
}

void RemoteSerialLink::apply(const Rfc2217ClientSession::Outcome& outcome)
{
    send(outcome.reply);
    if (!outcome.message.isEmpty())
        Q_EMIT statusMessage(outcome.message, Rfc2217ClientSession::messageTimeoutMs);
    if (outcome.negotiationFinished) {
        m_timer.stop();
        pushSettings(m_settings);
        sendWaiting();
        if (state() == State::ComPortActive)
            m_inquiryTimer.start();
    }
    tellSummary();
}

bool RemoteSerialLink::sendPayload(const QByteArray& payload)
{
    if (payload.isEmpty() || !m_controller.hasTcpClient())
        return false;
    if (state() != State::Negotiating)
        return send(m_session.encodePayload(payload));
    if (payload.size() > kMaxWaitingBytes - m_waiting.size()) {
        if (!std::exchange(m_fullTold, true)) {
            Q_EMIT statusMessage(
                tr("Too much to send before the remote port has answered; the rest is refused"),
                Rfc2217ClientSession::messageTimeoutMs);
        }
        return false;
    }
    m_waiting.append(payload);
    return true;
}

void RemoteSerialLink::sendWaiting()
{
    if (m_waiting.isEmpty() || send(m_session.encodePayload(m_waiting))) {
        m_waiting.clear();
        m_fullTold = false;
    } else {
        Q_EMIT unsent(m_waiting.size());
        dropWaiting();
    }
}

void RemoteSerialLink::dropWaiting()
{
    m_fullTold = false;
    const qsizetype size = std::exchange(m_waiting, {}).size();
    if (size == 0)
        return;
    // Later, or what others have to say about the end of the connection would hide it at once.
    QMetaObject::invokeMethod(
        this,
        [this, size] {
            Q_EMIT statusMessage(
                tr("%1 bytes were not sent: the connection ended before the remote port answered")
                    .arg(size),
                Rfc2217ClientSession::messageTimeoutMs);
        },
        Qt::QueuedConnection);
}

void RemoteSerialLink::pushSettings(const Settings& settings)
{
    if (isConnected())
        send(m_session.settingsUpdate(settings.sanitized()));
}

bool RemoteSerialLink::sendBreak(bool on)
{
    return isConnected() && send(m_session.breakCommand(on));
}

bool RemoteSerialLink::send(const QByteArray& bytes)
{
    return !bytes.isEmpty() && m_controller.sendTcpClient(bytes);
}

std::optional<bool> RemoteSerialLink::confirmed(SerialLine line) const
{
    return line == SerialLine::Dtr ? m_session.confirmedDtr() : m_session.confirmedRts();
}

ModemLines RemoteSerialLink::modemLines() const
{
    const quint8 state = m_session.modemState().value_or(0);
    return {(state & Rfc2217::Cts) != 0, (state & Rfc2217::Dsr) != 0, (state & Rfc2217::Dcd) != 0,
        (state & Rfc2217::Ri) != 0};
}

void RemoteSerialLink::tellSummary()
{
    QString summary = m_session.remoteSummary();
    if (summary == m_summary)
        return;
    m_summary = std::move(summary);
    Q_EMIT summaryChanged(m_summary);
}
