#include "terminal/port/connectionsupervisor.h"

#include "connections/connectioncontroller.h"
#include "connections/serialhangup.h"
#include "connections/serialportcatalog.h"

#include <QHostAddress>
#include <utility>

namespace {

constexpr int kReconnectingMs = 2000;
constexpr int kNoticeMs = 3000;
constexpr int kFailureMs = 5000;

} // namespace

ConnectionSupervisor::ConnectionSupervisor(
    ConnectionController& controller, SerialPortCatalog& catalog, QObject* parent)
    : QObject(parent)
    , m_controller(controller)
    , m_catalog(catalog)
    , m_timer(this)
{
    m_timer.setInterval(kReconnectInterval);
    connect(&m_timer, &QTimer::timeout, this, &ConnectionSupervisor::reconnectTick);
    connect(&controller, &ConnectionController::statusMessage, this,
        &ConnectionSupervisor::onControllerStatus);
    connect(&controller, &ConnectionController::errorOccurred, this,
        &ConnectionSupervisor::onControllerError);
    connect(&controller, &ConnectionController::serialPortLost, this,
        &ConnectionSupervisor::onSerialPortLost);
    connect(&controller, &ConnectionController::tcpClientDisconnected, this,
        &ConnectionSupervisor::onTcpClientDisconnected);
    connect(&controller, &ConnectionController::peerArrived, this,
        &ConnectionSupervisor::onPeerArrived);
    connect(&controller, &ConnectionController::serialErrorOccurred, this,
        &ConnectionSupervisor::onSerialError);
}

ConnectionSupervisor::~ConnectionSupervisor() = default;

void ConnectionSupervisor::setSettings(const Settings& settings)
{
    m_settings = settings.sanitized();
    // Regaining a lost connection takes new line parameters and targets along.
    const bool samePort = m_settings.connMode != connectionMode::SerialPort
                          || m_settings.portName == m_active.portName;
    if (isReconnecting() && m_settings.connMode == m_active.connMode && samePort)
        m_active = m_settings;
}

bool ConnectionSupervisor::start(bool quiet)
{
    m_lastError.clear();
    m_reportedError = QSerialPort::NoError;
    if (m_open && m_settings.connMode != m_active.connMode)
        stop();
    m_closedByUser = false;
    m_quiet = quiet;
    if (!m_open)
        m_active = m_settings;
    bool started = false;
    if (!ConnectionController::carries(m_active.connMode))
        fail(tr("The connection type of this pane is not available in this version. Choose "
                "another one."));
    else if (m_active.connMode == connectionMode::SerialPort)
        started = startSerial();
    else if (connectionModeIsTcpClient(m_active.connMode))
        started = startTcp();
    else if (m_active.connMode == connectionMode::TcpServer)
        started = startServer();
    else
        started = startUdp();
    if (m_open)
        disarmReconnect();
    Q_EMIT stateChanged();
    return started;
}

bool ConnectionSupervisor::startSerial()
{
    const QString& name = m_active.portName;
    if (name.isEmpty()) {
        fail(tr("No serial port is chosen. Choose one and open it again."));
        return false;
    }
    m_operating = true;
    // The controller would keep the reason of a quiet failure to itself; it is kept here instead.
    const bool open = m_controller.openSerial(m_active, name, name, false);
    m_operating = false;
    m_quiet = false;
    if (open)
        markOpen();
    return open;
}

bool ConnectionSupervisor::startTcp()
{
    if (m_active.targetHost.isEmpty()) {
        fail(tr("No host is given. Enter the name or address of one and open it again."));
        return false;
    }
    if (m_controller.isOpen(m_active.connMode))
        markOpen();
    else
        connectTcp();
    return true;
}

void ConnectionSupervisor::connectTcp()
{
    m_controller.open(m_active, Transport::OpenMode::Asked);
}

bool ConnectionSupervisor::startServer()
{
    // Listening anew would close every client.
    if (!m_controller.isOpen(m_active.connMode))
        m_controller.listenTcpServer(
            static_cast<quint16>(m_active.targetPort), QHostAddress(QHostAddress::Any));
    m_quiet = false;
    const bool open = m_controller.isOpen(m_active.connMode);
    if (open)
        markOpen();
    return open;
}

bool ConnectionSupervisor::startUdp()
{
    // Binding anew would forget the peers of a socket that a message to send has opened.
    if (!m_controller.isOpen(m_active.connMode))
        m_controller.open(m_active, Transport::OpenMode::Asked);
    m_quiet = false;
    const bool open = m_controller.isOpen(m_active.connMode);
    if (open)
        markOpen();
    return open;
}

void ConnectionSupervisor::fail(const QString& text)
{
    m_lastError = text;
    if (!m_quiet) {
        Q_EMIT statusMessage(text, kFailureMs);
        Q_EMIT errorOccurred(text);
    }
    m_quiet = false;
}

void ConnectionSupervisor::stop()
{
    m_closedByUser = true;
    disarmReconnect();
    closeTransport();
    markClosed();
    Q_EMIT stateChanged();
}

void ConnectionSupervisor::closeTransport()
{
    if (!m_controller.isOpen(m_active.connMode) && !isConnecting())
        return;
    m_operating = true;
    m_controller.closeAll(m_active.connMode, m_active.portName);
    m_operating = false;
}

void ConnectionSupervisor::markOpen()
{
    m_lastError.clear();
    m_quiet = false;
    m_reportedError = QSerialPort::NoError;
    if (m_open)
        return;
    m_open = true;
    Q_EMIT opened();
    Q_EMIT stateChanged();
}

