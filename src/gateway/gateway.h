#pragma once

#include "bridge/bridgemanager.h"
#include "connections/systemportcatalog.h"
#include "gateway/gatewayfile.h"
#include "gateway/journal.h"
#include "terminal/port/liveport.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <memory>
#include <vector>

// The ports, bridges and logs of a session at work, without a screen.
//
// apply() brings a plan into force and can be called again with another one: a port whose records
// are the same stays as it is with its clients, a bridge whose configuration is the same goes on.
// Ports that a bridge uses or that keep a log are opened and tried again for ever. What happens
// goes to the journal; what repeats itself is said once in Journal::kRepeatMs, and what is said of
// clients and by a port has a bound for each kWindowMs: who connects without end does not fill the
// disk.
//
// finish() ends in order: bridges forward what is complete, ports let go of what waits, logs are
// written, for kFinishMs at most; ended() follows. The journal outlives it.
class Gateway final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Gateway)

public:
    static constexpr int kWindowMs = 10'000;
    static constexpr int kMaxLinesInWindow = 50; // of a port
    static constexpr int kFinishMs = 5000;
    static constexpr int kFinishStepMs = 20;

    explicit Gateway(Journal& journal, QObject* parent = nullptr);
    ~Gateway() override;

    void apply(const GatewayPlan& plan);
    void finish();

    [[nodiscard]] int portCount() const { return int(m_ports.size()); }
    [[nodiscard]] const LivePort& port(int index) const
    {
        return *m_ports[std::size_t(index)]->live;
    }
    [[nodiscard]] const BridgeManager& bridges() const { return m_bridges; }
    // For the service manager: "2 of 3 ports open, 1 of 1 bridges running".
    [[nodiscard]] QString summary() const;

Q_SIGNALS:
    // summary() may be another.
    void changed();
    void ended();

private:
    struct Port
    {
        std::unique_ptr<LivePort> live;
        SessionPane records; // as the file has them
        int number = 0;      // from 1
        ConnectionLife life = ConnectionLife::Closed;
        QString error;  // that was said
        QString reason; // of the last end of a connection
        int lines = 0;  // in this window
        int leftOut = 0;
    };
    struct ToldBridge
    {
        QString name;
        BridgeState state = BridgeState::Off;
        QString error;
    };

    void resize(std::size_t count);
    void watch(Port& port);
    void take(Port& port, const SessionPane& records, bool wanted);
    void letGo(std::unique_ptr<LivePort> port);
    void noteState(Port& port);
    void noteNotice(Port& port, const Notice& notice);
    void notePeer(Port& port, const QString& peer, bool arrived);
    void sayBounded(Journal::Level level, Port& port, const QString& text);
    void onWindowOver();
    void noteBridges();
    void finishStep();
    void say(Journal::Level level, const Port& port, const QString& text);

    Journal& m_journal;
    SystemPortCatalog m_catalog;
    std::vector<std::unique_ptr<Port>> m_ports;       // at most SessionContents::kMaxPanes
    std::vector<std::unique_ptr<LivePort>> m_leaving; // whose logs are being written
    BridgeManager m_bridges;                          // before the ports it goes
    QHash<const BridgeLink*, ToldBridge> m_told;
    QTimer m_window; // runs while something was said in it
    QTimer m_finishing;
    QElapsedTimer m_finishClock;
    bool m_isEnding = false;
};
