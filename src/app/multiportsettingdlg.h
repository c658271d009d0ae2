#pragma once

#include "settings/formatsetting.h"
#include "settings/settings.h"

#include <QDialog>

class ConnectionPage;
class PageStack;
class QDialogButtonBox;
class ReceivePage;
class SendPage;
class SerialPortCatalog;

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
