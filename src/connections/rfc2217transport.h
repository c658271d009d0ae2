#pragma once

#include "connections/rfc2217/rfc2217clientsession.h"
#include "connections/seriallines.h"
#include "connections/transport.h"

#include <QTimer>
#include <deque>
#include <memory>

// A serial port behind an RFC 2217 server: a filter that stands on the transport that reaches the
// server. Everything here is payload; what the protocol needs passes below.
//
// Theory of operation. Connected: the session's greeting goes out and the negotiation timer starts;
// the transport counts as open. Received: below -> session -> payload, what there is to answer goes
// out at once. Sent: payload waits in m_waiting until the negotiation has ended, since only then is
// known whether 0xFF is to be doubled, and only then has the remote port the right baud rate; then
// as much of it goes below as has room. The settings reach the remote when it agrees to com-port
// control and whenever they change, in order with the payload; its inputs are asked for meanwhile.
// What a lost connection leaves is decoded by the session that it was sent to; the next connection
// begins anew.
//
// Holding the reading: while negotiating, reading goes on and the payload waits, up to
// kMaxUntakenBytes. Beyond that nothing is read, and the negotiation timer stands still: the
// remote's answer may be in what is not read. A filter that has negotiated holds the transport
// below instead.
//
// What left is told from what left below: m_onTheWay has how much of that was payload.
class Rfc2217Transport final : public Transport, public SerialLines
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Rfc2217Transport)

public:
    using SessionState = Rfc2217ClientSession::State;

    // Payload that may wait to leave, here and below.
    static constexpr qint64 kMaxUnsentBytes = qint64{16} * 1024 * 1024;
    // Payload that was received and that nobody has taken; one read from below may stand behind it.
    static constexpr qsizetype kMaxUntakenBytes = qsizetype{1024} * 1024;

    // Changes of settings and lines that may wait behind payload; more are not asked for.
    static constexpr int kMaxWaitingCommands = 1000;

    // `below` does not tell of what left from inside its write().
    Rfc2217Transport(connectionMode mode, std::unique_ptr<Transport> below);
    ~Rfc2217Transport() override;

    // In force at once, also for a negotiation that has begun.
    void setNegotiationTimeout(int ms) { m_negotiation.setInterval(ms); }
    [[nodiscard]] SessionState sessionState() const { return m_session.state(); }
    // What is known of the remote port, one value a line; linesChanged() follows each change.
    [[nodiscard]] QString remoteSummary() const { return m_summary; }

    [[nodiscard]] State state() const override { return m_below->state(); }
    bool open(const Settings& settings, OpenMode how) override;
    void close() override { m_below->close(); }
    [[nodiscard]] bool isLingering() const override { return m_below->isLingering(); }
    void apply(const Settings& settings) override;
    void setBridgeTuning(bool on) override { m_below->setBridgeTuning(on); }
    WriteResult write(const QByteArray& bytes, const QString& peer = {}) override;
    [[nodiscard]] qint64 pendingBytes(const QString& peer = {}) const override;
    void tellLeft() override { m_below->tellLeft(); }
    [[nodiscard]] bool hasRoomFor(qint64 bytes, const QString& peer = {}) const override;
    bool takeChunk(Chunk& chunk) override;
    // The remote port's buffers too, when it takes com-port control.
    void discard(Purge which) override;
    SerialLines* serialLines() override { return this; }

    Answer setLine(SerialLine line, bool on) override;
    [[nodiscard]] bool requested(SerialLine line) const override;
    [[nodiscard]] std::optional<bool> level(SerialLine line) const override;
    // As the remote last reported them; all off before it did.
    [[nodiscard]] ModemLines inputs() override;
    [[nodiscard]] Sight sight() const override;

protected:
    void setReadingHeld(bool held) override;

private:
    // A piece of what waits to go below.
    struct Piece
    {
        QByteArray bytes;
        bool isCommand = false;
    };
    // A stretch of what went below: how long it is there, and how much payload is in it.
    struct Stretch
    {
        qint64 below = 0;
        qint64 payload = 0;
    };

    void wire();
    void onOpened();
    void onClosing();
    void onClosed(CloseReason reason);
    void onLeft(qint64 bytes);
    void onDiscarded();
    void drain();
    void consume(const QByteArray& bytes);
    void apply(const Rfc2217ClientSession::Outcome& outcome);
    void regulateReading();
    void command(const QByteArray& bytes);
    bool pass(const QByteArray& bytes, qint64 payload);
    void pump();
    qint64 dropWaiting();
    void tellSummary();

    const std::unique_ptr<Transport> m_below;
    Settings m_settings;
    Rfc2217ClientSession m_session;
    QTimer m_negotiation;
    QTimer m_inquiry; // runs while the remote takes com-port control
    ReadHold m_hold;  // of the transport below
    QString m_summary;
    QByteArray m_payload;        // received
    std::deque<Piece> m_waiting; // its payload is at most kMaxUnsentBytes, with m_onTheWay's
    std::deque<Stretch> m_onTheWay;
    int m_waitingCommands = 0;
    qint64 m_waitingBytes = 0;  // payload of m_waiting
    qint64 m_onTheWayBytes = 0; // payload of m_onTheWay
    qint64 m_unsent = 0;        // discarded since the connection began to end
    bool m_lastCall = false;    // what was received is handed out although reading is held
    bool m_draining = false;    // what is waiting below is read, however much it is
};
