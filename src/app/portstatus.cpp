#include "app/portstatus.h"

#include "terminal/pane/serialportwidget.h"

PortStatus PortStatus::of(const SerialPortWidget& pane)
{
    PortStatus status;
    if (pane.isOpen())
        status.state = pane.runState() == RunState::Paused ? PortState::Paused : PortState::Open;
    else if (pane.isActive())
        status.state = PortState::Connecting;
    status.stateText = pane.stateText();
    status.summary = pane.connectionSummary();
    status.received = pane.receivedBytes();
    status.sent = pane.sentBytes();
    status.lines = pane.controlLines();
    status.log = pane.log().state();
    status.logFile = pane.log().currentLogFile();
    return status;
}
