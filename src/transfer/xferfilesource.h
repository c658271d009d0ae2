#pragma once

#include "transfer/engine/xferfilemeta.h"
#include "transfer/engine/xfersource.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

// The file that is being sent, read where the protocol wants it. What it was when it was opened is
// remembered: a file that changes in the middle would arrive as a mixture of two.
class XferFileSource final : public XferSource
{
    Q_DECLARE_TR_FUNCTIONS(XferFileSource)
    Q_DISABLE_COPY_MOVE(XferFileSource)

public:
    XferFileSource() = default;
    ~XferFileSource() override = default;

    // A regular file that can be read. False with a text for people otherwise; anything else (a
    // folder, a pipe) has no size to announce or may never end.
    bool open(const QString& path, QString* error);
    // Name without directory, size, and the time of its last change in seconds since the epoch, 0
    // when the system does not know it.
    [[nodiscard]] XferFileMeta meta() const;
    void close();

    [[nodiscard]] qint64 size() const override { return m_size; }
    QByteArray read(qint64 offset, qint64 length) override;
    [[nodiscard]] bool readFailed() const override { return m_readFailed; }
    // It still exists with the size and time that it had.
    [[nodiscard]] bool stillIntact() const override;

private:
    QString openRegular(const QString& path);

    QString m_path;
    QFile m_file;
    qint64 m_size = 0;
    QDateTime m_changed;
    bool m_readFailed = false;
};
