#include "terminal/screen/terminalscreen.h"

#include <algorithm>
#include <utility>
#include <vterm.h>

namespace {

// The right half of a wide character, as the library marks it.
constexpr auto wideRest = static_cast<uint32_t>(-1);

quint32 colorOf(VTermColor color, const VTermScreen* screen)
{
    if (VTERM_COLOR_IS_DEFAULT_FG(&color) || VTERM_COLOR_IS_DEFAULT_BG(&color))
        return TerminalCell::kDefault;
    if (VTERM_COLOR_IS_INDEXED(&color) && color.indexed.idx < TerminalCell::kPalette)
        return TerminalCell::kFirstOfPalette + color.indexed.idx;
    vterm_screen_convert_color_to_rgb(screen, &color);
    return 0xFF000000U | (quint32(color.rgb.red) << 16U) | (quint32(color.rgb.green) << 8U)
           | color.rgb.blue;
}

quint8 attributesOf(const VTermScreenCellAttrs& attrs)
{
    int attributes = 0;
    const auto add = [&attributes](bool set, TerminalCell::Attribute attribute) {
        attributes |= set ? int(attribute) : 0;
    };
    add(attrs.bold != 0, TerminalCell::Bold);
    add(attrs.italic != 0, TerminalCell::Italic);
    add(attrs.underline != 0, TerminalCell::Underline);
    add(attrs.reverse != 0, TerminalCell::Reverse);
    add(attrs.strike != 0, TerminalCell::Strike);
    return static_cast<quint8>(attributes);
}

TerminalCell cellOf(const VTermScreenCell& from, const VTermScreen* screen)
{
    TerminalCell cell;
    const bool rest = from.chars[0] == wideRest;
    cell.width = rest ? 0 : static_cast<quint8>(std::max<int>(from.width, 1));
    if (!rest && from.chars[0] != 0) {
        cell.character = from.chars[0];
        for (std::size_t i = 0; i < cell.marks.size() && from.chars[i + 1] != 0; ++i)
            cell.marks[i] = from.chars[i + 1];
    }
    cell.ink = colorOf(from.fg, screen);
    cell.paper = colorOf(from.bg, screen);
    cell.attributes = attributesOf(from.attrs);
    return cell;
}

// The library's cell of a line that comes back to the screen.
VTermScreenCell cellFor(const TerminalCell& cell, const VTermState* state)
{
    VTermScreenCell to{};
    VTermColor ink;
    VTermColor paper;
    vterm_state_get_default_colors(state, &ink, &paper);
    const auto color = [](quint32 from, VTermColor other) {
        if (from >= TerminalCell::kFirstOfPalette
            && from < TerminalCell::kFirstOfPalette + TerminalCell::kPalette)
            vterm_color_indexed(&other, static_cast<uint8_t>(from - TerminalCell::kFirstOfPalette));
        else if (from != TerminalCell::kDefault)
            vterm_color_rgb(&other, (from >> 16U) & 0xFFU, (from >> 8U) & 0xFFU, from & 0xFFU);
        return other;
    };
    to.fg = color(cell.ink, ink);
    to.bg = color(cell.paper, paper);
    to.width = static_cast<char>(std::max<int>(cell.width, 1));
    to.chars[0] = cell.width == 0 ? wideRest : cell.character;
    to.chars[1] = cell.marks[0];
    to.chars[2] = cell.marks[1];
    to.attrs.bold = (cell.attributes & TerminalCell::Bold) != 0 ? 1 : 0;
    to.attrs.italic = (cell.attributes & TerminalCell::Italic) != 0 ? 1 : 0;
    to.attrs.underline = (cell.attributes & TerminalCell::Underline) != 0 ? 1 : 0;
    to.attrs.reverse = (cell.attributes & TerminalCell::Reverse) != 0 ? 1 : 0;
    to.attrs.strike = (cell.attributes & TerminalCell::Strike) != 0 ? 1 : 0;
    return to;
}

void trim(TerminalLine& cells)
{
    while (!cells.empty() && cells.back() == TerminalCell())
        cells.pop_back();
}

void append(QString& text, char32_t character)
{
    if (QChar::requiresSurrogates(character))
        text += QString::fromUcs4(&character, 1);
    else
        text += QChar(char16_t(character));
}

int unitsOf(char32_t character)
{
    return QChar::requiresSurrogates(character) ? 2 : 1;
}

// Of the text of a cell, in UTF-16.
int unitsOf(const TerminalCell& cell)
{
    if (cell.width == 0)
        return 0;
    int units = unitsOf(cell.character);
    for (const char32_t mark : cell.marks)
        units += mark != 0 ? unitsOf(mark) : 0;
    return units;
}

bool isBlank(const TerminalCell& cell)
{
    return cell.character == 0 || cell.character == U' ';
}

// Of the text of a line, which ends with its last character that is no blank.
qsizetype lengthOf(const TerminalLine& cells)
{
    const auto last = std::find_if_not(cells.rbegin(), cells.rend(), isBlank).base();
    qsizetype length = 0;
    for (auto cell = cells.begin(); cell != last; ++cell)
        length += unitsOf(*cell);
    return length;
}

} // namespace

