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
        : plan_(plan)
        , file_(file)
        , random_(plan.seed)
        , source_(file)
        , codec_(plan.role, plan.protocol, plan.block)
    {
        codec_.setSource(&source_);
        codec_.setSink(&sink_);
        tickTimer_.setSingleShot(true);
        connect(
            &tickTimer_, &QTimer::timeout, this, [this] { apply(codec_.tick(clock_.elapsed())); });
    }

    ~LrzszRun() override
    {
        readable_.reset();
        writable_.reset();
        if (socket_ >= 0) {
            ::close(socket_);
        }
        process_.kill();
        process_.waitForFinished(2000);
    }

    bool start()
    {
        int pair[2] = {};
        if (!dir_.isValid()
            || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) != 0) {
            return false;
        }
        QStringList arguments = plan_.command.mid(1);
        const bool peerSends = plan_.role == XmodemCodec::Role::Receiver;
        if (peerSends) {
            QFile peerFile(filePath());
            if (!peerFile.open(QIODevice::WriteOnly) || peerFile.write(file_) != file_.size()) {
                return false;
            }
        }
        if (peerSends || !xferIsYmodem(plan_.protocol)) {
            arguments << u"file.bin"_s;
        }
        socket_ = pair[0];
        process_.setWorkingDirectory(dir_.path());
        process_.setStandardErrorFile(QProcess::nullDevice());
        process_.setChildProcessModifier([peer = pair[1]] {
            // lrzsz expects a line that blocks.
            fcntl(peer, F_SETFL, 0);
            dup2(peer, STDIN_FILENO);
            dup2(peer, STDOUT_FILENO);
        });
        process_.start(plan_.command.first(), arguments);
        const bool started = process_.waitForStarted(5000);
        ::close(pair[1]);
        readable_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
        writable_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Write);
        writable_->setEnabled(false);
        connect(readable_.get(), &QSocketNotifier::activated, this, [this] { readSocket(); });
        connect(writable_.get(), &QSocketNotifier::activated, this, [this] { writeSocket(); });
        clock_.start();
        apply(codec_.begin({u"file.bin"_s, file_.size(), 1'700'000'000}, 0));
        return started;
    }

    // Both ends are through.
    bool finished() const
    {
        return (last_.done || last_.failed) && process_.state() == QProcess::NotRunning;
    }

    // Empty when the file arrived byte for byte, padding of XMODEM apart; else what went wrong.
    QString problem()
    {
        if (!finished()) {
            return u"not over: state %1, peer %2"_s.arg(qint32(codec_.state()))
                .arg(process_.state());
        }
        if (!last_.done) {
            return last_.message;
        }
        if (process_.exitStatus() != QProcess::NormalExit || process_.exitCode() != 0) {
            return u"the peer ended with %1"_s.arg(process_.exitCode());
        }
        QByteArray arrived = sink_.bytes;
        if (plan_.role == XmodemCodec::Role::Sender) {
            QFile peerFile(filePath());
            if (!peerFile.open(QIODevice::ReadOnly)) {
                return u"the peer saved nothing"_s;
            }
            arrived = peerFile.readAll();
        }
        const qsizetype padding = arrived.size() - file_.size();
        const qsizetype most = xferIsYmodem(plan_.protocol) ? 0 : XmodemFrame::LongData - 1;
        const bool same = padding >= 0 && padding <= most
                          && arrived == file_.leftJustified(arrived.size(), XmodemFrame::Sub);
        return same ? QString()
                    : u"the file differs: %1 bytes of %2"_s.arg(arrived.size()).arg(file_.size());
    }

    int damagedBytes() const { return damagedBytes_; }

private:
    QString filePath() const { return dir_.filePath(u"file.bin"_s); }

    void readSocket()
    {
        char buffer[4096];
        const ssize_t count = ::read(socket_, buffer, sizeof buffer);
        if (count > 0) {
            apply(codec_.receive(hurt(QByteArray(buffer, count)), clock_.elapsed()));
        } else if (count == 0 || errno != EAGAIN) {
            readable_->setEnabled(false);
        }
    }

    void writeSocket()
    {
        const ssize_t count =
            ::send(socket_, outgoing_.constData(), size_t(outgoing_.size()), MSG_NOSIGNAL);
        if (count < 0 && errno == EAGAIN) {
            return;
        }
        outgoing_.remove(0, count < 0 ? outgoing_.size() : count);
        if (outgoing_.isEmpty()) {
            writable_->setEnabled(false);
            apply(codec_.onEgressDrained(clock_.elapsed()));
        }
    }

    void apply(XferStep step)
    {
        if (last_.done || last_.failed) {
            return;
        }
        tickTimer_.stop();
        if (step.waitMs >= 0) {
            tickTimer_.start(step.waitMs);
        }
        outgoing_ += hurt(step.bytes);
        last_ = std::move(step);
        if (!outgoing_.isEmpty()) {
            writable_->setEnabled(true);
        }
    }

    QByteArray hurt(QByteArray bytes)
    {
        for (char& byte : bytes) {
            if (plan_.damage > 0 && random_.generateDouble() < plan_.damage) {
                byte = static_cast<char>(byte ^ random_.bounded(1, 256));
                ++damagedBytes_;
            }
        }
        return bytes;
    }

    const Plan plan_;
    const QByteArray file_;
    QTemporaryDir dir_;
    QProcess process_;
    int socket_ = -1;
    std::unique_ptr<QSocketNotifier> readable_;
    std::unique_ptr<QSocketNotifier> writable_;
    QTimer tickTimer_;
    QElapsedTimer clock_;
    QRandomGenerator random_;
    MemorySource source_;
    MemorySink sink_;
    XmodemCodec codec_;
    XferStep last_;
    QByteArray outgoing_;
    int damagedBytes_ = 0;
};

constexpr auto Send = XmodemCodec::Role::Sender;
constexpr auto Receive = XmodemCodec::Role::Receiver;

struct Pairing
{
    const char* name;
    XmodemCodec::Role role;
    XferProtocol protocol;
    qint32 block;
    const char* command;
};
constexpr Pairing pairings[] = {
    {"XMODEM to rx", Send, XferProtocol::Xmodem, 1024, "rx -b"},
    {"XMODEM-CRC to rx", Send, XferProtocol::XmodemCrc, 1024, "rx -b -c"},
    {"XMODEM-1K to rx", Send, XferProtocol::Xmodem1K, 1024, "rx -b -c"},
    {"YMODEM to rb", Send, XferProtocol::Ymodem, 1024, "rb -b"},
    {"YMODEM/128 to rb", Send, XferProtocol::Ymodem, 128, "rb -b"},
    {"XMODEM from sx", Receive, XferProtocol::Xmodem, 1024, "sx -b"},
    {"XMODEM-CRC from sx", Receive, XferProtocol::XmodemCrc, 1024, "sx -b"},
    {"XMODEM-1K from sx", Receive, XferProtocol::Xmodem1K, 1024, "sx -b -k"},
    {"YMODEM from sb", Receive, XferProtocol::Ymodem, 1024, "sb -b"},
    {"YMODEM-1K from sb", Receive, XferProtocol::Ymodem, 1024, "sb -b -k"},
    {"YMODEM-G from sb", Receive, XferProtocol::YmodemG, 1024, "sb -b -k"},
};

} // namespace

