#include "app/sessiondocument.h"

#include "app/recentfilesmodel.h"
#include "settings/sessionfile.h"
#include "settings/settingsservice.h"

#include <QAction>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const auto kNoProgress = [](int) {};

SessionContents sessionOf(const QString& port)
{
    SessionContents contents;
    contents.panes = {
        {SettingsService::defaultPortSettings(port), SettingsService::defaultFormatSettings()}};
    return contents;
}

// The dialog that is open.
template<class Dialog>
Dialog& dialog()
{
    auto* found = qobject_cast<Dialog*>(QApplication::activeModalWidget());
    if (found == nullptr)
        qFatal("another dialog, or none");
    return *found;
}

// Types a name into the file dialog and confirms it.
void chooseFile(const QString& name)
{
    dialog<QFileDialog>().findChild<QLineEdit*>(u"fileNameEdit"_s)->setText(name);
    dialog<QFileDialog>().QDialog::done(QDialog::Accepted);
}

} // namespace

// The document over a workspace that is a value.
class SessionDocumentTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }
    void init();
    void titles();
    void question_data();
    void question();
    void newSession();
    void saveAsksForANameOnce();
    void suffix_data();
    void suffix();
    void unreadableFileChangesNothing();
    void copyKeepsOtherKeys();
    void failedSave();
    void recentFiles();
    void recentFileThatIsGone();

private:
    [[nodiscard]] QString path(const QString& name) const { return m_dir->filePath(name); }
    void put(const QString& name, const QString& port)
    {
        QString message;
        QVERIFY2(SessionFile::write(path(name), sessionOf(port), message, kNoProgress),
            qPrintable(message));
    }
    // The port in a session on disk.
    [[nodiscard]] QString stored(const QString& name) const
    {
        SessionContents contents;
        QString message;
        return SessionFile::read(path(name), contents, message)
                   ? contents.panes.constFirst().settings.portName
                   : message;
    }
    [[nodiscard]] QString box() const
    {
        const auto* found = m_window->findChild<QMessageBox*>();
        return found != nullptr ? found->text() : QString();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QWidget> m_window;
    SessionContents m_workspace;
    QList<QAction*> m_actions;
    RecentFilesModel* m_recent = nullptr;
    SessionDocument* m_document = nullptr;
};

void SessionDocumentTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_window = std::make_unique<QWidget>();
    m_workspace = sessionOf(u"running"_s);
    m_actions.clear();
    for (int i = 0; i < RecentFilesModel::kDefaultCount; ++i)
        m_actions.append(new QAction(m_window.get()));
    m_recent = new RecentFilesModel(RecentFilesModel::kDefaultCount, m_actions, m_window.get());
    m_document = new SessionDocument(
        {[this] { return m_workspace; }, [this](const SessionContents& s) { m_workspace = s; },
            [this] { m_workspace = sessionOf(QString()); }},
        *m_recent, m_window.get());
    m_document->setLastDirectory(m_dir->path());
}

void SessionDocumentTest::titles()
{
    for (const auto& [file, title] :
        {std::pair(u""_s, u"Velmora[*]"_s), {u"/a/Session_lab.vmr"_s, u"lab.vmr[*] - Velmora"_s},
            {u"/Session_a/session_lab.vmr"_s, u"session_lab.vmr[*] - Velmora"_s}}) {
        m_window->setWindowModified(true);
        m_document->setCurrentFile(file);
        QCOMPARE(m_window->windowTitle(), title);
        QVERIFY(!m_window->isWindowModified());
        QVERIFY(file.isEmpty() || m_recent->files().constFirst() == file);
    }
}

void SessionDocumentTest::question_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("button");
    QTest::newRow("yes") << QMessageBox::Yes;
    QTest::newRow("no") << QMessageBox::No;
    QTest::newRow("cancel") << QMessageBox::Cancel;
}

