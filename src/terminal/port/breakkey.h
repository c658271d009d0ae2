#pragma once

#include "terminal/port/breakhold.h"

#include <QObject>
#include <QTimer>
#include <functional>

// A key that sends a break while it is held: the rules of BreakHold with the timers they need.
// Owned by the pane's ControlLines, which drives the line and shows it.
class BreakKey final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BreakKey)

public:
    using Clock = std::function<qint64()>; // monotonic, milliseconds

    // `apply` starts or ends the break and tells whether that was done.
    BreakKey(std::function<bool(bool on)> apply, Clock clock, QObject* parent = nullptr);
    ~BreakKey() override;

    void pressBreak();
    // Let go: releases the line, if need be a little later.
    void requestBreakRelease();
    // Releases the line now.
    void releaseBreak();

    [[nodiscard]] bool isActive() const { return m_hold.isActive(); }

Q_SIGNALS:
    // The line went into break.
    void pressed();
    // It is out of break again.
    void released();
    // What was written about the break can go.
    void captionExpired();

private:
    std::function<bool(bool)> m_apply;
    Clock m_clock;
    BreakHold m_hold;
    QTimer m_releaseTimer;
    QTimer m_captionTimer;
};
