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
        : store_(store)
    {}

    // Of the palette's current colour group.
    void setPalette(const QPalette& palette);
    // Ascending, without overlap.
    void setMarks(QList<Mark> marks) { marks_ = std::move(marks); }
    [[nodiscard]] const QList<Mark>& marks() const { return marks_; }
    void setSelection(qint64 from, qint64 to);

    // With the row's top left corner at a point; what lies left and right of the two pixels need
    // not be drawn.
    void draw(QPainter& painter, const TextRow& row, const RowStyle& style, QPointF corner,
        double left, double right);

private:
    [[nodiscard]] std::vector<RowSpan> spansOf(const TextRow& row);
    [[nodiscard]] QRgb inkFor(QRgb color);

    const TextStore& store_;
    QList<Mark> marks_;
    qint64 selectedFrom_ = 0;
    qint64 selectedTo_ = 0;
    QColor base_;
    QRgb text_ = 0;
    QRgb selectedText_ = 0;
    QRgb selectedPaper_ = 0;
    QHash<QRgb, QRgb> inks_; // colours asked for and how they are drawn; bounded in inkFor()
};
