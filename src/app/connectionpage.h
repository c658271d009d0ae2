#pragma once

#include "app/settings/settings.h"
#include "app/settingspage.h"

class ConnectionPanel;
class QLabel;
class SerialPortCatalog;

// Where a pane connects and with which line parameters: the fields of the pane's own connection
// panel, with what is known of the chosen port (description, manufacturer, serial number) below.
// Only what the chosen transport uses is shown; what was typed for another transport is kept.
class ConnectionPage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionPage)

public:
    // Whether a connection that names no port or host is accepted: a pane may have no port yet, a
    // connection that is about to be opened may not.
    enum class Target { Optional, Required };

    // The catalog must outlive the page.
    ConnectionPage(const SerialPortCatalog& catalog, Target target, QWidget* parent = nullptr);
    ~ConnectionPage() override;

    void load(const Settings& settings);
    void store(Settings& settings) const;
    // Lists the ports anew; what is chosen stays.
    void refreshPorts();
    // While a connection is open its target cannot be edited; line parameters still can.
    void setConnectionActive(bool active);

private:
    void onEdited();
    void showPortDetails();
    [[nodiscard]] Settings edited() const;
    [[nodiscard]] QString targetProblem() const;

    const SerialPortCatalog& m_catalog;
    Target m_target;
    ConnectionPanel* m_panel;
    QLabel* m_portDetails;
    QLabel* m_activeHint;
    Settings m_shown; // as the fields showed it after loading
};
