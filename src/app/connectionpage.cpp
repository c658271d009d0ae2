#include "app/connectionpage.h"

#include "app/settingspage.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/panelchoices.h"
#include "terminal/pane/rowvisibility.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// "host:port" and "[address]:port", as people copy them, are host and port.
void splitPortOff(Settings& settings)
{
    static const QRegularExpression withPort(u"^\\[?([^:\\]]+|[^\\]]+(?=\\]))\\]?:(\\d{1,5})$"_s);
    const QRegularExpressionMatch match = withPort.match(settings.targetHost);
    const int port = match.captured(2).toInt();
    if (port < 1 || port > 65535)
        return;
    settings.targetHost = match.captured(1);
    settings.targetPort = port;
}

} // namespace

ConnectionPage::ConnectionPage(const SerialPortCatalog& catalog, Target target, QWidget* parent)
    : SettingsPage(parent)
    , m_catalog(catalog)
    , m_target(target)
    , m_panel(new ConnectionPanel(this))
    , m_portDetails(new WrappedLabel({}, this))
    , m_activeHint(
          new WrappedLabel(tr("The connection is open. Close it to connect elsewhere."), this))
{
    m_portDetails->setObjectName("portDetails"_L1);
    m_form = takePanel(*m_panel);
    addRowBelow(fieldNamed("connMode"_L1), m_activeHint);
    addRowBelow(fieldNamed("portName"_L1), m_portDetails);
    addCheck(m_form, fieldNamed("connMode"_L1), [this] { return modeProblem(); });
    addCheck(m_form, fieldNamed("portName"_L1), [this] { return portProblem(); });
    addCheck(m_form, fieldNamed("targetHost"_L1), [this] { return hostProblem(); });
    addUntoldCheck(m_form, fieldNamed("baudRate"_L1), [this] { return baudRateProblem(); });
    setConnectionActive(false);
    refreshPorts();
    connect(this, &SettingsPage::changed, this, &ConnectionPage::showPortDetails);
    const auto* host = static_cast<QComboBox*>(fieldNamed("targetHost"_L1));
    connect(host->lineEdit(), &QLineEdit::editingFinished, this, [this, host] {
        const Settings now = edited();
        if (now.targetHost != host->currentText().trimmed())
            m_panel->load(now);
    });
    watchFields(*m_panel);
    followWithTab();
}

ConnectionPage::~ConnectionPage() = default;

QWidget* ConnectionPage::fieldNamed(QLatin1StringView name) const
{
    auto* field = m_panel->findChild<QWidget*>(name);
    Q_ASSERT(field);
    return field;
}

bool ConnectionPage::isShown(QLatin1StringView name) const
{
    return fieldNamed(name)->isVisibleTo(this);
}

void ConnectionPage::addRowBelow(QWidget* field, QWidget* row)
{
    int index = -1;
    QFormLayout::ItemRole role = QFormLayout::FieldRole;
    m_form->getWidgetPosition(field, &index, &role);
    m_form->insertRow(index + 1, QString(), row);
}

QString ConnectionPage::modeProblem() const
{
    const bool opens = PanelChoices::modeProblem(edited().connMode).isEmpty();
    return opens || m_target == Target::Optional ? QString()
                                                 : tr("Choose a type that can be opened.");
}

QString ConnectionPage::portProblem() const
{
    if (m_target == Target::Optional || !edited().portName.isEmpty())
        return {};
    return m_ports.isEmpty()
               ? tr("No serial port was found. Plug a device in, or type the path of one.")
               : tr("Choose a serial port, or type the path of a device.");
}

QString ConnectionPage::hostProblem() const
{
    const QString host = edited().targetHost;
    if (host.isEmpty())
        return tr("Enter a host name or address, for example 192.168.1.10.");
    if (std::ranges::any_of(host, [](QChar c) { return c.isSpace() || c == u'/'; }))
        return tr("A host name or address has no blanks and no slashes.");
    // More colons are those of an IPv6 address.
    if (host.count(u':') == 1)
        return tr("A port behind the host is a number from 1 to 65535.");
    return {};
}

QString ConnectionPage::baudRateProblem() const
{
    const auto* box = static_cast<QComboBox*>(fieldNamed("baudRate"_L1));
    return box->lineEdit()->hasAcceptableInput()
               ? QString()
               : tr("Enter the baud rate as a number from 1 to 100000000.");
}

void ConnectionPage::showPortDetails()
{
    const QString name = edited().portName;
    setFormRowShown(
        *m_form, m_portDetails, !m_portDetails->text().isEmpty() && isShown("portName"_L1));
    if (name == m_describedPort)
        return;
    m_describedPort = name;
    const auto port = std::ranges::find(m_ports, name, &SerialPortDescription::portName);
    QStringList parts;
    if (port != m_ports.end()) {
        for (const QString& part : {port->description, port->manufacturer}) {
            if (!part.isEmpty() && !parts.contains(part))
                parts.append(part);
        }
        if (!port->serialNumber.isEmpty())
            parts.append(tr("serial number %1").arg(port->serialNumber));
        if (!port->systemLocation.isEmpty())
            parts.append(port->systemLocation);
    } else if (!name.isEmpty() && !m_catalog.contains(name)) {
        parts.append(tr("not there now"));
    }
    m_portDetails->setText(parts.join(", "_L1));
    setFormRowShown(*m_form, m_portDetails, !parts.isEmpty() && isShown("portName"_L1));
}

void ConnectionPage::refreshPorts()
{
    m_ports = m_catalog.ports();
    m_describedPort.reset();
    m_panel->populatePorts(m_catalog);
    revalidate();
}

void ConnectionPage::setConnectionActive(bool active)
{
    m_panel->setConnectionActive(active);
    setFormRowShown(*m_form, m_activeHint, active);
}

Settings ConnectionPage::edited() const
{
    Settings settings = m_shown;
    m_panel->store(settings);
    splitPortOff(settings);
    return settings;
}

void ConnectionPage::load(const Settings& settings)
{
    m_shown = settings;
    m_panel->load(settings);
    m_shown = edited();
    revalidate();
}

void ConnectionPage::store(Settings& settings) const
{
    using S = Settings;
    const S now = edited();
    takeEdits(settings, m_shown, now, &S::connMode, &S::portName, &S::baudRate, &S::dataBits,
        &S::parity, &S::stopBits, &S::flowControl, &S::dtrOn, &S::rtsOn, &S::targetPort,
        &S::targetHosts, &S::udpLocalPort, &S::udpServerPort, &S::useRemoteSerialConfig,
        &S::relayCid, &S::relayPortName, &S::relayPortKey);
    settings.refreshTexts();
    if (now.targetHost != m_shown.targetHost)
        settings.useTargetHost(now.targetHost);
}
