#include "app/sessiondocument.h"

#include "app/messageboxes.h"
#include "app/recentfilesmodel.h"
#include "settings/config.h"
#include "settings/sessionfile.h"

#include <QDebug>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QTime>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto suffix = ".vmr"_L1;

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

bool SessionDocument::okToContinue()
{
    if (!m_window->isWindowModified())
        return true;
    const auto answer = QMessageBox::warning(m_window, Config::applicationName(),
        tr("The document has been modified.\nDo you want to save your changes?"),
        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
    return answer == QMessageBox::Yes ? save() : answer == QMessageBox::No;
}

void SessionDocument::newSession()
{
    if (!okToContinue() || !m_workspace.mayReplace()) {
        qDebug("on_acFileNew_triggered: okToContinue FAILED!");
        return;
    }
    m_workspace.reset();
    setCurrentFile({});
}

void SessionDocument::open()
{
    if (!okToContinue())
        return;
    const QString fileName =
        QFileDialog::getOpenFileName(m_window, tr("Open Velmora"), startDirectory(), fileFilter());
    if (fileName.isEmpty())
        return;
    useFolderOf(fileName);
    loadFile(fileName);
}

bool SessionDocument::loadFile(const QString& fileName)
{
    m_reason.clear();
    if (!readSettingFile(fileName)) {
        if (!m_reason.isEmpty())
            tellFailure(tr("The session %1 was not opened."), fileName, m_reason);
        return false;
    }
    setCurrentFile(fileName);
    if (!m_reason.isEmpty())
        tellFailure(tr("The session %1 was opened in part."), fileName, m_reason);
    return true;
}

bool SessionDocument::readSettingFile(const QString& fileName)
{
    if (!QFileInfo::exists(fileName))
        qDebug() << "readSettingFile: file not found:" << fileName;
    SessionContents contents;
    if (!SessionFile::read(fileName, contents, m_reason))
        return false;
    if (!m_workspace.mayReplace()) {
        m_reason.clear();
        return false;
    }
    m_workspace.apply(contents);
    return true;
}

bool SessionDocument::save()
{
    if (m_currentFile.isEmpty())
        return saveAs();
    useFolderOf(m_currentFile);
    return saveFile(m_currentFile, true);
}

bool SessionDocument::saveAs()
{
    QString fileName = askNameToSave();
    if (fileName.isEmpty())
        return false;
    useFolderOf(fileName);
    qDebug() << "saveAs: lastDirectory =" << m_lastDirectory;
    if (!fileName.endsWith(suffix, Qt::CaseInsensitive)) {
        fileName += suffix;
        if (!mayOverwrite(fileName))
            return false;
    }
    return saveFile(fileName, true);
}

QString SessionDocument::startDirectory() const
{
    return m_lastDirectory.isEmpty() ? m_firstDirectory : m_lastDirectory;
}

// The dialog asks before it overwrites, for the name with the suffix.
QString SessionDocument::askNameToSave()
{
    QFileDialog dialog(m_window, tr("Save Velmora"), startDirectory(), fileFilter());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix("vmr"_L1);
    if (!m_currentFile.isEmpty())
        dialog.selectFile(QFileInfo(m_currentFile).fileName());
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedFiles().value(0);
}

bool SessionDocument::mayOverwrite(const QString& fileName)
{
    if (!QFileInfo::exists(fileName))
        return true;
    return QMessageBox::warning(m_window, Config::applicationName(),
               tr("%1 already exists.\nDo you want to replace it?")
                   .arg(QFileInfo(fileName).fileName()),
               QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
           == QMessageBox::Yes;
}

bool SessionDocument::saveFile(const QString& fileName, bool showProgress)
{
    m_reason.clear();
    const bool saved = writeSettingFile(fileName, showProgress);
    if (saved) {
        qDebug().noquote() << "Write OK " << QTime::currentTime().toString(Qt::ISODate);
        setCurrentFile(fileName);
        Q_EMIT message(tr("File saved"), messageMs);
    } else {
        const QString failed = tr("Saving FAILED");
        Q_EMIT message(failed, messageMs);
        tellFailure(failed + u"\n%1"_s, fileName, m_reason);
    }
    return saved;
}

bool SessionDocument::writeSettingFile(const QString& fileName, bool showProgress)
{
    qDebug() << "writeFile: fileName = " << fileName;
    const auto progress = [this, showProgress](int percent) {
        if (showProgress)
            Q_EMIT savingProgress(percent);
    };
    progress(0);
    const bool written = SessionFile::write(fileName, m_workspace.contents(), m_reason, progress);
    progress(100);
    if (written)
        qDebug("writeFile: Write Success!");
    return written;
}

void SessionDocument::onRecentFileRequested(const QString& path)
{
    useFolderOf(path);
    if (!loadFile(path))
        m_recentFiles.updateActions(true);
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
