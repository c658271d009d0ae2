#pragma once

#include <QList>
#include <QPointer>
#include <QScrollArea>
#include <QWidget>
#include <map>

class QSplitter;

// The room for the panes: as large as the window leaves, and scrolled when the panes' least sizes
// together are larger than that. Sixteen panes side by side thus never make the window wider than
// the screen.
class PortArea final : public QScrollArea
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortArea)

public:
    // Takes the content over.
    explicit PortArea(QWidget* content, QWidget* parent = nullptr);
    ~PortArea() override = default;

    // Scrolls to the pane now, and again whenever the panes are arranged anew: a pane that was just
    // added has no place yet.
    void follow(QWidget* pane);

    // The content's, up to a size that every screen has.
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showFollowed();

    QPointer<QWidget> m_followed;
};

// The panes' places in the main window: rows of one vertical splitter ("portSplitter"), each a
// horizontal splitter ("portRowSplitter0", ...). Takes any widgets and owns them through their
// parent. Sizes that were dragged by hand survive a rebuild of the same shape.
class PortGrid final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortGrid)

public:
    explicit PortGrid(QWidget* parent = nullptr);
    ~PortGrid() override = default;

    // Puts pane i into row i / columns at position i mod columns and shows it. Never more columns
    // than there are panes, never less than one.
    void rebuild(const QList<QWidget*>& panes, int wantedColumns);
    // Leaves all of the room to one pane, null for all panes in their places and sizes again. The
    // next rebuild ends it.
    void zoom(QWidget* pane);
    // The next build shares the room equally.
    void forgetSizes();

private:
    [[nodiscard]] QSplitter* rowSplitter(int row);
    [[nodiscard]] QSplitter* makeSplitter(Qt::Orientation orientation, const QString& name);
    void shareEqually();
    void captureSizes();
    void restoreSizes();

    static constexpr int kHandleWidth = 8;

    QSplitter* m_outer;
    QList<QSplitter*> m_rows; // kept when not needed, at most one per pane slot
    QSize m_shape;            // columns x rows of the last build
    std::map<QSplitter*, QList<int>> m_sizes;
    bool m_zoomed = false;
};
