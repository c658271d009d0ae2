#pragma once

#include "terminal/view/textfind.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QToolButton;
class ReceiveView;

// The find bar above a receive view: pattern, "3 of 17", next and previous, case and regular
// expression. Owns the search (TextFind) while it is open, marks the matches that can be seen and
// scrolls to the current one. Closing ends the search and gives the focus back to the view.
// Enter and F3 go to the next match, with Shift to the previous one; Esc closes.
class FindBar final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FindBar)

public:
    // The view must outlive the bar; make the bar a sibling or child of it.
    explicit FindBar(ReceiveView& view, QWidget* parent = nullptr);
    ~FindBar() override = default;

    // Shows the bar with the focus in it. A selection within one line becomes the search text.
    void open();
    void dismiss();
    [[nodiscard]] bool isOpen() const { return isVisibleTo(parentWidget()); }
    void findNext();
    void findPrevious();
    [[nodiscard]] const TextFind& search() const { return m_find; }

Q_SIGNALS:
    void closed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void build();
    void restartSearch();
    void showResult();
    void showCurrent();
    void tint();
    void scheduleMarks();
    void markVisibleMatches();
    [[nodiscard]] QString resultText() const;

    ReceiveView& m_view;
    TextFind m_find;
    QTimer m_markTimer;   // marks once however many changes one turn of the event loop brings
    QTimer m_resultTimer; // counts that change with every piece of text are shown now and then
    bool m_failed = false;
    QLineEdit* m_text = nullptr;
    QLabel* m_result = nullptr;
    QToolButton* m_previous = nullptr;
    QToolButton* m_next = nullptr;
    QToolButton* m_matchCase = nullptr;
    QToolButton* m_expression = nullptr;
    QToolButton* m_close = nullptr;
};
