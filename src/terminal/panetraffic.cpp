#include "terminal/panetraffic.h"

#include "terminal/connectionsummary.h"
#include "terminal/panelog.h"
#include "terminal/panerecords.h"
#include "terminal/receivepipeline.h"
#include "terminal/remoteseriallink.h"
#include "terminal/sendpipeline.h"
#include "terminal/transportreader.h"
#include "terminal/transportwriter.h"

PaneTraffic::PaneTraffic(ConnectionController& controller, RemoteSerialLink& remote,
    DisplaySink& sink, PaneRecords& records)
    : m_records(records)
    , m_receive(std::make_unique<ReceivePipeline>(sink))
    , m_reader(std::make_unique<TransportReader>(controller, *m_receive, records.settings()))
    , m_log(std::make_unique<PaneLog>(*m_receive))
    , m_writer(std::make_unique<TransportWriter>(controller, records.settings()))
    , m_send(std::make_unique<SendPipeline>(*m_writer, *m_receive))
{
    m_reader->setRemoteDecoder(
        [&remote](const QByteArray& bytes) { return remote.receive(bytes); });
    m_writer->setRemoteSender(
        [&remote](const QByteArray& payload) { return remote.sendPayload(payload); });
    gatherSignals();
}

PaneTraffic::~PaneTraffic() = default;

void PaneTraffic::gatherSignals()
{
    connect(
        m_receive.get(), &ReceivePipeline::countersChanged, this, &PaneTraffic::countersChanged);
    connect(m_receive.get(), &ReceivePipeline::statusMessage, this, &PaneTraffic::statusMessage);
    connect(m_send.get(), &SendPipeline::countersChanged, this, &PaneTraffic::countersChanged);
    connect(m_send.get(), &SendPipeline::statusMessage, this, &PaneTraffic::statusMessage);
    connect(m_send.get(), &SendPipeline::settingsChanged, &m_records, &PaneRecords::markEdited);
    connect(m_log.get(), &PaneLog::statusMessage, this, &PaneTraffic::statusMessage);
    connect(m_log.get(), &PaneLog::fileNameChanged, this,
        [this](const QString& name) { m_records.format().currentLogFileName = name; });
}

void PaneTraffic::applyFormat()
{
    const FormatSetting format = m_records.format().sanitized();
    m_receive->setFormatSetting(format);
    m_log->setPane(format, m_records.settings().portName, connectionSummary(m_records.settings()));
    m_send->setFormatSetting(format);
}

void PaneTraffic::clear()
{
    m_receive->clear();
    m_send->clearCounter();
}
