#pragma once

#include <QFrame>
#include <QTimer>

class PortTransfer;
class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;

// The transfer of a pane at a glance: file, progress, rate, time left, and the way to cancel it.
// When it is over the bar says how it ended and stays until it is dismissed. Shows itself when a
// transfer begins. The transfer outlives it.
class FileTransferBar final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTransferBar)

public:
    // Figures are brought up to date so often, however fast blocks go.
    static constexpr int kRefreshMs = 200;
    // The rate shown is that of so many of the last refreshes.
    static constexpr int kRateSamples = 15;

    explicit FileTransferBar(QWidget* parent = nullptr);
    ~FileTransferBar() override;

    void follow(const PortTransfer& transfer);
    // What it says now: the file and how it goes, or how it ended.
    [[nodiscard]] QString text() const;

Q_SIGNALS:
    void cancelRequested();

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void showStart();
    void showProgress();
    void showEnd(bool complete);
    void openFolder();
    [[nodiscard]] QString figures();
    void noteRate(qint64 bytesDone);

    const PortTransfer* m_transfer = nullptr;
    QLabel* m_title;
    QLabel* m_figures;
    QProgressBar* m_progress;
    QPushButton* m_cancel;
    QPushButton* m_folder;
    QToolButton* m_dismiss;
    QTimer m_refresh;
    QString m_path;                             // of what was received
    QList<std::pair<qint64, qint64>> m_samples; // time and bytes; at most kRateSamples
};
