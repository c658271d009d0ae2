#pragma once

#include <QObject>

class QSocketNotifier;

// What the system asks of the program: to end (SIGTERM, SIGINT) and to read its file again
// (SIGHUP). Tells so in the event loop. The signal to end, once more, ends the program at once.
// Without effect where there are no such signals. There is one.
class GatewaySignals final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(GatewaySignals)

public:
    explicit GatewaySignals(QObject* parent = nullptr);
    ~GatewaySignals() override;

Q_SIGNALS:
    void endRequested();
    void reloadRequested();

private:
    QSocketNotifier* m_notifier = nullptr;
};
