#pragma once

#include "transfer/engine/xferconfig.h"

#include <QObject>
#include <functional>

class QAction;
class QSettings;
class QWidget;
class SerialPortWidget;

// The menu's actions about file transfers: the dialog that starts one on the current pane, and
// cancelling. The dialogs are opened and not waited for; what was chosen goes to the pane that it
// was chosen for, if that still is there. Owned by the main window, which is their parent.
class TransferActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TransferActions)

public:
    struct Actions
    {
        QAction* send;
        QAction* receive;
        QAction* cancel;
    };

    // `current` names the pane that has the keyboard, never null.
    TransferActions(const Actions& actions, std::function<SerialPortWidget*()> current,
        QSettings& store, QWidget* window);
    ~TransferActions() override = default;

    // Files dropped on the pane are offered for sending.
    void follow(SerialPortWidget* pane);
    // The actions as the current pane allows them; each says why it does not.
    void refresh();
    void start(SerialPortWidget* pane, XferDirection direction, const QString& path = {});

private:
    Actions m_actions;
    std::function<SerialPortWidget*()> m_current;
    QSettings& m_store;
    QWidget* m_window;
};
