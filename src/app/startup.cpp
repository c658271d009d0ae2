#include "app/startup.h"

#include "app/commandline.h"
#include "app/interfacelanguage.h"
#include "app/mainwindow.h"
#include "app/setconfigfilepathdialog.h"
#include "app/terminationsignals.h"
#include "app/windowgeometry.h"
#include "connections/systemportcatalog.h"
#include "settings/config.h"
#include "terminal/view/displayfonts.h"

#include <QApplication>
#include <QDebug>
#include <QIcon>
#include <QScreen>
#include <QSettings>
#include <QTranslator>
#include <chrono>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Long enough for the first layout and for fonts to be there.
constexpr auto screenshotDelay = 1500ms;
constexpr QRect screenshotGeometry(80, 80, 1280, 800);

void setIdentity()
{
    QCoreApplication::setOrganizationName(Config::organizationName());
    QCoreApplication::setOrganizationDomain(Config::organizationDomain());
    QCoreApplication::setApplicationName(Config::applicationName());
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    QGuiApplication::setWindowIcon(QIcon(u":/icons/velmora.svg"_s));
}

void logArguments(int argc, char** argv)
{
    qDebug() << "argc:" << argc;
    for (int i = 0; i < argc; ++i)
        qDebug().noquote() << u"argv[%1]:"_s.arg(i) << QString::fromLocal8Bit(argv[i]);
}

// False when the person would not name a folder.
bool settleConfigFolder(QSettings& store)
{
    if (!SetConfigFilePathDialog::storedPath(store).isEmpty())
        return true;
    SetConfigFilePathDialog dialog(store);
    dialog.setWindowTitle(Config::applicationName());
    return dialog.exec() == QDialog::Accepted;
}

void saveScreenshot(QWidget& window, const QString& path)
{
    if (QWidget* focus = QApplication::focusWidget(); focus != nullptr)
        focus->clearFocus();
    const bool saved = window.grab().save(path);
    qDebug() << "screenshot" << path << (saved ? "saved" : "FAILED");
    QCoreApplication::exit(saved ? 0 : 1);
}

void obeyCommandLine(MainWindow& window, const CommandLine& commandLine)
{
    if (!commandLine.sessionFile.isEmpty())
        window.loadFile(commandLine.sessionFile);
    if (!commandLine.screenshotPath.isEmpty()) {
        window.resize(screenshotGeometry.size());
        window.move(screenshotGeometry.topLeft());
        window.raise();
        window.activateWindow();
        QTimer::singleShot(screenshotDelay, &window,
            [&window, path = commandLine.screenshotPath] { saveScreenshot(window, path); });
    } else if (!commandLine.portName.isEmpty()) {
        window.start(commandLine.portName, false);
    }
}

QSize availableSize()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableSize() : QSize();
}

} // namespace

int qMain(int argc, char** argv)
{
    // Destroyed in the opposite order: the window writes its last settings while the store and
    // the translator still are.
    const QApplication application(argc, argv);
    setIdentity();
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
    if (!settleConfigFolder(store))
        return 0;
    SystemPortCatalog catalog;
    const CommandLine commandLine = CommandLine::parse(QCoreApplication::arguments());
    MainWindow window(catalog, commandLine.sessionFile.isEmpty()
                                   ? MainWindow::Restore::LastConnection
                                   : MainWindow::Restore::Nothing);
    WindowGeometry::load(store).applyTo(window, availableSize());
    window.show();
    const TerminationSignals termination;
    QObject::connect(&termination, &TerminationSignals::received, &window, [&window] {
        window.closeUnasked();
        QCoreApplication::exit(0); // also out of a dialog
    });
    obeyCommandLine(window, commandLine);
    return QApplication::exec();
}
