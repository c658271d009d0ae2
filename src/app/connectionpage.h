#pragma once

#include "app/settingspage.h"
#include "connections/serialportcatalog.h"
#include "settings/settings.h"

#include <optional>

class ConnectionPanel;
class WrappedLabel;

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
    [[nodiscard]] QWidget* fieldNamed(QLatin1StringView name) const;
    [[nodiscard]] bool isShown(QLatin1StringView name) const;
    void addRowBelow(QWidget* field, QWidget* row);
    [[nodiscard]] QString modeProblem() const;
    [[nodiscard]] QString portProblem() const;
    [[nodiscard]] QString hostProblem() const;
    [[nodiscard]] QString baudRateProblem() const;
    void showPortDetails();
    [[nodiscard]] Settings edited() const;

    const SerialPortCatalog& m_catalog;
    Target m_target;
    QList<SerialPortDescription> m_ports; // as listed last
    std::optional<QString> m_describedPort;
    ConnectionPanel* m_panel;
    QFormLayout* m_form;
    WrappedLabel* m_portDetails;
    WrappedLabel* m_activeHint;
    Settings m_shown; // as the fields showed it after loading
};
