#pragma once

#include "connections/multiclientserver.h"
#include "connections/transport.h"

#include <QPointer>
#include <QSet>
#include <deque>

// A TCP server for any number of clients, on every address of the machine or on a chosen one. Its
// peers are the clients; without one, write() is for all of them, and pendingBytes() what a sender
// to all has to know (MultiClientServer::pendingWriteBytes). The bounds are those of the server and
// its clients.
class TcpServerTransport final : public Transport
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TcpServerTransport)

public:
    TcpServerTransport();
    ~TcpServerTransport() override;

    // For the next open.
    void setAddress(const QHostAddress& address) { m_address = address; }
    [[nodiscard]] MultiClientServer& server() { return *m_server; }
    [[nodiscard]] const MultiClientServer& server() const { return *m_server; }
    // Where clients find the server: "127.0.0.1:6000", with "*" for every address of the machine;
    // empty while it does not listen.
    [[nodiscard]] QString addressText() const;

    [[nodiscard]] State state() const override;
    // Listens on targetPort; 0 lets the system choose.
    bool open(const Settings& settings, OpenMode how) override;
    void close() override;
    [[nodiscard]] bool isLingering() const override { return m_server->isLingering(); }
    void setBridgeTuning(bool on) override { m_server->setBridgeSocketTuning(on); }
    WriteResult write(const QByteArray& bytes, const QString& peer = {}) override;
    [[nodiscard]] qint64 pendingBytes(const QString& peer = {}) const override;
    void tellLeft() override { m_server->pollOutput(); }
    // Without a peer: whether the broadcast would disconnect nobody.
    [[nodiscard]] bool hasRoomFor(qint64 bytes, const QString& peer = {}) const override;
    // What each client sent in turn, the one that was heard first coming first.
    bool takeChunk(Chunk& chunk) override;
    // Of the input only.
    void discard(Purge which) override;
    [[nodiscard]] QStringList peers() const override { return m_server->clientKeys(); }

protected:
    void setReadingHeld(bool held) override { m_server->setReadThrottled(held); }

private:
    void forward();
    void tellFailures();
    void tellLost(const QString& peer, qint64 unreadBytes, qint64 unsentBytes);

    MultiClientServer* const m_server; // deleted later: it may be in the middle of a signal
    QHostAddress m_address{QHostAddress::Any};
    // Connected clients that may have something to take, each once, and the same for looking up.
    std::deque<QString> m_heard;
    QSet<QString> m_heardKeys;
    qint64 m_unsentAtClose = 0;
    bool m_closing = false;
};
