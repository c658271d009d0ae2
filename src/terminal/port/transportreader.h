#pragma once

#include "connections/readhold.h"

#include <QObject>

class ConnectionController;
class ReceivePipeline;
struct Settings;

// Takes what the transport of the pane's settings has received and hands it to the receive
// pipeline, which may have the reading held. No buffers here. Owned by the pane; everything else
// outlives it.
class TransportReader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TransportReader)

public:
    TransportReader(
        ConnectionController& controller, ReceivePipeline& receive, const Settings& settings);
    ~TransportReader() override;

private:
    void readStream();
    void readDatagrams();
    void readServerClient(const QString& peerKey);

    ConnectionController& m_controller;
    ReceivePipeline& m_receive;
    const Settings& m_settings;
    ReadHold m_viewHold; // while the view does not keep up
};
