#pragma once

#include <QScrollBar>

// A scroll bar that is drawn when its handle looks different, not whenever its figures change: of a
// text that grows under the reader's eyes they change with every line, the handle seldom does.
class SteadyScrollBar final : public QScrollBar
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SteadyScrollBar)

public:
    explicit SteadyScrollBar(Qt::Orientation orientation, QWidget* parent = nullptr);
    ~SteadyScrollBar() override;

    // All at once, from 0 to a maximum. A handle that is held stays where it is unless
    // `moveHeld` says otherwise.
    void setPlace(int value, int maximum, int pageStep, bool moveHeld);

protected:
    void sliderChange(SliderChange change) override;

private:
    [[nodiscard]] QRect handle() const;

    QRect m_drawn;
    bool m_setting = false;
};
