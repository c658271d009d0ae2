#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <QHash>
#include <QTimer>
#include <functional>

// The peers of one pane: clients of its TCP server, or the senders that its UDP server has heard.
//
// Above them stand the targets that are no peer: the one that is meant without a choice and
// everybody, with the totals. A peer that leaves while it is the chosen target stays listed as
// gone, so that nothing meant for it goes to somebody else. Views hear of traffic at most every
// kRefreshMs. Bounds are those of the transports: it holds a row for each of their peers. Owned by
// the PeerPanel.
class PeerListModel final : public QAbstractTableModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PeerListModel)

public:
    enum Column { Address, Received, Sent, LastHeard, LastMessage, ColumnCount };
    enum class Kind { TcpClients, UdpPeers };
    // The one that is meant without a choice: who spoke last (UDP), or the only client.
    enum class Target { Own, All, Peer };

    using Clock = std::function<QDateTime()>;

    static constexpr int kTargetRows = 2;
    static constexpr int kRefreshMs = 250;
    // Of a message, for the preview: more than a column shows.
    static constexpr qsizetype kPreviewBytes = 64;

    // With the system's clock.
    explicit PeerListModel(QObject* parent = nullptr);
    // `clock` gives the local time.
    explicit PeerListModel(Clock clock, QObject* parent = nullptr);
    ~PeerListModel() override;

    // Forgets all peers and lists those of another kind from now on.
    void setKind(Kind kind);
    [[nodiscard]] Kind kind() const { return m_kind; }

    // A peer that is listed already is there again.
    void addPeer(const QString& key);
    void removePeer(const QString& key);
    // Forgets all peers and the totals.
    void clear();
    // Bytes from, or gone to, a peer; one that is not listed counts in the totals only.
    void noteReceived(const QString& key, qint64 bytes);
    // The beginning of what was received last, for who wants to see whose it is.
    void notePreview(const QString& key, const QByteArray& bytes);
    void noteSent(const QString& key, qint64 bytes);
    // The peer that stays listed when it leaves; empty for none.
    void setChosenPeer(const QString& key);

    // Peers that are there.
    [[nodiscard]] int peerCount() const;
    // What a row stands for; the key of a Target::Peer.
    [[nodiscard]] Target targetAt(int row) const;
    [[nodiscard]] QString keyAt(int row) const;
    // Whether the row is a peer that left.
    [[nodiscard]] bool isGone(int row) const;
    // The row of a target; -1 when there is none. `key` counts with Target::Peer only.
    [[nodiscard]] int rowOf(Target target, const QString& key = {}) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(
        int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    // A peer came, left or was forgotten.
    void peersChanged();

private:
    struct Peer
    {
        QString key;
        qint64 received = 0;
        qint64 sent = 0;
        QTime lastHeard;    // invalid while nothing was
        QByteArray preview; // at most kPreviewBytes
        bool gone = false;
        bool changed = false; // and not told yet
    };

    [[nodiscard]] QString addressText(int row) const;
    [[nodiscard]] QString text(int row, int column) const;
    [[nodiscard]] QString rowText(int row) const;
    void touch(const QString& key, const std::function<void(Peer&)>& change);
    void tellChanges();
    void drop(int index);
    void forgetGone();

    Clock m_clock;
    Kind m_kind = Kind::TcpClients;
    QList<Peer> m_peers;
    QHash<QString, int> m_index; // into m_peers
    Peer m_total;
    QString m_chosen;
    QTimer m_refresh;
};
