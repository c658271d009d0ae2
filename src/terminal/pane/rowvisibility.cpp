#include "terminal/pane/rowvisibility.h"

#include <QFormLayout>

void setFormRowShown(QFormLayout& form, QWidget* field, bool shown)
{
    if (form.isRowVisible(field) == shown)
        return;
    if (shown) {
        form.setRowVisible(field, true);
        return;
    }
    int row = -1;
    QFormLayout::ItemRole role = QFormLayout::FieldRole;
    form.getWidgetPosition(field, &row, &role);
    // A row that is taken out and put back has no place yet.
    const QFormLayout::TakeRowResult taken = form.takeRow(row);
    if (role == QFormLayout::SpanningRole)
        form.insertRow(row, field);
    else
        form.insertRow(row, taken.labelItem ? taken.labelItem->widget() : nullptr, field);
    delete taken.labelItem;
    delete taken.fieldItem;
    form.setRowVisible(row, false);
}
