#include "simdevice/device.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/signalfd.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

/// SIGINT, SIGTERM and SIGHUP as a descriptor, so that the link is removed by ordinary destructors.
/// Called before any thread exists. -1 when the system refuses; the signals then end the program.
int makeSignalDescriptor()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0) {
        return -1;
    }
    const int descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor < 0) {
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
    return descriptor;
}

struct Invocation
{
    simdevice::Shell::Options options;
    QString linkPath;
};

Invocation readArguments(const QCoreApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate("main",
        "A serial device made of software, to try a terminal without hardware.\n"
        "Prints the name of its port on the first line; open that port at any speed and type "
        "AT+HELP."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption quiet(
        u"quiet"_s, QCoreApplication::translate("main", "Send no sensor lines until AT+SENSOR=1."));
    const QCommandLineOption interval(u"interval"_s,
        QCoreApplication::translate("main", "Time between sensor lines, %1 to %2 (default 200).")
            .arg(simdevice::Shell::kMinSensorIntervalMs)
            .arg(simdevice::Shell::kMaxSensorIntervalMs),
        u"ms"_s, u"200"_s);
    const QCommandLineOption link(u"link"_s,
        QCoreApplication::translate("main", "Also make a link to the port, removed at the end."),
        u"path"_s);
    parser.addOptions({quiet, interval, link});
    parser.process(application);
    bool ok = false;
    const int intervalMs = parser.value(interval).toInt(&ok);
    if (!ok || intervalMs < simdevice::Shell::kMinSensorIntervalMs
        || intervalMs > simdevice::Shell::kMaxSensorIntervalMs
        || !parser.positionalArguments().isEmpty()) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        std::exit(2);
    }
    return {{!parser.isSet(quiet), intervalMs}, parser.value(link)};
}

} // namespace

int main(int argc, char* argv[])
{
    const int signalDescriptor = makeSignalDescriptor();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"simdevice"_s);
    QCoreApplication::setApplicationVersion(u"1.0"_s);
    const auto invocation = readArguments(application);

    QSocketNotifier signalNotifier(signalDescriptor, QSocketNotifier::Read);
    QObject::connect(&signalNotifier, &QSocketNotifier::activated, &application,
        &QCoreApplication::quit, Qt::QueuedConnection);

    simdevice::Device device(invocation.options);
    QString error;
    if (!device.start(invocation.linkPath, &error)) {
        std::fprintf(stderr, "simdevice: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("%s\n", qPrintable(device.portPath()));
    std::fflush(stdout);
    std::fputs(qPrintable(QCoreApplication::translate(
                   "main", "The device is on. Open %1 in a terminal; Ctrl+C switches it off.\n")
                              .arg(invocation.linkPath.isEmpty() ? device.portPath()
                                                                 : invocation.linkPath)),
        stderr);
    return QCoreApplication::exec();
}
