#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>

class QDialog;
class QLabel;
class QProgressBar;
class SerialPortWidget;

// Closes panes that are to go without losing what they recorded: closing the window, New, Open and
// Remove go on only when nothing of it can be lost unasked.
//
// Data flow: close() -> SerialPortWidget::finishLog() of each pane that has something left, ended
// by logFinished() in the event loop -> the connections are closed -> once more for what came with
// that -> `then`. What takes longer than kMomentMs is shown with what is left, and can be called
// off. A log that cannot be written is asked about. A new call takes the place of the one before,
// which then does not go on. Owned by the main window, which is the parent of the dialogs.
class PaneCloser final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneCloser)

public:
    using Panes = std::function<QList<SerialPortWidget*>()>;
    using Then = std::function<void()>;

    static constexpr int kMomentMs = 400;
    static constexpr int kProgressMs = 200;

    // `all` names the panes of the window in their order.
    PaneCloser(Panes all, QWidget* window, int momentMs = kMomentMs);
    ~PaneCloser() override;

    // Calls `then` when the panes are closed, before it returns if nothing is left to write; never
    // when the person wants to keep them.
    void close(const QList<SerialPortWidget*>& panes, Then then);
    // The same when nobody can be asked: `then` comes after `limitMs` at the latest.
    void closeUnasked(const QList<SerialPortWidget*>& panes, int limitMs, Then then);

private:
    struct Ending
    {
        QPointer<SerialPortWidget> pane;
        bool ended = false;
        QString error = {}; // of the log; empty when it is complete
    };

    void begin(const QList<SerialPortWidget*>& panes, Then then, int limitMs);
    void askForTransfers();
    void writeLogs();
    void onLogFinished(const SerialPortWidget* pane, bool complete, const QString& error);
    void conclude();
    void stopPanes();
    void closeAnyway();
    void keep();
    void leaveDialog();
    [[nodiscard]] Ending* endingOf(const SerialPortWidget* pane);
    [[nodiscard]] QList<SerialPortWidget*> livePanes() const;
    void showProgress();
    void updateProgress();
    [[nodiscard]] qint64 unloggedBytes() const;
    void ask();
    [[nodiscard]] QString lossText(const Ending& ending) const;

    Panes m_all;
    QWidget* m_window;
    int m_momentMs;
    QList<Ending> m_endings;
    Then m_then; // empty while nothing is being closed
    bool m_asks = true;
    bool m_stopped = false; // the connections are closed
    QTimer m_moment;        // until the progress is shown, or until the limit
    QTimer m_progress;
    QPointer<QDialog> m_dialog; // of progress, or the question
    QLabel* m_left = nullptr;   // of the progress, as the bar
    QProgressBar* m_bar = nullptr;
};
