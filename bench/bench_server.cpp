// One server pane with 200 clients at once, each of which sends and receives a stream of numbered
// lines of its own: what arrives is compared byte by byte, at both ends. Prints the throughput and
// the longest time that the event loop was away. One iteration carries kBytesEach for each client
// and direction.
#include "connections/connectioncontroller.h"
#include "connections/serialportcatalog.h"
#include "terminal/pane/serialportwidget.h"

#include "loopprobe.h"

#include <QApplication>
#include <QHash>
#include <QStandardPaths>
#include <QTcpSocket>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

class NoPorts final : public SerialPortCatalog
{
public:
    QList<SerialPortDescription> ports() const override { return {}; }
};

constexpr int kClients = 200;
constexpr qsizetype kBytesEach = qsizetype{64} * 1024;
constexpr qsizetype kBlock = 1000; // cuts lines anywhere

QByteArray numbered(int client, char direction)
{
    QByteArray bytes;
    bytes.reserve(kBytesEach + 32);
    for (int line = 0; bytes.size() < kBytesEach; ++line)
        bytes += QByteArray::number(client) + direction + QByteArray::number(line) + '\n';
    bytes.truncate(kBytesEach);
    return bytes;
}

// The next block of a stream; empty at its end.
QByteArray blockAt(const QByteArray& stream, qsizetype& at)
{
    const QByteArray block = stream.mid(at, kBlock);
    at += block.size();
    return block;
}

// A client and, beside it, what the server has to do with it.
struct Client
{
    QTcpSocket socket;
    QString key;
    QByteArray up;
    QByteArray down;
    qsizetype sentUp = 0;
    qsizetype sentDown = 0;
    QByteArray heardUp;
    QByteArray heardDown;
};

class Load final
{
public:
    // `write` sends to the client of a key.
    using Write = std::function<void(const QString& key, const QByteArray& bytes)>;

    Load(quint16 port, Write write)
        : m_write(std::move(write))
    {
        for (int i = 0; i < kClients; ++i) {
            auto client = std::make_unique<Client>();
            client->up = numbered(i, '>');
            client->down = numbered(i, '<');
            Client* own = client.get();
            QObject::connect(&own->socket, &QTcpSocket::readyRead, &own->socket,
                [own] { own->heardDown += own->socket.readAll(); });
            own->socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
            m_clients.push_back(std::move(client));
        }
        while (!allConnected())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        for (const auto& client : m_clients) {
            client->key = QStringLiteral("127.0.0.1:%1").arg(client->socket.localPort());
            m_byKey.insert(client->key, client.get());
        }
    }

    void heard(const QString& key, const QByteArray& bytes)
    {
        if (Client* client = m_byKey.value(key))
            client->heardUp += bytes;
    }

    void run()
    {
        for (const auto& client : m_clients) {
            client->sentUp = client->sentDown = 0;
            client->heardUp.clear();
            client->heardDown.clear();
        }
        while (!complete()) {
            for (const auto& client : m_clients) {
                if (client->socket.bytesToWrite() < kBlock)
                    client->socket.write(blockAt(client->up, client->sentUp));
                // As a device does: the next block once the client has most of the last ones.
                if (client->sentDown - client->heardDown.size() < 8 * kBlock)
                    m_write(client->key, blockAt(client->down, client->sentDown));
            }
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    [[nodiscard]] bool intact() const
    {
        return std::all_of(m_clients.begin(), m_clients.end(), [](const auto& client) {
            return client->heardUp == client->up && client->heardDown == client->down;
        });
    }

private:
    [[nodiscard]] bool allConnected() const
    {
        return std::all_of(m_clients.begin(), m_clients.end(), [](const auto& client) {
            return client->socket.state() == QAbstractSocket::ConnectedState;
        });
    }
    [[nodiscard]] bool complete() const
    {
        return std::all_of(m_clients.begin(), m_clients.end(), [](const auto& client) {
            return client->heardUp.size() >= client->up.size()
                   && client->heardDown.size() >= client->down.size();
        });
    }

    Write m_write;
    std::vector<std::unique_ptr<Client>> m_clients;
    QHash<QString, Client*> m_byKey;
};

void serverPane(benchmark::State& state)
{
    NoPorts catalog;
    SerialPortWidget pane(catalog);
    pane.resize(1000, 700);
    pane.show();
    Settings settings = pane.settings();
    settings.connMode = connectionMode::TcpServer;
    settings.targetPort = 0;
    pane.setSettings(settings);
    if (!pane.start({}, true))
        return state.SkipWithError("the server did not start");
    ConnectionController& controller = pane.port().controller();
    Load load(controller.tcpServerPort(), [&](const QString& key, const QByteArray& bytes) {
        controller.sendTcpServerTo(key, bytes);
    });
    QObject::connect(&pane.port(), &LivePort::rxTapped, &pane,
        [&](const QByteArray& bytes, const QString& key) { load.heard(key, bytes); });
    while (controller.tcpServerClients().size() < kClients)
        QCoreApplication::processEvents();
    const LoopProbe probe;
    for (auto _ : state)
        load.run();
    if (!load.intact())
        state.SkipWithError("bytes were lost, crossed or reordered");
    state.SetBytesProcessed(state.iterations() * 2 * kClients * kBytesEach);
    state.counters["longest_stall_ms"] = LoopProbe::percentile(probe.lateMs(), 1);
}

} // namespace

BENCHMARK(serverPane)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(4);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    const QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
