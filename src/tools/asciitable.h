#pragma once

#include <QDialog>

class QComboBox;
class QLineEdit;
class QModelIndex;
class QSortFilterProxyModel;
class QTableView;

// The ASCII table: all 256 codes with their names in every base, filtered as one types. A double
// click or Enter on a row sends the byte or inserts it into the send editor.
class AsciiTable final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AsciiTable)

public:
    explicit AsciiTable(QWidget* parent = nullptr);
    ~AsciiTable() override;

Q_SIGNALS:
    void sendRequested(const QByteArray& bytes);
    void insertRequested(const QByteArray& bytes);

private:
    void buildLayout();
    void activate(const QModelIndex& index);

    QLineEdit* m_filter;
    QComboBox* m_action;
    QTableView* m_table;
    QSortFilterProxyModel* m_proxy;
};
