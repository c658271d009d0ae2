#include "terminal/view/receiveview.h"

#include "terminal/view/displayfonts.h"
#include "terminal/view/hexbytes.h"
#include "terminal/view/receiveaccessible.h"
#include "terminal/view/receivearea.h"
#include "terminal/view/receivekeyboard.h"
#include "terminal/view/receivemenu.h"
#include "terminal/view/textsaver.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QVBoxLayout>
#include <algorithm>

namespace {

QRgb colorIn(const std::optional<QColor>& color)
{
    return color && color->isValid() ? color->rgb() : TextChunk::kNoColor;
}

} // namespace

ReceiveView::ReceiveView(QWidget* parent)
    : QWidget(parent)
    , m_area(new ReceiveArea(
          m_store, [this] { return selectedText(); }, this))
{
    ReceiveAccessible::install();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_area);
    setFocusProxy(m_area);
    m_area->setAccessibleName(tr("Received data"));
    m_area->setAccessibleDescription(
        tr("Keys typed here are sent to the device. Ctrl+Tab moves on to the next control."));
    m_keyboard = new ReceiveKeyboard(*this, *m_area);
    connectArea();
    connectKeyboard();
    m_area->setDisplayFont(resolveDisplayFont({}, 0));
}

ReceiveView::~ReceiveView()
{
    // Both read the text through this object.
    delete m_saver;
    delete m_area;
}

void ReceiveView::connectArea()
{
    connect(m_area, &ReceiveArea::zoomRequested, this, &ReceiveView::zoomBy);
    connect(m_area, &ReceiveArea::menuRequested, this, &ReceiveView::openMenu);
    connect(m_area, &ReceiveArea::middleClicked, this, [this] {
        const QClipboard* clipboard = QGuiApplication::clipboard();
        if (clipboard->supportsSelection())
            pasteText(clipboard->text(QClipboard::Selection));
    });
    connect(this, &ReceiveView::frontAboutToBeRemoved, m_area, &ReceiveArea::textAboutToBeRemoved);
    connect(m_area, &ReceiveArea::selectionChanged, this, &ReceiveView::selectionChanged);
    connect(m_area, &ReceiveArea::visibleRangeChanged, this, &ReceiveView::visibleRangeChanged);
}

void ReceiveView::connectKeyboard()
{
    connect(m_keyboard, &ReceiveKeyboard::textTyped, this, &ReceiveView::textTyped);
    connect(m_keyboard, &ReceiveKeyboard::enterTyped, this, &ReceiveView::enterTyped);
    connect(m_keyboard, &ReceiveKeyboard::controlTyped, this, &ReceiveView::controlTyped);
}

void ReceiveView::appendText(const QString& text, const std::optional<QColor>& color)
{
    m_store.append(text, colorIn(color));
    showAppended();
}

void ReceiveView::appendHexadecimal(
    const QString& text, const std::optional<QColor>& color, const QList<HexSpan>& bytes)
{
    const QRgb rgb = colorIn(color);
    const QStringView view(text);
    qsizetype at = 0;
    for (const HexSpan& span : bytes) {
        m_store.append(view.sliced(at, span.from - at), rgb);
        m_store.append(view.sliced(span.from, span.to - span.from), rgb, true);
        at = span.to;
    }
    m_store.append(view.sliced(at), rgb);
    showAppended();
}

void ReceiveView::showAppended()
{
    if (m_forceScroll)
        m_area->scrollToEnd();
    m_forceScroll = false;
    m_area->textAppended();
    Q_EMIT textAppended();
}

void ReceiveView::appendComplete()
{
    m_area->textComplete();
}

void ReceiveView::trimFront(qint64 characters)
{
    const qint64 end = firstPosition() + std::clamp<qint64>(characters, 0, textLength());
    removeUpTo(m_store.behindPair(end));
}

void ReceiveView::clearText()
{
    removeUpTo(endPosition());
    m_area->scrollToEnd();
}

void ReceiveView::removeUpTo(qint64 end)
{
    if (end <= firstPosition())
        return;
    Q_EMIT frontAboutToBeRemoved(end);
    m_store.removeUpTo(end);
    m_area->textRemoved();
    Q_EMIT frontRemoved();
    Q_EMIT visibleRangeChanged();
}

void ReceiveView::forceScrollToEnd()
{
    m_forceScroll = true;
}

QString ReceiveView::textAt(qint64 position, qint64 count) const
{
    return m_store.textAt(position, count);
}

bool ReceiveView::isAtBottom() const
{
    return m_area->isAtBottom();
}

