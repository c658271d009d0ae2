#include "bridge/ui/bridgedialog.h"

#include "bridge/bridgecodec.h"
#include "connections/peerallowlist.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardItemModel>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMegabyte = 1'048'576;

bool isTcpServer(connectionMode mode)
{
    return mode == connectionMode::TcpServer;
}

bool isTcpClient(connectionMode mode)
{
    return mode == connectionMode::TcpClient;
}

bool isUdp(connectionMode mode)
{
    return connectionModeIsUdp(mode);
}

bool isNetwork(connectionMode mode)
{
    return isTcpServer(mode) || isTcpClient(mode) || isUdp(mode);
}

int spinValue(qint64 value)
{
    return int(qMin<qint64>(value, std::numeric_limits<int>::max()));
}

// A number beyond what the field can show stays as it is unless the field was changed.
qint64 valueOf(const QSpinBox* box, qint64 original)
{
    return box->value() == spinValue(original) ? original : box->value();
}

} // namespace

BridgeDialog::~BridgeDialog() = default;

void BridgeDialog::fill(const BridgeConfig& config)
{
    m_name->setText(config.name);
    m_portA->setCurrentIndex(config.portA);
    m_portB->setCurrentIndex(config.portB);
    m_direction->setCurrentIndex(int(config.direction));
    m_protocol->setCurrentIndex(int(config.protocol));
    m_enabled->setChecked(config.enabled);
    m_autoOpen->setChecked(config.autoOpenPeer);
    m_show->setChecked(config.showForwardedInDisplay);
    m_muteRate->setValue(spinValue(config.displayMuteBytesPerSec));
    m_framing->setCurrentIndex(int(config.framing.mode));
    m_idleGap->setValue(config.framing.idleGapMs);
    m_delimiter->setText(BridgeCodec::delimiterToHex(config.framing.delimiter));
    m_fixedLength->setValue(config.framing.frameLength);
    m_maxFrame->setValue(config.framing.maxFrameBytes);
    m_maxHold->setValue(config.framing.flushTimeoutMs);
    m_overflow->setCurrentIndex(int(config.flow.overflowPolicy));
    m_capacity->setValue(spinValue(config.flow.capacityBytes));
    m_highWater->setValue(spinValue(config.flow.highWaterBytes));
    m_lowWater->setValue(spinValue(config.flow.lowWaterBytes));
    m_sinkCeiling->setValue(spinValue(config.flow.sinkCeilingBytes));
    m_guard->setChecked(config.flow.floodGuardEnabled);
    m_floodRate->setValue(spinValue(config.flow.floodBytesPerSecond));
    m_floodWindow->setValue(config.flow.floodWindowMs);
    m_fanout->setCurrentIndex(int(config.fanout));
    m_udpTarget->setCurrentIndex(int(config.udpTarget));
    m_responseTimeout->setValue(config.arbiterResponseTimeoutMs);
    m_queuedRequests->setValue(config.arbiterMaxQueuedRequests);
    m_transactionTimeout->setValue(config.modbusTransactionTimeoutMs);
    m_exceptions->setChecked(config.modbusExceptions);
    m_allowed->setPlainText(config.allowedPeers.join(u'\n'));
    m_log->setChecked(config.logEnabled);
    m_path->setText(config.logFilePath);
    m_logFormat->setCurrentIndex(config.logHex ? 0 : 1);
    m_rotate->setValue(spinValue(qMax<qint64>(1, config.logRotateBytes / kMegabyte)));
}

