#include "terminal/view/receivekeyboard.h"

#include "terminal/view/receivearea.h"
#include "terminal/view/receiveinput.h"
#include "terminal/view/receiveview.h"
#include "terminal/view/terminalkeymap.h"

#include <QInputMethodEvent>
#include <QKeyEvent>
#include <array>

namespace {

constexpr Qt::KeyboardModifiers kNoModifier = Qt::NoModifier;
constexpr Qt::KeyboardModifiers kCtrlShift = Qt::ControlModifier | Qt::ShiftModifier;

Qt::KeyboardModifiers modifiersOf(const QKeyEvent& event)
{
    return event.modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
}

// The keys of a terminal for its own commands: no control character is among them.
struct Clip
{
    enum class Command : quint8 { Copy, Paste, SelectAll, Find, Clear };

    int key = 0;
    Qt::KeyboardModifiers modifiers;
    Command command = Command::Copy;
};

constexpr std::array kClipKeys{
    Clip{Qt::Key_C, kCtrlShift, Clip::Command::Copy},
    Clip{Qt::Key_Insert, Qt::ControlModifier, Clip::Command::Copy},
    Clip{Qt::Key_V, kCtrlShift, Clip::Command::Paste},
    Clip{Qt::Key_Insert, Qt::ShiftModifier, Clip::Command::Paste},
    Clip{Qt::Key_A, kCtrlShift, Clip::Command::SelectAll},
    Clip{Qt::Key_F, kCtrlShift, Clip::Command::Find},
    Clip{Qt::Key_L, kCtrlShift, Clip::Command::Clear},
};

struct Extension
{
    int key;
    CaretStep step;
};

constexpr std::array kExtensions{
    Extension{Qt::Key_Left, CaretStep::Left},
    Extension{Qt::Key_Right, CaretStep::Right},
    Extension{Qt::Key_Up, CaretStep::Up},
    Extension{Qt::Key_Down, CaretStep::Down},
    Extension{Qt::Key_Home, CaretStep::RowStart},
    Extension{Qt::Key_End, CaretStep::RowEnd},
};

const Clip* clipOf(const QKeyEvent& event)
{
    for (const Clip& clip : kClipKeys) {
        if (event.key() == clip.key && modifiersOf(event) == clip.modifiers)
            return &clip;
    }
    return nullptr;
}

} // namespace

ReceiveKeyboard::ReceiveKeyboard(ReceiveView& view, ReceiveArea& area)
    : QObject(&view)
    , m_view(view)
    , m_area(area)
{
    area.installEventFilter(this);
    setTypingEnabled(true);
}

void ReceiveKeyboard::setTypingEnabled(bool enabled)
{
    m_typing = enabled;
    m_area.setAttribute(Qt::WA_InputMethodEnabled, enabled);
    m_area.setInputMark(enabled);
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
            !m_typing && (key.key() == Qt::Key_Tab || key.key() == Qt::Key_Backtab);
        if (movesFocus)
            return false;
        event->setAccepted(press(key));
        return true;
    }
    case QEvent::InputMethod:
        compose(static_cast<const QInputMethodEvent&>(*event));
        return true;
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
    const bool plain = (modifiersOf(event) & ~Qt::ShiftModifier) == kNoModifier;
    const bool functionKey = event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F35;
    if (m_typing && plain && !functionKey)
        return true;
    if (modifiersOf(event) != Qt::ControlModifier)
        return false;
    // A control character belongs to the device, whatever the window has a shortcut for: Ctrl+Q is
    // XON, Ctrl+S XOFF, Ctrl+L the redraw of a shell.
    // Ctrl and a digit leads to a pane where there are several, and what it types has other keys.
    const bool digit = event.key() >= Qt::Key_0 && event.key() <= Qt::Key_9;
    if (m_typing && !digit)
        return TerminalKeyMap::map(event.key(), modifiersOf(event), event.text()).kind
               == TypedKey::Kind::Control;
    return !m_typing && event.key() == Qt::Key_C && m_view.hasSelection();
}

