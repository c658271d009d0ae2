#pragma once

#include "settings/settings.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <deque>
#include <functional>
#include <memory>

class QSerialPort;

// What is on its way to one serial line: in the driver's queue, waiting for room in it, or behind a
// change of the line parameters that has to come between.
//
// Data flow: write() -> (behind a change: m_later ->) (while the driver is full: m_rest ->) driver
// -> line; where the system has no descriptor to write to, QSerialPort's buffer is that rest. The
// owner calls takeLeft() and then nextChange() when it is told that more was written and, while
// needsPoll() says so, every kPollMs: drivers do not tell when their queue runs empty. Bounds:
// hasRoomFor(). A value of the SerialTransport; the port outlives it.
class SerialOutput final
{
    Q_DISABLE_COPY_MOVE(SerialOutput)

public:
    // What may wait for a line: so many seconds of it, within these limits. A single message has
    // room up to the upper limit when nothing waits.
    static constexpr int kBoundSeconds = 30;
    static constexpr qint64 kMinBoundBytes = qint64{256} * 1024;
    static constexpr qint64 kMaxBoundBytes = qint64{16} * 1024 * 1024;
    // How long a change of the line parameters waits for what was written before it.
    static constexpr int kChangeWaitMs = 3000;
    // Changes that may wait; one more puts all of them through at once.
    static constexpr int kMaxChanges = 16;
    // Behind the driver's queue stands the transmitter, which does not tell: a 16550 holds so many
    // bytes, and their time passes before the line counts as quiet.
    static constexpr int kTransmitterBytes = 16;
    static constexpr int kPollMs = 10;

    // `wrote` is called when the driver took more of what waited for it, or failed to.
    SerialOutput(QSerialPort& port, std::function<void()> wrote)
        : m_port(port)
        , m_wrote(std::move(wrote))
    {}
    ~SerialOutput() = default;

    [[nodiscard]] static qint64 boundBytes(qint32 baudRate);
    [[nodiscard]] bool hasRoomFor(qint64 bytes) const;
    // False when the driver refuses.
    bool write(const QByteArray& bytes);
    // The line is to change after what was written so far.
    void changeAfter(const Settings& settings);

    // Written and not on the line yet.
    [[nodiscard]] qint64 pendingBytes() const;
    // How many bytes have gone to the line since the last call.
    qint64 takeLeft();
    // The change whose turn it is. `overdueBytes` is what of the data before it has not left, and
    // may go out changed. What was written behind it goes on with the call after it was carried
    // out.
    // Null when there is none.
    std::unique_ptr<Settings> nextChange(qint64* overdueBytes);
    // Something is to be seen to every kPollMs.
    [[nodiscard]] bool needsPoll() const;

    // Throws the data away; changes stay. How many bytes those were.
    qint64 clear();

private:
    struct Later
    {
        QByteArray bytes;
        std::unique_ptr<Settings> change;
    };

    [[nodiscard]] qint64 ahead() const;
    [[nodiscard]] bool isQuiet() const;
    void letGo();
    bool pass(const QByteArray& bytes);
    void passRest();

    // It may be what called.
    struct RetireNotifier
    {
        void operator()(QSocketNotifier* notifier) const
        {
            notifier->setEnabled(false);
            notifier->deleteLater();
        }
    };

    QSerialPort& m_port;
    const std::function<void()> m_wrote;
    QByteArray m_rest; // within the bound; while there is one, m_writable waits for room
    std::unique_ptr<QSocketNotifier, RetireNotifier> m_writable;
    // Its first is a change, when there is any. Bytes count within the bound, changes are at most
    // kMaxChanges and one.
    std::deque<Later> m_later;
    qint64 m_laterBytes = 0;
    qint64 m_told = 0;   // taken, and not yet told as left
    qint64 m_atOnce = 0; // of these the driver took, since the last takeLeft()
    int m_changes = 0;
    QElapsedTimer m_waiting; // since the first change has stood first
    QElapsedTimer m_busy;    // since something was ahead of the line
};
