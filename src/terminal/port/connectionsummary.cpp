#include "terminal/port/connectionsummary.h"

#include "settings/settings.h"

#include <QCoreApplication>
#include <QSerialPort>

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("ConnectionSummary", text);
}

QChar parityLetter(int parity)
{
    switch (parity) {
    case QSerialPort::EvenParity:
        return u'E';
    case QSerialPort::OddParity:
        return u'O';
    case QSerialPort::SpaceParity:
        return u'S';
    case QSerialPort::MarkParity:
        return u'M';
    default:
        return u'N';
    }
}

QString serialSummary(const Settings& settings)
{
    if (settings.portName.isEmpty())
        return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "No port chosen"));
    return QStringLiteral("%1 %2 %3%4%5")
        .arg(settings.portName, QString::number(settings.baudRate),
            QString::number(settings.dataBits), parityLetter(settings.parity),
            settings.stringStopBits);
}

QString portText(int port)
{
    return port == 0 ? translated(QT_TRANSLATE_NOOP("ConnectionSummary", "any free port"))
                     : QString::number(port);
}

} // namespace

QString connectionSummary(const Settings& settings)
{
    const Settings sane = settings.sanitized();
    const QString target =
        QStringLiteral("%1:%2").arg(sane.targetHost, QString::number(sane.targetPort));
    switch (sane.connMode) {
    case connectionMode::SerialPort:
        return serialSummary(sane);
    case connectionMode::TcpClient:
        return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "TCP %1")).arg(target);
    case connectionMode::RemoteSerialRfc2217:
        return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "RFC 2217 %1")).arg(target);
    case connectionMode::UdpServer:
        return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "UDP local %1"))
            .arg(portText(sane.udpServerPort));
    case connectionMode::UdpClient:
    case connectionMode::UdpMode6:
        return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "UDP local %1 to %2"))
            .arg(portText(sane.udpLocalPort), target);
    case connectionMode::TcpServer:
        return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "TCP server %1"))
            .arg(portText(sane.targetPort));
    case connectionMode::NoTransport:
    case connectionMode::RemoteSerialCloudRelay:
        break;
    }
    return translated(QT_TRANSLATE_NOOP("ConnectionSummary", "No connection"));
}

QString connectionName(const Settings& settings)
{
    return settings.portName.isEmpty() ? connectionSummary(settings) : settings.portName;
}
