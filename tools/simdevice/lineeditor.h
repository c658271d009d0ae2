#pragma once

#include <QByteArray>

namespace simdevice {

/// One command line being typed at the device: echo, backspace, and CR, LF or CR LF as its end.
class LineEditor final
{
public:
    static constexpr qsizetype kMaxLength = 256; ///< bytes; a longer line is reported as too long

    enum class Result { None, Line, TooLong };

    void setEcho(bool on) { m_echo = on; }
    bool echo() const { return m_echo; }

    /// Takes one byte and appends its echo to `output`. After Line, takeLine() has the line.
    Result feed(char byte, QByteArray* output);

    /// The line without its end; the editor is empty afterwards.
    QByteArray takeLine();

    bool isEmpty() const { return m_line.isEmpty(); }

    /// The last byte was a CR: an LF that follows belongs to it, even when it arrives later.
    bool expectsLineFeed() const { return m_afterReturn; }
    void lineFeedSkipped() { m_afterReturn = false; }

    void clear();

private:
    QByteArray m_line; ///< at most kMaxLength bytes
    bool m_echo = true;
    bool m_tooLong = false;
    bool m_afterReturn = false;
};

} // namespace simdevice
