#pragma once

#include <QComboBox>

class SerialPortCatalog;

// The serial port of a pane, chosen from the ports of the machine or typed as the path of a
// device. Each entry shows the name followed by its description and carries the name as its data.
class PortNameBox final : public QComboBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortNameBox)

public:
    explicit PortNameBox(QWidget* parent = nullptr);
    ~PortNameBox() override;

    // Fills the list anew and keeps the chosen name, also when that port is not there (any more).
    void populate(const SerialPortCatalog& catalog);
    [[nodiscard]] QString portName() const;
    void setPortName(const QString& name);

Q_SIGNALS:
    // The person at the desk chose or typed another port.
    void portNameEdited();
};
