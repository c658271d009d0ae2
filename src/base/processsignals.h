#pragma once

#include <QObject>

class QSocketNotifier;

// What the system asks of the program: to end (SIGTERM and SIGINT: logging out, shutting down, the
// person at the terminal), and by SIGHUP either that, as the terminal is closed, or to read its
// configuration again. Tells so in the event loop. The signal to end, once more, ends the program
// at once. Without effect where there are no such signals. There is one, owned by the start of the
// program.
class ProcessSignals final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ProcessSignals)

public:
    enum class Hangup { Ends, Reloads };

    explicit ProcessSignals(Hangup hangup, QObject* parent = nullptr);
    ~ProcessSignals() override;

Q_SIGNALS:
    void endRequested();
    void reloadRequested();

private:
    QSocketNotifier* m_notifier = nullptr;
};
