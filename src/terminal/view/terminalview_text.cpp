// The terminal view as a text: what is selected, searched and marked in it, mouse and menu.
#include "terminal/view/steadyscrollbar.h"
#include "terminal/view/terminalview.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <algorithm>

qint64 TerminalView::firstPosition() const
{
    return m_screen.positionOf(m_screen.firstLine());
}

qint64 TerminalView::endPosition() const
{
    return m_screen.positionOf(m_screen.endLine());
}

QString TerminalView::textAt(qint64 position, qint64 count) const
{
    position = std::max(position, firstPosition());
    qint64 line = m_screen.lineAt(position);
    const qint64 skipped = position - m_screen.positionOf(line);
    QString text;
    for (; line < m_screen.endLine() && text.size() < skipped + count; ++line)
        text += m_screen.text(line) + u'\n';
    return text.mid(skipped, count);
}

std::pair<qint64, qint64> TerminalView::visibleRange() const
{
    const qint64 end = std::min(m_top + pageRows(), m_screen.endLine());
    return {m_screen.positionOf(m_top), m_screen.positionOf(end)};
}

std::vector<std::pair<qint64, qint64>> TerminalView::visibleSpans() const
{
    std::vector<std::pair<qint64, qint64>> spans;
    qint64 position = m_screen.positionOf(m_top);
    const qint64 end = std::min(m_top + pageRows(), m_screen.endLine());
    for (qint64 line = m_top; line < end; ++line) {
        const qint64 length = m_screen.text(line).size();
        if (length > 0)
            spans.emplace_back(position, position + length);
        position += length + 1;
    }
    return spans;
}

void TerminalView::setHighlights(const QList<Highlight>& highlights)
{
    m_marks.clear();
    for (const Highlight& highlight : highlights) {
        const qint64 number = m_screen.lineAt(highlight.position);
        const TerminalLine line = m_screen.line(number);
        const qint64 offset = highlight.position - m_screen.positionOf(number);
        m_marks[number].append({TerminalScreen::columnOf(line, offset),
            TerminalScreen::columnOf(line, offset + highlight.length), highlight.current});
    }
    viewport()->update();
}

void TerminalView::showPosition(qint64 position, qint64 /*length*/)
{
    const qint64 line = m_screen.lineAt(position);
    if (line < m_top || line >= m_top + pageRows())
        scrollTo(line - pageRows() / 2);
    m_following = m_following && m_top == lastTop();
}

std::pair<TerminalView::Place, TerminalView::Place> TerminalView::selection() const
{
    return std::minmax(m_anchor, m_cursor);
}

QString TerminalView::selectedText() const
{
    const auto [from, to] = selection();
    QStringList lines;
    for (qint64 line = std::max(from.line, m_screen.firstLine()); from < to && line <= to.line;
         ++line)
        lines.append(m_screen.text(line, line == from.line ? from.column : 0,
            line == to.line ? to.column : TerminalScreen::kMostColumns));
    return lines.join(u'\n');
}

void TerminalView::select(Place anchor, Place cursor)
{
    m_anchor = anchor;
    m_cursor = cursor;
    viewport()->update();
}

void TerminalView::selectAll()
{
    select({m_screen.firstLine(), 0}, {m_screen.endLine() - 1, m_screen.columns()});
}

void TerminalView::selectWordAt(Place place)
{
    const TerminalLine line = m_screen.line(place.line);
    const auto isWord = [&line](int column) {
        if (column < 0 || column >= static_cast<int>(line.size()))
            return false;
        const TerminalCell& cell = line[static_cast<std::size_t>(column)];
        // Names of files and addresses are words.
        constexpr std::u32string_view joining = U"_-./:~@+%";
        return cell.width == 0 || QChar::isLetterOrNumber(cell.character)
               || joining.find(cell.character) != std::u32string_view::npos;
    };
    int from = place.column;
    int to = place.column + 1;
    while (isWord(place.column) && isWord(from - 1))
        --from;
    while (isWord(place.column) && isWord(to))
        ++to;
    select({place.line, from}, {place.line, to});
}

