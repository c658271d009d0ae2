#pragma once

#include "bridge/engine/bridgearbiter.h"
#include "bridge/engine/modbusanswerframer.h"
#include "bridge/engine/modbusgateway.h"

#include <QHash>
#include <QList>
#include <QStringList>

// A Modbus RTU line behind any number of Modbus TCP clients: one gateway for each client, turns on
// the line, answers cut by their length.
//
// Data flow: fromClient() -> the client's ModbusGateway -> BridgeArbiter -> Output::toLine;
// fromLine() -> ModbusAnswerFramer -> the gateway of the client whose turn it is ->
// Output::toClients. Each request ends in one Transaction.
//
// Theory of operation. Arbiter, gateways and answer framer keep their own states; this class moves
// a request through them. An answer ends its turn at once. A turn that runs out, and a request that
// never gets one, leave the gateway, so that a late answer finds nobody; the client hears nothing,
// or an exception if that is set. A client whose stream is malformed is handed to the owner in
// Output::closeClients; what it asked before is abandoned, and what it sends until clientGone() is
// ignored.
//
// Time: nextTimeoutMs() says when to call tick(). Every call first does what was due.
// Memory: the bounds of its parts, with one gateway for each client from its first bytes to
// clientGone(); a client beyond kMaxClients is handed to the owner to be closed.
// Owned by a bridge link.
class ModbusLine final
{
    Q_DISABLE_COPY_MOVE(ModbusLine)

public:
    enum class Outcome {
        Answered, // an exception of the device is an answer
        Broadcast,
        TimedOut,
        Dropped,   // never went out, as there were too many
        Abandoned, // its client left first
    };

    // A request that has ended. Times are the owner's monotonic milliseconds.
    struct Transaction
    {
        QString peerKey;
        QByteArray request; // RTU frame
        QByteArray answer;  // RTU frame, empty unless answered
        Outcome outcome = Outcome::Answered;
        qint64 arrivedMs = 0;
        qint64 sentMs = -1; // -1: never
        qint64 endedMs = 0;
    };

    struct ToClient
    {
        QString peerKey;
        QByteArray bytes;
    };

    // What a call asks its owner to do, in this order.
    struct Output
    {
        QList<ToClient> toClients;
        QByteArray toLine;        // one request, or nothing
        QStringList closeClients; // malformed streams, and clients beyond kMaxClients
        QList<Transaction> ended;
    };

    // Received from the line and of no use. Frames.
    struct Counters
    {
        qint64 foreignFrames = 0; // of another unit, late, twice, or not asked for
        qint64 damagedFrames = 0;
    };

    static constexpr int kMaxClients = 1024;
    // How long a device that was given up may still begin to answer.
    static constexpr int kDefaultDrainMs = 50;

    // Both clamped as in BridgeArbiter and ModbusGateway.
    ModbusLine(int responseTimeoutMs, int transactionTimeoutMs);
    ~ModbusLine() = default;

    // Clamped alike; the first counts from the next turn on, the second at once.
    void setResponseTimeoutMs(int timeoutMs) { m_arbiter.setResponseTimeoutMs(timeoutMs); }
    void setTransactionTimeoutMs(int timeoutMs);
    void setMaxQueuedRequests(int count) { m_arbiter.setMaxQueuedRequests(count); }
    // Silence on the line before the next request, as BridgeArbiter::setLineQuietMs(): after an
    // answer by default none, on a serial line 3.5 characters (Modbus over Serial Line V1.02,
    // 2.5.1.1: 4 ms at 9600 baud); after a time-out kDefaultDrainMs.
    void setLineQuietMs(int afterAnswerMs, int afterTimeoutMs)
    {
        m_arbiter.setLineQuietMs(afterAnswerMs, afterTimeoutMs);
    }
    // Tell clients of requests that got no answer by exceptions 0x0A and 0x0B; off by default.
    void setExceptionsForUnanswered(bool on) { m_exceptions = on; }

    // What a client sent; its key is not empty.
    Output fromClient(const QString& peerKey, const QByteArray& bytes, qint64 nowMs);
    Output fromLine(const QByteArray& bytes, qint64 nowMs);
    // What was asked for by toLine has left the port.
    Output lineDrained(qint64 nowMs);
    // What was asked for by toLine cannot go out: the line is not open or refuses it.
    Output lineFailed(qint64 nowMs);
    Output clientGone(const QString& peerKey, qint64 nowMs);
    Output tick(qint64 nowMs);
    // Milliseconds until tick() is due, 0 when it already is, -1 when not needed.
    int nextTimeoutMs(qint64 nowMs) const;
    // The line is closed: forgets everything that is under way, clients included.
    void reset();

    const Counters& counters() const { return m_counters; }
    const BridgeArbiter& arbiter() const { return m_arbiter; }
    int clients() const { return int(m_gateways.size()); }
    int openTransactions() const { return int(m_open.size()); }

private:
    // Holds what the owner's tag stands for; the gateway knows the request by its own number.
    struct Open
    {
        quint64 gatewayId = 0;
        Transaction transaction;
    };

    void submit(const QString& peerKey, const ModbusGateway::Request& request, qint64 nowMs);
    void catchUp(qint64 nowMs, Output& output);
    void take(const QList<ModbusAnswerFramer::Piece>& pieces, qint64 nowMs, Output& output);
    void takeAnswer(const QByteArray& answer, qint64 nowMs, Output& output);
    void tellFailure(const QString& peerKey, quint64 gatewayId, ModbusGateway::ExceptionCode code,
        Output& output);
    void takeGivenUp(qint64 nowMs, Output& output);
    void startNext(qint64 nowMs, Output& output);
    void end(quint64 tag, Outcome outcome, qint64 nowMs, Output& output);
    void abandon(const QString& peerKey, qint64 nowMs, Output& output);

    BridgeArbiter m_arbiter;
    ModbusAnswerFramer m_answers;
    int m_transactionTimeoutMs;
    QHash<QString, ModbusGateway> m_gateways; // by peer key; at most kMaxClients
    QHash<quint64, Open> m_open; // by tag; those the arbiter holds, so bounded with its queue
    quint64 m_lastTag = 0;
    Counters m_counters;
    bool m_exceptions = false;
};
