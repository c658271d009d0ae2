#pragma once

#include "settings/connectionmode.h"

#include <QObject>

class ConnectionController;
class PeerPanel;
class ReceivePipeline;
class TransportWriter;

// Joins the list of a pane's peers with its transports: who is there, what comes from and goes to
// each, and whom the pane sends to. Owned by the pane; everything else outlives it.
class PeerDesk final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PeerDesk)

public:
    PeerDesk(PeerPanel& panel, ConnectionController& controller, ReceivePipeline& receive,
        TransportWriter& writer);
    ~PeerDesk() override;

    // The mode that the pane shows; its transport opened or closed.
    void show(connectionMode mode);

private:
    void followPeers();
    void addUdpPeers();
    void sendToTarget();
    [[nodiscard]] QString listeningOn() const;

    PeerPanel& m_panel;
    ConnectionController& m_controller;
    TransportWriter& m_writer;
    connectionMode m_mode = connectionMode::SerialPort;
};
