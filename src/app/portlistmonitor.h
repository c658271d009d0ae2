#pragma once

#include "connections/serialportcatalog.h"

#include <QList>

// Watches which serial ports the machine has. The owner asks on every tick of its refresh timer;
// the machine is asked as often as that as long as it answers quickly. Listing opens and asks
// devices, which takes milliseconds to tens of them, so a slow answer is paid for with a pause:
// listing never takes more than one part in `pauseFactor` of the time. The clock is the owner's.
class PortListMonitor final
{
public:
    static constexpr qint64 pauseFactor = 50;

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
        m_nextMs = start + (now() - start) * pauseFactor;
        return changed;
    }

    [[nodiscard]] const QList<SerialPortDescription>& ports() const { return m_ports; }

private:
    bool list();

    const SerialPortCatalog& m_catalog;
    QList<SerialPortDescription> m_ports;
    qint64 m_nextMs = 0;
};
