#pragma once

#include "terminal/text/ansiescapefilter.h"

#include <QString>
#include <map>

// The escape filters of one pane: one for the received stream and one for each peer that is in the
// middle of a sequence, so that what one peer leaves unfinished never swallows the text of another.
//
// A value of the display queue. At most kMaxPeers peers are kept, each with the bytes of one
// unfinished sequence; beyond that one of them loses these bytes.
class EscapeFilterSet final
{
    Q_DISABLE_COPY_MOVE(EscapeFilterSet)

public:
    static constexpr std::size_t kMaxPeers = 256;

    EscapeFilterSet() = default;
    ~EscapeFilterSet() = default;

    // Takes the sequences out of bytes that came from the peer; an empty key is the stream's.
    void filter(QByteArray& bytes, const QString& peer);
    // Unfinished sequences of all peers and of the stream are dropped.
    void reset();
    void forgetPeer(const QString& peer) { m_peers.erase(peer); }
    // As AnsiEscapeFilter's; for what comes from now on.
    void setSingleByteIntroducers(bool on);

private:
    AnsiEscapeFilter m_stream;
    std::map<QString, AnsiEscapeFilter> m_peers; // at most kMaxPeers
    bool m_singleByteIntroducers = true;
};
