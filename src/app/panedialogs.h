#pragma once

#include "settings/quicksettingsgroups.h"

#include <QObject>
#include <functional>

class PaneSet;
class ProgramOptions;
class QWidget;
class SerialPortCatalog;
class SerialPortWidget;
class SettingsDialog;
struct FormatSetting;
struct Settings;

// The dialogs that make and set up panes: "Add Port", "New Connection" and "Settings...". They are
// opened and not waited for, traffic goes on behind them; what was entered reaches the pane that
// it was entered for, if that still is there. Owned by the main window, which is their parent.
class PaneDialogs final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneDialogs)

public:
    // What the window does when a dialog is accepted.
    struct Window
    {
        // Adds a pane, or gives null when there are as many as there may be.
        std::function<SerialPortWidget*(const Settings&, const FormatSetting&)> addPort;
        // Opens the pane's connection.
        std::function<void(SerialPortWidget*)> open;
        std::function<QuickSettingsGroups()> quickSettingsGroups;
        std::function<void(const QuickSettingsGroups&)> setQuickSettingsGroups;
    };

    // All of them must outlive the dialogs.
    PaneDialogs(SerialPortCatalog& catalog, PaneSet& panes, ProgramOptions& options, Window window,
        QWidget* parent);
    ~PaneDialogs() override = default;

    void askNewPort();
    void askNewConnection();
    // Sets up the current pane.
    void showSettings();

Q_SIGNALS:
    // The person changed something that is to be saved.
    void edited();
    // To be sent by the owner when the ports of the machine changed.
    void portsChanged();

private:
    [[nodiscard]] QString unusedPort() const;
    // Null for a new pane.
    void connectTo(const Settings& settings, SerialPortWidget* pane);
    void apply(const SettingsDialog& dialog, SerialPortWidget* pane);

    SerialPortCatalog& m_catalog;
    PaneSet& m_panes;
    ProgramOptions& m_options;
    Window m_window;
    QWidget* m_parent;
};
