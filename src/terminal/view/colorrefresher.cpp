#include "terminal/view/colorrefresher.h"

#include "terminal/view/textcontrast.h"

#include <QElapsedTimer>
#include <QTextBlock>
#include <QTextDocument>

namespace {

constexpr int wantedColor = QTextFormat::UserProperty;
constexpr int sliceBudgetMs = 5;
constexpr int blocksPerLook = 64;

struct Piece
{
    int position;
    int length;
    QTextCharFormat format;
};

} // namespace

ColorRefresher::ColorRefresher(QTextDocument& document, const QColor& background, QObject* parent)
    : QObject(parent)
    , document_(document)
    , background_(background)
{
    timer_.setInterval(0);
    connect(&timer_, &QTimer::timeout, this, &ColorRefresher::refreshSlice);
}

QTextCharFormat ColorRefresher::formatFor(const std::optional<QColor>& color) const
{
    QTextCharFormat format;
    if (!color || !color->isValid())
        return format;
    format.setProperty(wantedColor, *color);
    if (isReadable(*color, background_))
        format.setForeground(*color);
    return format;
}

void ColorRefresher::setBackground(const QColor& background)
{
    if (background == background_)
        return;
    background_ = background;
    if (!anyFormatChanges())
        return;
    next_ = QTextCursor(&document_);
    timer_.start();
}

bool ColorRefresher::anyFormatChanges() const
{
    const QList<QTextFormat> formats = document_.allFormats();
    return std::any_of(formats.cbegin(), formats.cend(),
        [this](const QTextFormat& format) { return changedFormat(format).has_value(); });
}

std::optional<QTextCharFormat> ColorRefresher::changedFormat(const QTextFormat& format) const
{
    if (!format.hasProperty(wantedColor))
        return std::nullopt;
    QTextCharFormat wanted = formatFor(format.colorProperty(wantedColor));
    if (wanted.hasProperty(QTextFormat::ForegroundBrush)
        == format.hasProperty(QTextFormat::ForegroundBrush))
        return std::nullopt;
    return wanted;
}

void ColorRefresher::refreshSlice()
{
    QElapsedTimer clock;
    clock.start();
    QTextBlock block = document_.findBlock(next_.position());
    QTextCursor edit(&document_);
    edit.beginEditBlock();
    while (block.isValid() && clock.elapsed() < sliceBudgetMs) {
        for (int looked = 0; block.isValid() && looked < blocksPerLook; ++looked) {
            refreshBlock(block);
            block = block.next();
        }
    }
    edit.endEditBlock();
    if (block.isValid())
        next_.setPosition(block.position());
    else
        timer_.stop();
}

void ColorRefresher::refreshBlock(const QTextBlock& block)
{
    QList<Piece> pieces;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        if (const auto format = changedFormat(fragment.charFormat()))
            pieces.append({fragment.position(), fragment.length(), *format});
    }
    QTextCursor cursor(&document_);
    for (const Piece& piece : pieces) {
        cursor.setPosition(piece.position);
        cursor.setPosition(piece.position + piece.length, QTextCursor::KeepAnchor);
        cursor.setCharFormat(piece.format);
    }
}
