#include "terminal/pane/panerecords.h"

#include "settings/settingsservice.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/receivepanel.h"
#include "terminal/pane/sendpanel.h"

#include <QScopedValueRollback>

PaneRecords::PaneRecords(ConnectionPanel& connection, ReceivePanel& receive, SendPanel& send)
    : m_settings(SettingsService::defaultPortSettings({}))
    , m_format(SettingsService::defaultFormatSettings())
    , m_connectionPanel(connection)
    , m_receivePanel(receive)
    , m_sendPanel(send)
{
    connect(&connection, &ConnectionPanel::edited, this, &PaneRecords::store);
    connect(&receive, &ReceivePanel::edited, this, &PaneRecords::store);
    connect(&send, &SendPanel::edited, this, &PaneRecords::store);
}

PaneRecords::~PaneRecords() = default;

void PaneRecords::setSettings(const Settings& settings)
{
    m_settings = settings;
    show();
}

void PaneRecords::setFormat(const FormatSetting& format)
{
    const QScopedValueRollback showing(m_showing, true);
    m_format = format;
    Q_EMIT formatReplaced();
    show();
}

void PaneRecords::store()
{
    const Settings settings = m_settings;
    const FormatSetting format = m_format;
    m_connectionPanel.store(m_settings);
    // A host that was taken off the list stays off it until it is entered again.
    if (m_settings.targetHost != settings.targetHost)
        m_settings.useTargetHost(m_settings.targetHost);
    m_receivePanel.store(m_format);
    m_sendPanel.store(m_format);
    const bool connectionEdit = m_settings != settings;
    const bool formatEdit = m_format != format;
    if (formatEdit)
        Q_EMIT formatChanged();
    if (connectionEdit) {
        Q_EMIT connectionEdited();
        show();
    }
    if (connectionEdit || formatEdit)
        markEdited();
}

void PaneRecords::show()
{
    const QScopedValueRollback showing(m_showing, true);
    m_connectionPanel.load(m_settings);
    m_receivePanel.load(m_format);
    m_sendPanel.load(m_format);
    Q_EMIT formatChanged();
}

void PaneRecords::markEdited()
{
    if (!m_showing)
        Q_EMIT edited();
}
