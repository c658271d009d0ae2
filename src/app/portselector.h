#pragma once

#include "connections/serialportcatalog.h"

#include <QComboBox>
#include <QList>

// Watches which serial ports the machine has. The owner asks on every tick of its refresh timer;
// the machine is asked as often as that as long as it answers quickly. Listing opens and asks
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

// The quick port selector of the main toolbar ("quickPortCombo"): the serial ports of the machine
// and, selected, the port of the first pane. A port that the machine does not list (a device path,
// an unplugged adapter) is shown as well, so that the box never claims another port than the
// pane has. Tells a choice, opens nothing itself.
class PortSelector final : public QComboBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortSelector)

public:
    explicit PortSelector(QWidget* parent = nullptr);
    ~PortSelector() override = default;

    void setPorts(const QList<SerialPortDescription>& ports);
    void setCurrentPort(const QString& portName);

    // A list that is open stays as it is until it is closed.
    void hidePopup() override;

Q_SIGNALS:
    // Chosen by the person; also when it is the port that was selected before.
    void portChosen(const QString& portName);

protected:
    // Whoever scrolls over the bar must not close a device and open the next one.
    void wheelEvent(QWheelEvent* event) override;
    // Arrows and letters open the list, where Enter chooses.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void repopulate();

    QList<SerialPortDescription> m_ports;
    QString m_current;
};