BridgeConfig BridgeDialog::config() const
{
    BridgeConfig config = m_original;
    config.name = m_name->text();
    config.portA = m_portA->currentIndex();
    config.portB = m_portB->currentIndex();
    config.direction = BridgeDirection(m_direction->currentIndex());
    config.protocol = ProtocolMode(m_protocol->currentIndex());
    config.enabled = m_enabled->isChecked();
    config.autoOpenPeer = m_autoOpen->isChecked();
    config.showForwardedInDisplay = m_show->isChecked();
    config.displayMuteBytesPerSec = valueOf(m_muteRate, m_original.displayMuteBytesPerSec);
    config.framing.mode = FramingMode(m_framing->currentIndex());
    config.framing.idleGapMs = m_idleGap->value();
    (void)BridgeCodec::delimiterFromHex(m_delimiter->text(), config.framing.delimiter);
    config.framing.frameLength = m_fixedLength->value();
    config.framing.maxFrameBytes = m_maxFrame->value();
    config.framing.flushTimeoutMs = m_maxHold->value();
    config.flow.overflowPolicy = OverflowPolicy(m_overflow->currentIndex());
    config.flow.capacityBytes = m_capacity->value();
    config.flow.highWaterBytes = m_highWater->value();
    config.flow.lowWaterBytes = m_lowWater->value();
    config.flow.sinkCeilingBytes = m_sinkCeiling->value();
    config.flow.floodGuardEnabled = m_guard->isChecked();
    config.flow.floodBytesPerSecond = valueOf(m_floodRate, m_original.flow.floodBytesPerSecond);
    config.flow.floodWindowMs = m_floodWindow->value();
    config.fanout = FanoutMode(m_fanout->currentIndex());
    config.udpTarget = UdpTargetMode(m_udpTarget->currentIndex());
    config.arbiterResponseTimeoutMs = m_responseTimeout->value();
    config.arbiterMaxQueuedRequests = m_queuedRequests->value();
    config.modbusTransactionTimeoutMs = m_transactionTimeout->value();
    config.modbusExceptions = m_exceptions->isChecked();
    config.allowedPeers.clear();
    for (const QString& line : m_allowed->toPlainText().split(u'\n')) {
        if (const QString entry = line.trimmed(); !entry.isEmpty())
            config.allowedPeers.append(entry);
    }
    config.logEnabled = m_log->isChecked();
    config.logFilePath = QDir::fromNativeSeparators(m_path->text().trimmed());
    config.logHex = m_logFormat->currentIndex() == 0;
    if (m_rotate->value() != qMax<qint64>(1, m_original.logRotateBytes / kMegabyte))
        config.logRotateBytes = m_rotate->value() * kMegabyte;
    return config;
}

connectionMode BridgeDialog::modeOf(int port) const
{
    const PortEndpoint* endpoint = m_manager.endpointFor(port);
    return endpoint ? endpoint->mode() : connectionMode::NoTransport;
}

bool BridgeDialog::anyEnd(bool (*is)(connectionMode)) const
{
    return is(modeOf(m_portA->currentIndex())) || is(modeOf(m_portB->currentIndex()));
}

// Why a protocol does not fit the two ends; empty when it does.
QString BridgeDialog::protocolRefusal(ProtocolMode protocol) const
{
    switch (protocol) {
    case ProtocolMode::Rfc2217Server:
        return anyEnd(&isTcpServer) ? QString() : tr("Needs a TCP server at one end.");
    case ProtocolMode::Rfc2217Client:
        return anyEnd(&isTcpClient) ? QString() : tr("Needs a TCP client at one end.");
    case ProtocolMode::ModbusGateway:
        return anyEnd(&isNetwork) ? QString() : tr("Needs a network port at one end.");
    case ProtocolMode::Transparent:
        break;
    }
    return {};
}

void BridgeDialog::offerProtocols()
{
    const auto* model = qobject_cast<QStandardItemModel*>(m_protocol->model());
    for (int row = 0; row < m_protocol->count(); ++row) {
        const QString refusal = protocolRefusal(ProtocolMode(row));
        model->item(row)->setEnabled(refusal.isEmpty());
        model->item(row)->setToolTip(refusal);
    }
}

