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

class PortLog;

// From bytes of the transport (and echoed sent bytes) to text in the receive view and in the log.
//
// Data flow: ingestRx() -> [hold buffer while paused] -> escape filter -> queue of stamped records
// -> a drain every 20 ms -> MessageCodec -> DisplaySink, and the same records to the log. A drain
// stops when its time is used up and goes on once the event loop has seen to everything else (keys,
// painting, reading); large records are shown in slices, with the text that one piece would give.
// The timer rests while there is nothing to show.
//
// Whose bytes they are: what a connection delivered is shown and logged under its name, however
// long that takes. A connection that ends hands over what a paused view held back, and changes that
// belong to the next one (another name of the log, fresh decoders) wait behind it, see
// afterWaiting().
//
// Bounds: nothing is dropped. When what waits reaches a high-water mark (another one while the
// view is paused) throttleRequested(true) asks the owner to stop reading the transport, and when
// the view has caught up throttleRequested(false) lets it go on. A bystander (setBystander) gives
// up what comes beyond those marks instead. Owned by the live port; sink and log outlive it.
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

    explicit ReceivePipeline(QObject* parent = nullptr); // the system's clocks
    explicit ReceivePipeline(Clocks clocks, QObject* parent = nullptr);
    ~ReceivePipeline() override;

    // Where the text goes; null, as at first, for nowhere. Text of before is not shown again.
    void setDisplay(DisplaySink* sink);
    // Gets every record, shown or not, while it records; null for nobody.
    void setLog(PortLog* log) { m_log = log; }
    // In force for everything shown from now on; a smaller maximum of the view at once. A changed
    // encoding makes fresh decoders.
    void setFormatSetting(const FormatSetting& format);

    // Bytes from the transport. `fromStream` is false for datagrams, which stay records of their
    // own also while the view is paused. `peer` names the sender, empty when there is only one.
    void ingestRx(const QByteArray& bytes, bool fromStream, const QString& peer);
    // The same for bytes that the view is not to show: they are counted and logged.
    void ingestUnshown(const QByteArray& bytes, const QString& peer);
    // Somebody else lives on what comes in, and a view must not hold it up: reading is not
    // throttled any more. What finds no room is neither shown nor logged then; a line in both says
    // how much, as soon as there is room.
    void setBystander(bool on);
    // Queues a record for display. Sent bytes are not counted here.
    void pushByteArray(
        const QByteArray& bytes, bool countReceived, RXorTx direction, const QString& peer = {});
    // A line about the port, in its place between the records.
    void pushStatusLine(const QString& text);
    // Runs the action once all that waits now was shown and logged; at once when nothing waits.
    void afterWaiting(std::function<void()> action);
    // The peer left: once what it sent has been shown, nothing of it is kept.
    void forgetPeer(const QString& peer);

    // Running; what was held while paused is queued.
    void start();
    void pause();
    // The connection closed. What waits, held bytes too, is shown from now on, and what comes after
    // it meets fresh decoders.
    void stop();
    [[nodiscard]] RunState runState() const { return m_state; }

    // One drain, unless the view is paused: on the timer, and when a send with echo asks for it.
    void onRefreshDisplay();
    // Shows and logs what waits, also what a paused view holds back, for kDrainBudgetMs at most.
    // False when there is more.
    bool drainAll();

    // Empties the view and starts counters and decoders afresh. What waits is not shown any more,
    // only logged.
    void clear();
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
    // After received bytes were counted; at most every kCounterIntervalMs while they stream in.
    void countersChanged();
    // The text in the view changed.
    void drained();
    void throttleRequested(bool on);
    // The view is paused and what it holds back is all that it can hold.
    void pausedFull(const QString& text);

private:
    [[nodiscard]] bool mayDrain() const;
    void queueRecord(const QByteArray& bytes, RXorTx direction, const QString& peer, bool filtered,
        bool hidden = false);
    [[nodiscard]] qint64 waitingCost() const { return m_queue.cost() + m_hold.size(); }
    [[nodiscard]] qint64 highWater() const;
    bool givesUp(qsizetype bytes);
    void tellMissed();
    void count(qsizetype bytes);
    void displayPortBuffer();
    void show(const rxData& slice);
    void decodeBufferForUi(const rxData& slice);
    void endSequence(const QString& peer);
    void flush();
    bool trimToMaximum();
    void queueHeldBytes(bool counted = true);
    void armTimer();
    void postDrain();
    void tellCounters();
    void updateThrottle();
    [[nodiscard]] bool showsText(RXorTx direction) const;
    [[nodiscard]] bool receivesText() const { return showsText(RXorTx::Received); }
    [[nodiscard]] Ink inkOf(RXorTx direction) const;

    DisplaySink* m_sink = nullptr;
    PortLog* m_log = nullptr;
    Clocks m_clocks;
    FormatSetting m_format;
    DecoderSet m_decoders;
    DisplayState m_display;
    DisplayBatch m_batch; // of the drain at hand
    QTimer m_timer;
    bool m_drainPosted = false; // a drain comes with the next turn of the event loop
    std::optional<qint64> m_drainedMs;
    DisplayQueue m_queue; // bounded by the high-water marks
    QByteArray m_hold;    // received while paused; bounded by kHoldHighWater
    RunState m_state = RunState::Stopped;
    bool m_throttled = false;
    bool m_bystander = false;
    qint64 m_missedBytes = 0; // given up, and not told yet
    bool m_toldPausedFull = false;
    qint64 m_receivedBytes = 0;
    bool m_counted = false; // since the last countersChanged()
    std::optional<qint64> m_countersToldMs;
    qint64 m_removedCharacters = 0;
};
