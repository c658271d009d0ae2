#pragma once

#include "app/programoptions.h"
#include "settings/formatsetting.h"
#include "settings/quicksettingsgroups.h"
#include "settings/settings.h"

#include <QDialog>

class ConnectionPage;
class DisplayPage;
class GeneralPage;
class LogPage;
class PageStack;
class QDialogButtonBox;
class QuickSettingsEditor;
class ReceivePage;
class SendPage;
class SerialPortCatalog;

// Everything that the settings dialog edits: the records of one pane and the options of the whole
// workspace.
struct SettingsDialogValues
{
    Settings settings;
    FormatSetting format;
    QuickSettingsGroups groups;
    GeneralOptions general;
    // The pane's connection is open or being opened: where it connects cannot be edited.
    bool connectionActive = false;
};

// "Settings...": edits the records of one pane, which the title names, and the options of the
// workspace. It changes nothing by itself. The owner opens it (open(), not exec(): traffic goes
// on), waits for applied() - Apply, or OK before it closes, after an edit - and then
//
// - hands the edits to the pane: storeEdits() into the records that are in force at that moment
//   (the send history or the name of the log file may have moved on since the dialog was opened),
//   then the pane's setSettings() and setFormatSetting(). The line parameters of an open serial
//   port change in place;
// - makes quickSettingsGroups() the one of the workspace and gives it to every pane;
// - applies generalOptions(): writes "OpenLastConnection" and "AutoReconnect" to the application
//   store, sets the two actions and every pane's auto-reconnect flag, and, if the language differs,
//   InterfaceLanguage::choose();
// - marks the window modified when something differs that a session holds.
//
// The pane may go away while the dialog is open: the owner holds it in a QPointer.
class SettingsDialog final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsDialog)

public:
    // `portTitle` names the pane in the title, for example "Port 2, ttyUSB0 115200 8N1". The
    // catalog must outlive the dialog.
    SettingsDialog(const QString& portTitle, const SettingsDialogValues& values,
        const SerialPortCatalog& catalog, QWidget* parent = nullptr);
    ~SettingsDialog() override;

    // The values given with the edits in them.
    [[nodiscard]] Settings settings() const;
    [[nodiscard]] FormatSetting formatSetting() const;
    [[nodiscard]] QuickSettingsGroups quickSettingsGroups() const;
    [[nodiscard]] GeneralOptions generalOptions() const;
    // Carries the edits, and nothing else, into records that may have changed meanwhile.
    void storeEdits(Settings& settings, FormatSetting& format) const;

    // The ports of the machine changed.
    void refreshPorts();

    void accept() override;

Q_SIGNALS:
    // The edits are to be put into force now.
    void applied();

private:
    void addPages();
    void load();
    void storeFormat(FormatSetting& format) const;
    [[nodiscard]] bool isEdited() const;
    // False, with the fault shown, while something cannot be accepted.
    bool apply();
    void onChanged();

    SettingsDialogValues m_values; // in force: as given, or as applied last
    QuickSettingsGroups m_shownGroups;
    PageStack* m_pages;
    ConnectionPage* m_connection;
    ReceivePage* m_receive;
    SendPage* m_send;
    DisplayPage* m_display;
    LogPage* m_log;
    QuickSettingsEditor* m_quickSettings;
    GeneralPage* m_general;
    QDialogButtonBox* m_buttons;
};
