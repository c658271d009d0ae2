#pragma once

#include "settings/settings.h"
#include "terminal/port/sendtransport.h"

class ConnectionController;

// Hands bytes to the transport that the pane's settings name: serial port, TCP client, TCP server
// or UDP socket of the pane's ConnectionController. Every other mode sends nothing.
//
// sendMessage() opens a closed connection first. TCP keeps the bytes until the connection stands
// (and drops them if it never does: the controller says so). UDP binds its local port, so that
// answers have somewhere to arrive: udpServerPort in the server mode, udpLocalPort in the others.
// A UDP server answers the selected peer, or the one heard last while none is selected; the other
// UDP modes send to targetHost:targetPort. A TCP server, which a message does not start, sends to
// the selected client, or to all while none is selected. No buffers here. Owned by the pane.
class TransportWriter final : public SendTransport
{
public:
    // The settings are those of the pane as they are at each message; both outlive the writer.
    TransportWriter(ConnectionController& controller, const Settings& settings);

    // The peer that a server sends to, gone or not; empty for all (TCP) or whoever was heard last
    // (UDP).
    void setSelectedPeer(const QString& peerKey) { m_selectedPeer = peerKey; }
    // Without a selected peer, a UDP server sends to every peer it has heard.
    void setSendToAllUdpPeers(bool on) { m_toAllUdpPeers = on; }
    [[nodiscard]] QString selectedPeer() const { return m_selectedPeer; }

    [[nodiscard]] bool isOpen() const override;
    bool sendMessage(const QByteArray& bytes) override;
    qint64 writeRaw(const QByteArray& bytes, UdpTargetMode target, const QString& peerKey) override;

private:
    bool sendTcpMessage(const QByteArray& bytes, const Settings& settings);
    bool sendServerMessage(const QByteArray& bytes);
    bool sendUdpMessage(const QByteArray& bytes, const Settings& settings);
    bool answerUdpPeer(const QByteArray& bytes);
    bool writeUdp(const QByteArray& bytes, const Settings& settings, UdpTargetMode target);

    ConnectionController& m_controller;
    const Settings& m_settings;
    QString m_selectedPeer;
    bool m_toAllUdpPeers = false;
};
