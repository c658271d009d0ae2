#pragma once

#include <QByteArray>
#include <QString>

// What a key says to the device.
struct TypedKey
{
    enum class Kind : quint8 { None, Text, Enter, Control };

    Kind kind = Kind::None;
    QString text;     // Kind::Text
    QByteArray bytes; // Kind::Control

    bool operator==(const TypedKey&) const = default;
};

// Maps keys to what a terminal sends: ECMA-48 control characters for Ctrl with a letter, and the
// sequences of a VT220 as xterm writes them for cursor, editing and function keys (with xterm's
// modifier parameter). Pure.
//
// Choices: Backspace is BS (0x08), which the line editors of boot loaders and firmware look for;
// with Shift or Ctrl it is DEL (0x7F). Ctrl+Shift with a letter is never typed: terminals keep
// those for their own commands. Alt with an ASCII character puts ESC in front of it. Ctrl+Alt is
// AltGr and types the character that the layout has there.
class TerminalKeyMap
{
public:
    // A Qt::Key, Qt::KeyboardModifiers and the text of the key event.
    [[nodiscard]] static TypedKey map(
        int key, Qt::KeyboardModifiers modifiers, const QString& text);
};
