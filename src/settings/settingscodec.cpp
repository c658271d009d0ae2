#include "settings/settingscodec.h"

#include "settings/formatsetting.h"

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace SettingsCodec {

namespace {

constexpr qint32 kBytesPerMb = 1 << 20;

qint32 mbToBytes(qint32 mb)
{
    return static_cast<qint32>(static_cast<quint32>(mb) << 20);
}

} // namespace

qint32 sanitizeTimeUnit(qint32 unit)
{
    return std::max(unit, 1);
}

qint64 sendIntervalToMs(qint32 interval, qint32 unit)
{
    return qint64{interval} * sanitizeTimeUnit(unit);
}

qint32 msToSpinValue(qint64 ms, qint32 unit)
{
    using Range = std::numeric_limits<qint32>;
    return static_cast<qint32>(
        std::clamp<qint64>(ms / sanitizeTimeUnit(unit), Range::min(), Range::max()));
}

qint32 rotateSizeMbToBytes(qint32 mb)
{
    return mbToBytes(mb);
}

qint32 rotateSizeBytesToMb(qint32 bytes)
{
    return bytes / kBytesPerMb;
}

qint32 displayBufferToStored(qint32 mb)
{
    return mbToBytes(mb);
}

qint32 storedToDisplayBuffer(qint32 bytes)
{
    return bytes / kBytesPerMb;
}

QString defaultRxTimeFormat()
{
    return FormatSetting{}.rxTimeFormat;
}

QString defaultTxTimeFormat()
{
    return FormatSetting{}.txTimeFormat;
}

QString defaultLogTimestampFmt()
{
    return FormatSetting{}.logTimestampFormat;
}

QString fontToDisplayString(const DisplayFont& font)
{
    return u"%1, %2, %3"_s.arg(
        font.family, QString::number(font.pointSize), QString::number(font.weight));
}

QString colorToDisplayString(const QString& color)
{
    return color.toUpper();
}

} // namespace SettingsCodec
