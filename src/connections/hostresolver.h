#pragma once

#include <QHash>
#include <QHostAddress>
#include <QObject>

class QHostInfo;

// Turns host names into IPv4 addresses without blocking, and remembers them until `reset`.
// A name that could not be found is not remembered: asking again looks it up again.
// Owned by the UdpLink.
class HostResolver final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HostResolver)

public:
    // Names that are remembered; one more forgets the others.
    static constexpr qsizetype kMaxNames = 64;

    explicit HostResolver(QObject* parent = nullptr);
    ~HostResolver() override;

    // The address of a name that was looked up before; null otherwise.
    [[nodiscard]] QHostAddress known(const QString& host) const { return m_known.value(host); }
    // Starts a lookup unless one for this name is running. One signal follows, never at once.
    void lookUp(const QString& host);
    // Forgets every name; lookups that are running end without a signal.
    void reset();

Q_SIGNALS:
    void resolved(const QString& host, const QHostAddress& address);
    void failed(const QString& host, const QString& reason);

private Q_SLOTS:
    void finish(const QHostInfo& info);

private:
    QHash<QString, QHostAddress> m_known;
    QHash<QString, int> m_running; // lookup identifiers
};
