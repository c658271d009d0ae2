// A bridge between a serial port and a TCP server under everything at once: floods both ways, a
// capture, a client that connects and resets every second, a serial device unplugged every ten.
// In the end every byte must be found at the other end or in a counter.
//
//   soak_bridge [SECONDS]     600 by default; exit status 0 when everything adds up
#include "bridge/bridgemanager.h"
#include "connections/connectioncontroller.h"
#include "connections/systemportcatalog.h"
#include "support/nullmodem.h"
#include "support/tcppeer.h"

#include <QCoreApplication>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kBlockBytes = 4096;
constexpr qint64 kFewBytes = 32'768;
constexpr int kPluggedMs = 9000;
constexpr int kUnpluggedMs = 1000;

class Soak final
{
public:
    Soak()
        : m_device(m_cable.portB())
    {
        Settings settings;
        settings.portName = m_cable.portA();
        m_serial.setSettings(settings, LivePort::Origin::Program);
        m_serial.setAutoReconnect(true);
        settings.connMode = connectionMode::TcpServer;
        settings.targetPort = 0;
        m_server.setSettings(settings, LivePort::Origin::Program);
        m_bridges.setPorts({&m_serial, &m_server});
        BridgeConfig config;
        config.fanout = FanoutMode::Shared;
        config.logEnabled = true;
        config.logFilePath = m_folder.filePath(u"capture"_s);
        m_bridges.addLink(config);
        m_device.open(QIODevice::ReadWrite);
        m_serial.start(false);
        m_server.start(false);
        const ConnectionController* line = &m_serial.controller();
        QObject::connect(line, &ConnectionController::bytesWritten, line,
            [this](qint64 bytes) { m_leftSerial += bytes; });
        QObject::connect(line, &ConnectionController::bytesDiscarded, line,
            [this](const QString&, qint64 bytes) { m_discardedSerial += bytes; });
        m_clients.connectTo(m_server.controller().tcpServerPort());
        every(1, [this] { flood(); });
        every(1000, [this] { connectAndReset(); });
        every(kPluggedMs + kUnpluggedMs, [this] { unplug(); });
    }

    void stopFlood() { m_flooding = false; }

    // What does not add up, in words.
    [[nodiscard]] QStringList faults()
    {
        const BridgeLink& link = *m_bridges.linkAt(0);
        const BridgeCounters up = link.counters(BridgeSide::A);
        const BridgeCounters down = link.counters(BridgeSide::B);
        std::printf(
            "device to clients: %lld in, %lld out, %lld dropped, %lld discarded\n"
            "clients to device: %lld in, %lld out, %lld dropped, %lld discarded, %lld lost\n",
            up.bytesIn, up.bytesOut, up.droppedBytes, up.discardedBytes, down.bytesIn,
            down.bytesOut, down.droppedBytes, down.discardedBytes, down.lostBytes);
        m_found += m_clients.takeReceived(0).size();
        QStringList faults;
        const auto expect = [&faults](const QString& what, qint64 is, qint64 shouldBe) {
            if (is != shouldBe)
                faults += u"%1: %2, not %3"_s.arg(what).arg(is).arg(shouldBe);
        };
        expect(u"received from the device"_s, up.bytesIn, m_serial.receivedBytes());
        expect(u"received from clients"_s, down.bytesIn, m_server.receivedBytes());
        for (const BridgeCounters& way : {up, down}) {
            expect(u"accounted for"_s,
                way.bytesOut + way.queuedBytes + way.droppedBytes + way.discardedBytes,
                way.bytesIn);
        }
        expect(u"at the client that stayed"_s, m_found, up.bytesOut);
        expect(u"left the serial port"_s,
            m_leftSerial + m_discardedSerial + m_serial.pendingBytes(), down.bytesOut);
        if (up.bytesOut == 0 || down.bytesOut == 0)
            faults += u"nothing passed"_s;
        return faults;
    }

private:
    template<class Work>
    void every(int ms, Work work)
    {
        auto* timer = new QTimer(&m_timers);
        QObject::connect(timer, &QTimer::timeout, &m_timers, work);
        timer->start(ms);
    }

    void flood()
    {
        m_found += m_clients.takeReceived(0).size();
        m_device.readAll();
        if (!m_flooding)
            return;
        if (m_device.bytesToWrite() < kFewBytes)
            m_device.write(QByteArray(kBlockBytes, 'u'));
        if (m_clients.unsent(0) < kFewBytes)
            m_clients.send(QByteArray(kBlockBytes, 'd'), 0);
    }

    void connectAndReset()
    {
        if (m_guest >= 0)
            m_clients.reset(m_guest);
        m_guest = m_flooding ? m_clients.connectTo(m_server.controller().tcpServerPort()) : -1;
    }

    void unplug()
    {
        if (!m_flooding)
            return;
        m_cable.unplug(NullModem::End::A);
        QTimer::singleShot(
            kUnpluggedMs, &m_timers, [this] { m_cable.plugBack(NullModem::End::A); });
    }

    QTemporaryDir m_folder;
    NullModem m_cable;
    QSerialPort m_device;
    SystemPortCatalog m_catalog;
    LivePort m_serial{m_catalog};
    LivePort m_server{m_catalog};
    BridgeManager m_bridges;
    TcpPeer m_clients;
    QObject m_timers;
    qint64 m_found = 0;
    qint64 m_leftSerial = 0;
    qint64 m_discardedSerial = 0;
    int m_guest = -1;
    bool m_flooding = true;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int seconds = arguments.size() > 1 ? arguments.at(1).toInt() : 600;
    Soak soak;
    QTimer::singleShot(seconds * 1000, &application, [&soak] { soak.stopFlood(); });
    // What is on its way arrives before anything is counted.
    QTimer::singleShot(seconds * 1000 + 5000, &application, &QCoreApplication::quit);
    QCoreApplication::exec();
    const QStringList faults = soak.faults();
    for (const QString& fault : faults)
        std::printf("FAULT %s\n", qPrintable(fault));
    return faults.isEmpty() ? 0 : 1;
}
