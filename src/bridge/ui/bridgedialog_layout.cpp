// The fields of the dialog: their labels, choices and ranges.
#include "bridge/ui/bridgedialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMargin = 16;
constexpr int kGap = 8;
constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kMegabyte = 1'048'576;
constexpr int kAllowedLines = 4;
constexpr int kWidth = 560;
constexpr int kHeight = 520;

} // namespace

BridgeDialog::BridgeDialog(
    const BridgeManager& manager, const BridgeConfig& config, int index, QWidget* parent)
    : QDialog(parent)
    , m_manager(manager)
    , m_index(index)
    , m_original(config)
    , m_tabs(new QTabWidget(this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
    , m_warning(new QLabel(this))
{
    setWindowTitle(index < 0 ? tr("Add Bridge") : tr("Edit Bridge"));
    m_warning->setWordWrap(true);
    m_warning->setTextFormat(Qt::PlainText);
    m_warning->setObjectName("warning"_L1);
    buildEnds();
    buildFraming();
    buildFlow();
    buildClients();
    buildCapture();
    fill(config);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    layout->addWidget(m_tabs, 1);
    layout->addWidget(m_warning);
    layout->addWidget(m_buttons);
    resize(kWidth, kHeight);

    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    for (QComboBox* box : findChildren<QComboBox*>())
        connect(box, &QComboBox::currentIndexChanged, this, &BridgeDialog::refresh);
    for (QSpinBox* box : findChildren<QSpinBox*>())
        connect(box, &QSpinBox::valueChanged, this, &BridgeDialog::refresh);
    for (QCheckBox* box : findChildren<QCheckBox*>())
        connect(box, &QCheckBox::toggled, this, &BridgeDialog::refresh);
    for (QLineEdit* edit : {m_delimiter, m_path})
        connect(edit, &QLineEdit::textChanged, this, &BridgeDialog::refresh);
    connect(m_allowed, &QPlainTextEdit::textChanged, this, &BridgeDialog::refresh);
    // Ports open and close while the dialog is there.
    connect(&manager, &BridgeManager::changed, this, &BridgeDialog::refresh);
    refresh();
    m_name->setFocus();
}

QFormLayout* BridgeDialog::addPage(const QString& title)
{
    auto* scroll = new QScrollArea(m_tabs);
    auto* page = new QWidget(scroll);
    auto* form = new QFormLayout(page);
    form->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    form->setHorizontalSpacing(kGap);
    form->setVerticalSpacing(kGap / 2);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    scroll->setWidget(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setAccessibleName(title);
    m_tabs->addTab(scroll, title);
    return form;
}

void BridgeDialog::addRow(QFormLayout* form, const QString& label, QWidget* field,
    const QString& name, const QString& explanation)
{
    field->setObjectName(name);
    form->addRow(label, field);
    auto* note = new QLabel(explanation, form->parentWidget());
    note->setObjectName(name + "Note"_L1);
    note->setWordWrap(true);
    note->setTextFormat(Qt::PlainText);
    note->setContentsMargins(0, 0, 0, kGap);
    form->addRow(QString(), note);
    form->setRowVisible(note, !explanation.isEmpty());
    m_rows.insert(field, {form, note, explanation});
}

QComboBox* BridgeDialog::choice(const QStringList& texts)
{
    auto* box = new QComboBox(this);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->addItems(texts);
    return box;
}

QSpinBox* BridgeDialog::number(int min, int max, const QString& suffix)
{
    auto* box = new QSpinBox(this);
    box->setRange(min, max);
    box->setSuffix(suffix);
    box->setGroupSeparatorShown(true);
    return box;
}

QCheckBox* BridgeDialog::option(const QString& text)
{
    return new QCheckBox(text, this);
}

void BridgeDialog::buildEnds()
{
    QFormLayout* form = addPage(tr("Ends"));
    QStringList ports;
    for (int port = 0; port < m_manager.portCount(); ++port)
        ports.append(m_manager.endpointFor(port)->name());
    m_name = new QLineEdit(this);
    m_name->setMaxLength(int(BridgeConfig::kMaxNameLength));
    m_portA = choice(ports);
    m_portB = choice(ports);
    m_direction = choice({tr("A → B"), tr("B → A"), tr("A ⇄ B (both ways)")});
    m_protocol = choice({tr("Transparent (pass bytes through)"),
        tr("RFC 2217 server (remote client sets the serial parameters)"),
        tr("Modbus TCP to Modbus RTU gateway"),
        tr("RFC 2217 client (set a remote device server's serial parameters)")});
    m_enabled = option(tr("E&nabled"));
    m_autoOpen = option(tr("&Open both ends automatically"));
    m_show = option(tr("&Show forwarded data in the views"));
    m_muteRate = number(0, kMost, tr(" bytes/s"));
    addRow(form, tr("Na&me:"), m_name, u"name"_s);
    addRow(form, tr("End &A:"), m_portA, u"portA"_s);
    addRow(form, tr("End &B:"), m_portB, u"portB"_s);
    addRow(form, tr("&Direction:"), m_direction, u"direction"_s);
    addRow(form, tr("&Protocol:"), m_protocol, u"protocol"_s);
    addRow(form, {}, m_enabled, u"enabled"_s);
    addRow(form, {}, m_autoOpen, u"autoOpen"_s,
        tr("A port that cannot be opened is tried again until it can. One that you close stays "
           "closed."));
    addRow(form, {}, m_show, u"show"_s);
    addRow(form, tr("M&ute above:"), m_muteRate, u"muteRate"_s,
        tr("Forwarded data that comes faster is not shown, only counted."));
}

void BridgeDialog::buildFraming()
{
    QFormLayout* form = addPage(tr("Framing"));
    m_framing = choice({tr("Forward immediately (lowest latency)"),
        tr("Cut on idle gap (Modbus RTU)"), tr("Cut on delimiter"), tr("Fixed length")});
    m_idleGap = number(FramingPolicy::kMinMs, FramingPolicy::kMaxMs, tr(" ms"));
    m_delimiter = new QLineEdit(this);
    m_fixedLength = number(1, FramingPolicy::kMaxFrameLimitBytes, tr(" bytes"));
    m_maxFrame = number(1, FramingPolicy::kMaxFrameLimitBytes, tr(" bytes"));
    m_maxHold = number(FramingPolicy::kMinMs, FramingPolicy::kMaxMs, tr(" ms"));
    addRow(form, tr("&Frames:"), m_framing, u"framing"_s);
    addRow(form, tr("&Idle gap:"), m_idleGap, u"idleGap"_s,
        tr("A silence of this length ends a frame."));
    addRow(form, tr("De&limiter:"), m_delimiter, u"delimiter"_s, tr("Hex, e.g. 0D0A"));
    addRow(form, tr("Len&gth:"), m_fixedLength, u"fixedLength"_s);
    addRow(form, tr("Lar&gest frame:"), m_maxFrame, u"maxFrame"_s,
        tr("More than this is cut and forwarded."));
    addRow(form, tr("&Hold at most:"), m_maxHold, u"maxHold"_s,
        tr("Data that never completes a frame is released after this long."));
}

void BridgeDialog::buildFlow()
{
    QFormLayout* form = addPage(tr("Flow Control"));
    m_overflow = choice({tr("Drop the oldest data"), tr("Drop the newest data"),
        tr("Slow the sender down (recommended)"), tr("Stop the bridge and tell me")});
    m_capacity = number(1, int(FlowControlPolicy::kMaxCapacityBytes), tr(" bytes"));
    m_highWater = number(1, int(FlowControlPolicy::kMaxCapacityBytes), tr(" bytes"));
    m_lowWater = number(0, int(FlowControlPolicy::kMaxCapacityBytes), tr(" bytes"));
    m_sinkCeiling = number(1, int(FlowControlPolicy::kMaxSinkCeilingBytes), tr(" bytes"));
    m_guard = option(tr("Stop automatically if a cable &loop is detected"));
    m_floodRate = number(int(FlowControlPolicy::kMinFloodBytesPerSecond), kMost, tr(" bytes/s"));
    m_floodWindow = number(
        FlowControlPolicy::kMinFloodWindowMs, FlowControlPolicy::kMaxFloodWindowMs, tr(" ms"));
    addRow(form, tr("When the &queue is full:"), m_overflow, u"overflow"_s);
    addRow(form, tr("Queue &limit:"), m_capacity, u"capacity"_s,
        tr("What may wait in each direction."));
    addRow(form, tr("&High-water mark:"), m_highWater, u"highWater"_s,
        tr("From here on the sender is slowed down."));
    addRow(form, tr("Lo&w-water mark:"), m_lowWater, u"lowWater"_s,
        tr("Down to here it stays slowed down."));
    addRow(form, tr("&Unsent limit:"), m_sinkCeiling, u"sinkCeiling"_s,
        tr("What the receiving port may have waiting before the queue is used."));
    addRow(form, {}, m_guard, u"guard"_s);
    addRow(form, tr("Loop &rate:"), m_floodRate, u"floodRate"_s,
        tr("More than this, for as long as set below, counts as a loop."));
    addRow(form, tr("Loop &time:"), m_floodWindow, u"floodWindow"_s);
}

void BridgeDialog::buildClients()
{
    QFormLayout* form = addPage(tr("Peers"));
    m_fanout = choice({tr("All clients share the port"), tr("One client at a time (recommended)"),
        tr("Take turns, one request at a time")});
    m_udpTarget =
        choice({tr("Reply to the last sender"), tr("Fixed destination"), tr("All known peers")});
    m_responseTimeout = number(BridgeConfig::kMinTimeoutMs, BridgeConfig::kMaxTimeoutMs, tr(" ms"));
    m_queuedRequests = number(1, BridgeConfig::kMaxQueuedRequests);
    m_transactionTimeout =
        number(BridgeConfig::kMinTimeoutMs, BridgeConfig::kMaxTimeoutMs, tr(" ms"));
    m_exceptions = option(tr("Tell clients when a device does not &answer"));
    m_allowed = new QPlainTextEdit(this);
    m_allowed->setTabChangesFocus(true);
    m_allowed->setFixedHeight(kAllowedLines * fontMetrics().lineSpacing() + kMargin);
    addRow(form, tr("TCP &clients:"), m_fanout, u"fanout"_s);
    addRow(form, tr("&UDP target:"), m_udpTarget, u"udpTarget"_s);
    addRow(form, tr("Wait for an ans&wer:"), m_responseTimeout, u"responseTimeout"_s,
        tr("Then the next request has its turn."));
    addRow(form, tr("Waiting re&quests:"), m_queuedRequests, u"queuedRequests"_s,
        tr("One more drops the oldest."));
    addRow(form, tr("&Transaction time-out:"), m_transactionTimeout, u"transactionTimeout"_s,
        tr("An answer that comes later reaches nobody."));
    addRow(form, {}, m_exceptions, u"exceptions"_s,
        tr("With the Modbus exceptions 0x0A (not sent) and 0x0B (no answer). Otherwise they hear "
           "nothing."));
    addRow(form, tr("Allowed a&ddresses:"), m_allowed, u"allowed"_s,
        tr("One address or subnet per line, such as 192.168.1.10 or 192.168.1.0/24. Empty allows "
           "any address."));
}

void BridgeDialog::buildCapture()
{
    QFormLayout* form = addPage(tr("Capture"));
    m_log = option(tr("&Record both directions to one file"));
    m_pathRow = new QWidget(this);
    m_path = new QLineEdit(m_pathRow);
    m_path->setObjectName("logPath"_L1);
    m_path->setAccessibleName(tr("File"));
    auto* browse = new QPushButton(tr("Bro&wse..."), m_pathRow);
    browse->setAutoDefault(false);
    auto* row = new QHBoxLayout(m_pathRow);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kGap);
    row->addWidget(m_path, 1);
    row->addWidget(browse);
    m_pathRow->setFocusProxy(m_path);
    connect(browse, &QPushButton::clicked, this, &BridgeDialog::browse);
    m_logFormat = choice({tr("Hex"), tr("Text (control bytes escaped)")});
    m_rotate = number(1, int(BridgeConfig::kMaxRotateBytes / kMegabyte), tr(" MB"));
    addRow(form, {}, m_log, u"log"_s);
    addRow(form, tr("&File:"), m_pathRow, u"logFile"_s);
    addRow(form, tr("For&mat:"), m_logFormat, u"logFormat"_s);
    addRow(form, tr("&Start a new file at:"), m_rotate, u"rotate"_s,
        tr("The previous capture is kept as .1 and older ones are discarded, so an unattended "
           "gateway cannot fill its disk."));
}
