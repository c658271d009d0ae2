// The whole road of received bytes, from a pseudo-terminal and from a TCP socket to the text in the
// view: everything that runs in the program, offscreen. One iteration carries kBytes.
#include "connections/serialportcatalog.h"
#include "terminal/serialportwidget.h"
#include "terminal/view/receiveview.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr qint64 kBytes = 4 * 1024 * 1024;

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
    for (int line = 0; bytes.size() < kBytes; ++line) {
        if (kind == 2)
            bytes += "\x1b[3" + QByteArray::number(line % 8) + "m";
        bytes += "line " + QByteArray::number(line).rightJustified(10, '0')
                 + " of a device that has a lot to say today\r\n";
    }
    bytes.truncate(kBytes);
    return bytes;
}

// A raw pseudo-terminal whose master is fed as fast as the slave takes it.
class Feeder final : public QObject
{
public:
    Feeder()
        : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
        , m_ready(m_master, QSocketNotifier::Write)
    {
        ::grantpt(m_master);
        ::unlockpt(m_master);
        m_slave = ::open(::ptsname(m_master), O_RDWR | O_NOCTTY);
        termios raw{};
        ::tcgetattr(m_slave, &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(m_slave, TCSANOW, &raw);
        m_ready.setEnabled(false);
        connect(&m_ready, &QSocketNotifier::activated, this, [this] {
            const ssize_t n =
                ::write(m_master, m_bytes.constData() + m_at, std::size_t(m_bytes.size() - m_at));
            m_at += std::max<ssize_t>(n, 0);
            m_ready.setEnabled(m_at < m_bytes.size());
        });
    }
    ~Feeder() override
    {
        ::close(m_slave);
        ::close(m_master);
    }
    [[nodiscard]] QString name() const { return QString::fromLocal8Bit(::ptsname(m_master)); }
    void feed(const QByteArray& bytes)
    {
        m_bytes = bytes;
        m_at = 0;
        m_ready.setEnabled(true);
    }

private:
    int m_master;
    int m_slave = -1;
    QSocketNotifier m_ready;
    QByteArray m_bytes;
    qsizetype m_at = 0;
};

FormatSetting formatOf(const SerialPortWidget& pane, int kind)
{
    FormatSetting format = pane.formatSetting();
    format.receiveMsgFormat = kind == 1 ? 1 : 2;
    format.displayMsgTime = kind == 3;
    return format;
}

// Runs the event loop until everything has arrived and a probe of the next tick has been shown.
void waitFor(const SerialPortWidget& pane, qint64 received)
{
    while (pane.receivedBytes() < received || pane.waitingBytes() > 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void ptyToView(benchmark::State& state)
{
    AnyPort catalog;
    SerialPortWidget pane(catalog);
    pane.resize(1000, 700);
    pane.show();
    pane.setFormatSetting(formatOf(pane, int(state.range(0))));
    Feeder feeder;
    if (!pane.start(feeder.name(), true))
        return state.SkipWithError("the pseudo-terminal did not open");
    const QByteArray bytes = payload(int(state.range(0)));
    qint64 expected = 0;
    for (auto _ : state) {
        feeder.feed(bytes);
        waitFor(pane, expected += bytes.size());
    }
    state.SetBytesProcessed(expected);
}

void tcpToView(benchmark::State& state)
{
    AnyPort catalog;
    QTcpServer server;
    SerialPortWidget pane(catalog);
    pane.resize(1000, 700);
    pane.show();
    pane.setFormatSetting(formatOf(pane, int(state.range(0))));
    if (!server.listen(QHostAddress::LocalHost))
        return state.SkipWithError("no loopback server");
    Settings settings = pane.settings();
    settings.connMode = connectionMode::TcpClient;
    settings.targetPort = server.serverPort();
    pane.setSettings(settings);
    pane.start({}, true);
    while (!server.hasPendingConnections() || !pane.isOpen())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QTcpSocket* peer = server.nextPendingConnection();
    const QByteArray bytes = payload(int(state.range(0)));
    qint64 expected = 0;
    for (auto _ : state) {
        peer->write(bytes);
        waitFor(pane, expected += bytes.size());
    }
    state.SetBytesProcessed(expected);
}

} // namespace

// 0 text, 1 hexadecimal, 2 text with colour sequences, 3 text with time stamps
BENCHMARK(ptyToView)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(4);
BENCHMARK(tcpToView)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(4);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    const QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
