#include "terminal/connectionpanel.h"

#include "connections/connectioncontroller.h"
#include "terminal/hostbox.h"
#include "terminal/panelform.h"
#include "terminal/portnamebox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QIntValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSerialPort>
#include <QSpinBox>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct ModeLabel
{
    connectionMode mode;
    const char* label;
};

constexpr std::array modeLabels{
    ModeLabel{connectionMode::SerialPort, QT_TRANSLATE_NOOP("ConnectionPanel", "Serial Port")},
    ModeLabel{connectionMode::TcpServer, QT_TRANSLATE_NOOP("ConnectionPanel", "TCP Server")},
    ModeLabel{connectionMode::TcpClient, QT_TRANSLATE_NOOP("ConnectionPanel", "TCP Client")},
    ModeLabel{connectionMode::UdpServer, QT_TRANSLATE_NOOP("ConnectionPanel", "UDP Server")},
    ModeLabel{connectionMode::UdpClient, QT_TRANSLATE_NOOP("ConnectionPanel", "UDP Client")},
    ModeLabel{connectionMode::RemoteSerialRfc2217,
        QT_TRANSLATE_NOOP("ConnectionPanel", "Remote Serial (RFC 2217)")},
    ModeLabel{connectionMode::RemoteSerialCloudRelay,
        QT_TRANSLATE_NOOP("ConnectionPanel", "Remote Serial (Cloud Relay)")},
};

struct CodeLabel
{
    int code;
    const char* label;
};

constexpr std::array parityLabels{
    CodeLabel{QSerialPort::NoParity, QT_TRANSLATE_NOOP("ConnectionPanel", "None")},
    CodeLabel{QSerialPort::EvenParity, QT_TRANSLATE_NOOP("ConnectionPanel", "Even")},
    CodeLabel{QSerialPort::OddParity, QT_TRANSLATE_NOOP("ConnectionPanel", "Odd")},
    CodeLabel{QSerialPort::MarkParity, QT_TRANSLATE_NOOP("ConnectionPanel", "Mark")},
    CodeLabel{QSerialPort::SpaceParity, QT_TRANSLATE_NOOP("ConnectionPanel", "Space")},
};

constexpr std::array flowLabels{
    CodeLabel{QSerialPort::NoFlowControl, QT_TRANSLATE_NOOP("ConnectionPanel", "None")},
    CodeLabel{QSerialPort::HardwareControl, QT_TRANSLATE_NOOP("ConnectionPanel", "RTS/CTS")},
    CodeLabel{QSerialPort::SoftwareControl, QT_TRANSLATE_NOOP("ConnectionPanel", "XON/XOFF")},
};

constexpr std::array stopBitsLabels{
    CodeLabel{QSerialPort::OneStop, "1"},
    CodeLabel{QSerialPort::OneAndHalfStop, "1.5"},
    CodeLabel{QSerialPort::TwoStop, "2"},
};

constexpr std::array dataBitsLabels{
    CodeLabel{QSerialPort::Data8, "8"},
    CodeLabel{QSerialPort::Data7, "7"},
    CodeLabel{QSerialPort::Data6, "6"},
    CodeLabel{QSerialPort::Data5, "5"},
};

// The rates that UARTs and USB adapters commonly offer; any other can be typed.
constexpr std::array baudRates{300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 38400, 57600, 74880,
    115200, 230400, 250000, 460800, 500000, 576000, 921600, 1000000, 1500000, 2000000, 3000000,
    4000000};
constexpr int maxBaudRate = 100'000'000;

template<typename Labels>
void fill(QComboBox& box, const Labels& labels)
{
    for (const CodeLabel& entry : labels)
        box.addItem(ConnectionPanel::tr(entry.label), entry.code);
}

void choose(QComboBox& box, int code)
{
    box.setCurrentIndex(std::max(box.findData(code), 0));
}

QSpinBox* portSpinBox(QWidget* parent)
{
    auto* box = new QSpinBox(parent);
    box->setRange(1, 65535);
    box->setGroupSeparatorShown(false);
    return box;
}

} // namespace

