#pragma once

#include "connections/serialportcatalog.h"

#include <QComboBox>

// The serial port of a pane, chosen from the ports of the machine or typed as the path of a
// device. Each entry shows the name followed by its description and carries the name as its data.
class PortNameBox final : public QComboBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortNameBox)

public:
    explicit PortNameBox(QWidget* parent = nullptr);
    ~PortNameBox() override;

    // Fills the list anew, an open one when it is closed. What stands in the line stays, half
    // typed or naming a port that is not there (any more), and so do cursor and selection.
    void populate(const SerialPortCatalog& catalog);
    [[nodiscard]] QString portName() const;
    void setPortName(const QString& name);

    void hidePopup() override;

Q_SIGNALS:
    // The person at the desk chose or typed another port.
    void portNameEdited();

private:
    void fill();

    QList<SerialPortDescription> m_ports;
    QList<SerialPortDescription> m_listed; // those in the list
};
