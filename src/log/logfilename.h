#pragma once

#include "terminal/format/timestamppattern.h"

#include <QString>

// Names of data log files and the patterns that they are made from: %S is the port name, the
// others are those of decode_timestamp().

// "vmr_%S-%Y%M%D.log" in the home folder.
[[nodiscard]] QString defaultLogFilePath();
// The file name for a moment; the current one unless it is valid.
[[nodiscard]] QString decode_file_name(
    const QString& pattern, const QString& portName, const QDateTime& dateTime = {});
// decode_timestamp() of now.
[[nodiscard]] QString get_current_time(const QString& pattern);

// Stands for a name that no pattern has given yet.
[[nodiscard]] QString unresolvedLogFileName();
// More than two characters besides white space around them, and not the unresolved name.
[[nodiscard]] bool logFileNameResolved(const QString& name);
// Both name one file: their cleaned absolute paths are equal.
[[nodiscard]] bool isSameLogFile(const QString& one, const QString& other);

// The port name as a part of a file name: "/dev/pts/3" and "host:23" must not become folders or
// be refused by the file system.
[[nodiscard]] QString portNameForFile(const QString& portName);
