#pragma once

#include "app/settings/settings.h"

#include <QGroupBox>

class HostBox;
class PortNameBox;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QPushButton;
class QSpinBox;
class SerialPortCatalog;

// The connection group of a pane: which transport, which port or host, which line parameters.
// It edits a Settings record and decides nothing: load() shows a record, store() writes what is
// shown, and every edit is reported. Only the rows that the chosen transport uses are visible.
class ConnectionPanel final : public QGroupBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionPanel)

public:
    explicit ConnectionPanel(QWidget* parent = nullptr);
    ~ConnectionPanel() override;

    void load(const Settings& settings);
    void store(Settings& settings) const;
    void populatePorts(const SerialPortCatalog& catalog);
    // While a connection is open its target cannot be edited; line parameters and control lines
    // still can.
    void setConnectionActive(bool active);
    void addRow(QWidget* widget);

Q_SIGNALS:
    void edited();
    void dtrEdited(bool on);
    void rtsEdited(bool on);
    void openRequested();
    void closeRequested();

private:
    void buildTargetRows(QFormLayout* form);
    void buildLineRows(QFormLayout* form);
    void showRowsOfMode();
    [[nodiscard]] connectionMode mode() const;

    QFormLayout* m_form;
    QComboBox* m_mode;
    PortNameBox* m_port;
    QComboBox* m_baudRate;
    QComboBox* m_dataBits;
    QComboBox* m_flowControl;
    QComboBox* m_stopBits;
    QComboBox* m_parity;
    QWidget* m_lines;
    QCheckBox* m_dtr;
    QCheckBox* m_rts;
    HostBox* m_host;
    QSpinBox* m_targetPort;
    QSpinBox* m_udpLocalPort;
    QSpinBox* m_udpServerPort;
    QPushButton* m_open;
    bool m_active = false;
    bool m_loading = false;
};
