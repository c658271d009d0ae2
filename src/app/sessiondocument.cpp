#include "app/sessiondocument.h"

#include "app/messageboxes.h"
#include "app/recentfilesmodel.h"
#include "settings/config.h"
#include "settings/sessionfile.h"

#include <QDebug>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QTime>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kSuffix = ".vmr"_L1;

QString fileFilter()
{
    return SessionDocument::tr("Velmora files (*.vmr)");
}

} // namespace

SessionDocument::SessionDocument(
    Workspace workspace, RecentFilesModel& recentFiles, QWidget* window)
    : QObject(window)
    , m_workspace(std::move(workspace))
    , m_recentFiles(recentFiles)
    , m_window(window)
{
    connect(&m_recentFiles, &RecentFilesModel::fileRequested, this,
        &SessionDocument::onRecentFileRequested);
    setCurrentFile({});
}

void SessionDocument::setCurrentFile(const QString& fileName)
{
    m_currentFile = fileName;
    if (fileName.isEmpty()) {
        // The mark of unsaved changes has its place in an untitled workspace, too.
        m_window->setWindowTitle(Config::applicationName() + "[*]"_L1);
    } else {
        m_recentFiles.addFile(fileName);
        m_window->setWindowTitle(
            u"%1[*] - %2"_s.arg(SessionFile::strippedName(fileName), Config::applicationName()));
    }
    m_window->setWindowModified(false);
}

void SessionDocument::okToContinue(Then then)
{
    if (!m_window->isWindowModified())
        return then(true);
    MessageBoxes::ask(m_window,
        tr("The document has been modified.\nDo you want to save your changes?"), {},
        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes,
        [this, then = std::move(then)](QMessageBox::StandardButton answer) {
            if (answer == QMessageBox::Yes)
                save(then);
            else
                then(answer == QMessageBox::No);
        });
}

void SessionDocument::newSession()
{
    okToContinue([this](bool ok) {
        if (!ok) {
            qDebug("on_acFileNew_triggered: okToContinue FAILED!");
            return;
        }
        m_workspace.leave([this] {
            m_workspace.reset();
            m_origin.clear();
            setCurrentFile({});
        });
    });
}

QFileDialog* SessionDocument::chooseFile(
    const QString& title, std::function<void(const QString&)> then)
{
    auto* dialog = new QFileDialog(m_window, title,
        m_lastDirectory.isEmpty() ? m_firstDirectory : m_lastDirectory, fileFilter());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, this, [dialog, then = std::move(then)](int result) {
        then(result == QDialog::Accepted ? dialog->selectedFiles().value(0) : QString());
    });
    return dialog;
}

void SessionDocument::open()
{
    okToContinue([this](bool ok) {
        if (!ok)
            return;
        QFileDialog* dialog = chooseFile(tr("Open Velmora"), [this](const QString& fileName) {
            if (fileName.isEmpty())
                return;
            useFolderOf(fileName);
            loadFile(fileName);
        });
        dialog->setFileMode(QFileDialog::ExistingFile);
        dialog->open();
    });
}

bool SessionDocument::loadFile(const QString& fileName)
{
    Session session;
    if (!readSettingFile(fileName, session)) {
        tellFailure(tr("The session %1 was not opened."), fileName, session.reason);
        return false;
    }
    m_workspace.leave([this, fileName, session] {
        m_workspace.apply(session.contents);
        m_origin = session.origin;
        setCurrentFile(fileName);
        if (!session.reason.isEmpty())
            tellFailure(tr("The session %1 was opened in part."), fileName, session.reason);
    });
    return true;
}

bool SessionDocument::readSettingFile(const QString& fileName, Session& session)
{
    if (!QFileInfo::exists(fileName))
        qDebug() << "readSettingFile: file not found:" << fileName;
    return SessionFile::read(fileName, session.contents, session.reason, &session.origin);
}

void SessionDocument::save(Then then)
{
    if (m_currentFile.isEmpty())
        return saveAs(std::move(then));
    useFolderOf(m_currentFile);
    then(saveFile(m_currentFile, true));
}

// The dialog asks before it overwrites, for the name with the suffix.
void SessionDocument::saveAs(Then then)
{
    QFileDialog* dialog =
        chooseFile(tr("Save Velmora"), [this, then = std::move(then)](const QString& fileName) {
            if (fileName.isEmpty())
                then(false);
            else
                saveUnder(fileName, then);
        });
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDefaultSuffix("vmr"_L1);
    if (!m_currentFile.isEmpty())
        dialog->selectFile(QFileInfo(m_currentFile).fileName());
    dialog->open();
}

void SessionDocument::saveUnder(QString fileName, Then then)
{
    useFolderOf(fileName);
    qDebug() << "saveAs: lastDirectory =" << m_lastDirectory;
    const bool complete = fileName.endsWith(kSuffix, Qt::CaseInsensitive);
    if (!complete)
        fileName += kSuffix;
    if (complete || !QFileInfo::exists(fileName))
        return then(saveFile(fileName, true));
    MessageBoxes::ask(m_window,
        tr("%1 already exists.\nDo you want to replace it?").arg(QFileInfo(fileName).fileName()),
        {}, QMessageBox::Yes | QMessageBox::No, QMessageBox::No,
        [this, fileName, then = std::move(then)](QMessageBox::StandardButton answer) {
            then(answer == QMessageBox::Yes && saveFile(fileName, true));
        });
}

bool SessionDocument::saveFile(const QString& fileName, bool showProgress)
{
    QString reason;
    const bool saved = writeSettingFile(fileName, showProgress, reason);
    if (saved) {
        qDebug().noquote() << "Write OK " << QTime::currentTime().toString(Qt::ISODate);
        setCurrentFile(fileName);
        Q_EMIT message(tr("File saved"), kMessageMs);
    } else {
        const QString failed = tr("Saving FAILED");
        Q_EMIT message(failed, kMessageMs);
        tellFailure(failed + u"\n%1"_s, fileName, reason);
    }
    return saved;
}

bool SessionDocument::writeSettingFile(const QString& fileName, bool showProgress, QString& reason)
{
    qDebug() << "writeFile: fileName = " << fileName;
    const auto progress = [this, showProgress](int percent) {
        if (showProgress)
            Q_EMIT savingProgress(percent);
    };
    progress(0);
    // The file that was opened keeps its other keys by itself, whoever wrote them since.
    const bool inPlace = fileName == m_currentFile && QFileInfo::exists(fileName);
    const bool written = SessionFile::write(
        fileName, m_workspace.contents(), reason, progress, inPlace ? QByteArray() : m_origin);
    progress(100);
    if (written)
        qDebug("writeFile: Write Success!");
    return written;
}

void SessionDocument::onRecentFileRequested(const QString& path)
{
    useFolderOf(path);
    // One that is there and cannot be read may be mended.
    if (!loadFile(path) && !QFileInfo::exists(path))
        m_recentFiles.removeFile(path);
}

void SessionDocument::useFolderOf(const QString& fileName)
{
    m_lastDirectory = QFileInfo(fileName).absolutePath();
}

void SessionDocument::tellFailure(
    const QString& text, const QString& fileName, const QString& reason)
{
    MessageBoxes::showWarning(m_window, text.arg(QDir::toNativeSeparators(fileName)), reason);
}
