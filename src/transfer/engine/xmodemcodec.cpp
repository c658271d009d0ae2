#include "transfer/engine/xmodemcodec.h"

XmodemCodec::XmodemCodec(Role role, XferProtocol protocol, qint32 blockSizeOption)
    : m_line(protocol)
    , m_role(makeRole(role, m_line, blockSizeOption))
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
    if (auto* sender = std::get_if<XmodemSender>(&m_role)) {
        sender->setSource(source);
    }
}

void XmodemCodec::setSink(XferSink* sink)
{
    if (auto* receiver = std::get_if<XmodemReceiver>(&m_role)) {
        receiver->setSink(sink);
    }
}

void XmodemCodec::setReceiveLimit(qint64 bytes)
{
    if (auto* receiver = std::get_if<XmodemReceiver>(&m_role)) {
        receiver->setReceiveLimit(bytes);
    }
}

XferStep XmodemCodec::begin(const XferFileMeta& meta, qint64 now)
{
    if (m_begun || m_line.ended()) {
        return m_line.settle({}, now);
    }
    m_begun = true;
    XferStep step = std::visit([&](auto& role) { return role.begin(meta, now); }, m_role);
    return m_line.settle(std::move(step), now);
}

XferStep XmodemCodec::receive(QByteArrayView bytes, qint64 now)
{
    if (!running()) {
        return {};
    }
    XferStep step = catchUp(now);
    if (m_line.ended()) {
        m_line.keepRest(bytes);
        return step;
    }
    qsizetype taken = 0;
    // With the gate open a pump leaves less than a frame behind, so there is always room for more.
    do {
        taken = m_line.append(bytes, now);
        bytes = bytes.sliced(taken);
        if (!m_line.gateClosed()) {
            step = advance(now);
        }
    } while (taken > 0 && !bytes.isEmpty() && !m_line.ended());
    if (m_line.state == XmodemState::Done) {
        m_line.keepRest(bytes);
    }
    return step;
}

XferStep XmodemCodec::tick(qint64 now)
{
    return running() ? catchUp(now) : XferStep();
}

XferStep XmodemCodec::catchUp(qint64 now)
{
    if (m_line.gateClosed() || !m_line.takeExpired(now)) {
        return m_line.settle({}, now);
    }
    XferStep step;
    if (auto* sender = std::get_if<XmodemSender>(&m_role)) {
        step = sender->senderTick(now);
    } else {
        step = std::get<XmodemReceiver>(m_role).receiverTick(now);
    }
    return m_line.settle(std::move(step), now);
}

XferStep XmodemCodec::onEgressDrained(qint64 now)
{
    if (!running()) {
        return {};
    }
    m_line.openGate(now);
    return advance(now);
}

XferStep XmodemCodec::pump(qint64 now)
{
    if (!running()) {
        return {};
    }
    XferStep step = catchUp(now);
    return m_line.ended() || m_line.gateClosed() ? step : advance(now);
}

XferStep XmodemCodec::cancel(qint64 now)
{
    if (m_line.ended()) {
        return {};
    }
    return m_line.settle(m_line.failWith(XferError::LocalCancel, tr("Cancelled."), true), now);
}

XferStep XmodemCodec::advance(qint64 now)
{
    XferStep step;
    if (auto* sender = std::get_if<XmodemSender>(&m_role)) {
        step = sender->senderPump(now);
    } else {
        step = std::get<XmodemReceiver>(m_role).receiverPump(now);
    }
    return m_line.settle(std::move(step), now);
}

XferProgress XmodemCodec::progress() const
{
    return std::visit([](const auto& role) { return role.progress(); }, m_role);
}