void ReceiveView::scrollToEnd()
{
    m_area->scrollToEnd();
}

bool ReceiveView::hasSelection() const
{
    return !m_area->selection().isEmpty();
}

qint64 ReceiveView::selectionLength() const
{
    return m_area->selection().to() - m_area->selection().from();
}

QString ReceiveView::selectedText() const
{
    const TextSelection& selected = m_area->selection();
    return m_store.textAt(selected.from(), selected.to() - selected.from());
}

void ReceiveView::selectAll()
{
    m_area->select(firstPosition(), endPosition());
}

void ReceiveView::clearSelection()
{
    m_area->clearSelection();
}

void ReceiveView::copy()
{
    if (hasSelection())
        QGuiApplication::clipboard()->setText(selectedText());
}

QByteArray ReceiveView::selectedBytes() const
{
    const TextSelection& selected = m_area->selection();
    return hexBytesIn(m_store, selected.from(), selected.to());
}

bool ReceiveView::hasSelectedBytes() const
{
    const TextSelection& selected = m_area->selection();
    return !m_store.bytesIn(selected.from(), selected.to()).isEmpty();
}

void ReceiveView::copyBytes()
{
    const QByteArray bytes = selectedBytes();
    if (bytes.isEmpty())
        return;
    auto content = std::make_unique<QMimeData>();
    content->setData(QStringLiteral("application/octet-stream"), bytes);
    content->setText(QString::fromUtf8(bytes));
    QGuiApplication::clipboard()->setMimeData(content.release());
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
        m_area->setDisplayFont(font);
}

QFont ReceiveView::displayFont() const
{
    return m_area->font();
}

void ReceiveView::zoomBy(int points)
{
    QFont font = displayFont();
    // A font set in pixels has no size in points.
    const int now = font.pointSize() > 0 ? font.pointSize() : QFontInfo(font).pointSize();
    const int size = std::clamp(now + points, kSmallestPointSize, kLargestPointSize);
    if (size == now)
        return;
    font.setPointSize(size);
    setDisplayFont(font);
    Q_EMIT displayFontZoomed(font);
}

void ReceiveView::setLineWrap(bool wrap)
{
    if (wrap != lineWrap())
        m_area->setLineWrap(wrap);
}

bool ReceiveView::lineWrap() const
{
    return m_area->lineWrap();
}

void ReceiveView::setWrapAtBlanks(bool on)
{
    if (on != wrapsAtBlanks())
        m_area->setWrapAtBlanks(on);
}

bool ReceiveView::wrapsAtBlanks() const
{
    return m_area->wrapsAtBlanks();
}

void ReceiveView::setTypingEnabled(bool enabled)
{
    m_keyboard->setTypingEnabled(enabled);
}

bool ReceiveView::isTypingEnabled() const
{
    return m_keyboard->isTypingEnabled();
}

std::pair<qint64, qint64> ReceiveView::visibleRange() const
{
    return m_area->visibleRange();
}

std::vector<std::pair<qint64, qint64>> ReceiveView::visibleSpans() const
{
    return m_area->visibleSpans();
}

void ReceiveView::setHighlights(const QList<Highlight>& highlights)
{
    QList<ReceivePainter::Mark> marks;
    marks.reserve(highlights.size());
    for (const Highlight& highlight : highlights)
        marks.append(
            {highlight.position, highlight.position + highlight.length, highlight.current});
    m_area->setMarks(marks);
}

void ReceiveView::showPosition(qint64 position, qint64 length)
{
    const qint64 from = std::clamp(position, firstPosition(), endPosition());
    m_area->showRange(from, std::clamp(position + length, from, endPosition()));
}

bool ReceiveView::saveTextAs(const QString& path)
{
    if (m_saver)
        return false;
    m_saver = new TextSaver(*this, path, this);
    connect(this, &ReceiveView::frontAboutToBeRemoved, m_saver, &TextSaver::keepBeforeRemoval);
    connect(m_saver, &TextSaver::finished, this, [this](bool ok, const QString& errorText) {
        m_saver->deleteLater();
        m_saver.clear();
        Q_EMIT saveFinished(ok, errorText);
    });
    m_saver->start();
    return true;
}

void ReceiveView::openMenu(const QPoint& globalPosition)
{
    makeReceiveMenu(*this)->popup(globalPosition);
}

// Keys that the drawing widget passed up have been refused already and are so again.
void ReceiveView::keyPressEvent(QKeyEvent* event)
{
    event->setAccepted(m_keyboard->press(*event));
}
