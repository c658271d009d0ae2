#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <deque>

// Converts between Modbus TCP and Modbus RTU for one TCP client: MBAP-framed requests become RTU
// frames with a CRC, RTU answers become MBAP-framed responses that carry the transaction
// identifier of the request they answer. MBAP is that of the Modbus Messaging on TCP/IP
// Implementation Guide V1.0b, the RTU frame that of Modbus over Serial Line V1.02.
//
// Theory of operation. The TCP side is a stream: complete requests are cut from it, a rest waits
// for more bytes. RTU answers carry no transaction identifier, so requests are remembered in the
// order in which they went out, and an answer belongs to the oldest one to the same unit. An entry
// leaves the list when it is answered (rtuToTcp()), when it is older than the transaction timeout
// (tick()), or when the list is full and it is the oldest (tcpToRtu()). The gateway makes up no
// exception responses: a request that the device does not answer expires, and the client sees
// none. After a malformed header nothing in the stream can be trusted, as nothing in it says where
// the next frame starts: what is buffered is dropped and counted, and parsing begins anew with the
// bytes of the next call.
//
// Time: nextTimeoutMs() says when to call tick().
// Memory: between calls less than one MBAP frame (MaxMbapFrameBytes), and at most the set number
// of pending transactions. Value class, one for each TCP client of a bridge link.
class ModbusGateway final
{
public:
    static constexpr int MinTransactionTimeoutMs = 1;
    static constexpr int MaxTransactionTimeoutMs = 600'000;
    static constexpr int DefaultMaxPendingTransactions = 32;
    static constexpr int MaxPendingTransactionsLimit = 4096;
    // Six bytes of header in front of what the length field counts: unit identifier and PDU, which
    // has at most 253 bytes (Modbus Application Protocol V1.1b3, 4.1).
    static constexpr int MaxMbapFrameBytes = 6 + 1 + 253;

    // All since construction; reset() leaves them.
    struct Counters
    {
        qint64 malformedHeaders = 0;
        qint64 badRtuFrames = 0;        // too short, or the CRC does not match
        qint64 unmatchedAnswers = 0;    // no pending transaction with that unit identifier
        qint64 expiredTransactions = 0; // timed out or evicted
    };

    explicit ModbusGateway(int transactionTimeoutMs);

    // Clamped to MinTransactionTimeoutMs to MaxTransactionTimeoutMs.
    void setTransactionTimeoutMs(int timeoutMs);
    // Clamped to 1 to MaxPendingTransactionsLimit; counts from the next request on.
    void setMaxPendingTransactions(int count);
    // Forgets the buffered stream and the pending transactions.
    void reset();

    // The RTU frames of the requests that these bytes of the client's stream complete.
    QList<QByteArray> tcpToRtu(const QByteArray& tcpBytes, qint64 nowMs);
    // The response for the client; empty when the frame is damaged or answers nothing.
    QByteArray rtuToTcp(const QByteArray& rtuFrame, qint64 nowMs);
    // Gives up the transactions that have waited for longer than the timeout.
    void tick(qint64 nowMs);
    // Milliseconds until tick() is due, 0 when it already is, -1 while nothing is pending.
    qint64 nextTimeoutMs(qint64 nowMs) const;

    int pendingTransactions() const { return int(m_pending.size()); }
    qsizetype bufferedBytes() const { return m_stream.size(); }
    const Counters& counters() const { return m_counters; }

    // The bytes and their CRC-16/MODBUS, low byte first.
    static QByteArray appendCrc(const QByteArray& bytes);
    // True when the last two bytes are the CRC of the others; false below 4 bytes, the shortest
    // RTU frame (unit, function code, CRC).
    static bool crcValid(const QByteArray& frame);
    // Header and PDU; the PDU has at most 65534 bytes, as its length is a 16-bit field.
    static QByteArray buildMbap(quint16 transactionId, quint8 unitId, const QByteArray& pdu);

private:
    struct Pending
    {
        quint16 transactionId = 0;
        quint8 unitId = 0;
        qint64 sentMs = 0;
    };

    qsizetype takeRequests(QByteArrayView stream, qint64 nowMs, QList<QByteArray>& frames);
    void remember(quint16 transactionId, quint8 unitId, qint64 nowMs);

    int m_transactionTimeoutMs;
    int m_maxPendingTransactions = DefaultMaxPendingTransactions;
    QByteArray m_stream;           // an incomplete request; less than MaxMbapFrameBytes
    std::deque<Pending> m_pending; // oldest first; at most m_maxPendingTransactions
    Counters m_counters;
};
