#pragma once

#include <QFormLayout>

// The form that every group of the settings column is laid out with: labels and fields in two
// columns on the 8 pixel grid, 4 pixels between the rows of a group.
inline QFormLayout* makePanelForm(QWidget* panel)
{
    auto* form = new QFormLayout(panel);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(4);
    return form;
}
