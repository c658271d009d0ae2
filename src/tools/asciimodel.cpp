#include "tools/asciimodel.h"

#include "tools/asciinames.h"

namespace {

constexpr int kCodeCount = 256;

QString character(int code)
{
    const QString& abbreviation = asciiName(code).abbreviation;
    return abbreviation.isEmpty() ? QString(QChar(code)) : abbreviation;
}

// The key that types the code together with Ctrl; terminals agree on the columns 4 and 5.
QString controlKey(int code)
{
    constexpr int kFirstPrintable = 0x20;
    constexpr int kDeleteCode = 0x7F;
    if (code == kDeleteCode)
        return QStringLiteral("^?");
    return code < kFirstPrintable ? QStringLiteral("^%1").arg(QChar(code + 0x40)) : QString();
}

} // namespace

AsciiModel::AsciiModel(QObject* parent)
    : QAbstractTableModel(parent)
{}

AsciiModel::~AsciiModel() = default;

int AsciiModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kCodeCount;
}

int AsciiModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString AsciiModel::text(int code, int column)
{
    switch (column) {
    case Decimal:
        return QString::number(code);
    case Hexadecimal:
        return QString::number(code, 16).toUpper().rightJustified(2, u'0');
    case Octal:
        return QString::number(code, 8).rightJustified(3, u'0');
    case Binary:
        return QString::number(code, 2).rightJustified(8, u'0');
    case Character:
        return character(code);
    case ControlKey:
        return controlKey(code);
    case Name:
        return asciiName(code).name;
    default:
        return {};
    }
}

QVariant AsciiModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::DisplayRole)
        return text(index.row(), index.column());
    if (role == Qt::TextAlignmentRole && index.column() != Name)
        return int(Qt::AlignCenter);
    if (role == kSearchRole) {
        QStringList all;
        for (int column = 0; column < ColumnCount; ++column)
            all.append(text(index.row(), column));
        all.append(QStringLiteral("0x") + text(index.row(), Hexadecimal));
        return all.join(u' ');
    }
    return {};
}

QVariant AsciiModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return {};
    switch (section) {
    case Decimal:
        return tr("Dec");
    case Hexadecimal:
        return tr("Hex");
    case Octal:
        return tr("Oct");
    case Binary:
        return tr("Bin");
    case Character:
        return tr("Char");
    case ControlKey:
        return tr("Ctrl");
    case Name:
        return tr("Name");
    default:
        return {};
    }
}
