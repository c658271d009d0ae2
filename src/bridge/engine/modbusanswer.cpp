#include "bridge/engine/modbusanswer.h"

#include "bridge/engine/modbusgateway.h"

#include <QCoreApplication>
#include <QtEndian>
#include <algorithm>

using namespace Modbus;

namespace {

constexpr qsizetype kRtuOverhead = 3; // unit and CRC
constexpr qsizetype kMaxRtuFrameBytes = kMaxPduBytes + kRtuOverhead;

QString translated(const char* text)
{
    return QCoreApplication::translate("ModbusAnswer", text);
}

} // namespace

QString ModbusAnswer::text() const
{
    switch (kind) {
    case Kind::Data:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "Answered in %1 ms")).arg(latencyMs);
    case Kind::Exception:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "Exception %1: %2"))
            .arg(pdu.size() < 2 ? 0 : uchar(pdu[1]), 2, 16, QLatin1Char('0'))
            .arg(exceptionName(pdu.size() < 2 ? 0 : uchar(pdu[1])));
    case Kind::BadChecksum:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "Wrong checksum in the answer"));
    case Kind::Mismatch:
        return translated(
            QT_TRANSLATE_NOOP("ModbusAnswer", "The answer does not fit what was asked for"));
    case Kind::OtherUnit:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "Unit %1 answered instead")).arg(unit);
    case Kind::OtherFunction:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "Answer to another function: %1"))
            .arg(functionName(uchar(pdu.front())));
    case Kind::Incomplete:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "No answer among the bytes received"));
    case Kind::Silent:
        return translated(QT_TRANSLATE_NOOP("ModbusAnswer", "No answer within %1 ms"))
            .arg(latencyMs);
    case Kind::Broadcast:
        return translated(
            QT_TRANSLATE_NOOP("ModbusAnswer", "Sent to all units; none of them answers"));
    }
    return {};
}

void ModbusAnswerReader::ask(const Question& question, qint64 nowMs)
{
    m_question = question;
    m_echo.clear();
    if (question.framing == Framing::Rtu && !answersRequest(question.pdu, question.pdu))
        m_echo = rtuFrame(question.unit, question.pdu);
    m_streams.clear();
    m_askedMs = m_startMs = m_lastByteMs = nowMs;
    m_waiting = true;
    m_settlesWhenQuiet = false;
}

void ModbusAnswerReader::restartClock(qint64 nowMs)
{
    m_startMs = nowMs;
}

void ModbusAnswerReader::cancel()
{
    m_waiting = false;
    m_streams.clear();
}

std::optional<ModbusAnswer> ModbusAnswerReader::feed(
    const QByteArray& bytes, const QString& peer, qint64 nowMs)
{
    if (auto due = tick(nowMs))
        return due;
    if (!m_waiting || bytes.isEmpty()
        || (!m_streams.contains(peer) && m_streams.size() >= kMaxPeers))
        return {};
    Stream& stream = m_streams[peer];
    stream.bytes += bytes;
    m_lastByteMs = nowMs;
    if (auto answer = search(stream)) {
        answer->peer = peer;
        return finish(*std::move(answer), nowMs);
    }
    const qsizetype excess = std::max<qsizetype>(0, stream.bytes.size() - kMaxStreamBytes);
    stream.bytes.remove(0, excess);
    stream.from = std::max<qsizetype>(0, stream.from - excess);
    m_settlesWhenQuiet = std::any_of(m_streams.cbegin(), m_streams.cend(),
        [](const Stream& each) { return each.damaged || each.mayHaveEnded; });
    return {};
}

// What arrived since the last time, and what could not be judged then: no byte is looked at again
// when nothing behind it changes what it is.
std::optional<ModbusAnswer> ModbusAnswerReader::search(Stream& stream) const
{
    stream.mayHaveEnded = false;
    // An adapter that hears itself: the request is no damaged answer.
    if (m_echo.startsWith(stream.bytes))
        return {};
    if (!m_echo.isEmpty() && stream.from == 0 && stream.bytes.startsWith(m_echo))
        stream.from = m_echo.size();
    bool judged = true; // all before this place
    for (qsizetype at = stream.from; at < stream.bytes.size(); ++at) {
        const Candidate candidate = candidateAt(QByteArrayView(stream.bytes).sliced(at), false);
        if (candidate.fit == Fit::Whole)
            return candidate.answer;
        if (candidate.fit == Fit::Damaged && !stream.damaged)
            stream.damaged = candidate.answer;
        stream.mayHaveEnded |= candidate.fit == Fit::OpenEnded;
        judged = judged && (candidate.fit == Fit::None || candidate.fit == Fit::Damaged);
        if (judged)
            stream.from = at + 1;
    }
    return {};
}

std::optional<ModbusAnswer> ModbusAnswerReader::tick(qint64 nowMs)
{
    if (!m_waiting || nowMs < deadlineMs())
        return {};
    return finish(judged(), nowMs);
}

qint64 ModbusAnswerReader::nextTimeoutMs(qint64 nowMs) const
{
    return m_waiting ? std::max<qint64>(0, deadlineMs() - nowMs) : -1;
}

bool ModbusAnswerReader::isBroadcast() const
{
    return m_question.framing == Framing::Rtu && m_question.unit == 0;
}

qint64 ModbusAnswerReader::deadlineMs() const
{
    if (isBroadcast())
        return m_startMs + kTurnaroundMs;
    const qint64 end = m_startMs + m_question.timeoutMs;
    if (m_streams.isEmpty())
        return end;
    const qint64 quiet = m_lastByteMs + kQuietMs;
    return m_settlesWhenQuiet ? std::min(quiet, end + kMaxArrivalMs)
                              : std::clamp(quiet, end, end + kMaxArrivalMs);
}

