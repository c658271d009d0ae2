#pragma once

#include "terminal/port/readgate.h"

#include <QObject>
#include <functional>

class ConnectionController;
class ReceivePipeline;
struct Settings;

// Takes what the transport of the pane's settings has received and hands it to the receive
// pipeline, as long as no reason holds the reading back. Streams, a server's among them, are
// throttled in the controller; datagrams wait in their socket. No buffers here. Owned by the pane;
// everything else outlives it.
class TransportReader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TransportReader)

public:
    TransportReader(
        ConnectionController& controller, ReceivePipeline& receive, const Settings& settings);
    ~TransportReader() override;

    // What takes the payload out of the bytes of an RFC 2217 connection. Those of every other pass
    // as they are, and so do these without it.
    void setRemoteDecoder(std::function<QByteArray(const QByteArray&)> decode);

    // Sets or clears one reason not to read. When the last one is cleared, what waits is read.
    void throttle(ReadGate::Reason reason, bool on);

private:
    void readStream();
    void readDatagrams();
    void readServerClient(const QString& peerKey);

    ConnectionController& m_controller;
    ReceivePipeline& m_receive;
    const Settings& m_settings;
    std::function<QByteArray(const QByteArray&)> m_decode;
    ReadGate m_gate;
};
