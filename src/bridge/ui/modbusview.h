#pragma once

#include "bridge/modbusstatistics.h"

#include <QAbstractTableModel>
#include <QWidget>
#include <deque>

class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QTableView;
class QTreeWidget;

// The latest transactions of a Modbus gateway, one a row, oldest first. A copy: what is looked at
// stays while the gateway works on.
class ModbusTransactionsModel final : public QAbstractTableModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusTransactionsModel)

public:
    enum Column : int {
        Time,
        Client,
        Unit,
        Function,
        Address,
        Result,
        Waited,
        OnLine,
        ColumnCount
    };

    explicit ModbusTransactionsModel(QObject* parent = nullptr);
    ~ModbusTransactionsModel() override;

    // Brings the rows up to date; rows that stay keep their place.
    void take(const ModbusStatistics& statistics);
    void clear();

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(
        int section, Qt::Orientation orientation, int role) const override;

private:
    std::deque<ModbusRecord> m_records; // at most ModbusStatistics::kMaxRecords
    qint64 m_total = 0;
};

// What passes on a Modbus line: the transactions, sortable and filterable, and what each client and
// each unit has had. Can be paused, and saved as CSV.
class ModbusView final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusView)

public:
    explicit ModbusView(QWidget* parent = nullptr);
    ~ModbusView() override;

    // Another gateway's.
    void reset();
    // Shows what is new, unless paused.
    void refresh(const ModbusStatistics& statistics);
    // The rows that are shown, in their order; false with the reason when it cannot be written.
    bool saveCsv(const QString& path, QString* error) const;

private:
    void showCounters(const ModbusStatistics& statistics);
    void askForFile();

    ModbusTransactionsModel* m_model;
    QSortFilterProxyModel* m_sorted;
    QTableView* m_table;
    QTreeWidget* m_counters;
    QLineEdit* m_filter;
    QPushButton* m_pause;
};
