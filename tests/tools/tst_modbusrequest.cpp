// Requests as they are typed: what goes on the wire, what is refused at which field, and how
// values are read. And the order and the times in which requests go out.
#include "tools/modbuspoll.h"
#include "tools/modbusrequest.h"
#include "tools/modbusstate.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Field = ModbusRequest::Field;
using Modbus::Framing;
using ModbusValues::Order;
using ModbusValues::Type;

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

ModbusRequest requested(
    int function, const QString& address, const QString& quantity = {}, const QString& values = {})
{
    ModbusRequest request;
    request.function = function;
    request.address = address;
    request.quantity = quantity;
    request.values = values;
    return request;
}

ModbusRequest maskWrite()
{
    ModbusRequest request = requested(22, u"4"_s);
    request.andMask = u"0xF2"_s;
    request.orMask = u"0x25"_s;
    return request;
}

ModbusRequest readWrite(const QString& values)
{
    ModbusRequest request = requested(23, u"3"_s, u"6"_s, values);
    request.writeAddress = u"0x0E"_s;
    return request;
}

ModbusRequest oneBased(ModbusRequest request)
{
    request.oneBased = true;
    return request;
}

ModbusRequest raw(const QString& bytes)
{
    ModbusRequest request;
    request.function = ModbusRequest::kCustom;
    request.raw = bytes;
    return request;
}

ModbusRequest ofUnit(const QString& unit)
{
    ModbusRequest request;
    request.unit = unit;
    return request;
}

} // namespace

