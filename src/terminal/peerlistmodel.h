#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <QTimer>
#include <functional>

// The peers of one pane: clients of its TCP server, or the senders that its UDP server has heard.
//
// Above them stand the targets that are no peer: everybody, and for UDP whoever spoke last. A peer
// that leaves while it is the chosen target stays listed as gone, so that nothing meant for it goes
// to somebody else. What arrives is told record by record; views hear of it at most every
// kRefreshMs. Owned by the PeerPanel.
class PeerListModel final : public QAbstractTableModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PeerListModel)

public:
    enum Column { Address, Received, Sent, LastHeard, LastMessage, ColumnCount };
    enum class Kind { TcpClients, UdpPeers };
    // The row's Target and, for a peer, its key.
    enum Role { TargetRole = Qt::UserRole, KeyRole };
    enum class Target { All, LastSender, Peer };

    using Clock = std::function<QDateTime()>;

    static constexpr int kRefreshMs = 250;
    // Of a message, for the preview: as much as a column can show.
    static constexpr qsizetype kPreviewBytes = 64;

    explicit PeerListModel(QObject* parent = nullptr);
    // `clock` gives the local time for when a peer was last heard.
    PeerListModel(Clock clock, QObject* parent = nullptr);
    ~PeerListModel() override;

    // Forgets all peers and lists those of another kind from now on.
    void setKind(Kind kind);
    [[nodiscard]] Kind kind() const { return m_kind; }

    void addPeer(const QString& key);
    void removePeer(const QString& key);
    void clear();
    // Bytes from, or on their way to, a peer; one that is not listed counts for the totals only.
    void noteReceived(const QString& key, const QByteArray& bytes);
    void noteSent(const QString& key, qint64 bytes);

    // The peer that is kept when it leaves; empty for none.
    void setChosenPeer(const QString& key);

    // Peers that are there.
    [[nodiscard]] int peerCount() const;
    // -1 when not listed.
    [[nodiscard]] int rowOf(const QString& key) const;
    [[nodiscard]] int rowOf(Target target) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(
        int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    void peerCountChanged();

private:
    struct Peer
    {
        QString key;
        qint64 received = 0;
        qint64 sent = 0;
        QDateTime lastHeard; // invalid while nothing was
        QByteArray preview;  // at most kPreviewBytes
        bool gone = false;
        bool changed = false; // and not told yet
    };

    [[nodiscard]] int firstPeerRow() const { return m_kind == Kind::UdpPeers ? 2 : 1; }
    [[nodiscard]] QString text(int row, int column) const;
    [[nodiscard]] QString addressText(int row) const;
    Peer* find(const QString& key);
    void touch(Peer* peer);
    void tellChanges();
    void dropRow(int row);

    Clock m_clock;
    Kind m_kind = Kind::TcpClients;
    QList<Peer> m_peers;
    QHash<QString, int> m_index; // into m_peers
    Peer m_total;
    QString m_chosen;
    QTimer m_refresh;
};
