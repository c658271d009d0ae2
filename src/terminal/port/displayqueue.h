#pragma once

#include "terminal/format/displayrecord.h"
#include "terminal/text/ansiescapefilter.h"

#include <deque>
#include <functional>
#include <map>

// What waits for the receive view, in order of arrival: records, and between them marks that say
// what is to be done once everything before them has been taken.
//
// Received text passes the escape filter on its way in: one filter for the stream and one for each
// peer in the middle of a sequence, so that what one leaves unfinished never swallows the text of
// another. A record too large to be filtered at once (a resumed hold buffer has tens of megabytes)
// stays raw, as does what stands behind it, and is filtered slice by slice on its way out: the
// filter sees the stream in its order either way.
//
// A fast line delivers many small chunks within one millisecond, the resolution of the stamps. A
// chunk of the same time, direction and sender as the one before becomes part of its record: the
// text is the same, as any cutting of a record gives the same text, except for the lone line feed,
// which therefore stays alone.
//
// Owned by the receive pipeline, which bounds it: cost() says what the queue takes. At most
// kMaxPeers filters are kept, each with the bytes of one unfinished sequence; beyond that one of
// them loses these bytes.
class DisplayQueue final
{
    Q_DISABLE_COPY_MOVE(DisplayQueue)

public:
    // The largest piece handed out.
    static constexpr qsizetype kSliceBytes = qsizetype{64} * 1024;
    // What keeping a record takes besides its bytes, so that a stream of tiny ones is bounded too.
    static constexpr qint64 kRecordCost = 128;
    static constexpr std::size_t kMaxPeers = 256;

    DisplayQueue() = default;
    ~DisplayQueue() = default;

    // Queues a record, unless the filter leaves nothing of it. `filtered` says that it is received
    // text.
    void push(rxData record, bool filtered);
    // Something to do between what waits now and what comes later.
    void pushMark(std::function<void()> action);
    // Does what stands in front of the first record. To be called when what was taken is dealt
    // with.
    void runMarks();
    // What waits is not shown any more; it is handed out all the same, marked as hidden.
    void hideAll() { m_hidden = m_entries.size(); }
    // The next piece of the first record, marked as a continuation when it is not the record's
    // first; may hold no bytes. The queue is not empty. `filtered` says that received bytes are
    // text now.
    [[nodiscard]] rxData takeSlice(bool filtered);

    // Some of what waits passes its filter when it is taken, and so does all that is behind it.
    [[nodiscard]] bool hasRaw() const { return m_rawCount > 0; }
    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }
    [[nodiscard]] qint64 bytes() const { return m_bytes; }
    // Bytes, and kRecordCost for each record and mark.
    [[nodiscard]] qint64 cost() const;

    // The bytes of the peer's unfinished sequence, which ends with them; an empty key is the
    // stream's.
    [[nodiscard]] QByteArray takeUnfinished(const QString& peer);
    // Who is in the middle of a sequence.
    [[nodiscard]] QStringList unfinished() const;
    // Whether the single bytes 0x9B and 0x9D introduce sequences; for what comes from now on.
    void setSingleByteIntroducers(bool on);

private:
    struct Entry
    {
        rxData record;
        bool raw = false;
        std::function<void()> mark; // no record then
    };

    [[nodiscard]] bool joinsLast(const rxData& record) const;
    void filter(QByteArray& bytes, const QString& peer);
    void popFirst();

    std::deque<Entry> m_entries;
    AnsiEscapeFilter m_stream;
    std::map<QString, AnsiEscapeFilter> m_peers; // at most kMaxPeers, in the middle of a sequence
    bool m_singleByteIntroducers = true;
    qint64 m_bytes = 0;
    std::size_t m_rawCount = 0;
    std::size_t m_hidden = 0; // entries in front that are not shown
    // Of the first record:
    qsizetype m_taken = 0;     // bytes handed out
    bool m_sliceShown = false; // a piece with bytes in it was handed out
    QByteArray m_carried;      // filtered and kept for the next piece; at most 1 byte
};