struct TerminalScreen::Machine
{
    Machine(int rows, int columns)
        : terminal(vterm_new(rows, columns))
        , screen(vterm_obtain_screen(terminal))
    {}
    ~Machine() { vterm_free(terminal); }
    Q_DISABLE_COPY_MOVE(Machine)

    VTerm* terminal;
    VTermScreen* screen;
};

struct TerminalScreen::Hooks
{
    static TerminalScreen& of(void* user) { return *static_cast<TerminalScreen*>(user); }

    static void said(const char* bytes, std::size_t length, void* user)
    {
        QByteArray& said = of(user).m_said;
        if (said.size() + qsizetype(length) <= kMostAnswers)
            said.append(bytes, qsizetype(length));
    }
    static int damaged(VTermRect rect, void* user)
    {
        TerminalScreen& self = of(user);
        self.damage(self.topLine() + rect.start_row, self.topLine() + rect.end_row);
        return 1;
    }
    static int moved(VTermPos to, VTermPos /*from*/, int /*visible*/, void* user)
    {
        TerminalScreen& self = of(user);
        self.m_cursorRow = to.row;
        self.m_cursorColumn = to.col;
        self.m_damage.cursor = true;
        return 1;
    }
    static int set(VTermProp property, VTermValue* value, void* user)
    {
        TerminalScreen& self = of(user);
        if (property == VTERM_PROP_CURSORVISIBLE) {
            self.m_cursorVisible = value->boolean != 0;
            self.m_damage.cursor = true;
        } else if (property == VTERM_PROP_ALTSCREEN) {
            self.m_alternate = value->boolean != 0;
        }
        return 1;
    }
    static int left(int columns, const VTermScreenCell* cells, void* user)
    {
        TerminalScreen& self = of(user);
        TerminalLine line;
        line.reserve(static_cast<std::size_t>(columns));
        for (int column = 0; column < columns; ++column)
            line.push_back(cellOf(cells[column], self.m_machine->screen));
        trim(line);
        self.hold(std::move(line));
        return 1;
    }
    static int back(int columns, VTermScreenCell* cells, void* user)
    {
        TerminalScreen& self = of(user);
        if (self.m_held.empty())
            return 0;
        const VTermState* state = vterm_obtain_state(self.m_machine->terminal);
        const TerminalLine line = std::move(self.m_held.back().cells);
        self.m_topPosition = self.m_held.back().position;
        self.m_held.pop_back();
        self.m_damage.scrolled = true;
        for (int column = 0; column < columns; ++column) {
            const auto at = static_cast<std::size_t>(column);
            TerminalCell cell = at < line.size() ? line[at] : TerminalCell();
            // Half a character does not come back.
            if (cell.width == 2 && column + 1 == columns)
                cell = TerminalCell();
            cells[column] = cellFor(cell, state);
        }
        return 1;
    }
};

