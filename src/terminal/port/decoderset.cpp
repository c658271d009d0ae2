#include "terminal/port/decoderset.h"

#include "terminal/text/wiretextcodecregistry.h"

#include <algorithm>

DecoderSet::DecoderSet()
    : m_receivedEncoding(WireTextCodecRegistry::defaultEncoding())
    , m_sentEncoding(m_receivedEncoding)
{
    reset();
}

DecoderSet::~DecoderSet() = default;

bool DecoderSet::setEncodings(const QString& received, const QString& sent)
{
    if (received == m_receivedEncoding && sent == m_sentEncoding)
        return false;
    m_receivedEncoding = received;
    m_sentEncoding = sent;
    reset();
    return true;
}

void DecoderSet::reset()
{
    m_received = WireTextCodecRegistry::createDecoder(m_receivedEncoding);
    m_sent = WireTextCodecRegistry::createDecoder(m_sentEncoding);
    m_peers.clear();
}

WireTextDecoder& DecoderSet::received(const QString& peer)
{
    if (peer.isEmpty())
        return *m_received;
    auto found = m_peers.find(peer);
    if (found == m_peers.end()) {
        if (m_peers.size() >= kMaxPeers)
            dropLeastRecentlyUsed();
        found = m_peers
                    .emplace(peer,
                        PeerDecoder{WireTextCodecRegistry::createDecoder(m_receivedEncoding), 0})
                    .first;
    }
    found->second.lastUse = ++m_useCount;
    return *found->second.decoder;
}

void DecoderSet::dropLeastRecentlyUsed()
{
    m_peers.erase(std::min_element(m_peers.begin(), m_peers.end(),
        [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; }));
}
