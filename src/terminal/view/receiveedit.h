#pragma once

#include <QPlainTextEdit>
#include <functional>

// The widget that draws the receive view's text: a read-only plain text editor that keeps the
// reader's place. For ReceiveView only; knows documents, not positions of the text.
class ReceiveEdit final : public QPlainTextEdit
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveEdit)

public:
    // A line of the document that shall stay on top, or the bottom that shall stay in sight.
    struct Place
    {
        bool atBottom = true;
        int character = 0;
    };

    // `selectedText` gives the text of a selection that is dragged out of the view.
    ReceiveEdit(std::function<QString()> selectedText, QWidget* parent);
    ~ReceiveEdit() override = default;

    // Adds text at the end, in one step; scrolls nothing and leaves the selection as it is.
    void append(const QString& rows, const QTextCharFormat& format);
    // Removes characters at the front and keeps the place as far as it is left.
    void removeFront(int count);
    // Selects without scrolling.
    void select(int from, int to);

    [[nodiscard]] bool isAtBottom() const;
    void scrollToBottom();
    [[nodiscard]] Place place() const;
    void restore(const Place& place);
    void scrollToCharacter(int character, int length);

    // Characters of the document at the start of the first visible row's line and at the end of
    // the last one's.
    [[nodiscard]] int firstVisibleCharacter() const;
    [[nodiscard]] int lastVisibleCharacter() const;
    // Moves the end of the selection as Shift with a cursor key does.
    void extendSelection(QTextCursor::MoveOperation operation);
    void scrollPages(int pages);

    // A mark at the end of the text says that keys go to the device.
    void setInputMark(bool visible);
    [[nodiscard]] QRect inputMarkArea() const;
    void moveFocus(bool forward) { (void)focusNextPrevChild(forward); }

Q_SIGNALS:
    void zoomRequested(int steps);
    void menuRequested(const QPoint& globalPosition);
    void middleClicked();
    void resized();
    void paletteChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

private:
    [[nodiscard]] QTextCursor cursorAt(int character) const;
    [[nodiscard]] bool isInSight(const QTextCursor& cursor) const;

    std::function<QString()> selectedText_;
    int wheelAngle_ = 0;
    bool inputMark_ = true;
    // The scroll bar's range means something else while the view is hidden (behind another tab).
    bool bottomWhenShown_ = true;
};
