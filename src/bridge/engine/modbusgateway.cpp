#include "bridge/engine/modbusgateway.h"

#include "bridge/engine/modbuscodec.h"
#include "bridge/engine/monotonic.h"

#include <QtEndian>
#include <algorithm>

namespace {

// Modbus Messaging on TCP/IP Implementation Guide V1.0b, 3.1.3: transaction identifier, protocol
// identifier, length and unit identifier. The length counts the unit identifier and the PDU.
constexpr qsizetype kMbapHeaderBytes = 7;
constexpr qsizetype kMbapUncountedBytes = 6;
constexpr quint16 kModbusProtocolId = 0;
constexpr quint16 kMinMbapLength = 2;
constexpr quint16 kMaxMbapLength = ModbusGateway::kMaxMbapFrameBytes - kMbapUncountedBytes;

// Modbus over Serial Line V1.02, 2.5.1: unit identifier, PDU, CRC.
constexpr qsizetype kUnitIdBytes = 1;
constexpr qsizetype kCrcBytes = 2;
constexpr qsizetype kMinRtuFrameBytes = kUnitIdBytes + 1 + kCrcBytes;
// Set in the function code of an exception response (Modbus Application Protocol V1.1b3, 4.1).
constexpr quint8 kExceptionFlag = 0x80;
// What the length field of an MBAP header can count.
constexpr qsizetype kMaxRtuFrameBytes = 0xFFFF + kCrcBytes;

quint16 bigEndian16(QByteArrayView bytes, qsizetype offset)
{
    return qFromBigEndian<quint16>(bytes.data() + offset);
}

int clampedTimeoutMs(int timeoutMs)
{
    return qBound(ModbusGateway::kMinTransactionTimeoutMs, timeoutMs,
        ModbusGateway::kMaxTransactionTimeoutMs);
}

} // namespace

ModbusGateway::ModbusGateway(int transactionTimeoutMs)
    : m_transactionTimeoutMs(clampedTimeoutMs(transactionTimeoutMs))
{}

void ModbusGateway::setTransactionTimeoutMs(int timeoutMs)
{
    m_transactionTimeoutMs = clampedTimeoutMs(timeoutMs);
}

void ModbusGateway::setMaxPendingTransactions(int count)
{
    m_maxPendingTransactions = qBound(1, count, kMaxPendingTransactionsLimit);
}

void ModbusGateway::reset()
{
    m_stream.clear();
    m_pending.clear();
    m_broken = false;
}

QList<QByteArray> ModbusGateway::tcpToRtu(const QByteArray& tcpBytes, qint64 nowMs)
{
    QList<QByteArray> frames;
    for (Request& request : takeRequests(tcpBytes, nowMs)) {
        frames.append(std::move(request.rtuFrame));
        if (const auto pending = find(request.id); pending != m_pending.end()) {
            pending->takesTurns = false;
            pending->sentMs = nowMs;
        }
    }
    return frames;
}

QList<ModbusGateway::Request> ModbusGateway::takeRequests(const QByteArray& tcpBytes, qint64 nowMs)
{
    tick(nowMs);
    if (m_broken) {
        m_counters.bytesAfterMalformed += tcpBytes.size();
        return {};
    }
    QList<Request> requests;
    QByteArray stream = tcpBytes;
    if (!m_stream.isEmpty())
        stream.prepend(m_stream);
    const qsizetype taken = cutRequests(stream, requests);
    m_stream = QByteArrayView(stream).sliced(taken).toByteArray();
    if (m_broken) {
        m_counters.bytesAfterMalformed += m_stream.size();
        m_stream.clear();
    }
    return requests;
}

bool ModbusGateway::noteSent(quint64 requestId, qint64 nowMs)
{
    tick(nowMs);
    const auto pending = find(requestId);
    if (pending == m_pending.end())
        return false;
    if (pending->unitId == kBroadcastUnit)
        m_pending.erase(pending);
    else
        pending->sentMs = nowMs;
    return true;
}

void ModbusGateway::forget(quint64 requestId)
{
    if (const auto pending = find(requestId); pending != m_pending.end())
        m_pending.erase(pending);
}

QByteArray ModbusGateway::fail(quint64 requestId, ExceptionCode code)
{
    const auto pending = find(requestId);
    if (pending == m_pending.end())
        return {};
    const Pending failed = *pending;
    m_pending.erase(pending);
    if (failed.unitId == kBroadcastUnit)
        return {};
    const char pdu[] = {char(failed.functionCode | kExceptionFlag), char(code)};
    return buildMbap(failed.transactionId, failed.unitId, QByteArray(pdu, sizeof pdu));
}

QByteArray ModbusGateway::rtuToTcp(const QByteArray& rtuFrame, qint64 nowMs)
{
    tick(nowMs);
    if (rtuFrame.size() > kMaxRtuFrameBytes || !crcValid(rtuFrame)) {
        ++m_counters.badRtuFrames;
        return {};
    }
    const auto unitId = quint8(rtuFrame.front());
    const auto match = std::find_if(m_pending.cbegin(), m_pending.cend(),
        [&](const Pending& pending) { return pending.isAnsweredBy(rtuFrame); });
    if (match == m_pending.cend()) {
        ++m_counters.unmatchedAnswers;
        return {};
    }
    const quint16 transactionId = match->transactionId;
    m_pending.erase(match);
    return buildMbap(transactionId, unitId,
        rtuFrame.sliced(kUnitIdBytes, rtuFrame.size() - kUnitIdBytes - kCrcBytes));
}

