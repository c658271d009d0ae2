// What the Modbus request builder is made of, and where it stands.
#include "settings/config.h"
#include "tools/modbusbuilder.h"
#include "tools/modbusform.h"
#include "tools/modbuspollpage.h"
#include "tools/modbusvaluemodel.h"
#include "tools/modbusvalueview.h"

#include <QCheckBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 880;
constexpr int kHeight = 600;
constexpr int kAddressWidth = 130;
constexpr int kMaxNameLength = 60;

QLineEdit* frameField(QWidget* parent, const QString& name)
{
    auto* field = new QLineEdit(parent);
    field->setReadOnly(true);
    field->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    field->setAccessibleName(name);
    return field;
}

QSpinBox* milliseconds(QWidget* parent, qint64 least, qint64 most)
{
    auto* box = new QSpinBox(parent);
    box->setRange(int(least), int(most));
    box->setSuffix(ModbusBuilder::tr(" ms"));
    return box;
}

} // namespace

ModbusBuilder::ModbusBuilder(QWidget* parent)
    : QDialog(parent)
    , m_store(Config::organizationName(), Config::applicationName())
    , m_pages(new QTabWidget(this))
    , m_form(new ModbusForm(this))
    , m_pollPage(new ModbusPollPage(this))
    , m_values(new ModbusValueModel(this))
    , m_name(new QLineEdit(this))
    , m_open(new QPushButton(tr("&Open"), this))
    , m_keep(new QPushButton(tr("&Keep"), this))
    , m_rtu(new QRadioButton(tr("&RTU"), this))
    , m_tcp(new QRadioButton(tr("T&CP"), this))
    , m_rtuFrame(frameField(this, tr("RTU frame")))
    , m_tcpFrame(frameField(this, tr("TCP frame")))
    , m_insert(new QPushButton(tr("&Insert into Send Editor"), this))
    , m_send(new QPushButton(this))
    , m_repeat(new QCheckBox(tr("Repeat &every"), this))
    , m_repeatMs(milliseconds(this, ModbusPoll::kMinIntervalMs, ModbusPoll::kMaxIntervalMs))
    , m_timeoutMs(milliseconds(this, ModbusPoll::kMinTimeoutMs, ModbusPoll::kMaxTimeoutMs))
    , m_asked(new QLabel(this))
    , m_answer(new QLabel(this))
    , m_answerFrame(frameField(this, tr("Frame of the answer")))
    , m_valueView(new ModbusValueView(this))
    , m_portState(new QLabel(this))
    , m_message(new QLabel(this))
{
    setWindowTitle(tr("Modbus Request Builder"));
    resize(kWidth, kHeight);
    addNameRow();
    m_pages->addTab(requestPage(), tr("Re&quest"));
    m_pages->addTab(m_pollPage, tr("Poll &List"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pages, 1);
    layout->addLayout(bottom());
    orderTabs();
    wire();
    restore();
    showRunning();
}

// As the fields stand, from top to bottom.
void ModbusBuilder::orderTabs()
{
    QList<QWidget*> order{m_pages, m_name, m_keep, m_open};
    order += m_form->fields();
    order += {m_answerFrame, m_valueView, m_rtu, m_rtuFrame, m_tcp, m_tcpFrame, m_insert, m_repeat,
        m_repeatMs, m_send};
    for (qsizetype at = 1; at < order.size(); ++at)
        setTabOrder(order[at - 1], order[at]);
    m_form->fields().constFirst()->setFocus();
}

QWidget* ModbusBuilder::requestPage()
{
    auto* page = new QWidget(this);
    auto* request = new QGroupBox(tr("Request"), page);
    auto* requestLayout = new QVBoxLayout(request);
    requestLayout->addWidget(m_form);
    requestLayout->addStretch();
    auto* halves = new QHBoxLayout;
    halves->addWidget(request, 1);
    halves->addWidget(answerBox(), 1);
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(halves, 1);
    layout->addWidget(wireBox());
    return page;
}

void ModbusBuilder::addNameRow()
{
    m_name->setMaxLength(kMaxNameLength);
    m_name->setPlaceholderText(tr("To keep the request"));
    m_keep->setToolTip(tr("Keep the request under its name, in the poll list"));
    m_keep->setAutoDefault(false);
    m_open->setToolTip(tr("Edit a request that was kept"));
    m_open->setAutoDefault(false);
    m_open->setMenu(new QMenu(m_open));
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_name, 1);
    layout->addWidget(m_keep);
    layout->addWidget(m_open);
    auto* label = new QLabel(tr("&Name"), this);
    label->setBuddy(m_name);
    m_form->setHead(label, row);
}

QWidget* ModbusBuilder::answerBox()
{
    auto* box = new QGroupBox(tr("Answer"), this);
    m_answer->setWordWrap(true);
    m_answer->setTextFormat(Qt::PlainText);
    m_answer->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_answer->setMinimumHeight(m_answer->fontMetrics().lineSpacing());
    m_valueView->setModel(m_values);
    m_valueView->setAccessibleName(tr("Values of the answer"));
    for (const int column :
        {ModbusValueModel::Request, ModbusValueModel::Result, ModbusValueModel::Time})
        m_valueView->hideColumn(column);
    m_valueView->horizontalHeader()->setStretchLastSection(false);
    m_valueView->horizontalHeader()->setSectionResizeMode(
        ModbusValueModel::Value, QHeaderView::Stretch);
    m_valueView->setColumnWidth(ModbusValueModel::Address, kAddressWidth);
    auto* layout = new QVBoxLayout(box);
    m_asked->setTextFormat(Qt::PlainText);
    m_asked->setWordWrap(true);
    layout->addWidget(m_asked);
    layout->addWidget(m_answer);
    layout->addWidget(m_answerFrame);
    layout->addWidget(m_valueView, 1);
    return box;
}

QWidget* ModbusBuilder::wireBox()
{
    auto* box = new QGroupBox(tr("On the wire"), this);
    m_rtu->setToolTip(tr("Sent as Modbus RTU: unit, function, data and CRC-16"));
    m_tcp->setToolTip(
        tr("Sent as Modbus TCP: with a header, and a transaction number that counts up"));
    m_repeat->setToolTip(tr("From one request to the next, when the answer has come"));
    m_repeatMs->setAccessibleName(tr("Interval"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_insert);
    buttons->addStretch();
    buttons->addWidget(m_repeat);
    buttons->addWidget(m_repeatMs);
    buttons->addWidget(m_send);
    m_send->setDefault(true);
    auto* layout = new QGridLayout(box);
    layout->addWidget(m_rtu, 0, 0);
    layout->addWidget(m_rtuFrame, 0, 1);
    layout->addWidget(m_tcp, 1, 0);
    layout->addWidget(m_tcpFrame, 1, 1);
    layout->addLayout(buttons, 2, 0, 1, 2);
    return box;
}

QLayout* ModbusBuilder::bottom()
{
    m_portState->setTextFormat(Qt::PlainText);
    m_portState->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto* label = new QLabel(tr("Answer wit&hin"), this);
    label->setBuddy(m_timeoutMs);
    auto* row = new QHBoxLayout;
    row->addWidget(m_portState, 1);
    row->addWidget(label);
    row->addWidget(m_timeoutMs);
    m_message->setTextFormat(Qt::PlainText);
    m_message->setWordWrap(true);
    auto* layout = new QVBoxLayout;
    layout->addLayout(row);
    layout->addWidget(m_message);
    return layout;
}
