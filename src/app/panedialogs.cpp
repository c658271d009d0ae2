#include "app/panedialogs.h"

#include "app/paneset.h"
#include "app/portdialogs.h"
#include "app/programoptions.h"
#include "app/settingsdialog.h"
#include "connections/serialportcatalog.h"
#include "settings/portsessioncodec.h"
#include "settings/settingsservice.h"
#include "terminal/pane/serialportwidget.h"

#include <QPointer>
#include <algorithm>

PaneDialogs::PaneDialogs(SerialPortCatalog& catalog, PaneSet& panes, ProgramOptions& options,
    Window window, QWidget* parent)
    : QObject(parent)
    , m_catalog(catalog)
    , m_panes(panes)
    , m_options(options)
    , m_window(std::move(window))
    , m_parent(parent)
{}

// The first port of the machine that no pane has.
QString PaneDialogs::unusedPort() const
{
    for (const QList<SerialPortDescription> ports = m_catalog.ports();
         const SerialPortDescription& port : ports) {
        const bool used = std::ranges::any_of(m_panes.panes(),
            [&port](const auto* pane) { return pane->settings().portName == port.portName; });
        if (!used)
            return port.portName;
    }
    return {};
}

void PaneDialogs::askNewPort()
{
    auto* dialog =
        new MultiPortSettingDlg(m_catalog, SettingsService::defaultPortSettings(unusedPort()),
            SettingsService::defaultFormatSettings(), m_parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(this, &PaneDialogs::portsChanged, dialog, &MultiPortSettingDlg::refreshPorts);
    connect(dialog, &QDialog::accepted, this,
        [this, dialog] { m_window.addPort(dialog->settings(), dialog->formatSetting()); });
    dialog->open();
}

void PaneDialogs::askNewConnection()
{
    SerialPortWidget& current = m_panes.current();
    current.updateSettings();
    auto* dialog = new NewConnectionDialog(
        m_catalog, current.settings(), m_panes.count() < PaneSet::kMaxPanes, m_parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(this, &PaneDialogs::portsChanged, dialog, &NewConnectionDialog::refreshPorts);
    connect(dialog, &QDialog::accepted, this, [this, dialog, pane = QPointer(&current)] {
        if (dialog->wantsNewPane())
            connectTo(dialog->settings(), nullptr);
        else if (pane)
            connectTo(dialog->settings(), pane);
    });
    dialog->open();
}

void PaneDialogs::connectTo(const Settings& settings, SerialPortWidget* pane)
{
    if (pane != nullptr && pane->transfer().isActive()) {
        pane->showStatusMessage(tr("A file transfer is running on this port: cancel it first."),
            SerialPortWidget::kFailureMs);
        return;
    }
    if (pane != nullptr) {
        pane->stop();
        pane->setSettings(settings);
        Q_EMIT edited();
    } else {
        pane = m_window.addPort(settings, SettingsService::defaultFormatSettings());
    }
    if (pane != nullptr)
        m_window.open(pane);
}

void PaneDialogs::showSettings()
{
    SerialPortWidget& current = m_panes.current();
    current.updateSettings();
    const SettingsDialogValues values{current.settings(), current.formatSetting(),
        m_window.quickSettingsGroups(), m_options.options(), current.isActive()};
    const QString title =
        tr("Port %1, %2")
            .arg(QString::number(m_panes.currentIndex() + 1), current.connectionSummary());
    auto* dialog = new SettingsDialog(title, values, m_catalog, m_parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(this, &PaneDialogs::portsChanged, dialog, &SettingsDialog::refreshPorts);
    connect(dialog, &SettingsDialog::applied, this,
        [this, dialog, pane = QPointer(&current)] { apply(*dialog, pane); });
    dialog->open();
}

// Only what a session holds is to be saved: the options of the program are stored at once.
void PaneDialogs::apply(const SettingsDialog& dialog, SerialPortWidget* pane)
{
    bool differs = false;
    if (pane != nullptr) {
        pane->updateSettings();
        const SessionPane before{pane->settings(), pane->formatSetting()};
        SessionPane after = before;
        dialog.storeEdits(after.settings, after.format);
        pane->setSettings(after.settings);
        pane->setFormatSetting(after.format);
        differs = !PortSessionCodec::isSameInFile(before, after);
    }
    const QuickSettingsGroups groups = dialog.quickSettingsGroups();
    if (groups != m_window.quickSettingsGroups()) {
        m_window.setQuickSettingsGroups(groups);
        differs = true;
    }
    m_options.setOptions(dialog.generalOptions());
    if (differs)
        Q_EMIT edited();
}
