#pragma once

#include "terminal/view/textflow.h"

#include <QHash>
#include <QPalette>

class QPainter;

// Draws rows of the received text: colours of the text, marks of a search, the selection on top.
// A colour that cannot be read on the background is drawn in the palette's text colour.
class ReceivePainter final
{
public:
    struct Mark
    {
        qint64 from = 0;
        qint64 to = 0;
        bool current = false;

        bool operator==(const Mark&) const = default;
    };

    // The store must outlive this object.
    explicit ReceivePainter(const TextStore& store)
        : m_store(store)
    {}

    // Of the palette's current colour group.
    void setPalette(const QPalette& palette);
    // Ascending, without overlap.
    void setMarks(QList<Mark> marks) { m_marks = std::move(marks); }
    [[nodiscard]] const QList<Mark>& marks() const { return m_marks; }
    void setSelection(qint64 from, qint64 to);

    // With the row's top left corner at a point; what lies left and right of the two pixels need
    // not be drawn.
    void draw(QPainter& painter, const TextRow& row, const RowStyle& style, QPointF corner,
        double left, double right);

private:
    [[nodiscard]] std::vector<RowSpan> spansOf(const TextRow& row);
    [[nodiscard]] QRgb inkFor(QRgb color);

    const TextStore& m_store;
    QList<Mark> m_marks;
    qint64 m_selectedFrom = 0;
    qint64 m_selectedTo = 0;
    QColor m_base;
    QRgb m_text = 0;
    QRgb m_selectedText = 0;
    QRgb m_selectedPaper = 0;
    QHash<QRgb, QRgb> m_inks; // colours asked for and how they are drawn; bounded in inkFor()
};
