#include "tools/modbusvaluemodel.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

ModbusValueModel::ModbusValueModel(QObject* parent)
    : QAbstractTableModel(parent)
{}

ModbusValueModel::~ModbusValueModel() = default;

void ModbusValueModel::setRequests(const QList<ModbusRequest>& requests)
{
    beginResetModel();
    m_groups.clear();
    m_rows = 0;
    for (const ModbusRequest& request : requests) {
        Group group;
        group.request = request;
        group.wireAddress = request.build(Modbus::Framing::Tcp).wireAddress;
        group.firstRow = m_rows++;
        m_groups.append(group);
    }
    endResetModel();
}

void ModbusValueModel::setReading(int request, const ModbusRequest& how)
{
    m_groups[request].request = how;
    show(request);
}

void ModbusValueModel::setAnswer(int request, const ModbusAnswer& answer, const QTime& at)
{
    Group& group = m_groups[request];
    group.result = answer.text();
    group.at = at;
    if (answer.kind == ModbusAnswer::Kind::Data)
        group.pdu = answer.pdu;
    show(request);
}

void ModbusValueModel::setResult(int request, const QString& text)
{
    m_groups[request].result = text;
    m_groups[request].at = {};
    show(request);
}

void ModbusValueModel::show(int request)
{
    Group& group = m_groups[request];
    QList<ModbusValues::Shown> shown = group.request.shownAnswer(group.pdu);
    if (std::max(1, int(shown.size())) == group.rows()) {
        group.shown = std::move(shown);
        Q_EMIT dataChanged(
            index(group.firstRow, 0), index(group.firstRow + group.rows() - 1, ColumnCount - 1));
        return;
    }
    beginResetModel();
    group.shown = std::move(shown);
    m_rows = 0;
    for (Group& each : m_groups) {
        each.firstRow = m_rows;
        m_rows += each.rows();
    }
    endResetModel();
}

int ModbusValueModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int ModbusValueModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

const ModbusValueModel::Group& ModbusValueModel::groupOf(int row) const
{
    const auto next = std::upper_bound(m_groups.cbegin(), m_groups.cend(), row,
        [](int wanted, const Group& group) { return wanted < group.firstRow; });
    return *std::prev(next);
}

QVariant ModbusValueModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows)
        return {};
    if (role == Qt::TextAlignmentRole && index.column() == Value)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::TextAlignmentRole && index.column() == Raw)
        return int(Qt::AlignCenter);
    const bool told = role == Qt::ToolTipRole && index.column() == Result;
    if (role != Qt::DisplayRole && !told)
        return {};
    const Group& group = groupOf(index.row());
    return text(group, index.row() - group.firstRow, index.column());
}

QString ModbusValueModel::text(const Group& group, int at, int column) const
{
    if (column == Request)
        return group.request.name;
    if (column == Result)
        return group.result;
    if (column == Time)
        return group.at.isValid() ? group.at.toString(u"HH:mm:ss.zzz"_s) : QString();
    const bool hasValue = at < group.shown.size();
    if (column == Address && group.wireAddress >= 0) {
        const int wire = group.wireAddress + (hasValue ? group.shown[at].offset : 0);
        return u"%1 (%2)"_s.arg(
            QString::number(group.request.shownAddress(wire)), ModbusValues::hexAddress(wire));
    }
    if (!hasValue)
        return {};
    return column == Value ? group.shown[at].text : column == Raw ? group.shown[at].raw : QString();
}

QVariant ModbusValueModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case Request:
        return tr("Request");
    case Address:
        return tr("Address (wire)");
    case Value:
        return tr("Value");
    case Raw:
        return tr("Raw");
    case Result:
        return tr("Result");
    case Time:
        return tr("Time");
    default:
        return {};
    }
}
