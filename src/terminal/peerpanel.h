#pragma once

#include "terminal/peerlistmodel.h"

#include <QWidget>

class QLabel;
class QToolButton;
class QTreeView;

// Who is at the other end of a pane that talks to several: a line that says how many there are and
// to whom the pane sends, and below it, unless folded away, the list. The selected row is the
// target of what is sent. Hidden in modes with one peer. Owned by the pane's view.
class PeerPanel final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PeerPanel)

public:
    using Target = PeerListModel::Target;

    explicit PeerPanel(QWidget* parent = nullptr);
    ~PeerPanel() override;

    [[nodiscard]] PeerListModel& model() const { return *m_model; }

    // Which peers the mode has; without one the panel is hidden. Forgets the former peers.
    void setKind(PeerListModel::Kind kind);
    // Where peers find the pane ("*:6000"), empty while nobody can.
    void setListeningOn(const QString& address);
    void setExpanded(bool expanded);
    [[nodiscard]] bool isExpanded() const;

    [[nodiscard]] Target target() const { return m_target; }
    // Of a chosen peer; empty for the other targets.
    [[nodiscard]] QString targetPeer() const { return m_targetPeer; }

Q_SIGNALS:
    // Chosen by the person, or given up because the list was cleared.
    void targetChanged();
    void disconnectRequested(const QString& peerKey);
    void clearRequested();

private:
    void buildHeader();
    void buildList();
    void showSummary();
    void onCurrentChanged(const QModelIndex& current);
    void selectTarget();
    void openMenu(const QPoint& position);

    PeerListModel* m_model;
    QToolButton* m_fold;
    QLabel* m_summary;
    QLabel* m_empty;
    QTreeView* m_list;
    Target m_target = Target::All;
    QString m_targetPeer;
    QString m_listeningOn;
};
