#include "terminal/view/textsaver.h"

#include "terminal/view/textsource.h"

#include <QDir>
#include <algorithm>

TextSaver::TextSaver(const TextSource& source, const QString& path, QObject* parent)
    : QObject(parent)
    , m_source(source)
    , m_file(path)
    , m_next(source.firstPosition())
    , m_end(source.endPosition())
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &TextSaver::writeSlice);
}

void TextSaver::start()
{
    // A failure to open shows in the first slice, so that it is reported like any other.
    (void)m_file.open(QIODevice::WriteOnly);
    m_timer.start();
}

void TextSaver::keepBeforeRemoval(qint64 end)
{
    const qint64 stop = std::min(end, m_end);
    if (stop <= m_next)
        return;
    m_kept.remove(0, m_keptUsed);
    m_keptUsed = 0;
    m_kept += m_source.textAt(m_next, stop - m_next);
    m_next = stop;
}

void TextSaver::writeSlice()
{
    if (!m_file.isOpen()) {
        finish(false);
        return;
    }
    const QString slice = takeSlice();
    if (slice.isEmpty()) {
        finish(m_file.commit());
        return;
    }
    const QByteArray bytes = slice.toUtf8();
    if (m_file.write(bytes) != bytes.size() || !m_file.flush())
        finish(false);
}

QString TextSaver::takeSlice()
{
    QString slice;
    const bool fromKept = m_keptUsed < m_kept.size();
    if (fromKept)
        slice = m_kept.mid(m_keptUsed, kSliceCharacters);
    else
        slice = m_source.textAt(m_next, std::min(kSliceCharacters, m_end - m_next));
    // The two halves of a character beyond U+FFFF are encoded together. The second half may be
    // in the source while the first is kept; then they are joined here.
    const bool last =
        fromKept ? m_keptUsed + slice.size() == m_kept.size() : m_next + slice.size() == m_end;
    if (slice.size() > 1 && !last && slice.back().isHighSurrogate())
        slice.chop(1);
    if (fromKept)
        m_keptUsed += slice.size();
    else
        m_next += slice.size();
    if (fromKept && last && slice.back().isHighSurrogate() && m_next < m_end)
        slice += m_source.textAt(m_next++, 1);
    if (m_keptUsed == m_kept.size()) {
        m_kept.clear();
        m_keptUsed = 0;
    }
    return slice;
}

void TextSaver::finish(bool ok)
{
    m_timer.stop();
    QString error;
    if (!ok) {
        error = tr("Cannot save \"%1\": %2")
                    .arg(QDir::toNativeSeparators(m_file.fileName()), m_file.errorString());
        m_file.cancelWriting();
    }
    Q_EMIT finished(ok, error);
}
