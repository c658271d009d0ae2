#pragma once

#include <QObject>

class QInputMethodEvent;
class QInputMethodQueryEvent;
class QKeyEvent;
class ReceiveArea;
class ReceiveView;

// The keyboard of a receive view: an event filter on the widget that draws the text, which must
// never act on keys itself. Commands of the view come first, then everything else is typed.
//
// Commands: Ctrl+C with a selection copies it and drops the selection, so that the next Ctrl+C
// interrupts the device; Ctrl+Shift+C and Ctrl+Insert copy, Ctrl+V, Ctrl+Shift+V and Shift+Insert
// paste, Ctrl+Shift+A selects all; Shift with a cursor key, Home or End extends the selection;
// Shift+PageUp and Shift+PageDown scroll, Ctrl+Shift+Home and Ctrl+Shift+End scroll to the ends;
// Ctrl++ and Ctrl+- zoom; Ctrl+Tab and Ctrl+Shift+Tab move the focus.
//
// Shortcuts of the window are stronger than control characters and function keys (Ctrl+F finds),
// weaker than the commands and than keys without Ctrl and Alt.
class ReceiveKeyboard final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveKeyboard)

public:
    // Both must outlive this object, which is best made a child of the view.
    ReceiveKeyboard(ReceiveView& view, ReceiveArea& area);
    ~ReceiveKeyboard() override = default;

    // Off: keys scroll, Ctrl+C copies, Ctrl+A selects all, Tab moves the focus; nothing is typed.
    void setTypingEnabled(bool enabled);
    [[nodiscard]] bool isTypingEnabled() const { return m_typing; }
    // False when the key is none of the view's; then its parents may have it.
    bool press(const QKeyEvent& event);

Q_SIGNALS:
    void textTyped(const QString& text);
    void enterTyped();
    void controlTyped(const QByteArray& bytes);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isOwnKey(const QKeyEvent& event) const;
    bool clipboardKey(const QKeyEvent& event);
    bool selectionKey(const QKeyEvent& event);
    bool scrollKey(const QKeyEvent& event);
    bool readerKey(const QKeyEvent& event);
    bool typeKey(const QKeyEvent& event);
    void compose(const QInputMethodEvent& event);
    bool answer(QInputMethodQueryEvent& query) const;

    ReceiveView& m_view;
    ReceiveArea& m_area;
    bool m_typing = true;
};
