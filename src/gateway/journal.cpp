#include "gateway/journal.h"

#include "base/clock.h"

#include <QDateTime>
#include <utility>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

// A pipe that poll() calls writable takes so much without waiting.
constexpr qsizetype kPieceBytes = 4096;

// JOURNAL_STREAM names device and inode of the stream that the journal reads; a program further
// down may have another standard error.
bool isSystemJournal(int descriptor)
{
#ifdef Q_OS_UNIX
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return false;
    const QByteArray own = QByteArray::number(quint64(status.st_dev)) + ':'
                           + QByteArray::number(quint64(status.st_ino));
    return qgetenv("JOURNAL_STREAM") == own;
#else
    Q_UNUSED(descriptor)
    return false;
#endif
}

// How many of the bytes were taken; -1 when nobody will ever read them.
qsizetype writeSome(int descriptor, QByteArrayView bytes)
{
#ifdef Q_OS_UNIX
    pollfd ready = {descriptor, POLLOUT, 0};
    if (poll(&ready, 1, 0) <= 0)
        return 0;
    if ((ready.revents & POLLOUT) == 0)
        return -1;
    const ssize_t written =
        ::write(descriptor, bytes.data(), std::size_t(qMin(bytes.size(), kPieceBytes)));
    return written < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : written;
#else
    Q_UNUSED(descriptor)
    return qsizetype(std::fwrite(bytes.data(), 1, std::size_t(bytes.size()), stderr));
#endif
}

QString levelName(Journal::Level level)
{
    switch (level) {
    case Journal::Level::Error:
        return u"error"_s;
    case Journal::Level::Warning:
        return u"warning"_s;
    case Journal::Level::Notice:
        return u"notice"_s;
    case Journal::Level::Info:
        break;
    }
    return u"info"_s;
}

} // namespace

Journal::Journal(int descriptor, QObject* parent)
    : QObject(parent)
    , m_descriptor(descriptor)
    , m_isSystemJournal(isSystemJournal(descriptor))
{
    m_retry.setSingleShot(true);
    m_retry.setInterval(kRetryMs);
    connect(&m_retry, &QTimer::timeout, this, &Journal::flush);
}

Journal::~Journal()
{
    flush();
}

void Journal::write(Level level, const QString& text)
{
    if (m_pending.size() >= kMaxPendingBytes) {
        ++m_givenUp;
    } else {
        if (m_givenUp > 0)
            append(Level::Warning, u"%1 lines are missing here"_s.arg(std::exchange(m_givenUp, 0)));
        append(level, text);
    }
    if (!m_retry.isActive())
        flush();
}

bool Journal::isNews(const QString& text)
{
    const qint64 now = monotonicMs();
    const auto said = m_said.constFind(text);
    if (said != m_said.constEnd() && now - *said < kRepeatMs)
        return false;
    if (m_said.size() >= kMaxRemembered)
        m_said.clear();
    m_said.insert(text, now);
    return true;
}

void Journal::append(Level level, const QString& text)
{
    QByteArray line = m_isSystemJournal
                          ? '<' + QByteArray::number(int(level)) + '>'
                          : (QDateTime::currentDateTime().toString(u"yyyy-MM-dd hh:mm:ss.zzz "_s)
                              + levelName(level) + u' ')
                                .toUtf8();
    line += text.simplified().toUtf8();
    line.truncate(kMaxLineBytes - 1);
    m_pending += line + '\n';
}

void Journal::flush()
{
    while (!m_pending.isEmpty()) {
        const qsizetype written = writeSome(m_descriptor, m_pending);
        if (written < 0)
            m_pending.clear();
        else if (written == 0)
            break;
        else
            m_pending.remove(0, written);
    }
    if (!m_pending.isEmpty())
        m_retry.start();
}