void BridgeDialog::showRow(QWidget* field, bool shown)
{
    const Row& row = m_rows[field];
    row.form->setRowVisible(field, shown);
    row.form->setRowVisible(row.note, shown && !row.note->text().isEmpty());
}

void BridgeDialog::setExplanation(QWidget* field, const QString& text)
{
    Row& row = m_rows[field];
    row.explanation = text;
    row.note->setText(text);
    row.form->setRowVisible(row.note, row.form->isRowVisible(field) && !text.isEmpty());
}

bool BridgeDialog::fault(QWidget* field, const QString& text)
{
    const Row& row = m_rows[field];
    if (!row.form->isRowVisible(field))
        return false;
    row.note->setText(text.isEmpty() ? row.explanation : u"⚠ "_s + text);
    QFont font = row.note->font();
    font.setBold(!text.isEmpty());
    row.note->setFont(font);
    row.form->setRowVisible(row.note, !row.note->text().isEmpty());
    if (!text.isEmpty())
        m_faultyForms.insert(row.form);
    return !text.isEmpty();
}

// A fault may stand on a page that is not seen.
void BridgeDialog::markPages()
{
    for (int page = 0; page < m_tabs->count(); ++page) {
        const QString title = m_tabs->widget(page)->accessibleName();
        const QFormLayout* form = m_tabs->widget(page)->findChild<QFormLayout*>();
        m_tabs->setTabText(page, m_faultyForms.contains(form) ? u"⚠ "_s + title : title);
    }
}

void BridgeDialog::refresh()
{
    for (QComboBox* ports : {m_portA, m_portB}) {
        for (int port = 0; port < ports->count() && port < m_manager.portCount(); ++port)
            ports->setItemText(port, m_manager.endpointFor(port)->name());
    }
    const BridgeConfig now = config();
    offerProtocols();
    showFields(now);
    explain(now);
    m_faultyForms.clear();
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(!hasFaults(now));
    markPages();
    const QString warning = m_manager.fanInWarning(now, m_index);
    m_warning->setText(warning.isEmpty() ? QString() : u"⚠ "_s + warning);
    m_warning->setVisible(!warning.isEmpty());
}

// Only what has an effect with these ends and this protocol.
void BridgeDialog::showFields(const BridgeConfig& now)
{
    const bool modbus = now.protocol == ProtocolMode::ModbusGateway;
    const bool server = anyEnd(&isTcpServer);
    const bool turns = modbus || (server && now.fanout == FanoutMode::TakeTurns);
    showRow(m_muteRate, now.showForwardedInDisplay);
    showRow(m_framing, !modbus);
    showRow(m_idleGap, !modbus && now.framing.mode == FramingMode::IdleGap);
    showRow(m_delimiter, !modbus && now.framing.mode == FramingMode::Delimiter);
    showRow(m_fixedLength, !modbus && now.framing.mode == FramingMode::FixedLength);
    showRow(m_maxFrame, !modbus);
    showRow(m_maxHold, !modbus && now.framing.mode != FramingMode::Immediate);
    for (QWidget* field : {static_cast<QWidget*>(m_overflow), static_cast<QWidget*>(m_capacity),
             static_cast<QWidget*>(m_sinkCeiling), static_cast<QWidget*>(m_guard)})
        showRow(field, !turns);
    const bool slows = !turns && now.flow.overflowPolicy == OverflowPolicy::SlowSender;
    showRow(m_highWater, slows);
    showRow(m_lowWater, slows);
    showRow(m_floodRate, !turns && now.flow.floodGuardEnabled);
    showRow(m_floodWindow, !turns && now.flow.floodGuardEnabled);
    showRow(m_fanout, server);
    showRow(m_udpTarget, anyEnd(&isUdp));
    showRow(m_responseTimeout, turns);
    showRow(m_queuedRequests, turns);
    showRow(m_transactionTimeout, modbus);
    showRow(m_exceptions, modbus);
    showRow(m_allowed, server);
    for (QWidget* field :
        {m_pathRow, static_cast<QWidget*>(m_logFormat), static_cast<QWidget*>(m_rotate)})
        showRow(field, now.logEnabled);
}

