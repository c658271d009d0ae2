#pragma once

#include "connections/serialportcatalog.h"

#include <QSerialPortInfo>

// Every port that the system reports, in its order.
QList<QSerialPortInfo> listUsableSerialPorts();

// Whether listUsableSerialPorts() holds a port of exactly this name; false for an empty name.
bool serialPortExists(const QString& name);

// The serial ports of this machine.
class SystemPortCatalog final : public SerialPortCatalog
{
public:
    QList<SerialPortDescription> ports() const override;
    // Where the system keeps its device files; empty where ports are no files.
    [[nodiscard]] QString watchedFolder() const override;

    // Also true for the absolute path of a character device that exists now: a stable link such as
    // those under /dev/serial/by-id, or a pseudo-terminal. The system does not list these, but a
    // port opened by its path must be found again when its device returns.
    bool contains(const QString& name) const override;
};
