#include "connections/rfc2217/rfc2217clientsession.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

using State = Rfc2217ClientSession::State;

constexpr const char* kAccepted = "The remote port accepted serial parameter control.";
constexpr const char* kPlainTelnet =
    "The remote does not support serial parameter control; continuing as plain Telnet.";
constexpr const char* kTransparent =
    "The remote is not an RFC 2217 server; continuing as transparent TCP. The handshake bytes may "
    "have reached the remote serial line.";

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

// The com-port commands of some bytes, without their framing, in hexadecimal.
QByteArray commands(const QByteArray& bytes)
{
    return bytes.toHex().replace("fffa2c", "").replace("fff0", " ").trimmed();
}

Settings pushing()
{
    Settings settings;
    settings.useRemoteSerialConfig = false;
    return settings;
}

Rfc2217ClientSession active()
{
    Rfc2217ClientSession session;
    session.begin();
    session.receive(hex("fffd2c"));
    return session;
}

} // namespace

class TestRfc2217ClientSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void negotiation_data()
    {
        QTest::addColumn<QByteArray>("in"); // before the timer fires
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QByteArray>("received"); // of IAC IAC
        QTest::addColumn<QByteArray>("sent");     // of 0xFF
        const QByteArray one = hex("ff");
        const QByteArray two = hex("ffff");
        const auto row = [](const char* name, const char* in, State state, const char* message,
                             const QByteArray& received, const QByteArray& sent) {
            QTest::newRow(name) << hex(in) << state << QString::fromLatin1(message) << received
                                << sent;
        };
        row("nothing", "", State::TransparentTcp, kTransparent, two, one);
        row("data only", "00417f", State::TransparentTcp, kTransparent, two, one);
        row("other options", "fffb01fffd03", State::PlainTelnet, kPlainTelnet, one, two);
        row("refusal", "fffe2cfffc2c", State::PlainTelnet, kPlainTelnet, one, two);
        row("only WILL", "fffe18fffb2c", State::ComPortActive, kAccepted, one, two);
        row("consent", "fffd2c", State::ComPortActive, kAccepted, one, two);
    }

    void negotiation()
    {
        QFETCH(QByteArray, in);
        QFETCH(State, state);
        QFETCH(QString, message);
        Rfc2217ClientSession session;
        QCOMPARE(session.begin().toHex(), "fffb2cfffd2cfffb00fffd00fffb03fffd03");
        QCOMPARE(session.encodePayload(hex("ff")), hex("ffff"));
        QString messages;
        int finished = 0;
        for (const char byte : std::as_const(in)) {
            const auto outcome = session.receive(QByteArray(1, byte));
            messages += outcome.message;
            finished += outcome.negotiationFinished ? 1 : 0;
        }
        const auto due = session.onNegotiationTimeout();
        finished += due.negotiationFinished ? 1 : 0;
        QCOMPARE(session.state(), state);
        QCOMPARE(messages + due.message, message);
        QCOMPARE(finished, 1);
        QTEST(session.receive(hex("ffff")).data, "received");
        QTEST(session.encodePayload(hex("ff")), "sent");
        QCOMPARE(commands(session.breakCommand(true) + session.breakCommand(false)
                          + session.modemStateInquiry()),
            state == State::ComPortActive ? "0505 0506 07 0bf0" : "");
        QCOMPARE(session.settingsUpdate(pushing()).isEmpty(), state != State::ComPortActive);
        // Nothing that comes late changes what was found out.
        const auto late = session.receive(hex("fffe2cfffd2c"));
        QVERIFY(!late.negotiationFinished && late.message.isEmpty());
        session.onNegotiationTimeout();
        QCOMPARE(session.state(), state);
    }

    void settingsUpdate()
    {
        Rfc2217ClientSession session = active();
        Settings settings = pushing();
        QCOMPARE(commands(session.settingsUpdate(settings)),
            "0056656c6d6f7261 0bf0 0100002580 0208 0301 0401 0501 0508 050b");
        QVERIFY(session.settingsUpdate(settings).isEmpty());
        const auto after = [&](auto change) {
            change(settings);
            const QByteArray bytes = session.settingsUpdate(settings);
            return session.settingsUpdate(settings).isEmpty() ? commands(bytes) : "again"_ba;
        };
        QCOMPARE(after([](Settings& s) { s.baudRate = 115'200; }), "010001c200");
        QCOMPARE(after([](Settings& s) { s.dataBits = 7; }), "0207");
        QCOMPARE(after([](Settings& s) { s.parity = 2; }), "0303");
        QCOMPARE(after([](Settings& s) { s.stopBits = 3; }), "0403");
        QCOMPARE(after([](Settings& s) { s.flowControl = 1; }), "0503");
        QCOMPARE(after([](Settings& s) { s.dtrOn = false; }), "0509");
        QCOMPARE(after([](Settings& s) { s.rtsOn = false; }), "050c");
        QCOMPARE(
            after([](Settings& s) { s = pushing(); }), "0100002580 0208 0301 0401 0501 0508 050b");
    }

    // A baud rate of 0 on the wire would ask and not set.
    void settingsNoDeviceTakes()
    {
        Rfc2217ClientSession session = active();
        session.settingsUpdate(pushing());
        Settings settings = pushing();
        settings.baudRate = 0;
        settings.dataBits = 4;
        settings.parity = settings.stopBits = settings.flowControl = 77;
        QCOMPARE(commands(session.settingsUpdate(settings)), "0100000001 0205");
    }

    void remoteConfigKept()
    {
        Rfc2217ClientSession session = active();
        Settings keeping;
        QVERIFY(keeping.useRemoteSerialConfig);
        QCOMPARE(commands(session.settingsUpdate(keeping)),
            "0056656c6d6f7261 0bf0 0100000000 0200 0300 0400 0500 0507 050a");
        keeping.baudRate = 300;
        keeping.dtrOn = false;
        QVERIFY(session.settingsUpdate(keeping).isEmpty());
        // Taking over pushes everything, and does so again after the remote was left alone.
        const QByteArray whole = "0100002580 0208 0301 0401 0501 0508 050b";
        QCOMPARE(commands(session.settingsUpdate(pushing())), whole);
        QVERIFY(session.settingsUpdate(keeping).isEmpty());
        QCOMPARE(commands(session.settingsUpdate(pushing())), whole);
    }

    void reportedValues()
    {
        Rfc2217ClientSession session = active();
        QVERIFY(session.remoteSummary().isEmpty());
        QCOMPARE(session.receive(hex("fffa2c650001c200fff0")).message,
            u"The remote port is now at 115200 baud."_s);
        QCOMPARE(session.remoteSummary(), u"Remote baudrate: 115200"_s);
        QVERIFY(session.receive(hex("fffa2c6607fff0fffa2c6702fff0fffa2c6803fff0fffa2c6903fff0"))
                    .message.isEmpty());
        const QString all = u"Remote baudrate: 115200\nRemote data bits: 7\nRemote parity: Odd\n"
                            "Remote stop bits: 1.5\nRemote flow control: RTS/CTS"_s;
        QCOMPARE(session.remoteSummary(), all);
        // What names no value, the inquiry of a client and the states change nothing.
        QVERIFY(
            session.receive(hex("fffa2c6500000000fff0fffa2c6600fff0fffa2c0208fff0fffa2c6b80fff0"))
                .message.isEmpty());
        QCOMPARE(session.remoteSummary(), all);
        QCOMPARE(session.modemState(), std::optional<quint8>(0x80));
    }

    void confirmationOfLines()
    {
        Rfc2217ClientSession session = active();
        Settings settings = pushing();
        session.settingsUpdate(settings);
        QVERIFY(!session.confirmedDtr() && !session.confirmedRts());
        session.receive(hex("fffa2c6908fff0fffa2c690cfff0"));
        QCOMPARE(session.confirmedDtr(), std::optional(true));
        QCOMPARE(session.confirmedRts(), std::optional(false));
        settings.dtrOn = false;
        session.settingsUpdate(settings);
        QVERIFY(!session.confirmedDtr());
        QCOMPARE(session.confirmedRts(), std::optional(false));
        session.receive(hex("fffa2c6909fff0"));
        QCOMPARE(session.confirmedDtr(), std::optional(false));
    }

    void resetForgetsTheRemote()
    {
        Rfc2217ClientSession session = active();
        const QByteArray first = session.settingsUpdate(pushing());
        session.receive(hex("fffa2c6600fffa2c6607fff0fffa2c6908fff0fffa2c6b80fff0fffa2c"));
        session.reset();
        QCOMPARE(session.state(), State::Negotiating);
        QVERIFY(session.remoteSummary().isEmpty());
        QVERIFY(!session.confirmedDtr() && !session.modemState());
        session.begin();
        QCOMPARE(session.receive(hex("41fffd2c")).data, "A");
        QCOMPARE(session.settingsUpdate(pushing()), first);
    }
};

QTEST_APPLESS_MAIN(TestRfc2217ClientSession)
#include "tst_rfc2217clientsession.moc"
