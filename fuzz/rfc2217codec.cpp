#include "connections/rfc2217/rfc2217codec.h"
#include "fuzzinput.h"

#include <cstdlib>

// Bytes in any chunks give the data, events and answers that they give in one piece, in either
// role; answers are no longer than the bytes; and what was encoded is decoded to itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const auto role =
        input.byte() % 2 == 0 ? Rfc2217Codec::Role::Server : Rfc2217Codec::Role::Client;
    Rfc2217Codec chunked(role);
    Rfc2217Codec whole(role);
    QByteArray bytes;
    QByteArray plain;
    QByteArray reply;
    QList<Rfc2217Codec::Event> events;
    while (!input.atEnd()) {
        const QByteArray chunk = input.take(input.byte());
        bytes += chunk;
        plain += chunked.decode(chunk, &events, &reply);
    }
    QByteArray wholeReply;
    QList<Rfc2217Codec::Event> wholeEvents;
    if (whole.decode(bytes, &wholeEvents, &wholeReply) != plain || wholeEvents != events
        || wholeReply != reply || reply.size() > bytes.size()
        || whole.modemStateNotification(0xFF) != chunked.modemStateNotification(0xFF))
        std::abort();
    whole.reset();
    if (whole.decode(Rfc2217Codec::encodePayload(bytes), &events, &reply) != bytes)
        std::abort();
    return 0;
}
