#pragma once

#include "app/settings/settings.h"
#include "terminal/sendtransport.h"

#include <functional>

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
    using SettingsSource = std::function<Settings()>;

    // `settings` is asked for each message, so that what is in the pane's editors counts. The
    // controller outlives the writer.
    TransportWriter(ConnectionController& controller, SettingsSource settings);

    // The peer that a server sends to, gone or not; empty for all (TCP) or whoever was heard last
    // (UDP).
    void setSelectedPeer(const QString& peerKey) { m_selectedPeer = peerKey; }
    // Without a selected peer, a UDP server sends to every peer it has heard.
    void setSendToAllUdpPeers(bool on) { m_toAllUdpPeers = on; }
    [[nodiscard]] QString selectedPeer() const { return m_selectedPeer; }

    // What makes the bytes of an RFC 2217 connection out of the payload. Counts, here and in what
    // is returned, are of the payload.
    void setRemoteEncoder(std::function<QByteArray(const QByteArray&)> encode)
    {
        m_encode = std::move(encode);
    }

    [[nodiscard]] bool isOpen() const override;
    bool sendMessage(const QByteArray& bytes) override;
    qint64 writeRaw(const QByteArray& bytes, UdpTargetMode target, const QString& peerKey) override;

private:
    [[nodiscard]] QByteArray onTheWire(const QByteArray& bytes, connectionMode mode) const;
    bool sendTcpMessage(const QByteArray& bytes, const Settings& settings);
    bool sendServerMessage(const QByteArray& bytes);
    bool sendUdpMessage(const QByteArray& bytes, const Settings& settings);
    bool answerUdpPeer(const QByteArray& bytes);
    bool writeUdp(const QByteArray& bytes, const Settings& settings, UdpTargetMode target);

    ConnectionController& m_controller;
    SettingsSource m_settings;
    std::function<QByteArray(const QByteArray&)> m_encode;
    QString m_selectedPeer;
    bool m_toAllUdpPeers = false;
};
