#include "tools/modbuspollpage.h"

#include "tools/modbuspoll.h"
#include "tools/modbusvaluemodel.h"
#include "tools/modbusvalueview.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QSplitter>
#include <QTableWidget>
#include <algorithm>
#include <limits>

namespace {

// The columns of the list.
constexpr int kName = 0;
constexpr int kRequest = 1;
constexpr int kColumns = 2;
constexpr int kNameWidth = 240;

} // namespace

ModbusPollPage::ModbusPollPage(QWidget* parent)
    : QWidget(parent)
    , m_model(new ModbusValueModel(this))
    , m_list(new QTableWidget(0, kColumns, this))
    , m_values(new ModbusValueView(this))
    , m_open(new QPushButton(tr("&Edit"), this))
    , m_up(new QPushButton(tr("&Up"), this))
    , m_down(new QPushButton(tr("&Down"), this))
    , m_remove(new QPushButton(tr("Re&move"), this))
    , m_start(new QPushButton(this))
    , m_interval(new QSpinBox(this))
{
    build();
    connect(m_list, &QTableWidget::itemChanged, this, &ModbusPollPage::onItemChanged);
    connect(m_list, &QTableWidget::itemSelectionChanged, this, &ModbusPollPage::showButtons);
    connect(m_list, &QTableWidget::cellDoubleClicked, m_open, &QPushButton::click);
    connect(m_open, &QPushButton::clicked, this,
        [this] { Q_EMIT openRequested(m_kept[current()].request); });
    connect(m_up, &QPushButton::clicked, this, [this] { move(-1); });
    connect(m_down, &QPushButton::clicked, this, [this] { move(1); });
    connect(m_remove, &QPushButton::clicked, this, &ModbusPollPage::remove);
    connect(m_interval, &QSpinBox::valueChanged, this, &ModbusPollPage::changed);
    connect(m_start, &QPushButton::clicked, this, [this] {
        if (m_running)
            Q_EMIT stopRequested();
        else
            Q_EMIT startRequested();
    });
    setRunning(false);
}

ModbusPollPage::~ModbusPollPage() = default;

void ModbusPollPage::build()
{
    ModbusValueView::setUp(*m_list);
    m_list->setHorizontalHeaderLabels({tr("Name (checked: polled)"), tr("Request")});
    m_list->setColumnWidth(kName, kNameWidth);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setAccessibleName(tr("Kept requests"));
    m_list->setToolTip(tr("Those with a mark are polled, from top to bottom"));
    m_values->setModel(m_model);
    m_values->setAccessibleName(tr("Values"));
    m_interval->setRange(int(ModbusPoll::kMinIntervalMs), int(ModbusPoll::kMaxIntervalMs));
    m_interval->setSuffix(tr(" ms"));
    m_interval->setValue(int(ModbusState::kDefaultIntervalMs));
    auto* every = new QLabel(tr("A round e&very"), this);
    every->setBuddy(m_interval);

    auto* buttons = new QVBoxLayout;
    for (QPushButton* button : {m_open, m_up, m_down, m_remove})
        buttons->addWidget(button);
    buttons->addStretch();
    auto* top = new QWidget(this);
    auto* topLayout = new QHBoxLayout(top);
    topLayout->setContentsMargins(0, 0, 0, 0);
    topLayout->addWidget(m_list, 1);
    topLayout->addLayout(buttons);
    auto* halves = new QSplitter(Qt::Vertical, this);
    halves->addWidget(top);
    halves->addWidget(m_values);
    halves->setChildrenCollapsible(false);
    halves->setStretchFactor(1, 1);
    auto* run = new QHBoxLayout;
    run->addWidget(every);
    run->addWidget(m_interval);
    run->addStretch();
    run->addWidget(m_start);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(halves, 1);
    layout->addLayout(run);
}

void ModbusPollPage::setKept(const QList<ModbusState::Kept>& kept)
{
    m_kept = kept;
    showList(0);
}

bool ModbusPollPage::keep(const ModbusRequest& request)
{
    const auto named = std::find_if(m_kept.begin(), m_kept.end(),
        [&request](const ModbusState::Kept& kept) { return kept.request.name == request.name; });
    if (named == m_kept.end() && m_kept.size() >= ModbusState::kMaxKept)
        return false;
    const auto at = int(named - m_kept.begin());
    if (named == m_kept.end())
        m_kept.append({request, true});
    else
        named->request = request;
    showList(at);
    Q_EMIT changed();
    return true;
}

qint64 ModbusPollPage::intervalMs() const
{
    return m_interval->value();
}

void ModbusPollPage::setIntervalMs(qint64 intervalMs)
{
    m_interval->setValue(int(std::min<qint64>(intervalMs, std::numeric_limits<int>::max())));
}

void ModbusPollPage::begin()
{
    QList<ModbusRequest> polled;
    m_group.clear();
    for (const ModbusState::Kept& kept : std::as_const(m_kept)) {
        m_group.append(kept.polled ? int(polled.size()) : -1);
        if (kept.polled)
            polled.append(kept.request);
    }
    m_model->setRequests(polled);
}

void ModbusPollPage::setRunning(bool running)
{
    m_running = running;
    m_start->setText(running ? tr("S&top Polling") : tr("S&tart Polling"));
    showButtons();
}

void ModbusPollPage::setAnswer(int kept, const ModbusAnswer& answer, const QTime& at)
{
    if (const int group = m_group.value(kept, -1); group >= 0)
        m_model->setAnswer(group, answer, at);
}

void ModbusPollPage::setResult(int kept, const QString& text)
{
    if (const int group = m_group.value(kept, -1); group >= 0)
        m_model->setResult(group, text);
}

void ModbusPollPage::showList(int current)
{
    m_showing = true;
    m_list->setRowCount(int(m_kept.size()));
    for (int row = 0; row < m_kept.size(); ++row) {
        auto* name = new QTableWidgetItem(m_kept[row].request.name);
        name->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        name->setCheckState(m_kept[row].polled ? Qt::Checked : Qt::Unchecked);
        m_list->setItem(row, kName, name);
        m_list->setItem(row, kRequest, new QTableWidgetItem(m_kept[row].request.summary()));
    }
    m_showing = false;
    if (!m_kept.isEmpty())
        m_list->setCurrentCell(std::clamp(current, 0, int(m_kept.size()) - 1), kName);
    showButtons();
}

void ModbusPollPage::showButtons()
{
    const int at = current();
    const bool free = at >= 0 && !m_running;
    m_open->setEnabled(at >= 0);
    m_up->setEnabled(free && at > 0);
    m_down->setEnabled(free && at + 1 < m_kept.size());
    m_remove->setEnabled(free);
    m_start->setEnabled(m_running
                        || std::any_of(m_kept.cbegin(), m_kept.cend(),
                            [](const ModbusState::Kept& kept) { return kept.polled; }));
}

int ModbusPollPage::current() const
{
    const int row = m_list->currentRow();
    return row < m_kept.size() ? row : -1;
}

void ModbusPollPage::move(int by)
{
    const int at = current();
    m_kept.move(at, at + by);
    showList(at + by);
    Q_EMIT changed();
}

void ModbusPollPage::remove()
{
    const int at = current();
    m_kept.removeAt(at);
    showList(at);
    Q_EMIT changed();
}

void ModbusPollPage::onItemChanged(const QTableWidgetItem* item)
{
    if (m_showing || item->column() != kName)
        return;
    m_kept[item->row()].polled = item->checkState() == Qt::Checked;
    showButtons();
    Q_EMIT changed();
}
