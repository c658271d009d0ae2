#pragma once

#include "bridge/engine/modbusanswer.h"
#include "tools/modbusrequest.h"

#include <QAbstractTableModel>
#include <QTime>

// The values that requests have brought, a row each, in the order of the requests; a request
// without values has one row, with what came of it. A failure keeps the last values and says so in
// every row. Memory: one answer a request.
class ModbusValueModel final : public QAbstractTableModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusValueModel)

public:
    enum Column : int { Request, Address, Value, Raw, Time, Result, ColumnCount };

    explicit ModbusValueModel(QObject* parent = nullptr);
    ~ModbusValueModel() override;

    // Forgets the values.
    void setRequests(const QList<ModbusRequest>& requests);
    // How the values of a request are read is another; they stay.
    void setReading(int request, const ModbusRequest& how);
    void setAnswer(int request, const ModbusAnswer& answer, const QTime& at);
    // A text in place of an answer.
    void setResult(int request, const QString& text);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(
        int section, Qt::Orientation orientation, int role) const override;

private:
    struct Group
    {
        ModbusRequest request;
        QList<ModbusValues::Shown> shown;
        QByteArray pdu; // the last one with data
        QString result;
        QTime at;
        int wireAddress = 0;
        int firstRow = 0;
        [[nodiscard]] int rows() const { return std::max(1, int(shown.size())); }
    };

    void show(int request);
    [[nodiscard]] const Group& groupOf(int row) const;
    [[nodiscard]] QString text(const Group& group, int at, int column) const;

    QList<Group> m_groups;
    int m_rows = 0;
};
