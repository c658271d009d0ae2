#pragma once

#include "connections/rfc2217/rfc2217clientsession.h"
#include "terminal/port/linedriver.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <optional>

class ConnectionController;

// A serial port behind an RFC 2217 server: joins the controller's TCP client with the protocol's
// client session, for a pane whose settings name that transport.
//
// Data flow. Connected: the session's greeting goes out and the negotiation timer starts. Received:
// TransportReader -> receive() -> payload; what the protocol has to answer goes out at once. Sent:
// TransportWriter -> sendPayload() -> controller. What is sent before the negotiation has ended
// waits for it: only then is known whether 0xFF is to be doubled, and only then has the remote port
// the pane's baud rate. Settings reach the remote when it agrees to
// com-port control and whenever they change while it does; its inputs are asked for meanwhile. A
// lost connection resets the session; the next one begins anew.
//
// Bounds: the session's, and kMaxWaitingBytes. Owned by the pane; controller and settings outlive
// it.
class RemoteSerialLink final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RemoteSerialLink)

public:
    using State = Rfc2217ClientSession::State;

    static constexpr std::chrono::milliseconds kNegotiationTimeout{
        Rfc2217ClientSession::negotiationTimeoutMs};

    // What may wait for the end of a negotiation; more is refused.
    static constexpr qsizetype kMaxWaitingBytes = qsizetype{16} * 1024 * 1024;

    // The settings say at each connect whether the connection is one of these.
    RemoteSerialLink(ConnectionController& controller, const Settings& settings);
    ~RemoteSerialLink() override;

    // In force at once, also for a negotiation that has begun.
    void setNegotiationTimeout(std::chrono::milliseconds timeout) { m_timer.setInterval(timeout); }

    // Bytes of the connection, cut anywhere; returns the payload.
    QByteArray receive(const QByteArray& bytes);
    // Sends payload over the connection, also over one that is still being made. False when it was
    // refused. Payload that waited for a connection which failed is lost, and a status message says
    // how much.
    bool sendPayload(const QByteArray& payload);

    // Payload that waits for the end of the negotiation.
    [[nodiscard]] qint64 waitingBytes() const { return m_waiting.size(); }
    // Brings the remote to these settings, if it takes any.
    void pushSettings(const Settings& settings);
    // False when nothing was sent.
    bool sendBreak(bool on);

    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] State state() const { return m_session.state(); }
    // The level of DTR or RTS that the remote has confirmed since it was last asked for.
    [[nodiscard]] std::optional<bool> confirmed(SerialLine line) const;
    [[nodiscard]] bool knowsModemLines() const { return m_session.modemState().has_value(); }
    // As the remote last reported them; all off before it did.
    [[nodiscard]] ModemLines modemLines() const;

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    // What is known of the remote port, one value a line; empty when it is nothing.
    void summaryChanged(const QString& summary);
    // So many bytes that sendPayload() took on a standing connection did not leave.
    void unsent(qint64 bytes);

private:
    void onConnected();
    void onDisconnected();
    void onNegotiationTimeout();
    void apply(const Rfc2217ClientSession::Outcome& outcome);
    bool send(const QByteArray& bytes);
    void sendWaiting();
    void dropWaiting();
    void tellSummary();

    ConnectionController& m_controller;
    const Settings& m_settings;
    Rfc2217ClientSession m_session;
    QTimer m_timer;        // runs while negotiating
    QTimer m_inquiryTimer; // runs while the remote takes com-port control
    QString m_summary;
    QByteArray m_waiting; // payload, at most kMaxWaitingBytes
    bool m_fullTold = false;
};