void SessionDocumentTest::question()
{
    QFETCH(const QMessageBox::StandardButton, button);
    std::optional<bool> goesOn;
    m_document->okToContinue([&](bool ok) { goesOn = ok; });
    QCOMPARE(goesOn, std::optional(true)); // nothing to ask
    goesOn.reset();
    put(u"lab.vmr"_s, u"old"_s);
    m_document->setCurrentFile(path(u"lab.vmr"_s));
    m_window->setWindowModified(true);
    m_document->okToContinue([&](bool ok) { goesOn = ok; });
    QVERIFY(!goesOn); // the event loop goes on meanwhile
    const auto& box = dialog<QMessageBox>();
    QCOMPARE(box.standardButtons(), QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    box.button(button)->click();
    QCOMPARE(goesOn, std::optional(button != QMessageBox::Cancel));
    const bool saves = button == QMessageBox::Yes;
    QCOMPARE(stored(u"lab.vmr"_s), saves ? u"running"_s : u"old"_s);
    QCOMPARE(m_window->isWindowModified(), !saves);
}

void SessionDocumentTest::newSession()
{
    m_document->setCurrentFile(path(u"lab.vmr"_s));
    m_window->setWindowModified(true);
    m_document->newSession();
    QTest::ignoreMessage(QtDebugMsg, "on_acFileNew_triggered: okToContinue FAILED!");
    dialog<QMessageBox>().reject();
    QCOMPARE(m_workspace.panes.at(0).settings.portName, "running"_L1);
    m_window->setWindowModified(false);
    m_document->newSession();
    QVERIFY(m_workspace.panes.at(0).settings.portName.isEmpty());
    QVERIFY(m_document->currentFile().isEmpty());
}

void SessionDocumentTest::saveAsksForANameOnce()
{
    QSignalSpy messages(m_document, &SessionDocument::message);
    QSignalSpy progress(m_document, &SessionDocument::savingProgress);
    m_document->setLastDirectory({});
    m_document->setFirstDirectory(m_dir->path());
    m_document->save();
    QCOMPARE(dialog<QFileDialog>().windowTitle(), "Save Velmora"_L1);
    QCOMPARE(dialog<QFileDialog>().directory().path(), m_dir->path());
    QCOMPARE(dialog<QFileDialog>().nameFilters(), QStringList{u"Velmora files (*.vmr)"_s});
    chooseFile(path(u"lab.vmr"_s));
    QCOMPARE(m_document->currentFile(), path(u"lab.vmr"_s));
    QCOMPARE(messages.takeFirst(), (QVariantList{u"File saved"_s, 2000}));
    QCOMPARE(progress.constFirst().constFirst().toInt(), 0);
    QCOMPARE(progress.constLast().constFirst().toInt(), 100);
    m_workspace = sessionOf(u"later"_s);
    QTest::ignoreMessage(QtDebugMsg, "writeFile: Write Success!");
    m_document->save();
    QCOMPARE(stored(u"lab.vmr"_s), "later"_L1);
    m_workspace = sessionOf({});
    m_document->open();
    QCOMPARE(dialog<QFileDialog>().windowTitle(), "Open Velmora"_L1);
    chooseFile(path(u"lab.vmr"_s));
    QCOMPARE(m_workspace.panes.at(0).settings.portName, "later"_L1);

    std::optional<bool> saved;
    m_document->saveAs([&](bool ok) { saved = ok; });
    dialog<QFileDialog>().reject();
    QCOMPARE(saved, std::optional(false));
}

void SessionDocumentTest::suffix_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::newRow("none") << u"lab"_s << u"lab.vmr"_s;
    QTest::newRow("another") << u"lab.txt"_s << u"lab.txt.vmr"_s;
    QTest::newRow("capitals") << u"LAB.VMR"_s << u"LAB.VMR"_s;
}

void SessionDocumentTest::suffix()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, written);
    m_document->saveAs();
    chooseFile(path(typed));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList{written});
    QCOMPARE(m_document->currentFile(), path(written));
    QCOMPARE(m_document->lastDirectory(), m_dir->path());
}

void SessionDocumentTest::unreadableFileChangesNothing()
{
    m_document->setCurrentFile(path(u"lab.vmr"_s));
    m_window->setWindowModified(true);
    QFile file(path(u"letter.vmr"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("Dear reader,\n") > 0);
    file.close();
    QVERIFY(!m_document->loadFile(file.fileName()));
    QVERIFY(box().contains("letter.vmr"_L1));
    QCOMPARE(m_workspace.panes.at(0).settings.portName, "running"_L1);
    QCOMPARE(m_document->currentFile(), path(u"lab.vmr"_s));
    QVERIFY(m_window->isWindowModified());
}

// Bridges and what a newer version wrote; in the encoding of another program, too.
void SessionDocumentTest::copyKeepsOtherKeys()
{
    const auto write = [this](const QString& name, const QByteArray& text) {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) > 0);
    };
    write(u"lab.vmr"_s, "[General]\nPortNumber=1\nNote=gr\xFC\xDF\n[0]\nFuture=7\nLogRotateSize=5\n"
                        "[Bridge]\nCount=1\n0\\Name=\"a, b\"\n");
    write(u"other.vmr"_s, "Kept=yes\nPortNumber=1\n[Bridge]\nCount=2\n1\\Name=stale\n");
    QVERIFY(m_document->loadFile(path(u"lab.vmr"_s)));
    for (const auto& name : {u"copy.vmr"_s, u"other.vmr"_s}) {
        QVERIFY(m_document->saveFile(path(name), false));
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("Note=gr\xFC\xDF\n"));
        const QSettings ini(path(name), QSettings::IniFormat);
        QCOMPARE(ini.value("Bridge/Count"_L1).toInt(), 1);
        QCOMPARE(ini.value("Bridge/0/Name"_L1).toString(), "a, b"_L1);
        QVERIFY(!ini.contains("Bridge/1/Name"_L1));
        QCOMPARE(ini.value("0/Future"_L1).toInt(), 7);
        QVERIFY(!ini.contains("0/LogRotateSize"_L1));
        QCOMPARE(ini.contains("Kept"_L1), name == "other.vmr"_L1);
    }
    m_document->newSession();
    QVERIFY(m_document->saveFile(path(u"new.vmr"_s), false));
    QVERIFY(!QSettings(path(u"new.vmr"_s), QSettings::IniFormat).contains("Bridge/Count"_L1));
}

