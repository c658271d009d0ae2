#include "app/generalpage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>

using namespace Qt::Literals::StringLiterals;

GeneralPage::GeneralPage(QWidget* parent)
    : SettingsPage(parent)
    , m_openLastConnection(new QCheckBox(tr("&Restore the last connection at start"), this))
    , m_autoReconnect(new QCheckBox(tr("R&econnect automatically"), this))
    , m_language(new QComboBox(this))
{
    m_openLastConnection->setObjectName("openLastConnection"_L1);
    m_openLastConnection->setToolTip(tr("Restore the connection that was open at last exit"));
    m_autoReconnect->setObjectName("autoReconnect"_L1);
    m_autoReconnect->setToolTip(
        tr("Reconnect after a serial unplug or the loss of a TCP connection"));
    m_language->setObjectName("language"_L1);
    m_language->addItem(tr("As the system"), int(InterfaceLanguage::Choice::System));
    m_language->addItem(tr("English"), int(InterfaceLanguage::Choice::English));
    m_language->addItem(tr("Chinese"), int(InterfaceLanguage::Choice::Chinese));

    QFormLayout* form = makeForm();
    form->addRow(m_openLastConnection);
    form->addRow(m_autoReconnect);
    form->addRow(tr("&Language"), m_language);
    addHint(form, tr("Another language takes effect when the program is restarted."));

    connect(m_openLastConnection, &QCheckBox::toggled, this, &GeneralPage::revalidate);
    connect(m_autoReconnect, &QCheckBox::toggled, this, &GeneralPage::revalidate);
    connect(m_language, &QComboBox::currentIndexChanged, this, &GeneralPage::revalidate);
}

GeneralPage::~GeneralPage() = default;

void GeneralPage::load(const GeneralOptions& options)
{
    m_openLastConnection->setChecked(options.openLastConnection);
    m_autoReconnect->setChecked(options.autoReconnect);
    m_language->setCurrentIndex(m_language->findData(int(options.language)));
    revalidate();
}

void GeneralPage::store(GeneralOptions& options) const
{
    options.openLastConnection = m_openLastConnection->isChecked();
    options.autoReconnect = m_autoReconnect->isChecked();
    options.language = static_cast<InterfaceLanguage::Choice>(m_language->currentData().toInt());
}
