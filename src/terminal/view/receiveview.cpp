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
    return color && color->isValid() ? color->rgb() : TextChunk::noColor;
}

} // namespace

ReceiveView::ReceiveView(QWidget* parent)
    : QWidget(parent)
    , area_(new ReceiveArea(
          store_, [this] { return selectedText(); }, this))
{
    ReceiveAccessible::install();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area_);
    setFocusProxy(area_);
    area_->setAccessibleName(tr("Received data"));
    area_->setAccessibleDescription(
        tr("Keys typed here are sent to the device. Ctrl+Tab moves on to the next control."));
    keyboard_ = new ReceiveKeyboard(*this, *area_);
    connectArea();
    connectKeyboard();
    area_->setDisplayFont(resolveDisplayFont({}, 0));
}

ReceiveView::~ReceiveView()
{
    // Both read the text through this object.
    delete saver_;
    delete area_;
}

void ReceiveView::connectArea()
{
    connect(area_, &ReceiveArea::zoomRequested, this, &ReceiveView::zoomBy);
    connect(area_, &ReceiveArea::menuRequested, this, &ReceiveView::openMenu);
    connect(area_, &ReceiveArea::middleClicked, this, [this] {
        const QClipboard* clipboard = QGuiApplication::clipboard();
        if (clipboard->supportsSelection())
            pasteText(clipboard->text(QClipboard::Selection));
    });
    connect(this, &ReceiveView::frontAboutToBeRemoved, area_, &ReceiveArea::textAboutToBeRemoved);
    connect(area_, &ReceiveArea::selectionChanged, this, &ReceiveView::selectionChanged);
    connect(area_, &ReceiveArea::visibleRangeChanged, this, &ReceiveView::visibleRangeChanged);
}

void ReceiveView::connectKeyboard()
{
    connect(keyboard_, &ReceiveKeyboard::textTyped, this, &ReceiveView::textTyped);
    connect(keyboard_, &ReceiveKeyboard::enterTyped, this, &ReceiveView::enterTyped);
    connect(keyboard_, &ReceiveKeyboard::controlTyped, this, &ReceiveView::controlTyped);
}

void ReceiveView::appendText(const QString& text, const std::optional<QColor>& color)
{
    store_.append(text, colorIn(color));
    showAppended();
}

void ReceiveView::appendHexadecimal(
    const QString& text, const std::optional<QColor>& color, const QList<HexSpan>& bytes)
{
    const QRgb rgb = colorIn(color);
    const QStringView view(text);
    qsizetype at = 0;
    for (const HexSpan& span : bytes) {
        store_.append(view.sliced(at, span.from - at), rgb);
        store_.append(view.sliced(span.from, span.to - span.from), rgb, true);
        at = span.to;
    }
    store_.append(view.sliced(at), rgb);
    showAppended();
}

void ReceiveView::showAppended()
{
    if (forceScroll_)
        area_->scrollToEnd();
    forceScroll_ = false;
    area_->textAppended();
    Q_EMIT textAppended();
}

void ReceiveView::appendComplete()
{
    area_->textComplete();
}

void ReceiveView::trimFront(qint64 characters)
{
    const qint64 end = firstPosition() + std::clamp<qint64>(characters, 0, textLength());
    removeUpTo(store_.behindPair(end));
}

void ReceiveView::clearText()
{
    removeUpTo(endPosition());
    area_->scrollToEnd();
}

void ReceiveView::removeUpTo(qint64 end)
{
    if (end <= firstPosition())
        return;
    Q_EMIT frontAboutToBeRemoved(end);
    store_.removeUpTo(end);
    area_->textRemoved();
    Q_EMIT frontRemoved();
    Q_EMIT visibleRangeChanged();
}

void ReceiveView::forceScrollToEnd()
{
    forceScroll_ = true;
}

QString ReceiveView::textAt(qint64 position, qint64 count) const
{
    return store_.textAt(position, count);
}

bool ReceiveView::isAtBottom() const
{
    return area_->isAtBottom();
}

void ReceiveView::scrollToEnd()
{
    area_->scrollToEnd();
}

bool ReceiveView::hasSelection() const
{
    return !area_->selection().isEmpty();
}

qint64 ReceiveView::selectionLength() const
{
    return area_->selection().to() - area_->selection().from();
}

QString ReceiveView::selectedText() const
{
    const TextSelection& selected = area_->selection();
    return store_.textAt(selected.from(), selected.to() - selected.from());
}

void ReceiveView::selectAll()
{
    area_->select(firstPosition(), endPosition());
}

void ReceiveView::clearSelection()
{
    area_->clearSelection();
}

void ReceiveView::copy()
{
    if (hasSelection())
        QGuiApplication::clipboard()->setText(selectedText());
}

QByteArray ReceiveView::selectedBytes() const
{
    const TextSelection& selected = area_->selection();
    return hexBytesIn(store_, selected.from(), selected.to());
}

bool ReceiveView::hasSelectedBytes() const
{
    const TextSelection& selected = area_->selection();
    return !store_.bytesIn(selected.from(), selected.to()).isEmpty();
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
        area_->setDisplayFont(font);
}

QFont ReceiveView::displayFont() const
{
    return area_->font();
}

void ReceiveView::zoomBy(int points)
{
    QFont font = displayFont();
    // A font set in pixels has no size in points.
    const int now = font.pointSize() > 0 ? font.pointSize() : QFontInfo(font).pointSize();
    const int size = std::clamp(now + points, smallestPointSize, largestPointSize);
    if (size == now)
        return;
    font.setPointSize(size);
    setDisplayFont(font);
    Q_EMIT displayFontZoomed(font);
}

void ReceiveView::setLineWrap(bool wrap)
{
    if (wrap != lineWrap())
        area_->setLineWrap(wrap);
}

bool ReceiveView::lineWrap() const
{
    return area_->lineWrap();
}

void ReceiveView::setWrapAtBlanks(bool on)
{
    if (on != wrapsAtBlanks())
        area_->setWrapAtBlanks(on);
}

bool ReceiveView::wrapsAtBlanks() const
{
    return area_->wrapsAtBlanks();
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
    return area_->visibleRange();
}

std::vector<std::pair<qint64, qint64>> ReceiveView::visibleSpans() const
{
    return area_->visibleSpans();
}

void ReceiveView::setHighlights(const QList<Highlight>& highlights)
{
    QList<ReceivePainter::Mark> marks;
    marks.reserve(highlights.size());
    for (const Highlight& highlight : highlights)
        marks.append(
            {highlight.position, highlight.position + highlight.length, highlight.current});
    area_->setMarks(marks);
}

void ReceiveView::showPosition(qint64 position, qint64 length)
{
    const qint64 from = std::clamp(position, firstPosition(), endPosition());
    area_->showRange(from, std::clamp(position + length, from, endPosition()));
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
