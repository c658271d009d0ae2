#include "terminal/port/receivepipeline.h"

#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysink.h"
#include "terminal/port/trafficlog.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QElapsedTimer>
#include <QLocale>
#include <utility>

namespace {

// The local time of a millisecond, made once: that takes longer than queueing a short chunk.
QDateTime localTimeNow()
{
    static QDateTime now;
    static qint64 nowMs = 0;
    if (const qint64 ms = QDateTime::currentMSecsSinceEpoch(); ms != nowMs) {
        nowMs = ms;
        now = QDateTime::fromMSecsSinceEpoch(ms);
    }
    return now;
}

ReceivePipeline::Clocks systemClocks()
{
    QElapsedTimer timer;
    timer.start();
    return {localTimeNow, [timer] { return timer.elapsed(); }};
}

constexpr qsizetype kHexCharacters = 3; // of a byte: MessageCodec::toHexString()

// Only in ISO-8859-1 are 0x9B and 0x9D the control codes that introduce sequences. Elsewhere they
// are parts of characters (the last byte of U+56FD in UTF-8) or characters (U+203A in
// Windows-1252), and taking them for control codes would swallow text.
bool hasSingleByteIntroducers(const QString& encoding)
{
    return WireTextCodecRegistry::normalizeName(encoding) == QStringLiteral("ISO-8859-1");
}

} // namespace

ReceivePipeline::ReceivePipeline(DisplaySink& sink, QObject* parent)
    : ReceivePipeline(sink, systemClocks(), parent)
{}

ReceivePipeline::ReceivePipeline(DisplaySink& sink, Clocks clocks, QObject* parent)
    : QObject(parent)
    , m_sink(sink)
    , m_clocks(std::move(clocks))
    , m_timer(this)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(kDrainIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &ReceivePipeline::onRefreshDisplay);
    setFormatSetting(m_format);
}

ReceivePipeline::~ReceivePipeline() = default;

void ReceivePipeline::setFormatSetting(const FormatSetting& format)
{
    const bool wasText = receivesText();
    m_format = format.sanitized();
    if (m_decoders.setEncodings(m_format.receiveEncoding, m_format.sendEncoding)
        || receivesText() != wasText)
        m_queue.filters().reset();
    m_queue.filters().setSingleByteIntroducers(hasSingleByteIntroducers(m_format.receiveEncoding));
    if (trimToMaximum())
        Q_EMIT drained();
}

void ReceivePipeline::ingestRx(const QByteArray& bytes, bool fromStream, const QString& peer)
{
    if (bytes.isEmpty())
        return;
    Q_EMIT rxTapped(bytes, peer);
    if (!fromStream || m_state != RunState::Paused) {
        pushByteArray(bytes, true, RXorTx::Received, peer);
        return;
    }
    m_hold.append(bytes);
    Q_EMIT received();
    updateThrottle();
}

void ReceivePipeline::pushByteArray(
    const QByteArray& bytes, bool countReceived, RXorTx direction, const QString& peer)
{
    if (bytes.isEmpty())
        return;
    if (direction == RXorTx::Received) {
        Q_EMIT received();
        if (countReceived) {
            m_receivedBytes += bytes.size();
            m_counted = true;
        }
    }
    rxData record;
    record.time = m_clocks.wall();
    record.direction = direction;
    record.bytes = bytes;
    record.peer = peer;
    m_queue.push(std::move(record), receivesText());
    armTimer();
    updateThrottle();
}

void ReceivePipeline::forgetPeer(const QString& peer)
{
    m_leavingPeers.append(peer);
    // The decoders and filters are bounded by themselves; it is only the order that is lost.
    if (m_leavingPeers.size() > qsizetype(DecoderSet::kMaxPeers))
        m_leavingPeers.removeFirst();
    forgetLeavingPeers();
}

void ReceivePipeline::forgetLeavingPeers()
{
    if (!m_queue.isEmpty())
        return;
    const QStringList peers = std::exchange(m_leavingPeers, {});
    for (const QString& peer : peers) {
        m_decoders.forgetPeer(peer);
        m_queue.filters().forgetPeer(peer);
        if (m_log != nullptr)
            m_log->forgetPeer(peer);
    }
}

void ReceivePipeline::start()
{
    if (m_state == RunState::Stopped)
        resetTextDecoders();
    const bool resumed = m_state == RunState::Paused;
    m_state = RunState::Running;
    m_finishing = 0;
    m_toldPausedFull = false;
    if (resumed)
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
    m_finishing = m_state == RunState::Running ? m_queue.count() : 0;
    m_queue.seal();
    m_state = RunState::Stopped;
    queueHeldBytes();
    updateThrottle();
}

void ReceivePipeline::queueHeldBytes()
{
    pushByteArray(std::exchange(m_hold, {}), true, RXorTx::Received);
}

bool ReceivePipeline::mayDrain() const
{
    return !m_queue.isEmpty()
           && (m_state == RunState::Running || (m_state == RunState::Stopped && m_finishing > 0));
}

