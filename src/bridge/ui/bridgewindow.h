#pragma once

#include "bridge/bridgemanager.h"

#include <QDialog>
#include <QTimer>

class ModbusView;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class BridgeDialog;

// The bridges and how they do: a row for each with its state, what passed each way and a picture of
// the last two minutes, and below it what there is to say about the one that is selected. Figures
// are brought up to date every kRefreshMs while the window is visible; states at once. The manager
// outlives it.
class BridgeWindow final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BridgeWindow)

public:
    static constexpr int kRefreshMs = 500;

    explicit BridgeWindow(BridgeManager& manager, QWidget* parent = nullptr);
    ~BridgeWindow() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void build();
    void refresh();
    void refreshRow(QTreeWidgetItem& item, const BridgeLink& link);
    void refreshDetails();
    [[nodiscard]] QString details(const BridgeLink& link) const;
    [[nodiscard]] int currentIndex() const;
    [[nodiscard]] BridgeLink* currentLink() const;
    void add();
    void edit();
    void openDialog(const BridgeConfig& config, int index);
    void remove();
    void toggleEnabled();
    void openCapture();
    void tell(const QString& text);

    BridgeManager& m_manager;
    QTimer m_timer;
    QTreeWidget* m_list;
    QLabel* m_details;
    ModbusView* m_modbus;
    const BridgeLink* m_modbusLink = nullptr; // whose transactions are shown; for comparing
    QPushButton* m_edit;
    QPushButton* m_remove;
    QPushButton* m_enable;
    QPushButton* m_resume;
    QPushButton* m_capture;
};
