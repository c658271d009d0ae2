#include "terminal/view/receivekeyboard.h"

#include "terminal/view/receiveedit.h"
#include "terminal/view/receiveview.h"
#include "terminal/view/terminalkeymap.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <array>

namespace {

constexpr Qt::KeyboardModifiers noModifier = Qt::NoModifier;
constexpr Qt::KeyboardModifiers ctrlShift = Qt::ControlModifier | Qt::ShiftModifier;

Qt::KeyboardModifiers modifiersOf(const QKeyEvent& event)
{
    return event.modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
}

struct Clip
{
    enum class Command : quint8 { Copy, Paste, SelectAll };

    int key = 0;
    Qt::KeyboardModifiers modifiers;
    Command command = Command::Copy;
};

constexpr std::array clipKeys{
    Clip{Qt::Key_C, ctrlShift, Clip::Command::Copy},
    Clip{Qt::Key_Insert, Qt::ControlModifier, Clip::Command::Copy},
    Clip{Qt::Key_V, ctrlShift, Clip::Command::Paste},
    Clip{Qt::Key_V, Qt::ControlModifier, Clip::Command::Paste},
    Clip{Qt::Key_Insert, Qt::ShiftModifier, Clip::Command::Paste},
    Clip{Qt::Key_A, ctrlShift, Clip::Command::SelectAll},
};

struct Extension
{
    int key;
    QTextCursor::MoveOperation operation;
};

constexpr std::array extensions{
    Extension{Qt::Key_Left, QTextCursor::Left},
    Extension{Qt::Key_Right, QTextCursor::Right},
    Extension{Qt::Key_Up, QTextCursor::Up},
    Extension{Qt::Key_Down, QTextCursor::Down},
    Extension{Qt::Key_Home, QTextCursor::StartOfLine},
    Extension{Qt::Key_End, QTextCursor::EndOfLine},
};

const Clip* clipOf(const QKeyEvent& event)
{
    for (const Clip& clip : clipKeys) {
        if (event.key() == clip.key && modifiersOf(event) == clip.modifiers)
            return &clip;
    }
    return nullptr;
}

} // namespace

ReceiveKeyboard::ReceiveKeyboard(ReceiveView& view, ReceiveEdit& edit)
    : QObject(&view)
    , view_(view)
    , edit_(edit)
{
    edit.installEventFilter(this);
    setTypingEnabled(true);
}

void ReceiveKeyboard::setTypingEnabled(bool enabled)
{
    typing_ = enabled;
    edit_.setAttribute(Qt::WA_InputMethodEnabled, enabled);
    edit_.setInputMark(enabled);
}

bool ReceiveKeyboard::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        event->setAccepted(isOwnKey(key));
        return true;
    }
    case QEvent::KeyPress: {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool movesFocus =
            !typing_ && (key.key() == Qt::Key_Tab || key.key() == Qt::Key_Backtab);
        if (movesFocus)
            return false;
        event->setAccepted(press(key));
        return true;
    }
    case QEvent::InputMethod: {
        const QString text = static_cast<const QInputMethodEvent*>(event)->commitString();
        if (typing_ && !text.isEmpty())
            Q_EMIT textTyped(text);
        return true;
    }
    case QEvent::InputMethodQuery:
        return answer(static_cast<QInputMethodQueryEvent&>(*event));
    default:
        return QObject::eventFilter(watched, event);
    }
}

bool ReceiveKeyboard::isOwnKey(const QKeyEvent& event) const
{
    if (clipOf(event) != nullptr)
        return true;
    const bool plain = (modifiersOf(event) & ~Qt::ShiftModifier) == noModifier;
    const bool functionKey = event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F35;
    if (typing_ && plain && !functionKey)
        return true;
    return event.key() == Qt::Key_C && modifiersOf(event) == Qt::ControlModifier
           && (typing_ || view_.hasSelection());
}

bool ReceiveKeyboard::press(const QKeyEvent& event)
{
    if (clipboardKey(event) || selectionKey(event) || scrollKey(event))
        return true;
    return typing_ ? typeKey(event) : readerKey(event);
}

