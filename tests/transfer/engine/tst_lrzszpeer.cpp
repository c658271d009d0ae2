// The engine against lrzsz, a different implementation of the same protocols: both directions,
// every variant that it offers, over a clean line and one that damages a byte in ten thousand.

#include "transfer/engine/memoryfile.h"
#include "transfer/engine/xmodemcodec.h"
#include "transfer/engine/xmodemframe.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// One transfer between the engine and a program of lrzsz, in real time. The program has one end of
// a socket pair as its standard input and output: on a pseudo-terminal its own flushes of the tty
// would lose bytes. Many runs share one event loop, because most of a run is waiting.
class LrzszRun final : public QObject
{
    Q_DISABLE_COPY_MOVE(LrzszRun)

public:
    struct Plan
    {
        XmodemCodec::Role role = XmodemCodec::Role::Sender;
        XferProtocol protocol = XferProtocol::XmodemCrc;
        qint32 block = 1024;
        QStringList command; // program and options; a file name is added where it is needed
        double damage = 0;   // probability for one byte, in both directions
        quint32 seed = 1;
    };

    LrzszRun(const Plan& plan, const QByteArray& file)
        : m_plan(plan)
        , m_file(file)
        , m_random(plan.seed)
        , m_source(file)
        , m_codec(plan.role, plan.protocol, plan.block)
    {
        m_codec.setSource(&m_source);
        m_codec.setSink(&m_sink);
        m_tickTimer.setSingleShot(true);
        connect(&m_tickTimer, &QTimer::timeout, this,
            [this] { apply(m_codec.tick(m_clock.elapsed())); });
    }

    ~LrzszRun() override
    {
        m_readable.reset();
        m_writable.reset();
        if (m_socket >= 0) {
            ::close(m_socket);
        }
        m_process.kill();
        m_process.waitForFinished(2000);
    }

