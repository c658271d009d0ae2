#pragma once

#include "settings/quicksettingsgroups.h"

#include <QGroupBox>
#include <array>

class ConnectionPanel;
class PanelForm;
class QVBoxLayout;
class ReceivePanel;
class SendPanel;

// Lays the settings column of a pane out as the person chose: which groups, in which order, and
// which fields of each. The fields are the panels' own editors; they are moved and hidden, never
// made anew, so that a change of the layout costs neither the focus nor what is being typed.
// Fields that nobody can choose (connection type, port, host, Open) stay on top of their group.
// Owned by the view of the pane, like the panels and the column.
class QuickSettingsLayout final
{
    Q_DISABLE_COPY_MOVE(QuickSettingsLayout)

public:
    // Puts the panels into the column, which must be empty, in default order.
    QuickSettingsLayout(
        QVBoxLayout& column, ConnectionPanel& connection, ReceivePanel& receive, SendPanel& send);
    ~QuickSettingsLayout();

    // Takes the choice over and shows it. Nothing happens when it is shown already.
    void setGroups(const QuickSettingsGroups& groups);
    [[nodiscard]] const QuickSettingsGroups& groups() const { return m_groups; }
    // Shows the chosen groups in their order, each with its fields.
    void refreshGroups();
    // Shows the chosen fields of every group in their order.
    void refreshFields();
    [[nodiscard]] bool anyGroupShown() const;

private:
    struct Group
    {
        QString key;
        QGroupBox* panel;
        PanelForm* form;
    };

    [[nodiscard]] const Group& groupOf(const QString& key) const;
    void placeGroups();
    void arrangeFields();
    void followWithTab() const;

    QVBoxLayout& m_column;
    std::array<Group, 3> m_panels;
    QuickSettingsGroups m_groups;
};
