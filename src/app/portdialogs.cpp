#include "app/portdialogs.h"

#include "app/connectionpage.h"
#include "app/formatpages.h"
#include "app/pagestack.h"
#include "terminal/pane/settingscolumn.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

NewConnectionDialog::NewConnectionDialog(
    const SerialPortCatalog& catalog, const Settings& settings, bool canAddPane, QWidget* parent)
    : QDialog(parent)
    , m_settings(settings)
    , m_connection(new ConnectionPage(catalog, ConnectionPage::Target::Required, this))
    , m_thisPane(new QRadioButton(tr("The current &pane"), this))
    , m_newPane(new QRadioButton(tr("A &new pane"), this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    setWindowTitle(tr("New Connection"));
    m_thisPane->setObjectName("openInThisPane"_L1);
    m_newPane->setObjectName("openInNewPane"_L1);
    m_connection->load(settings);
    m_thisPane->setChecked(true);
    m_thisPane->setToolTip(tr("A connection that is open there is closed first"));
    m_newPane->setEnabled(canAddPane);
    m_newPane->setToolTip(canAddPane ? tr("Adds a pane beside the others")
                                     : tr("There are as many panes as there can be"));
    buildLayout();

    connect(m_connection, &ConnectionPage::changed, this, &NewConnectionDialog::onChanged);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &NewConnectionDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &NewConnectionDialog::reject);
    onChanged();
}

NewConnectionDialog::~NewConnectionDialog() = default;

void NewConnectionDialog::buildLayout()
{
    auto* where = new QGroupBox(tr("Open in"), this);
    auto* choices = new QHBoxLayout(where);
    choices->setSpacing(8);
    choices->addWidget(m_thisPane);
    choices->addWidget(m_newPane);
    choices->addStretch();
    m_buttons->button(QDialogButtonBox::Ok)->setText(tr("&Open"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    layout->addWidget(new SettingsColumn(m_connection, this), 1);
    layout->addWidget(where);
    layout->addWidget(m_buttons);
    resize(sizeHint() + QSize(0, PageStack::kSpareRows * fontMetrics().height()));
}

void NewConnectionDialog::onChanged()
{
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(m_connection->problem().isEmpty());
}

Settings NewConnectionDialog::settings() const
{
    Settings settings = m_settings;
    m_connection->store(settings);
    return settings;
}

bool NewConnectionDialog::wantsNewPane() const
{
    return m_newPane->isChecked();
}

void NewConnectionDialog::refreshPorts()
{
    m_connection->refreshPorts();
}

void NewConnectionDialog::accept()
{
    if (m_connection->problem().isEmpty())
        QDialog::accept();
    else
        m_connection->problemField()->setFocus();
}

MultiPortSettingDlg::MultiPortSettingDlg(const SerialPortCatalog& catalog, const Settings& settings,
    const FormatSetting& format, QWidget* parent)
    : QDialog(parent)
    , m_settings(settings)
    , m_format(format)
    , m_pages(new PageStack(this))
    , m_connection(new ConnectionPage(catalog, ConnectionPage::Target::Optional, this))
    , m_receive(new ReceivePage(this))
    , m_send(new SendPage(this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    setWindowTitle(tr("Add Port"));
    m_pages->addPage(m_connection, tr("Connection"));
    m_pages->addPage(m_receive, tr("Receive"));
    m_pages->addPage(m_send, tr("Send"));
    m_connection->load(settings);
    m_receive->load(format);
    m_send->load(format);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    layout->addWidget(m_pages, 1);
    layout->addWidget(m_buttons);
    resize(sizeHint() + QSize(0, PageStack::kSpareRows * fontMetrics().height()));

    QPushButton* ok = m_buttons->button(QDialogButtonBox::Ok);
    ok->setEnabled(m_pages->problem().isEmpty());
    connect(m_pages, &PageStack::changed, this,
        [this, ok] { ok->setEnabled(m_pages->problem().isEmpty()); });
    connect(m_buttons, &QDialogButtonBox::accepted, this, &MultiPortSettingDlg::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &MultiPortSettingDlg::reject);
}

MultiPortSettingDlg::~MultiPortSettingDlg() = default;

Settings MultiPortSettingDlg::settings() const
{
    Settings settings = m_settings;
    m_connection->store(settings);
    return settings;
}

FormatSetting MultiPortSettingDlg::formatSetting() const
{
    FormatSetting format = m_format;
    m_receive->store(format);
    m_send->store(format);
    return format;
}

void MultiPortSettingDlg::refreshPorts()
{
    m_connection->refreshPorts();
}

void MultiPortSettingDlg::accept()
{
    if (m_pages->problem().isEmpty())
        QDialog::accept();
    else
        m_pages->showProblem();
}
