#pragma once

#include <QFrame>

class QLabel;
class QToolButton;

// A message that must not vanish by itself: what went wrong, on which port, what to do next. It
// sits above the receive view until it is dismissed or the cause has gone, never blocks the event
// loop and can be copied with the mouse.
class NoticeBar final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NoticeBar)

public:
    explicit NoticeBar(QWidget* parent = nullptr);
    ~NoticeBar() override;

    void showError(const QString& text);
    // The cause of this message has gone; another message stays.
    void clearError(const QString& text);
    [[nodiscard]] QString text() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_icon;
    QLabel* m_text;
    QToolButton* m_close;
};
