#pragma once

class QFormLayout;
class QWidget;

// Shows or hides the row of a field, which must be a widget of the form. Use it in place of
// QFormLayout::setRowVisible() in every form that has a text that wraps, or rows that do: there a
// row that is hidden after it was laid out keeps its old place in the sums of the form, and the row
// that has come into that place gets its height, which is none.
void setFormRowShown(QFormLayout& form, QWidget* field, bool shown);
