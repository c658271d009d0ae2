#pragma once

#include <QList>
#include <QString>

// What is known of one serial port of this machine. Texts that the system does not give are empty.
struct SerialPortDescription
{
    QString portName;       // the name to open it by, for example "ttyUSB0" or "COM3"
    QString description;    // what the device calls itself
    QString manufacturer;   // who made it
    QString serialNumber;   // tells two devices of one kind apart
    QString systemLocation; // the full path or name of the device

    friend bool operator==(const SerialPortDescription&, const SerialPortDescription&) = default;
};

// The serial ports that can be opened, as the selector lists them and as reconnection looks for
// them. An interface, so that a test can make ports come and go. Asked anew each time: nothing is
// cached, and an implementation owns no port.
class SerialPortCatalog
{
public:
    SerialPortCatalog() = default;
    virtual ~SerialPortCatalog();
    Q_DISABLE_COPY_MOVE(SerialPortCatalog)

    // Every port, in the order in which the system lists them.
    virtual QList<SerialPortDescription> ports() const = 0;

    // A folder that changes when a port comes or goes, so that nobody has to ask all the time;
    // empty when the system has none.
    [[nodiscard]] virtual QString watchedFolder() const { return {}; }

    // Whether a port of exactly this name (case counts) can be opened now; false for an empty name.
    virtual bool contains(const QString& name) const;
};
