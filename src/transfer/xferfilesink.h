#pragma once

#include "transfer/engine/xfersink.h"
#include "transfer/xfernames.h"

#include <QCoreApplication>
#include <QFile>

// The file that is being received: written aside, in the folder it is for, and put into its place
// when it is whole.
//
// Nothing that exists is ever overwritten. The name is one that nobody has; when somebody takes it
// while the file arrives, the next one is used. The file aside bears a lock while it is written, so
// that two transfers into one folder do not share it, and one that a crash left behind is told from
// one that is in use. Writes are unbuffered beyond the system's own buffers. Owned by the session
// that receives.
class XferFileSink final : public XferSink
{
    Q_DECLARE_TR_FUNCTIONS(XferFileSink)
    Q_DISABLE_COPY_MOVE(XferFileSink)

public:
    // Leaves room for what a name gets in addition: " (9999)", ".partial", and a dot with ".part".
    static constexpr int kDefaultNameLimit = kXferMaxNameBytes - 24;

    // `defaultName` is used when the sender gives none.
    XferFileSink(QString directory, QString defaultName, int nameLimit = kDefaultNameLimit);
    // Throws away what was not committed.
    ~XferFileSink() override;

    bool open(const XferFileMeta& meta) override;
    bool write(QByteArrayView bytes) override;
    // Whether the volume has room for so many bytes and a little more; true when nobody knows.
    bool checkFreeSpace(qint64 bytes);
    bool commit(qint64 expectedSize) override;
    // Ends an uncommitted file. Kept, it gets ".partial" behind its name; see keptPath().
    void discard(bool keep);

    [[nodiscard]] bool isCommitted() const { return m_committed; }
    [[nodiscard]] QString finalPath() const { return m_finalPath; }
    // Where a file lies that could not be completed; empty when nothing was kept.
    [[nodiscard]] QString keptPath() const { return m_keptPath; }
    // The name that the sender asked for, when it could not be used as it was.
    [[nodiscard]] QString askedName() const { return m_askedName; }
    // A file of that name existed.
    [[nodiscard]] bool collided() const { return m_collided; }
    [[nodiscard]] qint64 bytesWritten() const { return m_written; }
    // Why the last operation failed, in words.
    [[nodiscard]] QString errorText() const { return m_error; }

private:
    bool fail(const QString& text);
    bool createAside(const QString& name);
    [[nodiscard]] static QString asidePathFor(const QString& finalPath);
    bool claim(const QString& asidePath);
    bool putInPlace();
    void applyTime();
    void keepAside();

    const QString m_directory;
    const QString m_defaultName;
    const int m_nameLimit;
    QFile m_file;
    QString m_wantedName;
    QString m_finalPath;
    QString m_keptPath;
    QString m_askedName;
    QString m_error;
    qint64 m_written = 0;
    qint64 m_mtime = 0; // seconds since the epoch; 0 for none
    bool m_collided = false;
    bool m_committed = false;
};
