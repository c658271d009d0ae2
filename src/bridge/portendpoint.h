#pragma once

#include "bridge/bridgeconfig.h"
#include "bridge/engine/bridgesink.h"
#include "connections/seriallines.h"
#include "terminal/port/liveport.h"

#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>

// One port as bridges see it: where bytes are written to, whom they are for, and how the port is
// kept open for those that want it so. Shared by all bridges of the port; owned by the manager,
// which makes one for each port there is. The port may go first.
//
// Kept open: while somebody wishes it, the port is opened when it is closed and tried again every
// kRetryMs. A person who closes it has the last word: then it stays closed until a person, or the
// other end of a bridge, opens it again. What the port regains by itself is left to it.
class PortEndpoint final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortEndpoint)

public:
    static constexpr int kRetryMs = 5000;
    // The most that a UDP datagram can carry over IPv4.
    static constexpr qsizetype kMaxDatagramBytes = 65'507;

    // `number` is what people call the port, from 1.
    PortEndpoint(LivePort& port, int number);
    ~PortEndpoint() override;

    // Null when the port is gone.
    [[nodiscard]] LivePort* port() const { return m_port; }
    [[nodiscard]] int number() const { return m_number; }
    // "Port 2", and "Port 2 (TCP *:6000)".
    [[nodiscard]] QString shortName() const { return tr("Port %1").arg(m_number); }
    [[nodiscard]] QString name() const;
    [[nodiscard]] bool isOpen() const { return m_port && m_port->isOpen(); }
    // Of the connection that is open, or else wanted.
    [[nodiscard]] connectionMode mode() const;
    [[nodiscard]] bool isServer() const { return mode() == connectionMode::TcpServer; }
    // What the connection has at its end is a serial port, here or beyond a network.
    [[nodiscard]] SerialLines* serialLines() const;
    // Why the port is not open though it should be, in the port's words; empty when all is well.
    [[nodiscard]] QString trouble() const;

    // Writes to one peer, or, without a key, to whom the kind of port means: the other end, every
    // client, for UDP as `udp` says. Nothing goes to a port that is not open. `shown` says that the
    // bytes are payload, which the view may show as sent.
    BridgeWrite write(
        QByteArrayView bytes, const QString& peer, UdpTargetMode udp, bool shown = true);
    [[nodiscard]] qint64 pendingBytes(const QString& peer = {}) const;
    // After the writes of a step: drained() tells of what has left already.
    void flush();
    // Ends the connection of one client, or the connection where there is only one, which is then
    // made again.
    void disconnectPeer(const QString& peer);

    // `who` wishes the port to be open, or does not any more.
    void keepOpen(const QObject* who, bool on);
    // Somebody opened the other end: a close by hand is over.
    void openAgain();

Q_SIGNALS:
    void opened();
    void closed();
    // Bytes have left, so that there may be room.
    void drained();
    // So many bytes were taken for a peer and will never leave.
    void discarded(qint64 bytes);
    void changed();

private:
    void onClosed(const CloseReason& reason);
    void leavePort();
    void noteTrouble();
    void tryOpen();
    void schedule();
    WriteResult writeDatagram(
        Transport& transport, const QByteArray& bytes, const QString& peer, UdpTargetMode udp);

    QPointer<LivePort> m_port;
    const int m_number;
    QSet<const QObject*> m_keepers;
    QTimer m_retry;
    bool m_written = false; // since the last flush()
    bool m_wasOpen = false;
    bool m_closedByWill = false;
    QString m_trouble; // stays while the port is tried again
};
