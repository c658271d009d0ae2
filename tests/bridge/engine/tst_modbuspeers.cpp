#include "bridge/engine/modbuscodec.h"
#include "bridge/engine/modbusline.h"

#include <QElapsedTimer>
#include <QTest>

#if __has_include(<modbus/modbus.h>)
#define HAVE_LIBMODBUS 1
#include <functional>
#include <memory>
#include <modbus/modbus.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

#ifdef HAVE_LIBMODBUS
namespace {

constexpr int kUnit = 17;
constexpr int kAbsentUnit = 18;
constexpr int kPatientMs = 5000; // more than any machine takes to answer
constexpr int kImpatientMs = 50;

using Modbus = std::unique_ptr<modbus_t, decltype([](modbus_t* context) {
    modbus_close(context);
    modbus_free(context);
})>;

// One request as this system builds it and as the library asks for it; `ask` shows the answer.
struct Exchange
{
    QByteArray name;
    ModbusCodec::Request request;
    std::function<QByteArray(modbus_t*)> ask;
    QByteArray answer;
};

QByteArray outcome(int result)
{
    return result < 0 ? QByteArray(modbus_strerror(errno)) : QByteArray::number(result);
}

using ReadBits = int (*)(modbus_t*, int, int, uint8_t*);
using ReadRegisters = int (*)(modbus_t*, int, int, uint16_t*);

std::function<QByteArray(modbus_t*)> bits(ReadBits read, int address, int count)
{
    return [=](modbus_t* client) {
        QByteArray values(count, '?');
        const int result = read(client, address, count, reinterpret_cast<uint8_t*>(values.data()));
        for (char& value : values)
            value = char(value + '0');
        return result < 0 ? outcome(result) : values;
    };
}

std::function<QByteArray(modbus_t*)> registers(ReadRegisters read, int address, int count)
{
    return [=](modbus_t* client) {
        QList<uint16_t> values(count);
        const int result = read(client, address, count, values.data());
        QByteArray text;
        for (const uint16_t value : values)
            text += QByteArray::number(value, 16) + ' ';
        return result < 0 ? outcome(result) : text.trimmed();
    };
}

// The device has 32 of everything. Input n is on when n is a multiple of 3, input register n holds
// 0x1000 + n.
QList<Exchange> exchanges()
{
    const uint8_t coils[] = {1, 0, 1, 1, 0, 0, 1, 1, 1, 0};
    const uint16_t words[] = {0x000A, 0x0102, 0xFFFF};
    const QByteArray noAddress = modbus_strerror(EMBXILADD);
    return {
        {"5", {kUnit, 5, 3, 1, {1}}, [](auto* c) { return outcome(modbus_write_bit(c, 3, 1)); },
            "1"},
        {"6", {kUnit, 6, 5, 1, {0xBEEF}},
            [](auto* c) { return outcome(modbus_write_register(c, 5, 0xBEEF)); }, "1"},
        {"15", {kUnit, 15, 8, 10, {1, 0, 1, 1, 0, 0, 1, 1, 1, 0}},
            [=](auto* c) { return outcome(modbus_write_bits(c, 8, 10, coils)); }, "10"},
        {"16", {kUnit, 16, 20, 3, {0x000A, 0x0102, 0xFFFF}},
            [=](auto* c) { return outcome(modbus_write_registers(c, 20, 3, words)); }, "3"},
        {"1", {kUnit, 1, 0, 20, {}}, bits(modbus_read_bits, 0, 20), "00010000101100111000"},
        {"2", {kUnit, 2, 1, 8, {}}, bits(modbus_read_input_bits, 1, 8), "00100100"},
        {"3", {kUnit, 3, 19, 5, {}}, registers(modbus_read_registers, 19, 5), "0 a 102 ffff 0"},
        {"3, one", {kUnit, 3, 5, 1, {}}, registers(modbus_read_registers, 5, 1), "beef"},
        {"4", {kUnit, 4, 30, 2, {}}, registers(modbus_read_input_registers, 30, 2), "101e 101f"},
        {"1, exception", {kUnit, 1, 30, 3, {}}, bits(modbus_read_bits, 30, 3), noAddress},
        {"4, exception", {kUnit, 4, 100, 1, {}}, registers(modbus_read_input_registers, 100, 1),
            noAddress},
        {"6, exception", {kUnit, 6, 32, 1, {1}},
            [](auto* c) { return outcome(modbus_write_register(c, 32, 1)); }, noAddress},
    };
}

// A device on the line: answers until the line is gone.
void runDevice(int line)
{
    const Modbus device(modbus_new_rtu("line", 115'200, 'N', 8, 1));
    modbus_set_socket(device.get(), line);
    modbus_mapping_t* data = modbus_mapping_new(32, 32, 32, 32);
    for (int i = 0; i < 32; ++i) {
        data->tab_input_bits[i] = i % 3 == 0;
        data->tab_input_registers[i] = uint16_t(0x1000 + i);
    }
    modbus_set_slave(device.get(), kUnit);
    uint8_t query[MODBUS_RTU_MAX_ADU_LENGTH];
    for (int size = 0; size >= 0; size = modbus_receive(device.get(), query)) {
        if (size > 0) // 0: a request to another unit
            modbus_reply(device.get(), query, size, data);
    }
    modbus_mapping_free(data);
}

// Puts the engine between a TCP client and a line, as a bridge does, in real time.
struct Bridge
{
    ModbusLine engine{kPatientMs, kPatientMs};
    QList<QByteArray> rtuFrames; // what went to the line
    QList<ModbusLine::Outcome> outcomes;

    // Returns when the client has closed its end, or after waiting for 10 s in vain.
    void run(int client, int line)
    {
        QElapsedTimer clock;
        clock.start();
        pollfd ends[] = {{client, POLLIN, 0}, {line, POLLIN, 0}};
        for (;;) {
            const int nextMs = engine.nextTimeoutMs(clock.elapsed());
            const int ready = ::poll(ends, 2, nextMs < 0 ? 10'000 : nextMs);
            const qint64 nowMs = clock.elapsed();
            if (ready < 0 || (ready == 0 && nextMs < 0))
                return;
            perform(engine.tick(nowMs), client, line);
            if (ends[0].revents != 0) {
                const QByteArray bytes = readSome(client);
                if (bytes.isEmpty())
                    return;
                if (bytes.size() > 6 && bytes[6] == kAbsentUnit)
                    engine.setResponseTimeoutMs(kImpatientMs);
                perform(engine.fromClient(u"client"_s, bytes, nowMs), client, line);
            }
            if (ends[1].revents != 0)
                perform(engine.fromLine(readSome(line), nowMs), client, line);
        }
    }

    void perform(const ModbusLine::Output& output, int client, int line)
    {
        for (const ModbusLine::ToClient& to : output.toClients)
            writeAll(client, to.bytes);
        for (const ModbusLine::Transaction& transaction : output.ended)
            outcomes.append(transaction.outcome);
        if (output.toLine.isEmpty())
            return;
        rtuFrames.append(output.toLine);
        writeAll(line, output.toLine);
    }

    static QByteArray readSome(int fd)
    {
        char buffer[512];
        return {buffer, qMax<qsizetype>(0, ::read(fd, buffer, sizeof buffer))};
    }

    static void writeAll(int fd, QByteArrayView bytes)
    {
        while (!bytes.isEmpty()) {
            const auto written = ::write(fd, bytes.data(), size_t(bytes.size()));
            if (written <= 0)
                return;
            bytes = bytes.sliced(written);
        }
    }
};

} // namespace
#endif

// The gateway between a Modbus TCP client and a Modbus RTU device of another make.
class tst_ModbusPeers final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
#ifdef HAVE_LIBMODBUS
    void clientAndDeviceUnderstandEachOther()
    {
        int line[2];
        int tcp[2];
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, line), 0);
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM, 0, tcp), 0);
        const QList<Exchange> wanted = exchanges();
        QList<QByteArray> answers;
        QByteArray absent;
        std::thread device([&] { runDevice(line[1]); });
        std::thread client([&] { runClient(tcp[1], wanted, answers, absent); });
        Bridge bridge;
        bridge.run(tcp[0], line[0]);
        ::close(tcp[0]);
        ::close(line[0]);
        client.join();
        device.join();

        QCOMPARE(answers.size(), wanted.size());
        QCOMPARE(bridge.rtuFrames.size(), wanted.size() + 1);
        for (qsizetype i = 0; i < wanted.size(); ++i) {
            const Exchange& exchange = wanted.at(i);
            QCOMPARE(QByteArray(exchange.name + '=' + answers.at(i)),
                QByteArray(exchange.name + '=' + exchange.answer));
            QCOMPARE(bridge.rtuFrames.at(i), ModbusCodec::buildRtuFrame(exchange.request, nullptr));
        }
        // A device that is not there: no answer, and the transaction is given up.
        QCOMPARE(absent, QByteArray(::strerror(ETIMEDOUT)));
        QCOMPARE(bridge.outcomes.size(), wanted.size() + 1);
        QCOMPARE(bridge.outcomes.count(ModbusLine::Outcome::Answered), wanted.size());
        QVERIFY(bridge.outcomes.last() == ModbusLine::Outcome::TimedOut);
        const ModbusLine::Counters& counters = bridge.engine.counters();
        QCOMPARE(counters.foreignFrames + counters.damagedFrames, 0);
    }

private:
    static void runClient(
        int tcp, const QList<Exchange>& wanted, QList<QByteArray>& answers, QByteArray& absent)
    {
        const Modbus client(modbus_new_tcp("127.0.0.1", 0));
        modbus_set_socket(client.get(), tcp);
        modbus_set_slave(client.get(), kUnit);
        modbus_set_response_timeout(client.get(), kPatientMs / 1000, 0);
        for (const Exchange& exchange : wanted)
            answers.append(exchange.ask(client.get()));
        modbus_set_slave(client.get(), kAbsentUnit);
        modbus_set_response_timeout(client.get(), 0, 3 * kImpatientMs * 1000);
        absent = registers(modbus_read_registers, 0, 1)(client.get());
    }
#else
    void clientAndDeviceUnderstandEachOther()
    {
        if (qEnvironmentVariableIsSet("CI"))
            QFAIL("libmodbus-dev is not installed");
        QSKIP("libmodbus-dev is not installed");
    }
#endif
};

QTEST_APPLESS_MAIN(tst_ModbusPeers)
#include "tst_modbuspeers.moc"
