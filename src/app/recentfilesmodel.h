#pragma once

#include <QList>
#include <QObject>
#include <QStringList>

class QAction;
class QMenu;

// The session files that were opened or saved last, newest first, and the menu actions that show
// the first of them. The list itself is as long as the store keeps it. The actions belong to the
// window and outlive the model's last call.
class RecentFilesModel final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RecentFilesModel)

public:
    static constexpr int kDefaultCount = 9; // one digit as mnemonic

    // The first `count` of the actions are used.
    RecentFilesModel(int count, const QList<QAction*>& actions, QObject* parent = nullptr);
    ~RecentFilesModel() override = default;

    // Shown while there are files: what parts them from the menu, and a menu to take one off the
    // list.
    void setFrame(QAction* separator, QMenu* forgetMenu);
    [[nodiscard]] const QStringList& files() const { return m_files; }
    // The actions follow with updateActions().
    void setFiles(const QStringList& files) { m_files = files; }
    // Puts the path to the front, once.
    void addFile(const QString& path);
    void removeFile(const QString& path);
    // Shows the list in the actions; before that, with `checkExistence`, forgets the files that
    // are gone. Asking for files can be slow on network drives.
    void updateActions(bool checkExistence);
    void removeNonExistent();

Q_SIGNALS:
    void fileRequested(const QString& path);

private:
    void fillForgetMenu();

    QList<QAction*> m_actions;
    QAction* m_separator = nullptr;
    QMenu* m_forgetMenu = nullptr;
    QStringList m_files;
};
