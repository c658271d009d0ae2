#include "log/logwriter.h"

#include "log/logfilename.h"
#include "settings/config.h"
#include "settings/formatsetting.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringEncoder>
#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// When the program started: as early as anything in it can record.
QDateTime launchTime()
{
    static const QDateTime launched = QDateTime::currentDateTime();
    return launched;
}

QString isoTime(const QDateTime& time)
{
    return time.toString(u"yyyy-MM-ddThh:mm:ss"_s);
}

// The lines of a log file are part of its format and the same in every language.
QByteArray header(const QString& fileName, const QDateTime& launched, const QDateTime& now)
{
    const QString text = isoTime(now) + "\n  Product: "_L1 + Config::applicationName()
                         + "\n  Version: "_L1 + QCoreApplication::applicationVersion()
                         + "\nFile Name: "_L1 + fileName + "\nLaunch at: "_L1 + isoTime(launched)
                         + u'\n';
    return text.toUtf8();
}

bool endsInMidLine(const QString& fileName)
{
    QFile file(fileName);
    char last = '\n';
    return file.open(QIODevice::ReadOnly) && file.size() > 0 && file.seek(file.size() - 1)
           && file.getChar(&last) && last != '\n';
}

// Opening one waits until somebody reads from it.
bool isPipe(const QString& fileName)
{
    std::error_code ignored;
    return std::filesystem::is_fifo(QFileInfo(fileName).filesystemFilePath(), ignored);
}

bool isSameHour(const QDateTime& one, const QDateTime& other)
{
    return one.date() == other.date() && one.time().hour() == other.time().hour();
}

// A write that was cut short may have left the first bytes of a character in the file.
bool beginsInMidCharacter(const QByteArray& utf8)
{
    return !utf8.isEmpty() && (uchar(utf8.front()) & 0xC0U) == 0x80U;
}

// Writes the first `length` bytes and takes off what went out, all of it or not.
bool writeFront(QFile& file, QByteArray& bytes, qsizetype length)
{
    while (length > 0) {
        const qint64 written = file.write(bytes.constData(), length);
        if (written <= 0)
            return false;
        bytes.remove(0, written);
        length -= written;
    }
    return true;
}

} // namespace

LogWriter::LogWriter(QObject* parent)
    : LogWriter([] { return QDateTime::currentDateTime(); }, parent)
{}

LogWriter::LogWriter(Clock clock, QObject* parent)
    : QObject(parent)
    , m_clock(std::move(clock))
    , m_launched(launchTime())
    , m_rotation(m_clock())
{}

LogWriter::~LogWriter() = default;

QString LogWriter::noFileNameText()
{
    return tr("Please input correct log file name!");
}

void LogWriter::appendLine(const QString& line, const FormatSetting& /*format*/)
{
    if (line.isEmpty())
        return;
    const qsizetype before = m_pending.size();
    QStringEncoder encoder(QStringEncoder::Utf8);
    m_pending.resize(before + encoder.requiredSpace(line.size()));
    m_pending.truncate(encoder.appendToBuffer(m_pending.data() + before, line) - m_pending.data());
    // What is missing is missing at one place, so nothing squeezes in after the first refusal.
    if (m_givenUpBytes > 0 || m_pending.size() > kMaxPendingBytes) {
        const bool first = m_givenUpBytes == 0;
        if (first)
            m_givenUpSince = m_clock();
        m_givenUpBytes += m_pending.size() - before;
        m_pending.truncate(before);
        if (first)
            Q_EMIT overflowed();
        return;
    }
    m_pendingLines += std::count(m_pending.cbegin() + before, m_pending.cend(), '\n');
}

bool LogWriter::flush(
    FormatSetting& format, const QString& portName, const QString& connection, QString* error)
{
    if (!hasPending())
        return true;
    const QDateTime now = m_clock();
    QString message;
    if (!resolveName(format, portName, now, message) || !rotateIfDue(format, portName, now, message)
        || !writeTo(format, now, kMaxFlushBytes, message)) {
        qWarning().noquote() << message;
        if (error != nullptr)
            *error = message;
        return false;
    }
    m_lastWrite = now;
    m_pendingLines = m_pending.isEmpty() ? 0 : m_pending.count('\n');
    if (m_givenUpBytes > 0)
        recordGap(connection, now);
    return true;
}

bool LogWriter::resolveName(
    FormatSetting& format, const QString& portName, const QDateTime& now, QString& error)
{
    QString& name = format.currentLogFileName;
    if (!logFileNameResolved(name))
        name = decode_file_name(format.logFilePath, portName, now);
    if (!logFileNameResolved(name)) {
        error = noFileNameText();
        return false;
    }
    const QFileInfo file(name);
    if (file.isDir()) {
        error = tr("Log path is a directory, not a file: %1").arg(name);
        return false;
    }
    if (!file.exists())
        qDebug() << "Create log file as file does not exist. file:" << name;
    noteFile(name);
    return true;
}

