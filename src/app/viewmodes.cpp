#include "app/viewmodes.h"

#include "settings/sessioncontents.h"

#include <QAction>
#include <QActionGroup>
#include <QInputDialog>
#include <algorithm>

ViewModes::ViewModes(const Actions& actions, std::function<int()> paneCount, QWidget* window)
    : QObject(window)
    , m_actions(actions)
    , m_paneCount(std::move(paneCount))
    , m_window(window)
    , m_mode(actions.horizontal)
{
    auto* group = new QActionGroup(this);
    for (QAction* action : {actions.horizontal, actions.vertical, actions.grid, actions.custom})
        group->addAction(action);
    m_mode->setChecked(true);
    connect(m_actions.horizontal, &QAction::triggered, this,
        [this] { choose(m_actions.horizontal, m_paneCount()); });
    connect(
        m_actions.vertical, &QAction::triggered, this, [this] { choose(m_actions.vertical, 1); });
    connect(m_actions.grid, &QAction::triggered, this, [this] { choose(m_actions.grid, 2); });
    connect(m_actions.custom, &QAction::triggered, this, &ViewModes::askColumnCount);
}

int ViewModes::columnCount() const
{
    return m_mode == m_actions.horizontal ? m_paneCount() : m_columnCount;
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
    m_mode->setChecked(true);
}

void ViewModes::selectHorizontal()
{
    m_mode = m_actions.horizontal;
    m_mode->setChecked(true);
}

void ViewModes::choose(QAction* mode, int columns)
{
    m_columnCount = columns;
    m_mode = mode;
    mode->setChecked(true);
    Q_EMIT chosen();
}

void ViewModes::askColumnCount()
{
    // Triggering has checked the action already.
    m_mode->setChecked(true);
    auto* dialog = new QInputDialog(m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setInputMode(QInputDialog::IntInput);
    dialog->setWindowTitle(tr("Set Port Number Per Column"));
    dialog->setLabelText(tr("Port Number Per Column:"));
    dialog->setIntRange(1, SessionContents::maxColumns);
    dialog->setIntStep(1);
    dialog->setIntValue(columnCount());
    connect(dialog, &QInputDialog::intValueSelected, this,
        [this](int columns) { choose(m_actions.custom, columns); });
    dialog->open();
}
