#pragma once

#include <QString>

struct Settings;

// What a pane is connected to, in few words: "ttyUSB0 115200 8N1", "TCP 127.0.0.1:6000",
// "UDP local 60000". A serial line is told as baud rate, data bits, first letter of the parity and
// stop bits, as people write it on devices.
[[nodiscard]] QString connectionSummary(const Settings& settings);
// The name of the port, or the summary while none is given: what log files are called by.
[[nodiscard]] QString connectionName(const Settings& settings);
