#pragma once

#include "tools/modbusstate.h"

#include <QWidget>

struct ModbusAnswer;
class ModbusValueModel;
class ModbusValueView;
class QPushButton;
class QSpinBox;
class QTableWidget;
class QTableWidgetItem;
class QTime;

// The kept requests in their order, which of them are polled, and a table of the values that they
// bring. Its list is the one that is kept. While a poll runs the list stands still.
class ModbusPollPage final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusPollPage)

public:
    explicit ModbusPollPage(QWidget* parent = nullptr);
    ~ModbusPollPage() override;

    [[nodiscard]] const QList<ModbusState::Kept>& kept() const { return m_kept; }
    void setKept(const QList<ModbusState::Kept>& kept);
    // Under its name, in place of the one that has it. False when there is no room.
    bool keep(const ModbusRequest& request);

    [[nodiscard]] qint64 intervalMs() const;
    void setIntervalMs(qint64 intervalMs);
    // Clears the values and shows the polled requests, whose numbers here are their places in
    // `kept()`.
    void begin();
    void setRunning(bool running);
    void setAnswer(int kept, const ModbusAnswer& answer, const QTime& at);
    void setResult(int kept, const QString& text);

Q_SIGNALS:
    void changed();
    void openRequested(const ModbusRequest& request);
    void startRequested();
    void stopRequested();

private:
    void build();
    void showList(int current);
    void showButtons();
    void move(int by);
    void remove();
    void onItemChanged(const QTableWidgetItem* item);
    [[nodiscard]] int current() const;

    QList<ModbusState::Kept> m_kept; // at most ModbusState::kMaxKept
    QList<int> m_group;              // of a kept request in the table of values, or -1
    ModbusValueModel* m_model;
    QTableWidget* m_list;
    ModbusValueView* m_values;
    QPushButton* m_open;
    QPushButton* m_up;
    QPushButton* m_down;
    QPushButton* m_remove;
    QPushButton* m_start;
    QSpinBox* m_interval;
    bool m_running = false;
    bool m_showing = false;
};
