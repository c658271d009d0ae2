// The engine against lrzsz, a different implementation of the same protocols: both directions,
// every variant that it offers, over a clean line and one that damages a byte in ten thousand.

#include "transfer/lrzszrun.h"

#include <QStandardPaths>
#include <QTest>
#include <map>
#include <string>

using namespace Qt::Literals::StringLiterals;

namespace {

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
