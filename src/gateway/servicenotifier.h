#pragma once

#include <QObject>
#include <QTimer>

// Tells the service manager that started the program how it is: ready, reading its configuration
// again, ending, still alive (the protocol of sd_notify(3): datagrams of NAME=VALUE lines to the
// socket that NOTIFY_SOCKET names). Does nothing without NOTIFY_SOCKET.
//
// Alive is what reaches the event loop: a timer says so every half of WATCHDOG_USEC. One for the
// program.
class ServiceNotifier final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ServiceNotifier)

public:
    explicit ServiceNotifier(QObject* parent = nullptr);
    ~ServiceNotifier() override;

    // Also the end of reloading.
    void ready();
    void reloading();
    void stopping();
    // A line for people; the same one again is not sent.
    void status(const QString& text);

private:
    void send(const QByteArray& message) const;

    const QByteArray m_socket; // a path, or '@' and an abstract name; empty for nobody
    QString m_status;
    QTimer m_alive;
};
