#pragma once

#include <QtGlobal>
#include <array>

// The codes that the send options are stored under, and the texts of their lists. The panel
// translates the texts in the context "SendModes".

// FormatSetting::receiveMsgFormat and sendMsgFormat.
enum class MessageFormat : int { Hexadecimal = 1, Text = 2 };

// FormatSetting::txLineEndingMode and terminalEnterMode (without None).
enum class LineEndingMode : int { None = 0, Cr = 1, Lf = 2, CrLf = 3, LfCr = 4 };

// FormatSetting::sendChecksum.
enum class ChecksumMode : int {
    None = 0,
    Sum8 = 1,
    Xor8 = 2,
    Crc8 = 3,
    Crc16Modbus = 4,
    Crc32 = 5
};

template<typename Mode>
struct ModeText
{
    Mode mode;
    const char* text; // source text of the translation
};

// "LR" in the last entry is how the list has always read, and scripts look it up by that text.
inline constexpr std::array kLineEndingTexts{
    ModeText<LineEndingMode>{LineEndingMode::None, QT_TRANSLATE_NOOP("SendModes", "None")},
    ModeText<LineEndingMode>{LineEndingMode::Cr, QT_TRANSLATE_NOOP("SendModes", "CR (\\r)")},
    ModeText<LineEndingMode>{LineEndingMode::Lf, QT_TRANSLATE_NOOP("SendModes", "LF (\\n)")},
    ModeText<LineEndingMode>{
        LineEndingMode::CrLf, QT_TRANSLATE_NOOP("SendModes", "CR & LF (\\r\\n)")},
    ModeText<LineEndingMode>{
        LineEndingMode::LfCr, QT_TRANSLATE_NOOP("SendModes", "LR & CR (\\n\\r)")},
};

// What Enter sends in the receive terminal.
inline constexpr std::array kTerminalEnterTexts{
    ModeText<LineEndingMode>{LineEndingMode::Cr, QT_TRANSLATE_NOOP("SendModes", "CR (\\r)")},
    ModeText<LineEndingMode>{LineEndingMode::Lf, QT_TRANSLATE_NOOP("SendModes", "LF (\\n)")},
    ModeText<LineEndingMode>{
        LineEndingMode::CrLf, QT_TRANSLATE_NOOP("SendModes", "CR & LF (\\r\\n)")},
    ModeText<LineEndingMode>{
        LineEndingMode::LfCr, QT_TRANSLATE_NOOP("SendModes", "LF & CR (\\n\\r)")},
};

inline constexpr std::array kChecksumTexts{
    ModeText<ChecksumMode>{ChecksumMode::None, QT_TRANSLATE_NOOP("SendModes", "None")},
    ModeText<ChecksumMode>{ChecksumMode::Sum8, QT_TRANSLATE_NOOP("SendModes", "Checksum-8 (SUM)")},
    ModeText<ChecksumMode>{ChecksumMode::Xor8, QT_TRANSLATE_NOOP("SendModes", "XOR (BCC)")},
    ModeText<ChecksumMode>{ChecksumMode::Crc8, QT_TRANSLATE_NOOP("SendModes", "CRC-8")},
    ModeText<ChecksumMode>{
        ChecksumMode::Crc16Modbus, QT_TRANSLATE_NOOP("SendModes", "CRC-16/MODBUS")},
    ModeText<ChecksumMode>{ChecksumMode::Crc32, QT_TRANSLATE_NOOP("SendModes", "CRC-32")},
};
