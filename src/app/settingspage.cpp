#include "app/settingspage.h"

#include "app/fieldnote.h"

#include <QFormLayout>
#include <QLabel>

SettingsPage::SettingsPage(QWidget* parent)
    : QWidget(parent)
{}

SettingsPage::~SettingsPage() = default;

QFormLayout* SettingsPage::makeForm()
{
    auto* form = new QFormLayout(this);
    form->setContentsMargins(8, 8, 8, 8);
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    return form;
}

void SettingsPage::addCheck(QFormLayout* form, QWidget* field, Check check)
{
    auto* note = new FieldNote(this);
    int row = -1;
    QFormLayout::ItemRole role = QFormLayout::FieldRole;
    form->getWidgetPosition(field, &row, &role);
    // A field that shares its row with a button has no position of its own.
    form->insertRow(row < 0 ? form->rowCount() : row + 1, QString(), note);
    form->setRowVisible(note, false);
    m_rules.push_back({form, field, note, std::move(check)});
}

QLabel* SettingsPage::addHint(QFormLayout* form, const QString& text)
{
    auto* hint = new QLabel(text);
    hint->setTextFormat(Qt::PlainText);
    hint->setWordWrap(true);
    hint->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(QString(), hint);
    return hint;
}

void SettingsPage::revalidate()
{
    m_problem.clear();
    m_problemField = nullptr;
    for (const Rule& rule : m_rules) {
        // What the page does not show now is not asked for.
        const QString text = rule.field->isVisibleTo(this) ? rule.check() : QString();
        rule.note->setText(text);
        rule.form->setRowVisible(rule.note, !text.isEmpty());
        rule.field->setAccessibleDescription(text);
        if (!text.isEmpty() && m_problem.isEmpty()) {
            m_problem = text;
            m_problemField = rule.field;
        }
    }
    Q_EMIT changed();
}