TerminalScreen::TerminalScreen(int rows, int columns)
    : m_rows(std::clamp(rows, 1, kMostRows))
    , m_columns(std::clamp(columns, 2, kMostColumns))
    , m_machine(std::make_unique<Machine>(m_rows, m_columns))
{
    static constexpr VTermScreenCallbacks hooks{
        .damage = &Hooks::damaged,
        .moverect = nullptr,
        .movecursor = &Hooks::moved,
        .settermprop = &Hooks::set,
        .bell = nullptr,
        .resize = nullptr,
        .sb_pushline = &Hooks::left,
        .sb_popline = &Hooks::back,
    };
    vterm_set_utf8(m_machine->terminal, 1);
    vterm_output_set_callback(m_machine->terminal, &Hooks::said, this);
    vterm_screen_set_callbacks(m_machine->screen, &hooks, this);
    vterm_screen_enable_altscreen(m_machine->screen, 1);
    vterm_screen_set_damage_merge(m_machine->screen, VTERM_DAMAGE_SCREEN);
    reset();
}

TerminalScreen::~TerminalScreen() = default;

void TerminalScreen::reset()
{
    vterm_screen_reset(m_machine->screen, 1);
    vterm_screen_flush_damage(m_machine->screen);
    m_firstLine = topLine();
    m_firstPosition = m_topPosition;
    m_held.clear();
    m_answers.clear();
    m_said.clear();
    damage(m_firstLine, endLine());
    m_damage.scrolled = true;
}

void TerminalScreen::write(const QByteArray& bytes)
{
    vterm_input_write(m_machine->terminal, bytes.data(), static_cast<std::size_t>(bytes.size()));
    vterm_screen_flush_damage(m_machine->screen);
    const QByteArray said = spoken();
    if (m_answers.size() + said.size() <= kMostAnswers)
        m_answers += said;
}

QByteArray TerminalScreen::spoken()
{
    return std::exchange(m_said, {});
}

QByteArray TerminalScreen::takeAnswers()
{
    return std::exchange(m_answers, {});
}

TerminalScreen::Damage TerminalScreen::takeDamage()
{
    return std::exchange(m_damage, {});
}

void TerminalScreen::damage(qint64 firstLine, qint64 endLine)
{
    const bool none = m_damage.firstLine == m_damage.endLine;
    m_damage.firstLine = none ? firstLine : std::min(m_damage.firstLine, firstLine);
    m_damage.endLine = none ? endLine : std::max(m_damage.endLine, endLine);
}

void TerminalScreen::hold(TerminalLine cells)
{
    const qint64 position = m_topPosition;
    m_topPosition += lengthOf(cells) + 1;
    m_held.push_back({std::move(cells), position});
    m_damage.scrolled = true;
    if (m_held.size() <= kMostHeld)
        return;
    m_held.pop_front();
    ++m_firstLine;
    m_firstPosition = m_held.front().position;
}

void TerminalScreen::resize(int rows, int columns)
{
    rows = std::clamp(rows, 1, kMostRows);
    columns = std::clamp(columns, 2, kMostColumns);
    if (rows == m_rows && columns == m_columns)
        return;
    vterm_set_size(m_machine->terminal, rows, columns);
    m_rows = rows;
    m_columns = columns;
    vterm_screen_flush_damage(m_machine->screen);
    VTermPos cursor;
    vterm_state_get_cursorpos(vterm_obtain_state(m_machine->terminal), &cursor);
    m_cursorRow = cursor.row;
    m_cursorColumn = cursor.col;
    damage(m_firstLine, endLine());
    m_damage.scrolled = true;
}