void SessionDocumentTest::failedSave()
{
    put(u"lab.vmr"_s, u"stored"_s);
    m_document->setCurrentFile(path(u"lab.vmr"_s));
    m_window->setWindowModified(true);
    QSignalSpy messages(m_document, &SessionDocument::message);
    QVERIFY(!m_document->saveFile(path(u"gone/lab.vmr"_s), false));
    QCOMPARE(messages.takeFirst(), (QVariantList{u"Saving FAILED"_s, 2000}));
    QVERIFY(box().startsWith("Saving FAILED"_L1));
    QVERIFY(!m_window->findChild<QMessageBox*>()->informativeText().isEmpty());
    QCOMPARE(m_document->currentFile(), path(u"lab.vmr"_s));
    QVERIFY(m_window->isWindowModified());
}

void SessionDocumentTest::recentFiles()
{
    put(u"Session_a & b.vmr"_s, u"A"_s);
    put(u"c.vmr"_s, u"C"_s);
    for (const auto& name : {u"Session_a & b.vmr"_s, u"c.vmr"_s, u"Session_a & b.vmr"_s})
        QVERIFY(m_document->loadFile(path(name)));
    QCOMPARE(m_recent->files(), (QStringList{path(u"Session_a & b.vmr"_s), path(u"c.vmr"_s)}));
    QCOMPARE(m_actions.at(0)->text(), "&1 a && b.vmr"_L1);
    QCOMPARE(m_actions.at(1)->text(), "&2 c.vmr"_L1);
    QVERIFY(m_actions.at(1)->isVisible() && !m_actions.at(2)->isVisible());
    m_window->setWindowModified(true); // does not ask
    m_document->setLastDirectory({});
    m_actions.at(1)->trigger();
    QCOMPARE(m_workspace.panes.at(0).settings.portName, "C"_L1);
    QCOMPARE(m_recent->files().constFirst(), path(u"c.vmr"_s));
    QCOMPARE(m_document->lastDirectory(), m_dir->path());
}

// Only the file that was chosen is looked for: others may be on a disk that is not there now.
void SessionDocumentTest::recentFileThatIsGone()
{
    put(u"a.vmr"_s, u"A"_s);
    QFile letter(path(u"letter.vmr"_s));
    QVERIFY(letter.open(QIODevice::WriteOnly));
    m_recent->setFiles({path(u"gone.vmr"_s), path(u"letter.vmr"_s), path(u"away.vmr"_s)});
    m_recent->updateActions(false);
    m_actions.at(1)->trigger();
    QCOMPARE(m_recent->files().size(), 3); // cannot be opened, but is there
    m_actions.at(0)->trigger();
    QVERIFY(m_window->findChildren<QMessageBox*>().constLast()->text().contains("gone.vmr"_L1));
    QCOMPARE(m_recent->files(), (QStringList{path(u"letter.vmr"_s), path(u"away.vmr"_s)}));
    QCOMPARE(m_actions.at(0)->text(), "&1 letter.vmr"_L1);
    // Whoever is in the way takes it off.
    QMenu forget;
    QAction separator;
    m_recent->setFrame(&separator, &forget);
    for (const int left : {1, 0}) {
        Q_EMIT forget.aboutToShow();
        forget.actions().constFirst()->trigger();
        QCOMPARE(m_recent->files().size(), left);
    }
    QVERIFY(!forget.menuAction()->isVisible());
}

QTEST_MAIN(SessionDocumentTest)
#include "tst_sessiondocument.moc"