class TestModbusRequest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The examples of Modbus Application Protocol V1.1b3, chapter 6, as a person types them.
    void pdu_data()
    {
        QTest::addColumn<ModbusRequest>("request");
        QTest::addColumn<QByteArray>("pdu");
        const auto row = [](const char* name, const ModbusRequest& request, const char* pdu) {
            QTest::newRow(name) << request << hex(pdu);
        };
        row("6.1", requested(1, u"0x13"_s, u"19"_s), "01 0013 0013");
        row("6.2", requested(2, u"196"_s, u"22"_s), "02 00c4 0016");
        row("6.3", requested(3, u"0x6B"_s, u"3"_s), "03 006b 0003");
        row("6.3, counted from 1", oneBased(requested(3, u"108"_s, u"3"_s)), "03 006b 0003");
        row("6.4", requested(4, u" 8 "_s, u"1"_s), "04 0008 0001");
        row("6.5", requested(5, u"172"_s, {}, u"on"_s), "05 00ac ff00");
        row("6.6", requested(6, u"1"_s, {}, u"3"_s), "06 0001 0003");
        row("6.11", requested(15, u"19"_s, {}, u"1011 0011, 1 off"_s), "0f 0013 000a 02 cd01");
        row("6.12", requested(16, u"1"_s, {}, u"0xA; 258"_s), "10 0001 0002 04 000a 0102");
        row("6.16", maskWrite(), "16 0004 00f2 0025");
        row("6.17", readWrite(u"255 255 255"_s), "17 0003 0006 000e 0003 06 00ff 00ff 00ff");
        row("last address, counted from 1", oneBased(requested(3, u"65536"_s, u"1"_s)),
            "03 ffff 0001");
        row("custom", raw(u"2b 0e 01 00"_s), "2b 0e 01 00");
    }

    void pdu()
    {
        QFETCH(const ModbusRequest, request);
        const ModbusRequest::Built built = request.build(Framing::Rtu);
        QCOMPARE(built.faults, (QMap<Field, QString>()));
        QTEST(built.pdu, "pdu");
    }

    void faults_data()
    {
        QTest::addColumn<ModbusRequest>("request");
        QTest::addColumn<Field>("field");
        const auto row = [](const char* name, const ModbusRequest& request, Field field) {
            QTest::newRow(name) << request << field;
        };
        const auto many = [](int count) { return u"1 "_s.repeated(count); };
        row("unit 248", ofUnit(u"248"_s), Field::Unit);
        row("no unit", ofUnit({}), Field::Unit);
        row("address 65536", requested(3, u"65536"_s, u"1"_s), Field::Address);
        row("address 0, counted from 1", oneBased(requested(3, u"0"_s, u"1"_s)), Field::Address);
        row("address -1", requested(3, u"-1"_s, u"1"_s), Field::Address);
        row("address 6Bh", requested(3, u"6B"_s, u"1"_s), Field::Address);
        row("beyond the last", requested(3, u"0xFFFF"_s, u"2"_s), Field::Address);
        row("writing beyond", requested(16, u"65535"_s, {}, u"1 2"_s), Field::Address);
        row("0 registers", requested(3, u"0"_s, u"0"_s), Field::Quantity);
        row("126 registers", requested(3, u"0"_s, u"126"_s), Field::Quantity);
        row("2001 coils", requested(1, u"0"_s, u"2001"_s), Field::Quantity);
        row("124 to write", requested(16, u"0"_s, {}, many(124)), Field::Values);
        row("1969 to write", requested(15, u"0"_s, {}, many(1969)), Field::Values);
        row("122 to write and read", readWrite(many(122)), Field::Values);
        row("nothing to write", requested(16, u"0"_s), Field::Values);
        row("two coils for one", requested(5, u"0"_s, {}, u"1 1"_s), Field::Values);
        row("65536", requested(6, u"0"_s, {}, u"65536"_s), Field::Values);
        row("a word", requested(6, u"0"_s, {}, u"on"_s), Field::Values);
        row("no byte", raw({}), Field::Raw);
        row("half a byte", raw(u"03 0"_s), Field::Raw);
        row("254 bytes", raw(u"00"_s.repeated(254)), Field::Raw);
    }

    void faults()
    {
        QFETCH(const ModbusRequest, request);
        QFETCH(const Field, field);
        const ModbusRequest::Built built = request.build(Framing::Rtu);
        QCOMPARE(built.faults.keys(), QList<Field>{field});
        QVERIFY(built.pdu.isEmpty());
    }

    // At the limits nothing is refused, and no PDU is longer than a PDU may be.
    void limits()
    {
        const auto many = [](int count) { return u"1 "_s.repeated(count); };
        for (const ModbusRequest& request :
            {requested(1, u"0"_s, u"2000"_s), requested(4, u"0"_s, u"125"_s),
                requested(15, u"0"_s, {}, many(1968)), requested(16, u"0"_s, {}, many(123)),
                readWrite(many(121)), raw(u"00"_s.repeated(253))}) {
            const ModbusRequest::Built built = request.build(Framing::Rtu);
            QVERIFY2(built.isValid(), qPrintable(request.summary()));
            QVERIFY(built.pdu.size() <= Modbus::kMaxPduBytes);
        }
        QVERIFY(ofUnit(u"255"_s).build(Framing::Tcp).isValid());
    }

    // 1234.5677 in IEEE 754 is 449A522B; 305419896 is 12345678.
    void values_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Type>("type");
        QTest::addColumn<Order>("order");
        QTest::addColumn<QList<quint16>>("words");
        const auto row = [](const char* name, const QString& text, Type type, Order order,
                             const QList<quint16>& words) {
            QTest::newRow(name) << text << type << order << words;
        };
        row("signed", u"-2"_s, Type::Signed16, Order::Dcba, {0xFFFE});
        row("unsigned", u"65534"_s, Type::Unsigned16, Order::Cdab, {0xFFFE});
        row("hexadecimal", u"0xFFFE"_s, Type::Hex16, Order::Abcd, {0xFFFE});
        row("ABCD", u"305419896"_s, Type::Unsigned32, Order::Abcd, {0x1234, 0x5678});
        row("CDAB", u"305419896"_s, Type::Unsigned32, Order::Cdab, {0x5678, 0x1234});
        row("BADC", u"305419896"_s, Type::Signed32, Order::Badc, {0x3412, 0x7856});
        row("DCBA", u"305419896"_s, Type::Signed32, Order::Dcba, {0x7856, 0x3412});
        row("-1", u"-1"_s, Type::Signed32, Order::Cdab, {0xFFFF, 0xFFFF});
        row("float ABCD", u"1234.5677"_s, Type::Float32, Order::Abcd, {0x449A, 0x522B});
        row("float CDAB", u"1234.5677"_s, Type::Float32, Order::Cdab, {0x522B, 0x449A});
        row("float DCBA", u"1234.5677"_s, Type::Float32, Order::Dcba, {0x2B52, 0x9A44});
        row("0.1", u"0.1"_s, Type::Float32, Order::Abcd, {0x3DCC, 0xCCCD});
    }

    void values()
    {
        QFETCH(const QString, text);
        QFETCH(const Type, type);
        QFETCH(const Order, order);
        QFETCH(const QList<quint16>, words);
        const ModbusValues::Parsed parsed = ModbusValues::parseRegisters(text, type, order);
        QCOMPARE(parsed.fault, QString());
        QCOMPARE(parsed.words, words);
        QCOMPARE(ModbusValues::showRegisters(words, type, order).first().text, text);
    }

    void answersAreRead()
    {
        // 6.1: 19 coils from 19 on, of which the last byte holds three.
        const auto coils = requested(1, u"19"_s, u"19"_s).shownAnswer(hex("01 03 cd6b05"));
        QString states;
        for (const ModbusValues::Shown& coil : coils)
            states += coil.raw;
        QCOMPARE(states, u"1011001111010110101"_s);
        // A third register is half of a 32-bit value.
        ModbusRequest floats = requested(3, u"0"_s, u"3"_s);
        floats.type = Type::Float32;
        const auto values = floats.shownAnswer(hex("03 06 449a 522b 0064"));
        QCOMPARE(values.size(), 2);
        QCOMPARE(values[0].text, u"1234.5677"_s);
        QCOMPARE(values[1].text, u"0x0064"_s);
        QCOMPARE(values[1].offset, 2);
    }

    void stateSurvivesTheStore()
    {
        const QTemporaryDir folder;
        QSettings store(folder.filePath(u"store.ini"_s), QSettings::IniFormat);
        QCOMPARE(ModbusState::load(store), ModbusState());
        ModbusState state;
        state.draft = readWrite(u"1, \"2\"; %3"_s);
        state.draft.address = u"nonsense"_s; // stays until it is corrected
        state.kept = {{maskWrite(), false}, {oneBased(raw(u"07"_s)), true}};
        state.kept[0].request.name = u"Maske ü"_s;
        state.kept[1].request.name = u"b"_s;
        state.framing = Framing::Tcp;
        state.pollMs = 250;
        state.page = 1;
        QString reason;
        QVERIFY2(state.save(store, reason), qPrintable(reason));
        QSettings again(store.fileName(), QSettings::IniFormat);
        QCOMPARE(ModbusState::load(again), state);
        again.setValue(u"ModbusRequestBuilder/Content"_s, u"{\"kept\": [1, {}], \"pollMs\": -5"_s);
        QCOMPARE(ModbusState::load(again).kept.size(), 0);
        QCOMPARE(ModbusState::load(again).pollMs, ModbusState::kDefaultIntervalMs);
    }

    // One after the other, rounds an interval apart from begin to begin, a slow round followed at
    // once, and never two requests on the line.
    void pollKeepsOrderAndTime()
    {
        ModbusPoll poll;
        const QByteArray read = hex("04 0008 0001");
        const QByteArray answer = Modbus::rtuFrame(1, hex("04 02 000a"));
        poll.start({{7, 1, read}, {9, 2, read}}, Framing::Rtu, {1000, 300, 5}, 0);
        QCOMPARE(poll.due(0), Modbus::rtuFrame(1, read));
        poll.sent(2); // a little late
        QVERIFY(poll.due(2).isEmpty());
        QCOMPARE(poll.receive(answer, {}, 50)->id, 7);
        QVERIFY(poll.due(54).isEmpty()); // the silence between two frames
        QCOMPARE(poll.due(55), Modbus::rtuFrame(2, read));
        poll.sent(55);
        QVERIFY(!poll.tick(354));
        const auto silent = poll.tick(355);
        QVERIFY(silent && silent->id == 9);
        QCOMPARE(silent->answer.kind, ModbusAnswer::Kind::Silent);
        QVERIFY(poll.due(999).isEmpty());
        QCOMPARE(poll.nextTimeoutMs(355), 645);
        QCOMPARE(poll.due(1000), Modbus::rtuFrame(1, read)); // lateness does not add up
        poll.sent(1000);
        poll.stillLeaving(2200); // a slow line
        QVERIFY(!poll.tick(2400));
        QVERIFY(poll.tick(2500));
        poll.sent(2505);
        QVERIFY(poll.tick(2805));
        QCOMPARE(poll.nextTimeoutMs(2805), 5); // the round took longer than its interval
        poll.stop();
        QCOMPARE(poll.nextTimeoutMs(2806), -1);
        QVERIFY(poll.due(9999).isEmpty());
    }

    void onceIsOnce()
    {
        ModbusPoll poll;
        poll.start({{0, 1, hex("07")}}, Framing::Tcp, {0, 300, 0}, 0);
        const QByteArray first = poll.due(0);
        poll.sent(0);
        QVERIFY(poll.receive(first.first(2) + hex("0000 0003 01 07 6d"), {}, 9));
        QVERIFY(!poll.isRunning());
        poll.start({{0, 1, hex("07")}}, Framing::Tcp, {0, 300, 0}, 10);
        QVERIFY(poll.due(10).first(2) != first.first(2)); // a late answer must not fit
    }
};

QTEST_GUILESS_MAIN(TestModbusRequest)
#include "tst_modbusrequest.moc"