ModbusAnswer ModbusAnswerReader::finish(ModbusAnswer answer, qint64 nowMs)
{
    answer.latencyMs = nowMs - m_askedMs;
    cancel();
    return answer;
}

// The first place in any stream where something fits so well.
std::optional<ModbusAnswer> ModbusAnswerReader::find(Fit fit, bool anyone) const
{
    for (auto stream = m_streams.cbegin(); stream != m_streams.cend(); ++stream) {
        for (qsizetype at = 0; at < stream->bytes.size(); ++at) {
            Candidate candidate = candidateAt(QByteArrayView(stream->bytes).sliced(at), anyone);
            if (candidate.fit != fit)
                continue;
            candidate.answer.peer = stream.key();
            return candidate.answer;
        }
    }
    return {};
}

ModbusAnswer ModbusAnswerReader::judged() const
{
    ModbusAnswer answer;
    if (isBroadcast()) {
        answer.kind = ModbusAnswer::Kind::Broadcast;
        return answer;
    }
    // Of a function whose answers tell no length, silence is the end.
    if (auto found = find(Fit::OpenEnded, false))
        return *std::move(found);
    for (auto stream = m_streams.cbegin(); stream != m_streams.cend(); ++stream) {
        if (stream->damaged) {
            answer = *stream->damaged;
            answer.peer = stream.key();
            return answer;
        }
    }
    if (auto found = find(Fit::Whole, true))
        return *std::move(found);
    if (!m_streams.isEmpty()) {
        answer.kind = ModbusAnswer::Kind::Incomplete;
        answer.frame = m_streams.cbegin()->bytes;
        answer.peer = m_streams.cbegin().key();
    }
    return answer;
}

ModbusAnswerReader::Candidate ModbusAnswerReader::candidateAt(
    QByteArrayView stream, bool anyone) const
{
    return m_question.framing == Framing::Rtu ? rtuCandidate(stream, anyone)
                                              : tcpCandidate(stream, anyone);
}

ModbusAnswerReader::Candidate ModbusAnswerReader::rtuCandidate(
    QByteArrayView stream, bool anyone) const
{
    if (stream.size() < 2)
        return {Fit::NeedsMore, {}};
    const int unit = uchar(stream[0]);
    const bool mine = unit == m_question.unit
                      && ((uchar(stream[1]) ^ uchar(m_question.pdu[0])) & ~kExceptionBit) == 0;
    if (mine == anyone)
        return {};
    const int length = answerPduLength(stream.sliced(1), m_question.pdu);
    if (length == kLengthNeedsMore)
        return {Fit::NeedsMore, {}};
    const qsizetype size =
        length == kLengthUnknown ? stream.size() : qsizetype(length) + kRtuOverhead;
    if (size > kMaxRtuFrameBytes)
        return {};
    if (size > stream.size())
        return {Fit::NeedsMore, {}};
    const QByteArray frame = stream.first(size).toByteArray();
    const bool intact = ModbusGateway::crcValid(frame);
    Candidate found{intact ? Fit::Whole : Fit::Damaged, {}};
    if (length == kLengthUnknown)
        found.fit = intact ? Fit::OpenEnded : Fit::NeedsMore;
    found.answer.frame = frame;
    found.answer.unit = unit;
    found.answer.kind = ModbusAnswer::Kind::BadChecksum;
    if (intact) {
        found.answer.pdu = frame.sliced(1, size - kRtuOverhead);
        found.answer.kind = kindOf(unit, found.answer.pdu);
    }
    return found;
}

ModbusAnswerReader::Candidate ModbusAnswerReader::tcpCandidate(
    QByteArrayView stream, bool anyone) const
{
    if (stream.size() < kMbapBytes + 1)
        return {Fit::NeedsMore, {}};
    const auto word = [stream](
                          qsizetype at) { return qFromBigEndian<quint16>(stream.data() + at); };
    const int length = word(4); // unit and PDU
    if (word(2) != 0 || length < 2 || length > kMaxPduBytes + 1
        || word(0) != m_question.transaction)
        return {};
    const int unit = uchar(stream[6]);
    const bool mine = unit == m_question.unit
                      && ((uchar(stream[7]) ^ uchar(m_question.pdu[0])) & ~kExceptionBit) == 0;
    if (mine == anyone)
        return {};
    const qsizetype size = kMbapBytes - 1 + length;
    if (size > stream.size())
        return {Fit::NeedsMore, {}};
    Candidate found{Fit::Whole, {}};
    found.answer.frame = stream.first(size).toByteArray();
    found.answer.pdu = found.answer.frame.sliced(kMbapBytes);
    found.answer.unit = unit;
    found.answer.kind = kindOf(unit, found.answer.pdu);
    return found;
}

ModbusAnswer::Kind ModbusAnswerReader::kindOf(int unit, QByteArrayView pdu) const
{
    using Kind = ModbusAnswer::Kind;
    if (unit != m_question.unit)
        return Kind::OtherUnit;
    const int code = uchar(pdu[0]);
    if (((code ^ uchar(m_question.pdu[0])) & ~kExceptionBit) != 0)
        return Kind::OtherFunction;
    if (!answersRequest(pdu, m_question.pdu))
        return Kind::Mismatch;
    return (code & kExceptionBit) != 0 ? Kind::Exception : Kind::Data;
}
