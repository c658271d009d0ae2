#pragma once

#include "terminal/view/caretsteps.h"
#include "terminal/view/framebudget.h"
#include "terminal/view/readingplace.h"
#include "terminal/view/receivebars.h"
#include "terminal/view/receivepainter.h"
#include "terminal/view/textselection.h"
#include "terminal/view/visiblerows.h"
#include "terminal/view/wheelsteps.h"

#include <QAbstractScrollArea>
#include <QTimer>
#include <functional>
#include <memory>

class ReceiveInput;
class ReceiveMouse;

// The widget that shows the text of a store: it paints, scrolls and selects, and never changes
// the text. For ReceiveView only.
//
// Told of new text it notes that what it shows is stale; rows, scroll bars and picture are made
// anew once, at the next frame, however much arrives until then; when that is, framebudget.h
// decides for all views together. Only the rows in sight are laid out, and of them only those are
// drawn that changed: what is on the screen already is moved.
class ReceiveArea final : public QAbstractScrollArea
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveArea)

public:
    // `copySelection` gives the text of a selection that leaves the view with the mouse.
    ReceiveArea(
        const TextStore& store, std::function<QString()> copySelection, QWidget* parent = nullptr);
    ~ReceiveArea() override;

    void textAppended() { changed(); }
    // No more text follows in this turn of the event loop: a frame that is due need not wait.
    void textComplete();
    // Before and after the store loses text at its front.
    void textAboutToBeRemoved(qint64 end);
    void textRemoved();
    [[nodiscard]] bool isAtBottom() const { return m_place.isAtBottom(); }
    void scrollToEnd();
    void scrollToTop();
    void scrollRows(int rows);
    void scrollPages(int pages);
    // Rows that are held are moved by scrolling only, not by text that arrives.
    void holdRows(bool on);
    // Scrolls only when the text is not in sight, then to the middle; from then on it stays there.
    void showRange(qint64 from, qint64 to);
    // From the start of the segment of the first row in sight to the end of the last one's.
    [[nodiscard]] std::pair<qint64, qint64> visibleRange();
    // Of each row what is in sight, from left to right edge; ascending.
    [[nodiscard]] std::vector<std::pair<qint64, qint64>> visibleSpans();

    [[nodiscard]] const TextStore& store() const { return m_store; }
    [[nodiscard]] const TextSelection& selection() const { return m_selection; }
    void select(qint64 anchor, qint64 cursor);
    void clearSelection();
    void beginSelection(qint64 position, TextSelection::Unit unit);
    void extendSelectionTo(qint64 position);
    // Moves the end of the selection as Shift with a cursor key does, and shows it.
    void extendSelection(CaretStep step);
    [[nodiscard]] QString selectedText() const { return m_copySelection(); }

    // Place between characters next to a point of the viewport, or the character under it.
    [[nodiscard]] qint64 caretAt(QPoint point);
    [[nodiscard]] qint64 characterAt(QPoint point);
    // Of the viewport; empty when the position is not in sight.
    [[nodiscard]] QRect caretArea(qint64 position);

    void setDisplayFont(const QFont& font);
    void setLineWrap(bool wrap);
    [[nodiscard]] bool lineWrap() const { return m_wrap; }
    void setWrapAtBlanks(bool on);
    [[nodiscard]] bool wrapsAtBlanks() const { return m_wrapAtBlanks; }
    void setMarks(const QList<ReceivePainter::Mark>& marks);

    // A mark at the end of the text says that keys go to the device.
    void setInputMark(bool visible);
    [[nodiscard]] QRect inputMarkArea();
    // Shows what an input method is composing at that mark.
    void compose(const QInputMethodEvent& event);
    // Caret of the composition, in the viewport.
    [[nodiscard]] QRect compositionArea();
    void moveFocus(bool forward) { (void)focusNextPrevChild(forward); }

    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    void zoomRequested(int steps);
    void menuRequested(const QPoint& globalPosition);
    void middleClicked();
    void visibleRangeChanged();
    void selectionChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void connectBars();
    void changed();
    void scheduleFrame();
    void refresh();
    void updateStyle();
    void updatePicture();
    [[nodiscard]] bool canMovePicture(int pixels) const;
    [[nodiscard]] QRegion areaOf(const VisibleRows::Change& change) const;
    [[nodiscard]] QRect drawnMarkArea();
    void forgetPicture();
    void selectionTouched();
    void revealCaret();
    [[nodiscard]] const VisibleRows& sight();
    [[nodiscard]] bool isWholeInSight(qint64 position);
    [[nodiscard]] int leftEdge() const;

    const TextStore& m_store;
    std::function<QString()> m_copySelection;
    TextFlow m_flow;
    ReadingPlace m_place;
    ReceiveBars m_bars;
    ReceivePainter m_painter;
    TextSelection m_selection;
    ReceiveMouse* m_mouse;
    std::unique_ptr<ReceiveInput> m_input;
    VisibleRows m_sight;
    bool m_stale = true; // m_sight is to be made anew
    VisibleRows m_shown; // the rows of the last frame, which are on the screen
    QRect m_shownMark;   // the input mark of that frame
    bool m_whole = true; // the next frame draws everything
    bool m_moved = true; // m_sight was made anew since that frame
    QTimer m_refreshTimer{this};
    FrameBudget::View m_frame;
    qint64 m_layoutUs = 0; // what the last frame took before it was painted
    qint64 m_told = 0;     // text up to here has been told to screen readers
    QString m_leaving;     // of it, what they are told of when it is gone
    std::vector<std::pair<qint64, qint64>> m_toldSpans;
    std::pair<qint64, qint64> m_toldSelection;
    double m_goalX = -1; // of a selection that is extended up and down
    WheelSteps m_wheel;
    bool m_wrap = true;
    bool m_wrapAtBlanks = false;
    bool m_inputMark = true;
};