void BridgeDialog::explain(const BridgeConfig& now)
{
    const QStringList protocols{tr("What one end receives is sent at the other, byte by byte."),
        tr("A network client sees the serial port as if it were its own: it sets baud rate, "
           "framing and lines."),
        tr("Modbus TCP clients ask devices on an RTU line; each answer goes back to who asked."),
        tr("The device server at the TCP client end follows the serial parameters of the other "
           "end.")};
    setExplanation(m_protocol, protocols.value(int(now.protocol)));
    const QStringList framings{tr("Each read goes on as it is, at once."),
        tr("A frame is what comes without a pause."), tr("A frame ends with these bytes."),
        tr("Every frame has the same length.")};
    setExplanation(m_framing, framings.value(int(now.framing.mode)));
    const QStringList policies{
        tr("New data has priority; what waits longest is lost, and counted."),
        tr("What waits has priority; new data is lost, and counted."),
        tr("The sending port is read more slowly, so that its flow control can act."),
        tr("Nothing more is forwarded until you resume the bridge.")};
    setExplanation(m_overflow, policies.value(int(now.flow.overflowPolicy)));
    const QStringList fanouts{tr("Every client may send at any time, and hears everything."),
        tr("Further clients are refused while one is connected."),
        tr("Each request goes out alone, and its answer goes to who asked only.")};
    setExplanation(m_fanout, fanouts.value(int(now.fanout)));
    const QStringList targets{tr("Whoever sent the last datagram."),
        tr("The host and port that the port's own settings name."),
        tr("Everybody who has sent a datagram since the port was opened.")};
    setExplanation(m_udpTarget, targets.value(int(now.udpTarget)));
}

bool BridgeDialog::hasFaults(const BridgeConfig& now)
{
    QString refusal;
    m_manager.validate(now, m_index, &refusal);
    QByteArray delimiter;
    const bool badDelimiter = !BridgeCodec::delimiterFromHex(m_delimiter->text(), delimiter);
    bool any = fault(m_portB, refusal);
    any = fault(m_protocol, protocolRefusal(now.protocol)) || any;
    any =
        fault(m_delimiter, badDelimiter ? tr("Pairs of hexadecimal digits, e.g. 0D0A") : QString())
        || any;
    any = fault(m_highWater, now.flow.highWaterBytes > now.flow.capacityBytes
                                 ? tr("The mark lies above the queue limit.")
                                 : QString())
          || any;
    any = fault(m_lowWater, now.flow.lowWaterBytes >= now.flow.highWaterBytes
                                ? tr("The mark does not lie below the high-water mark.")
                                : QString())
          || any;
    any = fault(m_allowed, addressFault()) || any;
    return fault(m_pathRow, captureFault()) || any;
}

QString BridgeDialog::addressFault() const
{
    for (const QString& entry : config().allowedPeers) {
        if (!PeerAllowlist({entry}).hasEntries())
            return tr("%1 is no address and no subnet.").arg(entry);
    }
    return {};
}

QString BridgeDialog::captureFault() const
{
    const QFileInfo file(config().logFilePath);
    if (file.filePath().isEmpty())
        return tr("Choose a file.");
    if (file.isDir())
        return tr("This is a folder.");
    if (file.isRelative() || !file.dir().exists())
        return tr("There is no folder %1.").arg(QDir::toNativeSeparators(file.path()));
    return {};
}

void BridgeDialog::browse()
{
    auto* dialog = new QFileDialog(this, tr("Capture File"), QFileInfo(m_path->text()).path());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    // What is there is continued, not replaced.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    connect(dialog, &QFileDialog::fileSelected, this,
        [this](const QString& path) { m_path->setText(QDir::toNativeSeparators(path)); });
    dialog->open();
}
