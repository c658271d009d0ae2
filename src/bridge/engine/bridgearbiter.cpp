#include "bridge/engine/bridgearbiter.h"

#include "bridge/engine/monotonic.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

namespace {

int clampedTimeoutMs(int timeoutMs)
{
    return qBound(
        BridgeArbiter::MinResponseTimeoutMs, timeoutMs, BridgeArbiter::MaxResponseTimeoutMs);
}

} // namespace

BridgeArbiter::BridgeArbiter(const FramingPolicy& policy, int responseTimeoutMs)
    : m_policy(policy.sanitized())
    , m_responseTimeoutMs(clampedTimeoutMs(responseTimeoutMs))
{}

void BridgeArbiter::setResponseTimeoutMs(int timeoutMs)
{
    m_responseTimeoutMs = clampedTimeoutMs(timeoutMs);
}

void BridgeArbiter::setMaxQueuedRequests(int count)
{
    m_maxQueuedRequests = qBound(1, count, MaxQueuedRequestsLimit);
}

void BridgeArbiter::setFramingPolicy(const FramingPolicy& policy)
{
    m_policy = policy.sanitized();
    for (BridgeFramer& framer : m_framers)
        framer.setPolicy(m_policy);
}

void BridgeArbiter::submit(const QString& peerKey, const QByteArray& data, qint64 nowMs)
{
    if (data.isEmpty())
        return;
    auto framer = m_framers.find(peerKey);
    if (framer == m_framers.end())
        framer = m_framers.insert(peerKey, BridgeFramer(m_policy));
    const QList<QByteArray> frames = framer->ingest(data, nowMs);
    for (const QByteArray& bytes : frames)
        enqueueRequest(peerKey, bytes);
}

bool BridgeArbiter::takeNext(qint64 nowMs, BridgeArbiter::Request* out)
{
    tick(nowMs);
    if (m_window || m_queue.empty())
        return false;
    *out = std::move(m_queue.front());
    m_queue.pop_front();
    m_window = Window{out->peerKey, nowMs, m_responseTimeoutMs, false};
    return true;
}

QString BridgeArbiter::routeResponse(qint64 nowMs)
{
    expireWindow(nowMs);
    if (!m_window)
        return {};
    m_window->responseSeen = true;
    m_window->quietSinceMs = nowMs;
    m_window->timeoutMs = m_responseTimeoutMs;
    return m_window->owner;
}

void BridgeArbiter::tick(qint64 nowMs)
{
    tickFramers(nowMs);
    expireWindow(nowMs);
}

int BridgeArbiter::nextTimeoutMs(qint64 nowMs) const
{
    if (!m_window && !m_queue.empty())
        return 0;
    qint64 next = m_window ? m_window->remainingMs(nowMs) : -1;
    for (const BridgeFramer& framer : m_framers) {
        const qint64 due = framer.nextTimeoutMs(nowMs);
        if (due >= 0 && (next < 0 || due < next))
            next = due;
    }
    return int(next); // bounded by the clamps of both policies
}

void BridgeArbiter::closeWindow()
{
    m_window.reset();
}

void BridgeArbiter::forgetPeer(const QString& peerKey)
{
    m_framers.remove(peerKey);
    std::erase_if(m_queue, [&](const Request& request) { return request.peerKey == peerKey; });
    if (m_window && m_window->owner == peerKey)
        closeWindow();
}

void BridgeArbiter::reset()
{
    m_framers.clear();
    m_queue.clear();
    closeWindow();
    m_droppedRequests = 0;
    m_timedOutRequests = 0;
}

qint64 BridgeArbiter::Window::remainingMs(qint64 nowMs) const
{
    return Monotonic::remainingMs(quietSinceMs, timeoutMs, nowMs);
}

void BridgeArbiter::enqueueRequest(const QString& peerKey, const QByteArray& bytes)
{
    while (int(m_queue.size()) >= m_maxQueuedRequests) {
        m_queue.pop_front();
        ++m_droppedRequests;
    }
    m_queue.push_back({peerKey, bytes});
}

// Requests that fall due together are queued in the order in which they began, not in that of the
// hash. A framer that holds nothing is let go, so that clients which never come back cost nothing.
void BridgeArbiter::tickFramers(qint64 nowMs)
{
    struct Due
    {
        qint64 startMs;
        QString peerKey;
        QList<QByteArray> frames;
    };
    std::vector<Due> dues;
    for (auto it = m_framers.begin(); it != m_framers.end(); ++it) {
        const qint64 startMs = it->frameStartMs();
        QList<QByteArray> frames = it->tick(nowMs);
        if (!frames.isEmpty())
            dues.push_back({startMs, it.key(), std::move(frames)});
    }
    m_framers.removeIf([](const auto& it) { return it->isEmpty(); });
    std::sort(dues.begin(), dues.end(), [](const Due& a, const Due& b) {
        return std::tie(a.startMs, a.peerKey) < std::tie(b.startMs, b.peerKey);
    });
    for (const Due& due : dues) {
        for (const QByteArray& bytes : due.frames)
            enqueueRequest(due.peerKey, bytes);
    }
}

void BridgeArbiter::expireWindow(qint64 nowMs)
{
    if (!m_window || m_window->remainingMs(nowMs) > 0)
        return;
    if (!m_window->responseSeen)
        ++m_timedOutRequests;
    closeWindow();
}
