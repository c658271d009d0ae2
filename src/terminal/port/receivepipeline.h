#pragma once

#include "settings/formatsetting.h"
#include "terminal/format/displaystate.h"
#include "terminal/port/decoderset.h"
#include "terminal/port/displaybatch.h"
#include "terminal/port/displayqueue.h"
#include "terminal/port/runstate.h"

#include <QObject>
#include <QTimer>
#include <functional>
#include <optional>

class DisplaySink;
class TrafficLog;

// From bytes of the transport (and echoed sent bytes) to text in the receive view.
//
// Data flow: ingestRx() -> rxTapped -> [hold buffer while paused] -> escape filter -> queue of
// stamped records -> a drain every 20 ms -> MessageCodec -> DisplaySink. A drain stops when its
// time is used up and goes on once the event loop has seen to everything else (keys, painting,
// reading); large records are shown in slices, with the text that one piece would give. The timer
// rests while there is nothing to show.
//
// Bounds: nothing is dropped. When what waits reaches a high-water mark (another one while the
// view is paused) throttleRequested(true) asks the owner to stop reading the transport, and when
// the view has caught up throttleRequested(false) lets it go on. The owner of a datagram socket
// leaves datagrams in the socket meanwhile and reads them after the release. Owned by the pane;
// the sink outlives it.
class ReceivePipeline final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceivePipeline)

public:
    struct Clocks
    {
        std::function<QDateTime()> wall;     // local time, for the stamps
        std::function<qint64()> monotonicMs; // for the time that a drain may take
    };

    static constexpr int kDrainIntervalMs = 20;
    static constexpr int kBacklogIntervalMs = 1; // until a drain that left something goes on
    // No slice begins after it: with painting, a turn of the event loop stays below 20 ms.
    static constexpr qint64 kDrainBudgetMs = 8;
    static constexpr qint64 kCounterIntervalMs = 100;
    // DisplayQueue::cost() at which reading stops, and below which it goes on.
    static constexpr qint64 kQueueHighWater = qint64{4} * 1024 * 1024;
    static constexpr qint64 kQueueLowWater = qint64{1024} * 1024;
    // The same for all that waits while the view is paused; reading goes on once it is resumed.
    static constexpr qint64 kHoldHighWater = qint64{64} * 1024 * 1024;
    static constexpr int kPausedFullMessageMs = 5000;

    explicit ReceivePipeline(DisplaySink& sink, QObject* parent = nullptr); // the system's clocks
    ReceivePipeline(DisplaySink& sink, Clocks clocks, QObject* parent = nullptr);
    ~ReceivePipeline() override;

    // In force for everything shown from now on; a smaller maximum of the view at once. A changed
    // encoding makes fresh decoders.
    void setFormatSetting(const FormatSetting& format);

    // Bytes from the transport. `fromStream` is false for datagrams, which stay records of their
    // own also while the view is paused. `peer` names the sender, empty when there is only one.
    void ingestRx(const QByteArray& bytes, bool fromStream, const QString& peer);
    // Queues a record for display. Sent bytes are not counted here.
    void pushByteArray(
        const QByteArray& bytes, bool countReceived, RXorTx direction, const QString& peer = {});

    // The peer left: once what it sent has been shown, nothing of it is kept.
    void forgetPeer(const QString& peer);

    // Running; what was held while paused is queued. After a stop the decoders start afresh.
    void start();
    void pause();
    // The connection closed. What was queued before is still shown; what is queued from now on,
    // and what a paused view held back, waits for the next start.
    void stop();
    [[nodiscard]] RunState runState() const { return m_state; }

    // One drain, if the view runs: on the timer, and when a send with echo asks for it.
    void onRefreshDisplay();

    // Empties the view and starts counters and decoders afresh. What waits is shown later.
    void clear();
    void resetTextDecoders();
    // Gets what is shown from now on, null for nobody; the caller keeps it alive meanwhile.
    void setTrafficLog(TrafficLog* log);
    // Hands all that still waits to the log instead of the view: the pane is going away.
    void logWaiting();
    // Removes the first min(length, displayBufferSize / 2) characters of the view, and one more
    // where that would part a surrogate pair.
    void removeHalfData();

    // What came from the transport; held bytes are counted when they are queued.
    [[nodiscard]] qint64 receivedBytes() const { return m_receivedBytes; }
    // Bytes that wait to be shown, held ones included.
    [[nodiscard]] qint64 waitingBytes() const { return m_queue.bytes() + m_hold.size(); }
    // Characters removed from the front of the view since it was last cleared.
    [[nodiscard]] qint64 removedCharacters() const { return m_removedCharacters; }

Q_SIGNALS:
    // Every received chunk, before display.
    void rxTapped(const QByteArray& bytes, const QString& peer);
    void received(); // something arrived: time for the lamp
    // After received bytes were counted; at most every kCounterIntervalMs while they stream in.
    void countersChanged();
    // The text in the view changed.
    void drained();
    void throttleRequested(bool on);
    void statusMessage(const QString& text, int timeoutMs);

private:
    [[nodiscard]] bool mayDrain() const;
    void displayPortBuffer();
    void decodeBufferForUi(const rxData& slice, DisplayBatch& batch);
    void flush(DisplayBatch& batch);
    bool trimToMaximum();
    void forgetLeavingPeers();
    void queueHeldBytes();
    void armTimer();
    void tellCounters();
    void updateThrottle();
    [[nodiscard]] bool showsText(RXorTx direction) const;
    [[nodiscard]] bool receivesText() const { return showsText(RXorTx::Received); }
    [[nodiscard]] std::optional<QColor> colorOf(RXorTx direction) const;

    DisplaySink& m_sink;
    TrafficLog* m_log = nullptr;
    Clocks m_clocks;
    FormatSetting m_format;
    DecoderSet m_decoders;
    DisplayState m_display;
    QTimer m_timer;
    DisplayQueue m_queue;        // bounded by the high-water marks
    QByteArray m_hold;           // received while paused; bounded by kHoldHighWater
    std::size_t m_finishing = 0; // records in front that a stopped view still shows
    RunState m_state = RunState::Stopped;
    // Forgotten as soon as the queue is empty; at most DecoderSet::kMaxPeers.
    QStringList m_leavingPeers;
    bool m_throttled = false;
    bool m_toldPausedFull = false;
    qint64 m_receivedBytes = 0;
    bool m_counted = false; // since the last countersChanged()
    std::optional<qint64> m_countersToldMs;
    qint64 m_removedCharacters = 0;
};
