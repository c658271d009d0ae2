#pragma once

#include "terminal/port/linereport.h"
#include "terminal/port/portlog.h"
#include "terminal/port/ratemeter.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class ElidedLabel;
class HLed;
class LineStrip;
class QLabel;

// One pane's own line of state: what is connected, its control lines, what is recorded, how much
// went through and how fast. A message stands in the place of the state for its time. Shown when
// more than one pane shares the window; with one pane the window's status bar says the same. In a
// narrow pane the rates give way, the state is elided and the control lines keep to those that are
// high; the counters stay. Tool tips have all of it.
class PaneStatusLine final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneStatusLine)

public:
    explicit PaneStatusLine(QWidget* parent = nullptr);
    ~PaneStatusLine() override;

    // What a status line shows of a data log; the name of the file may be unresolved.
    static void showLog(QLabel& label, PortLog::State state, const QString& fileName);

    void setState(const QString& summary, const QString& state, bool open);
    // `leftBytes` of the sent ones have left: the rate is theirs.
    void setCounters(qint64 receivedBytes, qint64 sentBytes, qint64 leftBytes);
    void setLog(PortLog::State state, const QString& fileName);
    void setLines(const LineReport& report);
    // Shows the text for a time in milliseconds; 0 keeps it until the next one.
    void showMessage(const QString& text, int timeoutMs);

Q_SIGNALS:
    // The line came into sight, or went out of it.
    void shownChanged(bool shown);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void showText();
    void showCounters();
    void shareRoom();

    // Rates fall back to nothing some time after the last byte, so they are looked at in between.
    static constexpr int kRateRefreshMs = 250;

    HLed* m_lamp;
    ElidedLabel* m_text;
    LineStrip* m_lines;
    QLabel* m_log;
    QLabel* m_counters;
    QTimer m_messageTimer;
    QTimer m_rateTimer;
    QElapsedTimer m_clock;
    RateMeter m_receivedRate;
    RateMeter m_sentRate;
    QString m_state;
    QString m_message;
    QString m_linesInWords;
    qint64 m_received = 0; // bytes
    qint64 m_sent = 0;
    qint64 m_left = 0;
};