class TestLrzszPeer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void transfer_data();
    void transfer();
    void cleanupTestCase() { runs_.clear(); }

private:
    std::map<std::string, std::unique_ptr<LrzszRun>> runs_;
};

// All runs start together: a retry of lrzsz costs seconds of silence, not of work.
void TestLrzszPeer::initTestCase()
{
    if (QStandardPaths::findExecutable(u"rx"_s).isEmpty()) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), "lrzsz is not installed");
        QSKIP("lrzsz is not installed");
    }
    quint32 seed = 0;
    for (const Pairing& p : pairings) {
        for (const double damage : {0.0, 1e-4}) {
            if (damage > 0 && p.protocol == XferProtocol::YmodemG) {
                continue; // repairs nothing by design
            }
            const LrzszRun::Plan plan{p.role, p.protocol, p.block,
                QString::fromLatin1(p.command).split(u' '), damage, ++seed};
            // Neither a whole number of blocks nor without every value of a byte; 300 short blocks.
            auto run = std::make_unique<LrzszRun>(plan, randomBytes(300 * 128 + 77, seed));
            QVERIFY(run->start());
            runs_[std::string(p.name) + (damage > 0 ? ", damaged" : "")] = std::move(run);
        }
    }
}

void TestLrzszPeer::transfer_data()
{
    QTest::addColumn<LrzszRun*>("run");
    for (const auto& [name, run] : runs_) {
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
