#pragma once

#include "transfer/engine/memoryfile.h"
#include "transfer/engine/xmodemcodec.h"

#include <QByteArray>
#include <QRandomGenerator>
#include <array>
#include <deque>
#include <optional>

// Two engines, a sender and a receiver, at the ends of a line that delays, loses, damages and
// doubles bytes. Time is simulated; the same configuration gives the same run.
class LossyLine final
{
public:
    struct Faults
    {
        double loss = 0; // of one byte; each a probability from 0 to 1
        double damage = 0;
        double doubling = 0;
    };
    struct Config
    {
        XferProtocol protocol = XferProtocol::XmodemCrc;
        qint32 blockSizeOption = 1024;
        Faults faults = {};
        quint32 seed = 1;
        qint64 latencyUs = 2'000;
        qint64 byteUs = 87; // 115200 baud, ten bits a byte
        qsizetype longestChunk = 64;
        int cancelAtEvent = -1; // this end cancels instead of handling its event of this number
        int cancellingEnd = 0;
    };
    enum End { Sender = 0, Receiver = 1 };

    LossyLine(const Config& config, const QByteArray& file);

    // To the end of both engines. False if one of them waits for something that cannot come, or is
    // not over in `limitMs` of simulated time.
    bool run(qint64 limitMs);

    const XferStep& end(End which) const { return m_ends[which].last; }
    bool bothDone() const { return end(Sender).done && end(Receiver).done; }
    // Padding apart, the receiver has what the sender had.
    bool arrivedWhole() const;
    qint64 nowMs() const { return m_nowUs / 1000; }
    int events() const { return m_events; }
    XferProgress progress(End which) const { return m_ends[which].codec.progress(); }

    int framesSent = 0;
    int framesHurt = 0;  // of the frames sent, met by a fault
    int repliesHurt = 0; // of the receiver's replies
    // A block's head became an EOT: the one damage that no trailer covers.
    bool forgedEot = false;
    MemorySource source;
    MemorySink sink;

private:
    struct Chunk
    {
        qint64 arrivalUs;
        QByteArray bytes;
    };
    struct Side
    {
        XmodemCodec codec;
        std::deque<Chunk> inbound = {};
        std::optional<qint64> tickAtUs = {};
        std::optional<qint64> drainedAtUs = {};
        qint64 lineFreeUs = 0;
        XferStep last = {};
    };

    std::optional<qint64> nextEvent(const Side& side) const;
    void handle(End which);
    void apply(End which, XferStep step);
    void transmit(End from, const QByteArray& bytes);
    QByteArray hurt(const QByteArray& bytes, bool& touched);
    bool happens(double probability);

    Config m_config;
    QRandomGenerator m_random;
    std::array<Side, 2> m_ends;
    qint64 m_nowUs = 0;
    int m_events = 0;
};
