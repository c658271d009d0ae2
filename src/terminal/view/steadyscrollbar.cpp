#include "terminal/view/steadyscrollbar.h"

#include <QStyle>
#include <QStyleOptionSlider>

SteadyScrollBar::SteadyScrollBar(Qt::Orientation orientation, QWidget* parent)
    : QScrollBar(orientation, parent)
{}

SteadyScrollBar::~SteadyScrollBar() = default;

void SteadyScrollBar::setPlace(int value, int maximum, int pageStep, bool moveHeld)
{
    m_setting = true;
    setPageStep(pageStep);
    setRange(0, maximum);
    if (!isSliderDown() || moveHeld)
        setValue(value);
    m_setting = false;
    if (handle() != m_drawn)
        sliderChange(SliderValueChange);
}

void SteadyScrollBar::sliderChange(SliderChange change)
{
    if (m_setting)
        return;
    m_drawn = handle();
    QScrollBar::sliderChange(change);
}

QRect SteadyScrollBar::handle() const
{
    QStyleOptionSlider option;
    initStyleOption(&option);
    return style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
}
