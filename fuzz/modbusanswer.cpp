#include "bridge/engine/modbusanswer.h"
#include "fuzzinput.h"
#include "tools/modbusrequest.h"

#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

// Any request, any bytes of several peers at any time: one answer at most, not before its bytes and
// in time however much arrives, made of what was received, and readable by whoever asked.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const auto framing = input.byte() % 2 == 0 ? Modbus::Framing::Rtu : Modbus::Framing::Tcp;
    ModbusRequest request;
    request.function = input.byte();
    request.quantity = QString::number(1 + input.byte());
    request.type = ModbusValues::Type(input.byte() % ModbusValues::kTypes);
    request.values = QStringLiteral("1 0");
    QByteArray pdu = request.build(framing).pdu;
    if (pdu.isEmpty())
        pdu = char(request.function) + input.take(input.byte() % 16);
    ModbusAnswerReader reader;
    reader.ask({framing, 1, 1, pdu, 500}, 0);
    qint64 nowMs = 0;
    std::optional<ModbusAnswer> answer;
    while (!answer && !input.atEnd()) {
        nowMs += input.byte();
        const int choice = input.byte() % 4;
        QByteArray bytes = input.take(input.byte());
        if (choice == 1)
            bytes = Modbus::rtuFrame(1, bytes);
        else if (choice == 2)
            bytes = Modbus::tcpFrame(1, 1, bytes);
        answer = reader.feed(bytes, QString::number(choice), nowMs);
        require(answer || reader.nextTimeoutMs(nowMs) > 0);
        require(!answer || answer->latencyMs == nowMs);
    }
    if (!answer) {
        nowMs += reader.nextTimeoutMs(nowMs);
        require(nowMs <= 500 + ModbusAnswerReader::kMaxArrivalMs);
        answer = reader.tick(nowMs);
    }
    require(answer && !reader.isWaiting() && reader.nextTimeoutMs(nowMs) == -1);
    require(answer->frame.contains(answer->pdu) && !answer->text().isEmpty());
    if (answer->kind == ModbusAnswer::Kind::Data)
        require(request.shownAnswer(answer->pdu).size() <= 2000);
    return 0;
}
