#include "app/viewmodes.h"

#include "app/settings/sessioncontents.h"

#include <QAction>
#include <QInputDialog>
#include <algorithm>

ViewModes::ViewModes(const Actions& actions, std::function<int()> paneCount, QWidget* window)
    : QObject(window)
    , m_actions(actions)
    , m_paneCount(std::move(paneCount))
    , m_window(window)
    , m_mode(actions.horizontal)
{
    check(m_mode);
    connect(m_actions.horizontal, &QAction::triggered, this,
        [this] { choose(m_actions.horizontal, m_paneCount()); });
    connect(
        m_actions.vertical, &QAction::triggered, this, [this] { choose(m_actions.vertical, 1); });
    connect(m_actions.grid, &QAction::triggered, this, [this] { choose(m_actions.grid, 2); });
    connect(m_actions.custom, &QAction::triggered, this, &ViewModes::askColumnCount);
}

void ViewModes::setColumnCount(int columns)
{
    m_columnCount = std::clamp(columns, 1, SessionContents::maxColumns);
    if (m_columnCount == m_paneCount())
        m_mode = m_actions.horizontal;
    else if (m_columnCount == 1)
        m_mode = m_actions.vertical;
    else
        m_mode = m_columnCount == 2 ? m_actions.grid : m_actions.custom;
    check(m_mode);
}

void ViewModes::selectHorizontal()
{
    m_columnCount = m_paneCount();
    m_mode = m_actions.horizontal;
    check(m_mode);
}

void ViewModes::choose(QAction* mode, int columns)
{
    m_columnCount = columns;
    m_mode = mode;
    check(mode);
    Q_EMIT chosen();
}

void ViewModes::check(const QAction* mode) const
{
    for (QAction* action :
        {m_actions.horizontal, m_actions.vertical, m_actions.grid, m_actions.custom})
        action->setChecked(action == mode);
}

void ViewModes::askColumnCount()
{
    // Triggering has checked the action already.
    check(m_mode);
    auto* dialog = new QInputDialog(m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setInputMode(QInputDialog::IntInput);
    dialog->setWindowTitle(tr("Set Port Number Per Column"));
    dialog->setLabelText(tr("Port Number Per Column:"));
    dialog->setIntRange(1, SessionContents::maxColumns);
    dialog->setIntStep(1);
    dialog->setIntValue(m_columnCount);
    connect(dialog, &QInputDialog::intValueSelected, this,
        [this](int columns) { choose(m_actions.custom, columns); });
    dialog->open();
}
