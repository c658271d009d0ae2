#pragma once

#include "terminal/view/readingplace.h"
#include "terminal/view/rowindex.h"
#include "terminal/view/visiblerows.h"

#include <QObject>

class QAbstractScrollArea;
class QScrollBar;
class SteadyScrollBar;

// The scroll bars of the received text. The vertical one counts rows as rowindex.h does, while its
// steps and pages are rows as they are seen; the horizontal one goes as far as the widest row seen
// since lines are not wrapped. Owned by the area, whose frames call sync().
class ReceiveBars final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveBars)

public:
    // All must outlive this object.
    ReceiveBars(
        QAbstractScrollArea& area, const TextStore& store, ReadingPlace& place, TextFlow& flow);
    ~ReceiveBars() override;

    // Characters in a row that is as wide as the view.
    void setRowLength(qint64 characters) { m_index.setRowLength(characters); }
    void forgetWidth() { m_widest = 0; }
    // Shows where the rows in sight stand; wrapped rows need no horizontal bar.
    void sync(const VisibleRows& sight, bool wrapped);
    // Scrolls sideways when a part of a row is not in sight. Rows must not be wrapped.
    void reveal(const TextRow& row, qint64 from, qint64 to);

Q_SIGNALS:
    // The person moved the handle, and the place with it.
    void moved();
    // The person asked for steps; the bar takes its value from the sync() that follows.
    void rowsWanted(int rows);
    void pagesWanted(int pages);

private:
    void syncVertical(const VisibleRows& sight);
    void syncHorizontal();
    void barMoved(int value);
    void barAction(int action);
    [[nodiscard]] SteadyScrollBar& vertical() const;
    [[nodiscard]] QScrollBar& horizontal() const;
    [[nodiscard]] int room() const;

    QAbstractScrollArea& m_area;
    const TextStore& m_store;
    ReadingPlace& m_place;
    TextFlow& m_flow;
    RowIndex m_index;
    SteadyScrollBar* m_vertical; // the area's
    double m_widest = 0;
    bool m_syncing = false;
};
