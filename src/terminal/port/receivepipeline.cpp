#include "terminal/port/receivepipeline.h"

#include "base/clock.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/portlog.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QLocale>
#include <utility>

namespace {

constexpr qsizetype kHexCharacters = 3; // of a byte: MessageCodec::toHexString()

// Only in ISO-8859-1 are 0x9B and 0x9D the control codes that introduce sequences. Elsewhere they
// are parts of characters (the last byte of U+56FD in UTF-8) or characters (U+203A in
// Windows-1252), and taking them for control codes would swallow text.
bool hasSingleByteIntroducers(const QString& encoding)
{
    return WireTextCodecRegistry::normalizeName(encoding) == QStringLiteral("ISO-8859-1");
}

} // namespace

ReceivePipeline::ReceivePipeline(QObject* parent)
    : ReceivePipeline({localTimeNow, monotonicMs}, parent)
{}

ReceivePipeline::ReceivePipeline(Clocks clocks, QObject* parent)
    : QObject(parent)
    , m_clocks(std::move(clocks))
    , m_timer(this)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(kDrainIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &ReceivePipeline::onRefreshDisplay);
    setFormatSetting(m_format);
}

ReceivePipeline::~ReceivePipeline() = default;

void ReceivePipeline::setDisplay(DisplaySink* sink)
{
    m_sink = sink;
    m_display = {};
    m_removedCharacters = 0;
}

void ReceivePipeline::setFormatSetting(const FormatSetting& format)
{
    const bool wasText = receivesText();
    m_format = format.sanitized();
    if (m_decoders.setEncodings(m_format.receiveEncoding, m_format.sendEncoding)
        || receivesText() != wasText) {
        for (const QString& peer : m_queue.unfinished())
            endSequence(peer);
    }
    m_queue.setSingleByteIntroducers(hasSingleByteIntroducers(m_format.receiveEncoding));
    if (trimToMaximum())
        Q_EMIT drained();
}

void ReceivePipeline::ingestRx(const QByteArray& bytes, bool fromStream, const QString& peer)
{
    if (bytes.isEmpty())
        return;
    if (!fromStream || m_state != RunState::Paused) {
        pushByteArray(bytes, true, RXorTx::Received, peer);
        return;
    }
    if (givesUp(bytes.size())) {
        count(bytes.size());
        return;
    }
    m_hold.append(bytes);
    updateThrottle();
}

void ReceivePipeline::ingestUnshown(const QByteArray& bytes, const QString& peer)
{
    count(bytes.size());
    if (m_log != nullptr && m_log->isRecording())
        queueRecord(bytes, RXorTx::Received, peer, receivesText(), true);
    else
        armTimer();
}

void ReceivePipeline::setBystander(bool on)
{
    m_bystander = on;
    updateThrottle();
}

void ReceivePipeline::count(qsizetype bytes)
{
    m_receivedBytes += bytes;
    m_counted = true;
}

qint64 ReceivePipeline::highWater() const
{
    return m_state == RunState::Paused ? kHoldHighWater : kQueueHighWater;
}

bool ReceivePipeline::givesUp(qsizetype bytes)
{
    if (!m_bystander || waitingCost() < highWater())
        return false;
    m_missedBytes += bytes;
    return true;
}

void ReceivePipeline::tellMissed()
{
    if (m_missedBytes == 0 || waitingCost() >= kQueueLowWater)
        return;
    const QString size = QLocale().formattedDataSize(std::exchange(m_missedBytes, 0));
    pushStatusLine(tr("%1 that passed a bridge are missing here: they came faster than they could "
                      "be shown.")
                       .arg(size));
}

void ReceivePipeline::pushByteArray(
    const QByteArray& bytes, bool countReceived, RXorTx direction, const QString& peer)
{
    if (bytes.isEmpty())
        return;
    if (direction == RXorTx::Received && countReceived)
        count(bytes.size());
    queueRecord(bytes, direction, peer, receivesText());
}

void ReceivePipeline::pushStatusLine(const QString& text)
{
    rxData record;
    record.time = m_clocks.wall();
    record.direction = RXorTx::Sent;
    record.bytes = (text + u'\n').toUtf8();
    record.status = true;
    m_queue.push(std::move(record), false);
    armTimer();
}

