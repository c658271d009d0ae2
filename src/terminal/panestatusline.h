#pragma once

#include <QTimer>
#include <QWidget>

class HLed;
class QLabel;

// One pane's own line of state: what is connected, how much went through, and the message of the
// moment. Shown when more than one pane shares the window; with one pane the window's status bar
// says the same.
class PaneStatusLine final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneStatusLine)

public:
    explicit PaneStatusLine(QWidget* parent = nullptr);
    ~PaneStatusLine() override;

    void setState(const QString& summary, const QString& state, bool open);
    void setCounters(qint64 receivedBytes, qint64 sentBytes);
    // Shows the text for a time in milliseconds; 0 keeps it until the next one.
    void showMessage(const QString& text, int timeoutMs);

private:
    HLed* m_lamp;
    QLabel* m_summary;
    QLabel* m_message;
    QLabel* m_counters;
    QTimer m_messageTimer;
};
