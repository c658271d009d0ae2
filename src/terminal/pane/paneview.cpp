#include "terminal/pane/paneview.h"

#include "settings/formatsetting.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/controllinerow.h"
#include "terminal/pane/noticebar.h"
#include "terminal/pane/panestatusline.h"
#include "terminal/pane/peerpanel.h"
#include "terminal/pane/quicksettingslayout.h"
#include "terminal/pane/receivepanel.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/pane/sendpanel.h"
#include "terminal/pane/settingscolumn.h"
#include "terminal/view/findbar.h"
#include "terminal/view/receiveview.h"
#include "transfer/ui/filetransferbar.h"

#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kMargin = 8;
constexpr int kViewShare = 4; // the receive view gets four fifths of the terminal's height

} // namespace

PaneView::PaneView(QWidget* parent)
    : QWidget(parent)
    , m_splitter(new QSplitter(Qt::Horizontal, this))
    , m_connection(new ConnectionPanel(ConnectionPanel::OpenButton::Shown))
    , m_receive(new ReceivePanel)
    , m_send(new SendPanel)
    , m_lines(new ControlLineRow)
    , m_notice(new NoticeBar)
    , m_transfer(new FileTransferBar)
    , m_view(new ReceiveView)
    , m_find(new FindBar(*m_view))
    , m_peers(new PeerPanel)
    , m_editor(new SendEditor)
    , m_status(new PaneStatusLine(this))
    , m_column(buildSettingsColumn())
{
    m_splitter->setChildrenCollapsible(false);
    m_splitter->setHandleWidth(kMargin);
    m_splitter->addWidget(m_column);
    m_splitter->addWidget(buildTerminal());
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 1);
    connect(m_splitter, &QSplitter::splitterMoved, this, &PaneView::splitterMoved);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin / 2);
    layout->setSpacing(kMargin / 2);
    layout->addWidget(m_splitter, 1);
    layout->addWidget(m_status);
}

PaneView::~PaneView() = default;

SettingsColumn* PaneView::buildSettingsColumn()
{
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, kMargin / 2, 0);
    layout->setSpacing(kMargin);
    m_connection->addRow(m_lines);
    m_quickSettings =
        std::make_unique<QuickSettingsLayout>(*layout, *m_connection, *m_receive, *m_send);
    return new SettingsColumn(content);
}

QWidget* PaneView::buildTerminal()
{
    auto* upper = new QWidget;
    auto* layout = new QVBoxLayout(upper);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kMargin / 2);
    layout->addWidget(m_notice);
    layout->addWidget(m_transfer);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_find);
    layout->addWidget(m_peers);

    auto* terminal = new QSplitter(Qt::Vertical);
    terminal->setChildrenCollapsible(false);
    terminal->setHandleWidth(kMargin);
    terminal->addWidget(upper);
    terminal->addWidget(m_editor);
    terminal->setStretchFactor(0, kViewShare);
    terminal->setStretchFactor(1, 1);
    return terminal;
}

void PaneView::setQuickSettingsVisible(bool visible)
{
    m_columnWanted = visible;
    showColumn();
}

void PaneView::setQuickSettingsGroups(const QuickSettingsGroups& groups)
{
    m_quickSettings->setGroups(groups);
    showColumn();
}

void PaneView::showColumn()
{
    m_column->setVisible(m_columnWanted && m_quickSettings->anyGroupShown());
}

void PaneView::setSplitterSizes(int left, int right)
{
    m_leftShare = left;
    m_rightShare = right;
    if (isVisible())
        applySplitterSizes();
}

// A splitter that is given more than it has takes all of the difference from the stretching side,
// so shares are turned into the pixels that are really there.
void PaneView::applySplitterSizes()
{
    const qint64 shares = qint64(m_leftShare) + m_rightShare;
    if (shares <= 0)
        return;
    const qint64 width = m_splitter->width() - m_splitter->handleWidth();
    int left = int(width * m_leftShare / shares);
    // Nobody has dragged yet: the labels stand beside their fields where there is room for that.
    static const FormatSetting defaults;
    if (m_leftShare == defaults.splitterLeft && m_rightShare == defaults.splitterRight)
        left = std::max(left, std::min(m_column->sizeHint().width(), int(width * 2 / 5)));
    m_splitter->setSizes({left, int(width) - left});
    m_leftShare = 0;
    m_rightShare = 0;
}

void PaneView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    applySplitterSizes();
}

std::pair<int, int> PaneView::splitterSizes() const
{
    const QList<int> sizes = m_splitter->sizes();
    return {sizes.value(0), sizes.value(1)};
}
