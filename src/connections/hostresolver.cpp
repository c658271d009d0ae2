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
    // By name, since Qt 6.4 leaks a functor whose lookup is aborted or whose receiver goes.
    const int id = QHostInfo::lookupHost(host, this, SLOT(finish(QHostInfo)));
    m_running.insert(host, id);
}

void HostResolver::reset()
{
    for (const int id : std::as_const(m_running))
        QHostInfo::abortHostLookup(id);
    m_running.clear();
    m_known.clear();
}

void HostResolver::finish(const QHostInfo& info)
{
    // An aborted lookup may have posted its result already.
    const QString host = m_running.key(info.lookupId());
    if (m_running.remove(host) == 0)
        return;

    const QList<QHostAddress> addresses = info.addresses();
    const auto found = std::find_if(addresses.cbegin(), addresses.cend(),
        [](const QHostAddress& each) { return each.protocol() == QAbstractSocket::IPv4Protocol; });
    if (found == addresses.cend()) {
        Q_EMIT failed(
            host, addresses.isEmpty() ? info.errorString() : tr("it has no IPv4 address"));
        return;
    }
    if (m_known.size() >= kMaxNames)
        m_known.clear();
    m_known.insert(host, *found);
    Q_EMIT resolved(host, *found);
}
