#include "connections/hostresolver.h"

#include <QHostInfo>
#include <algorithm>

HostResolver::HostResolver(QObject* parent)
    : QObject(parent)
{}

HostResolver::~HostResolver()
{
    reset();
}

void HostResolver::lookUp(const QString& host)
{
    if (m_running.contains(host))
        return;
    const int id = QHostInfo::lookupHost(
        host, this, [this, host](const QHostInfo& info) { finish(host, info); });
    m_running.insert(host, id);
}

void HostResolver::reset()
{
    for (const int id : std::as_const(m_running))
        QHostInfo::abortHostLookup(id);
    m_running.clear();
    m_known.clear();
}

void HostResolver::finish(const QString& host, const QHostInfo& info)
{
    // An aborted lookup may have posted its result already.
    const auto running = m_running.constFind(host);
    if (running == m_running.cend() || *running != info.lookupId())
        return;
    m_running.erase(running);

    const QList<QHostAddress> addresses = info.addresses();
    const auto found = std::find_if(addresses.cbegin(), addresses.cend(),
        [](const QHostAddress& each) { return each.protocol() == QAbstractSocket::IPv4Protocol; });
    if (found == addresses.cend()) {
        Q_EMIT failed(
            host, addresses.isEmpty() ? info.errorString() : tr("it has no IPv4 address"));
        return;
    }
    if (m_known.size() >= maxNames)
        m_known.clear();
    m_known.insert(host, *found);
    Q_EMIT resolved(host, *found);
}
