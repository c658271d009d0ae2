#include "terminal/view/receiveinput.h"

#include <QFontMetrics>
#include <QInputMethodEvent>
#include <QPainter>
#include <QPalette>
#include <algorithm>

namespace {

constexpr int caretWidth = 2;
// An input method that composes more than this is out of its mind.
constexpr qsizetype longestText = 1024;

} // namespace

void ReceiveInput::compose(const QInputMethodEvent& event)
{
    text_ = event.preeditString().left(longestText);
    caret_ = static_cast<int>(text_.size());
    QTextLayout::FormatRange all;
    all.length = caret_;
    all.format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    formats_ = {all};
    for (const QInputMethodEvent::Attribute& attribute : event.attributes()) {
        if (attribute.type == QInputMethodEvent::Cursor) {
            caret_ = attribute.length > 0 ? std::clamp(attribute.start, 0, caret_) : -1;
        } else if (attribute.type == QInputMethodEvent::TextFormat) {
            QTextLayout::FormatRange range;
            range.start = attribute.start;
            range.length = attribute.length;
            range.format = attribute.value.value<QTextFormat>().toCharFormat();
            formats_.append(range);
        }
    }
}

void ReceiveInput::cancel()
{
    text_.clear();
}

QPoint ReceiveInput::lay(const QRect& mark, const QRect& area, const QFont& font)
{
    layout_.clearLayout();
    layout_.setFont(font);
    layout_.setText(text_);
    layout_.setFormats(formats_);
    layout_.beginLayout();
    QTextLine line = layout_.createLine();
    line.setLineWidth(area.width());
    line.setPosition({0, QFontMetrics(font).ascent() - line.ascent()});
    layout_.endLayout();
    const int width = qCeil(line.naturalTextWidth()) + caretWidth;
    return {std::max(area.left(), std::min(mark.left(), area.right() - width)), mark.top()};
}

void ReceiveInput::draw(QPainter& painter, const QRect& mark, const QRect& area, const QFont& font,
    const QPalette& palette)
{
    if (!isComposing())
        return;
    const QPoint corner = lay(mark, area, font);
    const QTextLine line = layout_.lineAt(0);
    const QSize size(qCeil(line.naturalTextWidth()), mark.height());
    painter.fillRect(QRect(corner, size), palette.color(QPalette::Base));
    painter.setPen(palette.color(QPalette::Text));
    layout_.draw(&painter, corner);
    if (caret_ >= 0)
        painter.fillRect(caretArea(mark, area, font), palette.color(QPalette::Highlight));
}

QRect ReceiveInput::caretArea(const QRect& mark, const QRect& area, const QFont& font)
{
    if (!isComposing())
        return mark;
    const QPoint corner = lay(mark, area, font);
    const double x = layout_.lineAt(0).cursorToX(std::max(caret_, 0));
    return {corner.x() + qRound(x), mark.top(), caretWidth, mark.height()};
}