    bool start()
    {
        int pair[2] = {};
        if (!m_dir.isValid()
            || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) != 0) {
            return false;
        }
        QStringList arguments = m_plan.command.mid(1);
        const bool peerSends = m_plan.role == XmodemCodec::Role::Receiver;
        if (peerSends) {
            QFile peerFile(filePath());
            if (!peerFile.open(QIODevice::WriteOnly) || peerFile.write(m_file) != m_file.size()) {
                return false;
            }
        }
        if (peerSends || !xferIsYmodem(m_plan.protocol)) {
            arguments << u"file.bin"_s;
        }
        m_socket = pair[0];
        m_process.setWorkingDirectory(m_dir.path());
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.setChildProcessModifier([peer = pair[1]] {
            // lrzsz expects a line that blocks.
            fcntl(peer, F_SETFL, 0);
            dup2(peer, STDIN_FILENO);
            dup2(peer, STDOUT_FILENO);
        });
        m_process.start(m_plan.command.first(), arguments);
        const bool started = m_process.waitForStarted(5000);
        ::close(pair[1]);
        m_readable = std::make_unique<QSocketNotifier>(m_socket, QSocketNotifier::Read);
        m_writable = std::make_unique<QSocketNotifier>(m_socket, QSocketNotifier::Write);
        m_writable->setEnabled(false);
        connect(m_readable.get(), &QSocketNotifier::activated, this, [this] { readSocket(); });
        connect(m_writable.get(), &QSocketNotifier::activated, this, [this] { writeSocket(); });
        m_clock.start();
        apply(m_codec.begin({u"file.bin"_s, m_file.size(), 1'700'000'000}, 0));
        return started;
    }

    // Both ends are through.
    bool finished() const
    {
        return (m_last.done || m_last.failed) && m_process.state() == QProcess::NotRunning;
    }

    // Empty when the file arrived byte for byte, padding of XMODEM apart; else what went wrong.
    QString problem()
    {
        if (!finished()) {
            return u"not over: state %1, peer %2"_s.arg(qint32(m_codec.state()))
                .arg(m_process.state());
        }
        if (!m_last.done) {
            return m_last.message;
        }
        if (m_process.exitStatus() != QProcess::NormalExit || m_process.exitCode() != 0) {
            return u"the peer ended with %1"_s.arg(m_process.exitCode());
        }
        QByteArray arrived = m_sink.bytes;
        if (m_plan.role == XmodemCodec::Role::Sender) {
            QFile peerFile(filePath());
            if (!peerFile.open(QIODevice::ReadOnly)) {
                return u"the peer saved nothing"_s;
            }
            arrived = peerFile.readAll();
        }
        const qsizetype padding = arrived.size() - m_file.size();
        const qsizetype most = xferIsYmodem(m_plan.protocol) ? 0 : XmodemFrame::kLongData - 1;
        const bool same = padding >= 0 && padding <= most
                          && arrived == m_file.leftJustified(arrived.size(), XmodemFrame::kSub);
        return same ? QString()
                    : u"the file differs: %1 bytes of %2"_s.arg(arrived.size()).arg(m_file.size());
    }

    int damagedBytes() const { return m_damagedBytes; }

private:
    QString filePath() const { return m_dir.filePath(u"file.bin"_s); }

    void readSocket()
    {
        char buffer[4096];
        const ssize_t count = ::read(m_socket, buffer, sizeof buffer);
        if (count > 0) {
            apply(m_codec.receive(hurt(QByteArray(buffer, count)), m_clock.elapsed()));
        } else if (count == 0 || errno != EAGAIN) {
            m_readable->setEnabled(false);
        }
    }

    void writeSocket()
    {
        const ssize_t count =
            ::send(m_socket, m_outgoing.constData(), size_t(m_outgoing.size()), MSG_NOSIGNAL);
        if (count < 0 && errno == EAGAIN) {
            return;
        }
        m_outgoing.remove(0, count < 0 ? m_outgoing.size() : count);
        if (m_outgoing.isEmpty()) {
            m_writable->setEnabled(false);
            apply(m_codec.onEgressDrained(m_clock.elapsed()));
        }
    }

    void apply(XferStep step)
    {
        if (m_last.done || m_last.failed) {
            return;
        }
        m_tickTimer.stop();
        if (step.waitMs >= 0) {
            m_tickTimer.start(step.waitMs);
        }
        m_outgoing += hurt(step.bytes);
        m_last = std::move(step);
        if (!m_outgoing.isEmpty()) {
            m_writable->setEnabled(true);
        }
    }

    QByteArray hurt(QByteArray bytes)
    {
        for (char& byte : bytes) {
            if (m_plan.damage > 0 && m_random.generateDouble() < m_plan.damage) {
                byte = static_cast<char>(byte ^ m_random.bounded(1, 256));
                ++m_damagedBytes;
            }
        }
        return bytes;
    }

    const Plan m_plan;
    const QByteArray m_file;
    QTemporaryDir m_dir;
    QProcess m_process;
    int m_socket = -1;
    std::unique_ptr<QSocketNotifier> m_readable;
    std::unique_ptr<QSocketNotifier> m_writable;
    QTimer m_tickTimer;
    QElapsedTimer m_clock;
    QRandomGenerator m_random;
    MemorySource m_source;
    MemorySink m_sink;
    XmodemCodec m_codec;
    XferStep m_last;
    QByteArray m_outgoing;
    int m_damagedBytes = 0;
};

constexpr auto kSend = XmodemCodec::Role::Sender;
constexpr auto kReceive = XmodemCodec::Role::Receiver;

struct Pairing
{
    const char* name;
    XmodemCodec::Role role;
    XferProtocol protocol;
    qint32 block;
    const char* command;
};
constexpr Pairing kPairings[] = {
    {"XMODEM to rx", kSend, XferProtocol::Xmodem, 1024, "rx -b"},
    {"XMODEM-CRC to rx", kSend, XferProtocol::XmodemCrc, 1024, "rx -b -c"},
    {"XMODEM-1K to rx", kSend, XferProtocol::Xmodem1K, 1024, "rx -b -c"},
    {"YMODEM to rb", kSend, XferProtocol::Ymodem, 1024, "rb -b"},
    {"YMODEM/128 to rb", kSend, XferProtocol::Ymodem, 128, "rb -b"},
    {"XMODEM from sx", kReceive, XferProtocol::Xmodem, 1024, "sx -b"},
    {"XMODEM-CRC from sx", kReceive, XferProtocol::XmodemCrc, 1024, "sx -b"},
    {"XMODEM-1K from sx", kReceive, XferProtocol::Xmodem1K, 1024, "sx -b -k"},
    {"YMODEM from sb", kReceive, XferProtocol::Ymodem, 1024, "sb -b"},
    {"YMODEM-1K from sb", kReceive, XferProtocol::Ymodem, 1024, "sb -b -k"},
    {"YMODEM-G from sb", kReceive, XferProtocol::YmodemG, 1024, "sb -b -k"},
};

} // namespace

class TestLrzszPeer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void transfer_data();
    void transfer();
    void cleanupTestCase() { m_runs.clear(); }

private:
    std::map<std::string, std::unique_ptr<LrzszRun>> m_runs;
};

// All runs start together: a retry of lrzsz costs seconds of silence, not of work.
void TestLrzszPeer::initTestCase()
{
    if (QStandardPaths::findExecutable(u"rx"_s).isEmpty()) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), "lrzsz is not installed");
        QSKIP("lrzsz is not installed");
    }
    quint32 seed = 0;
    for (const Pairing& p : kPairings) {
        for (const double damage : {0.0, 1e-4}) {
            if (damage > 0 && p.protocol == XferProtocol::YmodemG) {
                continue; // repairs nothing by design
            }
            const LrzszRun::Plan plan{p.role, p.protocol, p.block,
                QString::fromLatin1(p.command).split(u' '), damage, ++seed};
            // Neither a whole number of blocks nor without every value of a byte; 300 short blocks.
            auto run = std::make_unique<LrzszRun>(plan, randomBytes(300 * 128 + 77, seed));
            QVERIFY(run->start());
            m_runs[std::string(p.name) + (damage > 0 ? ", damaged" : "")] = std::move(run);
        }
    }
}

void TestLrzszPeer::transfer_data()
{
    QTest::addColumn<LrzszRun*>("run");
    for (const auto& [name, run] : m_runs) {
        QTest::newRow(name.c_str()) << run.get();
    }
}

void TestLrzszPeer::transfer()
{
    QFETCH(LrzszRun*, run);
    QTRY_VERIFY2_WITH_TIMEOUT(run->finished(), qPrintable(run->problem()), 90'000);
    const QString problem = run->problem();
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
    const bool damaged = QByteArray(QTest::currentDataTag()).endsWith("damaged");
    QCOMPARE(run->damagedBytes() > 0, damaged);
}

QTEST_GUILESS_MAIN(TestLrzszPeer)
#include "tst_lrzszpeer.moc"
