#pragma once

#include "base/clock.h"
#include "base/notice.h"
#include "terminal/port/linereport.h"

#include <QObject>
#include <QTimer>
#include <functional>

// The control lines of one live port: what is known of them, and breaks.
//
// The LineDriver of the transport knows how to read and drive them; a transport without one has no
// lines. They are asked for every kPollIntervalMs while somebody watches. A break lasts for as long
// as its key is held, but at least kMinimumBreakMs, so that every receiver sees it. Owned by the
// live port; everything given outlives it.
class PortLines final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortLines)

public:
    static constexpr int kPollIntervalMs = 200;
    static constexpr int kMinimumBreakMs = 300;
    static constexpr int kMessageMs = 5000;

    // `driver` names the driver of the transport that `settings` name, null when it has no lines.
    PortLines(const Settings& settings, std::function<LineDriver*()> driver,
        MonotonicClock clock = monotonicMs);
    ~PortLines() override;

    // The inputs now, whether or not anybody watches.
    [[nodiscard]] ModemLines modemState() const;
    // The lines as they were seen last.
    [[nodiscard]] const LineReport& report() const { return m_report; }
    // Looks at the lines now.
    void refresh();
    // The same when nobody has looked for kPollIntervalMs.
    void refreshIfOld();
    // Each who watches says so once, and once that it has ended.
    void setWatched(bool on);

    // While the reason is not empty no line is driven by a person: the port is lent.
    void setRefusal(const QString& reason) { m_refusal = reason; }
    // Tells why the line cannot be driven; false when nothing stands against it.
    bool explainInertControlLine(SerialLine line);
    // What pressing the break key does, and why nothing happens otherwise, for a tool tip.
    [[nodiscard]] QString breakHint() const;
    [[nodiscard]] bool isInert() const;
    void tell(const LineDriver::Answer& answer);

    void pressBreak();
    // Let go: releases the line, if need be a little later.
    void requestBreakRelease();
    // Releases the line now.
    void releaseBreak();

Q_SIGNALS:
    void noticed(const Notice& notice);
    void reportChanged(const LineReport& report);

private:
    bool applyBreakLine(bool on);

    const Settings& m_settings;
    std::function<LineDriver*()> m_driver;
    MonotonicClock m_clock;
    QTimer m_pollTimer;
    QTimer m_releaseTimer;
    int m_watchers = 0;
    qint64 m_lookedMs = 0;               // when the lines were asked for last
    LineDriver* m_breakDriver = nullptr; // whose line is in break
    qint64 m_pressedMs = 0;
    LineReport m_report;
    QString m_refusal;
};
