#pragma once

#include "bridge/engine/bridgeframer.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <deque>
#include <optional>

// Turn-taking for several network clients that share one serial device which answers one request
// at a time. Each client's bytes become whole requests, the requests go out one by one in the
// order of arrival, and what the device sends meanwhile belongs to the client whose turn it is.
//
// Data flow: submit() -> the client's BridgeFramer -> request queue -> takeNext() -> serial side,
// or submitRequest() -> request queue for requests that are whole already; serial side ->
// routeResponse() -> the key of the client that the block belongs to. What never reaches the device
// or is never answered comes back through takeGivenUp().
//
// Theory of operation. The arbiter is idle, has one request in flight, which owns the response
// window, or waits for the line to become quiet. Every call that is given the time first does what
// was due by then.
//  - idle -> in flight: takeNext() hands out the oldest request; its deadline is one response
//    timeout away.
//  - in flight -> in flight: routeResponse() before the deadline moves the deadline to one
//    response timeout from now, so that an answer in pieces keeps its window.
//  - in flight -> idle: the deadline is reached (seen by tick(), takeNext() or routeResponse()),
//    forgetPeer() of the owner, closeWindow(), reset(). A window in which nothing came back counts
//    as timed out. A request with a tag is one whose owner knows when its answer is complete and
//    then says closeWindow(): without that its answer has not come, whatever else did, and its
//    window ends after kMaxQuietTimes response timeouts even on a line that never falls silent.
//  - With setLineQuietMs() a turn that has ended is followed by silence on the line before the next
//    request goes out: between frames after an answer; after a time-out for as long as an answer
//    may still be on its way, so that it is not taken for the answer to a later request. A client
//    that leaves while its request is in flight then leaves its window behind, owned by nobody,
//    until the answer is complete (closeWindow()) or its deadline is reached.
//
// Time: nextTimeoutMs() says when to call tick() and takeNext().
// Memory: at most maxQueuedRequests requests of together kMaxQueuedBytes, the oldest is dropped for
// a new one; at most kMaxFramedPeers framers with at most kMaxQueuedBytes, for the clients that
// have sent part of a request: the one that waited longest is cut for a new one. At most
// kMaxQueuedRequestsLimit requests that were given up are remembered, the latest ones.
// Owned by a bridge link.
class BridgeArbiter final
{
    Q_DISABLE_COPY_MOVE(BridgeArbiter)

public:
    static constexpr int kMinResponseTimeoutMs = 1;
    static constexpr int kMaxResponseTimeoutMs = 600'000;
    static constexpr int kDefaultMaxQueuedRequests = 64;
    static constexpr int kMaxQueuedRequestsLimit = 4096;
    static constexpr int kMaxLineQuietMs = 60'000;
    // A line that never falls silent is waited for this many times as long, then no more.
    static constexpr int kMaxQuietTimes = 20;
    static constexpr qint64 kMaxQueuedBytes = 16'777'216;
    static constexpr int kMaxFramedPeers = 1024;

    struct Request
    {
        QString peerKey;
        QByteArray bytes;
        quint64 tag = 0; // the owner's, handed back as it is; 0 for none
        // 0: an answer is awaited for the response timeout. Otherwise none is (a broadcast), and
        // the line is left to the devices for this many milliseconds.
        int holdMs = 0;
    };

    enum class Fate {
        Dropped,  // never went out: the queue was full
        TimedOut, // went out, and no answer came
    };

    struct GivenUp
    {
        QString peerKey;
        quint64 tag = 0;
        Fate fate = Fate::Dropped;
    };

    BridgeArbiter(const FramingPolicy& policy, int responseTimeoutMs);
    ~BridgeArbiter() = default;

    // Clamped to kMinResponseTimeoutMs to kMaxResponseTimeoutMs; counts from the next deadline on.
    void setResponseTimeoutMs(int timeoutMs);
    // Clamped to 1 to kMaxQueuedRequestsLimit; counts from the next request on.
    void setMaxQueuedRequests(int count);
    // For every client, those with a partial request included.
    void setFramingPolicy(const FramingPolicy& policy);
    // How long the line must be silent after the last block of an answer, and after a time-out,
    // before the next request goes out; 0, the default, for not at all. Clamped to 0 to
    // kMaxLineQuietMs; counts from the next turn that ends.
    void setLineQuietMs(int afterAnswerMs, int afterTimeoutMs);

