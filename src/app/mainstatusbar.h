#pragma once

#include "app/portstatus.h"
#include "terminal/port/ratemeter.h"

#include <QStatusBar>
#include <QTimer>

class ElidedLabel;
class LineStrip;
class QLabel;
class QProgressBar;

// The main window's status bar ("statusBar"): state and line of the one pane, its message of the
// moment, an error that stays for errorMs, control lines, data log, counters with rates. Fed ten
// times a second with values; touches a label only when its text changes.
class MainStatusBar final : public QStatusBar
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainStatusBar)

public:
    static constexpr int errorMs = 15000;

    explicit MainStatusBar(QWidget* parent = nullptr);
    ~MainStatusBar() override = default;

    // `nowMs` is monotonic and only used for the rates.
    void showPort(const PortStatus& status, qint64 nowMs);
    // Shows the error with its reason as tool tip until errorMs have passed.
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
