#include "app/portgrid.h"

#include <QEvent>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize kLargestMinimum(640, 400);

} // namespace

PortArea::PortArea(QWidget* content, QWidget* parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setWidget(content);
    content->installEventFilter(this);
}

void PortArea::follow(QWidget* pane)
{
    m_followed = pane;
    showFollowed();
}

void PortArea::showFollowed()
{
    if (m_followed)
        ensureWidgetVisible(m_followed, 0, 0);
}

QSize PortArea::minimumSizeHint() const
{
    return widget()->minimumSizeHint().boundedTo(kLargestMinimum);
}

bool PortArea::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    // After the content has laid out its new size.
    if (watched == widget() && event->type() == QEvent::Resize)
        QMetaObject::invokeMethod(this, &PortArea::showFollowed, Qt::QueuedConnection);
    return QScrollArea::eventFilter(watched, event);
}

PortGrid::PortGrid(QWidget* parent)
    : QWidget(parent)
    , m_outer(makeSplitter(Qt::Vertical, u"portSplitter"_s))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_outer);
}

void PortGrid::rebuild(const QList<QWidget*>& panes, int wantedColumns)
{
    QWidget* focus = window()->focusWidget();
    zoom(nullptr);
    const int count = static_cast<int>(panes.size());
    const int columns = std::max(std::min(wantedColumns, count), 1);
    const QSize shape(columns, (count + columns - 1) / columns);
    for (int i = 0; i < count; ++i) {
        QSplitter* row = rowSplitter(i / columns);
        QWidget* pane = panes.at(i);
        if (row->indexOf(pane) != i % columns)
            row->insertWidget(i % columns, pane);
        row->setCollapsible(i % columns, false);
        pane->show();
    }
    for (int row = 0; row < m_rows.size(); ++row)
        m_rows.at(row)->setVisible(row < shape.height());
    if (shape != m_shape) {
        forgetSizes();
        shareEqually();
    }
    m_shape = shape;
    restoreSizes();
    // A pane that moves to another row loses it to the next widget, the run button of some other
    // pane.
    if (focus != nullptr && isAncestorOf(focus))
        focus->setFocus();
}

// The splitters remember the sizes of what is hidden. The pane is shown before the others go: a
// focus that goes with them has somewhere to go.
void PortGrid::zoom(QWidget* pane)
{
    if (pane == nullptr && !m_zoomed)
        return;
    m_zoomed = pane != nullptr;
    if (m_zoomed) {
        pane->parentWidget()->show();
        pane->show();
    }
    for (qsizetype at = 0; at < m_rows.size(); ++at) {
        QSplitter* row = m_rows.at(at);
        for (int i = 0; i < row->count(); ++i)
            row->widget(i)->setVisible(!m_zoomed || row->widget(i) == pane);
        row->setVisible(m_zoomed ? row == pane->parentWidget() : at < m_shape.height());
    }
}

void PortGrid::forgetSizes()
{
    m_sizes.clear();
    m_shape = {};
}

QSplitter* PortGrid::rowSplitter(int row)
{
    while (m_rows.size() <= row) {
        QSplitter* splitter =
            makeSplitter(Qt::Horizontal, u"portRowSplitter%1"_s.arg(m_rows.size()));
        m_outer->addWidget(splitter);
        m_rows.append(splitter);
    }
    return m_rows.at(row);
}

QSplitter* PortGrid::makeSplitter(Qt::Orientation orientation, const QString& name)
{
    auto* splitter = new QSplitter(orientation, this);
    splitter->setObjectName(name);
    splitter->setChildrenCollapsible(false);
    splitter->setHandleWidth(kHandleWidth);
    connect(splitter, &QSplitter::splitterMoved, this, &PortGrid::captureSizes);
    return splitter;
}

// What is new to a splitter gets what its contents ask for, which is little for an empty pane.
void PortGrid::shareEqually()
{
    for (QSplitter* splitter : QList{m_outer} + m_rows) {
        // More than there is, so that only the proportions count.
        if (const int count = splitter->count(); count > 0)
            splitter->setSizes(QList<int>(count, QWIDGETSIZE_MAX / count));
    }
}

void PortGrid::captureSizes()
{
    m_sizes[m_outer] = m_outer->sizes();
    for (QSplitter* row : m_rows)
        m_sizes[row] = row->sizes();
}

void PortGrid::restoreSizes()
{
    for (const auto& [splitter, sizes] : m_sizes)
        splitter->setSizes(sizes);
}
