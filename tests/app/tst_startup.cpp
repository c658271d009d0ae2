#include "app/startup.h"

#include "support/simulateddevice.h"
#include "terminal/pane/serialportwidget.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFont>
#include <QImage>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

// Runs qMain() in a process of its own: this executable again, with a role in its environment and
// a home folder of its own. The role plays the person in front of the window.
namespace {

constexpr auto kRoleVariable = "VELMORA_TEST_ROLE";

// Plays the person: answers the dialogs, reports what it sees, closes the window.
class Person final : public QObject
{
public:
    explicit Person(QObject* parent)
        : QObject(parent)
        , m_role(qEnvironmentVariable(kRoleVariable))
    {
        connect(&m_timer, &QTimer::timeout, this, &Person::look);
        m_timer.start(10);
    }

private:
    static void report(const QString& text) { qInfo().noquote() << "SEEN" << text; }

    void look()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            report("box "_L1 + box->text());
            box->close();
        } else if (auto* dialog = qobject_cast<QDialog*>(modal)) {
            report("dialog "_L1 + dialog->windowTitle());
            if (m_role == "cancel"_L1) {
                dialog->reject();
            } else {
                dialog->findChild<QLineEdit*>()->setText(m_role);
                dialog->accept();
            }
        } else if (m_role != "wait"_L1) {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                auto* window = qobject_cast<QMainWindow*>(widget);
                if (window != nullptr && window->isVisible()
                    && (m_role != "acFileExit"_L1 || recordsInVain(*window)))
                    leave(*window);
            }
        }
    }

    // Whether a pane has text for a log that cannot be written.
    bool recordsInVain(const QMainWindow& window)
    {
        auto* pane = window.findChild<SerialPortWidget*>();
        if (!m_device) {
            m_device = std::make_unique<SimulatedDevice>();
            FormatSetting format = pane->formatSetting();
            format.logSaveFlag = true;
            format.logFilePath = QDir::homePath();
            pane->setFormatSetting(format);
            pane->start(m_device->portName(), true);
        }
        return pane->unloggedBytes() > 0;
    }

    void leave(QMainWindow& window)
    {
        m_timer.stop();
        report("title "_L1 + window.windowTitle());
        report("menu "_L1 + window.menuBar()->actions().constFirst()->text());
        report("substitute "_L1 + QFont::substitutes(u"Monaco"_s).join(u' '));
        report(u"geometry %1 %2 %3 %4"_s.arg(window.geometry().x())
                   .arg(window.geometry().y())
                   .arg(window.width())
                   .arg(window.height()));
        if (m_role == "close"_L1 || m_role.startsWith(u'/')) {
            window.close();
            return;
        }
        // The role names the action whose dialog is open when the system ends the program.
        QTimer::singleShot(100, &window, [] { std::raise(SIGTERM); });
        window.setWindowModified(true);
        window.findChild<QAction*>(m_role)->trigger();
        const QWidget* modal = QApplication::activeModalWidget();
        report(u"open "_s + QLatin1StringView(modal ? modal->metaObject()->className() : ""));
    }

    QString m_role;
    QTimer m_timer;
    std::unique_ptr<SimulatedDevice> m_device;
};

void admitPerson()
{
    new Person(QCoreApplication::instance());
}

} // namespace

class StartupTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void stepsInOrder();
    void screenshot_data();
    void screenshot();
    void folderDialogCancelled();
    void folderDialogAccepted();
    void languages_data();
    void languages();
    void portArgument();
    void sessionArgument();
    void positionOffScreen();
    void shutDown_data();
    void shutDown();
    void textsNeedNoWindow_data();
    void textsNeedNoWindow();

private:
    // The exit code, -1 for a crash or a process that does not end.
    int run(const QString& role, const QStringList& arguments = {});
    [[nodiscard]] QString storePath() const { return m_dir->filePath(u"KORVANE/Velmora.conf"_s); }
    void setStored(const QString& key, const QVariant& value) const
    {
        QSettings(storePath(), QSettings::NativeFormat).setValue(key, value);
    }
    [[nodiscard]] QVariant stored(const QString& key) const
    {
        return QSettings(storePath(), QSettings::NativeFormat).value(key);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_log;
    QProcessEnvironment m_environment;
};

void StartupTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_log.clear();
    m_environment = QProcessEnvironment::systemEnvironment();
    for (const auto& name : {u"HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_DATA_HOME"_s,
             u"XDG_CACHE_HOME"_s, u"XDG_RUNTIME_DIR"_s})
        m_environment.insert(name, m_dir->path());
    m_environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    m_environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    m_environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    setStored(u"CONFIG_FILE_PATH"_s, m_dir->path());
}

int StartupTest::run(const QString& role, const QStringList& arguments)
{
    m_environment.insert(QLatin1StringView(kRoleVariable), role);
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(), arguments);
    const bool ended = process.waitForFinished(30000);
    m_log = QString::fromUtf8(process.readAll());
    if (!ended)
        process.kill();
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void StartupTest::stepsInOrder()
{
    setStored(u"LAST_WINDOW_SIZE"_s, QSize(900, 600));
    setStored(u"LAST_WINDOW_POSITION"_s, QPoint(20, 30));
    QCOMPARE(run(u"close"_s), 0);
    qsizetype at = -1;
    for (const auto& text : {u"argc: 1"_s, u"argv[0]: "_s, u"### last window position:"_s,
             u"### set geometry: 20 30 900 600"_s, u"SEEN menu &File"_s,
             u"SEEN geometry 20 30 900 600"_s, u"closeEvent..."_s, u"### position:"_s}) {
        const qsizetype next = m_log.indexOf(text, at + 1);
        QVERIFY2(next > at, qPrintable(text + u" is missing or too early in:\n"_s + m_log));
        at = next;
    }
    QVERIFY(!m_log.contains("SEEN substitute \n"_L1)); // Monaco is not on the test machines
    QCOMPARE(stored(u"LAST_WINDOW_SIZE"_s).toSize(), QSize(900, 600));
    QCOMPARE(stored(u"LAST_WINDOW_POSITION"_s).toPoint(), QPoint(20, 30)); // it must not creep
    QVERIFY(stored(u"LastBaudrate"_s).isValid());
}

void StartupTest::screenshot_data()
{
    QTest::addColumn<int>("exitCode");
    QTest::newRow("window.png") << 0;
    QTest::newRow("missing/window.png") << 1;
    QTest::newRow("window.nothing") << 1;
}

void StartupTest::screenshot()
{
    QFETCH(const int, exitCode);
    const QString path = m_dir->filePath(QString::fromLatin1(QTest::currentDataTag()));
    const QString end = exitCode == 0 ? u"\" saved"_s : u"\" FAILED"_s;
    QCOMPARE(run(u"wait"_s, {u"--screenshot"_s, path}), exitCode);
    QVERIFY2(m_log.contains(u"screenshot \""_s + path + end), qPrintable(m_log));
    if (exitCode == 0)
        QCOMPARE(QImage(path).size(), QSize(1280, 800));
}

void StartupTest::folderDialogCancelled()
{
    setStored(u"CONFIG_FILE_PATH"_s, QString());
    QCOMPARE(run(u"cancel"_s), 0);
    QVERIFY(m_log.contains("SEEN dialog Velmora\n"_L1));
    QVERIFY(!m_log.contains("### last window position:"_L1));
    QVERIFY(stored(u"CONFIG_FILE_PATH"_s).toString().isEmpty());
}

void StartupTest::folderDialogAccepted()
{
    setStored(u"CONFIG_FILE_PATH"_s, QString());
    const QString folder = m_dir->filePath(u"new/folder"_s);
    QCOMPARE(run(folder), 0);
    QVERIFY(QFileInfo(folder).isDir());
    QCOMPARE(stored(u"CONFIG_FILE_PATH"_s).toString(), folder);
    QVERIFY(m_log.contains("SEEN menu"_L1));
}

void StartupTest::languages_data()
{
    QTest::addColumn<int>("choice");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<bool>("chinese");
    QTest::newRow("Chinese chosen") << 1 << u"C.UTF-8"_s << true;
    QTest::newRow("Chinese system") << 0 << u"zh_CN.UTF-8"_s << true;
    QTest::newRow("English chosen") << 2 << u"zh_CN.UTF-8"_s << false;
}

void StartupTest::languages()
{
    QFETCH(const int, choice);
    QFETCH(const QString, locale);
    QFETCH(const bool, chinese);
    setStored(u"ValueL"_s, choice);
    m_environment.insert(u"LC_ALL"_s, locale);
    QCOMPARE(run(u"close"_s), 0);
    QVERIFY2(m_log.contains(chinese ? u"SEEN menu 文件(&F)\n"_s : u"SEEN menu &File\n"_s),
        qPrintable(m_log));
    QVERIFY(!m_log.contains("load language"_L1));
}

