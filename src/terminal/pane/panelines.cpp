#include "terminal/pane/panelines.h"

#include "terminal/pane/panerecords.h"
#include "terminal/pane/panetraffic.h"
#include "terminal/pane/runcontrol.h"
#include "terminal/port/connectionsupervisor.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/port/sendpipeline.h"

PaneLines::PaneLines(ControlLineRow& row, ConnectionController& controller, PaneRecords& records)
    : m_records(records)
    , m_local(controller)
    , m_remote(controller)
    , m_lines(row, records.settings(), [this] { return driver(); })
{
    connect(&m_lines, &ControlLines::levelRequested, this, [this] {
        m_records.show();
        m_records.markEdited();
    });
}

PaneLines::~PaneLines() = default;

LineDriver* PaneLines::driver()
{
    switch (m_records.settings().connMode) {
    case connectionMode::SerialPort:
        return &m_local;
    case connectionMode::RemoteSerialRfc2217:
        return &m_remote;
    default:
        return nullptr;
    }
}

void PaneLines::follow(const PaneTraffic& traffic)
{
    connect(&traffic.send(), &SendPipeline::sent, &m_lines,
        [this] { m_lines.flashActivityLed(ControlLines::Activity::Sent); });
    connect(&traffic.receive(), &ReceivePipeline::received, &m_lines,
        [this] { m_lines.flashActivityLed(ControlLines::Activity::Received); });
}

void PaneLines::follow(const RunControl& run)
{
    connect(&run, &RunControl::halted, &m_lines, [this](RunState state) {
        if (state == RunState::Stopped)
            m_lines.releaseBreak();
    });
    connect(&run, &RunControl::stateChanged, &m_lines, &ControlLines::refresh);
    connect(&m_lines, &ControlLines::levelRequested, &run,
        [this, &run] { run.supervisor().setSettings(m_records.settings()); });
}
