#include "transfer/engine/lossyline.h"

#include "transfer/engine/xmodemframe.h"

#include <algorithm>
#include <initializer_list>

using namespace Qt::Literals::StringLiterals;
using XmodemFrame::Eot;

LossyLine::LossyLine(const Config& config, const QByteArray& file)
    : source(file)
    , config_(config)
    , random_(config.seed)
    , ends_{Side{{XmodemCodec::Role::Sender, config.protocol, config.blockSizeOption}},
          Side{{XmodemCodec::Role::Receiver, config.protocol, config.blockSizeOption}}}
{
    ends_[Sender].codec.setSource(&source);
    ends_[Receiver].codec.setSink(&sink);
}

bool LossyLine::run(qint64 limitMs)
{
    const XferFileMeta meta{u"file.bin"_s, source.size(), 1'700'000'000};
    apply(Sender, ends_[Sender].codec.begin(meta, 0));
    apply(Receiver, ends_[Receiver].codec.begin({}, 0));
    while (nowMs() <= limitMs) {
        const auto atSender = nextEvent(ends_[Sender]);
        const auto atReceiver = nextEvent(ends_[Receiver]);
        if (!atSender && !atReceiver) {
            break;
        }
        const bool senderFirst = atSender && (!atReceiver || *atSender <= *atReceiver);
        nowUs_ = std::max(nowUs_, senderFirst ? *atSender : *atReceiver);
        handle(senderFirst ? Sender : Receiver);
    }
    return std::all_of(ends_.begin(), ends_.end(),
        [](const Side& side) { return side.last.done || side.last.failed; });
}

bool LossyLine::arrivedWhole() const
{
    return sink.committed == 1
           && sink.bytes == source.bytes.leftJustified(sink.bytes.size(), XmodemFrame::Sub);
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
    Side& side = ends_[which];
    const qint64 now = nowMs();
    if (which == config_.cancellingEnd && events_++ == config_.cancelAtEvent) {
        apply(which, side.codec.cancel(now));
    } else if (side.drainedAtUs && *side.drainedAtUs <= nowUs_) {
        side.drainedAtUs.reset();
        apply(which, side.codec.onEgressDrained(now));
    } else if (!side.inbound.empty() && side.inbound.front().arrivalUs <= nowUs_) {
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
    Side& side = ends_[which];
    side.tickAtUs.reset();
    if (step.waitMs >= 0) {
        side.tickAtUs = nowUs_ + step.waitMs * 1000LL;
    }
    if (!step.bytes.isEmpty()) {
        transmit(which, step.bytes);
    }
    side.last = std::move(step);
}

void LossyLine::transmit(End from, const QByteArray& bytes)
{
    Side& side = ends_[from];
    side.lineFreeUs = std::max(side.lineFreeUs, nowUs_);
    bool touched = false;
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype length =
            std::min<qsizetype>(1 + random_.bounded(int(config_.longestChunk)), bytes.size() - at);
        side.lineFreeUs += length * config_.byteUs;
        const QByteArray arriving = hurt(bytes.mid(at, length), touched);
        forgedEot |= at == 0 && from == Sender && bytes.size() > 1 && arriving.startsWith(Eot);
        ends_[1 - from].inbound.push_back({side.lineFreeUs + config_.latencyUs, arriving});
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
        if (happens(config_.faults.loss)) {
            touched = true;
            continue;
        }
        const bool damaged = happens(config_.faults.damage);
        const bool doubled = happens(config_.faults.doubling);
        const char arriving = damaged ? static_cast<char>(byte ^ random_.bounded(1, 256)) : byte;
        result.append(doubled ? 2 : 1, arriving);
        touched |= damaged || doubled;
    }
    return result;
}

bool LossyLine::happens(double probability)
{
    return probability > 0 && random_.generateDouble() < probability;
}
