#include "connections/rfc2217/rfc2217clientsession.h"
#include "connections/rfc2217/rfc2217serversession.h"
#include "fuzzinput.h"

#include <cstdlib>

namespace {

// Each round brings an answer: the options that are accepted may change, the others are refused
// once.
constexpr int kMaxRounds = 2 * 2 * (3 * Rfc2217Codec::kMaxOptionChanges + 253);

Settings settingsFrom(FuzzInput& input)
{
    Settings settings;
    settings.useRemoteSerialConfig = input.byte() % 4 == 0;
    settings.baudRate = input.byte() * 0x0080'0201;
    settings.dataBits = input.byte() % 16;
    settings.parity = input.byte() % 8;
    settings.stopBits = input.byte() % 8;
    settings.flowControl = input.byte() % 4;
    settings.dtrOn = input.byte() % 2 == 0;
    return settings;
}

} // namespace

// A client and a server talk while anything is put into the bytes between them: they come to rest,
// and the port's settings stay such as a device can be opened with.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    Rfc2217ClientSession client;
    Rfc2217ServerSession server;
    Settings port;
    QByteArray toServer = client.begin();
    QByteArray toClient = server.begin();
    while (!input.atEnd()) {
        const int choice = input.byte() % 8;
        if (choice < 2)
            toServer += input.take(input.byte());
        else if (choice < 4)
            toClient += input.take(input.byte());
        else if (choice < 6)
            toServer += client.settingsUpdate(settingsFrom(input));
        else if (choice == 6)
            client.onNegotiationTimeout();
        else
            toClient += server.modemStateNotification(quint8(input.byte()));
        for (int round = 0; !toServer.isEmpty() || !toClient.isEmpty(); ++round) {
            const auto atServer = server.receive(toServer, port);
            port = Rfc2217ServerSession::changed(port, atServer.settingsChanges);
            toServer = client.receive(toClient).reply;
            toClient = atServer.reply;
            if (round > kMaxRounds || port != port.sanitized() || atServer.purge > 3)
                std::abort();
        }
    }
    return 0;
}
