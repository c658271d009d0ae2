#include "bridge/engine/modbuscodec.h"
#include "bridge/engine/modbusgateway.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class tst_ModbusCodec final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The example requests of Modbus Application Protocol V1.1b3, chapter 6.
    void pdu_data()
    {
        QTest::addColumn<ModbusCodec::Request>("request");
        QTest::addColumn<QByteArray>("pdu");
        const auto row = [](const char* name, ModbusCodec::Request request, const char* pdu) {
            QTest::newRow(name) << request << QByteArray::fromHex(pdu);
        };
        row("6.3 read holding registers", {1, 3, 0x6B, 3, {}}, "03 006b 0003");
        row("6.5 write single coil", {1, 5, 0xAC, 0, {1}}, "05 00ac ff00");
        row("coil off", {1, 5, 0xAC, 0, {0}}, "05 00ac 0000");
        row("6.6 write single register", {1, 6, 1, 0, {3}}, "06 0001 0003");
        row("6.11 write multiple coils", {1, 15, 0x13, 10, {1, 0, 1, 1, 0, 0, 7, 0xFF00, 1, 0}},
            "0f 0013 000a 02 cd01");
        row("eight coils fill a byte", {1, 15, 0, 8, {1, 0, 0, 0, 0, 0, 0, 1}},
            "0f 0000 0008 01 81");
        row("6.12 write multiple registers", {1, 16, 1, 2, {0x0A, 0x0102}},
            "10 0001 0002 04 000a 0102");
        row("up to the last address", {1, 16, 65'535, 1, {0xFFFF}}, "10 ffff 0001 02 ffff");
    }

    void pdu()
    {
        QFETCH(const ModbusCodec::Request, request);
        QString error;
        QTEST(ModbusCodec::buildPdu(request, &error), "pdu");
        QCOMPARE(error, QString());
    }

    void limits()
    {
        struct Limit
        {
            int code;
            int most;
            QString label;
        };
        const QString coils = u"Coil count"_s;
        const QString words = u"Register count"_s;
        for (const auto& [code, most, label] :
            {Limit{1, 2000, coils}, Limit{2, 2000, coils}, Limit{3, 125, words},
                Limit{4, 125, words}, Limit{15, 1968, coils}, Limit{16, 123, words}}) {
            for (const int quantity : {0, 1, most, most + 1}) {
                QString error;
                const QByteArray frame = ModbusCodec::buildRtuFrame(
                    {247, code, 0, quantity, QList<quint16>(quantity, 0x0101)}, &error);
                const bool valid = quantity == 1 || quantity == most;
                QCOMPARE(
                    error, valid ? QString() : label + u" must be between 1 and %1."_s.arg(most));
                QCOMPARE(frame.isEmpty(), !valid);
                // Modbus over Serial Line V1.02, 2.5.1.1: an RTU frame has at most 256 bytes.
                QVERIFY(frame.size() <= 256);
            }
        }
    }

    void messages_data()
    {
        QTest::addColumn<ModbusCodec::Request>("request");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, ModbusCodec::Request request, QString message) {
            QTest::newRow(name) << request << message;
        };
        row("slave first of all", {248, 99, 0, 0, {}}, u"Slave ID must be between 0 and 247."_s);
        row("slave below 0", {-1, 3, 0, 1, {}}, u"Slave ID must be between 0 and 247."_s);
        row("no coil", {1, 5, 0, 1, {}}, u"Write Single Coil needs exactly one value."_s);
        row("two coils", {1, 5, 0, 1, {1, 1}}, u"Write Single Coil needs exactly one value."_s);
        row("no register", {1, 6, 0, 1, {}}, u"Write Single Register needs exactly one value."_s);
        row("two registers", {1, 6, 0, 1, {1, 1}},
            u"Write Single Register needs exactly one value."_s);
        row("function code 0x2b", {1, 0x2B, 0, 1, {}}, u"Unsupported function code 0x2b."_s);
        row("function code 7", {1, 7, 0, 1, {}}, u"Unsupported function code 0x07."_s);
        row("quantity before address", {1, 16, 65'535, 124, {}},
            u"Register count must be between 1 and 123."_s);
        row("coils beyond the last address", {1, 15, 65'530, 7, {}},
            u"Address 65530 plus count 7 exceeds the 65536 address space."_s);
        row("registers beyond the last address", {1, 16, 65'535, 2, {}},
            u"Address 65535 plus count 2 exceeds the 65536 address space."_s);
        row("a value is missing", {1, 16, 0, 2, {1}},
            u"The number of values must be the quantity, 2."_s);
    }

    void messages()
    {
        QFETCH(const ModbusCodec::Request, request);
        QString error;
        QVERIFY(ModbusCodec::buildPdu(request, &error).isEmpty());
        QTEST(error, "message");
        QVERIFY(ModbusCodec::buildRtuFrame(request, nullptr).isEmpty());
        QVERIFY(ModbusCodec::buildAsciiFrame(request, nullptr).isEmpty());
    }

    void frames()
    {
        QCOMPARE(ModbusCodec::buildAsciiFrame({0xF7, 3, 0x1389, 10, {}}, nullptr),
            ":F7031389000A60\r\n"_ba);
        const QByteArray rtu = ModbusCodec::buildRtuFrame({1, 3, 0, 1, {}}, nullptr);
        QCOMPARE(rtu.toHex(), "010300000001840a"_ba);
        QVERIFY(ModbusGateway::crcValid(rtu));
        QCOMPARE(ModbusCodec::crc16("123456789"), 0x4B37); // the catalogues' check value
    }
};

QTEST_APPLESS_MAIN(tst_ModbusCodec)
#include "tst_modbuscodec.moc"