void StartupTest::portArgument()
{
    setStored(u"LastPortName"_s, u"/dev/null"_s);
    setStored(u"LastConnectionOpen"_s, true);
    QCOMPARE(run(u"close"_s, {u"no-such-port"_s, u"more"_s}), 0);
    QVERIFY2(m_log.contains("SEEN box Serial Port no-such-port OPEN FAILED"_L1), qPrintable(m_log));
    QCOMPARE(m_log.count("OPEN FAILED"_L1), 2); // the log and the box; nothing is restored before
}

// A session takes the place of the last connection, which is not even opened for a moment.
void StartupTest::sessionArgument()
{
    setStored(u"LastPortName"_s, u"/dev/null"_s);
    setStored(u"LastConnectionOpen"_s, true);
    const QString session = m_dir->filePath(u"Session_lab.vmr"_s);
    QSettings(session, QSettings::IniFormat).setValue(u"PortNumber"_s, 3);
    QCOMPARE(run(u"close"_s, {session}), 0);
    QVERIFY2(m_log.contains("SEEN title lab.vmr[*] - Velmora\n"_L1), qPrintable(m_log));
    QVERIFY(!m_log.contains("OPEN FAILED"_L1));
    QCOMPARE(stored(u"RecentFiles"_s).toStringList(), QStringList{session});

    QVERIFY(QFile::resize(session, 1 << 26));
    QCOMPARE(run(u"close"_s, {session}), 0);
    QVERIFY2(m_log.contains("SEEN box The session "_L1), qPrintable(m_log));
    QVERIFY(m_log.contains("SEEN title Velmora[*]\n"_L1));
}

void StartupTest::positionOffScreen()
{
    setStored(u"LAST_WINDOW_SIZE"_s, u"damaged"_s);
    setStored(u"LAST_WINDOW_POSITION"_s, QPoint(-3000, 30));
    QCOMPARE(run(u"close"_s), 0);
    QVERIFY(!m_log.contains("### set geometry:"_L1));
    QVERIFY2(m_log.contains(" 1000 800\n"_L1), qPrintable(m_log));
    QVERIFY(!m_log.contains("SEEN geometry -3000"_L1));
}

void StartupTest::shutDown_data()
{
    QTest::addColumn<QString>("open");
    QTest::newRow("acFileNew") << u"QMessageBox"_s;
    QTest::newRow("acFileOpen") << u"QMessageBox"_s;
    QTest::newRow("acFileSaveAs") << u"QFileDialog"_s;
    QTest::newRow("acToolsSetting") << u"SettingsDialog"_s;
    QTest::newRow("acFileExit") << u"QMessageBox"_s; // about its log
}

// Whatever is open, the settings are stored and the program ends.
void StartupTest::shutDown()
{
#ifdef Q_OS_UNIX
    QFETCH(const QString, open);
    QCOMPARE(run(QString::fromLatin1(QTest::currentDataTag())), 0);
    QVERIFY2(m_log.contains(u"SEEN open "_s + open + u'\n'), qPrintable(m_log));
    QVERIFY(stored(u"LastBaudrate"_s).isValid());
    QVERIFY(stored(u"LAST_WINDOW_SIZE"_s).isValid());
#endif
}

void StartupTest::textsNeedNoWindow_data()
{
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("text");
    QTest::newRow("--version") << 0 << u"Velmora "_s + QStringLiteral("0.");
    QTest::newRow("--help") << 0 << u"--screenshot <file>"_s;
    QTest::newRow("--nonsense") << 2 << u"Unknown option 'nonsense'.\n"_s;
}

void StartupTest::textsNeedNoWindow()
{
    QFETCH(const int, exitCode);
    QFETCH(const QString, text);
    QCOMPARE(run(u"close"_s, {QString::fromLatin1(QTest::currentDataTag())}), exitCode);
    QVERIFY2(m_log.contains(text), qPrintable(m_log));
    QVERIFY(!m_log.contains("### last window position:"_L1));
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet(kRoleVariable)) {
        qAddPreRoutine(admitPerson);
        return qMain(argc, argv);
    }
    QApplication application(argc, argv);
    StartupTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
