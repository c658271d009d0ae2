#include "connections/serialportcatalog.h"

#include <algorithm>

SerialPortCatalog::~SerialPortCatalog() = default;

bool SerialPortCatalog::contains(const QString& name) const
{
    if (name.isEmpty())
        return false;
    const QList<SerialPortDescription> all = ports();
    return std::any_of(all.cbegin(), all.cend(),
        [&name](const SerialPortDescription& port) { return port.portName == name; });
}
