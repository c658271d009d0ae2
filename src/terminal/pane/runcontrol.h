#pragma once

#include "connections/seriallines.h"
#include "terminal/port/runstate.h"

#include <QObject>
#include <memory>

class ConnectionController;
class ConnectionSupervisor;
class PaneRecords;
class PaneTraffic;
class SerialPortCatalog;

// Whether a pane runs: starts, pauses and stops its connection and, with it, its traffic.
//
// The ConnectionSupervisor opens, closes and regains the connection; what that means for the view
// and for repeated sending, and how the state is called, is decided here. What a person changes in
// the connection panel takes effect as far as an open connection allows. Owned by the pane;
// controller, catalogue, records and traffic outlive it.
class RunControl final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(RunControl)

public:
    RunControl(ConnectionController& controller, SerialPortCatalog& catalog, PaneRecords& records,
        PaneTraffic& traffic);
    ~RunControl() override;

    // As SerialPortWidget::start().
    bool start(const QString& portName, bool quiet);
    void pause();
    void stop();
    // Puts the settings record into force, as far as an open connection allows.
    void applySettings();

    [[nodiscard]] ConnectionSupervisor& supervisor() const { return *m_supervisor; }
    [[nodiscard]] RunState state() const;
    [[nodiscard]] bool isOpen() const;
    // Open, connecting or being regained: there is something to stop.
    [[nodiscard]] bool isActive() const;
    // "Open", "Paused", "Connecting..." and the like.
    [[nodiscard]] QString stateText() const;

Q_SIGNALS:
    // The view runs, for the first time or again.
    void started();
    // Paused or closed.
    void halted(RunState state);
    void stateChanged();
    void statusMessage(const QString& text, int timeoutMs);
    // A notice that stays until it is dismissed or cleared.
    void errorOccurred(const QString& text);
    void errorCleared(const QString& text);

private:
    void onOpened();
    void onClosed();
    void resume();
    void requestLine(SerialLine line, bool on);

    ConnectionController& m_controller;
    PaneRecords& m_records;
    PaneTraffic& m_traffic;
    std::unique_ptr<ConnectionSupervisor> m_supervisor;
    QString m_error; // the last one, as the notice shows it
};
