#include "terminal/pane/connectionpanel.h"

#include "terminal/pane/hostbox.h"
#include "terminal/pane/modebox.h"
#include "terminal/pane/panelchoices.h"
#include "terminal/pane/portnamebox.h"
#include "terminal/pane/seriallinerows.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSpinBox>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QSpinBox* portNumberBox(QWidget* parent)
{
    auto* box = new QSpinBox(parent);
    box->setGroupSeparatorShown(false);
    box->setRange(0, 65535);
    // A port number that is half typed is no other port.
    box->setKeyboardTracking(false);
    return box;
}

QString anyFreePort()
{
    return ConnectionPanel::tr("Any free port");
}

QLabel* textRow(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

ConnectionPanel::ConnectionPanel(QWidget* parent)
    : ConnectionPanel(OpenButton::None, parent)
{}

ConnectionPanel::ConnectionPanel(OpenButton openButton, QWidget* parent)
    : QGroupBox(tr("Connection Settings"), parent)
    , m_form(this)
    , m_mode(new ModeBox(this))
    , m_problem(textRow(this))
    , m_port(new PortNameBox(this))
    , m_host(new HostBox(this))
    , m_targetPortLabel(new QLabel(this))
    , m_targetPort(portNumberBox(this))
    , m_udpLocalPort(portNumberBox(this))
    , m_udpServerPort(portNumberBox(this))
    , m_keepRemoteConfig(new QCheckBox(tr("Keep the remote port's own config"), this))
    , m_remoteSummary(textRow(this))
    , m_open(openButton == OpenButton::Shown ? new QPushButton(tr("Open"), this) : nullptr)
{
    nameFields();
    buildTargetRows();
    buildRemoteRows();
    if (m_open)
        buildOpenRow();
    m_line = new SerialLineRows(m_form, this);
    connectEdits();
    showRowsOfMode();
}

ConnectionPanel::~ConnectionPanel() = default;

void ConnectionPanel::nameFields()
{
    m_mode->setObjectName("connMode"_L1);
    m_problem->setObjectName("connModeProblem"_L1);
    m_port->setObjectName("portName"_L1);
    m_host->setObjectName("targetHost"_L1);
    m_targetPort->setObjectName("targetPort"_L1);
    m_udpLocalPort->setObjectName("udpLocalPort"_L1);
    m_udpServerPort->setObjectName("udpServerPort"_L1);
    m_keepRemoteConfig->setObjectName("useRemoteSerialConfig"_L1);
    m_remoteSummary->setObjectName("remoteSummary"_L1);
    if (m_open)
        m_open->setObjectName("openButton"_L1);
}

void ConnectionPanel::buildTargetRows()
{
    m_targetPortLabel->setBuddy(m_targetPort);
    for (QSpinBox* box : {m_udpLocalPort, m_udpServerPort})
        box->setSpecialValueText(anyFreePort());
    m_form.addRow({}, tr("Type"), m_mode);
    m_form.addRow({}, m_problem);
    m_form.addRow({}, tr("Port"), m_port);
    m_form.addRow({}, tr("Host"), m_host);
    m_form.addRow({}, m_targetPortLabel, m_targetPort);
    m_form.addRow({}, tr("Local Port"), m_udpLocalPort);
    m_form.addRow({}, tr("Local Port"), m_udpServerPort);
}

void ConnectionPanel::buildRemoteRows()
{
    m_keepRemoteConfig->setToolTip(
        tr("Leave baud rate, framing and control lines as the remote port has them; clear it to "
           "set them from here"));
    m_remoteSummary->setAccessibleName(tr("Settings that the remote port reported"));
    m_form.addRow({}, m_keepRemoteConfig);
    m_form.addRow({}, m_remoteSummary);
}

void ConnectionPanel::buildOpenRow()
{
    m_form.addRow({}, m_open);
    connect(m_open, &QPushButton::clicked, this,
        [this] { m_active ? Q_EMIT closeRequested() : Q_EMIT openRequested(); });
}

void ConnectionPanel::connectEdits()
{
    const auto rowsEdited = [this] {
        showRowsOfMode();
        if (!m_loading)
            Q_EMIT edited();
    };
    connect(m_mode, &QComboBox::currentIndexChanged, this, rowsEdited);
    connect(m_keepRemoteConfig, &QCheckBox::toggled, this, rowsEdited);
    connect(m_port, &PortNameBox::portNameEdited, this, &ConnectionPanel::edited);
    connect(m_host, &HostBox::hostEdited, this, &ConnectionPanel::edited);
    connect(m_host, &HostBox::hostRemoved, this, &ConnectionPanel::edited);
    for (QSpinBox* box : {m_targetPort, m_udpLocalPort, m_udpServerPort}) {
        connect(box, &QSpinBox::valueChanged, this, [this] {
            if (!m_loading)
                Q_EMIT edited();
        });
    }
    connect(m_line, &SerialLineRows::edited, this, &ConnectionPanel::edited);
}

void ConnectionPanel::addRow(QWidget* widget)
{
    // In a frame of its own, so that whether the pane shows its lamps and whether the quick
    // settings have room for them do not meet in one flag.
    auto* frame = new QWidget(this);
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(widget);
    m_form.addRow(u"indicatorLights"_s, frame);
}

void ConnectionPanel::showRowsOfMode()
{
    const connectionMode mode = m_mode->mode();
    const QString problem = PanelChoices::modeProblem(mode);
    m_problem->setText(problem);
    m_form.setUsed(m_problem, !problem.isEmpty());
    m_form.setUsed(m_port, mode == connectionMode::SerialPort);
    showPorts(mode);
    const bool rfc2217 = mode == connectionMode::RemoteSerialRfc2217;
    m_form.setUsed(m_keepRemoteConfig, rfc2217);
    m_form.setUsed(m_remoteSummary, rfc2217 && !m_remoteSummary->text().isEmpty());
    m_line->setUsed(
        mode == connectionMode::SerialPort || (rfc2217 && !m_keepRemoteConfig->isChecked()));
    if (m_open)
        m_open->setEnabled(problem.isEmpty() || m_active);
}

void ConnectionPanel::showPorts(connectionMode mode)
{
    const bool listens = mode == connectionMode::TcpServer;
    const bool udpServer = mode == connectionMode::UdpServer;
    const bool udpClient = connectionModeIsUdp(mode) && !udpServer;
    const bool hasTarget = connectionModeIsTcpClient(mode) || udpClient;
    m_form.setUsed(m_host, hasTarget);
    m_form.setUsed(m_targetPort, hasTarget || listens);
    m_targetPortLabel->setText(listens ? tr("Listen Port") : tr("Target Port"));
    // Nobody can be reached at whichever port is free.
    m_targetPort->setSpecialValueText(listens ? anyFreePort() : QString());
    m_form.setUsed(m_udpLocalPort, udpClient);
    m_form.setUsed(m_udpServerPort, udpServer);
}

void ConnectionPanel::load(const Settings& settings)
{
    const QScopedValueRollback loading(m_loading, true);
    m_mode->setMode(settings.connMode);
    m_port->setPortName(settings.portName);
    m_host->setHosts(settings.targetHosts, settings.targetHost);
    m_targetPort->setValue(settings.targetPort);
    m_udpLocalPort->setValue(settings.udpLocalPort);
    m_udpServerPort->setValue(settings.udpServerPort);
    m_keepRemoteConfig->setChecked(settings.useRemoteSerialConfig);
    m_line->load(settings);
    showRowsOfMode();
}

void ConnectionPanel::store(Settings& settings) const
{
    for (QSpinBox* box : {m_targetPort, m_udpLocalPort, m_udpServerPort})
        box->interpretText();
    settings.connMode = m_mode->mode();
    settings.portName = m_port->portName();
    settings.targetHost = m_host->host();
    settings.targetHosts = m_host->hosts();
    settings.targetPort = PanelChoices::edited(*m_targetPort, settings.targetPort);
    settings.udpLocalPort = quint16(m_udpLocalPort->value());
    settings.udpServerPort = quint16(m_udpServerPort->value());
    settings.useRemoteSerialConfig = m_keepRemoteConfig->isChecked();
    m_line->store(settings);
}

void ConnectionPanel::populatePorts(const SerialPortCatalog& catalog)
{
    m_port->populate(catalog);
}

void ConnectionPanel::setRemoteSummary(const QString& summary)
{
    m_remoteSummary->setText(summary);
    showRowsOfMode();
}

void ConnectionPanel::setConnectionActive(bool active)
{
    m_active = active;
    if (m_open)
        m_open->setText(active ? tr("Close") : tr("Open"));
    for (QWidget* field : {static_cast<QWidget*>(m_mode), static_cast<QWidget*>(m_port),
             static_cast<QWidget*>(m_host), static_cast<QWidget*>(m_targetPort),
             static_cast<QWidget*>(m_udpLocalPort), static_cast<QWidget*>(m_udpServerPort)})
        field->setEnabled(!active);
    showRowsOfMode();
}
