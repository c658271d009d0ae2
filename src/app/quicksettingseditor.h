#pragma once

#include "app/settingspage.h"
#include "settings/quicksettingsgroups.h"

class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

// Chooses which groups and fields the quick settings show, and in which order: a tree of groups
// ("quickSettingsTree") with a check mark for what is shown, and two buttons
// ("quickSettingsMoveUpButton", "quickSettingsMoveDownButton") that move the current row within its
// level. At least one group has to be shown.
class QuickSettingsEditor final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QuickSettingsEditor)

public:
    explicit QuickSettingsEditor(QWidget* parent = nullptr);
    ~QuickSettingsEditor() override;

    // Every known group and field once, in normalised order.
    void setGroups(const QuickSettingsGroups& groups);
    // What is shown now. Entries of the loaded value for groups that the tree does not have stay.
    [[nodiscard]] QuickSettingsGroups groups() const;
    // All groups and fields shown, in default order.
    void restoreDefaults();
    [[nodiscard]] bool anyGroupChecked() const;
    // -1 moves the current row up, 1 down; without effect where it cannot go.
    void moveCurrent(int step);

private:
    void buildLayout();
    void fill();
    void addGroup(const QString& group);
    void updateMoveButtons();
    // The fields of a hidden group are disabled; their check marks stay.
    void syncFieldsEnabled();
    // Place of the current row in its level and the number of rows there; {-1, 0} without one.
    [[nodiscard]] std::pair<int, int> rowAndCount() const;

    QuickSettingsGroups m_groups; // as loaded
    QTreeWidget* m_tree;
    QToolButton* m_moveUp;
    QToolButton* m_moveDown;
    bool m_filling = false;
};