QByteArray TerminalScreen::keyBytes(Key key)
{
    constexpr std::array keys{VTERM_KEY_UP, VTERM_KEY_DOWN, VTERM_KEY_LEFT, VTERM_KEY_RIGHT,
        VTERM_KEY_HOME, VTERM_KEY_END};
    vterm_keyboard_key(m_machine->terminal, keys.at(static_cast<std::size_t>(key)), VTERM_MOD_NONE);
    return spoken();
}

QByteArray TerminalScreen::pasteBegin()
{
    vterm_keyboard_start_paste(m_machine->terminal);
    return spoken();
}

QByteArray TerminalScreen::pasteEnd()
{
    vterm_keyboard_end_paste(m_machine->terminal);
    return spoken();
}

TerminalScreen::Cursor TerminalScreen::cursor() const
{
    // The machine may name a place outside of a screen that has become smaller.
    return {topLine() + std::clamp(m_cursorRow, 0, m_rows - 1),
        std::clamp(m_cursorColumn, 0, m_columns - 1), m_cursorVisible};
}

TerminalLine TerminalScreen::screenLine(int row) const
{
    TerminalLine line;
    line.reserve(static_cast<std::size_t>(m_columns));
    for (int column = 0; column < m_columns; ++column) {
        VTermScreenCell cell{};
        if (vterm_screen_get_cell(m_machine->screen, {row, column}, &cell) == 0)
            break;
        line.push_back(cellOf(cell, m_machine->screen));
    }
    trim(line);
    return line;
}

TerminalLine TerminalScreen::line(qint64 number) const
{
    if (number < m_firstLine || number >= endLine())
        return {};
    if (number >= topLine())
        return screenLine(static_cast<int>(number - topLine()));
    return m_held[static_cast<std::size_t>(number - m_firstLine)].cells;
}

QString TerminalScreen::textOf(const TerminalLine& cells, int from, int to)
{
    QString text;
    qsizetype end = 0; // behind the last character that is no blank
    const auto last = std::min(static_cast<std::size_t>(std::max(to, 0)), cells.size());
    for (auto i = static_cast<std::size_t>(std::max(from, 0)); i < last; ++i) {
        const TerminalCell& cell = cells[i];
        if (cell.width == 0)
            continue;
        append(text, cell.character != 0 ? cell.character : U' ');
        for (const char32_t mark : cell.marks) {
            if (mark != 0)
                append(text, mark);
        }
        if (!isBlank(cell))
            end = text.size();
    }
    text.truncate(end);
    return text;
}

QString TerminalScreen::text(qint64 number, int from, int to) const
{
    return textOf(line(number), from, to);
}

int TerminalScreen::columnOf(const TerminalLine& line, qint64 offset)
{
    const int columns = static_cast<int>(line.size());
    for (int column = 0; column < columns; ++column) {
        const TerminalCell& cell = line[static_cast<std::size_t>(column)];
        if (cell.width == 0)
            continue;
        if (offset <= 0)
            return column;
        offset -= unitsOf(cell);
    }
    return columns;
}

qint64 TerminalScreen::positionOf(qint64 line) const
{
    if (line < m_firstLine)
        return m_firstPosition;
    if (line < topLine())
        return m_held[static_cast<std::size_t>(line - m_firstLine)].position;
    qint64 position = m_topPosition;
    for (qint64 number = topLine(); number < std::min(line, endLine()); ++number)
        position += text(number).size() + 1;
    return position;
}

qint64 TerminalScreen::lineAt(qint64 position) const
{
    if (position < m_topPosition) {
        const auto after = std::ranges::upper_bound(m_held, position, {}, &Held::position);
        return m_firstLine + std::max<qint64>(after - m_held.begin() - 1, 0);
    }
    qint64 start = m_topPosition;
    for (qint64 number = topLine(); number < endLine(); ++number) {
        start += text(number).size() + 1;
        if (position < start)
            return number;
    }
    return endLine() - 1;
}
