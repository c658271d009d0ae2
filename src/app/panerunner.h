#pragma once

#include <QObject>

class MainStatusBar;
class PaneSet;
class QWidget;
class SerialPortCatalog;
class SerialPortWidget;
struct SessionState;

// Opens and closes the connections of the panes for the window's actions, and tells in the window
// what could not be opened. Owned by the main window, which is the parent of the boxes.
class PaneRunner final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneRunner)

public:
    // Panes and bar outlive the runner.
    PaneRunner(PaneSet& panes, MainStatusBar& statusBar, QWidget* window);
    ~PaneRunner() override;

    // Opens one pane; a port name first becomes its serial port. A failure of the first pane is
    // told in a box, or in the status bar when quiet; the others tell theirs themselves.
    bool open(SerialPortWidget& pane, const QString& portName, bool quiet);
    // Opens every pane, or with a port name only the first.
    void start(const QString& portName, bool quiet);
    void stop();
    // Moves the first pane to another serial port and opens it.
    void changePort(const QString& portName);
    // Opens what was open when the program ended, unless its serial port is gone.
    void restore(const SessionState& state, const SerialPortCatalog& catalog);

Q_SIGNALS:
    // The first pane got another port: it is to be saved.
    void edited();

private:
    PaneSet& m_panes;
    MainStatusBar& m_statusBar;
    QWidget* m_window;
};
