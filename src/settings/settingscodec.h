#pragma once

#include <QString>

struct DisplayFont;

// Pure conversions between what the records store and what the panels show. A time unit is the
// number of milliseconds per step of an interval; sizes are bytes stored and binary megabytes
// (1048576 bytes) shown.
namespace SettingsCodec {

// At least 1.
[[nodiscard]] qint32 sanitizeTimeUnit(qint32 unit);
// Wide, because the largest interval of the largest unit does not fit 32 bits.
[[nodiscard]] qint64 sendIntervalToMs(qint32 interval, qint32 unit);
// Integer division; the result saturates at the range of a spin box.
[[nodiscard]] qint32 msToSpinValue(qint64 ms, qint32 unit);

// The shift is done in 32 bits: what does not fit is cut off.
[[nodiscard]] qint32 rotateSizeMbToBytes(qint32 mb);
// Rounds towards zero.
[[nodiscard]] qint32 rotateSizeBytesToMb(qint32 bytes);
[[nodiscard]] qint32 displayBufferToStored(qint32 mb);
[[nodiscard]] qint32 storedToDisplayBuffer(qint32 bytes);

[[nodiscard]] QString defaultRxTimeFormat();
[[nodiscard]] QString defaultTxTimeFormat();
[[nodiscard]] QString defaultLogTimestampFmt();

// "family, point size, weight".
[[nodiscard]] QString fontToDisplayString(const DisplayFont& font);
// A colour of a record, in upper case: "#RRGGBB".
[[nodiscard]] QString colorToDisplayString(const QString& color);

} // namespace SettingsCodec