ConnectionPanel::ConnectionPanel(QWidget* parent)
    : QGroupBox(tr("Connection Settings"), parent)
    , m_form(makePanelForm(this))
    , m_mode(new QComboBox(this))
    , m_port(new PortNameBox(this))
    , m_baudRate(new QComboBox(this))
    , m_dataBits(new QComboBox(this))
    , m_flowControl(new QComboBox(this))
    , m_stopBits(new QComboBox(this))
    , m_parity(new QComboBox(this))
    , m_lines(new QWidget(this))
    , m_dtr(new QCheckBox(tr("DTR"), m_lines))
    , m_rts(new QCheckBox(tr("RTS"), m_lines))
    , m_host(new HostBox(this))
    , m_targetPort(portSpinBox(this))
    , m_udpLocalPort(portSpinBox(this))
    , m_udpServerPort(portSpinBox(this))
    , m_open(new QPushButton(tr("Open"), this))
{
    buildTargetRows(m_form);
    buildLineRows(m_form);
    m_form->addRow(m_open);
    connect(m_open, &QPushButton::clicked, this,
        [this] { m_active ? Q_EMIT closeRequested() : Q_EMIT openRequested(); });
    showRowsOfMode();
}

ConnectionPanel::~ConnectionPanel() = default;

void ConnectionPanel::buildTargetRows(QFormLayout* form)
{
    for (const ModeLabel& entry : modeLabels) {
        if (ConnectionController::carries(entry.mode))
            m_mode->addItem(tr(entry.label), int(entry.mode));
    }
    m_mode->setObjectName("connMode"_L1);
    m_port->setObjectName("portName"_L1);
    m_host->setObjectName("targetHost"_L1);
    m_targetPort->setObjectName("targetPort"_L1);
    m_open->setObjectName("openButton"_L1);
    form->addRow(tr("Type"), m_mode);
    form->addRow(tr("Port"), m_port);
    form->addRow(tr("Host"), m_host);
    form->addRow(tr("Target Port"), m_targetPort);
    form->addRow(tr("Local Port"), m_udpLocalPort);
    form->addRow(tr("Local Port"), m_udpServerPort);

    connect(m_mode, &QComboBox::currentIndexChanged, this, [this] {
        showRowsOfMode();
        if (!m_loading)
            Q_EMIT edited();
    });
    connect(m_port, &PortNameBox::portNameEdited, this, &ConnectionPanel::edited);
    connect(m_host, &HostBox::hostEdited, this, &ConnectionPanel::edited);
    connect(m_host, &HostBox::hostRemoved, this, &ConnectionPanel::edited);
    for (QSpinBox* box : {m_targetPort, m_udpLocalPort, m_udpServerPort}) {
        connect(box, &QSpinBox::valueChanged, this, [this] {
            if (!m_loading)
                Q_EMIT edited();
        });
    }
}

void ConnectionPanel::buildLineRows(QFormLayout* form)
{
    m_baudRate->setObjectName("baudRate"_L1);
    m_baudRate->setEditable(true);
    m_baudRate->setInsertPolicy(QComboBox::NoInsert);
    m_baudRate->setValidator(new QIntValidator(1, maxBaudRate, m_baudRate));
    for (const int rate : baudRates)
        m_baudRate->addItem(QString::number(rate), rate);
    fill(*m_dataBits, dataBitsLabels);
    fill(*m_flowControl, flowLabels);
    fill(*m_stopBits, stopBitsLabels);
    fill(*m_parity, parityLabels);

    form->addRow(tr("Baudrate"), m_baudRate);
    form->addRow(tr("Data Bits"), m_dataBits);
    form->addRow(tr("Flow Type"), m_flowControl);
    form->addRow(tr("Stop Bits"), m_stopBits);
    form->addRow(tr("Parity"), m_parity);

    auto* lines = new QHBoxLayout(m_lines);
    lines->setContentsMargins(0, 0, 0, 0);
    lines->addWidget(m_dtr);
    lines->addWidget(m_rts);
    lines->addStretch();
    m_dtr->setToolTip(tr("Set the DTR output now, or apply it when the port opens"));
    m_rts->setToolTip(tr("Set the RTS output now, or apply it when the port opens"));
    form->addRow(tr("Outputs"), m_lines);

    connect(m_baudRate, &QComboBox::activated, this, &ConnectionPanel::edited);
    connect(m_baudRate->lineEdit(), &QLineEdit::editingFinished, this, &ConnectionPanel::edited);
    for (QComboBox* box : {m_dataBits, m_flowControl, m_stopBits, m_parity})
        connect(box, &QComboBox::activated, this, &ConnectionPanel::edited);
    connect(m_dtr, &QCheckBox::clicked, this, [this](bool on) {
        Q_EMIT dtrEdited(on);
        Q_EMIT edited();
    });
    connect(m_rts, &QCheckBox::clicked, this, [this](bool on) {
        Q_EMIT rtsEdited(on);
        Q_EMIT edited();
    });
}