bool LogWriter::rotateIfDue(
    FormatSetting& format, const QString& portName, const QDateTime& now, QString& error)
{
    if (beginsInMidCharacter(m_pending) || !m_rotation.isDue(format, m_lastWrite, now))
        return true;
    if (endsInMidLine(format.currentLogFileName)) {
        // Only a line that alone is as long as a file may be is cut.
        const bool waits =
            format.logRotateAtSize && !m_pending.contains('\n')
            && QFileInfo(format.currentLogFileName).size() / 2 < format.logRotateSize;
        if (waits || !endLine(format, now, error))
            return waits;
    }
    if (m_pending.isEmpty())
        return true;
    if (!m_rotation.archive(format.currentLogFileName, now, error))
        return false;
    m_lead.clear();
    m_lastWrite = {};
    format.currentLogFileName = decode_file_name(format.logFilePath, portName, now);
    qDebug() << "Change log file to" << format.currentLogFileName;
    if (!logFileNameResolved(format.currentLogFileName)) {
        error = noFileNameText();
        return false;
    }
    noteFile(format.currentLogFileName);
    return true;
}

// The line that a file ends with belongs to it: what is left of it goes there before it is put
// aside.
bool LogWriter::endLine(const FormatSetting& format, const QDateTime& now, QString& error)
{
    const qsizetype rest = m_pending.indexOf('\n') + 1;
    return rest == 0 || writeTo(format, now, std::min(rest, kMaxFlushBytes), error);
}

// A time of rotation that passed since the last write, and an hour that changed, are facts of one
// file.
void LogWriter::noteFile(const QString& fileName)
{
    if (!m_fileName.isEmpty() && isSameLogFile(fileName, m_fileName))
        return;
    m_fileName = fileName;
    m_lastWrite = {};
    m_lead.clear();
}

QString LogWriter::openFailure(const QString& fileName, const QString& reason)
{
    return tr("Could not open log file '%1': %2").arg(fileName, reason);
}

bool LogWriter::writeTo(
    const FormatSetting& format, const QDateTime& now, qsizetype most, QString& error)
{
    const QString& name = format.currentLogFileName;
    const QString folder = QFileInfo(name).absolutePath();
    if (!QDir().mkpath(folder)) {
        error = tr("Could not create log directory '%1'").arg(folder);
        return false;
    }
    if (isPipe(name)) {
        error = openFailure(name, tr("it is a pipe"));
        return false;
    }
    QFile file(name);
    // Unbuffered: what write() took is with the system, and what it did not take is known.
    if (!file.open(QIODevice::Append | QIODevice::Text | QIODevice::Unbuffered)) {
        error = openFailure(name, file.errorString());
        return false;
    }
    prepareLead(file, format, now);
    if (writeFront(file, m_lead, m_lead.size()) && writePending(file, most, now))
        return true;
    error = tr("Could not write log file '%1': %2").arg(name, file.errorString());
    return false;
}

bool LogWriter::writePending(QFile& file, qsizetype most, const QDateTime& began)
{
    qsizetype left = std::min(m_pending.size(), most);
    do {
        const qsizetype slice = std::min(left, kSliceBytes);
        if (!writeFront(file, m_pending, slice))
            return false;
        left -= slice;
    } while (left > 0 && began.msecsTo(m_clock()) < kMaxFlushMs);
    return true;
}

void LogWriter::prepareLead(const QFile& file, const FormatSetting& format, const QDateTime& now)
{
    if (file.size() == 0) {
        m_lead = header(format.currentLogFileName, m_launched, now);
        m_freshLine = false;
    }
    // What an earlier write left over goes first, be it of these lines or of a character.
    if (!m_lead.isEmpty() || beginsInMidCharacter(m_pending))
        return;
    const bool newHour =
        format.needHourTimeStamp && m_lastWrite.isValid() && !isSameHour(m_lastWrite, now);
    if ((m_freshLine || newHour) && endsInMidLine(file.fileName()))
        m_lead = "\n"_ba;
    if (newHour)
        m_lead += "Current Time: "_ba + isoTime(now).toUtf8() + '\n';
    m_freshLine = false;
}

void LogWriter::recordGap(const QString& connection, const QDateTime& now)
{
    const qint64 bytes = std::exchange(m_givenUpBytes, 0);
    if (m_pending.isEmpty())
        m_freshLine = true;
    else if (!m_pending.endsWith('\n'))
        m_pending += '\n';
    const QString line =
        u"*** %1: %2 bytes of text from %3 to %4 are missing: the file could not be written ***\n"_s
            .arg(connection, QString::number(bytes), isoTime(m_givenUpSince), isoTime(now));
    m_pending += line.toUtf8();
    m_pendingLines = m_pending.count('\n');
    Q_EMIT gapRecorded(bytes);
}
