#include "app/transferactions.h"

#include "terminal/pane/serialportwidget.h"
#include "transfer/ui/filetransferdialog.h"

#include <QAction>
#include <QPointer>
#include <utility>

TransferActions::TransferActions(const Actions& actions, std::function<SerialPortWidget*()> current,
    QSettings& store, QWidget* window)
    : QObject(window)
    , m_actions(actions)
    , m_current(std::move(current))
    , m_store(store)
    , m_window(window)
{
    connect(actions.send, &QAction::triggered, this, [this] { start(m_current(), XferSend); });
    connect(
        actions.receive, &QAction::triggered, this, [this] { start(m_current(), XferReceive); });
    connect(
        actions.cancel, &QAction::triggered, this, [this] { m_current()->cancelFileTransfer(); });
}

void TransferActions::follow(SerialPortWidget* pane)
{
    connect(pane, &SerialPortWidget::transferProgressed, this, &TransferActions::refresh);
    connect(pane, &SerialPortWidget::stateChanged, this, &TransferActions::refresh);
    connect(pane, &SerialPortWidget::fileDropped, this,
        [this, pane](const QString& path) { start(pane, XferSend, path); });
}

void TransferActions::refresh()
{
    const SerialPortWidget* pane = m_current();
    const bool can = pane->canStartTransfer();
    m_actions.send->setEnabled(can);
    m_actions.receive->setEnabled(can);
    m_actions.cancel->setEnabled(pane->transfer().isActive());
}

void TransferActions::start(SerialPortWidget* pane, XferDirection direction, const QString& path)
{
    QString reason;
    if (!pane->canStartTransfer(&reason)) {
        pane->showStatusMessage(reason, SerialPortWidget::kFailureMs);
        return;
    }
    auto* dialog = new FileTransferDialog(
        direction, pane->port().active(), pane->transfer().peers(), path, m_store, m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(pane, &QObject::destroyed, dialog, &QWidget::close);
    connect(dialog, &FileTransferDialog::startRequested, pane, [dialog, pane] {
        QString error;
        if (!pane->startFileTransfer(dialog->config(), dialog->path(), dialog->peer(), &error))
            dialog->showProblem(error);
        else if (!dialog->keepOpenAfterwards())
            dialog->accept();
    });
    // Not modal: traffic and the other panes go on, and with the dialog kept open one transfer
    // follows the other.
    dialog->show();
}
