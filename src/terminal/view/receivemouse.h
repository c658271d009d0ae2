#pragma once

#include <QObject>
#include <QPoint>
#include <QTimer>

class QMouseEvent;
class ReceiveArea;

// The mouse on the received text: a drag selects characters, after a double click words, after a
// triple click lines; Shift extends; beyond the edges a drag scrolls on, faster the further away.
// A selection can be dragged out as text. The middle button is told to the area's owner.
//
// While the button is down the rows stand still but for that scrolling. A release that another
// window got ends the gesture too: one may come between at any time, a dialog of the program too.
class ReceiveMouse final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveMouse)

public:
    // Child of the area.
    explicit ReceiveMouse(ReceiveArea& area);
    ~ReceiveMouse() override;

    void press(const QMouseEvent& event);
    void doubleClick(const QMouseEvent& event);
    void move(const QMouseEvent& event);
    void release(const QMouseEvent& event);
    // Ends a gesture whose button is up by now.
    void endWhenReleased();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Gesture : quint8 { None, Selecting, MayDragOut };

    void begin(Gesture gesture);
    void end();
    void extend(QPoint point);
    void scrollOn();
    void dragOut();
    void publish() const;

    ReceiveArea& m_area;
    QTimer m_scrollTimer{this};
    QTimer m_tripleClickTimer{this}; // runs while a third click makes the word a line
    QPoint m_pressed;
    QPoint m_last;
    Gesture m_gesture = Gesture::None;
};
