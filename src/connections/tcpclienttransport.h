#pragma once

#include "connections/receiveresidue.h"
#include "connections/socketoutput.h"
#include "connections/sockettail.h"
#include "connections/transport.h"

#include <QTimer>

class LingeringSocket;
class QTcpSocket;

// One outgoing TCP connection at a time.
//
// A socket is created for each attempt and given up when the attempt fails, the peer goes or the
// connection is closed; it is deleted later, never in one of its own signals, and its signals are
// told from those of its successor. What is sent while the connection is being made waits in the
// pending output and leaves in one write. What a lost socket had received moves to the residue.
// There are no peers: pending bytes are those of the connection, and of the former one while that
// lingers.
class TcpClientTransport final : public Transport
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TcpClientTransport)

public:
    // What may wait to leave, before the connection stands and after.
    static constexpr qint64 kMaxUnsentBytes = qint64{16} * 1024 * 1024;

    // `mode` is connectionMode::RemoteSerialRfc2217 below such a filter.
    explicit TcpClientTransport(connectionMode mode = connectionMode::TcpClient);
    ~TcpClientTransport() override;

    [[nodiscard]] State state() const override;
    // To targetHost:targetPort.
    bool open(const Settings& settings, OpenMode how) override;
    void close() override;
    [[nodiscard]] bool isLingering() const override { return m_lingering != nullptr; }
    void setBridgeTuning(bool on) override;
    WriteResult write(const QByteArray& bytes, const QString& peer = {}) override;
    [[nodiscard]] qint64 pendingBytes(const QString& peer = {}) const override;
    void tellLeft() override;
    [[nodiscard]] bool hasRoomFor(qint64 bytes, const QString& peer = {}) const override;
    bool takeChunk(Chunk& chunk) override;
    // Of a connection that stands only the input: what is on its way in a stream cannot be taken
    // back.
    void discard(Purge which) override;

    // Writes the pending output in one write when the socket is connected.
    void flushPending();
    // Low delay and keep-alive when a bridge uses the connection; a small read buffer while held.
    static void tune(QTcpSocket& socket, bool forBridge, bool held);

protected:
    void setReadingHeld(bool held) override;

private:
    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool hasUnread() const;
    void wire(QTcpSocket* socket);
    void onConnected();
    void onError(QTcpSocket* socket);
    void onDisconnected(QTcpSocket* socket);
    bool offerUnread();
    void retire(CloseReason reason);
    qsizetype keepUnread(QTcpSocket* socket);
    void giveUp(QTcpSocket* socket);
    bool sayGoodbye();
    void linger(QTcpSocket* socket);
    void onLingered(qint64 unsentBytes);
    void seeToOutput();
    [[nodiscard]] QString unsentText(qint64 bytes) const;

    QTcpSocket* m_socket = nullptr; // a child; null when there is none
    SocketTail m_tail;
    QByteArray m_pending; // at most kMaxUnsentBytes
    SocketOutput m_output;
    LingeringSocket* m_lingering = nullptr; // a child
    QTimer m_poll;
    ReceiveResidue m_residue;
    bool m_quiet = false;
    bool m_stood = false;    // opened() was emitted for the socket
    bool m_closing = false;  // everybody has a last moment
    bool m_retiring = false; // what a lost socket holds is being offered
    bool m_lastCall = false; // what is waiting is handed out although reading is held
    bool m_bridgeTuning = false;
};
