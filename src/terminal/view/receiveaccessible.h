#pragma once

#include <QAccessibleWidget>

class ReceiveArea;

// What a screen reader hears of the received text: a terminal whose text can be read by character,
// word and line. Offsets count from the first character that is held. Reading by line costs by the
// line, not by the text.
class ReceiveAccessible final : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    // Makes the interface for every receive area; may be called more than once.
    static void install();

    // Each of these costs nothing, and does nothing, while no screen reader listens. Of a flood,
    // and of what a trim takes away, a reader is told a part: what came last, what stood first.
    static void tellAppended(ReceiveArea& area, qint64 from);
    // The text up to `end`, to be told of when it has been removed.
    [[nodiscard]] static QString toldText(const ReceiveArea& area, qint64 end);
    static void tellRemoved(ReceiveArea& area, const QString& text);
    // Where they are now.
    static void tellCursor(ReceiveArea& area);
    static void tellSelection(ReceiveArea& area);

    explicit ReceiveAccessible(ReceiveArea& area);

    void* interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int* start, int* end) const override;
    [[nodiscard]] int selectionCount() const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;
    [[nodiscard]] int cursorPosition() const override;
    void setCursorPosition(int position) override;
    using QAccessibleWidget::text;
    [[nodiscard]] QString text(int start, int end) const override;
    [[nodiscard]] QString textBeforeOffset(
        int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const override;
    [[nodiscard]] QString textAfterOffset(
        int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const override;
    [[nodiscard]] QString textAtOffset(
        int offset, QAccessible::TextBoundaryType boundary, int* start, int* end) const override;
    [[nodiscard]] int characterCount() const override;
    [[nodiscard]] QRect characterRect(int offset) const override;
    [[nodiscard]] int offsetAtPoint(const QPoint& point) const override;
    void scrollToSubstring(int start, int end) override;
    [[nodiscard]] QString attributes(int offset, int* start, int* end) const override;

private:
    [[nodiscard]] ReceiveArea& area() const;
    [[nodiscard]] qint64 positionOf(int offset) const;
    [[nodiscard]] int offsetOf(qint64 position) const;
    // Start and end of the character, word or line that holds a position; of a line without end a
    // piece (linecuts.h).
    [[nodiscard]] std::pair<qint64, qint64> unitAt(
        qint64 position, QAccessible::TextBoundaryType boundary) const;
    [[nodiscard]] QString take(std::pair<qint64, qint64> range, int* start, int* end) const;
};
