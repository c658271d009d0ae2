// A file larger than 2 GiB through both ends of a YMODEM transfer, without a line between them:
// sizes, offsets and progress beyond 32 bits, and every byte at its place.
//
//   soak_ymodem [BYTES]     2 GiB and 777 by default; exit status 0 when it arrived whole
#include "transfer/engine/xfersink.h"
#include "transfer/engine/xfersource.h"
#include "transfer/engine/xmodemcodec.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr qint64 kDefaultBytes = qint64{2} * 1024 * 1024 * 1024 + 777;
// What no block length divides: a block at a wrong place differs.
constexpr qint64 kPeriod = 1'048'573;
constexpr qint64 kLongestPiece = qint64{64} * 1024;

// The content of a file that nobody has to store.
class Content final
{
public:
    Content()
        : m_bytes(std::size_t(kPeriod + kLongestPiece))
    {
        QRandomGenerator random(1);
        for (std::size_t i = 0; i < m_bytes.size(); ++i)
            m_bytes[i] = i < std::size_t(kPeriod) ? char(random.generate())
                                                  : m_bytes[i - std::size_t(kPeriod)];
    }

    // Good for kLongestPiece bytes.
    [[nodiscard]] const char* at(qint64 offset) const { return &m_bytes[offset % kPeriod]; }

private:
    std::vector<char> m_bytes;
};

class Source final : public XferSource
{
public:
    Source(const Content& content, qint64 size)
        : m_content(content)
        , m_size(size)
    {}
    qint64 size() const override { return m_size; }
    QByteArray read(qint64 offset, qint64 length) override
    {
        return {m_content.at(offset), qMin(qMin(length, kLongestPiece), m_size - offset)};
    }
    bool readFailed() const override { return false; }
    bool stillIntact() const override { return true; }

private:
    const Content& m_content;
    const qint64 m_size;
};

class Sink final : public XferSink
{
public:
    explicit Sink(const Content& content)
        : m_content(content)
    {}
    bool open(const XferFileMeta& meta) override
    {
        announced = meta.size;
        return true;
    }
    bool write(QByteArrayView bytes) override
    {
        const bool same = std::memcmp(bytes.data(), m_content.at(received), bytes.size()) == 0;
        received += bytes.size();
        return same;
    }
    bool commit(qint64 expectedSize) override
    {
        committed = expectedSize;
        return true;
    }

    qint64 announced = -1;
    qint64 received = 0;
    qint64 committed = -1;

private:
    const Content& m_content;
};

bool ended(const XferStep& step)
{
    return step.done || step.failed;
}

// Runs the two ends against each other; the steps that ended them.
std::pair<XferStep, XferStep> run(XmodemCodec& sender, XmodemCodec& receiver, qint64 size)
{
    qint64 now = 0;
    XferStep sent = sender.begin({.name = QStringLiteral("large.bin"), .size = size}, now);
    XferStep answered = receiver.begin({}, now);
    while (!ended(sent) || !ended(answered)) {
        // Whichever has something to say says it; the other one hears it.
        XmodemCodec& speaker = answered.bytes.isEmpty() ? sender : receiver;
        XferStep& said = answered.bytes.isEmpty() ? sent : answered;
        XmodemCodec& listener = &speaker == &sender ? receiver : sender;
        XferStep& heard = &said == &sent ? answered : sent;
        if (said.bytes.isEmpty()) {
            ++now;
            if (!ended(sent))
                sent = sender.tick(now);
            if (!ended(answered))
                answered = receiver.tick(now);
            continue;
        }
        const QByteArray bytes = std::exchange(said.bytes, {});
        if (XferStep next = speaker.onEgressDrained(now); !ended(said))
            said = next;
        if (XferStep next = listener.receive(bytes, now); !ended(heard))
            heard = next;
    }
    return {sent, answered};
}

} // namespace

int main(int argc, char* argv[])
{
    const qint64 size = argc > 1 ? std::atoll(argv[1]) : kDefaultBytes;
    const Content content;
    Source source(content, size);
    Sink sink(content);
    XmodemCodec sender(XmodemCodec::Role::Sender, XferProtocol::Ymodem, 1024);
    XmodemCodec receiver(XmodemCodec::Role::Receiver, XferProtocol::Ymodem, 1024);
    sender.setSource(&source);
    receiver.setSink(&sink);
    QElapsedTimer clock;
    clock.start();
    const auto [sent, received] = run(sender, receiver, size);
    const double seconds = double(clock.elapsed()) / 1000;
    std::printf("sent %lld of %lld, received %lld, announced %lld, committed %lld: %.0f MB/s\n",
        sender.progress().bytesDone, sender.progress().bytesTotal, sink.received, sink.announced,
        sink.committed, double(size) / 1e6 / seconds);
    const bool whole = sent.done && received.done && sender.progress().bytesDone == size
                       && receiver.progress().bytesDone == size && sink.received == size
                       && sink.announced == size && sink.committed == size;
    std::puts(whole ? "whole" : "NOT whole");
    return whole ? 0 : 1;
}
