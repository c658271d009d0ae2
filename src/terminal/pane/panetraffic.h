#pragma once

#include <QObject>
#include <memory>

class ConnectionController;
class DisplaySink;
class PaneLog;
class PaneRecords;
class ReceivePipeline;
class SendPipeline;
class TransportReader;
class TransportWriter;

// The two roads of a pane's bytes between its transport and its view, and the log beside them.
//
// Received: controller -> TransportReader -> ReceivePipeline -> sink. Sent: SendPipeline ->
// TransportWriter -> controller. Makes the stations, gives them the pane's records and gathers what
// they have to say. Owned by the pane; controller, sink and records outlive it.
class PaneTraffic final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneTraffic)

public:
    PaneTraffic(ConnectionController& controller, DisplaySink& sink, PaneRecords& records);
    ~PaneTraffic() override;

    [[nodiscard]] ReceivePipeline& receive() const { return *m_receive; }
    [[nodiscard]] SendPipeline& send() const { return *m_send; }
    [[nodiscard]] TransportReader& reader() const { return *m_reader; }
    [[nodiscard]] TransportWriter& writer() const { return *m_writer; }
    [[nodiscard]] PaneLog& log() const { return *m_log; }

    // Puts the format record into force.
    void applyFormat();
    // Empties the view and sets both counters to 0.
    void clear();

Q_SIGNALS:
    void countersChanged();
    void statusMessage(const QString& text, int timeoutMs);

private:
    void gatherSignals();

    PaneRecords& m_records;
    std::unique_ptr<ReceivePipeline> m_receive;
    std::unique_ptr<TransportReader> m_reader;
    std::unique_ptr<PaneLog> m_log;
    std::unique_ptr<TransportWriter> m_writer;
    std::unique_ptr<SendPipeline> m_send;
};