bool ReceiveKeyboard::clipboardKey(const QKeyEvent& event)
{
    const bool interrupt = event.key() == Qt::Key_C && modifiersOf(event) == Qt::ControlModifier;
    if (interrupt && view_.hasSelection()) {
        view_.copy();
        if (typing_)
            view_.clearSelection();
        return true;
    }
    const Clip* clip = clipOf(event);
    if (clip == nullptr)
        return false;
    switch (clip->command) {
    case Clip::Command::Copy:
        view_.copy();
        break;
    case Clip::Command::Paste:
        view_.paste();
        break;
    case Clip::Command::SelectAll:
        view_.selectAll();
        break;
    }
    return true;
}

bool ReceiveKeyboard::selectionKey(const QKeyEvent& event)
{
    if (modifiersOf(event) != Qt::ShiftModifier)
        return false;
    for (const Extension& extension : extensions) {
        if (event.key() == extension.key) {
            edit_.extendSelection(extension.operation);
            return true;
        }
    }
    return false;
}

bool ReceiveKeyboard::scrollKey(const QKeyEvent& event)
{
    const int key = event.key();
    const Qt::KeyboardModifiers modifiers = modifiersOf(event);
    if (modifiers == Qt::ShiftModifier && (key == Qt::Key_PageUp || key == Qt::Key_PageDown)) {
        edit_.scrollPages(key == Qt::Key_PageUp ? -1 : 1);
    } else if (modifiers == ctrlShift && key == Qt::Key_Home) {
        edit_.verticalScrollBar()->setValue(0);
    } else if (modifiers == ctrlShift && key == Qt::Key_End) {
        view_.scrollToEnd();
    } else if (modifiers.testFlag(Qt::ControlModifier)
               && (key == Qt::Key_Plus || key == Qt::Key_Equal)) {
        view_.zoomBy(1);
    } else if (modifiers == Qt::ControlModifier && key == Qt::Key_Minus) {
        view_.zoomBy(-1);
    } else if (modifiers.testFlag(Qt::ControlModifier)
               && (key == Qt::Key_Tab || key == Qt::Key_Backtab)) {
        edit_.moveFocus(key == Qt::Key_Tab && modifiers == Qt::ControlModifier);
    } else {
        return false;
    }
    return true;
}

bool ReceiveKeyboard::readerKey(const QKeyEvent& event)
{
    if (event.key() == Qt::Key_A && modifiersOf(event) == Qt::ControlModifier) {
        view_.selectAll();
        return true;
    }
    if (modifiersOf(event) != noModifier)
        return false;
    QScrollBar* bar = edit_.verticalScrollBar();
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        bar->setValue(bar->value() + (event.key() == Qt::Key_Up ? -1 : 1));
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        edit_.scrollPages(event.key() == Qt::Key_PageUp ? -1 : 1);
        return true;
    case Qt::Key_Home:
        bar->setValue(0);
        return true;
    case Qt::Key_End:
        view_.scrollToEnd();
        return true;
    default:
        return false;
    }
}

bool ReceiveKeyboard::typeKey(const QKeyEvent& event)
{
    const TypedKey typed = TerminalKeyMap::map(event.key(), modifiersOf(event), event.text());
    switch (typed.kind) {
    case TypedKey::Kind::Text:
        Q_EMIT textTyped(typed.text);
        return true;
    case TypedKey::Kind::Enter:
        Q_EMIT enterTyped();
        return true;
    case TypedKey::Kind::Control:
        Q_EMIT controlTyped(typed.bytes);
        return true;
    case TypedKey::Kind::None:
        break;
    }
    return false;
}

bool ReceiveKeyboard::answer(QInputMethodQueryEvent& query) const
{
    if (!typing_)
        return false;
    if (query.queries() & Qt::ImEnabled)
        query.setValue(Qt::ImEnabled, true);
    if (query.queries() & Qt::ImHints)
        query.setValue(Qt::ImHints, int(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase));
    // Candidates are shown where the mark of the input stands, not where the reader selects.
    if (query.queries() & Qt::ImCursorRectangle)
        query.setValue(Qt::ImCursorRectangle, edit_.inputMarkArea());
    query.accept();
    return true;
}