    // Bytes that a client sent. Its key is not empty, which stands for nobody.
    void submit(const QString& peerKey, const QByteArray& data, qint64 nowMs);
    // A whole request, which is not framed again. Not for clients whose bytes go to submit().
    void submitRequest(Request request, qint64 nowMs);
    // Starts the next turn, when there is one: the request to write to the serial side is in out.
    bool takeNext(qint64 nowMs, BridgeArbiter::Request* out);
    // To be called when the request in flight has left the port: its deadline counts from now.
    void noteLeft(qint64 nowMs);
    // To be called for every block from the serial side: whose it is; empty when nobody's, as for
    // what comes late.
    QString routeResponse(qint64 nowMs);
    // Instead, for a block that the owner knows to be no part of the answer awaited.
    void noteStray(qint64 nowMs);
    // Queues the requests that are due by time and ends an overdue window.
    void tick(qint64 nowMs);
    // Milliseconds until tick() or takeNext() is due, 0 when it already is, -1 when not needed.
    int nextTimeoutMs(qint64 nowMs) const;

    // Ends the turn early, as the answer is complete or the request did not go out after all; not
    // counted as timed out.
    void closeWindow();
    // The client is gone: its requests, queued or in flight, are forgotten.
    void forgetPeer(const QString& peerKey);
    // The requests of clients that were dropped or timed out since the last call, oldest first.
    QList<GivenUp> takeGivenUp();
    void reset();

    bool isInFlight() const { return m_window.has_value(); }
    // The client whose turn it is; empty while idle and when that client has left.
    QString windowOwner() const { return m_window ? m_window->owner : QString(); }
    // The tag of the request in flight; 0 while idle.
    quint64 windowTag() const { return m_window ? m_window->tag : 0; }
    int queuedRequests() const { return int(m_queue.size()); }
    // The clients of the queued requests, the next first; one may be there several times.
    QStringList waitingPeers() const;
    // Requests that were dropped because the queue was full.
    qint64 droppedRequests() const { return m_droppedRequests; }
    // Bytes of those, of the queued ones, and of what clients have sent of requests to come. With
    // what takeNext() has handed out and what forgetPeer() has forgotten they are all that came in.
    qint64 droppedBytes() const { return m_droppedBytes; }
    qint64 queuedBytes() const { return m_queuedBytes; }
    qint64 heldBytes() const;
    // Requests whose window ended without any response.
    qint64 timedOutRequests() const { return m_timedOutRequests; }

private:
    // The deadline is timeoutMs after quietSinceMs.
    struct Window
    {
        QString owner;
        quint64 tag = 0;
        qint64 beganMs = 0;
        qint64 quietSinceMs = 0;
        int timeoutMs = 0;
        bool answerAwaited = true;
        bool responseSeen = false;

        qint64 remainingMs(qint64 nowMs) const;
    };

    // The line is left alone until it has been silent for quietMs, at most kMaxQuietTimes of it.
    struct Quiet
    {
        qint64 beganMs = 0;
        qint64 lastBlockMs = 0;
        int quietMs = 0;

        qint64 remainingMs(qint64 nowMs) const;
    };

    void enqueueRequest(Request request);
    void dropRequest(const Request& request);
    void giveUp(const QString& peerKey, quint64 tag, Fate fate);
    void cutFramersToBounds();
    void cutOldestFramer();
    void tickFramers(qint64 nowMs);
    void expireWindow(qint64 nowMs);
    void awaitQuiet(qint64 sinceMs, int quietMs);

    FramingPolicy m_policy;
    int m_responseTimeoutMs;
    int m_maxQueuedRequests = kDefaultMaxQueuedRequests;
    int m_quietAfterAnswerMs = 0;
    int m_quietAfterTimeoutMs = 0;
    QHash<QString, BridgeFramer> m_framers; // by peer key; at most kMaxFramedPeers between calls
    std::deque<Request> m_queue;            // oldest first; at most m_maxQueuedRequests
    qint64 m_queuedBytes = 0;               // at most kMaxQueuedBytes
    std::optional<Window> m_window;         // the request in flight
    std::optional<Quiet> m_quiet;           // until the line is free again
    std::deque<GivenUp> m_givenUp;          // oldest first; at most kMaxQueuedRequestsLimit
    qint64 m_droppedRequests = 0;
    qint64 m_droppedBytes = 0;
    qint64 m_timedOutRequests = 0;
};
