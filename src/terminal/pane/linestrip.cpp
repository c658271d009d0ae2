#include "terminal/pane/linestrip.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kGap = 4; // between names, in pixels
constexpr QColor kAmber(240, 160, 32);

QFont fontOf(const LineMark& mark, QFont font)
{
    font.setStrikeOut(!mark.high);
    font.setBold(mark.alert);
    return font;
}

} // namespace

LineStrip::LineStrip(QWidget* parent)
    : QWidget(parent)
    , m_room(QWIDGETSIZE_MAX)
{
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    setAccessibleName(tr("Control lines"));
    hide();
}

LineStrip::~LineStrip() = default;

void LineStrip::setReport(const LineReport& report)
{
    if (m_report == report)
        return;
    m_report = report;
    const QStringList words = lineWords(report);
    setToolTip(words.join(u'\n'));
    setAccessibleDescription(words.join(u", "_s));
    arrange();
}

void LineStrip::setRoom(int width)
{
    m_room = width;
    arrange();
}

void LineStrip::arrange()
{
    QList<LineMark> marks = marksThatFit(m_room);
    if (marks == m_shown)
        return;
    m_shown = std::move(marks);
    setVisible(!m_shown.isEmpty());
    updateGeometry();
    update();
}

QList<LineMark> LineStrip::marksThatFit(int room) const
{
    QList<LineMark> marks = lineMarks(m_report);
    if (widthOf(marks) <= room)
        return marks;
    marks.removeIf([](const LineMark& mark) { return !mark.high; });
    if (widthOf(marks) <= room)
        return marks;
    marks.removeIf([](const LineMark& mark) { return !mark.alert; });
    return marks;
}

int LineStrip::widthOf(const QList<LineMark>& marks) const
{
    int width = kGap * std::max(int(marks.size()) - 1, 0);
    for (const LineMark& mark : marks)
        width += QFontMetrics(fontOf(mark, font())).horizontalAdvance(mark.name);
    return width;
}

QSize LineStrip::sizeHint() const
{
    return {widthOf(m_shown), fontMetrics().height()};
}

QSize LineStrip::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

void LineStrip::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    int x = 0;
    // A crowded window may give less than was asked for, and half a name would mislead.
    const QList<LineMark> marks = marksThatFit(width());
    for (const LineMark& mark : marks) {
        painter.setFont(fontOf(mark, font()));
        const int advance = painter.fontMetrics().horizontalAdvance(mark.name);
        const int height = painter.fontMetrics().height();
        const QRect area(x, (this->height() - height) / 2, advance, height);
        if (mark.alert)
            painter.fillRect(area, kAmber);
        painter.setPen(mark.alert ? QColor(Qt::black)
                                  : palette().color(mark.high ? QPalette::WindowText
                                                              : QPalette::PlaceholderText));
        painter.drawText(area, Qt::AlignCenter, mark.name);
        x += advance + kGap;
    }
}

void LineStrip::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::FontChange)
        return;
    m_shown = marksThatFit(m_room);
    setVisible(!m_shown.isEmpty());
    updateGeometry();
}
