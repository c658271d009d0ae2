#pragma once

#include "settings/settings.h"

#include <QDialog>

class ConnectionPage;
class QDialogButtonBox;
class QRadioButton;
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
