#pragma once

#include "terminal/port/linereport.h"
#include "terminal/port/portlog.h"
#include "terminal/port/ratemeter.h"

#include <QStatusBar>
#include <QString>
#include <QTimer>
#include <QWidget>

class ElidedLabel;
class LineStrip;
class QLabel;
class QProgressBar;
class SerialPortWidget;

// What the first pane's connection is doing.
enum class PortState : int { Closed, Connecting, Open, Paused };

// The state of a connection as a shape, so that it can be told without colour: a hollow ring
// (closed), a dotted ring (connecting), a disc (open), two bars (paused).
class StateLamp final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StateLamp)

public:
    explicit StateLamp(QWidget* parent = nullptr);
    ~StateLamp() override = default;

    void setState(PortState state);
    [[nodiscard]] PortState state() const { return m_state; }
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PortState m_state = PortState::Closed;
};

// What the window shows of a pane. Counts are bytes since the pane was cleared.
struct PortStatus
{
    PortState state = PortState::Closed;
    QString stateText;
    QString summary; // port and line settings
    qint64 received = 0;
    qint64 sent = 0;
    LineReport lines = {};
    PortLog::State log = PortLog::State::Off;
    QString logFile = {}; // may be unresolved

    [[nodiscard]] static PortStatus of(const SerialPortWidget& pane);
};

// The main window's status bar ("statusBar"): state and line of the one pane, its message of the
// moment, an error that stays for kErrorMs, control lines, data log, counters with rates. Fed ten
// times a second with values; touches a label only when its text changes.
class MainStatusBar final : public QStatusBar
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainStatusBar)

public:
    static constexpr int kErrorMs = 15000;

    explicit MainStatusBar(QWidget* parent = nullptr);
    ~MainStatusBar() override = default;

    // `nowMs` is monotonic and only used for the rates.
    void showPort(const PortStatus& status, qint64 nowMs);
    // Shows the error with its reason as tool tip until kErrorMs have passed.
    void showError(const QString& text, const QString& reason);
    // Shows a text for a time in milliseconds; 0 keeps it until the next one.
    void showNotice(const QString& text, int timeoutMs);
    // How much of a session is written, 0 to 100; the bar goes away at 100. Paints at once, as
    // nothing else is painted while a file is being written.
    void showSaving(int percent);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void clearError();
    void showLog(const PortStatus& status);

    StateLamp* m_lamp;
    QLabel* m_state;
    ElidedLabel* m_summary;
    QLabel* m_notice;
    QLabel* m_error;
    QProgressBar* m_saving;
    LineStrip* m_lines;
    QLabel* m_log;
    QLabel* m_received;
    QLabel* m_sent;
    QTimer m_errorTimer;
    QTimer m_noticeTimer;
    RateMeter m_receivedRate;
    RateMeter m_sentRate;
    PortLog::State m_logState = PortLog::State::Off;
    QString m_logFile;
};
