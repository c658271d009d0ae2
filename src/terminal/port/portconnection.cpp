#include "terminal/port/portconnection.h"

#include "connections/connectioncontroller.h"
#include "connections/serialhangup.h"
#include "connections/serialportcatalog.h"

#include <QHostAddress>
#include <QScopedValueRollback>
#include <utility>

namespace {

constexpr int kReconnectingMs = 2000;
constexpr int kNoticeMs = 3000;
constexpr int kFailureMs = 5000;

// What a connection is made to; everything else of the settings can change while it stands.
bool sameTarget(const Settings& one, const Settings& other)
{
    if (one.connMode != other.connMode)
        return false;
    switch (one.connMode) {
    case connectionMode::SerialPort:
        return one.portName == other.portName;
    case connectionMode::TcpServer:
        return one.targetPort == other.targetPort;
    case connectionMode::UdpServer:
        return one.udpServerPort == other.udpServerPort;
    case connectionMode::UdpClient:
    case connectionMode::UdpMode6:
        // Whom datagrams go to is no part of the socket.
        return one.udpLocalPort == other.udpLocalPort;
    default:
        return one.targetHost == other.targetHost && one.targetPort == other.targetPort;
    }
}

} // namespace

PortConnection::PortConnection(
    ConnectionController& controller, SerialPortCatalog& catalog, QObject* parent)
    : QObject(parent)
    , m_controller(controller)
    , m_catalog(catalog)
    , m_timer(this)
{
    m_timer.setInterval(kReconnectInterval);
    connect(&m_timer, &QTimer::timeout, this, &PortConnection::reconnectTick);
    connect(&controller, &ConnectionController::statusMessage, this,
        &PortConnection::onControllerStatus);
    connect(&controller, &ConnectionController::errorOccurred, this,
        &PortConnection::onControllerError);
    connect(&controller, &ConnectionController::serialPortLost, this, [this] {
        const QString name = m_active.portName;
        follow(LifeEvent::Gone);
        if (m_life == ConnectionLife::Lost)
            tell(tr("Serial Port %1 lost, waiting for it to come back...").arg(name), kNoticeMs);
    });
    connect(&controller, &ConnectionController::tcpClientDisconnected, this, [this] {
        if (m_operating || !connectionModeIsTcpClient(m_active.connMode))
            return;
        follow(LifeEvent::Gone);
        if (m_life == ConnectionLife::Lost)
            tell(tr("Connection lost, reconnecting..."), kNoticeMs);
    });
    connect(&controller, &ConnectionController::peerArrived, this, [this](const QString& peerKey) {
        if (peerKey.isEmpty() && connectionModeIsTcpClient(m_active.connMode))
            markOpen();
    });
    connect(
        controller.serialPort(), &QSerialPort::errorOccurred, this, &PortConnection::onSerialError);
}

PortConnection::~PortConnection() = default;

bool PortConnection::setSettings(const Settings& settings)
{
    Settings next = settings.sanitized();
    if (next == m_settings)
        return false;
    m_settings = std::move(next);
    if (m_life == ConnectionLife::Closed || sameTarget(m_settings, m_active))
        m_active = m_settings;
    return true;
}

bool PortConnection::mayRegain() const
{
    return m_autoReconnect
           && (m_active.connMode == connectionMode::SerialPort
               || connectionModeIsTcpClient(m_active.connMode));
}

// The one place in which the life changes.
void PortConnection::follow(LifeEvent event)
{
    const ConnectionLife before = m_life;
    m_life = nextLife(m_life, event, mayRegain());
    const bool regaining = m_life == ConnectionLife::Lost || m_life == ConnectionLife::Regaining;
    if (!regaining)
        m_timer.stop();
    else if (!m_timer.isActive())
        m_timer.start();
    if (m_life == before)
        return;
    if (m_life == ConnectionLife::Open)
        Q_EMIT opened();
    else if (before == ConnectionLife::Open)
        Q_EMIT closed();
    else if (event == LifeEvent::Failed || m_life == ConnectionLife::Closed)
        Q_EMIT failed();
    Q_EMIT lifeChanged();
}

bool PortConnection::start(bool quiet)
{
    m_lastError.clear();
    m_reportedError = QSerialPort::NoError;
    if (m_life != ConnectionLife::Closed && !sameTarget(m_settings, m_active))
        stop();
    m_quiet = quiet;
    if (m_life == ConnectionLife::Closed)
        m_active = m_settings;
    if (!quiet)
        Q_EMIT noticesCleared();
    if (isOpen())
        return true;
    follow(LifeEvent::Start);
    if (!ConnectionController::carries(m_active.connMode)) {
        fail(tr("The connection type of this pane is not available in this version. Choose "
                "another one."));
        follow(LifeEvent::Failed);
        return false;
    }
    if (connectionModeIsTcpClient(m_active.connMode))
        return startTcp();
    const bool open =
        m_active.connMode == connectionMode::SerialPort ? startSerial() : startListening();
    m_quiet = false;
    if (open)
        markOpen();
    else
        follow(LifeEvent::Failed);
    return open;
}

bool PortConnection::startSerial()
{
    const QString& name = m_active.portName;
    if (name.isEmpty()) {
        fail(tr("No serial port is chosen. Choose one and open it again."));
        return false;
    }
    const QScopedValueRollback operating(m_operating, true);
    // The controller would keep the reason of a quiet failure to itself; it is kept here instead.
    return m_controller.openSerial(m_active, name, name, false);
}

bool PortConnection::startTcp()
{
    if (m_active.targetHost.isEmpty()) {
        fail(tr("No host is given. Enter the name or address of one and open it again."));
        follow(LifeEvent::Failed);
        return false;
    }
    m_controller.connectTcpClient(m_active.targetHost, static_cast<quint16>(m_active.targetPort));
    return true;
}

