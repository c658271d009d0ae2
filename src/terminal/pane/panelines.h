#pragma once

#include "terminal/pane/controllines.h"
#include "terminal/port/locallinedriver.h"
#include "terminal/port/remotelinedriver.h"

#include <QObject>

class PaneRecords;
class PaneTraffic;
class RunControl;

// Joins the control lines of a pane with the rest of it: the driver follows the transport of the
// records, a level that is toggled is an edit of them, traffic makes the lamps blink, and a
// connection that closes ends the break that was on it. Owned by the pane; everything given
// outlives it.
class PaneLines final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneLines)

public:
    PaneLines(ControlLineRow& row, ConnectionController& controller, PaneRecords& records);
    ~PaneLines() override;

    void follow(const PaneTraffic& traffic);
    void follow(const RunControl& run);

    [[nodiscard]] ControlLines& lines() { return m_lines; }
    [[nodiscard]] const ControlLines& lines() const { return m_lines; }

private:
    [[nodiscard]] LineDriver* driver();

    PaneRecords& m_records;
    LocalLineDriver m_local;
    RemoteLineDriver m_remote;
    ControlLines m_lines;
};
