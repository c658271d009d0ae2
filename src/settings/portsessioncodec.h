#pragma once

#include "settings/sessioncontents.h"

class QSettings;

// One pane's part of a session file: its keys "INDEX/Name" in the INI store that the caller has
// opened. A table in the source names every key, its field and its rules.
namespace PortSessionCodec {

// Whether a pane has a key of this name, read-only ones included.
[[nodiscard]] bool isKey(const QString& name);

// Whether a session file would hold the same of both panes.
[[nodiscard]] bool isSameInFile(const SessionPane& one, const SessionPane& other);

// Writes the pane's keys in the order of the file format; the host in use stands first among the
// hosts, also when it is off the history. The log rotation fields and the hourly
// time stamp are not among them, on purpose: a session file may carry them, saving leaves them
// alone.
void write(QSettings& file, int pane, const Settings& settings, const FormatSetting& format);

// Reads the same keys plus the five read-only ones. A missing key gives zero, false or empty,
// except for lines, lamps and the remote configuration (true), the Enter mode (1), the local UDP
// port (60001) and texts that must not be empty (their defaults). Fields without a key in the
// file keep the value they have. The first host of the history becomes the target.
void read(const QSettings& file, int pane, Settings& settings, FormatSetting& format);

} // namespace PortSessionCodec
