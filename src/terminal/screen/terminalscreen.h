#pragma once

#include <QByteArray>
#include <QString>
#include <array>
#include <deque>
#include <memory>
#include <vector>

// A cell of a terminal's screen. Colours: kDefault, kFirstOfPalette plus one of the 16 colours that
// the view chooses, or an opaque QRgb.
struct TerminalCell
{
    static constexpr quint32 kDefault = 0;
    static constexpr quint32 kFirstOfPalette = 1;
    static constexpr int kPalette = 16;

    enum Attribute : quint8 {
        Bold = 0x01,
        Italic = 0x02,
        Underline = 0x04,
        Reverse = 0x08,
        Strike = 0x10,
    };

    char32_t character = 0;          // 0 for a cell that nothing was written to
    std::array<char32_t, 2> marks{}; // combining characters, as far as there are
    quint32 ink = kDefault;
    quint32 paper = kDefault;
    quint8 width = 1; // columns; 0 for the right half of a wide character
    quint8 attributes = 0;

    bool operator==(const TerminalCell&) const = default;
};

using TerminalLine = std::vector<TerminalCell>;

// The screen of a terminal that behaves as xterm does: ECMA-48 and DEC private sequences, UTF-8,
// 256 and true colours, the alternate screen, wide characters. No widget, no I/O, no timer.
//
// Bytes of the device go in; what changed and what the device asked for come out. Lines that leave
// the screen at its top are kept, kMostHeld of them. Lines are numbered from the first one there
// ever was, so the number of a kept line never changes; the screen is the last rows() of them.
// What a device says about titles, the clipboard, the mouse or the size of the window has no
// effect. Memory: 24 bytes a cell of a kept line up to its last character, 20 MB of full lines of
// 80 columns; answers are cut off at kMostAnswers bytes for each write.
class TerminalScreen final
{
public:
    static constexpr int kMostHeld = 10'000;
    static constexpr int kMostRows = 500;
    static constexpr int kMostColumns = 1000;
    static constexpr qsizetype kMostAnswers = 4096;

    enum class Key : quint8 { Up, Down, Left, Right, Home, End };

    struct Damage
    {
        qint64 firstLine = 0;
        qint64 endLine = 0;    // after the last line that changed
        bool scrolled = false; // lines left the screen, came back or were dropped
        bool cursor = false;   // moved, shown or hidden
    };
    struct Cursor
    {
        qint64 line = 0;
        int column = 0;
        bool visible = true;
    };

    // Sizes are brought into 1..kMostRows and 2..kMostColumns.
    TerminalScreen(int rows, int columns);
    ~TerminalScreen();
    Q_DISABLE_COPY_MOVE(TerminalScreen)

    // UTF-8; sequences and characters may be cut anywhere.
    void write(const QByteArray& bytes);
    // What the device asked for since the last call: its type, the cursor's place, a mode.
    [[nodiscard]] QByteArray takeAnswers();
    [[nodiscard]] Damage takeDamage();
    // As at first; the kept lines go, too.
    void reset();
    void resize(int rows, int columns);

    // What a key says in the mode that the device has chosen for cursor keys.
    [[nodiscard]] QByteArray keyBytes(Key key);
    // Around pasted text, empty unless the device asked for it.
    [[nodiscard]] QByteArray pasteBegin();
    [[nodiscard]] QByteArray pasteEnd();

    [[nodiscard]] int rows() const { return m_rows; }
    [[nodiscard]] int columns() const { return m_columns; }
    [[nodiscard]] bool isAlternate() const { return m_alternate; }
    [[nodiscard]] Cursor cursor() const;
    // Lines that there are: [firstLine(), endLine()), of which the screen begins at topLine().
    [[nodiscard]] qint64 firstLine() const { return m_firstLine; }
    [[nodiscard]] qint64 topLine() const { return m_firstLine + qint64(m_held.size()); }
    [[nodiscard]] qint64 endLine() const { return topLine() + m_rows; }
    // A line as far as something was written; empty outside of what there is.
    [[nodiscard]] TerminalLine line(qint64 number) const;
    // The columns [from, to) of it, without blanks behind the last character.
    [[nodiscard]] QString text(qint64 number, int from = 0, int to = kMostColumns) const;

    // The column of a character of a line's text; behind the last one for what follows it.
    [[nodiscard]] static int columnOf(const TerminalLine& line, qint64 offset);

    // The kept lines and the screen as one text, lines ended by line feeds: where a line begins in
    // it. Positions of kept lines stay; what stands on the screen may change.
    [[nodiscard]] qint64 positionOf(qint64 line) const;
    [[nodiscard]] qint64 lineAt(qint64 position) const;

private:
    struct Machine; // the library's terminal
    struct Hooks;   // what it calls
    struct Held
    {
        TerminalLine cells;
        qint64 position = 0;
    };

    [[nodiscard]] QByteArray spoken();
    [[nodiscard]] TerminalLine screenLine(int row) const;
    [[nodiscard]] static QString textOf(const TerminalLine& cells, int from, int to);
    void damage(qint64 firstLine, qint64 endLine);
    void hold(TerminalLine cells);

    int m_rows;
    int m_columns;
    std::unique_ptr<Machine> m_machine;
    std::deque<Held> m_held; // bounded by kMostHeld
    qint64 m_firstLine = 0;
    qint64 m_topPosition = 0;
    qint64 m_firstPosition = 0;
    QByteArray m_said;    // by the machine while it reads, bounded by kMostAnswers
    QByteArray m_answers; // bounded by kMostAnswers
    Damage m_damage;
    int m_cursorRow = 0;
    int m_cursorColumn = 0;
    bool m_cursorVisible = true;
    bool m_alternate = false;
};
