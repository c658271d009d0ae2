#pragma once

#include "app/ratemeter.h"
#include "app/statelamp.h"

#include <QStatusBar>
#include <QTimer>

class QLabel;

// What the status bar shows of the first pane. Counts are bytes since the pane was cleared.
struct PortStatus
{
    PortState state = PortState::Closed;
    QString stateText;
    QString summary; // port and line settings
    qint64 received = 0;
    qint64 sent = 0;
};

// The main window's status bar ("statusBar"): state and line of the one pane, its message of the
// moment, an error that stays for errorMs, counters with rates. Fed ten times a second with
// values; touches a label only when its text changes.
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

private:
    void clearError();

    StateLamp* m_lamp;
    QLabel* m_state;
    QLabel* m_summary;
    QLabel* m_notice;
    QLabel* m_error;
    QLabel* m_received;
    QLabel* m_sent;
    QTimer m_errorTimer;
    QTimer m_noticeTimer;
    RateMeter m_receivedRate;
    RateMeter m_sentRate;
};
