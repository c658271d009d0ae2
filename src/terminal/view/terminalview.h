#pragma once

#include "terminal/screen/terminalscreen.h"
#include "terminal/view/framebudget.h"
#include "terminal/view/searchedview.h"
#include "terminal/view/terminalpainter.h"
#include "terminal/view/wheelsteps.h"

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QHash>
#include <QTimer>
#include <tuple>

class SteadyScrollBar;

// Shows the screen of a terminal (terminalscreen.h) with the lines that have left it, and says what
// the person types, a key at a time as xterm sends them.
//
// Data flow: the pane feeds what the device sends; the rows that changed are painted at the next
// frame. What the device asks for leaves by answered(). The screen is as large as the view, or 24
// rows of 80 columns. Keys: all but the commands of the view go to the device, function keys and
// keys with Alt too; Ctrl+Tab and Ctrl+Shift+Tab leave the view. Shift with Page and Home keys
// scrolls, Ctrl+Shift with C, V, A, F and L copies, pastes, selects, finds and clears.
class TerminalView final : public QAbstractScrollArea, public SearchedView
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TerminalView)

public:
    static constexpr int kFixedRows = 24;
    static constexpr int kFixedColumns = 80;

    explicit TerminalView(QWidget* parent = nullptr);
    ~TerminalView() override;

    // UTF-8, cut anywhere. answered() may follow at once.
    void feed(const QByteArray& utf8);
    void clear();
    [[nodiscard]] const TerminalScreen& screen() const { return m_screen; }

    void setDisplayFont(const QFont& font);
    // Backspace sends DEL (0x7F) instead of BS (0x08).
    void setBackspaceDel(bool on) { m_backspaceDel = on; }
    void setFixedSize24x80(bool on);
    void copy();
    void paste(const QString& text);
    void selectAll();

    [[nodiscard]] qint64 firstPosition() const override;
    [[nodiscard]] qint64 endPosition() const override;
    [[nodiscard]] QString textAt(qint64 position, qint64 count) const override;
    [[nodiscard]] QWidget& widget() override { return *this; }
    [[nodiscard]] qint64 selectionLength() const override { return selectedText().size(); }
    [[nodiscard]] QString selectedText() const override;
    [[nodiscard]] std::pair<qint64, qint64> visibleRange() const override;
    [[nodiscard]] std::vector<std::pair<qint64, qint64>> visibleSpans() const override;
    void setHighlights(const QList<Highlight>& highlights) override;
    void showPosition(qint64 position, qint64 length) override;

    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    // What the device asked for; goes back to it and to nobody else.
    void answered(const QByteArray& bytes);
    // Printable text and pasted text; line feeds only in pasted text.
    void textTyped(const QString& text);
    void enterTyped();
    void controlTyped(const QByteArray& bytes);
    void findRequested();
    void clearRequested();
    // By the person, not by the setters.
    void displayFontZoomed(const QFont& font);
    void backspaceDelChosen(bool on);
    void fixedSizeChosen(bool on);
    void contentChanged();
    void visibleRangeChanged();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    [[nodiscard]] QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    struct Place
    {
        qint64 line = 0;
        int column = 0;

        friend bool operator==(const Place&, const Place&) = default;
        friend bool operator<(const Place& one, const Place& other)
        {
            return std::tie(one.line, one.column) < std::tie(other.line, other.column);
        }
    };

    void scheduleFrame();
    void refresh();
    void fitScreen();
    void syncBars();
    void scrollTo(qint64 top);
    void scrollBy(qint64 rows) { scrollTo(m_top + rows); }
    void zoomBy(int points);
    [[nodiscard]] bool isOwnKey(const QKeyEvent& event) const;
    bool commandKey(const QKeyEvent& event);
    void typeKey(const QKeyEvent& event);
    void pasteClipboard();
    void select(Place anchor, Place cursor);
    void selectWordAt(Place place);
    [[nodiscard]] std::pair<Place, Place> selection() const;
    [[nodiscard]] Place placeAt(QPoint point) const;
    [[nodiscard]] int pageRows() const;
    [[nodiscard]] int leftEdge() const;
    [[nodiscard]] QRect rowArea(qint64 firstLine, qint64 endLine) const;
    [[nodiscard]] QRect cursorArea() const;
    [[nodiscard]] qint64 lastTop() const;

    TerminalScreen m_screen{kFixedRows, kFixedColumns};
    TerminalPainter m_painter;
    QHash<qint64, QList<TerminalPainter::Stretch>> m_marks; // by line; of lines in sight
    SteadyScrollBar* m_bar;
    QTimer m_refreshTimer{this};
    FrameBudget::View m_frame;
    qint64 m_top = 0; // first line in sight
    bool m_following = true;
    bool m_settingBar = false;
    QRect m_drawnCursor;
    Place m_anchor;
    Place m_cursor;
    bool m_selecting = false;
    QElapsedTimer m_sinceDoubleClick;
    WheelSteps m_wheel;
    bool m_backspaceDel = false;
    bool m_fixed = false;
};