bool PortConnection::startListening()
{
    if (m_active.connMode == connectionMode::TcpServer)
        m_controller.listenTcpServer(
            static_cast<quint16>(m_active.targetPort), QHostAddress(QHostAddress::Any));
    else
        m_controller.bindUdp(m_active.connMode == connectionMode::UdpServer
                                 ? m_active.udpServerPort
                                 : m_active.udpLocalPort);
    return m_controller.isOpen(m_active.connMode);
}

void PortConnection::fail(const QString& text)
{
    m_lastError = text;
    if (!std::exchange(m_quiet, false)) {
        tell(text, kFailureMs);
        Q_EMIT noticed({text, {}, Notice::Gravity::Error, Notice::kUntilDismissed});
    }
}

void PortConnection::tell(const QString& text, int shownMs)
{
    Q_EMIT noticed({text, {}, Notice::Gravity::Info, shownMs});
}

void PortConnection::stop()
{
    if (m_life == ConnectionLife::Closed)
        return;
    closeTransport();
    follow(LifeEvent::Stop);
    m_active = m_settings;
}

void PortConnection::closeTransport()
{
    // What a throttled device has already delivered would be discarded by closing it.
    if (m_controller.isReadThrottled()) {
        m_controller.setReadThrottled(m_active.connMode, false);
        m_controller.setReadThrottled(m_active.connMode, true);
    }
    const QScopedValueRollback operating(m_operating, true);
    if (m_controller.isOpen(m_active.connMode)) {
        m_controller.closeAll(m_active.connMode, m_active.portName);
    } else if (connectionModeIsTcpClient(m_active.connMode)) {
        m_controller.teardownTcpClient();
    }
}

void PortConnection::markOpen()
{
    m_lastError.clear();
    m_quiet = false;
    m_reportedError = QSerialPort::NoError;
    const bool regained = m_life == ConnectionLife::Regaining;
    Q_EMIT noticesCleared();
    follow(LifeEvent::Opened);
    if (regained && connectionModeIsTcpClient(m_active.connMode))
        tell(tr("TCP connection RESTORED"), kNoticeMs);
}

QString PortConnection::lifeText() const
{
    switch (m_life) {
    case ConnectionLife::Closed:
        break;
    case ConnectionLife::Opening:
        return tr("Connecting...");
    case ConnectionLife::Open:
        return tr("Open");
    case ConnectionLife::Lost:
    case ConnectionLife::Regaining:
        return m_active.connMode == connectionMode::SerialPort ? tr("Waiting for the port...")
                                                               : tr("Reconnecting...");
    }
    return tr("Closed");
}

void PortConnection::setAutoReconnect(bool on)
{
    m_autoReconnect = on;
    m_controller.setAutoReconnect(on);
    if (!on)
        follow(LifeEvent::GiveUp);
}

void PortConnection::onControllerStatus(const QString& text, int timeoutMs)
{
    const bool quietFailure = m_operating && m_quiet && text == m_lastError;
    if (!m_muted && !quietFailure)
        tell(text, timeoutMs);
}

void PortConnection::onControllerError(const QString& text)
{
    m_lastError = text;
    // The end of a connection that is about to be regained is news, not an error to act on.
    const bool news = isOpen() && mayRegain() && connectionModeIsTcpClient(m_active.connMode);
    if (!m_quiet && !news)
        Q_EMIT noticed({text, {}, Notice::Gravity::Error, Notice::kUntilDismissed});
    // A failed attempt is over. That of a serial port is still to be said in the status line.
    if (m_operating)
        return;
    m_quiet = false;
    const bool attempting =
        m_life == ConnectionLife::Opening || m_life == ConnectionLife::Regaining;
    if (attempting && connectionModeIsTcpClient(m_active.connMode) && !m_controller.hasTcpClient())
        follow(LifeEvent::Failed);
}

void PortConnection::onSerialError(QSerialPort::SerialPortError error)
{
    if (!isOpen() || m_operating || m_active.connMode != connectionMode::SerialPort)
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

void PortConnection::onSerialPortVanished()
{
    const QString name = m_active.portName;
    {
        const QScopedValueRollback muted(m_muted, true);
        closeTransport();
    }
    m_lastError =
        tr("Serial Port %1 is gone. Connect the device again and open the port.").arg(name);
    tell(tr("Serial Port %1 DISCONNECTED").arg(name), kFailureMs);
    follow(LifeEvent::Gone);
    Q_EMIT noticed({m_lastError, {}, Notice::Gravity::Error, Notice::kUntilDismissed});
}

void PortConnection::reconnectTick()
{
    if (m_life != ConnectionLife::Lost)
        return;
    if (connectionModeIsTcpClient(m_active.connMode))
        regainTcp();
    else
        regainSerial();
}

void PortConnection::regainTcp()
{
    m_quiet = true;
    tell(tr("Reconnecting to %1:%2 ...")
             .arg(m_active.targetHost, QString::number(m_active.targetPort)),
        kReconnectingMs);
    follow(LifeEvent::Start);
    m_controller.connectTcpClient(m_active.targetHost, static_cast<quint16>(m_active.targetPort));
}

void PortConnection::regainSerial()
{
    const QString name = m_active.portName;
    if (!m_catalog.contains(name))
        return;
    bool open = false;
    {
        const QScopedValueRollback operating(m_operating, true);
        open = m_controller.openSerial(m_active, name, name, true);
    }
    if (!open)
        return;
    markOpen();
    tell(tr("Serial Port %1 RECONNECTED").arg(name), kNoticeMs);
}
