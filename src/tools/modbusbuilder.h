#pragma once

#include "base/clock.h"
#include "tools/modbuspoll.h"
#include "tools/modbusstate.h"

#include <QDialog>
#include <QPointer>
#include <QSettings>
#include <QTimer>

class LivePort;
class ModbusForm;
class ModbusPollPage;
class ModbusValueModel;
class ModbusValueView;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QTabWidget;

// The Modbus request builder: a request written field by field, its frames, the answer to it, and a
// list of kept requests that is polled. A window of its own beside the panes, which blocks nothing.
//
// Data flow: form -> ModbusRequest -> ModbusPoll -> port; what the port receives -> ModbusPoll ->
// answer or table of values. It speaks to the port of the current pane. While something runs it
// stays with the port that it began with: another pane made current must not get the requests that
// are meant for this one. It sees a copy of what is received; the pane shows and logs all of it.
//
// What is written and kept is in the application store a moment after each change.
class ModbusBuilder final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusBuilder)

public:
    static constexpr int kSaveDelayMs = 500;
    static constexpr int kWaitForPortMs = 1000; // unless it is heard of before
    static constexpr int kStillLeavingMs = 20;

    explicit ModbusBuilder(QWidget* parent = nullptr);
    ~ModbusBuilder() override;

    // The port of the current pane; null for none.
    void setPort(LivePort* port);

Q_SIGNALS:
    // Bytes to put into the send editor of the current pane.
    void insertRequested(const QByteArray& bytes);

protected:
    void done(int result) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Running : quint8 { Nothing, Once, Repeat, Poll };

    [[nodiscard]] QWidget* requestPage();
    void addNameRow();
    void orderTabs();
    [[nodiscard]] QWidget* answerBox();
    [[nodiscard]] QWidget* wireBox();
    [[nodiscard]] QLayout* bottom();
    void wire();
    void restore();
    void scheduleSave();
    void save();

    void onEdited();
    void onFraming();
    void showFrames();
    void keepRequest();
    void edit(const ModbusRequest& request);
    void fillOpenMenu();

    [[nodiscard]] Modbus::Framing framing() const;
    void sendOnce();
    void startRepeat();
    void startPoll();
    void start(Running running, const QList<ModbusPoll::Item>& items, qint64 intervalMs);
    void stop();
    void advance();
    [[nodiscard]] bool mayWaitForPort() const;
    [[nodiscard]] bool sendDue();
    void receive(const QByteArray& bytes, const QString& peer);
    void take(const std::optional<ModbusPoll::Outcome>& outcome);
    void follow(LivePort* port);
    void showRunning();
    void showPort();
    void tell(const QString& text);

    QSettings m_store;
    MonotonicClock m_clock = monotonicMs;
    ModbusPoll m_poll;
    Running m_running = Running::Nothing;
    bool m_mayOpen = false; // the person has just asked for it: a closed port is opened
    bool m_waitsForPort = false;
    bool m_begun = false; // something was sent: a port that closes now is waited for
    ModbusRequest m_sent; // what the answer belongs to
    QByteArray m_sentFrame;
    QPointer<LivePort> m_current; // of the current pane
    QPointer<LivePort> m_port;    // that is spoken to
    QTimer m_timer;
    QTimer m_saveTimer;
    bool m_restoring = true;

    QTabWidget* m_pages;
    ModbusForm* m_form;
    ModbusPollPage* m_pollPage;
    ModbusValueModel* m_values;
    QLineEdit* m_name;
    QPushButton* m_open;
    QPushButton* m_keep;
    QRadioButton* m_rtu;
    QRadioButton* m_tcp;
    QLineEdit* m_rtuFrame;
    QLineEdit* m_tcpFrame;
    QPushButton* m_insert;
    QPushButton* m_send;
    QCheckBox* m_repeat;
    QSpinBox* m_repeatMs;
    QSpinBox* m_timeoutMs;
    QLabel* m_asked; // what the answer is an answer to
    QLabel* m_answer;
    QLineEdit* m_answerFrame;
    ModbusValueView* m_valueView;
    QLabel* m_portState;
    QLabel* m_message; // seen on every page
};
