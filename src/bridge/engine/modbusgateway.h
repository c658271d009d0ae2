#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <deque>
#include <optional>

// Converts between Modbus TCP and Modbus RTU for one TCP client: MBAP-framed requests become RTU
// frames with a CRC, RTU answers become MBAP-framed responses that carry the transaction
// identifier of the request they answer. MBAP is that of the Modbus Messaging on TCP/IP
// Implementation Guide V1.0b, the RTU frame that of Modbus over Serial Line V1.02.
//
// Theory of operation. The TCP side is a stream: complete requests are cut from it, a rest waits
// for more bytes. RTU answers carry no transaction identifier, so requests are remembered in the
// order in which they came, and an answer belongs to the oldest one to the same unit.
//  - tcpToRtu() is for a line of one's own: its frames are written at once and count as sent.
//  - takeRequests() is for a line with turns: a request waits, without a clock, until noteSent();
//    only then can it be answered, and only by its own function code. One that never goes out or
//    whose turn is over leaves by forget() or fail(), so that a late answer finds nobody. A
//    broadcast has no answer and leaves when it is sent.
// An entry also leaves the list when it is answered (rtuToTcp()), when it was sent longer ago than
// the transaction timeout, or when the list is full and it is the oldest. The gateway answers
// nothing by itself: a request that the device does not answer expires, and the client sees no
// response, unless the owner asks for one with fail().
//
// After a malformed header nothing in the stream can be trusted, as nothing in it says where the
// next frame starts, and a guess would reach the device with a fresh checksum. The gateway is then
// broken: it takes no more requests until reset(), and the owner closes the client's connection.
// What was sent before can still be answered.
//
// Time: nextTimeoutMs() says when to call tick(). Every call that is given the time first gives up
// what was due by then.
// Memory: between calls less than one MBAP frame (kMaxMbapFrameBytes), and at most the set number
// of pending transactions. Value class, one for each TCP client of a bridge link.
class ModbusGateway final
{
public:
    static constexpr int kMinTransactionTimeoutMs = 1;
    static constexpr int kMaxTransactionTimeoutMs = 600'000;
    static constexpr int kDefaultMaxPendingTransactions = 32;
    static constexpr int kMaxPendingTransactionsLimit = 4096;
    // Six bytes of header in front of what the length field counts: unit identifier and PDU, which
    // has at most 253 bytes (Modbus Application Protocol V1.1b3, 4.1).
    static constexpr int kMaxMbapFrameBytes = 6 + 1 + 253;

    static constexpr quint8 kBroadcastUnit = 0;
    // How long the devices are given to act on a broadcast before the next request (Modbus over
    // Serial Line V1.02, 2.4.1: 100 to 200 ms).
    static constexpr int kBroadcastTurnaroundMs = 100;

    // Exception codes of a gateway, Modbus Application Protocol V1.1b3, chapter 7.
    enum class ExceptionCode : quint8 {
        GatewayPathUnavailable = 0x0A, // the request did not get onto the line
        TargetFailedToRespond = 0x0B,  // it did, and the device was silent
    };

    // All since construction; reset() leaves them.
    struct Counters
    {
        qint64 malformedHeaders = 0;
        qint64 bytesAfterMalformed = 0; // the malformed header and what came behind it
        qint64 badRtuFrames = 0;        // too short, or the CRC does not match
        qint64 unmatchedAnswers = 0;    // no transaction that is pending has such an answer
        qint64 expiredTransactions = 0; // timed out or evicted
    };

    // A request for the line.
    struct Request
    {
        quint64 id = 0; // never 0, and never used twice by one gateway
        QByteArray rtuFrame;
        bool broadcast = false; // no device answers it
    };

    explicit ModbusGateway(int transactionTimeoutMs);

    // Clamped to kMinTransactionTimeoutMs to kMaxTransactionTimeoutMs.
    void setTransactionTimeoutMs(int timeoutMs);
    // Clamped to 1 to kMaxPendingTransactionsLimit; counts from the next request on.
    void setMaxPendingTransactions(int count);
    // Forgets the buffered stream, the pending transactions and that the stream was broken.
    void reset();

    // The RTU frames of the requests that these bytes of the client's stream complete; they count
    // as sent now.
    QList<QByteArray> tcpToRtu(const QByteArray& tcpBytes, qint64 nowMs);
    // The requests that these bytes of the client's stream complete, each to be followed by
    // noteSent(), forget() or fail().
    QList<Request> takeRequests(const QByteArray& tcpBytes, qint64 nowMs);
    // The request goes out now, and its transaction timeout begins. False when it was given up
    // meanwhile (evicted by newer ones): it must not go out.
    bool noteSent(quint64 requestId, qint64 nowMs);
    // The request will not be answered; the client hears nothing. Ignores one that has left.
    void forget(quint64 requestId);
    // The same, and the exception response that tells the client; empty when the request has left
    // already or was a broadcast.
    QByteArray fail(quint64 requestId, ExceptionCode code);
    // A malformed header has come: the client's connection is to be closed.
    bool isBroken() const { return m_broken; }
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
        quint64 id = 0;
        quint16 transactionId = 0;
        quint8 unitId = 0;
        quint8 functionCode = 0;
        bool takesTurns = false; // came through takeRequests()
        std::optional<qint64> sentMs = {};

        bool isAnsweredBy(QByteArrayView rtuFrame) const;
    };

    qsizetype cutRequests(QByteArrayView stream, QList<Request>& requests);
    quint64 remember(quint16 transactionId, QByteArrayView unitAndPdu);
    std::deque<Pending>::iterator find(quint64 requestId);

    int m_transactionTimeoutMs;
    int m_maxPendingTransactions = kDefaultMaxPendingTransactions;
    QByteArray m_stream;           // an incomplete request; less than kMaxMbapFrameBytes
    std::deque<Pending> m_pending; // oldest first; at most m_maxPendingTransactions
    quint64 m_lastId = 0;
    bool m_broken = false;
    Counters m_counters;
};
