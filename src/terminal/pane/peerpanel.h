#pragma once

#include "terminal/pane/peerlistmodel.h"

#include <QWidget>
#include <optional>

class ElidedLabel;
class LivePort;
class QToolButton;
class QTreeView;

// Who is at the other end of a pane that talks to several: a line that says how many there are and
// to whom the pane sends, and below it, unless folded away, the list. The current row is the
// target of what is sent. Owned by the pane's view, which shows it below the receive view.
class PeerPanel final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PeerPanel)

public:
    using Kind = PeerListModel::Kind;
    using Target = PeerListModel::Target;

    // Rows that the list asks for; the others are reached by scrolling.
    static constexpr int kMinRows = 2;
    static constexpr int kMaxRows = 4;

    explicit PeerPanel(QWidget* parent = nullptr);
    ~PeerPanel() override;

    // Lists the peers of this port and chooses for it, from now on; it outlives the panel's
    // traffic.
    void follow(LivePort* port);
    [[nodiscard]] PeerListModel& model() const { return *m_model; }

    // Which peers the pane has; without a kind the panel is hidden. Another kind than before
    // forgets the former peers.
    void setKind(std::optional<Kind> kind);
    // Where peers find the pane ("*:6000"), empty while they cannot.
    void setListeningOn(const QString& address);
    void setExpanded(bool expanded);
    [[nodiscard]] bool isExpanded() const { return m_expanded; }

    // Chooses a target as a person does; a peer that is not listed changes nothing.
    void choose(Target target, const QString& peerKey = {});
    [[nodiscard]] Target target() const { return m_target; }
    // The key of a chosen peer; empty for the other targets.
    [[nodiscard]] QString targetPeer() const { return m_targetPeer; }
    // The line above the list.
    [[nodiscard]] QString summary() const;

Q_SIGNALS:
    // Chosen by the person, or given up because the list was emptied.
    void targetChanged();
    void disconnectRequested(const QString& peerKey);
    void clearRequested();

protected:
    // Keeps a click that opens the menu from choosing a target.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildHeader();
    void buildList();
    void refresh();
    void fitList();
    void chooseDefault();
    void onCurrentChanged(const QModelIndex& current);
    void showPort();
    void addUdpPeers();
    void tellTarget();
    void openMenu(const QPoint& position);
    [[nodiscard]] QString emptyText() const;
    [[nodiscard]] QString targetText(const QString& target) const;

    LivePort* m_port = nullptr;
    PeerListModel* m_model;
    QToolButton* m_fold;
    ElidedLabel* m_summary;
    QTreeView* m_list;
    bool m_expanded = true;
    Target m_target = Target::Own;
    QString m_targetPeer;
    QString m_listeningOn;
};