void ReceivePipeline::armTimer()
{
    if ((mayDrain() || m_counted) && !m_timer.isActive())
        m_timer.start(kDrainIntervalMs);
}

void ReceivePipeline::onRefreshDisplay()
{
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
    DisplayBatch batch;
    do {
        const std::size_t before = m_queue.count();
        const rxData slice = m_queue.takeSlice(receivesText());
        if (m_finishing > 0 && m_queue.count() < before)
            --m_finishing;
        if (slice.bytes.isEmpty())
            continue;
        decodeBufferForUi(slice, batch);
        if (m_log != nullptr)
            m_log->logRecord(slice);
    } while (mayDrain() && m_clocks.monotonicMs() - started < kDrainBudgetMs);
    flush(batch);
    forgetLeavingPeers();
    Q_EMIT drained();
    updateThrottle();
}

void ReceivePipeline::decodeBufferForUi(const rxData& slice, DisplayBatch& batch)
{
    WireTextDecoder& decoder =
        slice.direction == RXorTx::Received ? m_decoders.received(slice.peer) : m_decoders.sent();
    const std::optional<QColor> color = colorOf(slice.direction);
    // An append is part of the drain's time, so a batch grows no further than one slice.
    if (color != batch.color || batch.text.size() >= DisplayQueue::kSliceBytes)
        flush(batch);
    batch.color = color;
    MessageCodec::appendForUi(slice, m_format, m_display, decoder, batch.text);
    if (!showsText(slice.direction))
        batch.noteBytes(kHexCharacters * slice.bytes.size());
}

// A resumed view shows tens of megabytes in few drains: it is trimmed after each append, so that it
// never grows by more than a batch over its maximum.
void ReceivePipeline::flush(DisplayBatch& batch)
{
    if (batch.text.isEmpty())
        return;
    if (batch.bytes.isEmpty())
        m_sink.appendText(batch.text, batch.color);
    else
        m_sink.appendHexadecimal(batch.text, batch.color, batch.bytes);
    batch.text.resize(0);
    batch.bytes.clear();
    trimToMaximum();
}

// True when it removed something.
bool ReceivePipeline::trimToMaximum()
{
    const qint64 removedBefore = m_removedCharacters;
    while (m_sink.textLength() > m_format.displayBufferSize)
        removeHalfData();
    return m_removedCharacters > removedBefore;
}

void ReceivePipeline::removeHalfData()
{
    const qint64 length = m_sink.textLength();
    m_sink.forceScrollToEnd();
    m_sink.trimFront(qMin<qint64>(length, m_format.displayBufferSize / 2));
    m_removedCharacters += length - m_sink.textLength();
}

void ReceivePipeline::clear()
{
    m_sink.clearText();
    m_display = {};
    m_removedCharacters = 0;
    m_receivedBytes = 0;
    m_counted = false;
    resetTextDecoders();
    Q_EMIT countersChanged();
    Q_EMIT drained();
}

void ReceivePipeline::resetTextDecoders()
{
    m_decoders.reset();
    m_queue.filters().reset();
    if (m_log != nullptr)
        m_log->resetTextDecoders();
}

void ReceivePipeline::setTrafficLog(TrafficLog* log)
{
    m_log = log;
}

void ReceivePipeline::logWaiting()
{
    if (m_log == nullptr)
        return;
    queueHeldBytes();
    while (!m_queue.isEmpty()) {
        const rxData slice = m_queue.takeSlice(receivesText());
        if (!slice.bytes.isEmpty())
            m_log->logRecord(slice);
    }
}

void ReceivePipeline::updateThrottle()
{
    const qint64 waiting = m_queue.cost() + m_hold.size();
    bool throttled = m_throttled ? waiting >= kQueueLowWater : waiting >= kQueueHighWater;
    if (m_state == RunState::Paused)
        throttled = waiting >= kHoldHighWater;
    if (throttled == m_throttled)
        return;
    m_throttled = throttled;
    if (throttled && m_state == RunState::Paused && !m_toldPausedFull) {
        m_toldPausedFull = true;
        Q_EMIT statusMessage(tr("The view is paused and %1 of received data wait. Reading stops "
                                "until it is resumed.")
                                 .arg(QLocale().formattedDataSize(waitingBytes())),
            kPausedFullMessageMs);
    }
    Q_EMIT throttleRequested(throttled);
}

bool ReceivePipeline::showsText(RXorTx direction) const
{
    const qint32 format =
        direction == RXorTx::Received ? m_format.receiveMsgFormat : m_format.sendMsgFormat;
    return format != static_cast<qint32>(MessageFormat::Hexadecimal);
}

std::optional<QColor> ReceivePipeline::colorOf(RXorTx direction) const
{
    if (!m_format.formatDisplayColor)
        return std::nullopt;
    const QColor& color =
        direction == RXorTx::Received ? m_format.receiveTextColor : m_format.sendTextColor;
    return color.isValid() ? std::optional(color) : std::nullopt;
}
