#include "app/startup.h"

#include "app/commandline.h"
#include "app/interfacelanguage.h"
#include "app/mainwindow.h"
#include "app/setconfigfilepathdialog.h"
#include "app/windowgeometry.h"
#include "base/processsignals.h"
#include "connections/systemportcatalog.h"
#include "settings/config.h"
#include "terminal/view/displayfonts.h"

#include <QApplication>
#include <QDebug>
#include <QIcon>
#include <QScreen>
#include <QSettings>
#include <QTimer>
#include <QTranslator>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Long enough for the first layout and for fonts to be there.
constexpr auto kScreenshotDelay = 1500ms;
constexpr QRect kScreenshotGeometry(80, 80, 1280, 800);
constexpr int kFaultExitCode = 2;

void setIdentity()
{
    QCoreApplication::setOrganizationName(Config::organizationName());
    QCoreApplication::setOrganizationDomain(Config::organizationDomain());
    QCoreApplication::setApplicationName(Config::applicationName());
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
}

void logArguments(int argc, char** argv)
{
    qDebug() << "argc:" << argc;
    for (int i = 0; i < argc; ++i)
        qDebug().noquote() << u"argv[%1]:"_s.arg(i) << QString::fromLocal8Bit(argv[i]);
}

void saveScreenshot(QWidget& window, const QString& path)
{
    if (QWidget* focus = QApplication::focusWidget(); focus != nullptr)
        focus->clearFocus();
    const bool saved = window.grab().save(path);
    qDebug() << "screenshot" << path << (saved ? "saved" : "FAILED");
    QCoreApplication::exit(saved ? 0 : 1);
}

QSize availableSize()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableSize() : QSize();
}

// The run of the program from the question for its folder to the window: all of it happens in the
// event loop, so that a signal can end it at every point.
class Program final : public QObject
{
    Q_DISABLE_COPY_MOVE(Program)

public:
    Program(CommandLine commandLine, QSettings& store)
        : m_commandLine(std::move(commandLine))
        , m_store(store)
    {
        connect(&m_termination, &ProcessSignals::endRequested, this, [this] {
            if (m_window)
                m_window->closeUnasked([] { QCoreApplication::exit(0); });
            else
                QCoreApplication::exit(0);
        });
    }
    ~Program() override = default;

    void settleConfigFolder()
    {
        if (!SetConfigFilePathDialog::storedPath(m_store).isEmpty())
            return openWindow();
        // The dialog is not the last window.
        QGuiApplication::setQuitOnLastWindowClosed(false);
        m_dialog = std::make_unique<SetConfigFilePathDialog>(m_store);
        m_dialog->setWindowTitle(Config::applicationName());
        connect(m_dialog.get(), &QDialog::accepted, this, &Program::openWindow);
        connect(m_dialog.get(), &QDialog::rejected, this, [] { QCoreApplication::exit(0); });
        m_dialog->open();
    }

private:
    void openWindow()
    {
        QGuiApplication::setQuitOnLastWindowClosed(true);
        // Whoever names a port or a session wants that one: the last connection would be opened
        // for a moment, which resets many boards.
        const bool named =
            !m_commandLine.sessionFile.isEmpty() || !m_commandLine.portName.isEmpty();
        m_window = std::make_unique<MainWindow>(
            m_catalog, named ? MainWindow::Restore::Nothing : MainWindow::Restore::LastConnection);
        WindowGeometry::load(m_store).applyTo(*m_window, availableSize());
        m_window->show();
        obeyCommandLine();
    }

    void obeyCommandLine()
    {
        if (!m_commandLine.sessionFile.isEmpty())
            m_window->loadFile(m_commandLine.sessionFile);
        if (!m_commandLine.screenshotPath.isEmpty()) {
            m_window->resize(kScreenshotGeometry.size());
            m_window->move(kScreenshotGeometry.topLeft());
            m_window->raise();
            m_window->activateWindow();
            QTimer::singleShot(kScreenshotDelay, m_window.get(),
                [this] { saveScreenshot(*m_window, m_commandLine.screenshotPath); });
        } else if (!m_commandLine.portName.isEmpty()) {
            m_window->start(m_commandLine.portName, false);
        }
    }

    CommandLine m_commandLine;
    QSettings& m_store;
    SystemPortCatalog m_catalog;
    ProcessSignals m_termination{ProcessSignals::Hangup::Ends};
    std::unique_ptr<SetConfigFilePathDialog> m_dialog;
    std::unique_ptr<MainWindow> m_window;
};

// The exit code when the arguments ask for a text, or for what there is not.
std::optional<int> answered(const CommandLine& commandLine)
{
    if (commandLine.fault.isEmpty() && commandLine.answer.isEmpty())
        return {};
    const bool fault = !commandLine.fault.isEmpty();
    std::fputs(qPrintable(fault ? commandLine.fault + u'\n' : commandLine.answer),
        fault ? stderr : stdout);
    return fault ? kFaultExitCode : 0;
}

// A text can be had where there is no screen.
bool asksForText(int argc, char** argv)
{
    return std::any_of(argv + 1, argv + argc, [](const char* argument) {
        const QByteArrayView text(argument);
        return text == "--help" || text == "-h" || text == "--version" || text == "-v";
    });
}

} // namespace

int qMain(int argc, char** argv)
{
    if (argc > 1 && asksForText(argc, argv)) {
        const QCoreApplication application(argc, argv);
        setIdentity();
        if (const auto code = answered(CommandLine::parse(QCoreApplication::arguments())))
            return *code;
    }
    // Destroyed in the opposite order: the window writes its last settings while the store and
    // the translator still are.
    const QApplication application(argc, argv);
    setIdentity();
    QGuiApplication::setWindowIcon(QIcon(u":/icons/velmora.svg"_s));
    const CommandLine commandLine = CommandLine::parse(QCoreApplication::arguments());
    if (const auto code = answered(commandLine))
        return *code;
    installMonospaceFontSubstitutions();
    logArguments(argc, argv);
    QSettings store(Config::organizationName(), Config::applicationName());
    // Asked in the opposite order, so the program's own texts come first.
    QTranslator libraryTranslator;
    InterfaceLanguage::loadLibraryTexts(libraryTranslator, store);
    QCoreApplication::installTranslator(&libraryTranslator);
    QTranslator translator;
    InterfaceLanguage::load(translator, store);
    QCoreApplication::installTranslator(&translator);
    Program program(commandLine, store);
    QTimer::singleShot(0, &program, &Program::settleConfigFolder);
    return QApplication::exec();
}
