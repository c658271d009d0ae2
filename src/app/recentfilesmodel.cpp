#include "app/recentfilesmodel.h"

#include "settings/sessionfile.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QMenu>

using namespace Qt::Literals::StringLiterals;

namespace {

// An ampersand of the name is no mnemonic.
QString actionText(int number, const QString& path)
{
    QString name = SessionFile::strippedName(path);
    return u"&%1 %2"_s.arg(QString::number(number), name.replace(u'&', "&&"_L1));
}

} // namespace

RecentFilesModel::RecentFilesModel(int count, const QList<QAction*>& actions, QObject* parent)
    : QObject(parent)
    , m_actions(actions.first(qMin(count, int(actions.size()))))
{
    for (QAction* action : std::as_const(m_actions)) {
        connect(action, &QAction::triggered, this,
            [this, action] { Q_EMIT fileRequested(action->data().toString()); });
    }
    updateActions(false);
}

void RecentFilesModel::setFrame(QAction* separator, QMenu* forgetMenu)
{
    m_separator = separator;
    m_forgetMenu = forgetMenu;
    connect(m_forgetMenu, &QMenu::aboutToShow, this, &RecentFilesModel::fillForgetMenu);
    updateActions(false);
}

void RecentFilesModel::fillForgetMenu()
{
    m_forgetMenu->clear();
    for (int i = 0; i < m_actions.size() && i < m_files.size(); ++i) {
        const QString path = m_files.at(i);
        QAction* action = m_forgetMenu->addAction(actionText(i + 1, path));
        action->setToolTip(QDir::toNativeSeparators(path));
        connect(action, &QAction::triggered, this, [this, path] { removeFile(path); });
    }
}

void RecentFilesModel::addFile(const QString& path)
{
    m_files.removeAll(path);
    m_files.prepend(path);
    updateActions(false);
}

void RecentFilesModel::removeFile(const QString& path)
{
    m_files.removeAll(path);
    updateActions(false);
}

void RecentFilesModel::updateActions(bool checkExistence)
{
    if (checkExistence)
        removeNonExistent();
    if (m_separator != nullptr)
        m_separator->setVisible(!m_files.isEmpty());
    if (m_forgetMenu != nullptr)
        m_forgetMenu->menuAction()->setVisible(!m_files.isEmpty());
    for (int i = 0; i < m_actions.size(); ++i) {
        QAction* action = m_actions.at(i);
        const QString path = m_files.value(i);
        action->setVisible(!path.isEmpty());
        action->setText(path.isEmpty() ? QString() : actionText(i + 1, path));
        action->setToolTip(QDir::toNativeSeparators(path));
        action->setData(path);
    }
}

void RecentFilesModel::removeNonExistent()
{
    m_files.removeIf([](const QString& path) { return !QFileInfo::exists(path); });
}
