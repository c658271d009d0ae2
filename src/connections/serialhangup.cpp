#include "connections/serialhangup.h"

#ifdef Q_OS_UNIX
#include <poll.h>
#endif

bool serialDeviceVanished(const QSerialPort& port, QSerialPort::SerialPortError error)
{
    if (!port.isOpen())
        return false;
    if (error == QSerialPort::ResourceError)
        return true;
#ifdef Q_OS_UNIX
    if (error == QSerialPort::ReadError || error == QSerialPort::WriteError) {
        pollfd descriptor{port.handle(), POLLIN, 0};
        return ::poll(&descriptor, 1, 0) == 1
               && (descriptor.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    }
#endif
    return false;
}
