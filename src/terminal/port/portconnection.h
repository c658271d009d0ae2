#pragma once

#include "connections/transport.h"
#include "terminal/port/connectionlife.h"

#include <QSerialPort>
#include <QTimer>
#include <chrono>

class ConnectionController;
class SerialPortCatalog;

// Opens, closes and regains the connection of one live port.
//
// Decides when the ConnectionController connects; the controller does it. What is wanted and what
// is open are two things here: settings() are those of the next start, active() those of the
// connection that is open, being made or being regained. They differ from the moment that the
// wanted ones name another target until the next start, which closes the former connection first.
// Settings that keep the target are in force at once.
//
// A connection that is lost while auto-reconnect is on, and that nobody closed, is tried again
// every 2000 ms without an end: a serial port once its name is back in the catalogue, a TCP client
// by connecting anew. A server listens on every address of the machine until it is closed: it has
// nothing to regain.
//
// All notices of the transport come through here. Errors of attempts that nobody asked for (quiet
// starts and reconnecting) stay messages of some seconds. Owned by the live port;
// controller and catalogue outlive it.
class PortConnection final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortConnection)

public:
    static constexpr std::chrono::milliseconds kReconnectInterval{2000};

    PortConnection(
        ConnectionController& controller, SerialPortCatalog& catalog, QObject* parent = nullptr);
    ~PortConnection() override;

    // True when they differ from the last ones.
    bool setSettings(const Settings& settings);
    [[nodiscard]] const Settings& settings() const { return m_settings; }
    [[nodiscard]] const Settings& active() const { return m_active; }

    // Opens what the settings name. True when it is open or (TCP) connecting; an open connection
    // to the same target is left alone. False otherwise, with lastError() saying why; `quiet` keeps
    // the error to a message of some seconds.
    bool start(bool quiet);
    // Closes by the person's will: nothing reconnects until the next start.
    void stop();

    // Switched off, it gives up regaining a lost connection.
    void setAutoReconnect(bool on);
    [[nodiscard]] bool autoReconnect() const { return m_autoReconnect; }

    [[nodiscard]] ConnectionLife life() const { return m_life; }
    [[nodiscard]] bool isOpen() const { return m_life == ConnectionLife::Open; }
    // "Open", "Connecting..." and the like.
    [[nodiscard]] QString lifeText() const;
    // Why the connection is not there; empty after a success.
    [[nodiscard]] QString lastError() const { return m_lastError; }

    // One attempt to regain the connection: what the timer does.
    void reconnectTick();

Q_SIGNALS:
    // The connection stands; nothing has been read or written yet.
    void opened();
    // It stood and does not any more, for whatever reason. Unread bytes were announced by the
    // controller before.
    void closed();
    // An attempt ended without a connection.
    void failed();
    void lifeChanged();
    void noticed(const Notice& notice);
    // The cause of notices that stay has gone.
    void noticesCleared();

private:
    [[nodiscard]] bool mayRegain() const;
    void follow(LifeEvent event);
    [[nodiscard]] QString missing() const;
    bool attempt(Transport::OpenMode how);
    void fail(const QString& text);
    void tell(const QString& text, int shownMs);
    void closeTransport();
    void regainTcp();
    void regainSerial();
    void onOpened();
    void onClosed(const CloseReason& reason);
    void onNotice(const Notice& notice);
    void onSerialError(QSerialPort::SerialPortError error);
    void onSerialPortVanished();

    ConnectionController& m_controller;
    SerialPortCatalog& m_catalog;
    QTimer m_timer; // runs while a lost connection is to be regained
    Settings m_settings;
    Settings m_active;
    QString m_lastError;
    QSerialPort::SerialPortError m_reportedError = QSerialPort::NoError;
    ConnectionLife m_life = ConnectionLife::Closed;
    bool m_quiet = false;   // the attempt in progress was not asked for
    bool m_closing = false; // by will; what follows from it is no loss
    bool m_autoReconnect = false;
};
