#pragma once

#include <QSerialPort>
#include <QString>

// What the file system says of a serial device, gathered after an open failed.
struct SerialDeviceFacts
{
    QString path;                   // full path or name of the device
    bool exists = true;             // there is something of that name
    bool isCharacterDevice = true;  // and it is a device rather than a file or folder
    bool accessible = true;         // this user may read and write it
    QString group;                  // the owning group's name; empty when unknown
    bool groupMayReadWrite = false; // members of that group may read and write it
};

// The full path of a port name, by the rule that QSerialPort opens it with.
QString serialDevicePath(const QString& portName);

// Asks the file system; does not open the device. On systems without device files only the path
// is known, and everything else is assumed to be in order.
SerialDeviceFacts serialDeviceFacts(const QString& path);

// One or two sentences on what a person can do about a port that did not open; empty when nothing
// is known that the error text itself does not say.
QString serialOpenAdvice(QSerialPort::SerialPortError error, const SerialDeviceFacts& facts);
