#include "transfer/xfernames.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kLastNumber = 9999;
constexpr char16_t kDelete = 0x7F;

bool isReserved(QChar character)
{
    return character < u' ' || character == QChar(kDelete) || u"\"*/:<>?\\|"_s.contains(character);
}

// The devices of a well-known system, which opens one whatever follows the dot.
bool namesDevice(const QString& name)
{
    const QString stem = name.section(u'.', 0, 0).toUpper();
    constexpr std::array kDevices{"CON"_L1, "PRN"_L1, "AUX"_L1, "NUL"_L1};
    if (std::ranges::any_of(kDevices, [&](QLatin1StringView device) { return stem == device; }))
        return true;
    return stem.size() == 4 && (stem.startsWith("COM"_L1) || stem.startsWith("LPT"_L1))
           && stem.back() >= u'1' && stem.back() <= u'9';
}

QString withoutTrailingDots(QString name)
{
    name = name.trimmed();
    while (name.endsWith(u'.')) {
        name.chop(1);
        name = name.trimmed();
    }
    return name;
}

QString cutToBytes(const QString& name, int limit)
{
    QByteArray bytes = name.toUtf8();
    if (bytes.size() <= limit)
        return name;
    qsizetype end = limit;
    // A byte of the form 10xxxxxx continues a character.
    while (end > 0 && (uchar(bytes.at(end)) & 0xC0) == 0x80)
        --end;
    return QString::fromUtf8(bytes.first(end));
}

bool exists(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

QString xferSafeFileName(const QString& name, int limit, int number)
{
    QString safe = name.sliced(std::max(name.lastIndexOf(u'/'), name.lastIndexOf(u'\\')) + 1);
    if (const qsizetype colon = safe.indexOf(u':'); colon >= 0)
        safe.truncate(colon);
    safe.removeIf(isReserved);
    safe = withoutTrailingDots(safe);
    if (namesDevice(safe))
        safe.prepend(u'_');
    const int longest = limit < 1 ? kXferMaxNameBytes : std::min(limit, kXferMaxNameBytes);
    safe = withoutTrailingDots(cutToBytes(safe, longest));
    return safe.isEmpty() ? u"received_%1.bin"_s.arg(number) : safe;
}

QString xferUniquePath(const QString& directory, const QString& name)
{
    return xferUniquePath(directory, name, exists);
}

QString xferUniquePath(const QString& directory, const QString& name,
    const std::function<bool(const QString& path)>& isTaken)
{
    const QDir dir(directory);
    const QFileInfo info(name);
    const QString suffix = info.suffix().isEmpty() ? QString() : u'.' + info.suffix();
    const QString base = name.chopped(suffix.size());
    QString path = dir.filePath(name);
    for (int number = 1; isTaken(path); ++number) {
        if (number > kLastNumber)
            return dir.filePath(u"%1 (%2)"_s.arg(base).arg(QDateTime::currentMSecsSinceEpoch()));
        path = dir.filePath(u"%1 (%2)%3"_s.arg(base).arg(number).arg(suffix));
    }
    return path;
}
