// The last steps of the sent road: from bytes to the transport that is open.
#include "connections/connectioncontroller.h"
#include "terminal/port/liveport.h"

// A message to a closed port opens it first. TCP keeps the bytes until the connection stands, UDP
// while the address of the host is looked up; a server is not started by a message.
SendPipeline::Written LivePort::write(const QByteArray& bytes)
{
    using Written = SendPipeline::Written;
    if (!isActive() && m_settings.connMode != connectionMode::TcpServer && !start(false))
        return Written::Refused;
    if (!isActive() || !transport())
        return Written::Refused;
    const WriteResult result = writeToTarget(*transport(), bytes);
    if (!result.taken()) {
        // What is full or failed has been told.
        if (result.refusal == WriteResult::Refusal::NoPeer)
            Q_EMIT noticed(Notice::warning(result.reason, kHintMs));
        return Written::Refused;
    }
    return result.waits ? Written::Kept : Written::Taken;
}

// Without a choice the only client of a server is meant. With several of them a guess could reach a
// machine that the message is not for.
WriteResult LivePort::writeToTarget(Transport& transport, const QByteArray& bytes)
{
    using Refusal = WriteResult::Refusal;
    if (m_target == Target::All)
        return transport.writeToAll(bytes);
    const bool server = transport.mode() == connectionMode::TcpServer;
    const bool udpServer = transport.mode() == connectionMode::UdpServer;
    if (m_target == Target::Own || !(server || udpServer)) {
        if (server && transport.peers().size() > 1) {
            return {Refusal::NoPeer,
                tr("Several TCP clients are connected: nothing was sent. Choose whom to send to")};
        }
        return transport.write(bytes);
    }
    if (!server || transport.peers().isEmpty() || transport.peers().contains(m_targetPeer))
        return transport.write(bytes, m_targetPeer);
    return {Refusal::NoPeer,
        tr("The chosen TCP client is gone: nothing was sent. Choose whom to send to")};
}

WriteResult LivePort::writeRaw(const QByteArray& bytes, bool echo, const QString& peerKey)
{
    if (!isOpen() || !transport())
        return {WriteResult::Refusal::NotOpen, tr("The connection is not open.")};
    WriteResult result = transport()->write(bytes, peerKey);
    if (result.taken())
        m_send->noteSent(bytes, echo);
    return result;
}

// A datagram whose host had to be found is on its way once nothing waits any more.
void LivePort::onLeft()
{
    if (m_send->hasKept() && transport() && transport()->pendingBytes() == 0)
        m_send->acceptKept();
    Q_EMIT countersChanged();
}

// What one client of a server did not get, others may have.
void LivePort::onDiscarded(const QString& peer, qint64 bytes)
{
    if (peer.isEmpty())
        m_send->takeBack(bytes);
}

bool LivePort::sendBytes(const QByteArray& bytes)
{
    return isOpen() && m_send->sendMessage(bytes);
}

void LivePort::setTarget(Target target, const QString& peerKey)
{
    m_target = target;
    m_targetPeer = peerKey;
}

qint64 LivePort::sentBytes() const
{
    return m_send->sentBytes();
}

qint64 LivePort::pendingBytes() const
{
    const QString peer = m_target == Target::Peer ? m_targetPeer : QString();
    return transport() ? transport()->pendingBytes(peer) : 0;
}
