#include "terminal/view/receiveaccessible.h"

#include "terminal/view/linecuts.h"
#include "terminal/view/receivearea.h"

#include <QTextBoundaryFinder>
#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMostToldCharacters = 2048;

QAccessibleInterface* makeInterface(const QString& /*className*/, QObject* object)
{
    auto* area = qobject_cast<ReceiveArea*>(object);
    return area != nullptr ? new ReceiveAccessible(*area) : nullptr;
}

int offsetIn(const ReceiveArea& area, qint64 position)
{
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<qint64>(position - area.store().firstPosition(), 0, kMost));
}

} // namespace

void ReceiveAccessible::install()
{
    QAccessible::installFactory(makeInterface);
}

void ReceiveAccessible::tellAppended(ReceiveArea& area, qint64 from)
{
    if (!QAccessible::isActive())
        return;
    const TextStore& store = area.store();
    const qint64 end = store.endPosition();
    from = std::max({from, end - kMostToldCharacters, store.firstPosition()});
    if (from >= end)
        return;
    QAccessibleTextInsertEvent event(&area, offsetIn(area, from), store.textAt(from, end - from));
    QAccessible::updateAccessibility(&event);
}

QString ReceiveAccessible::toldText(const ReceiveArea& area, qint64 end)
{
    if (!QAccessible::isActive())
        return {};
    const qint64 first = area.store().firstPosition();
    return area.store().textAt(first, std::clamp<qint64>(end - first, 0, kMostToldCharacters));
}

void ReceiveAccessible::tellRemoved(ReceiveArea& area, const QString& text)
{
    if (text.isEmpty())
        return;
    QAccessibleTextRemoveEvent event(&area, 0, text);
    QAccessible::updateAccessibility(&event);
}

void ReceiveAccessible::tellCursor(ReceiveArea& area)
{
    if (!QAccessible::isActive())
        return;
    QAccessibleTextCursorEvent event(&area, offsetIn(area, area.selection().cursor()));
    QAccessible::updateAccessibility(&event);
}

void ReceiveAccessible::tellSelection(ReceiveArea& area)
{
    if (!QAccessible::isActive())
        return;
    const TextSelection& selected = area.selection();
    QAccessibleTextSelectionEvent event(
        &area, offsetIn(area, selected.from()), offsetIn(area, selected.to()));
    event.setCursorPosition(offsetIn(area, selected.cursor()));
    QAccessible::updateAccessibility(&event);
}

ReceiveAccessible::ReceiveAccessible(ReceiveArea& area)
    : QAccessibleWidget(&area, QAccessible::Terminal)
{}

void* ReceiveAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

ReceiveArea& ReceiveAccessible::area() const
{
    return static_cast<ReceiveArea&>(*widget());
}

qint64 ReceiveAccessible::positionOf(int offset) const
{
    const TextStore& store = area().store();
    return std::clamp(store.firstPosition() + offset, store.firstPosition(), store.endPosition());
}

int ReceiveAccessible::offsetOf(qint64 position) const
{
    return offsetIn(area(), position);
}

int ReceiveAccessible::characterCount() const
{
    return offsetOf(area().store().endPosition());
}

QString ReceiveAccessible::text(int start, int end) const
{
    const qint64 from = positionOf(start);
    return area().store().textAt(from, positionOf(end) - from);
}

void ReceiveAccessible::selection(int index, int* start, int* end) const
{
    const TextSelection& selected = area().selection();
    const bool exists = index == 0 && !selected.isEmpty();
    *start = exists ? offsetOf(selected.from()) : 0;
    *end = exists ? offsetOf(selected.to()) : 0;
}

int ReceiveAccessible::selectionCount() const
{
    return area().selection().isEmpty() ? 0 : 1;
}

void ReceiveAccessible::addSelection(int start, int end)
{
    area().select(positionOf(start), positionOf(end));
}

void ReceiveAccessible::removeSelection(int index)
{
    if (index == 0)
        area().clearSelection();
}

void ReceiveAccessible::setSelection(int index, int start, int end)
{
    if (index == 0)
        addSelection(start, end);
}

int ReceiveAccessible::cursorPosition() const
{
    return offsetOf(area().selection().cursor());
}

