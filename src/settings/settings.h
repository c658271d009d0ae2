#pragma once

#include "settings/connectionmode.h"

#include <QString>
#include <QStringList>

// How a pane connects: transport, serial line parameters and network target. A plain value, copied
// freely. Files and panels may leave any number in it; whoever opens a connection opens it with
// sanitized(), and only with that.
struct Settings
{
    connectionMode connMode = connectionMode::SerialPort;
    QString portName;
    qint32 baudRate = 9600; // bits per second
    qint32 dataBits = 8;
    QString stringBaudRate = QStringLiteral("9600");
    qint32 parity = 0; // QSerialPort::Parity
    QString stringParity = QStringLiteral("None");
    qint32 stopBits = 1; // QSerialPort::StopBits
    QString stringStopBits = QStringLiteral("1");
    qint32 flowControl = 0; // QSerialPort::FlowControl
    QString stringFlowControl = QStringLiteral("None");
    bool dtrOn = true;
    bool rtsOn = true;
    QString targetHost = QStringLiteral("127.0.0.1");
    qint32 targetPort = 6000;
    // Hosts entered so far; the one in use stands first, see useTargetHost().
    QStringList targetHosts{QStringLiteral("127.0.0.1")};
    quint16 udpLocalPort = 60001;
    quint16 udpServerPort = 60000;
    // Remote serial transports: keep the remote port's own line parameters.
    bool useRemoteSerialConfig = true;
    QString relayCid;
    QString relayPortName;
    QString relayPortKey;

    // The longest host history that useTargetHost() keeps.
    static constexpr qsizetype kMaxTargetHosts = 32;

    // Makes `host` the target and puts it at the front of the history, once. A session file keeps
    // only the history, so this order is what brings the same host back. An empty host is ignored.
    void useTargetHost(const QString& host);

    // Rebuilds the four text fields from the numbers; an unknown code is shown as its default.
    void refreshTexts();

    // A copy that a device can be opened with: baud rate at least 1, data bits 5 to 8, parity,
    // stop bits and flow control among QSerialPort's values (else none, one, none), target port
    // 0 to 65535 (0 lets the system choose a listening port), texts rebuilt.
    [[nodiscard]] Settings sanitized() const;

    friend bool operator==(const Settings&, const Settings&) = default;
};
