#pragma once

#include "settings/formatsetting.h"
#include "settings/settings.h"

#include <QDialog>

class ConnectionPage;
class PageStack;
class QDialogButtonBox;
class QRadioButton;
class ReceivePage;
class SendPage;
class SerialPortCatalog;

// "New Connection": where to connect, with which line parameters, and in which pane. The owner
// opens the dialog; once it is accepted the owner either closes the focused pane, gives it
// settings() and opens it, or adds a pane with settings() and opens that.
class NewConnectionDialog final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NewConnectionDialog)

public:
    // `settings` are those of the focused pane. `canAddPane` is false while as many panes exist as
    // there may be. The catalog must outlive the dialog.
    NewConnectionDialog(const SerialPortCatalog& catalog, const Settings& settings, bool canAddPane,
        QWidget* parent = nullptr);
    ~NewConnectionDialog() override;

    [[nodiscard]] Settings settings() const;
    [[nodiscard]] bool wantsNewPane() const;
    // The ports of the machine changed.
    void refreshPorts();

    void accept() override;

private:
    void buildLayout();
    void onChanged();

    Settings m_settings;
    ConnectionPage* m_connection;
    QRadioButton* m_thisPane;
    QRadioButton* m_newPane;
    QDialogButtonBox* m_buttons;
};

// "Add Port": the connection and the most used format options of a pane that is about to be made.
// The owner opens it and makes the pane with settings() and formatSetting() once it is accepted.
class MultiPortSettingDlg final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MultiPortSettingDlg)

public:
    // The records are what the new pane begins with; fields that the dialog does not show stay.
    // The catalog must outlive the dialog.
    MultiPortSettingDlg(const SerialPortCatalog& catalog, const Settings& settings,
        const FormatSetting& format, QWidget* parent = nullptr);
    ~MultiPortSettingDlg() override;

    [[nodiscard]] Settings settings() const;
    [[nodiscard]] FormatSetting formatSetting() const;
    // The ports of the machine changed.
    void refreshPorts();

    void accept() override;

private:
    Settings m_settings;
    FormatSetting m_format;
    PageStack* m_pages;
    ConnectionPage* m_connection;
    ReceivePage* m_receive;
    SendPage* m_send;
    QDialogButtonBox* m_buttons;
};
