#include "transfer/engine/xmodemcodec.h"

XmodemCodec::XmodemCodec(Role role, XferProtocol protocol, qint32 blockSizeOption)
    : line_(protocol)
    , role_(makeRole(role, line_, blockSizeOption))
{}

XmodemCodec::AnyRole XmodemCodec::makeRole(Role role, XmodemLine& line, qint32 blockSizeOption)
{
    if (role == Role::Sender) {
        return AnyRole(std::in_place_type<XmodemSender>, line, blockSizeOption);
    }
    return AnyRole(std::in_place_type<XmodemReceiver>, line);
}

void XmodemCodec::setSource(XferSource* source)
{
    if (auto* sender = std::get_if<XmodemSender>(&role_)) {
        sender->setSource(source);
    }
}

void XmodemCodec::setSink(XferSink* sink)
{
    if (auto* receiver = std::get_if<XmodemReceiver>(&role_)) {
        receiver->setSink(sink);
    }
}

void XmodemCodec::setReceiveLimit(qint64 bytes)
{
    if (auto* receiver = std::get_if<XmodemReceiver>(&role_)) {
        receiver->setReceiveLimit(bytes);
    }
}

XferStep XmodemCodec::begin(const XferFileMeta& meta, qint64 now)
{
    if (begun_ || line_.ended()) {
        return line_.settle({}, now);
    }
    begun_ = true;
    XferStep step = std::visit([&](auto& role) { return role.begin(meta, now); }, role_);
    return line_.settle(std::move(step), now);
}

XferStep XmodemCodec::receive(QByteArrayView bytes, qint64 now)
{
    if (!running()) {
        return {};
    }
    XferStep step = catchUp(now);
    if (line_.ended()) {
        line_.keepRest(bytes);
        return step;
    }
    qsizetype taken = 0;
    // With the gate open a pump leaves less than a frame behind, so there is always room for more.
    do {
        taken = line_.append(bytes, now);
        bytes = bytes.sliced(taken);
        if (!line_.gateClosed()) {
            step = advance(now);
        }
    } while (taken > 0 && !bytes.isEmpty() && !line_.ended());
    if (line_.state == XmodemState::Done) {
        line_.keepRest(bytes);
    }
    return step;
}

XferStep XmodemCodec::tick(qint64 now)
{
    return running() ? catchUp(now) : XferStep();
}

XferStep XmodemCodec::catchUp(qint64 now)
{
    if (line_.gateClosed() || !line_.takeExpired(now)) {
        return line_.settle({}, now);
    }
    XferStep step;
    if (auto* sender = std::get_if<XmodemSender>(&role_)) {
        step = sender->senderTick(now);
    } else {
        step = std::get<XmodemReceiver>(role_).receiverTick(now);
    }
    return line_.settle(std::move(step), now);
}

XferStep XmodemCodec::onEgressDrained(qint64 now)
{
    if (!running()) {
        return {};
    }
    line_.openGate(now);
    return advance(now);
}

XferStep XmodemCodec::pump(qint64 now)
{
    if (!running()) {
        return {};
    }
    XferStep step = catchUp(now);
    return line_.ended() || line_.gateClosed() ? step : advance(now);
}

XferStep XmodemCodec::cancel(qint64 now)
{
    if (line_.ended()) {
        return {};
    }
    return line_.settle(line_.failWith(XferError::LocalCancel, tr("Cancelled."), true), now);
}

XferStep XmodemCodec::advance(qint64 now)
{
    XferStep step;
    if (auto* sender = std::get_if<XmodemSender>(&role_)) {
        step = sender->senderPump(now);
    } else {
        step = std::get<XmodemReceiver>(role_).receiverPump(now);
    }
    return line_.settle(std::move(step), now);
}

XferProgress XmodemCodec::progress() const
{
    return std::visit([](const auto& role) { return role.progress(); }, role_);
}
