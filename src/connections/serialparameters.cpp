#include "connections/serialparameters.h"

#include "connections/serialtransport.h"

#include <QSerialPort>

#ifdef Q_OS_UNIX
#include <termios.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

// QSerialPort sets the bit that makes odd and even parity mark and space, and never clears it: a
// port that was once at mark would stay there, also when another program has left it so.
bool setParity(QSerialPort& port, QSerialPort::Parity parity)
{
    if (!port.setParity(parity))
        return false;
#ifdef CMSPAR
    if (parity == QSerialPort::MarkParity || parity == QSerialPort::SpaceParity)
        return true;
    termios line{};
    if (::tcgetattr(port.handle(), &line) != 0 || (line.c_cflag & CMSPAR) == 0)
        return true;
    line.c_cflag &= ~tcflag_t(CMSPAR);
    return ::tcsetattr(port.handle(), TCSANOW, &line) == 0;
#else
    return true;
#endif
}

} // namespace

QStringList applySerialParameters(
    QSerialPort& port, const Settings& settings, SerialParameters which)
{
    const bool all = which == SerialParameters::All;
    QStringList refused;
    const auto check = [&](bool accepted, const QString& what) {
        if (!accepted)
            refused.append(what + u": "_s + port.errorString());
    };
    const auto dataBits = static_cast<QSerialPort::DataBits>(settings.dataBits);
    const auto parity = static_cast<QSerialPort::Parity>(settings.parity);
    const auto stopBits = static_cast<QSerialPort::StopBits>(settings.stopBits);
    const auto flowControl = static_cast<QSerialPort::FlowControl>(settings.flowControl);
    if (all || port.baudRate() != settings.baudRate)
        check(port.setBaudRate(settings.baudRate), SerialTransport::tr("the baud rate"));
    if (all || port.dataBits() != dataBits)
        check(port.setDataBits(dataBits), SerialTransport::tr("the data bits"));
    if (all || port.parity() != parity)
        check(setParity(port, parity), SerialTransport::tr("the parity"));
    if (all || port.stopBits() != stopBits)
        check(port.setStopBits(stopBits), SerialTransport::tr("the stop bits"));
    if (all || port.flowControl() != flowControl)
        check(port.setFlowControl(flowControl), SerialTransport::tr("the flow control"));
    return refused;
}
