#include "terminal/port/portconnection.h"

#include "connections/connectioncontroller.h"
#include "connections/serialhangup.h"
#include "connections/serialportcatalog.h"

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
    connect(&controller, &ConnectionController::opened, this, &PortConnection::onOpened);
    connect(&controller, &ConnectionController::closed, this, &PortConnection::onClosed);
    connect(&controller, &ConnectionController::noticed, this, &PortConnection::onNotice);
    connect(&controller, &ConnectionController::serialErrorOccurred, this,
        &PortConnection::onSerialError);
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
    if (const QString reason = missing(); !reason.isEmpty())
        fail(reason);
    else if (attempt(Transport::OpenMode::Asked))
        return true;
    m_quiet = false;
    follow(LifeEvent::Failed);
    return false;
}

// What the settings lack for an attempt, in words.
QString PortConnection::missing() const
{
    if (!ConnectionController::carries(m_active.connMode)) {
        return tr("The connection type of this pane is not available in this version. Choose "
                  "another one.");
    }
    if (m_active.connMode == connectionMode::SerialPort && m_active.portName.isEmpty())
        return tr("No serial port is chosen. Choose one and open it again.");
    if (connectionModeIsTcpClient(m_active.connMode) && m_active.targetHost.isEmpty())
        return tr("No host is given. Enter the name or address of one and open it again.");
    return {};
}

// The controller opens with the levels that were asked of it last, and those may be another port's.
bool PortConnection::attempt(Transport::OpenMode how)
{
    if (m_active.connMode == connectionMode::SerialPort) {
        m_controller.setSerialLine(SerialLine::Dtr, m_active.dtrOn);
        m_controller.setSerialLine(SerialLine::Rts, m_active.rtsOn);
    }
    return m_controller.open(m_active, how);
}

void PortConnection::fail(const QString& text)
{
    m_lastError = text;
    if (!std::exchange(m_quiet, false)) {
        tell(text, kFailureMs);
        Q_EMIT noticed(Notice::error(text, {}, Notice::kUntilDismissed));
    }
}

void PortConnection::tell(const QString& text, int shownMs)
{
    Q_EMIT noticed(Notice::info(text, shownMs));
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
    const QScopedValueRollback closing(m_closing, true);
    if (Transport* transport = m_controller.transport())
        transport->close();
}

void PortConnection::onOpened()
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

void PortConnection::onClosed(const CloseReason& reason)
{
    if (m_closing)
        return;
    m_quiet = false;
    using Kind = CloseReason::Kind;
    follow(reason.kind == Kind::Failed   ? LifeEvent::Failed
           : reason.kind == Kind::ByWill ? LifeEvent::Stop
                                         : LifeEvent::Gone);
    if (m_life != ConnectionLife::Lost || reason.kind == Kind::Failed)
        return;
    tell(m_active.connMode == connectionMode::SerialPort
             ? tr("Serial Port %1 lost, waiting for it to come back...").arg(m_active.portName)
             : tr("Connection lost, reconnecting..."),
        kNoticeMs);
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

void PortConnection::onNotice(const Notice& notice)
{
    if (notice.isDetail) {
        qDebug().noquote() << notice.text;
        return;
    }
    // Bytes that never left are told whatever else is going on.
    if (notice.shownMs == Notice::kUntilDismissed) {
        Q_EMIT noticed(notice);
        return;
    }
    if (notice.gravity == Notice::Gravity::Error) {
        // The end of a connection that is about to be regained is news, not an error to act on.
        const bool news = isOpen() && mayRegain() && connectionModeIsTcpClient(m_active.connMode);
        m_lastError = notice.fullText();
        if (!m_quiet && !news)
            Q_EMIT noticed(Notice::error(m_lastError, {}, Notice::kUntilDismissed));
    }
    Notice brief = notice;
    brief.advice.clear();
    Q_EMIT noticed(brief);
}

void PortConnection::onSerialError(QSerialPort::SerialPortError error)
{
    if (!isOpen() || m_closing || !m_controller.serialPort())
        return;
    if (serialDeviceVanished(*m_controller.serialPort(), error)) {
        // With auto-reconnect on the transport closes the port and says so.
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
    m_controller.closeLostSerial();
    if (m_life != ConnectionLife::Closed)
        return;
    m_lastError =
        tr("Serial Port %1 is gone. Connect the device again and open the port.").arg(name);
    Q_EMIT noticed(Notice::error(m_lastError, {}, Notice::kUntilDismissed));
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
    if (!attempt(Transport::OpenMode::Asked))
        follow(LifeEvent::Failed);
}

void PortConnection::regainSerial()
{
    const QString name = m_active.portName;
    if (m_catalog.contains(name) && attempt(Transport::OpenMode::Quiet))
        tell(tr("Serial Port %1 RECONNECTED").arg(name), kNoticeMs);
}
