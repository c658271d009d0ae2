#include "app/multiportsettingdlg.h"

#include "app/connectionpage.h"
#include "app/pagestack.h"
#include "app/receivepage.h"
#include "app/sendpage.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

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
    resize(sizeHint() + QSize(0, PageStack::spareRows * fontMetrics().height()));

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
