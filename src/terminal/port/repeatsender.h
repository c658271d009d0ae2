#pragma once

#include "terminal/port/runstate.h"

#include <QObject>
#include <QTimer>
#include <functional>

// Sends the editor's text again and again, whole or one line per tick.
//
// Runs while it is enabled and the connection stands; a pause ends it until the pane goes on or the
// option is ticked anew. No message is sent before the one ahead of it has left: on a line that is
// slower than the period the backlog would grow without end and go on long after it was switched
// off. Owned by the pane, which gives it the functions below and tells it of starts, pauses and
// stops.
class RepeatSender final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RepeatSender)

public:
    static constexpr int kMinIntervalMs = 10;
    static constexpr int kMaxIntervalMs = 1'000'000'000;

    struct Pane
    {
        std::function<bool()> isOpen;             // the connection stands
        std::function<qint64()> pendingBytes;     // accepted and not yet left
        std::function<QString()> text;            // the editor's, lines separated by LF
        std::function<void(const QString&)> send; // one message; never an empty one
    };

    explicit RepeatSender(Pane pane, QObject* parent = nullptr);
    ~RepeatSender() override;

    // `interval` counted in `unit` milliseconds, kept within the bounds above; in force at once.
    void setInterval(qint32 interval, qint32 unit);
    [[nodiscard]] int intervalMs() const { return m_timer.interval(); }
    void setLineByLine(bool on) { m_lineByLine = on; }
    // The option itself. Takes effect at once, or at the pane's next start.
    void setEnabled(bool on);
    [[nodiscard]] bool isRunning() const { return m_timer.isActive(); }

    // The pane started or resumed: the next line is the first one.
    void paneStarted();
    // Paused or closed.
    void paneHalted(RunState state);

    // One period. Nothing happens while the connection is not open or output waits; an empty line
    // uses its tick.
    void tick();

Q_SIGNALS:
    // The last message has not left; said once until one has.
    void skipped();

private:
    Pane m_pane;
    QTimer m_timer;
    RunState m_state = RunState::Stopped;
    bool m_enabled = false;
    bool m_skipTold = false;
    bool m_lineByLine = false;
    qsizetype m_lineIndex = 0;
};
