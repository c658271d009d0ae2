#pragma once

#include <QByteArray>

namespace simdevice {

/// What the device prints at power-on, with ANSI colours; lines end in CR LF.
QByteArray bootBanner();

/// Answer to "ATI".
QByteArray identity();

/// Lines of UTF-8 text with characters of two, three and four bytes, wide and combining ones.
QByteArray utf8Sample();

/// One reading of the simulated sensors, without line end. `upMs`: since power-on. Equal arguments
/// give equal lines; the values drift and ripple as a warm board on a bench supply does.
QByteArray sensorLine(qint64 upMs, qint64 sample);

} // namespace simdevice
