#pragma once

#include <QWidget>
#include <memory>

class ConnectionPanel;
class ControlLineRow;
class FileTransferBar;
class FindBar;
class NoticeBar;
class PaneStatusLine;
class PeerPanel;
class QSplitter;
class QuickSettingsLayout;
class ReceivePanel;
class ReceiveView;
class SendEditor;
class SendPanel;
class SettingsColumn;
struct QuickSettingsGroups;

// What a pane looks like: the quick settings column on the left, the receive view above the send
// editor on the right, the pane's status line below. Builds and places the widgets and knows
// nothing of what they do; the pane wires them.
class PaneView final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneView)

public:
    explicit PaneView(QWidget* parent = nullptr);
    ~PaneView() override;

    [[nodiscard]] ConnectionPanel& connectionPanel() const { return *m_connection; }
    [[nodiscard]] ReceivePanel& receivePanel() const { return *m_receive; }
    [[nodiscard]] SendPanel& sendPanel() const { return *m_send; }
    [[nodiscard]] ControlLineRow& controlLineRow() const { return *m_lines; }
    [[nodiscard]] QuickSettingsLayout& quickSettings() const { return *m_quickSettings; }
    [[nodiscard]] ReceiveView& receiveView() const { return *m_view; }
    [[nodiscard]] FindBar& findBar() const { return *m_find; }
    [[nodiscard]] PeerPanel& peerPanel() const { return *m_peers; }
    [[nodiscard]] FileTransferBar& transferBar() const { return *m_transfer; }
    [[nodiscard]] NoticeBar& noticeBar() const { return *m_notice; }
    [[nodiscard]] SendEditor& sendEditor() const { return *m_editor; }
    [[nodiscard]] PaneStatusLine& statusLine() const { return *m_status; }

    // A column without groups is not shown, whatever was asked for.
    void setQuickSettingsVisible(bool visible);
    void setQuickSettingsGroups(const QuickSettingsGroups& groups);
    // Relative sizes of the settings column and of the terminal, as the settings record keeps them.
    void setSplitterSizes(int left, int right);
    [[nodiscard]] std::pair<int, int> splitterSizes() const;

Q_SIGNALS:
    void splitterMoved();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void applySplitterSizes();
    void showColumn();
    SettingsColumn* buildSettingsColumn();
    QWidget* buildTerminal();

    QSplitter* m_splitter;
    ConnectionPanel* m_connection;
    ReceivePanel* m_receive;
    SendPanel* m_send;
    ControlLineRow* m_lines;
    NoticeBar* m_notice;
    FileTransferBar* m_transfer;
    ReceiveView* m_view;
    FindBar* m_find;
    PeerPanel* m_peers;
    SendEditor* m_editor;
    PaneStatusLine* m_status;
    std::unique_ptr<QuickSettingsLayout> m_quickSettings;
    SettingsColumn* m_column;
    bool m_columnWanted = true;
    // Relative sizes that wait for the width they are relative to; 0 when there are none.
    int m_leftShare = 0;
    int m_rightShare = 0;
};
