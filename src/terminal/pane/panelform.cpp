#include "terminal/pane/panelform.h"

#include "terminal/pane/rowvisibility.h"

#include <QFormLayout>
#include <QLabel>

#include <algorithm>

namespace {

constexpr int kLabelGap = 8;
constexpr int kRowGap = 4;

} // namespace

PanelForm::PanelForm(QWidget* panel)
    : m_panel(panel)
    , m_form(new QFormLayout(panel))
{
    m_form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    m_form->setContentsMargins(kLabelGap, kLabelGap, kLabelGap, kLabelGap);
    m_form->setHorizontalSpacing(kLabelGap);
    m_form->setVerticalSpacing(kRowGap);
}

void PanelForm::addRow(const QString& key, const QString& label, QWidget* field)
{
    auto* text = new QLabel(label, m_panel);
    text->setBuddy(field);
    addRow(key, text, field);
}

void PanelForm::addRow(const QString& key, QWidget* label, QWidget* field)
{
    m_rows.push_back({key, label, field});
    append(m_rows.back());
}

void PanelForm::addRow(const QString& key, QWidget* field)
{
    addRow(key, static_cast<QWidget*>(nullptr), field);
}

void PanelForm::append(const Row& row)
{
    if (row.label)
        m_form->addRow(row.label, row.field);
    else
        m_form->addRow(row.field);
}

void PanelForm::setUsed(QWidget* field, bool used)
{
    const auto row = std::ranges::find(m_rows, field, &Row::field);
    Q_ASSERT(row != m_rows.end());
    row->used = used;
    showRow(*row);
}

void PanelForm::showRow(const Row& row)
{
    setFormRowShown(*m_form, row.field, row.used && row.chosen);
}

void PanelForm::arrange(const QStringList& keys)
{
    if (keys == m_arranged)
        return;
    m_arranged = keys;
    const auto place = [&keys](const Row& row) {
        if (row.key.isEmpty())
            return qsizetype(-1);
        const qsizetype index = keys.indexOf(row.key);
        return index < 0 ? keys.size() : index;
    };
    std::ranges::stable_sort(m_rows, {}, place);
    for (Row& row : m_rows) {
        row.chosen = row.key.isEmpty() || keys.contains(row.key);
        // A form forgets that a row was hidden when the row is taken out, but not the widgets.
        m_form->setRowVisible(row.field, row.used && row.chosen);
        const QFormLayout::TakeRowResult taken = m_form->takeRow(row.field);
        delete taken.labelItem;
        delete taken.fieldItem;
        append(row);
        showRow(row);
    }
}

std::vector<QWidget*> PanelForm::widgets() const
{
    std::vector<QWidget*> result;
    for (const Row& row : m_rows) {
        if (row.label)
            result.push_back(row.label);
        result.push_back(row.field);
    }
    return result;
}
