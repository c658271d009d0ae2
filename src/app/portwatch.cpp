#include "app/portwatch.h"

PortListMonitor::PortListMonitor(const SerialPortCatalog& catalog)
    : m_catalog(catalog)
    , m_ports(catalog.ports())
{}

bool PortListMonitor::list()
{
    QList<SerialPortDescription> ports = m_catalog.ports();
    if (ports == m_ports)
        return false;
    m_ports = std::move(ports);
    return true;
}

PortWatch::PortWatch(const SerialPortCatalog& catalog, QObject* parent)
    : QObject(parent)
    , m_list(catalog)
{
    m_clock.start();
    connect(&m_timer, &QTimer::timeout, this, &PortWatch::refresh);
    const QString folder = catalog.watchedFolder();
    if (folder.isEmpty() || !m_folder.addPath(folder)) {
        m_timer.start(kUnwatchedMs);
        return;
    }
    // A device that has just come gets its name first and its permissions after that.
    m_settleTimer.setSingleShot(true);
    m_settleTimer.setInterval(kPortSettleMs);
    connect(&m_settleTimer, &QTimer::timeout, this, &PortWatch::refresh);
    connect(&m_folder, &QFileSystemWatcher::directoryChanged, this, [this] {
        refresh();
        m_settleTimer.start();
    });
    m_timer.start(kPortListMs);
}

PortWatch::~PortWatch() = default;

void PortWatch::refresh()
{
    if (!m_held && m_list.refresh([this] { return m_clock.elapsed(); }))
        Q_EMIT changed();
}
