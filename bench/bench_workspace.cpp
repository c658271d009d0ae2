// The whole window at work: sixteen panes on sixteen pseudo-terminals, each in a process of its
// own, so that every start is a first one. Prints a line for each case and fails when a limit is
// missed. Run it with QT_QPA_PLATFORM=offscreen: what is drawn is drawn, but by no display server.
#include "app/mainwindow.h"
#include "connections/systemportcatalog.h"
#include "settings/sessionfile.h"
#include "settings/settingsservice.h"
#include "terminal/pane/serialportwidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int settleMs = 1500;
constexpr int measureMs = 5000; // once for the processor, once for the event loop

struct Case
{
    const char* name;
    int panes;
    int bytesPerSecond; // of each port
    double maxCpuPercent;
    qint64 maxStallMs;
};

constexpr std::array cases{
    Case{"1 pane, silent", 1, 0, 3, 1000},
    Case{"16 panes, silent", 16, 0, 3, 1000},
    Case{"16 panes at 115200 baud", 16, 11'520, 60, 1000},
    Case{"16 panes at 3 Mbit/s", 16, 300'000, 50, 30},
};
constexpr qint64 maxStartMsOverOnePane = 1000;

struct Result
{
    qint64 startMs;
    double cpuPercent;
    qint64 stallMs;
    double stallCpuMs; // of a stall: of the thread of the event loop alone
    qint64 fed;
    qint64 received;
};

// The far ends of the ports: text at a steady pace, as from devices that never stop.
class Feeder
{
public:
    explicit Feeder(int ports)
    {
        for (int i = 0; i < ports; ++i) {
            const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
            if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
                std::abort();
            m_names.append(QString::fromLocal8Bit(::ptsname(master)));
            // Kept open: a pseudo-terminal whose last user leaves hangs up.
            const int slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
            termios raw{};
            ::tcgetattr(slave, &raw);
            ::cfmakeraw(&raw);
            ::tcsetattr(slave, TCSANOW, &raw);
            m_masters.push_back(master);
        }
    }

    [[nodiscard]] const QStringList& names() const { return m_names; }

    // Feeds for a time; gives how many bytes the ports took.
    qint64 run(int bytesPerSecond, int forMs) const
    {
        const QByteArray line = "sensor 17: temperature 21.375 C, pressure 1013.25 hPa, ok\r\n";
        const QByteArray text = line.repeated(4096);
        std::vector<qint64> fed(m_masters.size(), 0);
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < forMs) {
            const qint64 due = bytesPerSecond * clock.elapsed() / 1000;
            for (std::size_t i = 0; i < m_masters.size(); ++i) {
                const qint64 offset = fed[i] % line.size();
                const qint64 size = std::min<qint64>(due - fed[i], text.size() - offset);
                if (size > 0)
                    fed[i] += std::max<qint64>(
                        ::write(m_masters[i], text.constData() + offset, std::size_t(size)), 0);
            }
            ::poll(nullptr, 0, 2);
        }
        qint64 total = 0;
        for (const qint64 bytes : fed)
            total += bytes;
        return total;
    }

private:
    std::vector<int> m_masters;
    QStringList m_names;
};

double cpuMs(int whose)
{
    rusage usage{};
    ::getrusage(whose, &usage);
    const auto ms = [](const timeval& t) {
        return double(t.tv_sec) * 1e3 + double(t.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

void turnLoopFor(int forMs)
{
    QEventLoop loop;
    QTimer::singleShot(forMs, &loop, &QEventLoop::quit);
    loop.exec();
}

// Turns the event loop for a time and finds the longest time that it did not turn.
void measureStall(int forMs, Result& result)
{
    QElapsedTimer clock;
    clock.start();
    qint64 last = 0;
    double lastCpu = cpuMs(RUSAGE_THREAD);
    QTimer beat;
    beat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&beat, &QTimer::timeout, &beat, [&] {
        const qint64 now = clock.elapsed();
        const double cpu = cpuMs(RUSAGE_THREAD);
        result.stallMs = std::max(result.stallMs, now - last);
        result.stallCpuMs = std::max(result.stallCpuMs, cpu - lastCpu);
        last = now;
        lastCpu = cpu;
    });
    beat.start(1);
    turnLoopFor(forMs);
}

QString writeSession(const QString& folder, const QStringList& ports)
{
    SessionContents contents;
    contents.columnCount = 4;
    contents.quickView = true;
    for (const QString& port : ports) {
        contents.panes.append(
            {SettingsService::defaultPortSettings(port), SettingsService::defaultFormatSettings()});
    }
    QString message;
    const QString path = folder + "/bench.vmr"_L1;
    if (!SessionFile::write(path, contents, message, [](int) {}))
        std::abort();
    return path;
}

qint64 receivedBytes(const MainWindow& window)
{
    qint64 total = 0;
    for (const SerialPortWidget* pane : window.livePortWidgets())
        total += pane->receivedBytes();
    return total;
}

Result measure(const Case& scenario, const Feeder& feeder, int argc, char** argv)
{
    std::array<int, 2> goPipe{};
    std::array<int, 2> fedPipe{};
    if (::pipe(goPipe.data()) != 0 || ::pipe(fedPipe.data()) != 0)
        std::abort();
    if (::fork() == 0) {
        char go = 0;
        if (::read(goPipe[0], &go, 1) != 1)
            ::_exit(1);
        const qint64 fed = feeder.run(scenario.bytesPerSecond, settleMs + 2 * measureMs);
        ::_exit(::write(fedPipe[1], &fed, sizeof fed) == sizeof fed ? 0 : 1);
    }
    QElapsedTimer clock;
    clock.start();
    const QApplication application(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    const QString session = writeSession(folder.path(), feeder.names());
    SystemPortCatalog catalog;
    Result result{};
    {
        MainWindow window(catalog, MainWindow::Restore::Nothing);
        window.resize(scenario.panes > 1 ? QSize(3840, 2160) : QSize(1280, 800));
        window.loadFile(session);
        window.show();
        window.start({}, true);
        QCoreApplication::processEvents();
        result.startMs = clock.elapsed();
        for (const SerialPortWidget* pane : window.livePortWidgets()) {
            if (!pane->isOpen())
                std::abort();
        }
        if (::write(goPipe[1], "g", 1) != 1)
            std::abort();
        turnLoopFor(settleMs);
        const double before = cpuMs(RUSAGE_SELF);
        turnLoopFor(measureMs);
        result.cpuPercent = (cpuMs(RUSAGE_SELF) - before) * 100 / measureMs;
        measureStall(measureMs, result);
        if (::read(fedPipe[0], &result.fed, sizeof result.fed) != sizeof result.fed)
            std::abort();
        turnLoopFor(500);
        result.received = receivedBytes(window);
    }
    return result;
}

Result measureApart(const Case& scenario, int argc, char** argv)
{
    std::array<int, 2> results{};
    if (::pipe(results.data()) != 0)
        std::abort();
    const pid_t child = ::fork();
    if (child == 0) {
        const Result result = measure(scenario, Feeder(scenario.panes), argc, argv);
        ::_exit(::write(results[1], &result, sizeof result) == sizeof result ? 0 : 1);
    }
    ::close(results[1]);
    Result result{};
    const bool whole = ::read(results[0], &result, sizeof result) == sizeof result;
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!whole || status != 0)
        std::abort();
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    bool good = true;
    qint64 onePaneMs = -1;
    for (const Case& scenario : cases) {
        const Result result = measureApart(scenario, argc, argv);
        if (onePaneMs < 0)
            onePaneMs = result.startMs;
        const bool met = result.cpuPercent < scenario.maxCpuPercent
                         && result.stallMs < scenario.maxStallMs && result.received == result.fed
                         && result.startMs - onePaneMs < maxStartMsOverOnePane;
        good = good && met;
        std::printf("%-26s start %4lld ms, cpu %5.1f %%, longest stall %3lld ms (%.0f ms of "
                    "processor time), %lld of %lld "
                    "bytes received%s\n",
            scenario.name, static_cast<long long>(result.startMs), result.cpuPercent,
            static_cast<long long>(result.stallMs), result.stallCpuMs,
            static_cast<long long>(result.received), static_cast<long long>(result.fed),
            met ? "" : "  LIMIT MISSED");
        std::fflush(stdout);
    }
    return good ? 0 : 1;
}
