#pragma once

#include "terminal/format/displayrecord.h"
#include "terminal/port/escapefilterset.h"

#include <deque>

// The records that wait for the receive view, in order of arrival.
//
// Received text passes the escape filter on its way in. A record too large to be filtered at once
// (a resumed hold buffer has tens of megabytes) stays raw, as does what stands behind it, and is
// filtered slice by slice on its way out: the filter sees the stream in its order either way.
//
// A fast line delivers many small chunks within one millisecond, the resolution of the stamps. A
// chunk of the same time, direction and sender as the one before becomes part of its record: the
// text is the same, as any cutting of a record gives the same text, except for the lone line feed,
// which therefore stays alone.
//
// Owned by the receive pipeline, which bounds it: cost() says what the queue takes.
class DisplayQueue final
{
    Q_DISABLE_COPY_MOVE(DisplayQueue)

public:
    // The largest piece handed out.
    static constexpr qsizetype kSliceBytes = qsizetype{64} * 1024;
    // What keeping a record takes besides its bytes, so that a stream of tiny ones is bounded too.
    static constexpr qint64 kRecordCost = 128;

    DisplayQueue() = default;
    ~DisplayQueue() = default;

    // Queues a record, unless the filter leaves nothing of it. `filtered` says that it is received
    // text.
    void push(rxData record, bool filtered);
    // What is pushed from now on joins no record that is queued now.
    void seal() { m_sealed = true; }
    // The next piece of the first record, marked as a continuation when it is not the record's
    // first; may hold no bytes. The queue is not empty. `filtered` says that received bytes are
    // text now.
    [[nodiscard]] rxData takeSlice(bool filtered);

    [[nodiscard]] bool isEmpty() const { return m_records.empty(); }
    // Records not yet handed out to their end.
    [[nodiscard]] std::size_t count() const { return m_records.size(); }
    [[nodiscard]] qint64 bytes() const { return m_bytes; }
    // Bytes, and kRecordCost for each record.
    [[nodiscard]] qint64 cost() const;

    [[nodiscard]] EscapeFilterSet& filters() { return m_filters; }

private:
    struct Entry
    {
        rxData record;
        bool raw = false;
    };

    [[nodiscard]] bool joinsLast(const rxData& record) const;

    std::deque<Entry> m_records;
    EscapeFilterSet m_filters;
    qint64 m_bytes = 0;
    std::size_t m_rawCount = 0;
    bool m_sealed = false;
    // Of the first record:
    qsizetype m_taken = 0;     // bytes handed out
    bool m_sliceShown = false; // a piece with bytes in it was handed out
    QByteArray m_carried;      // filtered and kept for the next piece; at most 1 byte
};
