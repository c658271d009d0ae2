#pragma once

#include "terminal/format/hexspan.h"
#include "terminal/view/textstore.h"

#include <QColor>
#include <QFont>
#include <QList>
#include <QPointer>
#include <QWidget>
#include <optional>

class ReceiveArea;
class ReceiveKeyboard;
class TextSaver;

// The receive view of a pane: shows what the pipeline appends and says what the person types;
// it never edits the text itself. Text, find and saving speak of absolute positions (textsource.h);
// nothing outside this class knows which widget draws the text.
//
// Data flow: the pipeline appends to the store (textstore.h), which is all that an append costs;
// the area (receivearea.h) draws the rows in sight at the next frame, at the rate of the screen
// however fast text arrives. The keyboard (receivekeyboard.h) says what is typed.
//
// Keeping the place: an append follows the end when the reader is at the bottom and otherwise
// leaves the reader's lines where they are; a selection survives appends, and trims as far as its
// text does. Bounds: the owner trims; the view adds no text of its own. A line without end is
// shown in pieces (linecuts.h); reading, copying, saving and finding never see those cuts.
//
// Keys: everything a device may want is typed, Tab too (receivekeyboard.h). Ctrl+Tab and
// Ctrl+Shift+Tab leave the view, so the keyboard is never trapped.
class ReceiveView final : public QWidget, public TextSource
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveView)

public:
    struct Highlight
    {
        qint64 position = 0;
        qint64 length = 0;
        bool current = false;
    };

    static constexpr int kSmallestPointSize = 6;
    static constexpr int kLargestPointSize = 72;

    explicit ReceiveView(QWidget* parent = nullptr);
    ~ReceiveView() override;

    // At the end, without adding a line break; the reader keeps the place unless it was the
    // bottom. A given colour that cannot be read on the current background is drawn in the
    // palette's text colour. The Unicode line and paragraph separators, which are not line ends
    // here, are drawn as U+FFFD; the text keeps them.
    void appendText(const QString& text, const std::optional<QColor>& color = {});
    void appendHexadecimal(
        const QString& text, const std::optional<QColor>& color, const QList<HexSpan>& bytes);
    // What was appended in this turn of the event loop was all of it.
    void appendComplete();
    // Removes the first characters, and one more where that would part a surrogate pair.
    void trimFront(qint64 characters);
    // The cleared characters count as removed: positions are never used twice.
    void clearText();
    [[nodiscard]] qint64 textLength() const { return endPosition() - firstPosition(); }
    // The next append ends at the bottom, wherever the reader was.
    void forceScrollToEnd();

    [[nodiscard]] qint64 firstPosition() const override { return m_store.firstPosition(); }
    [[nodiscard]] qint64 endPosition() const override { return m_store.endPosition(); }
    [[nodiscard]] QString textAt(qint64 position, qint64 count) const override;
    // Running count of characters removed from the front since the view was made.
    [[nodiscard]] qint64 removedCharacters() const { return firstPosition(); }

    [[nodiscard]] bool isAtBottom() const;
    void scrollToEnd();

    [[nodiscard]] bool hasSelection() const;
    [[nodiscard]] qint64 selectionLength() const;
    [[nodiscard]] QString selectedText() const;
    void selectAll();
    void clearSelection();
    void copy();
    // The bytes whose hexadecimal display is selected, both digits of each (hexbytes.h).
    [[nodiscard]] QByteArray selectedBytes() const;
    [[nodiscard]] bool hasSelectedBytes() const;
    // Puts those bytes on the clipboard (application/octet-stream), and as UTF-8 text.
    void copyBytes();
    // Types the clipboard's text, line ends as LF. Does nothing while typing is off.
    void paste();
    void pasteText(const QString& text);

    void setDisplayFont(const QFont& font);
    [[nodiscard]] QFont displayFont() const;
    // Larger or smaller by points, within kSmallestPointSize..kLargestPointSize.
    void zoomBy(int points);
    void setLineWrap(bool wrap);
    [[nodiscard]] bool lineWrap() const;
    // For hexadecimal: wrapped rows end at blanks where there are some, instead of in any column,
    // and the menu offers to copy bytes.
    void setWrapAtBlanks(bool on);
    [[nodiscard]] bool wrapsAtBlanks() const;
    // Off: a plain reader's view. Keys scroll and select, Tab moves the focus.
    void setTypingEnabled(bool enabled);
    [[nodiscard]] bool isTypingEnabled() const;

    // Positions of the first and after the last character that can be seen (whole lines).
    [[nodiscard]] std::pair<qint64, qint64> visibleRange() const;
    // The characters that can be seen, row by row, ascending.
    [[nodiscard]] std::vector<std::pair<qint64, qint64>> visibleSpans() const;
    // Marks text until the next call; meant for visible text only.
    void setHighlights(const QList<Highlight>& highlights);
    // Scrolls only when the text is not in sight, then to the middle.
    void showPosition(qint64 position, qint64 length);

    // Writes the text held now to a file as UTF-8, in slices (textsaver.h). False when a save is
    // still running; otherwise saveFinished() tells the outcome.
    bool saveTextAs(const QString& path);

Q_SIGNALS:
    // Printable text and pasted text; line feeds only in pasted text.
    void textTyped(const QString& text);
    void enterTyped();
    // A control character or a VT sequence of a key.
    void controlTyped(const QByteArray& bytes);

    void findRequested();
    void clearRequested();
    void saveRequested();
    void saveFinished(bool ok, const QString& errorText);

    // By the person, not by the setter.
    void displayFontZoomed(const QFont& font);

    void textAppended();
    // The text before `end` is still there and goes when this signal has been handled.
    void frontAboutToBeRemoved(qint64 end);
    void frontRemoved();
    void visibleRangeChanged();
    void selectionChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showAppended();
    void removeUpTo(qint64 end);
    void connectArea();
    void connectKeyboard();
    void openMenu(const QPoint& globalPosition);

    TextStore m_store;
    ReceiveArea* m_area;
    ReceiveKeyboard* m_keyboard = nullptr;
    QPointer<TextSaver> m_saver;
    bool m_forceScroll = false;
};
