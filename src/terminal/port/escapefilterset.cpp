#include "terminal/port/escapefilterset.h"

void EscapeFilterSet::filter(QByteArray& bytes, const QString& peer)
{
    if (peer.isEmpty()) {
        m_stream.filter(bytes);
        return;
    }
    AnsiEscapeFilter& filter = m_peers[peer];
    filter.setSingleByteIntroducers(m_singleByteIntroducers);
    filter.filter(bytes);
    if (filter.isIdle())
        m_peers.erase(peer);
    else if (m_peers.size() > kMaxPeers)
        m_peers.erase(m_peers.begin());
}

void EscapeFilterSet::reset()
{
    m_stream.reset();
    m_peers.clear();
}

void EscapeFilterSet::setSingleByteIntroducers(bool on)
{
    m_singleByteIntroducers = on;
    m_stream.setSingleByteIntroducers(on);
}
