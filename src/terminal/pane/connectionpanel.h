#pragma once

#include "settings/settings.h"
#include "terminal/pane/panelform.h"

#include <QGroupBox>

class HostBox;
class ModeBox;
class PortNameBox;
class QCheckBox;
class QLabel;
class QPushButton;
class QSpinBox;
class SerialLineRows;
class SerialPortCatalog;

// The connection group of a pane: which transport, which port or host, which line parameters.
// It edits a Settings record and decides nothing: load() shows a record, store() writes what is
// shown, and every edit is reported. Only the rows that the chosen transport uses are visible.
class ConnectionPanel final : public QGroupBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionPanel)

public:
    // In a pane the connection is opened and closed here; a dialog has buttons of its own.
    enum class OpenButton { None, Shown };

    explicit ConnectionPanel(QWidget* parent = nullptr);
    explicit ConnectionPanel(OpenButton openButton, QWidget* parent = nullptr);
    ~ConnectionPanel() override;

    void load(const Settings& settings);
    void store(Settings& settings) const;
    void populatePorts(const SerialPortCatalog& catalog);
    // While a connection is open its target cannot be edited; line parameters and control lines
    // still can.
    void setConnectionActive(bool active);
    // What a remote serial port has reported of itself, a line for each value; empty when nothing
    // is known. Shown with a remote serial port only.
    void setRemoteSummary(const QString& summary);
    // The row of the pane's lamps.
    void addRow(QWidget* widget);
    [[nodiscard]] PanelForm& form() { return m_form; }

Q_SIGNALS:
    void edited();
    void openRequested();
    void closeRequested();

private:
    void nameFields();
    void buildTargetRows();
    void buildRemoteRows();
    void buildOpenRow();
    void connectEdits();
    void showRowsOfMode();
    void showPorts(connectionMode mode);

    PanelForm m_form;
    ModeBox* m_mode;
    QLabel* m_problem;
    PortNameBox* m_port;
    HostBox* m_host;
    QLabel* m_targetPortLabel;
    QSpinBox* m_targetPort;
    QSpinBox* m_udpLocalPort;
    QSpinBox* m_udpServerPort;
    QCheckBox* m_keepRemoteConfig;
    QLabel* m_remoteSummary;
    QPushButton* m_open; // null in a dialog
    SerialLineRows* m_line;
    bool m_active = false;
    bool m_loading = false;
};
