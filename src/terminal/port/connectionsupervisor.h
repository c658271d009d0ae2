#pragma once

#include "settings/settings.h"

#include <QObject>
#include <QSerialPort>
#include <QTimer>
#include <chrono>

class ConnectionController;
class SerialPortCatalog;

// Opens, closes and regains the connection of one pane.
//
// Decides when the ConnectionController connects; the controller does it. A connection that is
// lost while auto-reconnect is on, and that nobody closed, is tried again every 2000 ms without an
// end: a serial port once its name is back in the catalogue, a TCP client by connecting anew. A
// server listens on every address of the machine, on the target port of the settings, until it is
// closed: it has nothing to regain.
//
// The pane listens to the messages here and not to the controller's: all of those come through,
// except errors of attempts that nobody asked for (quiet starts and reconnecting), which stay
// status messages. Owned by the pane; controller and catalogue outlive it.
class ConnectionSupervisor final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionSupervisor)

public:
    static constexpr std::chrono::milliseconds kReconnectInterval{2000};

    ConnectionSupervisor(
        ConnectionController& controller, SerialPortCatalog& catalog, QObject* parent = nullptr);
    ~ConnectionSupervisor() override;

    // For the next start and for reconnecting; an open connection stays as it is.
    void setSettings(const Settings& settings);

    // Opens what the settings name. True when it is open or (TCP) connecting; an open connection
    // is left alone, also one that a message to send has opened. False otherwise, with
    // lastError() saying why; `quiet` keeps the error from errorOccurred().
    bool start(bool quiet);
    // Closes by the person's will: nothing reconnects until the next start.
    void stop();

    void setAutoReconnect(bool on);
    [[nodiscard]] bool autoReconnect() const { return m_autoReconnect; }
    // Gives up regaining a lost connection; the option stays.
    void disarmReconnect();

    [[nodiscard]] bool isOpen() const { return m_open; }
    // A TCP connection is being made.
    [[nodiscard]] bool isConnecting() const;
    // A lost connection is being regained.
    [[nodiscard]] bool isReconnecting() const { return m_timer.isActive(); }
    // The serial port vanished and is waited for.
    [[nodiscard]] bool isWaitingForPort() const { return m_waitingForPort; }
    [[nodiscard]] bool closedByUser() const { return m_closedByUser; }
    // Why the connection is not there; empty after a success.
    [[nodiscard]] QString lastError() const { return m_lastError; }

    // One attempt to regain the connection: what the timer does.
    void reconnectTick();

Q_SIGNALS:
    // The connection stands; the transport has been told nothing yet.
    void opened();
    // It stood and does not any more, for whatever reason. Unread bytes were announced by the
    // controller's readyRead() before.
    void closed();
    // Any of the states above changed.
    void stateChanged();
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);
    // The port is back under this name.
    void serialPortReconnected(const QString& name);

private:
    bool startSerial();
    bool startTcp();
    bool startServer();
    bool startUdp();
    void fail(const QString& text);
    void markOpen();
    void markClosed();
    void closeTransport();
    void connectTcp();
    void reconnectTcpTick();
    void reconnectSerialTick();
    void onControllerStatus(const QString& text, int timeoutMs);
    void onControllerError(const QString& text);
    void onSerialPortLost();
    void onSerialError(QSerialPort::SerialPortError error);
    void onSerialPortVanished();
    void onTcpClientDisconnected();
    void onPeerArrived(const QString& peerKey);

    ConnectionController& m_controller;
    SerialPortCatalog& m_catalog;
    QTimer m_timer;
    Settings m_settings;
    // What was opened last, and is to be closed or regained, whatever the settings say by now.
    Settings m_active;
    QString m_lastError;
    QSerialPort::SerialPortError m_reportedError = QSerialPort::NoError;
    bool m_open = false;
    bool m_quiet = false; // the attempt in progress was not asked for
    // The port is being opened or closed: errors are its own to report, or (dropping the lines of a
    // device that is gone) of no interest.
    bool m_operating = false;
    bool m_muted = false; // a vanished port is being closed; its messages say nothing new
    bool m_autoReconnect = false;
    bool m_waitingForPort = false;
    bool m_closedByUser = false;
};