void ReceivePipeline::queueRecord(
    const QByteArray& bytes, RXorTx direction, const QString& peer, bool filtered, bool hidden)
{
    if (givesUp(bytes.size())) {
        armTimer();
        return;
    }
    rxData record;
    record.time = m_clocks.wall();
    record.direction = direction;
    record.bytes = bytes;
    record.peer = peer;
    record.hidden = hidden;
    m_queue.push(std::move(record), filtered);
    armTimer();
    updateThrottle();
}

void ReceivePipeline::afterWaiting(std::function<void()> action)
{
    queueHeldBytes();
    if (m_queue.isEmpty()) {
        action();
        return;
    }
    m_queue.pushMark(std::move(action));
    updateThrottle();
}

void ReceivePipeline::forgetPeer(const QString& peer)
{
    endSequence(peer);
    afterWaiting([this, peer] {
        m_decoders.forgetPeer(peer);
        if (m_log != nullptr)
            m_log->forgetPeer(peer);
    });
}

void ReceivePipeline::start()
{
    m_state = RunState::Running;
    m_toldPausedFull = false;
    queueHeldBytes();
    armTimer();
    updateThrottle();
}

void ReceivePipeline::pause()
{
    if (m_state != RunState::Running)
        return;
    m_state = RunState::Paused;
    updateThrottle();
}

void ReceivePipeline::stop()
{
    if (m_state == RunState::Stopped)
        return;
    m_state = RunState::Stopped;
    queueHeldBytes();
    QStringList unfinished = m_queue.unfinished();
    // What is not filtered yet may end in a sequence, too.
    if (m_queue.hasRaw())
        unfinished.append(QString());
    for (const QString& peer : std::as_const(unfinished))
        endSequence(peer);
    afterWaiting([this] {
        m_decoders.reset();
        if (m_log != nullptr)
            m_log->resetTextDecoders();
    });
    armTimer();
    updateThrottle();
}

// A sequence that nobody will finish was received all the same: it is shown as it came. What has
// not passed its filter yet comes before it.
void ReceivePipeline::endSequence(const QString& peer)
{
    if (!m_queue.hasRaw()) {
        queueRecord(m_queue.takeUnfinished(peer), RXorTx::Received, peer, false);
        return;
    }
    m_queue.pushMark([this, peer] {
        rxData record;
        record.time = m_clocks.wall();
        record.bytes = m_queue.takeUnfinished(peer);
        record.peer = peer;
        show(record);
    });
}

void ReceivePipeline::queueHeldBytes(bool counted)
{
    pushByteArray(std::exchange(m_hold, {}), counted, RXorTx::Received);
}

bool ReceivePipeline::mayDrain() const
{
    return !m_queue.isEmpty() && m_state != RunState::Paused;
}

void ReceivePipeline::armTimer()
{
    if (!(mayDrain() || m_counted) || m_timer.isActive() || m_drainPosted)
        return;
    const bool rested = !m_drainedMs || m_clocks.monotonicMs() - *m_drainedMs >= kDrainIntervalMs;
    if (rested)
        postDrain();
    else
        m_timer.start(kDrainIntervalMs);
}

// What breaks a silence is shown at once. An event comes before the window is painted, a timer
// after that: text, lamp and counters take one picture.
void ReceivePipeline::postDrain()
{
    m_drainPosted = true;
    const auto drain = [this] {
        if (std::exchange(m_drainPosted, false))
            onRefreshDisplay();
    };
    QMetaObject::invokeMethod(this, drain, Qt::QueuedConnection);
}

void ReceivePipeline::onRefreshDisplay()
{
    m_drainPosted = false;
    m_drainedMs = m_clocks.monotonicMs();
    if (mayDrain())
        displayPortBuffer();
    if (m_counted)
        tellCounters();
    if (mayDrain())
        m_timer.start(kBacklogIntervalMs);
    else if (m_counted)
        m_timer.start(kDrainIntervalMs);
    else
        m_timer.stop();
}

// A label that changes with every chunk can neither be read nor drawn as fast.
void ReceivePipeline::tellCounters()
{
    const qint64 now = m_clocks.monotonicMs();
    if (m_countersToldMs && now - *m_countersToldMs < kCounterIntervalMs)
        return;
    m_countersToldMs = now;
    m_counted = false;
    Q_EMIT countersChanged();
}

