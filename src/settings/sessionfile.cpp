#include "settings/sessionfile.h"

#include "settings/wholewrite.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryFile>
#include <algorithm>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView kByteOrderMark("\xEF\xBB\xBF");

QString tooLargeText(qint64 bytes)
{
    const QLocale locale;
    return SessionFile::tr("It would take %1, and a session has at most %2. Long texts in the send "
                           "histories are the usual reason; clear them and try again.")
        .arg(locale.formattedDataSize(bytes), locale.formattedDataSize(SessionFile::kMaxBytes));
}

// What can be in a session. Only a regular file: opening a pipe or a device can wait for ever. Not
// more lines than parsing takes in a moment, as each is a key of its own.
bool load(const QString& path, QByteArray& bytes, QString& message)
{
    QFile file(path);
    if (!QFileInfo(path).isFile())
        message = SessionFile::tr("It is a folder or a device, not a file.");
    else if (!file.open(QIODevice::ReadOnly))
        message = SessionFile::tr("It cannot be read: %1.").arg(file.errorString());
    else if (bytes = file.read(SessionFile::kMaxBytes + 1);
             bytes.size() > SessionFile::kMaxBytes
             || bytes.count('\n') + bytes.count('\r') > SessionFile::kMaxLines)
        message = SessionFile::tr("It is larger than any session: %1.")
                      .arg(QLocale().formattedDataSize(file.size()));
    else {
        // Editors of some systems put a mark in front, which an INI store takes for a broken line.
        if (bytes.startsWith(kByteOrderMark))
            bytes.remove(0, kByteOrderMark.size());
        return true;
    }
    return false;
}

// Sections are parsed when they are asked for, so faults in them show only then.
bool isDamaged(const QSettings& ini)
{
    (void)ini.allKeys();
    return ini.status() != QSettings::NoError;
}

QString noRoomText(const QString& reason)
{
    return SessionFile::tr("The temporary folder %1 has no room: %2.")
        .arg(QDir::toNativeSeparators(QDir::tempPath()), reason);
}

// An INI store knows UTF-8 only and spoils what another program wrote in an older encoding: each
// such byte stands in the scratch file as two of the characters that no text should hold, U+FDD0
// to U+FDEF, and so do the bytes of those that a text holds nevertheless.
QByteArray shielded(const QByteArray& bytes)
{
    QByteArray result;
    for (QByteArrayView rest(bytes); !rest.isEmpty();) {
        qsizetype length = 1; // of the character in front
        while (length < 4 && length < rest.size() && !rest.first(length).isValidUtf8())
            ++length;
        if (!rest.first(length).isValidUtf8() || rest.startsWith("\xEF\xB7")) {
            length = 1;
            const auto byte = uchar(rest.front());
            (result += "\xEF\xB7") += char(0x90 + (byte >> 4));
            (result += "\xEF\xB7") += char(0xA0 + (byte & 0xF));
        } else {
            result += rest.first(length);
        }
        rest = rest.sliced(length);
    }
    return result;
}

// The bytes back in the place of their two characters, which are escaped in keys.
QByteArray unshielded(const QByteArray& bytes)
{
    QByteArray result;
    for (QByteArrayView rest(bytes); !rest.isEmpty();) {
        const auto isAt = [&rest](qsizetype at, QByteArrayView prefix) {
            return rest.sliced(std::min(at, rest.size())).startsWith(prefix);
        };
        qsizetype length = 1;
        if (isAt(0, "\xEF\xB7") && isAt(3, "\xEF\xB7") && rest.size() >= 6) {
            length = 6;
            result += char((rest[2] & 0xF) << 4 | (rest[5] & 0xF));
        } else if (isAt(0, "%UFDD") && isAt(6, "%UFDE") && rest.size() >= 12) {
            length = 12;
            result += QByteArray::fromHex(QByteArray(1, rest[5]) + rest[11]);
        } else {
            result += rest.front();
        }
        rest = rest.sliced(length);
    }
    return result;
}

// A private file with these bytes. False with the reason when there is no room for it.
bool fill(QTemporaryFile& file, const QByteArray& bytes, QString& message)
{
    if (file.open() && writeWhole(file, bytes))
        return true;
    message = noRoomText(file.errorString());
    return false;
}

// A damaged file keeps an INI store in its error state for good; what can be read of a session goes
// into a sound one.
bool repair(QTemporaryFile& scratch)
{
    QMap<QString, QVariant> values;
    {
        const QSettings ini(scratch.fileName(), QSettings::IniFormat);
        if (!isDamaged(ini))
            return true;
        const QStringList keys = SessionCodec::isSession(ini) ? ini.allKeys() : QStringList();
        for (const QString& key : keys)
            values.insert(key, ini.value(key));
    }
    if (!scratch.resize(0))
        return false;
    QSettings ini(scratch.fileName(), QSettings::IniFormat);
    ini.setAtomicSyncRequired(false);
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        ini.setValue(it.key(), it.value());
    return true;
}

// A value as an INI file knows it: texts. No list and a list of one empty text are the same there.
QStringList textsOf(const QVariant& value)
{
    const int type = value.typeId();
    const bool isList = type == QMetaType::QStringList || type == QMetaType::QVariantList;
    const QStringList texts = isList ? value.toStringList() : QStringList{value.toString()};
    return texts.isEmpty() ? QStringList{QString()} : texts;
}

