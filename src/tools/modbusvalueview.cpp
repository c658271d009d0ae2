#include "tools/modbusvalueview.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>

namespace {

constexpr int kColumnWidth = 120;
constexpr int kRowPadding = 6;

} // namespace

ModbusValueView::ModbusValueView(QWidget* parent)
    : QTableView(parent)
{
    setUp(*this);
}

ModbusValueView::~ModbusValueView() = default;

void ModbusValueView::setUp(QTableView& table)
{
    table.setSelectionBehavior(QAbstractItemView::SelectRows);
    table.setAlternatingRowColors(true);
    table.setShowGrid(false);
    table.setTabKeyNavigation(false);
    table.verticalHeader()->hide();
    table.verticalHeader()->setDefaultSectionSize(table.fontMetrics().lineSpacing() + kRowPadding);
    table.horizontalHeader()->setStretchLastSection(true);
    table.horizontalHeader()->setDefaultSectionSize(kColumnWidth);
    table.horizontalHeader()->setHighlightSections(false);
}

void ModbusValueView::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy))
        QGuiApplication::clipboard()->setText(selectedText());
    else
        QTableView::keyPressEvent(event);
}

QString ModbusValueView::selectedText() const
{
    QString text;
    for (int row = 0; row < model()->rowCount(); ++row) {
        if (!selectionModel()->isRowSelected(row))
            continue;
        QStringList cells;
        for (int column = 0; column < model()->columnCount(); ++column) {
            if (!isColumnHidden(column))
                cells += model()->index(row, column).data().toString();
        }
        text += cells.join(u'\t') + u'\n';
    }
    return text;
}
