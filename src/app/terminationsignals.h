#pragma once

#include <QObject>

class QSocketNotifier;

// The system ends the program: logging out, shutting down, closing the terminal that it was started
// from (SIGTERM, SIGHUP, SIGINT). Tells so in the event loop, so that logs and settings can be
// written. The same signal once more ends the program at once. Without effect where there are no
// such signals. There is one, owned by the start of the program.
class TerminationSignals final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TerminationSignals)

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received();

private:
    QSocketNotifier* m_notifier = nullptr;
};
