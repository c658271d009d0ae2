#include "app/paneworkspace.h"

#include "app/mainactions.h"
#include "app/paneset.h"
#include "app/portgrid.h"
#include "connections/serialportcatalog.h"
#include "connections/serialtransport.h"
#include "terminal/pane/serialportwidget.h"

#include <QAction>
#include <QActionGroup>
#include <QDebug>
#include <QInputDialog>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

PaneWorkspace::PaneWorkspace(SessionState& state, PaneSet& panes, PortGrid& grid,
    const ViewActions& actions, QWidget* window)
    : QObject(window)
    , m_state(state)
    , m_panes(panes)
    , m_grid(grid)
    , m_actions(actions)
    , m_window(window)
    , m_mode(actions.horizontal)
{
    auto* group = new QActionGroup(this);
    for (QAction* action : {actions.horizontal, actions.vertical, actions.grid, actions.custom})
        group->addAction(action);
    m_mode->setChecked(true);
    const auto onMode = [this](QAction* mode, int columns) {
        connect(mode, &QAction::triggered, this, [=, this] { choose(mode, columns); });
    };
    onMode(m_actions.horizontal, 1);
    onMode(m_actions.vertical, 1);
    onMode(m_actions.grid, 2);
    connect(&m_panes, &PaneSet::currentChanged, this, &PaneWorkspace::showZoom);
    connect(m_actions.custom, &QAction::triggered, this, &PaneWorkspace::askColumnCount);
}

PaneWorkspace::~PaneWorkspace() = default;

void PaneWorkspace::followKeys(const MainActions& actions)
{
    const auto onMove = [&](QLatin1StringView name, int columns, int rows) {
        connect(actions.action(name), &QAction::triggered, this,
            [=, this] { focusBeside(columns, rows); });
    };
    onMove("acViewPortLeft"_L1, -1, 0);
    onMove("acViewPortRight"_L1, 1, 0);
    onMove("acViewPortAbove"_L1, 0, -1);
    onMove("acViewPortBelow"_L1, 0, 1);
    for (int number = 1; number <= MainActions::kNumberedPorts; ++number) {
        const QByteArray name = "acViewPort" + QByteArray::number(number);
        connect(actions.action(QLatin1StringView(name)), &QAction::triggered, this,
            [this, number] { focusPane(number - 1); });
    }
    connect(actions.action("acViewMaximizePort"_L1), &QAction::triggered, this,
        &PaneWorkspace::setZoomed);
}

SerialPortWidget* PaneWorkspace::append()
{
    m_zoomed = false;
    SerialPortWidget* pane = m_panes.append();
    pane->setAutoReconnect(m_state.autoReconnect);
    pane->setQuickSettingsGroups(m_state.quickSettingsGroups());
    return pane;
}

SerialPortWidget* PaneWorkspace::addPort(const Settings& settings, const FormatSetting& format)
{
    if (m_panes.count() >= PaneSet::kMaxPanes)
        return nullptr;
    SerialPortWidget* pane = append();
    pane->setSettings(settings);
    pane->setFormatSetting(format);
    selectHorizontal();
    update();
    m_panes.focusPane(m_panes.count() - 1);
    Q_EMIT edited();
    return pane;
}

bool PaneWorkspace::removeLast()
{
    if (m_panes.count() < 2)
        return false;
    m_zoomed = false;
    m_panes.removeLast();
    selectHorizontal();
    update();
    Q_EMIT edited();
    return true;
}

void PaneWorkspace::update()
{
    rebuildLayout();
    m_panes.first().setStatusLineVisible(m_panes.count() > 1);
    m_panes.setQuickSettingsVisible(m_quickSettingsShown);
    applyQuickSettingsGroups();
    Q_EMIT arranged();
}

void PaneWorkspace::rebuildLayout()
{
    // What stands behind a pane that has all of the room stays as it is.
    if (!m_zoomed)
        m_grid.rebuild(m_panes.frames(), columnCount());
    showZoom();
}

void PaneWorkspace::showZoom()
{
    m_grid.zoom(m_zoomed ? m_panes.frames().at(m_panes.currentIndex()) : nullptr);
}

void PaneWorkspace::setZoomed(bool on)
{
    m_zoomed = on && m_panes.count() > 1;
    showZoom();
    Q_EMIT arranged();
}

void PaneWorkspace::focusPane(int index)
{
    if (index >= 0 && index < m_panes.count())
        m_panes.focusPane(index);
}

int PaneWorkspace::shownColumns() const
{
    return std::clamp(columnCount(), 1, m_panes.count());
}

void PaneWorkspace::focusBeside(int columns, int rows)
{
    const int wide = shownColumns();
    const int last = m_panes.count() - 1;
    const int column = m_panes.currentIndex() % wide + columns;
    const int row = m_panes.currentIndex() / wide + rows;
    if (column < 0 || column >= wide || row < 0 || row > last / wide)
        return;
    const int index = row * wide + column;
    if (index <= last || rows > 0)
        focusPane(std::min(index, last));
}

void PaneWorkspace::toggleQuickSettings()
{
    m_quickSettingsShown = !m_quickSettingsShown;
    update();
    Q_EMIT edited();
}

void PaneWorkspace::applyQuickSettingsGroups()
{
    const QuickSettingsGroups groups = m_state.quickSettingsGroups();
    for (SerialPortWidget* pane : m_panes.panes())
        pane->setQuickSettingsGroups(groups);
}

void PaneWorkspace::applyAutoReconnect()
{
    for (SerialPortWidget* pane : m_panes.panes())
        pane->setAutoReconnect(m_state.autoReconnect);
}

