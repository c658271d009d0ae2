#include "transfer/engine/lossyline.h"

#include "transfer/engine/xmodemframe.h"

#include <algorithm>
#include <initializer_list>

using namespace Qt::Literals::StringLiterals;
using XmodemFrame::kEot;

LossyLine::LossyLine(const Config& config, const QByteArray& file)
    : source(file)
    , m_config(config)
    , m_random(config.seed)
    , m_ends{Side{{XmodemCodec::Role::Sender, config.protocol, config.blockSizeOption}},
          Side{{XmodemCodec::Role::Receiver, config.protocol, config.blockSizeOption}}}
{
    m_ends[Sender].codec.setSource(&source);
    m_ends[Receiver].codec.setSink(&sink);
}

bool LossyLine::run(qint64 limitMs)
{
    const XferFileMeta meta{u"file.bin"_s, source.size(), 1'700'000'000};
    apply(Sender, m_ends[Sender].codec.begin(meta, 0));
    apply(Receiver, m_ends[Receiver].codec.begin({}, 0));
    while (nowMs() <= limitMs) {
        const auto atSender = nextEvent(m_ends[Sender]);
        const auto atReceiver = nextEvent(m_ends[Receiver]);
        if (!atSender && !atReceiver) {
            break;
        }
        const bool senderFirst = atSender && (!atReceiver || *atSender <= *atReceiver);
        m_nowUs = std::max(m_nowUs, senderFirst ? *atSender : *atReceiver);
        handle(senderFirst ? Sender : Receiver);
    }
    return std::all_of(m_ends.begin(), m_ends.end(),
        [](const Side& side) { return side.last.done || side.last.failed; });
}

bool LossyLine::arrivedWhole() const
{
    return sink.committed == 1
           && sink.bytes == source.bytes.leftJustified(sink.bytes.size(), XmodemFrame::kSub);
}

std::optional<qint64> LossyLine::nextEvent(const Side& side) const
{
    if (side.last.done || side.last.failed) {
        return std::nullopt;
    }
    std::optional<qint64> next = side.tickAtUs;
    const auto consider = [&](qint64 at) { next = next ? std::min(*next, at) : at; };
    if (side.drainedAtUs) {
        consider(*side.drainedAtUs);
    }
    if (!side.inbound.empty()) {
        consider(side.inbound.front().arrivalUs);
    }
    return next;
}

void LossyLine::handle(End which)
{
    Side& side = m_ends[which];
    const qint64 now = nowMs();
    if (which == m_config.cancellingEnd && m_events++ == m_config.cancelAtEvent) {
        apply(which, side.codec.cancel(now));
    } else if (side.drainedAtUs && *side.drainedAtUs <= m_nowUs) {
        side.drainedAtUs.reset();
        apply(which, side.codec.onEgressDrained(now));
    } else if (!side.inbound.empty() && side.inbound.front().arrivalUs <= m_nowUs) {
        const QByteArray bytes = side.inbound.front().bytes;
        side.inbound.pop_front();
        apply(which, side.codec.receive(bytes, now));
    } else {
        side.tickAtUs.reset();
        apply(which, side.codec.tick(now));
    }
}

void LossyLine::apply(End which, XferStep step)
{
    Side& side = m_ends[which];
    side.tickAtUs.reset();
    if (step.waitMs >= 0) {
        side.tickAtUs = m_nowUs + step.waitMs * 1000LL;
    }
    if (!step.bytes.isEmpty()) {
        transmit(which, step.bytes);
    }
    side.last = std::move(step);
}

void LossyLine::transmit(End from, const QByteArray& bytes)
{
    Side& side = m_ends[from];
    side.lineFreeUs = std::max(side.lineFreeUs, m_nowUs);
    bool touched = false;
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype length = std::min<qsizetype>(
            1 + m_random.bounded(int(m_config.longestChunk)), bytes.size() - at);
        side.lineFreeUs += length * m_config.byteUs;
        const QByteArray arriving = hurt(bytes.mid(at, length), touched);
        forgedEot |= at == 0 && from == Sender && bytes.size() > 1 && arriving.startsWith(kEot);
        m_ends[1 - from].inbound.push_back({side.lineFreeUs + m_config.latencyUs, arriving});
        at += length;
    }
    side.drainedAtUs = side.lineFreeUs;
    framesSent += from == Sender ? 1 : 0;
    (from == Sender ? framesHurt : repliesHurt) += touched ? 1 : 0;
}

QByteArray LossyLine::hurt(const QByteArray& bytes, bool& touched)
{
    QByteArray result;
    result.reserve(bytes.size() + 8);
    for (const char byte : bytes) {
        if (happens(m_config.faults.loss)) {
            touched = true;
            continue;
        }
        const bool damaged = happens(m_config.faults.damage);
        const bool doubled = happens(m_config.faults.doubling);
        const char arriving = damaged ? static_cast<char>(byte ^ m_random.bounded(1, 256)) : byte;
        result.append(doubled ? 2 : 1, arriving);
        touched |= damaged || doubled;
    }
    return result;
}

bool LossyLine::happens(double probability)
{
    return probability > 0 && m_random.generateDouble() < probability;
}