void ConnectionPanel::addRow(QWidget* widget)
{
    m_form->addRow(widget);
}

connectionMode ConnectionPanel::mode() const
{
    return connectionModeFromInt(m_mode->currentData().toInt());
}

void ConnectionPanel::showRowsOfMode()
{
    const connectionMode current = mode();
    const bool serial = current == connectionMode::SerialPort;
    const bool tcp = connectionModeIsTcpClient(current);
    const bool udpClient = current == connectionMode::UdpClient;
    for (QWidget* field : {static_cast<QWidget*>(m_port), static_cast<QWidget*>(m_baudRate),
             static_cast<QWidget*>(m_dataBits), static_cast<QWidget*>(m_flowControl),
             static_cast<QWidget*>(m_stopBits), static_cast<QWidget*>(m_parity), m_lines})
        m_form->setRowVisible(field, serial);
    m_form->setRowVisible(m_host, tcp || udpClient);
    m_form->setRowVisible(m_targetPort, tcp || udpClient);
    const bool udpServer = current == connectionMode::UdpServer;
    m_form->setRowVisible(m_udpLocalPort, connectionModeIsUdp(current) && !udpServer);
    m_form->setRowVisible(m_udpServerPort, udpServer);
}

void ConnectionPanel::load(const Settings& settings)
{
    const QScopedValueRollback loading(m_loading, true);
    choose(*m_mode, int(settings.connMode));
    m_port->setPortName(settings.portName);
    m_baudRate->setEditText(QString::number(settings.baudRate));
    choose(*m_dataBits, settings.dataBits);
    choose(*m_flowControl, settings.flowControl);
    choose(*m_stopBits, settings.stopBits);
    choose(*m_parity, settings.parity);
    m_dtr->setChecked(settings.dtrOn);
    m_rts->setChecked(settings.rtsOn);
    m_rts->setEnabled(settings.flowControl != QSerialPort::HardwareControl);
    m_host->setHosts(settings.targetHosts, settings.targetHost);
    m_targetPort->setValue(settings.targetPort);
    m_udpLocalPort->setValue(settings.udpLocalPort);
    m_udpServerPort->setValue(settings.udpServerPort);
    showRowsOfMode();
}

void ConnectionPanel::store(Settings& settings) const
{
    settings.connMode = mode();
    settings.portName = m_port->portName();
    settings.baudRate = std::max(m_baudRate->currentText().toInt(), 1);
    settings.dataBits = m_dataBits->currentData().toInt();
    settings.flowControl = m_flowControl->currentData().toInt();
    settings.stopBits = m_stopBits->currentData().toInt();
    settings.parity = m_parity->currentData().toInt();
    settings.refreshTexts();
    settings.dtrOn = m_dtr->isChecked();
    settings.rtsOn = m_rts->isChecked();
    settings.targetHost = m_host->host();
    settings.targetHosts = m_host->hosts();
    settings.targetPort = m_targetPort->value();
    settings.udpLocalPort = quint16(m_udpLocalPort->value());
    settings.udpServerPort = quint16(m_udpServerPort->value());
}

void ConnectionPanel::populatePorts(const SerialPortCatalog& catalog)
{
    m_port->populate(catalog);
}

void ConnectionPanel::setConnectionActive(bool active)
{
    m_active = active;
    m_open->setText(active ? tr("Close") : tr("Open"));
    for (QWidget* field : {static_cast<QWidget*>(m_mode), static_cast<QWidget*>(m_port),
             static_cast<QWidget*>(m_host), static_cast<QWidget*>(m_targetPort),
             static_cast<QWidget*>(m_udpLocalPort), static_cast<QWidget*>(m_udpServerPort)})
        field->setEnabled(!active);
}