void TerminalView::copy()
{
    if (const QString text = selectedText(); !text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void TerminalView::pasteClipboard()
{
    paste(QApplication::clipboard()->text());
}

void TerminalView::paste(const QString& text)
{
    QString normal = text;
    normal.replace(QLatin1StringView("\r\n"), QLatin1StringView("\n")).replace(u'\r', u'\n');
    // Nothing that is pasted may end what the device takes for pasted, or control it otherwise.
    normal.removeIf(
        [](QChar c) { return c.category() == QChar::Other_Control && c != u'\n' && c != u'\t'; });
    if (normal.isEmpty())
        return;
    scrollTo(lastTop());
    if (const QByteArray begin = m_screen.pasteBegin(); !begin.isEmpty())
        Q_EMIT controlTyped(begin);
    Q_EMIT textTyped(normal);
    if (const QByteArray end = m_screen.pasteEnd(); !end.isEmpty())
        Q_EMIT controlTyped(end);
}

void TerminalView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::MiddleButton && QApplication::clipboard()->supportsSelection())
        paste(QApplication::clipboard()->text(QClipboard::Selection));
    if (event->button() != Qt::LeftButton)
        return;
    const Place place = placeAt(event->pos());
    if (m_sinceDoubleClick.isValid()
        && m_sinceDoubleClick.elapsed() < QApplication::doubleClickInterval()) {
        select({place.line, 0}, {place.line, m_screen.columns()});
        return;
    }
    m_selecting = true;
    const bool extend = event->modifiers().testFlag(Qt::ShiftModifier);
    select(extend ? m_anchor : place, place);
}

void TerminalView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_selecting)
        return;
    if (event->pos().y() < 0 || event->pos().y() > viewport()->height())
        scrollBy(event->pos().y() < 0 ? -1 : 1);
    select(m_anchor, placeAt(event->pos()));
}

void TerminalView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_selecting = false;
    const QString text = selectedText();
    if (!text.isEmpty() && QApplication::clipboard()->supportsSelection())
        QApplication::clipboard()->setText(text, QClipboard::Selection);
}

void TerminalView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_sinceDoubleClick.start();
    selectWordAt(placeAt(event->pos()));
}

void TerminalView::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const QString& text, const QKeySequence& keys, auto&& triggered) {
        QAction* action = menu->addAction(text);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetShortcut);
        action->setShortcutVisibleInContextMenu(true);
        connect(action, &QAction::triggered, this, std::forward<decltype(triggered)>(triggered));
        return action;
    };
    constexpr auto keys = Qt::CTRL | Qt::SHIFT;
    add(tr("&Copy"), keys | Qt::Key_C, [this] { copy(); })->setEnabled(selectionLength() > 0);
    add(tr("&Paste"), keys | Qt::Key_V, [this] { pasteClipboard(); });
    add(tr("Select &All"), keys | Qt::Key_A, [this] { selectAll(); });
    menu->addSeparator();
    add(tr("&Find..."), keys | Qt::Key_F, [this] { Q_EMIT findRequested(); });
    add(tr("C&lear"), keys | Qt::Key_L, [this] { Q_EMIT clearRequested(); });
    menu->addSeparator();
    QAction* del = add(tr("&Backspace Sends DEL"), {}, [this](bool on) {
        setBackspaceDel(on);
        Q_EMIT backspaceDelChosen(on);
    });
    del->setCheckable(true);
    del->setChecked(m_backspaceDel);
    QAction* fixed = add(tr("24 &Rows of 80 Columns"), {}, [this](bool on) {
        setFixedSize24x80(on);
        Q_EMIT fixedSizeChosen(on);
    });
    fixed->setCheckable(true);
    fixed->setChecked(m_fixed);
    menu->popup(event->globalPos());
}
