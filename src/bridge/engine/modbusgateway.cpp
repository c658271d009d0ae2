#include "bridge/engine/modbusgateway.h"

#include "bridge/engine/modbuscodec.h"
#include "bridge/engine/monotonic.h"

#include <QtEndian>
#include <algorithm>

namespace {

// Modbus Messaging on TCP/IP Implementation Guide V1.0b, 3.1.3: transaction identifier, protocol
// identifier, length and unit identifier. The length counts the unit identifier and the PDU.
constexpr qsizetype MbapHeaderBytes = 7;
constexpr qsizetype MbapUncountedBytes = 6;
constexpr quint16 ModbusProtocolId = 0;
constexpr quint16 MinMbapLength = 2;
constexpr quint16 MaxMbapLength = ModbusGateway::MaxMbapFrameBytes - MbapUncountedBytes;

// Modbus over Serial Line V1.02, 2.5.1: unit identifier, PDU, CRC.
constexpr qsizetype UnitIdBytes = 1;
constexpr qsizetype CrcBytes = 2;
constexpr qsizetype MinRtuFrameBytes = UnitIdBytes + 1 + CrcBytes;
// What the length field of an MBAP header can count.
constexpr qsizetype MaxRtuFrameBytes = 0xFFFF + CrcBytes;

quint16 bigEndian16(QByteArrayView bytes, qsizetype offset)
{
    return qFromBigEndian<quint16>(bytes.data() + offset);
}

int clampedTimeoutMs(int timeoutMs)
{
    return qBound(
        ModbusGateway::MinTransactionTimeoutMs, timeoutMs, ModbusGateway::MaxTransactionTimeoutMs);
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
    m_maxPendingTransactions = qBound(1, count, MaxPendingTransactionsLimit);
}

void ModbusGateway::reset()
{
    m_stream.clear();
    m_pending.clear();
}

QList<QByteArray> ModbusGateway::tcpToRtu(const QByteArray& tcpBytes, qint64 nowMs)
{
    QList<QByteArray> frames;
    QByteArray stream = tcpBytes;
    if (!m_stream.isEmpty())
        stream.prepend(m_stream);
    const qsizetype taken = takeRequests(stream, nowMs, frames);
    m_stream = QByteArrayView(stream).sliced(taken).toByteArray();
    return frames;
}

QByteArray ModbusGateway::rtuToTcp(const QByteArray& rtuFrame, qint64 nowMs)
{
    Q_UNUSED(nowMs) // an answer counts for as long as tick() has not given its request up
    if (rtuFrame.size() > MaxRtuFrameBytes || !crcValid(rtuFrame)) {
        ++m_counters.badRtuFrames;
        return {};
    }
    const auto unitId = quint8(rtuFrame.front());
    const auto match = std::find_if(m_pending.cbegin(), m_pending.cend(),
        [&](const Pending& pending) { return pending.unitId == unitId; });
    if (match == m_pending.cend()) {
        ++m_counters.unmatchedAnswers;
        return {};
    }
    const quint16 transactionId = match->transactionId;
    m_pending.erase(match);
    return buildMbap(transactionId, unitId,
        rtuFrame.sliced(UnitIdBytes, rtuFrame.size() - UnitIdBytes - CrcBytes));
}

void ModbusGateway::tick(qint64 nowMs)
{
    while (!m_pending.empty()
           && Monotonic::elapsedMs(m_pending.front().sentMs, nowMs) > m_transactionTimeoutMs) {
        m_pending.pop_front();
        ++m_counters.expiredTransactions;
    }
}

qint64 ModbusGateway::nextTimeoutMs(qint64 nowMs) const
{
    if (m_pending.empty())
        return -1;
    const qint64 elapsedMs = Monotonic::elapsedMs(m_pending.front().sentMs, nowMs);
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
    frame.reserve(bytes.size() + CrcBytes);
    frame.append(bytes);
    frame.append(char(crc & 0xFF));
    frame.append(char(crc >> 8));
    return frame;
}

bool ModbusGateway::crcValid(const QByteArray& frame)
{
    if (frame.size() < MinRtuFrameBytes)
        return false;
    const QByteArrayView bytes(frame);
    const auto carried = qFromLittleEndian<quint16>(bytes.last(CrcBytes).data());
    return ModbusCodec::crc16(bytes.chopped(CrcBytes)) == carried;
}

QByteArray ModbusGateway::buildMbap(quint16 transactionId, quint8 unitId, const QByteArray& pdu)
{
    QByteArray frame(MbapHeaderBytes + pdu.size(), Qt::Uninitialized);
    char* out = frame.data();
    qToBigEndian(transactionId, out);
    qToBigEndian(ModbusProtocolId, out + 2);
    qToBigEndian(quint16(pdu.size() + UnitIdBytes), out + 4);
    out[6] = char(unitId);
    std::copy(pdu.cbegin(), pdu.cend(), out + MbapHeaderBytes);
    return frame;
}

// Cuts whole requests from the front of the stream; how many bytes are done with.
qsizetype ModbusGateway::takeRequests(
    QByteArrayView stream, qint64 nowMs, QList<QByteArray>& frames)
{
    qsizetype taken = 0;
    while (stream.size() - taken >= MbapHeaderBytes) {
        const QByteArrayView rest = stream.sliced(taken);
        const quint16 length = bigEndian16(rest, 4);
        if (bigEndian16(rest, 2) != ModbusProtocolId || length < MinMbapLength
            || length > MaxMbapLength) {
            ++m_counters.malformedHeaders;
            return stream.size();
        }
        if (rest.size() < length + MbapUncountedBytes)
            break;
        remember(bigEndian16(rest, 0), quint8(rest[6]), nowMs);
        // The unit identifier stands right before the PDU here as in an RTU frame.
        const QByteArrayView unitAndPdu = rest.sliced(MbapUncountedBytes, length);
        frames.append(appendCrc(QByteArray::fromRawData(unitAndPdu.data(), unitAndPdu.size())));
        taken += length + MbapUncountedBytes;
    }
    return taken;
}

void ModbusGateway::remember(quint16 transactionId, quint8 unitId, qint64 nowMs)
{
    while (int(m_pending.size()) >= m_maxPendingTransactions) {
        m_pending.pop_front();
        ++m_counters.expiredTransactions;
    }
    m_pending.push_back({transactionId, unitId, nowMs});
}
