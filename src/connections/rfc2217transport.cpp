#include "connections/rfc2217transport.h"

#include "connections/rfc2217/rfc2217values.h"

#include <QPointer>
#include <utility>

namespace {

// Payload goes below in pieces of this size, and what left is told as closely.
constexpr qsizetype kPieceBytes = qsizetype{16} * 1024;
// Below, payload leaves so much room to what the protocol has to answer.
constexpr qint64 kReservedBytes = qint64{64} * 1024;

} // namespace

Rfc2217Transport::Rfc2217Transport(connectionMode mode, std::unique_ptr<Transport> below)
    : Transport(mode)
    , m_below(std::move(below))
{
    m_below->setBelowFilter();
    m_negotiation.setSingleShot(true);
    m_negotiation.setInterval(Rfc2217ClientSession::kNegotiationTimeoutMs);
    connect(&m_negotiation, &QTimer::timeout, this,
        [this] { apply(m_session.onNegotiationTimeout()); });
    m_inquiry.setInterval(Rfc2217ClientSession::kModemStateInquiryMs);
    connect(&m_inquiry, &QTimer::timeout, this, [this] {
        if (m_waiting.empty())
            command(m_session.modemStateInquiry());
    });
    wire();
}

Rfc2217Transport::~Rfc2217Transport()
{
    m_below->disconnect(this);
}

void Rfc2217Transport::wire()
{
    const Transport* below = m_below.get();
    connect(below, &Transport::opened, this, &Rfc2217Transport::onOpened);
    connect(below, &Transport::readyRead, this, &Rfc2217Transport::drain);
    connect(below, &Transport::left, this, &Rfc2217Transport::onLeft);
    connect(below, &Transport::discarded, this, &Rfc2217Transport::onDiscarded);
    connect(below, &Transport::closing, this, &Rfc2217Transport::onClosing);
    connect(below, &Transport::closed, this, &Rfc2217Transport::onClosed);
    connect(below, &Transport::lingered, this, [this] {
        const QPointer<Rfc2217Transport> self(this);
        if (const qint64 unsent = std::exchange(m_unsent, 0); unsent > 0)
            tellUnsent(tr("The connection to %1 ended with %2 bytes not sent.")
                           .arg(name(), QString::number(unsent)));
        if (self)
            Q_EMIT lingered();
    });
    connect(below, &Transport::noticed, this, &Transport::noticed);
}

bool Rfc2217Transport::open(const Settings& settings, OpenMode how)
{
    if (state() != State::Closed)
        return true;
    m_settings = settings.sanitized();
    const QPointer<Rfc2217Transport> self(this);
    const bool started = m_below->open(settings, how);
    if (!self)
        return false;
    setName(m_below->name());
    setErrorText(m_below->errorText());
    return started;
}

void Rfc2217Transport::onOpened()
{
    setName(m_below->name());
    setErrorText({});
    m_unsent = 0;
    pass(m_session.begin(), 0);
    m_negotiation.start();
    const QPointer<Rfc2217Transport> self(this);
    regulateReading();
    if (self)
        tellSummary();
    if (self)
        Q_EMIT opened();
}

void Rfc2217Transport::onClosing()
{
    const QPointer<Rfc2217Transport> self(this);
    Q_EMIT closing();
    if (!self)
        return;
    m_unsent = 0;
    m_lastCall = true;
    if (!m_payload.isEmpty())
        Q_EMIT readyRead();
}

void Rfc2217Transport::onClosed(CloseReason reason)
{
    const QPointer<Rfc2217Transport> self(this);
    m_negotiation.stop();
    m_inquiry.stop();
    setErrorText(reason.text);
    // What is left can only be read by the session that it was sent to.
    m_draining = true;
    m_hold.release();
    if (!self)
        return;
    m_draining = false;
    if (std::exchange(m_lastCall, false))
        m_payload.clear();
    m_session.reset();
    const qint64 waited = dropWaiting();
    reason.unsentBytes = std::exchange(m_unsent, 0) + waited;
    if (waited > 0)
        Q_EMIT discarded(waited, {});
    if (self)
        tellRefused();
    if (self)
        tellSummary();
    if (self)
        Q_EMIT closed(reason);
    if (!self || reason.unsentBytes == 0)
        return;
    const QString size = QString::number(reason.unsentBytes);
    tellUnsent(
        waited == reason.unsentBytes
            ? tr("%1 bytes were not sent: the connection ended before the remote port answered")
                  .arg(size)
            : tr("The connection to %1 ended with %2 bytes not sent.").arg(name(), size),
        reason.kind);
}

// Below counts its own bytes; a stretch that has left in part is told when the rest has.
void Rfc2217Transport::onLeft(qint64 bytes)
{
    qint64 payload = 0;
    while (bytes > 0 && !m_onTheWay.empty()) {
        Stretch& first = m_onTheWay.front();
        const qint64 gone = qMin(bytes, first.below);
        bytes -= gone;
        first.below -= gone;
        if (first.below > 0)
            break;
        payload += first.payload;
        m_onTheWay.pop_front();
    }
    m_onTheWayBytes -= payload;
    const QPointer<Rfc2217Transport> self(this);
    if (payload > 0)
        Q_EMIT left(payload, {});
    if (self)
        pump();
}