void ReceiveAccessible::setCursorPosition(int position)
{
    addSelection(position, position);
}

std::pair<qint64, qint64> ReceiveAccessible::unitAt(
    qint64 position, QAccessible::TextBoundaryType boundary) const
{
    const TextStore& store = area().store();
    if (boundary == QAccessible::NoBoundary)
        return {store.firstPosition(), store.endPosition()};
    const TextSegment segment = LineCuts(store).segmentAt(position);
    const qint64 feed = segment.endsLine && segment.line < store.lastLine() ? 1 : 0;
    if (boundary != QAccessible::CharBoundary && boundary != QAccessible::WordBoundary)
        return {segment.from, segment.to + feed};
    const qint64 first = std::max(store.lineStart(segment.line), store.firstPosition());
    const qint64 last = store.lineEnd(segment.line) + (segment.line < store.lastLine() ? 1 : 0);
    // Of a very long line only what is near.
    constexpr qint64 kNear = 2048;
    const qint64 from = std::max(first, position - kNear);
    const QString around = store.textAt(from, std::min(last, position + kNear) - from);
    QTextBoundaryFinder finder(boundary == QAccessible::WordBoundary
                                   ? QTextBoundaryFinder::Word
                                   : QTextBoundaryFinder::Grapheme,
        around);
    finder.setPosition(position - from);
    const qsizetype end = finder.toNextBoundary();
    const qsizetype start = finder.toPreviousBoundary();
    if (end < 0)
        return {position, position};
    return {from + std::max<qsizetype>(start, 0), from + end};
}

QString ReceiveAccessible::take(std::pair<qint64, qint64> range, int* start, int* end) const
{
    *start = offsetOf(range.first);
    *end = offsetOf(range.second);
    return area().store().textAt(range.first, range.second - range.first);
}

QString ReceiveAccessible::textAtOffset(
    int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const
{
    return take(unitAt(positionOf(offset), boundary), start, end);
}

QString ReceiveAccessible::textBeforeOffset(
    int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const
{
    const auto here = unitAt(positionOf(offset), boundary);
    const bool none = here.first <= area().store().firstPosition();
    return take(
        none ? std::pair{here.first, here.first} : unitAt(here.first - 1, boundary), start, end);
}

QString ReceiveAccessible::textAfterOffset(
    int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const
{
    const auto here = unitAt(positionOf(offset), boundary);
    const bool none = here.second >= area().store().endPosition();
    return take(
        none ? std::pair{here.second, here.second} : unitAt(here.second, boundary), start, end);
}

QRect ReceiveAccessible::characterRect(int offset) const
{
    const qint64 position = positionOf(offset);
    const QRect here = area().caretArea(position);
    if (here.isNull())
        return {};
    const QRect behind = area().caretArea(position + 1);
    QRect character = here;
    if (behind.top() == here.top() && behind.left() > here.left())
        character.setRight(behind.left() - 1);
    return {area().viewport()->mapToGlobal(character.topLeft()), character.size()};
}

int ReceiveAccessible::offsetAtPoint(const QPoint& point) const
{
    const QPoint local = area().viewport()->mapFromGlobal(point);
    return area().viewport()->rect().contains(local) ? offsetOf(area().characterAt(local)) : -1;
}

void ReceiveAccessible::scrollToSubstring(int start, int end)
{
    area().showRange(positionOf(start), positionOf(end));
}

QString ReceiveAccessible::attributes(int offset, int* start, int* end) const
{
    const qint64 position = positionOf(offset);
    const auto [from, to] = unitAt(position, QAccessible::LineBoundary);
    for (const ColorRun& run : area().store().colorsIn(from, to)) {
        if (position >= run.to)
            continue;
        *start = offsetOf(run.from);
        *end = offsetOf(run.to);
        const QColor color = QColor::fromRgb(run.color);
        return run.color == TextChunk::kNoColor ? QString()
                                                : u"color:rgb(%1,%2,%3);"_s.arg(color.red())
                                                      .arg(color.green())
                                                      .arg(color.blue());
    }
    *start = *end = offsetOf(position);
    return {};
}
