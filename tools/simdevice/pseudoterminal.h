#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QString>

#include <memory>

class QSocketNotifier;

namespace simdevice {

/// The master side of one pseudo-terminal whose slave other programs open as a serial port.
///
/// The slave is raw (every byte value passes, no echo) and is also kept open here: the master would
/// otherwise report a hang-up from the moment when the last client closes until the next one opens.
/// What is written while nobody has the slave open therefore waits in the kernel.
///
/// There is no buffer in here. write() takes what the kernel takes at once, and reading is
/// switched off by an owner that has no room, so that the kernel holds the sender back.
class PseudoTerminal final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PseudoTerminal)

public:
    explicit PseudoTerminal(QObject* parent = nullptr);
    ~PseudoTerminal() override;

    /// Makes a new pair. False with a text for people when the system has none left.
    bool open(QString* error);

    /// Closes the master: clients see the device vanish (EIO, hang-up). Harmless when closed.
    void close();

    bool isOpen() const { return m_master >= 0; }

    /// Path of the slave, for example "/dev/pts/7"; empty while closed.
    QString slavePath() const { return m_slavePath; }

    /// Device number (st_rdev) of the slave, the same for every path that leads to it; 0 while
    /// closed.
    quint64 slaveDevice() const;

    /// At most `maximum` bytes that a client has sent; empty when there are none.
    QByteArray read(qsizetype maximum);

    /// Bytes accepted, 0 to bytes.size(). After a short write writable() follows once there is
    /// room.
    qsizetype write(QByteArrayView bytes);

    /// Bytes that were written and that no client has read yet, as far as the kernel tells: what
    /// lies in the line discipline, at most 4095.
    qsizetype unread() const;

    /// Off: readable() stays silent and clients are held back once the kernel's buffer is full.
    void setReading(bool on);

Q_SIGNALS:
    void readable();
    void writable();

private:
    bool prepareSlave(QString* error);

    int m_master = -1;
    int m_slave = -1;
    QString m_slavePath;
    std::unique_ptr<QSocketNotifier> m_readNotifier;
    std::unique_ptr<QSocketNotifier> m_writeNotifier;
};

} // namespace simdevice
