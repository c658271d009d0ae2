#pragma once

#include "connections/serialportcatalog.h"

#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QList>
#include <QObject>
#include <QTimer>

// Which serial ports the machine has. The owner asks whenever they may have changed; the machine is
// asked as often as that as long as it answers quickly. Listing opens and asks
// devices, which takes milliseconds to tens of them, so a slow answer is paid for with a pause:
// listing never takes more than one part in `kPauseFactor` of the time. The clock is the owner's.
class PortListMonitor final
{
public:
    static constexpr qint64 kPauseFactor = 50;

    // The catalog must outlive the monitor.
    explicit PortListMonitor(const SerialPortCatalog& catalog);

    // True when the set or the description of the ports differs from the last answer. `now` gives
    // monotonic milliseconds; it is read before and after listing.
    template<class Clock>
    [[nodiscard]] bool refresh(Clock now)
    {
        const qint64 start = now();
        if (start < m_nextMs)
            return false;
        const bool changed = list();
        m_nextMs = start + (now() - start) * kPauseFactor;
        return changed;
    }

    [[nodiscard]] const QList<SerialPortDescription>& ports() const { return m_ports; }

private:
    bool list();

    const SerialPortCatalog& m_catalog;
    QList<SerialPortDescription> m_ports;
    qint64 m_nextMs = 0;
};

// Tells when the serial ports of the machine have changed: at once where the folder of their
// devices can be watched, within kPortListMs in any case. Listing asks every device of the machine,
// which is far too much for something that nearly never changes.
class PortWatch final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortWatch)

public:
    // How often the ports are listed when the folder of the devices says nothing, how long after a
    // change there once more, and how often where there is no such folder.
    static constexpr int kPortListMs = 10'000;
    static constexpr int kPortSettleMs = 500;
    static constexpr int kUnwatchedMs = 100;

    // The catalog must outlive the watch.
    explicit PortWatch(const SerialPortCatalog& catalog, QObject* parent);
    ~PortWatch() override;

    [[nodiscard]] const QList<SerialPortDescription>& ports() const { return m_list.ports(); }
    // Whether the list stays as it is for now.
    void setHeld(bool held) { m_held = held; }

Q_SIGNALS:
    void changed();

private:
    void refresh();

    PortListMonitor m_list;
    QElapsedTimer m_clock;
    QFileSystemWatcher m_folder;
    QTimer m_timer;
    QTimer m_settleTimer;
    bool m_held = false;
};
