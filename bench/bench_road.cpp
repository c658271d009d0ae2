// The road of received bytes, offscreen, as fast as they can be taken. "sink" ends at the pipeline,
// with a display that only measures; "view" is the whole pane. A thread plays the device. One
// iteration carries kBytes. What is printed beside the rate:
//
//   cat       MB/s at which the same bytes come from the same kind of device with read() alone
//   of_cat    the rate as a part of that
//   ns/B      processor time of the thread, reading included; other programs do not change it much
//   turn99    milliseconds that 99 of 100 waits for a timer of 1 ms took too long; turnMax: the
//   worst key99     milliseconds from a key press to its byte on the wire during the flood; keyMax
#include "connections/connectioncontroller.h"
#include "connections/serialportcatalog.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/port/displaysink.h"
#include "terminal/port/liveport.h"
#include "terminal/port/portlog.h"
#include "terminal/view/receiveview.h"

#include "loopprobe.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <time.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kBytes = 64 * 1024 * 1024;

enum Kind { Text, Hexadecimal, Colours, Stamps, Random, Logged, KindCount };
constexpr std::array kNames{"text", "hexadecimal", "colours", "stamps", "random", "logged"};

class AnyPort final : public SerialPortCatalog
{
public:
    QList<SerialPortDescription> ports() const override { return {}; }
    bool contains(const QString&) const override { return true; }
};

QByteArray payload(int kind)
{
    QByteArray bytes;
    bytes.reserve(kBytes + 128);
    QRandomGenerator random(1);
    for (int line = 0; bytes.size() < kBytes; ++line) {
        if (kind == Random) {
            const quint64 some = random.generate64();
            bytes.append(reinterpret_cast<const char*>(&some), sizeof some);
            continue;
        }
        if (kind == Colours)
            bytes += "\x1b[3" + QByteArray::number(line % 8) + "m";
        bytes += "line " + QByteArray::number(line).rightJustified(10, '0')
                 + " of a device that has a lot to say today\r\n";
    }
    bytes.truncate(kBytes);
    return bytes;
}

// A raw pseudo-terminal. A thread writes to its master, presses a key every now and then and takes
// the time until the key's byte comes out.
class Device final
{
public:
    Device()
        : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        ::grantpt(m_master);
        ::unlockpt(m_master);
        m_slave = ::open(::ptsname(m_master), O_RDWR | O_NOCTTY);
        termios raw{};
        ::tcgetattr(m_slave, &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(m_slave, TCSANOW, &raw);
    }
    ~Device()
    {
        join();
        ::close(m_slave);
        ::close(m_master);
    }
    [[nodiscard]] QString name() const { return QString::fromLocal8Bit(::ptsname(m_master)); }
    [[nodiscard]] int slave() const { return m_slave; }
    void pressKeysOn(QObject* view) { m_view = view; }
    void send(const QByteArray& bytes)
    {
        join();
        m_thread = std::thread([this, bytes] { write(bytes); });
    }
    void join()
    {
        if (m_thread.joinable())
            m_thread.join();
    }
    // While no thread runs.
    std::vector<double> keyMs;

private:
    void write(const QByteArray& bytes)
    {
        m_clock.start();
        m_pressed = -1;
        for (qsizetype at = 0; at < bytes.size();) {
            pollfd ready{m_master, POLLIN | POLLOUT, 0};
            ::poll(&ready, 1, 100);
            if ((ready.revents & POLLIN) != 0)
                takeEcho();
            const ssize_t n = ::write(m_master, bytes.constData() + at,
                std::size_t(std::min<qsizetype>(bytes.size() - at, 65536)));
            at += std::max<ssize_t>(n, 0);
            if (m_view != nullptr && m_pressed < 0 && m_clock.elapsed() >= 37)
                press();
        }
        if (m_pressed >= 0) {
            pollfd ready{m_master, POLLIN, 0};
            ::poll(&ready, 1, 1000);
            takeEcho();
        }
    }
    void press()
    {
        m_clock.start();
        m_pressed = m_clock.nsecsElapsed();
        QCoreApplication::postEvent(
            m_view, new QKeyEvent(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, u"a"_s));
    }
    void takeEcho()
    {
        std::array<char, 64> bytes;
        if (::read(m_master, bytes.data(), bytes.size()) <= 0 || m_pressed < 0)
            return;
        keyMs.push_back(double(m_clock.nsecsElapsed() - m_pressed) / 1e6);
        m_pressed = -1;
        m_clock.start();
    }

    int m_master;
    int m_slave = -1;
    std::thread m_thread;
    QObject* m_view = nullptr;
    QElapsedTimer m_clock;
    qint64 m_pressed = -1;
};

// Of this thread.
double cpuSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

