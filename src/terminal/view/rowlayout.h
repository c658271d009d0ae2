#pragma once

#include "terminal/view/rowstyle.h"

#include <QRgb>
#include <QString>
#include <QTextLayout>
#include <memory>
#include <vector>

class QPainter;

// How a stretch of a row is drawn.
struct RowSpan
{
    int from = 0;
    int to = 0;
    QRgb ink = 0;
    QRgb paper = 0; // 0: none, the background shows
};

// One piece of a line, broken into rows. Offsets are UTF-16 code units from the start of the
// piece, x is in pixels from the left end of the row. Western text in a font of one width is
// counted and drawn by columns, tabs included; anything else (marks, wide and right-to-left
// letters) is laid out as a paragraph of text. Immutable.
class RowLayout final
{
public:
    RowLayout(const QString& text, const std::shared_ptr<const RowStyle>& style);
    ~RowLayout();
    Q_DISABLE_COPY_MOVE(RowLayout)

    [[nodiscard]] bool isPlain() const { return !m_layout; }
    [[nodiscard]] int length() const { return static_cast<int>(m_text.size()); }
    // At least one row; the first starts at 0, each ends where the next starts.
    [[nodiscard]] int rowCount() const { return static_cast<int>(m_starts.size()); }
    [[nodiscard]] int rowStart(int row) const { return m_starts.at(static_cast<std::size_t>(row)); }
    [[nodiscard]] int rowEnd(int row) const;
    // Row that shows an offset; what stands between two rows belongs to the later one.
    [[nodiscard]] int rowOf(int offset) const;
    [[nodiscard]] double rowWidth(int row) const;

    // Where a caret in front of an offset stands, and the place between characters next to an x.
    [[nodiscard]] double xOf(int offset, int row) const;
    [[nodiscard]] int offsetAt(double x, int row) const;
    // The character under an x; rowEnd() behind the last one.
    [[nodiscard]] int characterAt(double x, int row) const;
    // Offsets of whole characters with their marks, 0 and length() at the ends.
    [[nodiscard]] int nextCharacter(int offset) const;
    [[nodiscard]] int previousCharacter(int offset) const;

    // Draws a row with its top left corner at a point, as far as it lies between the pixels
    // `left` and `right` of the painter. The spans cover the row, ascending, without gaps.
    void draw(QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans,
        double left, double right) const;

private:
    void breakPlain();
    void breakTabbed();
    void breakLayout();
    [[nodiscard]] int columnOf(int offset, int row) const;
    [[nodiscard]] int offsetOfColumn(double column, int row) const;
    [[nodiscard]] int plainBreak(int start) const;
    void drawPlain(QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans,
        double left, double right) const;
    void drawGlyphs(QPainter& painter, QPointF baseline, int row, int from, int to) const;
    void drawLayout(
        QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans) const;

    std::shared_ptr<const RowStyle> m_style;
    QString m_text;
    std::vector<int> m_starts;
    std::vector<int> m_columns; // where each character of a plain text with tabs starts in its row
    std::vector<int> m_rowColumns;         // and where each row of it ends
    std::unique_ptr<QTextLayout> m_layout; // null for plain text
};
