#pragma once

#include "bridge/engine/framingpolicy.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// Cuts a stream of bytes into frames, so that a bridge forwards a request whole and not in the
// pieces that a read happened to return. Nothing is added, lost or reordered: the frames joined
// are the bytes that went in.
//
// Theory of operation. The framer is empty or holds one partial frame.
//  - empty -> partial: ingest() leaves bytes behind that no rule of the mode cuts.
//  - partial -> empty: ingest() completes the frame; or tick(), which ingest() begins with, finds
//  that the line was idle for
//    the idle gap (IdleGap only) or that the frame has waited for the flush timeout; or flush().
// Within one harvest the mode's own rule comes first (delimiter, fixed length), then the forced
// cut at the largest frame size. A delimited frame that arrives within one read is therefore
// whole even when it is longer than that size; one that arrives piecemeal is cut at the size.
// What stays behind after a cut is a new partial frame, which began with the read that brought it.
//
// Time: nextTimeoutMs() says in how many milliseconds tick() has something to do.
// Memory: between calls fewer than policy().maxFrameBytes bytes are held (until the next call also
// after a setPolicy() that lowered it), within a call that and the read that came in. The search
// for the delimiter goes on where it stopped, and a cut moves no more bytes than the read brought,
// so that the cost of a byte does not depend on how much is held.
class BridgeFramer final
{
public:
    explicit BridgeFramer(const FramingPolicy& policy = {});

    // Takes the policy, sanitized, for everything from the next call on; held bytes stay.
    void setPolicy(const FramingPolicy& policy);
    const FramingPolicy& policy() const { return m_policy; }

    // Forgets the held bytes.
    void reset();

    // The frames that were due by time before data came, then those that data completes, oldest
    // first. In Immediate mode these may share data.
    QList<QByteArray> ingest(const QByteArray& data, qint64 nowMs);
    // The frames that are due by time.
    QList<QByteArray> tick(qint64 nowMs);
    // Everything that is held.
    QList<QByteArray> flush();
    // Milliseconds until tick() is due, 0 when it already is, -1 while nothing is held.
    qint64 nextTimeoutMs(qint64 nowMs) const;

    bool isEmpty() const { return m_buffer.isEmpty(); }
    qsizetype bufferedBytes() const { return m_buffer.size(); }
    // When the held partial frame began; meaningless while isEmpty().
    qint64 frameStartMs() const { return m_frameStartMs; }

private:
    qsizetype harvest(QByteArrayView bytes, bool force, QList<QByteArray>& frames);
    qsizetype takeDelimited(QByteArrayView bytes, QList<QByteArray>& frames);
    void dropFront(qsizetype count);

    FramingPolicy m_policy;
    QByteArray m_buffer; // the partial frame; fewer than m_policy.maxFrameBytes bytes
    qint64 m_frameStartMs = 0;
    qint64 m_lastByteMs = 0;
    qsizetype m_searchFrom = 0; // no delimiter starts in m_buffer before this offset
};
