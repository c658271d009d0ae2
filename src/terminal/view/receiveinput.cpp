#include "terminal/view/receiveinput.h"

#include <QFontMetrics>
#include <QInputMethodEvent>
#include <QPainter>
#include <QPalette>
#include <algorithm>

namespace {

constexpr int kCaretWidth = 2;
// An input method that composes more than this is out of its mind.
constexpr qsizetype kLongestText = 1024;

} // namespace

void ReceiveInput::compose(const QInputMethodEvent& event)
{
    m_text = event.preeditString().left(kLongestText);
    m_caret = static_cast<int>(m_text.size());
    QTextLayout::FormatRange all;
    all.length = m_caret;
    all.format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    m_formats = {all};
    for (const QInputMethodEvent::Attribute& attribute : event.attributes()) {
        if (attribute.type == QInputMethodEvent::Cursor) {
            m_caret = attribute.length > 0 ? std::clamp(attribute.start, 0, m_caret) : -1;
        } else if (attribute.type == QInputMethodEvent::TextFormat) {
            QTextLayout::FormatRange range;
            range.start = attribute.start;
            range.length = attribute.length;
            range.format = attribute.value.value<QTextFormat>().toCharFormat();
            m_formats.append(range);
        }
    }
}

void ReceiveInput::cancel()
{
    m_text.clear();
}

QPoint ReceiveInput::lay(const QRect& mark, const QRect& area, const QFont& font)
{
    m_layout.clearLayout();
    m_layout.setFont(font);
    m_layout.setText(m_text);
    m_layout.setFormats(m_formats);
    m_layout.beginLayout();
    QTextLine line = m_layout.createLine();
    line.setLineWidth(area.width());
    line.setPosition({0, QFontMetrics(font).ascent() - line.ascent()});
    m_layout.endLayout();
    const int width = qCeil(line.naturalTextWidth()) + kCaretWidth;
    return {std::max(area.left(), std::min(mark.left(), area.right() - width)), mark.top()};
}

void ReceiveInput::draw(QPainter& painter, const QRect& mark, const QRect& area, const QFont& font,
    const QPalette& palette)
{
    if (!isComposing())
        return;
    const QPoint corner = lay(mark, area, font);
    const QTextLine line = m_layout.lineAt(0);
    const QSize size(qCeil(line.naturalTextWidth()), mark.height());
    painter.fillRect(QRect(corner, size), palette.color(QPalette::Base));
    painter.setPen(palette.color(QPalette::Text));
    m_layout.draw(&painter, corner);
    if (m_caret >= 0)
        painter.fillRect(caretArea(mark, area, font), palette.color(QPalette::Highlight));
}

QRect ReceiveInput::caretArea(const QRect& mark, const QRect& area, const QFont& font)
{
    if (!isComposing())
        return mark;
    const QPoint corner = lay(mark, area, font);
    const double x = m_layout.lineAt(0).cursorToX(std::max(m_caret, 0));
    return {corner.x() + qRound(x), mark.top(), kCaretWidth, mark.height()};
}
