#pragma once

#include "terminal/text/wiretextdecoder.h"

#include <QString>
#include <map>
#include <memory>

// The text decoders of one pane: one for sent bytes, one for the received stream and one for each
// peer that sends datagrams or shares a server, so that characters cut between two chunks of
// different peers never mix.
//
// Owned by the receive pipeline. At most kMaxPeers peer decoders are kept; beyond that the least
// recently used one goes, and with it at most the bytes of one unfinished character.
class DecoderSet final
{
    Q_DISABLE_COPY_MOVE(DecoderSet)

public:
    static constexpr std::size_t kMaxPeers = 256;

    DecoderSet();
    ~DecoderSet();

    // Names as in FormatSetting. True, with all decoders fresh, when one of them changed.
    bool setEncodings(const QString& received, const QString& sent);
    // Fresh decoders in both directions, no peers.
    void reset();

    // The decoder of a peer, made on first use; an empty key is the stream's. Valid until the next
    // call of a member function.
    [[nodiscard]] WireTextDecoder& received(const QString& peer = {});
    [[nodiscard]] WireTextDecoder& sent() { return *m_sent; }
    // Drops the decoder of a peer that left, and with it the bytes of an unfinished character.
    void forgetPeer(const QString& peer) { m_peers.erase(peer); }
    [[nodiscard]] std::size_t peerCount() const { return m_peers.size(); }

private:
    struct PeerDecoder
    {
        std::unique_ptr<WireTextDecoder> decoder;
        quint64 lastUse = 0;
    };

    void dropLeastRecentlyUsed();

    QString m_receivedEncoding;
    QString m_sentEncoding;
    std::unique_ptr<WireTextDecoder> m_received;
    std::unique_ptr<WireTextDecoder> m_sent;
    std::map<QString, PeerDecoder> m_peers; // at most kMaxPeers
    quint64 m_useCount = 0;
};
