#include "tools/asciitable.h"

#include "tools/asciimodel.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSortFilterProxyModel>
#include <QTableView>

namespace {

constexpr int kInitialWidth = 640;
constexpr int kInitialHeight = 560;
constexpr int kColumnPadding = 12;

} // namespace

AsciiTable::AsciiTable(QWidget* parent)
    : QDialog(parent)
    , m_filter(new QLineEdit(this))
    , m_action(new QComboBox(this))
    , m_table(new QTableView(this))
    , m_proxy(new QSortFilterProxyModel(this))
{
    setWindowTitle(tr("ASCII Code"));
    m_proxy->setSourceModel(new AsciiModel(this));
    m_proxy->setFilterRole(AsciiModel::kSearchRole);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_table->setModel(m_proxy);
    m_table->setAccessibleName(tr("Codes"));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->resizeColumnsToContents();
    for (int column = 0; column < AsciiModel::Name; ++column)
        m_table->setColumnWidth(column, m_table->columnWidth(column) + kColumnPadding);
    m_table->verticalHeader()->setDefaultSectionSize(
        fontMetrics().lineSpacing() + kColumnPadding / 2);
    m_filter->setPlaceholderText(tr("Filter: a name, a code in any base, a character"));
    m_filter->setAccessibleName(tr("Filter"));
    m_filter->setClearButtonEnabled(true);
    m_action->addItem(tr("Insert into the send editor"));
    m_action->addItem(tr("Send at once"));
    buildLayout();
    resize(kInitialWidth, kInitialHeight);

    connect(
        m_filter, &QLineEdit::textChanged, m_proxy, &QSortFilterProxyModel::setFilterFixedString);
    connect(m_table, &QTableView::activated, this, &AsciiTable::activate);
}

AsciiTable::~AsciiTable() = default;

void AsciiTable::buildLayout()
{
    auto* label = new QLabel(tr("&Double click:"), this);
    label->setBuddy(m_action);
    auto* bar = new QHBoxLayout;
    bar->addWidget(m_filter, 1);
    bar->addWidget(label);
    bar->addWidget(m_action);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(bar);
    layout->addWidget(m_table, 1);
}

void AsciiTable::activate(const QModelIndex& index)
{
    const QByteArray byte(1, char(m_proxy->mapToSource(index).row()));
    if (m_action->currentIndex() == 0)
        Q_EMIT insertRequested(byte);
    else
        Q_EMIT sendRequested(byte);
}