void ConnectionSupervisor::markClosed()
{
    if (!std::exchange(m_open, false))
        return;
    Q_EMIT closed();
    Q_EMIT stateChanged();
}

bool ConnectionSupervisor::isConnecting() const
{
    return connectionModeIsTcpClient(m_active.connMode) && m_controller.hasTcpClient()
           && !m_controller.isOpen(m_active.connMode);
}

void ConnectionSupervisor::setAutoReconnect(bool on)
{
    m_autoReconnect = on;
    m_controller.setAutoReconnect(on);
    if (!on)
        disarmReconnect();
}

void ConnectionSupervisor::disarmReconnect()
{
    const bool armed = m_timer.isActive() || m_waitingForPort;
    m_timer.stop();
    m_waitingForPort = false;
    if (armed)
        Q_EMIT stateChanged();
}

void ConnectionSupervisor::onControllerStatus(const QString& text, int timeoutMs)
{
    const bool quietFailure = m_operating && m_quiet && text == m_lastError;
    if (!m_muted && !quietFailure)
        Q_EMIT statusMessage(text, timeoutMs);
}

void ConnectionSupervisor::onControllerError(const QString& text)
{
    m_lastError = text;
    // The end of a connection that is about to be regained is news, not an error to act on.
    const bool regaining =
        m_open && m_autoReconnect && connectionModeIsTcpClient(m_active.connMode);
    if (!m_quiet && !regaining)
        Q_EMIT errorOccurred(text);
    // A failed attempt is over. That of a serial port is still to be said in the status line.
    if (!m_operating)
        m_quiet = false;
    Q_EMIT stateChanged();
}

void ConnectionSupervisor::onSerialPortLost()
{
    const QString name = m_active.portName;
    markClosed();
    if (!m_autoReconnect || m_closedByUser || m_active.connMode != connectionMode::SerialPort)
        return;
    m_waitingForPort = true;
    m_timer.start();
    Q_EMIT statusMessage(
        tr("Serial Port %1 lost, waiting for it to come back...").arg(name), kNoticeMs);
    Q_EMIT stateChanged();
}

void ConnectionSupervisor::onSerialError(QSerialPort::SerialPortError error)
{
    if (!m_open || m_operating || m_active.connMode != connectionMode::SerialPort)
        return;
    if (serialDeviceVanished(*m_controller.serialPort(), error)) {
        // With auto-reconnect on the controller closes the port and says so by serialPortLost().
        if (!m_autoReconnect)
            onSerialPortVanished();
    } else if (error == QSerialPort::ReadError || error == QSerialPort::WriteError) {
        // A broken device reports the same error with every byte.
        if (std::exchange(m_reportedError, error) != error)
            fail(tr("Serial Port %1 ERROR: %2")
                     .arg(m_active.portName, m_controller.serialPort()->errorString()));
    }
    // The others belong to an operation (a line that the adapter lacks), which reports them.
}

void ConnectionSupervisor::onSerialPortVanished()
{
    const QString name = m_active.portName;
    m_muted = true;
    closeTransport();
    m_muted = false;
    m_lastError =
        tr("Serial Port %1 is gone. Connect the device again and open the port.").arg(name);
    Q_EMIT statusMessage(tr("Serial Port %1 DISCONNECTED").arg(name), kFailureMs);
    markClosed();
    Q_EMIT errorOccurred(m_lastError);
}

void ConnectionSupervisor::onTcpClientDisconnected()
{
    if (!connectionModeIsTcpClient(m_active.connMode))
        return;
    markClosed();
    if (!m_autoReconnect || m_closedByUser)
        return;
    m_timer.start();
    Q_EMIT statusMessage(tr("Connection lost, reconnecting..."), kNoticeMs);
    Q_EMIT stateChanged();
}

void ConnectionSupervisor::onPeerArrived(const QString& peerKey)
{
    if (peerKey.isEmpty() && connectionModeIsTcpClient(m_active.connMode))
        markOpen();
}

void ConnectionSupervisor::reconnectTick()
{
    if (m_autoReconnect && connectionModeIsTcpClient(m_active.connMode))
        reconnectTcpTick();
    else if (m_autoReconnect && m_active.connMode == connectionMode::SerialPort)
        reconnectSerialTick();
    else
        disarmReconnect();
}

void ConnectionSupervisor::reconnectTcpTick()
{
    if (!m_controller.hasTcpClient()) {
        m_quiet = true;
        Q_EMIT statusMessage(tr("Reconnecting to %1:%2 ...")
                                 .arg(m_active.targetHost, QString::number(m_active.targetPort)),
            kReconnectingMs);
        connectTcp();
        Q_EMIT stateChanged();
    } else if (m_controller.isOpen(m_active.connMode)) {
        disarmReconnect();
        Q_EMIT statusMessage(tr("TCP connection RESTORED"), kNoticeMs);
    }
}

void ConnectionSupervisor::reconnectSerialTick()
{
    const QString name = m_active.portName;
    if (!m_waitingForPort || m_controller.isOpen(connectionMode::SerialPort)) {
        disarmReconnect();
        return;
    }
    if (!m_catalog.contains(name))
        return;
    m_operating = true;
    const bool open = m_controller.openSerial(m_active, name, name, true);
    m_operating = false;
    if (!open)
        return;
    disarmReconnect();
    Q_EMIT serialPortReconnected(name);
    markOpen();
    Q_EMIT statusMessage(tr("Serial Port %1 RECONNECTED").arg(name), kNoticeMs);
}
