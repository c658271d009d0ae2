#include "bridge/engine/modbusanswerframer.h"

#include "bridge/engine/modbusgateway.h"
#include "bridge/engine/monotonic.h"

#include <QtEndian>

namespace {

// Modbus over Serial Line V1.02, 2.5.1: unit, function code, data, checksum.
constexpr qsizetype HeadBytes = 2;
constexpr qsizetype CrcBytes = 2;
constexpr qsizetype ShortestFrameBytes = HeadBytes + CrcBytes;
constexpr quint8 ExceptionFlag = 0x80;
constexpr qsizetype ExceptionBytes = HeadBytes + 1 + CrcBytes;

// Modbus Application Protocol V1.1b3, chapter 6.
enum FunctionCode : quint8 {
    ReadCoils = 0x01,
    ReadDiscreteInputs = 0x02,
    ReadHoldingRegisters = 0x03,
    ReadInputRegisters = 0x04,
    WriteSingleCoil = 0x05,
    WriteSingleRegister = 0x06,
    ReadExceptionStatus = 0x07,
    GetCommEventCounter = 0x0B,
    GetCommEventLog = 0x0C,
    WriteMultipleCoils = 0x0F,
    WriteMultipleRegisters = 0x10,
    ReportServerId = 0x11,
    ReadFileRecord = 0x14,
    WriteFileRecord = 0x15,
    MaskWriteRegister = 0x16,
    ReadWriteMultipleRegisters = 0x17,
    ReadFifoQueue = 0x18,
};

quint8 byteAt(QByteArrayView bytes, qsizetype offset)
{
    return quint8(bytes[offset]);
}

int wordAt(QByteArrayView bytes, qsizetype offset)
{
    return qFromBigEndian<quint16>(bytes.data() + offset);
}

bool checksumHolds(QByteArrayView frame)
{
    return ModbusGateway::crcValid(QByteArray::fromRawData(frame.data(), frame.size()));
}

// Whether the answer repeats what the request has behind the function code, so many bytes of it.
bool repeats(QByteArrayView answer, QByteArrayView request, qsizetype bytes)
{
    return answer.size() >= HeadBytes + bytes && request.size() >= HeadBytes + bytes
           && answer.sliced(HeadBytes, bytes) == request.sliced(HeadBytes, bytes);
}

// Whether the byte count of a reading answer is that of the quantity asked for.
bool countIs(QByteArrayView answer, int bytes)
{
    return byteAt(answer, HeadBytes) == bytes;
}

} // namespace

ModbusAnswerFramer::ModbusAnswerFramer(int silenceMs)
    : m_silenceMs(qBound(MinSilenceMs, silenceMs, MaxSilenceMs))
{}

QList<ModbusAnswerFramer::Piece> ModbusAnswerFramer::expect(QByteArrayView rtuRequest, qint64 nowMs)
{
    QList<Piece> pieces = expectNothing(nowMs);
    const bool answered = rtuRequest.size() >= ShortestFrameBytes
                          && byteAt(rtuRequest, 0) != ModbusGateway::BroadcastUnit;
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
        const qsizetype room = qMin(MaxFrameBytes - m_buffer.size(), bytes.size());
        m_buffer.append(bytes.data(), room);
        bytes = bytes.sliced(room);
        m_lastByteMs = nowMs;
        cutAnswers(pieces);
        if (!isExpecting() || m_buffer.size() >= MaxFrameBytes)
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
    if (answerStart.size() < HeadBytes)
        return 0;
    const quint8 code = byteAt(answerStart, 1);
    if (code & ExceptionFlag)
        return ExceptionBytes;
    switch (code) {
    case ReadCoils:
    case ReadDiscreteInputs:
    case ReadHoldingRegisters:
    case ReadInputRegisters:
    case GetCommEventLog:
    case ReportServerId:
    case ReadFileRecord:
    case WriteFileRecord:
    case ReadWriteMultipleRegisters: // a byte count
        return answerStart.size() < HeadBytes + 1
                   ? 0
                   : HeadBytes + 1 + byteAt(answerStart, HeadBytes) + CrcBytes;
    case WriteSingleCoil:
    case WriteSingleRegister:
    case GetCommEventCounter:
    case WriteMultipleCoils:
    case WriteMultipleRegisters: // two words
        return HeadBytes + 4 + CrcBytes;
    case ReadExceptionStatus:
        return HeadBytes + 1 + CrcBytes;
    case MaskWriteRegister: // three words
        return HeadBytes + 6 + CrcBytes;
    case ReadFifoQueue: // a byte count of two bytes
        return answerStart.size() < HeadBytes + 2
                   ? 0
                   : HeadBytes + 2 + wordAt(answerStart, HeadBytes) + CrcBytes;
    default:
        return -1;
    }
}

bool ModbusAnswerFramer::answers(QByteArrayView rtuAnswer, QByteArrayView rtuRequest)
{
    if (rtuAnswer.size() < ShortestFrameBytes || rtuRequest.size() < ShortestFrameBytes
        || rtuAnswer[0] != rtuRequest[0])
        return false;
    const quint8 code = byteAt(rtuRequest, 1);
    if (byteAt(rtuAnswer, 1) == (code | ExceptionFlag))
        return rtuAnswer.size() == ExceptionBytes;
    if (byteAt(rtuAnswer, 1) != code)
        return false;
    const bool known = rtuRequest.size() >= HeadBytes + 4 + CrcBytes;
    const qsizetype length = answerLength(rtuAnswer);
    if (!known || length < 0)
        return true;
    if (rtuAnswer.size() != length)
        return false;
    const int quantity = wordAt(rtuRequest, HeadBytes + 2);
    switch (code) {
    case ReadCoils:
    case ReadDiscreteInputs:
        return countIs(rtuAnswer, (quantity + 7) / 8);
    case ReadHoldingRegisters:
    case ReadInputRegisters:
    case ReadWriteMultipleRegisters:
        return countIs(rtuAnswer, quantity * 2);
    case WriteSingleCoil:
    case WriteSingleRegister:
    case WriteMultipleCoils:
    case WriteMultipleRegisters:
        return repeats(rtuAnswer, rtuRequest, 4);
    case MaskWriteRegister:
        return repeats(rtuAnswer, rtuRequest, 6);
    default:
        return true;
    }
}

// Cuts answers whose length is known from the front of what is held.
void ModbusAnswerFramer::cutAnswers(QList<Piece>& pieces)
{
    while (isExpecting()) {
        const qsizetype length = answerLength(m_buffer);
        if (length < ShortestFrameBytes || m_buffer.size() < length
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
