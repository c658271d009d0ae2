#include "bridge/bridgelog.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

BridgeLog::BridgeLog(Options options, Clock clock)
    : m_options(std::move(options))
    , m_clock(std::move(clock))
    , m_file(m_options.path)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &BridgeLog::write);
}

BridgeLog::~BridgeLog()
{
    flush();
}

QByteArray BridgeLog::stamp() const
{
    return m_clock().toString("yyyy-MM-dd HH:mm:ss.zzz"_L1).toLatin1();
}

void BridgeLog::note(const QString& text)
{
    append("# " + text.toUtf8() + ' ' + stamp() + '\n', 0);
}

void BridgeLog::record(bool fromA, QByteArrayView bytes, const QString& peer)
{
    QByteArray head = stamp() + (fromA ? " A>B " : " B>A ");
    if (!peer.isEmpty())
        head += peer.toUtf8() + ' ';
    for (qsizetype at = 0; at < bytes.size(); at += kLineBytes) {
        const QByteArrayView piece = bytes.sliced(at, qMin(kLineBytes, bytes.size() - at));
        QByteArray line = head;
        appendPayload(line, piece);
        append(line + '\n', piece.size());
    }
}

void BridgeLog::appendPayload(QByteArray& line, QByteArrayView bytes) const
{
    if (m_options.hex) {
        line += bytes.toByteArray().toHex(' ').toUpper();
        return;
    }
    for (const char byte : bytes) {
        const auto code = quint8(byte);
        if (byte == '\\')
            line += "\\\\";
        else if (byte == '\r')
            line += "\\r";
        else if (byte == '\n')
            line += "\\n";
        else if (byte == '\t')
            line += "\\t";
        else if (code < 0x20 || code >= 0x7F)
            line += "\\x" + QByteArray(1, byte).toHex().toUpper();
        else
            line += byte;
    }
}

void BridgeLog::append(const QByteArray& line, qsizetype payload)
{
    if (m_pending.size() >= kMaxPendingBytes) {
        m_missing += payload;
        return;
    }
    if (m_missing > 0) {
        const QString text =
            tr("%n byte(s) are missing here.", nullptr, int(qMin<qint64>(m_missing, 1 << 30)));
        m_missing = 0;
        m_pending += "# " + text.toUtf8() + ' ' + stamp() + '\n';
    }
    m_pending += line;
    if (!m_timer.isActive())
        m_timer.start(kWriteDelayMs);
}

void BridgeLog::write()
{
    if (!writeSome())
        m_timer.start(kRetryMs);
    else if (!m_pending.isEmpty())
        m_timer.start(0);
}

bool BridgeLog::flush()
{
    while (!m_pending.isEmpty()) {
        if (!writeSome())
            return false;
    }
    return true;
}

bool BridgeLog::writeSome()
{
    if (m_pending.isEmpty())
        return true;
    if (!prepareFile())
        return false;
    // A file ends with a whole line.
    qsizetype length = m_pending.size();
    if (length > kMaxWriteBytes) {
        const qsizetype end = m_pending.lastIndexOf('\n', kMaxWriteBytes);
        length = end < 0 ? length : end + 1;
    }
    const qint64 written = m_file.write(m_pending.constData(), length);
    if (written > 0)
        m_pending.remove(0, written);
    if (written < length)
        return fail(
            m_file.error() == QFileDevice::NoError || m_file.error() == QFileDevice::WriteError
                ? qt_error_string()
                : m_file.errorString());
    setError({});
    return true;
}

bool BridgeLog::prepareFile()
{
    // Somebody has moved it away: what follows belongs into a file of that name.
    if (m_file.isOpen() && !QFile::exists(m_options.path))
        m_file.close();
    if (m_file.isOpen() && m_file.size() < m_options.rotateBytes)
        return true;
    if (!m_file.isOpen() && QFile(m_options.path).size() < m_options.rotateBytes)
        return m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)
               || fail(m_file.errorString());
    return rotate();
}

bool BridgeLog::rotate()
{
    const QString former = m_options.path + ".1"_L1;
    m_file.close();
    if (QFile::exists(former) && !QFile::remove(former))
        return fail(tr("%1 cannot be replaced").arg(former));
    if (!QFile::rename(m_options.path, former))
        return fail(tr("%1 cannot be renamed").arg(m_options.path));
    return m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)
           || fail(m_file.errorString());
}

bool BridgeLog::fail(const QString& reason)
{
    m_file.close();
    setError(reason);
    return false;
}

void BridgeLog::setError(const QString& error)
{
    if (std::exchange(m_error, error) != error)
        Q_EMIT errorChanged();
}
