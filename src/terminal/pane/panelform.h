#pragma once

#include <QStringList>

#include <vector>

class QFormLayout;
class QWidget;

// The rows of one group of the settings column: labels and fields in two columns on the 8 pixel
// grid, 4 pixels between the rows; a row that is too wide for the column puts its field below its
// label.
//
// A row belongs to a field of the quick settings, named by its key, or to none (an empty key); one
// field may have several rows. Two owners decide whether a row is shown: the panel, which knows
// what the connection type and the other options have a use for, and the person's choice of quick
// settings. A row that is hidden keeps its value. The panel owns the form and its widgets.
class PanelForm final
{
public:
    explicit PanelForm(QWidget* panel);

    // Rows stand in the order in which they are added until arrange() is called.
    void addRow(const QString& key, const QString& label, QWidget* field);
    void addRow(const QString& key, QWidget* label, QWidget* field);
    // Across both columns.
    void addRow(const QString& key, QWidget* field);

    // Whether the panel has a use for the row now.
    void setUsed(QWidget* field, bool used);
    // Shows the rows of these keys, in this order below the rows without a key, and hides those of
    // every other key. Neither focus nor what is being typed is touched; the same keys again do
    // nothing.
    void arrange(const QStringList& keys);
    // Every label and field, from top to bottom.
    [[nodiscard]] std::vector<QWidget*> widgets() const;

private:
    struct Row
    {
        QString key;
        QWidget* label; // null in a row across both columns
        QWidget* field;
        bool used = true;
        bool chosen = true;
    };

    void append(const Row& row);
    void showRow(const Row& row);

    QWidget* m_panel;
    QFormLayout* m_form;
    std::vector<Row> m_rows; // from top to bottom
    QStringList m_arranged;
};
