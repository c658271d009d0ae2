#include "terminal/view/terminalkeymap.h"

#include <algorithm>
#include <array>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr char kEscape = '\x1B';

struct ControlKey
{
    int key;
    char byte;
};

// Ctrl with a key other than a letter. The digits are where keyboards without the sign have it.
constexpr std::array kControlKeys{
    ControlKey{Qt::Key_Space, '\x00'},
    ControlKey{Qt::Key_At, '\x00'},
    ControlKey{Qt::Key_2, '\x00'},
    ControlKey{Qt::Key_BracketLeft, '\x1B'},
    ControlKey{Qt::Key_3, '\x1B'},
    ControlKey{Qt::Key_Backslash, '\x1C'},
    ControlKey{Qt::Key_4, '\x1C'},
    ControlKey{Qt::Key_BracketRight, '\x1D'},
    ControlKey{Qt::Key_5, '\x1D'},
    ControlKey{Qt::Key_AsciiCircum, '\x1E'},
    ControlKey{Qt::Key_6, '\x1E'},
    ControlKey{Qt::Key_Underscore, '\x1F'},
    ControlKey{Qt::Key_Slash, '\x1F'},
    ControlKey{Qt::Key_7, '\x1F'},
    ControlKey{Qt::Key_Question, '\x7F'},
    ControlKey{Qt::Key_8, '\x7F'},
};

// CSI (or SS3 for PF1 to PF4 without modifiers), a number for the keys that end in '~'.
struct SequenceKey
{
    int key;
    int number;
    char final;
};

constexpr std::array kSequenceKeys{
    SequenceKey{Qt::Key_Up, 1, 'A'},
    SequenceKey{Qt::Key_Down, 1, 'B'},
    SequenceKey{Qt::Key_Right, 1, 'C'},
    SequenceKey{Qt::Key_Left, 1, 'D'},
    SequenceKey{Qt::Key_End, 1, 'F'},
    SequenceKey{Qt::Key_Home, 1, 'H'},
    SequenceKey{Qt::Key_Insert, 2, '~'},
    SequenceKey{Qt::Key_Delete, 3, '~'},
    SequenceKey{Qt::Key_PageUp, 5, '~'},
    SequenceKey{Qt::Key_PageDown, 6, '~'},
    SequenceKey{Qt::Key_F1, 1, 'P'},
    SequenceKey{Qt::Key_F2, 1, 'Q'},
    SequenceKey{Qt::Key_F3, 1, 'R'},
    SequenceKey{Qt::Key_F4, 1, 'S'},
    SequenceKey{Qt::Key_F5, 15, '~'},
    SequenceKey{Qt::Key_F6, 17, '~'},
    SequenceKey{Qt::Key_F7, 18, '~'},
    SequenceKey{Qt::Key_F8, 19, '~'},
    SequenceKey{Qt::Key_F9, 20, '~'},
    SequenceKey{Qt::Key_F10, 21, '~'},
    SequenceKey{Qt::Key_F11, 23, '~'},
    SequenceKey{Qt::Key_F12, 24, '~'},
};

TypedKey control(QByteArray bytes)
{
    return {TypedKey::Kind::Control, {}, std::move(bytes)};
}

bool isFunctionKeySs3(char final)
{
    return final >= 'P' && final <= 'S';
}

QByteArray sequence(const SequenceKey& key, Qt::KeyboardModifiers modifiers)
{
    const int parameter = 1 + (modifiers.testFlag(Qt::ShiftModifier) ? 1 : 0)
                          + (modifiers.testFlag(Qt::AltModifier) ? 2 : 0)
                          + (modifiers.testFlag(Qt::ControlModifier) ? 4 : 0);
    QByteArray bytes(1, kEscape);
    if (parameter > 1)
        bytes += '[' + QByteArray::number(key.number) + ';' + QByteArray::number(parameter);
    else if (key.final == '~')
        bytes += '[' + QByteArray::number(key.number);
    else
        bytes += isFunctionKeySs3(key.final) ? 'O' : '[';
    return bytes + key.final;
}

std::optional<TypedKey> editingKey(int key, Qt::KeyboardModifiers modifiers)
{
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return TypedKey{TypedKey::Kind::Enter, {}, {}};
    case Qt::Key_Tab:
        return control("\t"_ba);
    case Qt::Key_Backtab:
        return control("\x1B[Z"_ba);
    case Qt::Key_Escape:
        return control(QByteArray(1, kEscape));
    case Qt::Key_Backspace:
        return control(modifiers & (Qt::ShiftModifier | Qt::ControlModifier) ? "\x7F"_ba : "\b"_ba);
    default:
        break;
    }
    const auto found = std::ranges::find(kSequenceKeys, key, &SequenceKey::key);
    if (found != kSequenceKeys.end())
        return control(sequence(*found, modifiers));
    return std::nullopt;
}

TypedKey controlCharacter(int key, Qt::KeyboardModifiers modifiers, const QString& text)
{
    const bool letter = key >= Qt::Key_A && key <= Qt::Key_Z;
    if (letter && modifiers.testFlag(Qt::ShiftModifier))
        return {};
    if (letter)
        return control(QByteArray(1, static_cast<char>(key - Qt::Key_A + 1)));
    const auto found = std::ranges::find(kControlKeys, key, &ControlKey::key);
    if (found != kControlKeys.end())
        return control(QByteArray(1, found->byte));
    // Layouts without Latin letters still report the control character of the key's position.
    if (text.size() == 1 && text.front() < u' ' && !modifiers.testFlag(Qt::ShiftModifier))
        return control(QByteArray(1, text.front().toLatin1()));
    return {};
}

bool isPrintable(const QString& text)
{
    return !text.isEmpty() && std::ranges::none_of(text, [](QChar c) {
        return c.category() == QChar::Other_Control;
    });
}

} // namespace

TypedKey TerminalKeyMap::map(int key, Qt::KeyboardModifiers modifiers, const QString& text)
{
    if (modifiers.testFlag(Qt::MetaModifier))
        return {};
    if (auto typed = editingKey(key, modifiers))
        return *typed;
    const bool ctrl = modifiers.testFlag(Qt::ControlModifier);
    const bool alt = modifiers.testFlag(Qt::AltModifier);
    if (ctrl && !alt)
        return controlCharacter(key, modifiers, text);
    if (!isPrintable(text))
        return {};
    if (alt && !ctrl && text.size() == 1 && text.front() < QChar(u'\x7F'))
        return control(kEscape + text.toLatin1());
    return {TypedKey::Kind::Text, text, {}};
}
