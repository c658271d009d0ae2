#include "terminal/pane/panetraffic.h"

#include "terminal/pane/panerecords.h"
#include "terminal/port/connectionsummary.h"
#include "terminal/port/panelog.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/port/sendpipeline.h"
#include "terminal/port/transportreader.h"
#include "terminal/port/transportwriter.h"

PaneTraffic::PaneTraffic(ConnectionController& controller, DisplaySink& sink, PaneRecords& records)
    : m_records(records)
    , m_receive(std::make_unique<ReceivePipeline>(sink))
    , m_reader(std::make_unique<TransportReader>(controller, *m_receive, records.settings()))
    , m_log(std::make_unique<PaneLog>(*m_receive))
    , m_writer(std::make_unique<TransportWriter>(controller, records.settings()))
    , m_send(std::make_unique<SendPipeline>(*m_writer, *m_receive))
{
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
