#pragma once

#include "settings/sessioncontents.h"

#include <QObject>
#include <functional>

class QFileDialog;
class QWidget;
class RecentFilesModel;

// The workspace as a document: which session file it stands in, whether it was changed since (the
// window's modified mark), and the File menu's New, Open, Save and Save As.
//
// A file is read and checked completely before the running workspace is touched, so a file that
// cannot be opened costs nothing. What goes wrong is told in a box; the recent files follow what
// was opened and saved. Owned by the main window, which is the parent of the boxes and dialogs.
class SessionDocument final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SessionDocument)

public:
    // How long messages stand in the first pane's message area.
    static constexpr int kMessageMs = 2000;

    using Then = std::function<void(bool)>;

    // The workspace that the document is a picture of.
    struct Workspace
    {
        std::function<SessionContents()> contents; // with the panes' editors committed
        std::function<void(const SessionContents&)> apply;
        std::function<void()> reset; // one pane with defaults
        // Closes the panes that there are and goes on; not at all when the person wants to keep
        // them.
        std::function<void(std::function<void()>)> leave = [](const auto& then) { then(); };
    };

    SessionDocument(Workspace workspace, RecentFilesModel& recentFiles, QWidget* window);
    ~SessionDocument() override = default;

    // Empty for a workspace that no file holds yet.
    [[nodiscard]] QString currentFile() const { return m_currentFile; }
    // Names the file in the window's title and among the recent files; the workspace counts as
    // unmodified from now on.
    void setCurrentFile(const QString& fileName);
    // Where the file dialogs begin.
    [[nodiscard]] QString lastDirectory() const { return m_lastDirectory; }
    void setLastDirectory(const QString& folder) { m_lastDirectory = folder; }
    // Where they begin until a file has been opened or saved.
    void setFirstDirectory(const QString& folder) { m_firstDirectory = folder; }

    // Asks what is to become of unsaved changes. `then` gets false when the person wants to stay,
    // or when saving failed.
    void okToContinue(Then then);
    void newSession();
    void open();
    // False, and told, when the file cannot be read. Its session takes the place of the present one
    // when the panes of that are closed, which may take longer than the call.
    bool loadFile(const QString& fileName);
    // `then` gets whether the session was saved.
    void save(Then then = [](bool) {});
    void saveAs(Then then = [](bool) {});
    bool saveFile(const QString& fileName, bool showProgress);
    void onRecentFileRequested(const QString& path);

Q_SIGNALS:
    // For the first pane's message area.
    void message(const QString& text, int timeoutMs);
    // 0 to 100 while a file is being written.
    void savingProgress(int percent);

private:
    struct Session
    {
        SessionContents contents;
        QByteArray origin; // the bytes of the file
        QString reason;    // why nothing, or not all of it, could be read
    };

    void useFolderOf(const QString& fileName);
    // A file dialog titled so; `then` gets the name that was chosen.
    QFileDialog* chooseFile(const QString& title, std::function<void(const QString&)> then);
    void saveUnder(QString fileName, Then then);
    // The parts of loadFile() and saveFile() that touch the disk: no title, no recent files.
    bool readSettingFile(const QString& fileName, Session& session);
    bool writeSettingFile(const QString& fileName, bool showProgress, QString& reason);
    void tellFailure(const QString& text, const QString& fileName, const QString& reason);

    Workspace m_workspace;
    RecentFilesModel& m_recentFiles;
    QWidget* m_window;
    QString m_currentFile;
    QByteArray m_origin; // of the session that was opened; holds keys that no pane knows
    QString m_lastDirectory;
    QString m_firstDirectory;
};