void ModbusGateway::tick(qint64 nowMs)
{
    const auto expired = std::erase_if(m_pending, [&](const Pending& pending) {
        return pending.sentMs
               && Monotonic::elapsedMs(*pending.sentMs, nowMs) > m_transactionTimeoutMs;
    });
    m_counters.expiredTransactions += qint64(expired);
}

qint64 ModbusGateway::nextTimeoutMs(qint64 nowMs) const
{
    qint64 elapsedMs = -1; // of the one that has waited longest
    for (const Pending& pending : m_pending) {
        if (pending.sentMs)
            elapsedMs = qMax(elapsedMs, Monotonic::elapsedMs(*pending.sentMs, nowMs));
    }
    if (elapsedMs < 0)
        return -1;
    // At the timeout itself the transaction is not older than it yet: without this millisecond an
    // owner that calls exactly when told would be told to call at once, again and again.
    if (elapsedMs == m_transactionTimeoutMs)
        return 1;
    return qMax<qint64>(0, m_transactionTimeoutMs - elapsedMs);
}

QByteArray ModbusGateway::appendCrc(const QByteArray& bytes)
{
    const quint16 crc = ModbusCodec::crc16(bytes);
    QByteArray frame;
    frame.reserve(bytes.size() + kCrcBytes);
    frame.append(bytes);
    frame.append(char(crc & 0xFF));
    frame.append(char(crc >> 8));
    return frame;
}

bool ModbusGateway::crcValid(const QByteArray& frame)
{
    if (frame.size() < kMinRtuFrameBytes)
        return false;
    const QByteArrayView bytes(frame);
    const auto carried = qFromLittleEndian<quint16>(bytes.last(kCrcBytes).data());
    return ModbusCodec::crc16(bytes.chopped(kCrcBytes)) == carried;
}

QByteArray ModbusGateway::buildMbap(quint16 transactionId, quint8 unitId, const QByteArray& pdu)
{
    QByteArray frame(kMbapHeaderBytes + pdu.size(), Qt::Uninitialized);
    char* out = frame.data();
    qToBigEndian(transactionId, out);
    qToBigEndian(kModbusProtocolId, out + 2);
    qToBigEndian(quint16(pdu.size() + kUnitIdBytes), out + 4);
    out[6] = char(unitId);
    std::copy(pdu.cbegin(), pdu.cend(), out + kMbapHeaderBytes);
    return frame;
}

bool ModbusGateway::Pending::isAnsweredBy(QByteArrayView rtuFrame) const
{
    if (!sentMs || unitId != quint8(rtuFrame[0]))
        return false;
    return !takesTurns || functionCode == (quint8(rtuFrame[1]) & ~kExceptionFlag);
}

// Cuts whole requests from the front of the stream; how many bytes they took.
qsizetype ModbusGateway::cutRequests(QByteArrayView stream, QList<Request>& requests)
{
    qsizetype taken = 0;
    while (stream.size() - taken >= kMbapHeaderBytes) {
        const QByteArrayView rest = stream.sliced(taken);
        const quint16 length = bigEndian16(rest, 4);
        if (bigEndian16(rest, 2) != kModbusProtocolId || length < kMinMbapLength
            || length > kMaxMbapLength) {
            ++m_counters.malformedHeaders;
            m_broken = true;
            break;
        }
        if (rest.size() < length + kMbapUncountedBytes)
            break;
        // The unit identifier stands right before the PDU here as in an RTU frame.
        const QByteArrayView unitAndPdu = rest.sliced(kMbapUncountedBytes, length);
        requests.append({.id = remember(bigEndian16(rest, 0), unitAndPdu),
            .rtuFrame = appendCrc(QByteArray::fromRawData(unitAndPdu.data(), unitAndPdu.size())),
            .broadcast = quint8(unitAndPdu[0]) == kBroadcastUnit});
        taken += length + kMbapUncountedBytes;
    }
    return taken;
}

quint64 ModbusGateway::remember(quint16 transactionId, QByteArrayView unitAndPdu)
{
    while (int(m_pending.size()) >= m_maxPendingTransactions) {
        m_pending.pop_front();
        ++m_counters.expiredTransactions;
    }
    m_pending.push_back({.id = ++m_lastId,
        .transactionId = transactionId,
        .unitId = quint8(unitAndPdu[0]),
        .functionCode = quint8(unitAndPdu[1]),
        .takesTurns = true});
    return m_lastId;
}

std::deque<ModbusGateway::Pending>::iterator ModbusGateway::find(quint64 requestId)
{
    return std::find_if(m_pending.begin(), m_pending.end(),
        [&](const Pending& pending) { return pending.id == requestId; });
}
