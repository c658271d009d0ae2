#include "bridge/ui/modbusview.h"

#include "bridge/engine/modbuspdu.h"

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QTableView>
#include <QTreeWidget>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kGap = 8;
constexpr int kSortRole = Qt::UserRole;

int word(const QByteArray& frame, int at)
{
    return frame.size() < at + 2 ? -1 : quint8(frame.at(at)) << 8 | quint8(frame.at(at + 1));
}

// "100 - 109" of what the request names; empty where it names nothing.
QString addressRange(const QByteArray& request)
{
    const int first = word(request, 2);
    if (request.size() < 2 || first < 0)
        return {};
    const int function = quint8(request.at(1));
    const bool single = function == Modbus::WriteSingleCoil
                        || function == Modbus::WriteSingleRegister
                        || function == Modbus::MaskWriteRegister;
    if (single)
        return QString::number(first);
    const int count = word(request, 4);
    if (Modbus::maxQuantity(function) == 0 || count < 1)
        return {};
    return count == 1 ? QString::number(first) : u"%1 - %2"_s.arg(first).arg(first + count - 1);
}

QString resultText(const ModbusRecord& record)
{
    using Outcome = ModbusLine::Outcome;
    switch (record.transaction.outcome) {
    case Outcome::Answered:
        if (const int code = record.exceptionCode(); code != 0)
            return Modbus::exceptionName(code);
        return ModbusTransactionsModel::tr("OK");
    case Outcome::Broadcast:
        return ModbusTransactionsModel::tr("Broadcast");
    case Outcome::TimedOut:
        return ModbusTransactionsModel::tr("No answer");
    case Outcome::Dropped:
        return ModbusTransactionsModel::tr("Not sent");
    case Outcome::Abandoned:
        return ModbusTransactionsModel::tr("Client left");
    }
    return {};
}

QString milliseconds(qint64 ms)
{
    return ms < 0 ? u"–"_s : ModbusTransactionsModel::tr("%1 ms").arg(ms);
}

QString csvField(QString text)
{
    return u'"' + text.replace(u'"', u"\"\""_s) + u'"';
}

} // namespace

ModbusTransactionsModel::ModbusTransactionsModel(QObject* parent)
    : QAbstractTableModel(parent)
{}

ModbusTransactionsModel::~ModbusTransactionsModel() = default;

void ModbusTransactionsModel::clear()
{
    beginResetModel();
    m_records.clear();
    m_total = 0;
    endResetModel();
}

void ModbusTransactionsModel::take(const ModbusStatistics& statistics)
{
    const auto& records = statistics.records();
    if (statistics.total() < m_total) // counted anew
        clear();
    const auto added =
        std::size_t(std::min<qint64>(statistics.total() - m_total, qint64(records.size())));
    m_total = statistics.total();
    if (added == 0)
        return;
    if (const std::size_t kept = records.size() - added; kept < m_records.size()) {
        const std::size_t gone = m_records.size() - kept;
        beginRemoveRows({}, 0, int(gone) - 1);
        m_records.erase(m_records.begin(), m_records.begin() + std::ptrdiff_t(gone));
        endRemoveRows();
    }
    beginInsertRows({}, int(m_records.size()), int(m_records.size() + added) - 1);
    m_records.insert(m_records.end(), records.end() - std::ptrdiff_t(added), records.end());
    endInsertRows();
}

int ModbusTransactionsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_records.size());
}

int ModbusTransactionsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QVariant ModbusTransactionsModel::data(const QModelIndex& index, int role) const
{
    const ModbusRecord& record = m_records[std::size_t(index.row())];
    const bool sorts = role == kSortRole;
    if (role == Qt::TextAlignmentRole) {
        const bool number = index.column() == Unit || index.column() >= Waited;
        return int((number ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole && !sorts)
        return {};
    switch (index.column()) {
    case Time:
        if (sorts)
            return record.endedAtMs;
        return QDateTime::fromMSecsSinceEpoch(record.endedAtMs)
            .toString("yyyy-MM-dd HH:mm:ss.zzz"_L1);
    case Client:
        return record.transaction.peerKey;
    case Unit:
        return record.unit();
    case Function:
        return Modbus::functionName(record.functionCode());
    case Address:
        return sorts ? QVariant(word(record.transaction.request, 2))
                     : QVariant(addressRange(record.transaction.request));
    case Result:
        return resultText(record);
    case Waited:
        return sorts ? QVariant(record.waitedMs()) : QVariant(milliseconds(record.waitedMs()));
    case OnLine:
        return sorts ? QVariant(record.onLineMs()) : QVariant(milliseconds(record.onLineMs()));
    default:
        return {};
    }
}

QVariant ModbusTransactionsModel::headerData(
    int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    const QStringList titles{tr("Time"), tr("Client"), tr("Unit"), tr("Function"), tr("Address"),
        tr("Result"), tr("Waited"), tr("On the line")};
    return titles.value(section);
}

ModbusView::ModbusView(QWidget* parent)
    : QWidget(parent)
    , m_model(new ModbusTransactionsModel(this))
    , m_sorted(new QSortFilterProxyModel(this))
    , m_table(new QTableView(this))
    , m_counters(new QTreeWidget(this))
    , m_filter(new QLineEdit(this))
    , m_pause(new QPushButton(tr("&Pause"), this))
{
    m_sorted->setSourceModel(m_model);
    m_sorted->setSortRole(kSortRole);
    m_sorted->setFilterKeyColumn(-1);
    m_sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_table->setModel(m_sorted);
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(ModbusTransactionsModel::Time, Qt::AscendingOrder);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setAccessibleName(tr("Transactions"));
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setTabKeyNavigation(false);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + kGap);
    // Of a digit: the average of a font with Chinese characters is twice as wide.
    const int character = fontMetrics().horizontalAdvance(u'0');
    const std::array widths{28, 22, 6, 26, 12, 22, 10};
    for (std::size_t column = 0; column < widths.size(); ++column)
        m_table->setColumnWidth(int(column), widths[column] * character);
    m_counters->setAccessibleName(tr("Counters of clients and units"));
    m_counters->setHeaderLabels({tr("Client or unit"), tr("Requests"), tr("Errors"),
        tr("Time-outs"), tr("Median"), tr("99 % within")});
    m_counters->setRootIsDecorated(false);
    m_counters->header()->setStretchLastSection(false);
    m_counters->setColumnWidth(0, widths[1] * character);
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setAccessibleName(tr("Filter"));
    m_filter->setClearButtonEnabled(true);
    m_pause->setCheckable(true);
    auto* save = new QPushButton(tr("&Save as CSV..."), this);
    for (QPushButton* button : {m_pause, save})
        button->setAutoDefault(false);

    auto* bar = new QHBoxLayout;
    bar->setSpacing(kGap);
    bar->addWidget(m_filter, 1);
    bar->addWidget(m_pause);
    bar->addWidget(save);
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(m_table);
    splitter->addWidget(m_counters);
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, kGap, 0, 0);
    layout->setSpacing(kGap);
    layout->addLayout(bar);
    layout->addWidget(splitter, 1);
    connect(
        m_filter, &QLineEdit::textChanged, m_sorted, &QSortFilterProxyModel::setFilterFixedString);
    connect(save, &QPushButton::clicked, this, &ModbusView::askForFile);
}

ModbusView::~ModbusView() = default;

void ModbusView::reset()
{
    m_model->clear();
    m_counters->clear();
}

void ModbusView::refresh(const ModbusStatistics& statistics)
{
    if (m_pause->isChecked())
        return;
    const QScrollBar* bar = m_table->verticalScrollBar();
    const bool follows = bar->value() == bar->maximum();
    m_model->take(statistics);
    if (follows)
        m_table->scrollToBottom();
    showCounters(statistics);
}

void ModbusView::showCounters(const ModbusStatistics& statistics)
{
    int row = 0;
    const auto show = [&](const QString& name, const ModbusStatistics::Counters& counters) {
        auto* item = m_counters->topLevelItem(row);
        if (!item)
            m_counters->addTopLevelItem(item = new QTreeWidgetItem);
        ++row;
        const QStringList texts{name, QString::number(counters.requests),
            QString::number(counters.errors), QString::number(counters.timeouts),
            milliseconds(counters.medianMs), milliseconds(counters.percentile99Ms)};
        for (int column = 0; column < texts.size(); ++column) {
            item->setText(column, texts.at(column));
            if (column > 0)
                item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
        }
    };
    for (const QString& client : statistics.clients())
        show(client, statistics.forClient(client));
    for (const int unit : statistics.units())
        show(tr("Unit %1").arg(unit), statistics.forUnit(unit));
    while (m_counters->topLevelItemCount() > row)
        delete m_counters->takeTopLevelItem(row);
}

bool ModbusView::saveCsv(const QString& path, QString* error) const
{
    QSaveFile file(path);
    QByteArray text;
    QStringList fields;
    for (int column = 0; column < m_sorted->columnCount(); ++column)
        fields.append(csvField(m_sorted->headerData(column, Qt::Horizontal).toString()));
    text += fields.join(u',').toUtf8() + "\r\n"; // RFC 4180
    for (int row = 0; row < m_sorted->rowCount(); ++row) {
        fields.clear();
        for (int column = 0; column < m_sorted->columnCount(); ++column)
            fields.append(csvField(m_sorted->index(row, column).data().toString()));
        text += fields.join(u',').toUtf8() + "\r\n";
    }
    const bool saved =
        file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit();
    if (!saved && error)
        *error = file.errorString();
    return saved;
}

void ModbusView::askForFile()
{
    auto* dialog = new QFileDialog(this, tr("Save as CSV"), {}, tr("CSV files (*.csv)"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(u"csv"_s);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        QString error;
        if (saveCsv(path, &error))
            return;
        auto* box = new QMessageBox(QMessageBox::Warning, window()->windowTitle(),
            tr("%1 could not be written.").arg(QDir::toNativeSeparators(path)), QMessageBox::Ok,
            this);
        box->setInformativeText(error);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->open();
    });
    dialog->open();
}