bool ReceiveKeyboard::press(const QKeyEvent& event)
{
    if (clipboardKey(event) || selectionKey(event) || scrollKey(event))
        return true;
    return m_typing ? typeKey(event) : readerKey(event);
}

bool ReceiveKeyboard::clipboardKey(const QKeyEvent& event)
{
    if (!m_typing && event.key() == Qt::Key_C && modifiersOf(event) == Qt::ControlModifier) {
        m_view.copy();
        return true;
    }
    const Clip* clip = clipOf(event);
    if (clip == nullptr)
        return false;
    switch (clip->command) {
    case Clip::Command::Copy:
        m_view.copy();
        break;
    case Clip::Command::Paste:
        m_view.paste();
        break;
    case Clip::Command::SelectAll:
        m_view.selectAll();
        break;
    case Clip::Command::Find:
        Q_EMIT m_view.findRequested();
        break;
    case Clip::Command::Clear:
        Q_EMIT m_view.clearRequested();
        break;
    }
    return true;
}

bool ReceiveKeyboard::selectionKey(const QKeyEvent& event)
{
    if (modifiersOf(event) != Qt::ShiftModifier)
        return false;
    for (const Extension& extension : kExtensions) {
        if (event.key() == extension.key) {
            m_area.extendSelection(extension.step);
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
        m_area.scrollPages(key == Qt::Key_PageUp ? -1 : 1);
    } else if (modifiers == kCtrlShift && key == Qt::Key_Home) {
        m_area.scrollToTop();
    } else if (modifiers == kCtrlShift && key == Qt::Key_End) {
        m_view.scrollToEnd();
    } else if (modifiers.testFlag(Qt::ControlModifier)
               && (key == Qt::Key_Plus || key == Qt::Key_Equal)) {
        m_view.zoomBy(1);
    } else if (modifiers == Qt::ControlModifier && key == Qt::Key_Minus) {
        m_view.zoomBy(-1);
    } else if (modifiers.testFlag(Qt::ControlModifier)
               && (key == Qt::Key_Tab || key == Qt::Key_Backtab)) {
        m_area.moveFocus(key == Qt::Key_Tab && modifiers == Qt::ControlModifier);
    } else {
        return false;
    }
    return true;
}

bool ReceiveKeyboard::readerKey(const QKeyEvent& event)
{
    if (event.key() == Qt::Key_A && modifiersOf(event) == Qt::ControlModifier) {
        m_view.selectAll();
        return true;
    }
    if (modifiersOf(event) != kNoModifier)
        return false;
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        m_area.scrollRows(event.key() == Qt::Key_Up ? -1 : 1);
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        m_area.scrollPages(event.key() == Qt::Key_PageUp ? -1 : 1);
        return true;
    case Qt::Key_Home:
        m_area.scrollToTop();
        return true;
    case Qt::Key_End:
        m_view.scrollToEnd();
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

void ReceiveKeyboard::compose(const QInputMethodEvent& event)
{
    if (!m_typing)
        return;
    m_area.compose(event);
    if (!event.commitString().isEmpty())
        Q_EMIT textTyped(event.commitString());
}

bool ReceiveKeyboard::answer(QInputMethodQueryEvent& query) const
{
    if (!m_typing)
        return false;
    const auto set = [&query](Qt::InputMethodQuery wanted, const QVariant& value) {
        if (query.queries() & wanted)
            query.setValue(wanted, value);
    };
    set(Qt::ImEnabled, true);
    set(Qt::ImHints, int(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase));
    set(Qt::ImFont, m_area.font());
    // Candidates are shown where the mark of the input stands, not where the reader selects. What
    // stands around it came from the device and is nothing to compose with.
    set(Qt::ImCursorRectangle, m_area.compositionArea());
    set(Qt::ImSurroundingText, QString());
    set(Qt::ImCursorPosition, 0);
    set(Qt::ImAnchorPosition, 0);
    set(Qt::ImCurrentSelection, QString());
    query.accept();
    return true;
}
