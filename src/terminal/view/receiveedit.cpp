#include "terminal/view/receiveedit.h"

#include <QContextMenuEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>

namespace {

constexpr int inputMarkWidth = 2;
constexpr int anglePerStep = 120; // QWheelEvent: eighths of a degree of one notch

} // namespace

ReceiveEdit::ReceiveEdit(std::function<QString()> selectedText, QWidget* parent)
    : QPlainTextEdit(parent)
    , selectedText_(std::move(selectedText))
{
    setFrameShape(QFrame::NoFrame);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setFocusPolicy(Qt::StrongFocus);
    setUndoRedoEnabled(false);
    setCenterOnScroll(false);
    setAcceptDrops(false);
    // A device's line breaks anywhere, as it would on a terminal.
    setWordWrapMode(QTextOption::WrapAnywhere);
}

void ReceiveEdit::append(const QString& rows, const QTextCharFormat& format)
{
    const QTextCursor selection = textCursor();
    const int from = selection.anchor();
    const int to = selection.position();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    const bool touches = selection.hasSelection() && std::max(from, to) == cursor.position();
    cursor.beginEditBlock();
    cursor.insertText(rows, format);
    cursor.endEditBlock();
    // A selection up to the end would take the new text in.
    if (touches)
        select(from, to);
}

void ReceiveEdit::removeFront(int count)
{
    const Place before = place();
    // Placed, not walked: moving over half of a full display takes seconds.
    QTextCursor cursor(document());
    cursor.setPosition(count, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    restore({before.atBottom, std::max(0, before.character - count)});
}

void ReceiveEdit::select(int from, int to)
{
    const Place before = place();
    QTextCursor cursor(document());
    cursor.setPosition(from);
    cursor.setPosition(to, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    restore(before);
}

bool ReceiveEdit::isAtBottom() const
{
    if (!isVisible())
        return bottomWhenShown_;
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

void ReceiveEdit::scrollToBottom()
{
    if (!isVisible()) {
        bottomWhenShown_ = true;
        return;
    }
    // Rows are laid out when they come into sight, which may add some below.
    constexpr int attempts = 4;
    for (int i = 0; i < attempts; ++i) {
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
        if (isAtBottom())
            break;
    }
}

ReceiveEdit::Place ReceiveEdit::place() const
{
    return {isAtBottom(), cursorForPosition(QPoint(0, 0)).position()};
}

void ReceiveEdit::restore(const Place& place)
{
    if (place.atBottom) {
        scrollToBottom();
        return;
    }
    if (!isVisible())
        bottomWhenShown_ = false;
    const QTextBlock block = document()->findBlock(place.character);
    (void)blockBoundingRect(block); // lays the block out
    const QTextLine line = block.layout()->lineForTextPosition(place.character - block.position());
    const int row = line.isValid() ? line.lineNumber() : 0;
    verticalScrollBar()->setValue(block.firstLineNumber() + row);
}

void ReceiveEdit::scrollToCharacter(int character, int length)
{
    const QTextCursor start = cursorAt(character);
    const QTextCursor end = cursorAt(character + length);
    if (!isInSight(start) || !isInSight(end)) {
        restore({false, character});
        const int rows = viewport()->height() / std::max(1, fontMetrics().lineSpacing());
        verticalScrollBar()->setValue(verticalScrollBar()->value() - rows / 2);
    }
    const QRect area = cursorRect(start).united(cursorRect(end));
    QScrollBar* bar = horizontalScrollBar();
    const int margin = viewport()->width() / 4;
    if (area.left() < 0 || area.width() > viewport()->width())
        bar->setValue(bar->value() + area.left() - margin);
    else if (area.right() > viewport()->width())
        bar->setValue(bar->value() + area.right() - viewport()->width() + margin);
}

bool ReceiveEdit::isInSight(const QTextCursor& cursor) const
{
    // The rectangle says nothing about blocks above the first visible one.
    if (cursor.blockNumber() < firstVisibleBlock().blockNumber())
        return false;
    const QRect area = cursorRect(cursor);
    return area.top() >= 0 && area.bottom() <= viewport()->height();
}

QTextCursor ReceiveEdit::cursorAt(int character) const
{
    QTextCursor cursor(document());
    cursor.setPosition(std::clamp(character, 0, document()->characterCount() - 1));
    return cursor;
}

int ReceiveEdit::firstVisibleCharacter() const
{
    return firstVisibleBlock().position();
}

int ReceiveEdit::lastVisibleCharacter() const
{
    QTextBlock block = firstVisibleBlock();
    double bottom = contentOffset().y() + blockBoundingRect(block).height();
    while (bottom < viewport()->height() && block.next().isValid()) {
        block = block.next();
        bottom += blockBoundingRect(block).height();
    }
    return block.position() + block.length() - 1;
}

void ReceiveEdit::extendSelection(QTextCursor::MoveOperation operation)
{
    QTextCursor cursor = textCursor();
    if (!cursor.hasSelection() && !isInSight(cursor)) {
        const int start = isAtBottom() ? document()->characterCount() - 1 : place().character;
        cursor.setPosition(start);
    }
    cursor.movePosition(operation, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    ensureCursorVisible();
}

void ReceiveEdit::scrollPages(int pages)
{
    QScrollBar* bar = verticalScrollBar();
    bar->setValue(bar->value() + pages * bar->pageStep());
}

void ReceiveEdit::setInputMark(bool visible)
{
    inputMark_ = visible;
    viewport()->update();
}

void ReceiveEdit::paintEvent(QPaintEvent* event)
{
    QPlainTextEdit::paintEvent(event);
    if (!inputMark_ || !hasFocus())
        return;
    QPainter(viewport()).fillRect(inputMarkArea(), palette().color(QPalette::Highlight));
}

QRect ReceiveEdit::inputMarkArea() const
{
    QRect area = cursorRect(cursorAt(document()->characterCount() - 1));
    area.setWidth(inputMarkWidth);
    return area;
}

void ReceiveEdit::resizeEvent(QResizeEvent* event)
{
    const Place before = place();
    QPlainTextEdit::resizeEvent(event);
    restore(before);
    Q_EMIT resized();
}

void ReceiveEdit::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        Q_EMIT paletteChanged();
}

void ReceiveEdit::showEvent(QShowEvent* event)
{
    QPlainTextEdit::showEvent(event);
    if (bottomWhenShown_)
        scrollToBottom();
}

void ReceiveEdit::hideEvent(QHideEvent* event)
{
    const QScrollBar* bar = verticalScrollBar();
    bottomWhenShown_ = bar->value() >= bar->maximum();
    QPlainTextEdit::hideEvent(event);
}

void ReceiveEdit::wheelEvent(QWheelEvent* event)
{
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        QPlainTextEdit::wheelEvent(event);
        return;
    }
    wheelAngle_ += event->angleDelta().y();
    const int steps = wheelAngle_ / anglePerStep;
    wheelAngle_ -= steps * anglePerStep;
    if (steps != 0)
        Q_EMIT zoomRequested(steps);
    event->accept();
}

void ReceiveEdit::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT menuRequested(event->globalPos());
}

void ReceiveEdit::mouseReleaseEvent(QMouseEvent* event)
{
    QPlainTextEdit::mouseReleaseEvent(event);
    if (event->button() == Qt::MiddleButton)
        Q_EMIT middleClicked();
}

QMimeData* ReceiveEdit::createMimeDataFromSelection() const
{
    auto mimeData = std::make_unique<QMimeData>();
    mimeData->setText(selectedText_());
    return mimeData.release();
}
