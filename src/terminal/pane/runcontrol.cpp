#include "terminal/pane/runcontrol.h"

#include "connections/connectioncontroller.h"
#include "terminal/pane/panerecords.h"
#include "terminal/pane/panetraffic.h"
#include "terminal/port/connectionsupervisor.h"
#include "terminal/port/panelog.h"
#include "terminal/port/receivepipeline.h"

RunControl::RunControl(ConnectionController& controller, SerialPortCatalog& catalog,
    PaneRecords& records, PaneTraffic& traffic)
    : m_controller(controller)
    , m_records(records)
    , m_traffic(traffic)
    , m_supervisor(std::make_unique<ConnectionSupervisor>(controller, catalog))
{
    ConnectionSupervisor* supervisor = m_supervisor.get();
    connect(supervisor, &ConnectionSupervisor::opened, this, &RunControl::onOpened);
    connect(supervisor, &ConnectionSupervisor::closed, this, &RunControl::onClosed);
    connect(supervisor, &ConnectionSupervisor::stateChanged, this, &RunControl::stateChanged);
    connect(supervisor, &ConnectionSupervisor::statusMessage, this, &RunControl::statusMessage);
    connect(supervisor, &ConnectionSupervisor::errorOccurred, this, [this](const QString& text) {
        m_error = text;
        Q_EMIT errorOccurred(text);
    });
    connect(&records, &PaneRecords::connectionEdited, this, [this] {
        m_supervisor->setSettings(m_records.settings());
        m_controller.apply(m_records.settings());
        Q_EMIT stateChanged();
    });
    connect(supervisor, &ConnectionSupervisor::serialPortReconnected, this,
        [this](const QString& name) {
            m_records.settings().portName = name;
            m_records.show();
        });
}

RunControl::~RunControl() = default;

bool RunControl::start(const QString& portName, bool quiet)
{
    m_records.store();
    if (!portName.isEmpty()) {
        m_records.settings().connMode = connectionMode::SerialPort;
        m_records.settings().portName = portName;
        m_records.show();
    } else if (state() == RunState::Paused) {
        resume();
        return true;
    }
    applySettings();
    // What a quiet start does not tell anew may still be true.
    if (!quiet)
        Q_EMIT errorCleared(m_error);
    return m_supervisor->start(quiet);
}

void RunControl::resume()
{
    m_traffic.receive().start();
    Q_EMIT started();
    Q_EMIT stateChanged();
}

void RunControl::pause()
{
    if (state() != RunState::Running)
        return;
    Q_EMIT halted(RunState::Paused);
    m_traffic.receive().pause();
    m_traffic.log().flushLog(nullptr);
    Q_EMIT stateChanged();
}

void RunControl::stop()
{
    m_supervisor->stop();
}

void RunControl::onOpened()
{
    Q_EMIT errorCleared(m_error);
    if (state() == RunState::Stopped)
        m_traffic.receive().start();
    Q_EMIT started();
    Q_EMIT stateChanged();
}

void RunControl::onClosed()
{
    Q_EMIT halted(RunState::Stopped);
    m_traffic.receive().stop();
    Q_EMIT stateChanged();
}

void RunControl::applySettings()
{
    const Settings& settings = m_records.settings();
    requestLine(SerialLine::Dtr, settings.dtrOn);
    requestLine(SerialLine::Rts, settings.rtsOn);
    m_supervisor->setSettings(settings);
}

// A level that stays as it was is nothing to tell a person about, not even that flow control drives
// the line.
void RunControl::requestLine(SerialLine line, bool on)
{
    if (m_controller.serialLineRequested(line) != on)
        m_controller.setSerialLine(line, on);
}

RunState RunControl::state() const
{
    return m_traffic.receive().runState();
}

bool RunControl::isOpen() const
{
    return m_supervisor->isOpen();
}

bool RunControl::isActive() const
{
    return m_supervisor->isOpen() || m_supervisor->isConnecting() || m_supervisor->isReconnecting();
}

QString RunControl::stateText() const
{
    if (m_supervisor->isOpen())
        return state() == RunState::Paused ? tr("Paused") : tr("Open");
    if (m_supervisor->isWaitingForPort())
        return tr("Waiting for the port...");
    if (m_supervisor->isReconnecting())
        return tr("Reconnecting...");
    return m_supervisor->isConnecting() ? tr("Connecting...") : tr("Closed");
}