// Whether the bytes say what the store holds. An INI store on a full disk claims to be written
// when it is cut short.
bool isComplete(const QByteArray& bytes, const QSettings& ini, QString& message)
{
    QTemporaryFile copy;
    if (!fill(copy, bytes, message))
        return false;
    const QSettings written(copy.fileName(), QSettings::IniFormat);
    const QStringList keys = ini.allKeys();
    const bool complete =
        written.allKeys() == keys && std::ranges::all_of(keys, [&](const QString& key) {
            return textsOf(written.value(key)) == textsOf(ini.value(key));
        });
    if (!complete)
        message = noRoomText(SessionFile::tr("the session was cut short"));
    return complete;
}

// Brings the keys of a session that this version does not know over.
bool carryOver(const QByteArray& origin, QSettings& ini, QString& message)
{
    if (origin.isEmpty())
        return true;
    QTemporaryFile copy;
    if (!fill(copy, origin, message))
        return false;
    const QSettings source(copy.fileName(), QSettings::IniFormat);
    for (const QString& key : source.allKeys()) {
        if (!SessionCodec::isOwnKey(key))
            ini.setValue(key, source.value(key));
    }
    return true;
}

// The bytes of a session file that was `old` and gets these contents; nothing and the reason when
// they could not be put together.
QByteArray compose(const QByteArray& old, const QByteArray& origin, const SessionContents& contents,
    const SessionCodec::Progress& progress, QString& message)
{
    const bool isUtf8 = old.isValidUtf8() && origin.isValidUtf8();
    const QByteArray sound = isUtf8 ? old : shielded(old);
    if (sound.size() > SessionFile::kMaxBytes) {
        message = tooLargeText(sound.size());
        return {};
    }
    QTemporaryFile scratch;
    if (!fill(scratch, sound, message))
        return {};
    if (!repair(scratch)) {
        message = noRoomText(scratch.errorString());
        return {};
    }
    QSettings ini(scratch.fileName(), QSettings::IniFormat);
    ini.setAtomicSyncRequired(false);
    if (!carryOver(isUtf8 ? origin : shielded(origin), ini, message))
        return {};
    SessionCodec::write(ini, contents, progress);
    ini.sync();
    QFile result(scratch.fileName());
    const QByteArray bytes = result.open(QIODevice::ReadOnly) ? result.readAll() : QByteArray();
    if (!isComplete(bytes, ini, message))
        return {};
    return isUtf8 ? bytes : unshielded(bytes);
}

// Some file systems, on a network above all, tell only now that there was no room.
bool isOnDisk(const QSaveFile& file)
{
#ifdef Q_OS_UNIX
    return fsync(file.handle()) == 0 || errno == EINVAL; // one that cannot be asked
#else
    return file.handle() >= 0;
#endif
}

bool replace(const QString& path, const QByteArray& bytes, QString& message)
{
    QSaveFile file(path);
    // Unbuffered: commit() takes a buffer that the disk had no room for for written.
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && writeWhole(file, bytes)
        && isOnDisk(file) && file.commit())
        return true;
    message =
        SessionFile::tr("It could not be written: %1.")
            .arg(file.error() == QFileDevice::NoError ? qt_error_string() : file.errorString());
    return false;
}

} // namespace

bool SessionFile::read(
    const QString& path, SessionContents& contents, QString& message, QByteArray* origin)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        message = tr("The file does not exist.");
        return false;
    }
    QByteArray bytes;
    if (!load(path, bytes, message))
        return false;
    // Parsed where it is, unless something had to be taken off it.
    QTemporaryFile scratch;
    const bool copied = bytes.size() != info.size();
    if (copied && !fill(scratch, bytes, message))
        return false;
    const QSettings ini(
        copied ? scratch.fileName() : info.absoluteFilePath(), QSettings::IniFormat);
    if (ini.status() == QSettings::AccessError) {
        message = tr("It cannot be read.");
        return false;
    }
    const bool damaged = isDamaged(ini);
    if (!SessionCodec::isSession(ini)) {
        message = tr("It is not a session file of this program.");
        return false;
    }
    contents = SessionCodec::read(ini);
    if (origin != nullptr)
        *origin = bytes;
    if (damaged)
        message = tr("Parts of it are damaged. What could be read was opened; check the settings "
                     "before you save.");
    return true;
}

bool SessionFile::write(const QString& path, const SessionContents& contents, QString& message,
    const SessionCodec::Progress& progress, const QByteArray& origin)
{
    QByteArray old;
    if (QFileInfo::exists(path) && !load(path, old, message))
        return false;
    const QByteArray bytes = compose(old, origin, contents, progress, message);
    if (bytes.isEmpty())
        return false;
    if (bytes.size() > kMaxBytes) {
        message = tooLargeText(bytes.size());
        return false;
    }
    return replace(path, bytes, message);
}

QString SessionFile::strippedName(const QString& path)
{
    constexpr auto kPrefix = "Session_"_L1;
    const QString name = QFileInfo(path).fileName();
    return name.startsWith(kPrefix) ? name.sliced(kPrefix.size()) : name;
}
