#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QUdpSocket>

#include <functional>

/// The other side of a UDP exchange in a test: one socket on 127.0.0.1 that keeps every datagram,
/// at most `maxDatagrams` (later ones are counted, not kept).
class UdpPeer final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UdpPeer)

public:
    struct Datagram
    {
        quint16 senderPort = 0;
        QByteArray payload;
    };

    static constexpr qsizetype maxDatagrams = 10'000;

    using Answer = std::function<QByteArray(const QByteArray& request)>;

    /// Bound to a port that the system chooses.
    explicit UdpPeer(QObject* parent = nullptr);
    ~UdpPeer() override;

    quint16 port() const { return m_socket.localPort(); }

    /// One datagram to 127.0.0.1, also an empty one. False when the system refuses it.
    bool sendTo(quint16 port, const QByteArray& payload);

    /// Script: called with each datagram; what it returns goes back to the sender,
    /// nothing when that is empty.
    void setAnswer(Answer answer) { m_answer = std::move(answer); }

    const QList<Datagram>& received() const { return m_received; }
    /// Payloads of all datagrams, joined in order of arrival.
    QByteArray receivedBytes() const;
    qint64 droppedCount() const { return m_dropped; }
    void clear();

Q_SIGNALS:
    void datagramReceived();

private:
    void drain();

    QUdpSocket m_socket;
    QList<Datagram> m_received;
    Answer m_answer;
    qint64 m_dropped = 0;
};
