#include "bridge/engine/modbusanswerframer.h"

#include "bridge/engine/modbusgateway.h"
#include "bridge/engine/modbuspdu.h"
#include "bridge/engine/monotonic.h"

namespace {

// Modbus over Serial Line V1.02, 2.5.1: unit, function code, data, checksum.
constexpr qsizetype kHeadBytes = 2;
constexpr qsizetype kCrcBytes = 2;
constexpr qsizetype kShortestFrameBytes = kHeadBytes + kCrcBytes;

bool checksumHolds(QByteArrayView frame)
{
    return ModbusGateway::crcValid(QByteArray::fromRawData(frame.data(), frame.size()));
}

// What stands between unit and checksum.
QByteArrayView pduOf(QByteArrayView frame)
{
    return frame.sliced(1, frame.size() - 1 - kCrcBytes);
}

} // namespace

ModbusAnswerFramer::ModbusAnswerFramer(int silenceMs)
    : m_silenceMs(qBound(kMinSilenceMs, silenceMs, kMaxSilenceMs))
{}

QList<ModbusAnswerFramer::Piece> ModbusAnswerFramer::expect(QByteArrayView rtuRequest, qint64 nowMs)
{
    QList<Piece> pieces = expectNothing(nowMs);
    const bool answered = rtuRequest.size() >= kShortestFrameBytes
                          && quint8(rtuRequest[0]) != ModbusGateway::kBroadcastUnit;
    if (answered)
        m_request = rtuRequest.toByteArray();
    return pieces;
}

QList<ModbusAnswerFramer::Piece> ModbusAnswerFramer::expectNothing(qint64 nowMs)
{
    QList<Piece> pieces = tick(nowMs);
    m_request.clear();
    cutAll(pieces);
    return pieces;
}

QList<ModbusAnswerFramer::Piece> ModbusAnswerFramer::ingest(QByteArrayView bytes, qint64 nowMs)
{
    QList<Piece> pieces = tick(nowMs);
    while (!bytes.isEmpty()) {
        // No more than a frame at a time, so that a flood is never held whole.
        const qsizetype room = qMin(kMaxFrameBytes - m_buffer.size(), bytes.size());
        m_buffer.append(bytes.data(), room);
        bytes = bytes.sliced(room);
        m_lastByteMs = nowMs;
        cutAnswers(pieces);
        if (!isExpecting() || m_buffer.size() >= kMaxFrameBytes)
            cutAll(pieces);
    }
    return pieces;
}

QList<ModbusAnswerFramer::Piece> ModbusAnswerFramer::tick(qint64 nowMs)
{
    QList<Piece> pieces;
    if (nextTimeoutMs(nowMs) == 0)
        cutAll(pieces);
    return pieces;
}

qint64 ModbusAnswerFramer::nextTimeoutMs(qint64 nowMs) const
{
    return m_buffer.isEmpty() ? -1 : Monotonic::remainingMs(m_lastByteMs, m_silenceMs, nowMs);
}

qsizetype ModbusAnswerFramer::answerLength(QByteArrayView answerStart)
{
    if (answerStart.size() < kHeadBytes)
        return 0;
    const int length = Modbus::answerPduLength(answerStart.sliced(1));
    return length > 0 ? 1 + length + kCrcBytes : length;
}

bool ModbusAnswerFramer::answers(QByteArrayView rtuAnswer, QByteArrayView rtuRequest)
{
    return rtuAnswer.size() >= kShortestFrameBytes && rtuRequest.size() >= kShortestFrameBytes
           && rtuAnswer[0] == rtuRequest[0]
           && Modbus::answersRequest(pduOf(rtuAnswer), pduOf(rtuRequest));
}

// Cuts answers whose length is known from the front of what is held.
void ModbusAnswerFramer::cutAnswers(QList<Piece>& pieces)
{
    while (isExpecting()) {
        const qsizetype length = answerLength(m_buffer);
        if (length < kShortestFrameBytes || m_buffer.size() < length
            || !checksumHolds(QByteArrayView(m_buffer).first(length)))
            return;
        const QByteArray frame = m_buffer.first(length);
        m_buffer.remove(0, length);
        const bool fits = answers(frame, m_request);
        pieces.append({.kind = fits ? Kind::Answer : Kind::Foreign, .bytes = frame});
        if (fits)
            m_request.clear();
    }
}

// The silence has come, or the turn is over: what is held is all there will be of it.
void ModbusAnswerFramer::cutAll(QList<Piece>& pieces)
{
    if (m_buffer.isEmpty())
        return;
    Kind kind = Kind::Foreign;
    if (isExpecting()) {
        kind = !checksumHolds(m_buffer)       ? Kind::Damaged
               : answers(m_buffer, m_request) ? Kind::Answer
                                              : Kind::Foreign;
    }
    if (kind == Kind::Answer)
        m_request.clear();
    pieces.append({.kind = kind, .bytes = m_buffer});
    m_buffer.clear();
}
