#pragma once

#include <QDateTime>
#include <QString>

// Replaces the place-holders of a log pattern by parts of a date and time: %Y yyyy, %y yy, %M MM
// (month), %D dd, %h hh, %m mm (minute), %s ss, %z and %e zzz (milliseconds). Everything else
// stays as it is. An invalid time stands for the current one.
[[nodiscard]] QString decode_timestamp(const QDateTime& dateTime, const QString& pattern);
