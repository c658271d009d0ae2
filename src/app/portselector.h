#pragma once

#include "connections/serialportcatalog.h"

#include <QComboBox>
#include <QList>

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
