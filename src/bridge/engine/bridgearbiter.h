#pragma once

#include "bridge/engine/bridgeframer.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <deque>
#include <optional>

// Turn-taking for several network clients that share one serial device which answers one request
// at a time. Each client's bytes become whole requests, the requests go out one by one in the
// order of arrival, and what the device sends meanwhile belongs to the client whose turn it is.
//
// Data flow: submit() -> the client's BridgeFramer -> request queue -> takeNext() -> serial side;
// serial side -> routeResponse() -> the key of the client that the block belongs to.
//
// Theory of operation. The arbiter is idle or has one request in flight, which owns the response
// window.
//  - idle -> in flight: takeNext() hands out the oldest request; its deadline is one response
//    timeout away.
//  - in flight -> in flight: routeResponse() before the deadline moves the deadline to one
//    response timeout from now, so that an answer in pieces keeps its window.
//  - in flight -> idle: the deadline is reached (seen by tick(), takeNext() or routeResponse()),
//    forgetPeer() of the owner, closeWindow(), reset(). A window in which nothing came back counts
//    as timed out.
//
// Time: nextTimeoutMs() says when to call tick() and takeNext().
// Memory: at most maxQueuedRequests requests, the oldest is dropped for a new one; one framer for
// each client that has sent part of a request, which its flush timeout releases.
// Owned by a bridge link.
class BridgeArbiter final
{
    Q_DISABLE_COPY_MOVE(BridgeArbiter)

public:
    static constexpr int MinResponseTimeoutMs = 1;
    static constexpr int MaxResponseTimeoutMs = 600'000;
    static constexpr int DefaultMaxQueuedRequests = 64;
    static constexpr int MaxQueuedRequestsLimit = 4096;

    struct Request
    {
        QString peerKey;
        QByteArray bytes;
    };

    BridgeArbiter(const FramingPolicy& policy, int responseTimeoutMs);
    ~BridgeArbiter() = default;

    // Clamped to MinResponseTimeoutMs to MaxResponseTimeoutMs; counts from the next deadline on.
    void setResponseTimeoutMs(int timeoutMs);
    // Clamped to 1 to MaxQueuedRequestsLimit; counts from the next request on.
    void setMaxQueuedRequests(int count);
    // For every client, those with a partial request included.
    void setFramingPolicy(const FramingPolicy& policy);

    // Bytes that a client sent.
    void submit(const QString& peerKey, const QByteArray& data, qint64 nowMs);
    // Starts the next turn, when there is one: the request to write to the serial side is in out.
    bool takeNext(qint64 nowMs, BridgeArbiter::Request* out);
    // To be called for every block from the serial side: whose it is; empty when nobody's.
    QString routeResponse(qint64 nowMs);
    // Queues the requests that are due by time and ends an overdue window.
    void tick(qint64 nowMs);
    // Milliseconds until tick() or takeNext() is due, 0 when it already is, -1 when not needed.
    int nextTimeoutMs(qint64 nowMs) const;

    // Ends the turn early; not counted as timed out.
    void closeWindow();
    // The client is gone: its requests, queued or in flight, are given up.
    void forgetPeer(const QString& peerKey);
    void reset();

    bool isInFlight() const { return m_window.has_value(); }
    // The client whose turn it is; empty while idle.
    QString windowOwner() const { return m_window ? m_window->owner : QString(); }
    int queuedRequests() const { return int(m_queue.size()); }
    // Requests that were dropped because the queue was full.
    qint64 droppedRequests() const { return m_droppedRequests; }
    // Requests whose window ended without any response.
    qint64 timedOutRequests() const { return m_timedOutRequests; }

private:
    // The deadline is timeoutMs after quietSinceMs.
    struct Window
    {
        QString owner;
        qint64 quietSinceMs = 0;
        int timeoutMs = 0;
        bool responseSeen = false;

        qint64 remainingMs(qint64 nowMs) const;
    };

    void enqueueRequest(const QString& peerKey, const QByteArray& bytes);
    void tickFramers(qint64 nowMs);
    void expireWindow(qint64 nowMs);

    FramingPolicy m_policy;
    int m_responseTimeoutMs;
    int m_maxQueuedRequests = DefaultMaxQueuedRequests;
    QHash<QString, BridgeFramer> m_framers; // by peer key; only those that may hold bytes
    std::deque<Request> m_queue;            // oldest first; at most m_maxQueuedRequests
    std::optional<Window> m_window;         // the request in flight
    qint64 m_droppedRequests = 0;
    qint64 m_timedOutRequests = 0;
};
