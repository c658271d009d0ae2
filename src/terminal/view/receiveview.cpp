#include "terminal/view/receiveview.h"

#include "app/settings/displayfonts.h"
#include "terminal/view/colorrefresher.h"
#include "terminal/view/receiveedit.h"
#include "terminal/view/receivekeyboard.h"
#include "terminal/view/receivemenu.h"
#include "terminal/view/textsaver.h"

#include <QClipboard>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTextBlock>
#include <QVBoxLayout>
#include <algorithm>

namespace {

constexpr int tabColumns = 8;
constexpr int smallestColumns = 20;
constexpr int smallestRows = 4;

// Characters that a text document takes for the end of a line though they are none here.
QString withoutDocumentMarks(QString text)
{
    for (const char16_t mark : {u'\u2029', u'\uFDD0', u'\uFDD1'})
        text.replace(mark, QChar::ReplacementCharacter);
    return text;
}

// Marker pens on paper: dark text on a light mark is read on light and dark backgrounds alike.
QTextCharFormat markFormat(bool current)
{
    constexpr QRgb pale = 0xFFFFE27A;
    constexpr QRgb strong = 0xFFFF9A3C;
    QTextCharFormat format;
    format.setBackground(QColor::fromRgb(current ? strong : pale));
    format.setForeground(Qt::black);
    return format;
}

} // namespace

