#include "app/quicksettingseditor.h"

#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QToolButton>
#include <QTreeWidget>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kKeyRole = Qt::UserRole;

QString keyOf(const QTreeWidgetItem* item)
{
    return item->data(0, kKeyRole).toString();
}

bool isChecked(const QTreeWidgetItem* item)
{
    return item->checkState(0) == Qt::Checked;
}

QTreeWidgetItem* makeItem(const QuickSettingsEntry& entry, bool checked)
{
    auto* item = new QTreeWidgetItem({QuickSettingsGroups::labelText(entry)});
    item->setToolTip(0, QuickSettingsGroups::toolTipText(entry));
    item->setData(0, kKeyRole, QString::fromLatin1(entry.key));
    item->setCheckState(0, checked ? Qt::Checked : Qt::Unchecked);
    return item;
}

// The flag of a group that is in the table.
bool QuickSettingsGroups::*flagOf(const QString& group)
{
    if (group == "connection"_L1)
        return &QuickSettingsGroups::showConnectionGroup;
    return group == "receive"_L1 ? &QuickSettingsGroups::showReceiveGroup
                                 : &QuickSettingsGroups::showSendGroup;
}

// The entry of a key that is in the table.
const QuickSettingsEntry& entryOf(std::span<const QuickSettingsEntry> entries, const QString& key)
{
    return *std::ranges::find_if(entries,
        [&key](const QuickSettingsEntry& entry) { return key == QLatin1StringView(entry.key); });
}

} // namespace

QuickSettingsEditor::QuickSettingsEditor(QWidget* parent)
    : SettingsPage(parent)
    , m_tree(new QTreeWidget(this))
    , m_moveUp(new QToolButton(this))
    , m_moveDown(new QToolButton(this))
{
    m_tree->setObjectName("quickSettingsTree"_L1);
    m_tree->setHeaderHidden(true);
    m_tree->setColumnCount(1);
    m_moveUp->setObjectName("quickSettingsMoveUpButton"_L1);
    m_moveDown->setObjectName("quickSettingsMoveDownButton"_L1);
    m_moveUp->setArrowType(Qt::UpArrow);
    m_moveDown->setArrowType(Qt::DownArrow);
    m_moveUp->setToolTip(tr("Move up"));
    m_moveDown->setToolTip(tr("Move down"));
    for (QToolButton* button : {m_moveUp, m_moveDown}) {
        button->setAccessibleName(button->toolTip());
        button->setFocusPolicy(Qt::StrongFocus);
    }
    buildLayout();

    connect(m_tree, &QTreeWidget::itemChanged, this, [this] {
        if (m_filling)
            return;
        syncFieldsEnabled();
        revalidate();
    });
    connect(
        m_tree, &QTreeWidget::currentItemChanged, this, &QuickSettingsEditor::updateMoveButtons);
    connect(m_moveUp, &QToolButton::clicked, this, [this] { moveCurrent(-1); });
    connect(m_moveDown, &QToolButton::clicked, this, [this] { moveCurrent(1); });
    fill();
}

QuickSettingsEditor::~QuickSettingsEditor() = default;

void QuickSettingsEditor::buildLayout()
{
    QFormLayout* form = makeForm();
    auto* label = new QLabel(tr("&Groups and fields beside every terminal, in their order:"), this);
    label->setBuddy(m_tree);
    // A tree does not take its name from the label.
    m_tree->setAccessibleName(label->text());
    label->setWordWrap(true);
    auto* restore = new QPushButton(tr("&Restore Defaults"), this);
    restore->setObjectName("quickSettingsRestoreButton"_L1);
    restore->setAutoDefault(false);
    connect(restore, &QPushButton::clicked, this, &QuickSettingsEditor::restoreDefaults);

    auto* buttons = new QVBoxLayout;
    buttons->setSpacing(4);
    buttons->addWidget(m_moveUp);
    buttons->addWidget(m_moveDown);
    buttons->addStretch();
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_tree, 1);
    row->addLayout(buttons);
    form->addRow(label);
    form->addRow(row);
    addCheck(form, m_tree, [this] {
        return anyGroupChecked() ? QString()
                                 : tr("Select at least one quick settings group to show.");
    });
    auto* below = new QHBoxLayout;
    below->addWidget(restore);
    below->addStretch();
    form->addRow(below);
}

