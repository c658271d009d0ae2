#include "app/portlistmonitor.h"

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
