#include "app/settingsdialog.h"

#include "app/connectionpage.h"
#include "app/displaypage.h"
#include "app/formatpages.h"
#include "app/generalpage.h"
#include "app/logpage.h"
#include "app/pagestack.h"
#include "app/quicksettingseditor.h"
#include "terminal/port/connectionsummary.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

SettingsDialog::SettingsDialog(const QString& portTitle, const SettingsDialogValues& values,
    const SerialPortCatalog& catalog, QWidget* parent)
    : QDialog(parent)
    , m_values(values)
    , m_pages(new PageStack(this))
    , m_connection(new ConnectionPage(catalog, ConnectionPage::Target::Optional, this))
    , m_receive(new ReceivePage(this))
    , m_send(new SendPage(this))
    , m_display(new DisplayPage(this))
    , m_log(new LogPage(this))
    , m_quickSettings(new QuickSettingsEditor(this))
    , m_general(new GeneralPage(this))
    , m_buttons(new QDialogButtonBox(
          QDialogButtonBox::Ok | QDialogButtonBox::Apply | QDialogButtonBox::Cancel, this))
{
    setWindowTitle(tr("Settings - %1").arg(portTitle));
    addPages();
    m_connection->setConnectionActive(values.connectionActive);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    layout->addWidget(m_pages, 1);
    layout->addWidget(m_buttons);
    load();
    resize(sizeHint() + QSize(0, PageStack::kSpareRows * fontMetrics().height()));

    connect(m_pages, &PageStack::changed, this, &SettingsDialog::onChanged);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    connect(m_buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this,
        &SettingsDialog::apply);
    onChanged();
}

SettingsDialog::~SettingsDialog() = default;

void SettingsDialog::addPages()
{
    m_pages->addPage(m_connection, tr("Connection"));
    m_pages->addPage(m_receive, tr("Receive"));
    m_pages->addPage(m_send, tr("Send"));
    m_pages->addPage(m_display, tr("Display"));
    m_pages->addPage(m_log, tr("Log"));
    m_pages->addPage(m_quickSettings, tr("Quick Settings"));
    m_pages->addPage(m_general, tr("General"));
}

void SettingsDialog::load()
{
    m_connection->load(m_values.settings);
    m_receive->load(m_values.format);
    m_send->load(m_values.format);
    m_display->load(m_values.format);
    m_log->load(m_values.format);
    m_quickSettings->setGroups(m_values.groups);
    m_general->load(m_values.general);
    m_shownGroups = m_quickSettings->groups();
}

bool SettingsDialog::isEdited() const
{
    return settings() != m_values.settings || formatSetting() != m_values.format
           || quickSettingsGroups() != m_values.groups || generalOptions() != m_values.general;
}

Settings SettingsDialog::settings() const
{
    Settings settings = m_values.settings;
    m_connection->store(settings);
    return settings;
}

FormatSetting SettingsDialog::formatSetting() const
{
    FormatSetting format = m_values.format;
    storeFormat(format);
    return format;
}

void SettingsDialog::storeFormat(FormatSetting& format) const
{
    m_receive->store(format);
    m_send->store(format);
    m_display->store(format);
    m_log->store(format);
}

QuickSettingsGroups SettingsDialog::quickSettingsGroups() const
{
    // The editor has every known entry in its place, which is no edit.
    const QuickSettingsGroups now = m_quickSettings->groups();
    return now == m_shownGroups ? m_values.groups : now;
}

GeneralOptions SettingsDialog::generalOptions() const
{
    GeneralOptions options;
    m_general->store(options);
    return options;
}

void SettingsDialog::storeEdits(Settings& settings, FormatSetting& format) const
{
    m_connection->store(settings);
    storeFormat(format);
}

void SettingsDialog::refreshPorts()
{
    m_connection->refreshPorts();
}

void SettingsDialog::onChanged()
{
    const Settings settings = this->settings();
    m_log->setPortName(connectionName(settings));
    const bool acceptable = m_pages->problem().isEmpty();
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(acceptable);
    m_buttons->button(QDialogButtonBox::Apply)->setEnabled(acceptable && isEdited());
}

bool SettingsDialog::apply()
{
    if (!m_pages->problem().isEmpty()) {
        m_pages->showProblem();
        return false;
    }
    if (!isEdited())
        return true;
    Q_EMIT applied();
    // From here on only what is changed after this counts as an edit.
    m_values.settings = settings();
    m_values.format = formatSetting();
    m_values.groups = quickSettingsGroups();
    m_values.general = generalOptions();
    load();
    onChanged();
    return true;
}

void SettingsDialog::accept()
{
    if (apply())
        QDialog::accept();
}
