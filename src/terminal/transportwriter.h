#pragma once

#include "app/settings/settings.h"
#include "terminal/sendtransport.h"

#include <functional>

class ConnectionController;

// Hands bytes to the transport that the pane's settings name: serial port, TCP client or UDP
// socket of the pane's ConnectionController. Every other mode sends nothing.
//
// sendMessage() opens a closed connection first. TCP keeps the bytes until the connection stands
// (and drops them if it never does: the controller says so). UDP binds its local port, so that
// answers have somewhere to arrive: udpServerPort in the server mode, udpLocalPort in the others.
// A UDP server answers the selected peer, or the one heard last while none is selected; the other
// UDP modes send to targetHost:targetPort. No buffers here. Owned by the pane.
class TransportWriter final : public SendTransport
{
public:
    using SettingsSource = std::function<Settings()>;

    // `settings` is asked for each message, so that what is in the pane's editors counts. The
    // controller outlives the writer.
    TransportWriter(ConnectionController& controller, SettingsSource settings);

    // The peer that a UDP server answers; empty for whoever was heard last.
    void setSelectedPeer(const QString& peerKey) { m_selectedPeer = peerKey; }
    [[nodiscard]] QString selectedPeer() const { return m_selectedPeer; }

    [[nodiscard]] bool isOpen() const override;
    bool sendMessage(const QByteArray& bytes) override;
    qint64 writeRaw(const QByteArray& bytes, UdpTargetMode target, const QString& peerKey) override;

private:
    bool sendTcpMessage(const QByteArray& bytes, const Settings& settings);
    bool sendUdpMessage(const QByteArray& bytes, const Settings& settings);
    bool answerUdpPeer(const QByteArray& bytes);
    bool writeUdp(const QByteArray& bytes, const Settings& settings, UdpTargetMode target);

    ConnectionController& m_controller;
    SettingsSource m_settings;
    QString m_selectedPeer;
};
