#pragma once

#include "settings/sessioncontents.h"
#include "settings/sessionstate.h"

#include <QObject>

class PaneSet;
class PortGrid;
class SerialPortWidget;
class ViewModes;

// The panes of the window as one workspace: how many there are, how they stand, what they share
// (quick settings, automatic reconnection), and the values that a session file and the application
// store keep of all that. Moves values between the records of the panes and those of files; reads
// and writes nothing itself. Owned by the main window, whose state it reads and keeps up to date.
class PaneWorkspace final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneWorkspace)

public:
    // All of them outlive the workspace.
    PaneWorkspace(SessionState& state, PaneSet& panes, PortGrid& grid, ViewModes& modes,
        QObject* parent = nullptr);
    ~PaneWorkspace() override;

    // Makes the next pane with what panes share; update() places it. There must be fewer than
    // PaneSet::maxPanes.
    SerialPortWidget* append();
    // A pane with these records beside all others, with the keyboard; null when there are as many
    // as there may be.
    SerialPortWidget* addPort(const Settings& settings, const FormatSetting& format);
    // Closes the last pane; false when it is the only one.
    bool removeLast();

    // Places the panes as the view mode says, and shows in them what they share.
    void update();
    void rebuildLayout();
    [[nodiscard]] bool areQuickSettingsShown() const { return m_quickSettingsShown; }
    void toggleQuickSettings();
    void applyQuickSettingsGroups();
    void applyAutoReconnect();

    // What a session file holds, with the panes' editors committed.
    [[nodiscard]] SessionContents contents() const;
    // The panes that there are close, those of the session take their place.
    void apply(const SessionContents& contents);
    // One pane with default settings; the view mode stays.
    void reset();

    // The state in force with what the first pane is set to now, and the way back.
    [[nodiscard]] SessionState state() const;
    void applyToFirstPane();

Q_SIGNALS:
    // Panes came or went, or the quick settings did.
    void arranged();
    // By the person at the desk: it is to be saved.
    void edited();

private:
    void arrangeNewPanes();

    SessionState& m_state;
    PaneSet& m_panes;
    PortGrid& m_grid;
    ViewModes& m_modes;
    bool m_quickSettingsShown = true;
};
