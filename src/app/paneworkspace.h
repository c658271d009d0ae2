#pragma once

#include "settings/sessioncontents.h"
#include "settings/sessionstate.h"

#include <QObject>

class MainActions;
class PaneSet;
class PortGrid;
class QAction;
class QWidget;
class SerialPortCatalog;
class SerialPortWidget;

// The panes of the window as one workspace: how many there are, how they stand, what they share
// (quick settings, automatic reconnection), how they are opened and closed together, and the values
// that a session file and the application store keep of all that. Moves values between the records
// of the panes and those of files; reads and writes nothing itself. Owned by the main window, whose
// state it reads and keeps up to date.
//
// How many panes stand side by side is said by four actions of the View menu: all of them, one,
// two, or a number that is asked for.
class PaneWorkspace final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneWorkspace)

public:
    struct ViewActions
    {
        QAction* horizontal;
        QAction* vertical;
        QAction* grid;
        QAction* custom;
    };

    // All of them outlive the workspace. The window is the parent of the question.
    PaneWorkspace(SessionState& state, PaneSet& panes, PortGrid& grid, const ViewActions& actions,
        QWidget* window);
    ~PaneWorkspace() override;

    // Takes up the actions that lead from pane to pane and that give one pane all of the room.
    void followKeys(const MainActions& actions);

    // Makes the next pane with what panes share; update() places it. There must be fewer than
    // PaneSet::kMaxPanes.
    SerialPortWidget* append();
    // A pane with these records beside all others, with the keyboard; null when there are as many
    // as there may be.
    SerialPortWidget* addPort(const Settings& settings, const FormatSetting& format);
    // Closes the last pane; false when it is the only one.
    bool removeLast();

    // Places the panes as the view mode says, and shows in them what they share.
    void update();
    void rebuildLayout();
    // Panes side by side, as far as there are so many.
    [[nodiscard]] int shownColumns() const;
    // The current pane has all of the room, whichever it is. A choice of the moment: it ends when
    // the panes are arranged in another way, and is not stored.
    void setZoomed(bool on);
    [[nodiscard]] bool isZoomed() const { return m_zoomed; }
    // Moves the keyboard to a pane, counted from 0, if there is one.
    void focusPane(int index);
    // The same to the pane so many columns further and so many rows below, if there is one; below a
    // pane that has none under it is the last.
    void focusBeside(int columns, int rows);
    [[nodiscard]] bool areQuickSettingsShown() const { return m_quickSettingsShown; }
    void toggleQuickSettings();
    void applyQuickSettingsGroups();
    void applyAutoReconnect();

    // Opens one pane; a port name first becomes its serial port.
    bool open(SerialPortWidget& pane, const QString& portName, bool quiet);
    // Opens every pane, or with a port name only the first.
    void start(const QString& portName, bool quiet);
    void stop();
    // Moves the first pane to another serial port and opens it.
    void changePort(const QString& portName);
    // Opens what was open when the program ended, unless its serial port is gone.
    void restoreConnection(const SerialPortCatalog& catalog);

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
    // The first pane could not be opened; the others tell it themselves.
    void openFailed(const QString& text, const QString& reason, bool quiet);

private:
    void arrangeNewPanes();
    void showZoom();
    // Panes per row as they were asked for, 1 to 16; there may be fewer panes.
    [[nodiscard]] int columnCount() const;
    void setColumnCount(int columns);
    void selectHorizontal();
    void choose(QAction* mode, int columns);
    void askColumnCount();

    SessionState& m_state;
    PaneSet& m_panes;
    PortGrid& m_grid;
    ViewActions m_actions;
    QWidget* m_window;
    QAction* m_mode;
    int m_columnCount = 1;
    bool m_quickSettingsShown = true;
    bool m_zoomed = false;
};
