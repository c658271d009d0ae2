#include "terminal/text/ansiescapefilter.h"

#include "terminal/text/asciirun.h"

#include <utility>

#include <QtEndian>
#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr char kEscape = '\x1B';
constexpr char kBell = '\x07';
constexpr char kControlSequenceIntroducer = '\x9B';
constexpr char kStringTerminator = '\x9C';
constexpr char kCommandIntroducer = '\x9D';

constexpr quint64 kOnes = 0x0101010101010101U;

// Sets the high bit of the lowest byte that is zero (and of none when no byte is).
constexpr quint64 zeroBytes(quint64 word)
{
    return (word - kOnes) & ~word & kHighBits;
}

constexpr bool isIntroducer(char byte, bool singleByteIntroducers)
{
    return byte == kEscape
           || (singleByteIntroducers
               && (byte == kControlSequenceIntroducer || byte == kCommandIntroducer));
}

const char* findIntroducer(const char* from, const char* end, bool singleByteIntroducers)
{
    if (!singleByteIntroducers) {
        const void* found = std::memchr(from, kEscape, std::size_t(end - from));
        return found != nullptr ? static_cast<const char*>(found) : end;
    }
    for (; end - from >= 8; from += 8) {
        const auto word = qFromLittleEndian<quint64>(from);
        const quint64 hits = zeroBytes(word ^ (kOnes * 0x1B)) | zeroBytes(word ^ (kOnes * 0x9B))
                             | zeroBytes(word ^ (kOnes * 0x9D));
        if (hits != 0)
            return from + std::countr_zero(hits) / 8;
    }
    while (from < end && !isIntroducer(*from, true))
        ++from;
    return from;
}

// Behind the control sequence that begins at `from` and is complete; null when none is.
const char* endOfControlSequence(const char* from, const char* end)
{
    if (end - from < 3 || from[0] != kEscape || from[1] != '[')
        return nullptr;
    const char* const limit =
        from + std::min<qsizetype>(end - from, AnsiEscapeFilter::kMaxControlSequence);
    const char* const last =
        std::find_if(from + 2, limit, [](char byte) { return byte < 0x20 || byte > 0x3F; });
    return last != limit && *last >= 0x40 && *last <= 0x7E ? last + 1 : nullptr;
}

} // namespace

void AnsiEscapeFilter::filter(QByteArray& bytes)
{
    const char* const end = bytes.constEnd();
    if (m_state != State::Ground
        || findIntroducer(bytes.constBegin(), end, m_singleByteIntroducers) != end)
        bytes = process(bytes);
}

QByteArray AnsiEscapeFilter::process(QByteArrayView bytes)
{
    const char* from = bytes.data();
    const char* const end = from + bytes.size();
    QByteArray out;
    out.reserve(m_pending.size() + bytes.size());
    while (from < end) {
        switch (m_state) {
        case State::Ground: {
            const char* const stop = findIntroducer(from, end, m_singleByteIntroducers);
            out.append(from, stop - from);
            from = stop;
            // Colours come a few bytes at a time between the words of a line.
            while (const char* const behind = endOfControlSequence(from, end))
                from = behind;
            if (from < end && isIntroducer(*from, m_singleByteIntroducers))
                introduce(*from++);
            break;
        }
        case State::Escape:
            takeEscape(*from++, out);
            break;
        case State::ControlSequence:
            takeControlSequence(*from++, out);
            break;
        case State::CommandString:
            takeCommandString(*from++, out);
            break;
        case State::CommandStringEscape:
            takeCommandStringEscape(*from++, out);
            break;
        }
    }
    return out;
}

QByteArray AnsiEscapeFilter::takePending()
{
    m_state = State::Ground;
    return std::exchange(m_pending, {});
}

void AnsiEscapeFilter::reset()
{
    drop();
}

void AnsiEscapeFilter::setSingleByteIntroducers(bool on)
{
    m_singleByteIntroducers = on;
}

void AnsiEscapeFilter::introduce(char byte)
{
    m_pending.append(byte);
    if (byte == kEscape)
        m_state = State::Escape;
    else
        m_state = byte == kCommandIntroducer ? State::CommandString : State::ControlSequence;
}

void AnsiEscapeFilter::takeEscape(char byte, QByteArray& out)
{
    m_pending.append(byte);
    if (byte == '[')
        m_state = State::ControlSequence;
    else if (byte == ']')
        m_state = State::CommandString;
    else
        show(out);
}

void AnsiEscapeFilter::takeControlSequence(char byte, QByteArray& out)
{
    if (byte == kEscape) {
        show(out);
        introduce(byte);
        return;
    }
    m_pending.append(byte);
    if (byte >= 0x40 && byte <= 0x7E)
        drop();
    else if (byte < 0x20 || byte > 0x3F || m_pending.size() >= kMaxControlSequence)
        show(out);
}

bool AnsiEscapeFilter::endsCommandString(char byte, QByteArray& out)
{
    if (byte == '\r' || byte == '\n') {
        // A title that was never terminated must not take the lines behind it with it.
        drop();
        out.append(byte);
        return true;
    }
    // In the encodings where 0x9D is part of a character, 0x9C is one too.
    if (byte == kStringTerminator && m_singleByteIntroducers) {
        drop();
        return true;
    }
    return false;
}

void AnsiEscapeFilter::takeCommandString(char byte, QByteArray& out)
{
    if (endsCommandString(byte, out))
        return;
    m_pending.append(byte);
    if (byte == kBell)
        drop();
    else if (byte == kEscape)
        m_state = State::CommandStringEscape;
    else if (m_pending.size() >= kMaxCommandString)
        show(out);
}

void AnsiEscapeFilter::takeCommandStringEscape(char byte, QByteArray& out)
{
    if (endsCommandString(byte, out))
        return;
    m_pending.append(byte);
    if (byte == '\\')
        drop();
    else if (m_pending.size() >= kMaxCommandString)
        show(out);
    else if (byte != kEscape)
        m_state = State::CommandString;
}

void AnsiEscapeFilter::show(QByteArray& out)
{
    out.append(m_pending);
    drop();
}

void AnsiEscapeFilter::drop()
{
    m_pending.clear();
    m_state = State::Ground;
}