void ReceivePipeline::displayPortBuffer()
{
    const qint64 started = m_clocks.monotonicMs();
    m_queue.runMarks();
    while (!m_queue.isEmpty()) {
        show(m_queue.takeSlice(receivesText()));
        m_queue.runMarks();
        if (m_clocks.monotonicMs() - started >= kDrainBudgetMs)
            break;
    }
    flush();
    if (m_sink != nullptr)
        m_sink->drainEnded();
    Q_EMIT drained();
    tellMissed();
    updateThrottle();
}

bool ReceivePipeline::drainAll()
{
    queueHeldBytes();
    displayPortBuffer();
    return m_queue.isEmpty();
}

void ReceivePipeline::show(const rxData& slice)
{
    if (slice.bytes.isEmpty())
        return;
    if (m_sink != nullptr && !slice.hidden)
        decodeBufferForUi(slice);
    if (m_log != nullptr)
        m_log->logRecord(slice);
}

void ReceivePipeline::decodeBufferForUi(const rxData& slice)
{
    WireTextDecoder& decoder =
        slice.direction == RXorTx::Received ? m_decoders.received(slice.peer) : m_decoders.sent();
    const Ink ink = inkOf(slice.direction);
    // An append is part of the drain's time, so a batch grows no further than one slice.
    if (ink != m_batch.ink || m_batch.text.size() >= DisplayQueue::kSliceBytes)
        flush();
    m_batch.ink = ink;
    if (slice.status) {
        m_batch.text += MessageCodec::decodeStatus(slice.bytes, m_display);
        return;
    }
    MessageCodec::appendForUi(slice, m_format, m_display, decoder, m_batch.text);
    if (!showsText(slice.direction))
        m_batch.noteBytes(kHexCharacters * slice.bytes.size());
}

// A resumed view shows tens of megabytes in few drains: it is trimmed after each append, so that it
// never grows by more than a batch over its maximum.
void ReceivePipeline::flush()
{
    if (m_batch.text.isEmpty())
        return;
    if (m_sink != nullptr)
        m_sink->append(m_batch.text, m_batch.ink, m_batch.bytes);
    m_batch.text.resize(0);
    m_batch.bytes.clear();
    trimToMaximum();
}

// True when it removed something.
bool ReceivePipeline::trimToMaximum()
{
    const qint64 removedBefore = m_removedCharacters;
    while (m_sink != nullptr && m_sink->textLength() > m_format.displayBufferSize)
        removeHalfData();
    return m_removedCharacters > removedBefore;
}

void ReceivePipeline::removeHalfData()
{
    const qint64 length = m_sink->textLength();
    m_sink->forceScrollToEnd();
    m_sink->trimFront(qMin<qint64>(length, m_format.displayBufferSize / 2));
    m_removedCharacters += length - m_sink->textLength();
}

void ReceivePipeline::clear()
{
    queueHeldBytes(false);
    m_queue.hideAll();
    if (m_sink != nullptr)
        m_sink->clearText();
    m_display = {};
    m_removedCharacters = 0;
    m_receivedBytes = 0;
    m_counted = false;
    m_decoders.reset();
    Q_EMIT countersChanged();
    Q_EMIT drained();
}

void ReceivePipeline::updateThrottle()
{
    const qint64 waiting = waitingCost();
    const bool catchingUp = m_throttled && m_state != RunState::Paused;
    const bool throttled = !m_bystander && waiting >= (catchingUp ? kQueueLowWater : highWater());
    if (throttled == m_throttled)
        return;
    m_throttled = throttled;
    if (throttled && m_state == RunState::Paused && !m_toldPausedFull) {
        m_toldPausedFull = true;
        Q_EMIT pausedFull(tr("The view is paused and %1 of received data wait. Reading stops until "
                             "it is resumed.")
                              .arg(QLocale().formattedDataSize(waitingBytes())));
    }
    Q_EMIT throttleRequested(throttled);
}

bool ReceivePipeline::showsText(RXorTx direction) const
{
    const qint32 format =
        direction == RXorTx::Received ? m_format.receiveMsgFormat : m_format.sendMsgFormat;
    return format != static_cast<qint32>(MessageFormat::Hexadecimal);
}

Ink ReceivePipeline::inkOf(RXorTx direction) const
{
    if (!m_format.formatDisplayColor)
        return Ink::Plain;
    return direction == RXorTx::Received ? Ink::Received : Ink::Sent;
}
