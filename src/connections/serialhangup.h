#pragma once

#include <QSerialPort>

// Whether an error of an open port means that its device is gone.
//
// Beside the resource error there is the hang-up: Linux answers reads of a tty whose other end has
// vanished with 0 bytes, which QSerialPort takes for a failed read and reports again and again.
// Only the descriptor tells that from a read that failed and may work the next time. On systems
// without poll() only the resource error counts.
[[nodiscard]] bool serialDeviceVanished(
    const QSerialPort& port, QSerialPort::SerialPortError error);