void QuickSettingsEditor::setGroups(const QuickSettingsGroups& groups)
{
    m_groups = groups;
    fill();
}

void QuickSettingsEditor::restoreDefaults()
{
    m_groups.showConnectionGroup = m_groups.showReceiveGroup = m_groups.showSendGroup = true;
    m_groups.groupOrder = QuickSettingsGroups::defaultGroupOrder();
    for (const QString& group : QuickSettingsGroups::defaultGroupOrder()) {
        m_groups.fieldOrder.remove(group);
        m_groups.hiddenFields.remove(group);
    }
    fill();
}

void QuickSettingsEditor::fill()
{
    {
        const QScopedValueRollback filling(m_filling, true);
        m_tree->clear();
        for (const QString& group : m_groups.normalisedGroupOrder())
            addGroup(group);
        m_tree->expandAll();
        m_tree->setCurrentItem(m_tree->topLevelItem(0));
    }
    syncFieldsEnabled();
    updateMoveButtons();
    revalidate();
}

void QuickSettingsEditor::addGroup(const QString& group)
{
    QTreeWidgetItem* parent =
        makeItem(entryOf(QuickSettingsGroups::groupEntries(), group), m_groups.isGroupShown(group));
    m_tree->addTopLevelItem(parent);
    const QStringList hidden = m_groups.hiddenFields.value(group);
    for (const QString& field : m_groups.normalisedFieldOrder(group)) {
        parent->addChild(makeItem(
            entryOf(QuickSettingsGroups::fieldEntries(group), field), !hidden.contains(field)));
    }
}

QuickSettingsGroups QuickSettingsEditor::groups() const
{
    QuickSettingsGroups result = m_groups;
    result.groupOrder.clear();
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* group = m_tree->topLevelItem(i);
        const QString key = keyOf(group);
        result.groupOrder.append(key);
        result.*flagOf(key) = isChecked(group);
        QStringList order;
        QStringList hidden;
        for (int j = 0; j < group->childCount(); ++j) {
            order.append(keyOf(group->child(j)));
            if (!isChecked(group->child(j)))
                hidden.append(keyOf(group->child(j)));
        }
        result.fieldOrder[key] = order;
        result.hiddenFields[key] = hidden;
    }
    return result;
}

bool QuickSettingsEditor::anyGroupChecked() const
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        if (isChecked(m_tree->topLevelItem(i)))
            return true;
    }
    return false;
}

std::pair<int, int> QuickSettingsEditor::rowAndCount() const
{
    QTreeWidgetItem* item = m_tree->currentItem();
    if (item == nullptr)
        return {-1, 0};
    const QTreeWidgetItem* level = item->parent() ? item->parent() : m_tree->invisibleRootItem();
    return {level->indexOfChild(item), level->childCount()};
}

void QuickSettingsEditor::moveCurrent(int step)
{
    const auto [row, count] = rowAndCount();
    const int target = row + step;
    if (row < 0 || target < 0 || target >= count)
        return;
    QTreeWidgetItem* item = m_tree->currentItem();
    QTreeWidgetItem* level = item->parent() ? item->parent() : m_tree->invisibleRootItem();
    const bool expanded = item->isExpanded();
    level->insertChild(target, level->takeChild(row));
    item->setExpanded(expanded);
    m_tree->setCurrentItem(item);
    updateMoveButtons();
    revalidate();
}

void QuickSettingsEditor::updateMoveButtons()
{
    const auto [row, count] = rowAndCount();
    m_moveUp->setEnabled(row > 0);
    m_moveDown->setEnabled(row >= 0 && row + 1 < count);
}

void QuickSettingsEditor::syncFieldsEnabled()
{
    const QScopedValueRollback filling(m_filling, true);
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* group = m_tree->topLevelItem(i);
        for (int j = 0; j < group->childCount(); ++j)
            group->child(j)->setDisabled(!isChecked(group));
    }
}
