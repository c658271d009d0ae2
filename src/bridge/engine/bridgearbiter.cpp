#include "bridge/engine/bridgearbiter.h"

#include "bridge/engine/monotonic.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

namespace {

int clampedTimeoutMs(int timeoutMs)
{
    return qBound(
        BridgeArbiter::kMinResponseTimeoutMs, timeoutMs, BridgeArbiter::kMaxResponseTimeoutMs);
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
    m_maxQueuedRequests = qBound(1, count, kMaxQueuedRequestsLimit);
}

void BridgeArbiter::setFramingPolicy(const FramingPolicy& policy)
{
    m_policy = policy.sanitized();
    for (BridgeFramer& framer : m_framers)
        framer.setPolicy(m_policy);
}

void BridgeArbiter::setLineQuietMs(int afterAnswerMs, int afterTimeoutMs)
{
    m_quietAfterAnswerMs = qBound(0, afterAnswerMs, kMaxLineQuietMs);
    m_quietAfterTimeoutMs = qBound(0, afterTimeoutMs, kMaxLineQuietMs);
}

void BridgeArbiter::submit(const QString& peerKey, const QByteArray& data, qint64 nowMs)
{
    tick(nowMs);
    if (data.isEmpty())
        return;
    auto framer = m_framers.find(peerKey);
    if (framer == m_framers.end())
        framer = m_framers.insert(peerKey, BridgeFramer(m_policy));
    const QList<QByteArray> frames = framer->ingest(data, nowMs);
    for (const QByteArray& bytes : frames)
        enqueueRequest({.peerKey = peerKey, .bytes = bytes});
    cutFramersToBounds();
}

void BridgeArbiter::submitRequest(Request request, qint64 nowMs)
{
    tick(nowMs);
    if (!request.bytes.isEmpty())
        enqueueRequest(std::move(request));
}

bool BridgeArbiter::takeNext(qint64 nowMs, BridgeArbiter::Request* out)
{
    tick(nowMs);
    if (m_window || m_quiet || m_queue.empty())
        return false;
    *out = std::move(m_queue.front());
    m_queue.pop_front();
    m_queuedBytes -= out->bytes.size();
    const bool answerAwaited = out->holdMs <= 0;
    m_window = Window{.owner = out->peerKey,
        .tag = out->tag,
        .beganMs = nowMs,
        .quietSinceMs = nowMs,
        .timeoutMs = answerAwaited ? m_responseTimeoutMs : clampedTimeoutMs(out->holdMs),
        .answerAwaited = answerAwaited};
    return true;
}

void BridgeArbiter::noteLeft(qint64 nowMs)
{
    tick(nowMs);
    if (m_window && !m_window->responseSeen)
        m_window->beganMs = m_window->quietSinceMs = nowMs;
}

void BridgeArbiter::noteStray(qint64 nowMs)
{
    tick(nowMs);
    if (m_quiet)
        m_quiet->lastBlockMs = nowMs;
}

QString BridgeArbiter::routeResponse(qint64 nowMs)
{
    noteStray(nowMs);
    if (!m_window || !m_window->answerAwaited)
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
    if (m_quiet && m_quiet->remainingMs(nowMs) == 0)
        m_quiet.reset();
}

int BridgeArbiter::nextTimeoutMs(qint64 nowMs) const
{
    qint64 next = -1;
    if (m_window)
        next = m_window->remainingMs(nowMs);
    else if (!m_queue.empty())
        next = m_quiet ? m_quiet->remainingMs(nowMs) : 0;
    for (const BridgeFramer& framer : m_framers) {
        const qint64 due = framer.nextTimeoutMs(nowMs);
        if (due >= 0 && (next < 0 || due < next))
            next = due;
    }
    return int(next); // bounded by the clamps of both policies
}

void BridgeArbiter::closeWindow()
{
    if (m_window && m_window->responseSeen)
        awaitQuiet(m_window->quietSinceMs, m_quietAfterAnswerMs);
    m_window.reset();
}

void BridgeArbiter::forgetPeer(const QString& peerKey)
{
    m_framers.remove(peerKey);
    std::erase_if(m_queue, [&](const Request& request) {
        const bool gone = request.peerKey == peerKey;
        m_queuedBytes -= gone ? request.bytes.size() : 0;
        return gone;
    });
    std::erase_if(m_givenUp, [&](const GivenUp& request) { return request.peerKey == peerKey; });
    if (!m_window || m_window->owner != peerKey)
        return;
    // The device does not know that its client has left.
    if (m_window->answerAwaited && m_quietAfterTimeoutMs > 0)
        m_window->owner.clear();
    else
        m_window.reset();
}

QStringList BridgeArbiter::waitingPeers() const
{
    QStringList peers;
    peers.reserve(qsizetype(m_queue.size()));
    for (const Request& request : m_queue)
        peers.append(request.peerKey);
    return peers;
}

QList<BridgeArbiter::GivenUp> BridgeArbiter::takeGivenUp()
{
    QList<GivenUp> givenUp(m_givenUp.cbegin(), m_givenUp.cend());
    m_givenUp.clear();
    return givenUp;
}

void BridgeArbiter::reset()
{
    m_framers.clear();
    m_queue.clear();
    m_queuedBytes = 0;
    m_window.reset();
    m_quiet.reset();
    m_givenUp.clear();
    m_droppedRequests = 0;
    m_droppedBytes = 0;
    m_timedOutRequests = 0;
}

qint64 BridgeArbiter::heldBytes() const
{
    return std::accumulate(m_framers.cbegin(), m_framers.cend(), qint64(0),
        [](qint64 sum, const BridgeFramer& framer) { return sum + framer.bufferedBytes(); });
}

qint64 BridgeArbiter::Window::remainingMs(qint64 nowMs) const
{
    const qint64 left = Monotonic::remainingMs(quietSinceMs, timeoutMs, nowMs);
    if (tag == 0)
        return left;
    return qMin(left, Monotonic::remainingMs(beganMs, qint64(timeoutMs) * kMaxQuietTimes, nowMs));
}

qint64 BridgeArbiter::Quiet::remainingMs(qint64 nowMs) const
{
    return qMin(Monotonic::remainingMs(lastBlockMs, quietMs, nowMs),
        Monotonic::remainingMs(beganMs, qint64(quietMs) * kMaxQuietTimes, nowMs));
}

void BridgeArbiter::enqueueRequest(Request request)
{
    const qint64 size = request.bytes.size();
    if (size > kMaxQueuedBytes) {
        dropRequest(request);
        return;
    }
    while (int(m_queue.size()) >= m_maxQueuedRequests || m_queuedBytes + size > kMaxQueuedBytes) {
        m_queuedBytes -= m_queue.front().bytes.size();
        dropRequest(m_queue.front());
        m_queue.pop_front();
    }
    m_queuedBytes += size;
    m_queue.push_back(std::move(request));
}

void BridgeArbiter::dropRequest(const Request& request)
{
    ++m_droppedRequests;
    m_droppedBytes += request.bytes.size();
    giveUp(request.peerKey, request.tag, Fate::Dropped);
}

void BridgeArbiter::giveUp(const QString& peerKey, quint64 tag, Fate fate)
{
    if (int(m_givenUp.size()) >= kMaxQueuedRequestsLimit)
        m_givenUp.pop_front();
    m_givenUp.push_back({peerKey, tag, fate});
}

void BridgeArbiter::cutFramersToBounds()
{
    while (m_framers.size() > kMaxFramedPeers || heldBytes() > kMaxQueuedBytes)
        cutOldestFramer();
}

// What the client with the oldest partial request has sent becomes a request.
void BridgeArbiter::cutOldestFramer()
{
    auto oldest = m_framers.begin();
    for (auto it = m_framers.begin(); it != m_framers.end(); ++it) {
        if (it->isEmpty() || (!oldest->isEmpty() && it->frameStartMs() < oldest->frameStartMs()))
            oldest = it;
    }
    const QString peerKey = oldest.key();
    const QList<QByteArray> frames = oldest->flush();
    m_framers.remove(peerKey);
    for (const QByteArray& bytes : frames)
        enqueueRequest({.peerKey = peerKey, .bytes = bytes});
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
            enqueueRequest({.peerKey = due.peerKey, .bytes = bytes});
    }
}

void BridgeArbiter::expireWindow(qint64 nowMs)
{
    if (!m_window || m_window->remainingMs(nowMs) > 0)
        return;
    const bool nothingCame = m_window->answerAwaited && !m_window->responseSeen;
    const bool incomplete = m_window->answerAwaited && m_window->tag != 0;
    m_timedOutRequests += nothingCame ? 1 : 0;
    if (nothingCame || incomplete) {
        if (!m_window->owner.isEmpty())
            giveUp(m_window->owner, m_window->tag, Fate::TimedOut);
        const qint64 overdueMs = qMax<qint64>(
            0, Monotonic::elapsedMs(m_window->quietSinceMs, nowMs) - m_window->timeoutMs);
        awaitQuiet(nowMs - overdueMs, m_quietAfterTimeoutMs);
    }
    m_window.reset();
}

void BridgeArbiter::awaitQuiet(qint64 sinceMs, int quietMs)
{
    if (quietMs > 0)
        m_quiet = Quiet{.beganMs = sinceMs, .lastBlockMs = sinceMs, .quietMs = quietMs};
}