// Below, a stream discards all that it has.
void Rfc2217Transport::onDiscarded()
{
    m_onTheWay.clear();
    const qint64 bytes = std::exchange(m_onTheWayBytes, 0);
    m_unsent += bytes;
    if (bytes > 0)
        Q_EMIT discarded(bytes, {});
}

void Rfc2217Transport::drain()
{
    const QPointer<Rfc2217Transport> self(this);
    Chunk chunk;
    while (self && (m_draining || m_lastCall || !m_hold) && m_below->takeChunk(chunk))
        consume(chunk.bytes);
    if (self && !m_payload.isEmpty() && (!isReadingHeld() || m_lastCall))
        Q_EMIT readyRead();
}

void Rfc2217Transport::consume(const QByteArray& bytes)
{
    const Rfc2217ClientSession::Outcome outcome = m_session.receive(bytes);
    m_payload.append(outcome.data);
    const QPointer<Rfc2217Transport> self(this);
    apply(outcome);
    if (self)
        regulateReading();
}

void Rfc2217Transport::apply(const Rfc2217ClientSession::Outcome& outcome)
{
    const QPointer<Rfc2217Transport> self(this);
    pass(outcome.reply, 0);
    if (outcome.negotiationFinished) {
        m_negotiation.stop();
        pass(m_session.settingsUpdate(m_settings), 0);
        if (sessionState() == SessionState::ComPortActive)
            m_inquiry.start();
        pump();
    }
    if (!outcome.message.isEmpty())
        tell(Notice::info(outcome.message, Rfc2217ClientSession::kMessageTimeoutMs));
    if (self && outcome.negotiationFinished)
        regulateReading();
    if (self)
        tellSummary();
}

// Reading is held below when nobody wants the payload, or too much of it waits; while negotiating
// only the latter counts, and the remote is given its time again when reading goes on.
void Rfc2217Transport::regulateReading()
{
    if (m_draining || m_lastCall)
        return;
    const bool negotiating = sessionState() == SessionState::Negotiating && state() == State::Open;
    const bool hold = (isReadingHeld() && !negotiating) || m_payload.size() >= kMaxUntakenBytes;
    if (negotiating && hold)
        m_negotiation.stop();
    else if (negotiating && !m_negotiation.isActive())
        m_negotiation.start();
    if (!hold)
        m_hold.release();
    else if (!m_hold)
        m_hold = m_below->holdReading();
}

void Rfc2217Transport::setReadingHeld(bool held)
{
    const QPointer<Rfc2217Transport> self(this);
    if (!held && !m_payload.isEmpty())
        Q_EMIT readyRead();
    if (self)
        regulateReading();
}

bool Rfc2217Transport::takeChunk(Chunk& chunk)
{
    if ((isReadingHeld() && !m_lastCall) || m_payload.isEmpty())
        return false;
    chunk = {std::exchange(m_payload, {}), {}, true};
    // Later, or what comes then would overtake this in the hands of whoever takes it.
    if (m_hold)
        QMetaObject::invokeMethod(this, &Rfc2217Transport::regulateReading, Qt::QueuedConnection);
    return true;
}

WriteResult Rfc2217Transport::write(const QByteArray& bytes, const QString& peer)
{
    Q_UNUSED(peer)
    if (bytes.isEmpty())
        return {WriteResult::Refusal::Nothing, tr("There is nothing to send.")};
    if (state() == State::Closed)
        return {WriteResult::Refusal::NotOpen, tr("There is no connection to the remote port.")};
    if (!hasRoomFor(bytes.size()))
        return refuseFull(bytes.size());
    for (qsizetype at = 0; at < bytes.size();) {
        if (m_waiting.empty() || m_waiting.back().isCommand
            || m_waiting.back().bytes.size() >= kPieceBytes)
            m_waiting.push_back({});
        QByteArray& last = m_waiting.back().bytes;
        const qsizetype size = qMin(bytes.size() - at, kPieceBytes - last.size());
        last.append(bytes.constData() + at, size);
        at += size;
    }
    m_waitingBytes += bytes.size();
    const bool stands = isOpen();
    pump();
    tellRefused();
    return stands ? WriteResult() : WriteResult::waiting();
}

bool Rfc2217Transport::hasRoomFor(qint64 bytes, const QString& peer) const
{
    return bytes <= kMaxUnsentBytes - pendingBytes(peer);
}

qint64 Rfc2217Transport::pendingBytes(const QString& peer) const
{
    Q_UNUSED(peer)
    return m_waitingBytes + m_onTheWayBytes;
}

