#include "simdevice/texts.h"

#include <QStringBuilder>

#include <cmath>

namespace simdevice {

QByteArray bootBanner()
{
    return "\r\n"
           "\x1b[1;36m+--------------------------------------------------+\x1b[0m\r\n"
           "\x1b[1;36m|\x1b[0m  \x1b[1mVelmora bench device\x1b[0m"
           "          no hardware here  \x1b[1;36m|\x1b[0m\r\n"
           "\x1b[1;36m+--------------------------------------------------+\x1b[0m\r\n"
           "  \x1b[32m[ ok ]\x1b[0m  firmware     1.0\r\n"
           "  \x1b[32m[ ok ]\x1b[0m  sensors      temperature, supply voltage\r\n"
           "  \x1b[33m[warn]\x1b[0m  calibration  none, values are simulated\r\n"
           "  \x1b[32m[ ok ]\x1b[0m  console      type \x1b[1mAT+HELP\x1b[0m for the commands\r\n"
           "\r\n";
}

QByteArray identity()
{
    return "Velmora bench device\r\n"
           "Firmware: 1.0\r\n"
           "Serial number: SIM-0001\r\n";
}

QByteArray utf8Sample()
{
    return "Gr\u00FC\u00DFe, \u00E7a va, za\u017C\u00F3\u0142\u0107\r\n"
           "\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC, "
           "\u043A\u0438\u0440\u0438\u043B\u043B\u0438\u0446\u0430, "
           "\u05E2\u05D1\u05E8\u05D9\u05EA\r\n"
           "\u6E29\u5EA6\u8BA1, \u6E29\u5EA6\u8A08, \uC628\uB3C4\uACC4\r\n"
           "21.5 \u00B0C \u00B1 0.1, 4.7 k\u03A9, 10 \u00B5F, e\u0301 (combining)\r\n"
           "\u2714 \u26A0 \U0001F321 \U0001F50B\r\n";
}

QByteArray sensorLine(qint64 upMs, qint64 sample)
{
    const auto phase = static_cast<double>(sample);
    const double celsius = 23.5 + 1.8 * std::sin(phase / 40.0) + 0.06 * std::sin(phase * 1.7);
    const double volt = 3.301 + 0.012 * std::sin(phase / 9.0) + 0.003 * std::sin(phase * 2.3);
    const auto field = [](double value, int decimals, int width) {
        return QByteArray::number(value, 'f', decimals).rightJustified(width);
    };
    return '[' + field(static_cast<double>(upMs) / 1000.0, 3, 10) + "]  temp "
           + field(celsius, 2, 6) + " C   volt " + field(volt, 3, 6) + " V   count "
           + QByteArray::number(sample).rightJustified(6, '0');
}

} // namespace simdevice
