#include "terminal/pane/quicksettingslayout.h"

#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/receivepanel.h"
#include "terminal/pane/sendpanel.h"

#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// What Tab reaches in a field, from left to right.
QWidgetList tabStopsOf(QWidget* field)
{
    if ((field->focusPolicy() & Qt::TabFocus) != 0)
        return {field};
    QWidgetList stops;
    for (QWidget* child : field->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        stops.append(tabStopsOf(child));
    return stops;
}

} // namespace

QuickSettingsLayout::QuickSettingsLayout(
    QVBoxLayout& column, ConnectionPanel& connection, ReceivePanel& receive, SendPanel& send)
    : m_column(column)
    , m_panels{Group{u"connection"_s, &connection, &connection.form()},
          Group{u"receive"_s, &receive, &receive.form()}, Group{u"send"_s, &send, &send.form()}}
{
    for (const Group& group : m_panels)
        m_column.addWidget(group.panel);
    m_column.addStretch();
    refreshGroups();
}

QuickSettingsLayout::~QuickSettingsLayout() = default;

void QuickSettingsLayout::setGroups(const QuickSettingsGroups& groups)
{
    if (groups == m_groups)
        return;
    m_groups = groups;
    refreshGroups();
}

void QuickSettingsLayout::refreshGroups()
{
    placeGroups();
    refreshFields();
}

void QuickSettingsLayout::refreshFields()
{
    arrangeFields();
    followWithTab();
}

bool QuickSettingsLayout::anyGroupShown() const
{
    return std::ranges::any_of(
        m_panels, [this](const Group& group) { return m_groups.isGroupShown(group.key); });
}

const QuickSettingsLayout::Group& QuickSettingsLayout::groupOf(const QString& key) const
{
    return *std::ranges::find(m_panels, key, &Group::key);
}

void QuickSettingsLayout::placeGroups()
{
    int place = 0;
    for (const QString& key : m_groups.normalisedGroupOrder()) {
        QGroupBox* panel = groupOf(key).panel;
        if (m_column.indexOf(panel) != place) {
            m_column.removeWidget(panel);
            m_column.insertWidget(place, panel);
        }
        ++place;
        panel->setVisible(m_groups.isGroupShown(key));
    }
}

void QuickSettingsLayout::arrangeFields()
{
    for (const Group& group : m_panels)
        group.form->arrange(m_groups.visibleFields(group.key));
}

void QuickSettingsLayout::followWithTab() const
{
    QWidget* previous = nullptr;
    for (const QString& key : m_groups.normalisedGroupOrder()) {
        for (QWidget* field : groupOf(key).form->widgets()) {
            for (QWidget* stop : tabStopsOf(field)) {
                if (previous)
                    QWidget::setTabOrder(previous, stop);
                previous = stop;
            }
        }
    }
}