void Rfc2217Transport::pump()
{
    while (state() == State::Open && sessionState() != SessionState::Negotiating
           && !m_waiting.empty()) {
        const Piece& first = m_waiting.front();
        const qint64 payload = first.isCommand ? 0 : first.bytes.size();
        const QByteArray bytes =
            first.isCommand ? first.bytes : m_session.encodePayload(first.bytes);
        if (!m_below->hasRoomFor(bytes.size() + kReservedBytes) || !pass(bytes, payload))
            return;
        m_waitingCommands -= first.isCommand ? 1 : 0;
        m_waiting.pop_front();
        m_waitingBytes -= payload;
    }
}

bool Rfc2217Transport::pass(const QByteArray& bytes, qint64 payload)
{
    if (bytes.isEmpty() || !m_below->write(bytes).taken())
        return false;
    // Merged, so that many small messages do not cost more than their bytes.
    if (!m_onTheWay.empty() && m_onTheWay.back().payload + payload <= kPieceBytes
        && m_onTheWay.back().below + bytes.size() <= 2 * kPieceBytes) {
        m_onTheWay.back().below += bytes.size();
        m_onTheWay.back().payload += payload;
    } else {
        m_onTheWay.push_back({bytes.size(), payload});
    }
    m_onTheWayBytes += payload;
    return true;
}

// Behind the payload that waits, so that what was sent before goes out as it was meant.
void Rfc2217Transport::command(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return;
    if (m_waiting.empty()) {
        pass(bytes, 0);
    } else if (m_waitingCommands < kMaxWaitingCommands) {
        m_waiting.push_back({bytes, true});
        ++m_waitingCommands;
    } else {
        tell(Notice::warning(
            tr("%1: the remote port does not read; it was not asked for the change").arg(name())));
    }
}

qint64 Rfc2217Transport::dropWaiting()
{
    m_waiting.clear();
    m_waitingCommands = 0;
    return std::exchange(m_waitingBytes, 0);
}

void Rfc2217Transport::apply(const Settings& settings)
{
    m_settings = settings.sanitized();
    if (isOpen())
        command(m_session.settingsUpdate(m_settings));
}

void Rfc2217Transport::discard(Purge which)
{
    if (!isOpen())
        return;
    const QPointer<Rfc2217Transport> self(this);
    if (purgesInput(which)) {
        // Read rather than thrown away below: there are answers in between.
        const ReadHold quiet = holdReading();
        m_draining = true;
        m_hold.release();
        if (!self)
            return;
        m_draining = false;
        m_payload.clear();
    }
    const qint64 bytes = purgesOutput(which) ? m_waitingBytes : 0;
    if (purgesOutput(which)) {
        std::erase_if(m_waiting, [](const Piece& piece) { return !piece.isCommand; });
        m_waitingBytes = 0;
    }
    command(m_session.purgeCommand(static_cast<quint8>(which)));
    regulateReading();
    if (bytes > 0)
        Q_EMIT discarded(bytes, {});
}

SerialLines::Answer Rfc2217Transport::setLine(SerialLine line, bool on)
{
    if (!isOpen())
        return Answer::NotOpen;
    if (line == SerialLine::Dtr)
        m_settings.dtrOn = on;
    else if (line == SerialLine::Rts)
        m_settings.rtsOn = on;
    if (m_settings.useRemoteSerialConfig)
        return Answer::RemoteOwn;
    switch (sessionState()) {
    case SessionState::Negotiating:
        return line == SerialLine::Break ? Answer::NotYet : Answer::Later;
    case SessionState::ComPortActive:
        break;
    case SessionState::PlainTelnet:
    case SessionState::TransparentTcp:
        return Answer::NoComPort;
    }
    command(line == SerialLine::Break ? m_session.breakCommand(on)
                                      : m_session.settingsUpdate(m_settings));
    return Answer::Asked;
}

bool Rfc2217Transport::requested(SerialLine line) const
{
    return line == SerialLine::Dtr ? m_settings.dtrOn : line == SerialLine::Rts && m_settings.rtsOn;
}

std::optional<bool> Rfc2217Transport::level(SerialLine line) const
{
    return line == SerialLine::Dtr   ? m_session.confirmedDtr()
           : line == SerialLine::Rts ? m_session.confirmedRts()
                                     : std::nullopt;
}

ModemLines Rfc2217Transport::inputs()
{
    const quint8 state = m_session.modemState().value_or(0);
    return {(state & Rfc2217::Cts) != 0, (state & Rfc2217::Dsr) != 0, (state & Rfc2217::Dcd) != 0,
        (state & Rfc2217::Ri) != 0};
}

SerialLines::Sight Rfc2217Transport::sight() const
{
    if (!isOpen())
        return Sight::None;
    if (sessionState() != SessionState::ComPortActive)
        return Sight::Unknown;
    return m_session.modemState() ? Sight::All : Sight::Outputs;
}

void Rfc2217Transport::tellSummary()
{
    m_summary = m_session.remoteSummary();
    Q_EMIT linesChanged();
}
