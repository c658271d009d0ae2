#include "app/mainactions.h"

#include "app/symbolicicon.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenuBar>
#include <QToolBar>

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source);
}

QString unavailableText(Availability availability)
{
    switch (availability) {
    case Availability::Ready:
        break;
    case Availability::Later:
        return MainActions::tr("Not in this version yet");
    case Availability::NeedsSignIn:
        return MainActions::tr("Needs a signed-in account; not in this version yet");
    }
    return {};
}

QString toolTipText(const ActionRow& row)
{
    QStringList lines;
    lines.append(*row.toolTip != '\0' ? text(row.toolTip) : text(row.label).remove(u'&'));
    // A menu shows the key beside the label; a button of the toolbar has only this.
    if (*row.shortcut != '\0' && *row.icon != '\0') {
        lines.last() += u" (%1)"_s.arg(
            QKeySequence(QLatin1StringView(row.shortcut)).toString(QKeySequence::NativeText));
    }
    if (row.availability != Availability::Ready)
        lines.append(unavailableText(row.availability));
    return lines.join(u'\n');
}

} // namespace

MainActions::MainActions(QObject* parent)
    : QObject(parent)
{
    for (const ActionRow& row : mainActionRows())
        m_actions.insert(QLatin1StringView(row.name), makeAction(row));
}

QAction* MainActions::makeAction(const ActionRow& row)
{
    auto* action = new QAction(text(row.label), parent());
    action->setObjectName(QLatin1StringView(row.name));
    action->setShortcut(QKeySequence(QLatin1StringView(row.shortcut)));
    action->setToolTip(toolTipText(row));
    action->setCheckable(row.checkable);
    action->setEnabled(row.availability == Availability::Ready);
    action->setMenuRole(QAction::NoRole);
    if (*row.icon != '\0')
        action->setIcon(symbolicIcon(":/icons/"_L1 + QLatin1StringView(row.icon) + ".svg"_L1));
    if (*row.shortLabel != '\0')
        action->setIconText(text(row.shortLabel));
    return action;
}

QAction* MainActions::action(QLatin1StringView name) const
{
    QAction* found = m_actions.value(name);
    Q_ASSERT_X(found != nullptr, "MainActions::action", name.data());
    return found;
}

void MainActions::fillMenuBar(QMenuBar& bar) const
{
    for (const MenuRow& menuRow : mainMenuRows()) {
        QMenu* menu = bar.addMenu(text(menuRow.title));
        menu->setObjectName(QLatin1StringView(menuRow.name));
        menu->setToolTipsVisible(true);
        for (const ActionRow& row : mainActionRows()) {
            if (row.menu != menuRow.id)
                continue;
            if (row.startsSection)
                menu->addSeparator();
            menu->addAction(m_actions.value(QLatin1StringView(row.name)));
        }
    }
}

void MainActions::fillToolBar(QToolBar& bar) const
{
    for (const auto name : {"acMonStart"_L1, "acEditPause"_L1, "acMonStop"_L1, "acEditClear"_L1})
        bar.addAction(action(name));
}

MainActions::RecentFiles MainActions::addRecentFiles(QMenuBar& bar, int count) const
{
    auto* menu = bar.findChild<QMenu*>("menuFile"_L1);
    // Above the separator that stands before Exit.
    const qsizetype exit = menu->actions().indexOf(action("acFileExit"_L1));
    QAction* behind = menu->actions().at(exit - 1);
    RecentFiles added;
    added.separator = menu->insertSeparator(behind);
    for (int i = 0; i < count; ++i) {
        auto* file = new QAction(parent());
        file->setObjectName(u"acFileRecent%1"_s.arg(i + 1));
        menu->insertAction(behind, file);
        added.files.append(file);
    }
    added.forgetMenu = new QMenu(text(QT_TRANSLATE_NOOP("MainWindow", "&Remove from List")), menu);
    added.forgetMenu->setObjectName("menuForgetRecent"_L1);
    added.forgetMenu->setToolTipsVisible(true);
    menu->insertMenu(behind, added.forgetMenu);
    return added;
}

void MainActions::setPaneCount(int count, int maximum) const
{
    action("acEditAdd"_L1)->setEnabled(count < maximum);
    action("acEditRemove"_L1)->setEnabled(count > 1);
    action("acViewNextPort"_L1)->setEnabled(count > 1);
    action("acViewPreviousPort"_L1)->setEnabled(count > 1);
}

void MainActions::setConnectionState(bool running, bool paused, bool active) const
{
    action("acMonStart"_L1)->setEnabled(paused || !active);
    action("acEditPause"_L1)->setEnabled(running);
    action("acMonStop"_L1)->setEnabled(active);
}

void MainActions::setQuickSettingsShown(bool shown) const
{
    action("acViewQuickSettings"_L1)
        ->setText(shown ? text("Close &Quick Settings")
                        : text(QT_TRANSLATE_NOOP("MainWindow", "Open &Quick Settings")));
}
