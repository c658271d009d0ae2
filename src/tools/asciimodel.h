#pragma once

#include <QAbstractTableModel>

// The 256 codes of a byte as a table, with a description in one line for searching.
class AsciiModel final : public QAbstractTableModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AsciiModel)

public:
    enum Column { Decimal, Hexadecimal, Octal, Binary, Character, ControlKey, Name, ColumnCount };
    // All columns of a row in one text.
    static constexpr int kSearchRole = Qt::UserRole;

    explicit AsciiModel(QObject* parent = nullptr);
    ~AsciiModel() override;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(
        int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] static QString text(int code, int column);
};