SessionContents PaneWorkspace::contents() const
{
    SessionContents contents;
    contents.columnCount = columnCount();
    contents.quickView = m_quickSettingsShown;
    contents.quickSettings = m_state.quickSettingsGroups();
    for (SerialPortWidget* pane : m_panes.panes()) {
        pane->updateSettings();
        contents.panes.append({pane->settings(), pane->formatSetting()});
    }
    return contents;
}

void PaneWorkspace::apply(const SessionContents& contents)
{
    m_state.setQuickSettingsGroups(contents.quickSettings);
    m_quickSettingsShown = contents.quickView;
    m_zoomed = false;
    m_panes.renew(int(contents.panes.size()));
    for (int i = 0; i < m_panes.count(); ++i) {
        m_panes.panes().at(i)->setSettings(contents.panes.at(i).settings);
        m_panes.panes().at(i)->setFormatSetting(contents.panes.at(i).format);
    }
    setColumnCount(contents.columnCount);
    arrangeNewPanes();
}

void PaneWorkspace::reset()
{
    m_zoomed = false;
    m_panes.renew(1);
    arrangeNewPanes();
}

// Nothing of how the panes before them stood is theirs.
void PaneWorkspace::arrangeNewPanes()
{
    m_grid.forgetSizes();
    applyAutoReconnect();
    update();
    m_panes.focusPane(0);
}

SessionState PaneWorkspace::state() const
{
    m_panes.first().updateSettings();
    SessionState state = m_state;
    state.takeFrom(m_panes.first().settings(), m_panes.first().formatSetting());
    return state;
}

void PaneWorkspace::applyToFirstPane()
{
    SerialPortWidget& first = m_panes.first();
    Settings settings = first.settings();
    m_state.applyTo(settings);
    first.setSettings(settings);
    FormatSetting format = first.formatSetting();
    m_state.applyTo(format);
    first.setFormatSetting(format);
    applyAutoReconnect();
    update();
}

int PaneWorkspace::columnCount() const
{
    return m_mode == m_actions.horizontal ? m_panes.count() : m_columnCount;
}

// As a session says: the action that gives this number is checked.
void PaneWorkspace::setColumnCount(int columns)
{
    m_columnCount = std::clamp(columns, 1, SessionContents::kMaxColumns);
    if (m_columnCount == m_panes.count())
        m_mode = m_actions.horizontal;
    else if (m_columnCount == 1)
        m_mode = m_actions.vertical;
    else
        m_mode = m_columnCount == 2 ? m_actions.grid : m_actions.custom;
    m_mode->setChecked(true);
}

void PaneWorkspace::selectHorizontal()
{
    m_zoomed = false;
    m_mode = m_actions.horizontal;
    m_mode->setChecked(true);
}

void PaneWorkspace::choose(QAction* mode, int columns)
{
    m_zoomed = false;
    m_columnCount = columns;
    m_mode = mode;
    mode->setChecked(true);
    update();
    Q_EMIT edited();
}

void PaneWorkspace::askColumnCount()
{
    // Triggering has checked the action already.
    m_mode->setChecked(true);
    auto* dialog = new QInputDialog(m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setInputMode(QInputDialog::IntInput);
    dialog->setWindowTitle(tr("Set Port Number Per Column"));
    dialog->setLabelText(tr("Port Number Per Column:"));
    dialog->setIntRange(1, SessionContents::kMaxColumns);
    dialog->setIntStep(1);
    dialog->setIntValue(columnCount());
    connect(dialog, &QInputDialog::intValueSelected, this,
        [this](int columns) { choose(m_actions.custom, columns); });
    dialog->open();
}

bool PaneWorkspace::open(SerialPortWidget& pane, const QString& portName, bool quiet)
{
    if (pane.start(portName, quiet))
        return true;
    const bool serial = pane.settings().connMode == connectionMode::SerialPort;
    const QString text = serial ? tr("Serial Port %1 OPEN FAILED").arg(pane.settings().portName)
                                : tr("%1 OPEN FAILED").arg(pane.connectionSummary());
    qWarning().noquote() << text;
    // What is told says already what the full message begins with.
    QString reason = pane.lastError();
    const QString beginning = SerialTransport::openFailureText(pane.settings().portName);
    if (reason.startsWith(beginning))
        reason.remove(0, beginning.size());
    if (&pane == &m_panes.first())
        Q_EMIT openFailed(text, reason, quiet);
    return false;
}

void PaneWorkspace::start(const QString& portName, bool quiet)
{
    if (portName.isEmpty()) {
        for (SerialPortWidget* pane : m_panes.panes())
            open(*pane, {}, quiet);
        return;
    }
    SerialPortWidget& first = m_panes.first();
    const Settings before = first.settings();
    open(first, portName, quiet);
    if (first.settings() != before)
        Q_EMIT edited();
}

void PaneWorkspace::stop()
{
    for (SerialPortWidget* pane : m_panes.panes()) {
        if (pane->isActive())
            pane->requestStop();
    }
}

void PaneWorkspace::changePort(const QString& portName)
{
    qDebug("Start to change port...");
    SerialPortWidget& first = m_panes.first();
    const bool same = first.settings().connMode == connectionMode::SerialPort
                      && first.settings().portName == portName;
    if (portName.isEmpty() || same)
        return;
    if (first.transfer().isActive()) {
        first.showStatusMessage(tr("A file transfer is running on this port: cancel it first."),
            SerialPortWidget::kFailureMs);
        return;
    }
    first.stop();
    if (open(first, portName, false))
        m_panes.focusPane(0); // what is typed next is for the port, not for the list of ports
    Q_EMIT edited();
}

void PaneWorkspace::restoreConnection(const SerialPortCatalog& catalog)
{
    if (!m_state.openLastConnection || !m_state.lastConnectionOpen)
        return;
    if (m_state.connMode != connectionMode::SerialPort || catalog.contains(m_state.portName))
        start({}, true);
}