ReceiveView::ReceiveView(QWidget* parent)
    : QWidget(parent)
    , edit_(new ReceiveEdit([this] { return selectedText(); }, this))
{
    colors_ = new ColorRefresher(
        *edit_->document(), edit_->palette().color(QPalette::Active, QPalette::Base), this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(edit_);
    setFocusProxy(edit_);
    edit_->setAccessibleName(tr("Received data"));
    edit_->setAccessibleDescription(
        tr("Keys typed here are sent to the device. Ctrl+Tab moves on to the next control."));
    keyboard_ = new ReceiveKeyboard(*this, *edit_);
    connectEdit();
    connectKeyboard();
    applyFont(resolveDisplayFont({}, 0));
}

ReceiveView::~ReceiveView()
{
    // The saver reads the text through this object.
    delete saver_;
}

void ReceiveView::connectEdit()
{
    connect(edit_, &ReceiveEdit::zoomRequested, this, &ReceiveView::zoomBy);
    connect(edit_, &ReceiveEdit::menuRequested, this, &ReceiveView::openMenu);
    connect(edit_, &ReceiveEdit::middleClicked, this, [this] {
        const QClipboard* clipboard = QGuiApplication::clipboard();
        if (clipboard->supportsSelection())
            pasteText(clipboard->text(QClipboard::Selection));
    });
    connect(edit_, &ReceiveEdit::paletteChanged, this, [this] {
        colors_->setBackground(edit_->palette().color(QPalette::Active, QPalette::Base));
    });
    connect(edit_, &QPlainTextEdit::selectionChanged, this, &ReceiveView::selectionChanged);
    connect(edit_, &ReceiveEdit::resized, this, &ReceiveView::visibleRangeChanged);
    connect(edit_->verticalScrollBar(), &QScrollBar::valueChanged, this,
        &ReceiveView::visibleRangeChanged);
}

void ReceiveView::connectKeyboard()
{
    connect(keyboard_, &ReceiveKeyboard::textTyped, this, &ReceiveView::textTyped);
    connect(keyboard_, &ReceiveKeyboard::enterTyped, this, &ReceiveView::enterTyped);
    connect(keyboard_, &ReceiveKeyboard::controlTyped, this, &ReceiveView::controlTyped);
}

void ReceiveView::appendText(const QString& text, const std::optional<QColor>& color)
{
    const bool follow = edit_->isAtBottom() || forceScroll_;
    insertAtEnd(text, color);
    if (follow)
        edit_->scrollToBottom();
    forceScroll_ = false;
    Q_EMIT textAppended();
}

void ReceiveView::insertAtEnd(const QString& text, const std::optional<QColor>& color)
{
    const qint64 rowLength = edit_->document()->lastBlock().length() - 1;
    const QString rows = breaks_.fold(withoutDocumentMarks(text), endPosition(), rowLength);
    edit_->append(rows, colors_->formatFor(color));
}

void ReceiveView::trimFront(qint64 characters)
{
    removeUpTo(removed_ + std::clamp<qint64>(characters, 0, textLength()));
}

void ReceiveView::clearText()
{
    removeUpTo(endPosition());
    edit_->scrollToBottom();
}

void ReceiveView::removeUpTo(qint64 end)
{
    if (end <= removed_)
        return;
    Q_EMIT frontAboutToBeRemoved(end);
    edit_->removeFront(static_cast<int>(breaks_.startInDocument(end)));
    breaks_.removeUpTo(end);
    removed_ = end;
    Q_EMIT frontRemoved();
    Q_EMIT visibleRangeChanged();
}

qint64 ReceiveView::textLength() const
{
    return edit_->document()->characterCount() - 1 - breaks_.count();
}

void ReceiveView::forceScrollToEnd()
{
    forceScroll_ = true;
}

QString ReceiveView::textAt(qint64 position, qint64 count) const
{
    const qint64 from = std::clamp(position, firstPosition(), endPosition());
    const qint64 to = std::clamp(position + std::min(count, textLength()), from, endPosition());
    QTextCursor cursor(edit_->document());
    cursor.setPosition(static_cast<int>(breaks_.startInDocument(from)));
    cursor.setPosition(static_cast<int>(breaks_.endInDocument(to)), QTextCursor::KeepAnchor);
    QString text = cursor.selectedText();
    breaks_.unfold(text, from);
    text.replace(QChar::ParagraphSeparator, u'\n');
    return text;
}

bool ReceiveView::isAtBottom() const
{
    return edit_->isAtBottom();
}

void ReceiveView::scrollToEnd()
{
    edit_->scrollToBottom();
}

bool ReceiveView::hasSelection() const
{
    return edit_->textCursor().hasSelection();
}

QString ReceiveView::selectedText() const
{
    const QTextCursor cursor = edit_->textCursor();
    const qint64 from = breaks_.toPosition(cursor.selectionStart());
    return textAt(from, breaks_.toPosition(cursor.selectionEnd()) - from);
}

void ReceiveView::selectAll()
{
    edit_->select(0, edit_->document()->characterCount() - 1);
}

void ReceiveView::clearSelection()
{
    const int character = edit_->textCursor().position();
    edit_->select(character, character);
}

void ReceiveView::copy()
{
    if (hasSelection())
        QGuiApplication::clipboard()->setText(selectedText());
}

void ReceiveView::paste()
{
    pasteText(QGuiApplication::clipboard()->text());
}

void ReceiveView::pasteText(const QString& text)
{
    QString normal = text;
    normal.replace(QLatin1StringView("\r\n"), QLatin1StringView("\n")).replace(u'\r', u'\n');
    if (isTypingEnabled() && !normal.isEmpty())
        Q_EMIT textTyped(normal);
}

void ReceiveView::setDisplayFont(const QFont& font)
{
    if (font != displayFont())
        applyFont(font);
}

void ReceiveView::applyFont(const QFont& font)
{
    const ReceiveEdit::Place place = edit_->place();
    edit_->setFont(font);
    const QFontMetricsF metrics(font);
    const double column = metrics.horizontalAdvance(u'0');
    edit_->setTabStopDistance(tabColumns * column);
    edit_->setMinimumSize(
        qRound(smallestColumns * column), qRound(smallestRows * metrics.height()));
    edit_->restore(place);
}

QFont ReceiveView::displayFont() const
{
    return edit_->font();
}

void ReceiveView::zoomBy(int points)
{
    QFont font = displayFont();
    const int size = std::clamp(font.pointSize() + points, smallestPointSize, largestPointSize);
    if (size == font.pointSize())
        return;
    font.setPointSize(size);
    setDisplayFont(font);
    Q_EMIT displayFontZoomed(font);
}

void ReceiveView::setLineWrap(bool wrap)
{
    if (wrap == lineWrap())
        return;
    const ReceiveEdit::Place place = edit_->place();
    edit_->setLineWrapMode(wrap ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
    edit_->restore(place);
    Q_EMIT visibleRangeChanged();
}

void ReceiveView::setWrapAtBlanks(bool on)
{
    const auto mode = on ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::WrapAnywhere;
    if (edit_->wordWrapMode() != mode)
        edit_->setWordWrapMode(mode);
}

bool ReceiveView::lineWrap() const
{
    return edit_->lineWrapMode() == QPlainTextEdit::WidgetWidth;
}

void ReceiveView::setTypingEnabled(bool enabled)
{
    keyboard_->setTypingEnabled(enabled);
}

bool ReceiveView::isTypingEnabled() const
{
    return keyboard_->isTypingEnabled();
}

std::pair<qint64, qint64> ReceiveView::visibleRange() const
{
    return {breaks_.toPosition(edit_->firstVisibleCharacter()),
        breaks_.toPosition(edit_->lastVisibleCharacter())};
}

void ReceiveView::setHighlights(const QList<Highlight>& highlights)
{
    QList<QTextEdit::ExtraSelection> selections;
    selections.reserve(highlights.size());
    for (const Highlight& highlight : highlights) {
        QTextEdit::ExtraSelection selection{QTextCursor(edit_->document()), {}};
        const qint64 from = std::clamp(highlight.position, firstPosition(), endPosition());
        const qint64 to = std::clamp(highlight.position + highlight.length, from, endPosition());
        selection.cursor.setPosition(static_cast<int>(breaks_.startInDocument(from)));
        selection.cursor.setPosition(
            static_cast<int>(breaks_.endInDocument(to)), QTextCursor::KeepAnchor);
        selection.format = markFormat(highlight.current);
        selections.append(selection);
    }
    edit_->setExtraSelections(selections);
}

void ReceiveView::showPosition(qint64 position, qint64 length)
{
    const qint64 from = std::clamp(position, firstPosition(), endPosition());
    const qint64 to = std::clamp(position + length, from, endPosition());
    const qint64 start = breaks_.startInDocument(from);
    edit_->scrollToCharacter(
        static_cast<int>(start), static_cast<int>(breaks_.endInDocument(to) - start));
}

bool ReceiveView::saveTextAs(const QString& path)
{
    if (saver_)
        return false;
    saver_ = new TextSaver(*this, path, this);
    connect(this, &ReceiveView::frontAboutToBeRemoved, saver_, &TextSaver::keepBeforeRemoval);
    connect(saver_, &TextSaver::finished, this, [this](bool ok, const QString& errorText) {
        saver_->deleteLater();
        saver_.clear();
        Q_EMIT saveFinished(ok, errorText);
    });
    saver_->start();
    return true;
}

void ReceiveView::openMenu(const QPoint& globalPosition)
{
    makeReceiveMenu(*this)->popup(globalPosition);
}

// Keys that the drawing widget passed up have been refused already and are so again.
void ReceiveView::keyPressEvent(QKeyEvent* event)
{
    event->setAccepted(keyboard_->press(*event));
}
