#pragma once

#include <QDir>
#include <QFile>

#ifdef Q_OS_LINUX
#include <sys/mount.h>
#endif

// A file system of 256 KiB at a folder, where the person running the test may have one, and what
// fills it up.
class SmallDisk final
{
public:
    explicit SmallDisk(const QString& folder)
        : m_folder(folder)
        , m_ballast(folder + QStringLiteral("/ballast"))
    {
        QDir().mkpath(folder);
#ifdef Q_OS_LINUX
        m_mounted =
            mount("none", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=256k") == 0;
#endif
    }
    ~SmallDisk()
    {
        m_ballast.close();
#ifdef Q_OS_LINUX
        if (m_mounted)
            umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
#endif
    }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    [[nodiscard]] bool isMounted() const
    {
        return m_mounted;
    }
    // Leaves so many bytes free, in steps of a page of memory.
    void leave(qint64 bytes)
    {
        if (!m_ballast.isOpen() && !m_ballast.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
            return;
        m_ballast.seek(m_ballast.size());
        while (m_ballast.write(QByteArray(4096, 'b')) == 4096) {
        }
        m_ballast.resize(m_ballast.size() - bytes);
    }
    void makeRoom()
    {
        m_ballast.resize(0);
    }

private:
    QString m_folder;
    QFile m_ballast;
    bool m_mounted = false;
};
