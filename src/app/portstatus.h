#pragma once

#include "app/statelamp.h"
#include "terminal/port/linereport.h"
#include "terminal/port/portlog.h"

#include <QString>

class SerialPortWidget;

// What the window shows of a pane. Counts are bytes since the pane was cleared.
struct PortStatus
{
    PortState state = PortState::Closed;
    QString stateText;
    QString summary; // port and line settings
    qint64 received = 0;
    qint64 sent = 0;
    LineReport lines = {};
    PortLog::State log = PortLog::State::Off;
    QString logFile = {}; // may be unresolved

    [[nodiscard]] static PortStatus of(const SerialPortWidget& pane);
};