// Seconds that the bytes take with nothing but read().
double secondsOfCat(const QByteArray& bytes)
{
    Device device;
    QElapsedTimer clock;
    clock.start();
    device.send(bytes);
    std::array<char, 65536> buffer;
    for (qsizetype at = 0; at < bytes.size();)
        at += std::max<ssize_t>(::read(device.slave(), buffer.data(), buffer.size()), 0);
    return double(clock.nsecsElapsed()) / 1e9;
}

class CountingSink final : public DisplaySink
{
public:
    void append(const QString& text, Ink /*ink*/, const QList<HexSpan>& /*bytes*/) override
    {
        m_length += text.size();
    }
    void trimFront(qint64 characters) override { m_length -= characters; }
    void clearText() override { m_length = 0; }
    qint64 textLength() const override { return m_length; }
    void forceScrollToEnd() override {}

private:
    qint64 m_length = 0;
};

FormatSetting formatOf(FormatSetting format, int kind, const QTemporaryDir& dir)
{
    format.receiveMsgFormat = kind == Hexadecimal ? 1 : 2;
    format.displayMsgTime = kind == Stamps;
    format.logSaveFlag = kind == Logged;
    format.logFilePath = dir.filePath(u"road.log"_s);
    format.logRotateAtSize = false;
    return format;
}

// Lets the device send, and runs the event loop until all has been shown.
template<typename Shown>
void run(benchmark::State& state, Device& device, const QByteArray& bytes, Shown shown)
{
    double seconds = 0;
    qint64 expected = 0;
    const double cpuBefore = cpuSeconds();
    const LoopProbe probe;
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        device.send(bytes);
        expected += bytes.size();
        while (!shown(expected))
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        seconds += double(clock.nsecsElapsed()) / 1e9;
        device.join();
    }
    state.counters["turn99"] = LoopProbe::percentile(probe.lateMs(), 0.99);
    state.counters["turnMax"] = LoopProbe::percentile(probe.lateMs(), 1);
    state.counters["ns/B"] = (cpuSeconds() - cpuBefore) * 1e9 / double(expected);
    double catSeconds = 0;
    for (qint64 read = 0; read < expected; read += bytes.size())
        catSeconds += secondsOfCat(bytes);
    if (!device.keyMs.empty()) {
        state.counters["key99"] = LoopProbe::percentile(device.keyMs, 0.99);
        state.counters["keyMax"] = LoopProbe::percentile(device.keyMs, 1);
    }
    state.counters["MB/s"] = double(expected) / 1e6 / seconds;
    state.counters["cat"] = double(expected) / 1e6 / catSeconds;
    state.counters["of_cat"] = catSeconds / seconds;
}

// Whether the log holds all that was sent, so many times, and nothing else.
bool isComplete(const QString& fileName, QByteArray sent, qint64 times)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray content = file.readAll();
    const qsizetype launch = content.indexOf("\nLaunch at: ");
    const qsizetype begin = content.indexOf('\n', launch + 1) + 1;
    return content.sliced(begin) == sent.repeated(times);
}

void ptyToSink(benchmark::State& state)
{
    const int kind = int(state.range(0));
    state.SetLabel(kNames[std::size_t(kind)]);
    const QTemporaryDir dir;
    CountingSink sink;
    AnyPort catalog;
    LivePort port(catalog);
    port.setDisplay(&sink);
    Device device;
    Settings settings;
    settings.portName = device.name();
    port.setRecords(settings, formatOf({}, kind, dir), LivePort::Origin::Program);
    if (!port.start(true))
        return state.SkipWithError("the pseudo-terminal did not open");
    const QByteArray bytes = payload(kind);
    run(state, device, bytes, [&](qint64 expected) {
        return port.receivedBytes() >= expected && port.waitingBytes() == 0;
    });
    if (kind != Logged)
        return;
    while (port.log().unwrittenBytes() > 0) {
        if (!port.flushLog(nullptr))
            break;
    }
    if (!isComplete(port.log().currentLogFile(), bytes, port.receivedBytes() / bytes.size()))
        state.SkipWithError("the log is not what was sent");
}

void ptyToView(benchmark::State& state)
{
    const int kind = int(state.range(0));
    state.SetLabel(kNames[std::size_t(kind)]);
    const QTemporaryDir dir;
    AnyPort catalog;
    SerialPortWidget pane(catalog);
    pane.resize(1000, 700);
    pane.show();
    pane.setFormatSetting(formatOf(pane.formatSetting(), kind, dir));
    Device device;
    if (!pane.start(device.name(), true))
        return state.SkipWithError("the pseudo-terminal did not open");
    device.pressKeysOn(pane.findChild<ReceiveView*>());
    run(state, device, payload(kind), [&](qint64 expected) {
        return pane.receivedBytes() >= expected && pane.waitingBytes() == 0;
    });
}

} // namespace

BENCHMARK(ptyToSink)->DenseRange(0, KindCount - 1)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(ptyToView)->DenseRange(0, KindCount - 1)->Unit(benchmark::kMillisecond)->Iterations(2);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    const QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
