#include "app/paneworkspace.h"

#include "app/paneset.h"
#include "app/portgrid.h"
#include "app/viewmodes.h"
#include "terminal/pane/serialportwidget.h"

PaneWorkspace::PaneWorkspace(
    SessionState& state, PaneSet& panes, PortGrid& grid, ViewModes& modes, QObject* parent)
    : QObject(parent)
    , m_state(state)
    , m_panes(panes)
    , m_grid(grid)
    , m_modes(modes)
{
    connect(&m_modes, &ViewModes::chosen, this, [this] {
        update();
        Q_EMIT edited();
    });
}

PaneWorkspace::~PaneWorkspace() = default;

SerialPortWidget* PaneWorkspace::append()
{
    SerialPortWidget* pane = m_panes.append();
    pane->setAutoReconnect(m_state.autoReconnect);
    pane->setQuickSettingsGroups(m_state.quickSettingsGroups());
    return pane;
}

SerialPortWidget* PaneWorkspace::addPort(const Settings& settings, const FormatSetting& format)
{
    if (m_panes.count() >= PaneSet::maxPanes)
        return nullptr;
    SerialPortWidget* pane = append();
    pane->setSettings(settings);
    pane->setFormatSetting(format);
    m_modes.selectHorizontal();
    update();
    m_panes.focusPane(m_panes.count() - 1);
    Q_EMIT edited();
    return pane;
}

bool PaneWorkspace::removeLast()
{
    if (m_panes.count() < 2)
        return false;
    m_panes.removeLast();
    m_modes.selectHorizontal();
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
    m_grid.rebuild(m_panes.frames(), m_modes.columnCount());
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
    contents.columnCount = m_modes.columnCount();
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
    m_panes.renew(int(contents.panes.size()));
    for (int i = 0; i < m_panes.count(); ++i) {
        m_panes.panes().at(i)->setSettings(contents.panes.at(i).settings);
        m_panes.panes().at(i)->setFormatSetting(contents.panes.at(i).format);
    }
    m_modes.setColumnCount(contents.columnCount);
    arrangeNewPanes();
}

void PaneWorkspace::reset()
{
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
