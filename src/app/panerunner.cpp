#include "app/panerunner.h"

#include "app/mainstatusbar.h"
#include "app/messageboxes.h"
#include "app/paneset.h"
#include "connections/serialportcatalog.h"
#include "connections/serialtransport.h"
#include "settings/sessionstate.h"
#include "terminal/pane/serialportwidget.h"

#include <QDebug>

PaneRunner::PaneRunner(PaneSet& panes, MainStatusBar& statusBar, QWidget* window)
    : QObject(window)
    , m_panes(panes)
    , m_statusBar(statusBar)
    , m_window(window)
{}

PaneRunner::~PaneRunner() = default;

bool PaneRunner::open(SerialPortWidget& pane, const QString& portName, bool quiet)
{
    if (pane.start(portName, quiet))
        return true;
    const bool serial = pane.settings().connMode == connectionMode::SerialPort;
    const QString text = serial ? tr("Serial Port %1 OPEN FAILED").arg(pane.settings().portName)
                                : tr("%1 OPEN FAILED").arg(pane.connectionSummary());
    qWarning().noquote() << text;
    // The box says already what the full message begins with.
    QString reason = pane.lastError();
    const QString beginning = SerialTransport::openFailureText(pane.settings().portName);
    if (reason.startsWith(beginning))
        reason.remove(0, beginning.size());
    const bool first = &pane == &m_panes.first();
    if (first && quiet)
        m_statusBar.showError(text, reason);
    else if (first)
        MessageBoxes::showWarning(m_window, text, reason);
    return false;
}

void PaneRunner::start(const QString& portName, bool quiet)
{
    if (!portName.isEmpty()) {
        open(m_panes.first(), portName, quiet);
        return;
    }
    for (SerialPortWidget* pane : m_panes.panes())
        open(*pane, {}, quiet);
}

void PaneRunner::stop()
{
    for (SerialPortWidget* pane : m_panes.panes()) {
        if (pane->isActive())
            pane->stop();
    }
}

void PaneRunner::changePort(const QString& portName)
{
    qDebug("Start to change port...");
    SerialPortWidget& first = m_panes.first();
    const bool same = first.settings().connMode == connectionMode::SerialPort
                      && first.settings().portName == portName;
    if (portName.isEmpty() || same)
        return;
    first.stop();
    if (open(first, portName, false))
        m_panes.focusPane(0); // what is typed next is for the port, not for the list of ports
    Q_EMIT edited();
}

void PaneRunner::restore(const SessionState& state, const SerialPortCatalog& catalog)
{
    if (!state.openLastConnection || !state.lastConnectionOpen)
        return;
    if (state.connMode != connectionMode::SerialPort || catalog.contains(state.portName))
        start({}, true);
}
