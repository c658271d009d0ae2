#pragma once

#include "connections/rfc2217/rfc2217serversession.h"
#include "support/tcppeer.h"

/// A device server on 127.0.0.1 that speaks RFC 2217; the serial port behind it is this struct.
struct DeviceServer
{
    TcpPeer peer;
    Rfc2217ServerSession session;
    Settings settings;
    QByteArray line; ///< what reached the serial line
    QList<Rfc2217ServerSession::ControlAction> actions;
    bool answers = true;
    int baudOfFirstByte = 0;
    qsizetype bytesAtLastBaud = 0; ///< on the line when the baud rate was last set
    int purged = 0;

    DeviceServer()
    {
        settings.baudRate = 300;
        peer.setAnswer([this](const QByteArray& bytes) {
            const auto outcome = session.receive(bytes, settings);
            settings = Rfc2217ServerSession::changed(settings, outcome.settingsChanges);
            if (line.isEmpty() && !outcome.data.isEmpty())
                baudOfFirstByte = settings.baudRate;
            line += outcome.data;
            actions += outcome.controlActions;
            if (outcome.settingsChanges.contains(QLatin1String("baud_rate")))
                bytesAtLastBaud = line.size();
            purged = outcome.purge != 0 ? outcome.purge : purged;
            return answers ? outcome.reply : QByteArray();
        });
        QObject::connect(&peer, &TcpPeer::connected, &peer,
            [this](int connection) { peer.send(session.begin(), connection); });
        peer.listen();
    }
    /// How a client opens it, with settings of its own to push.
    [[nodiscard]] static Settings settingsFor(quint16 port)
    {
        Settings client;
        client.connMode = connectionMode::RemoteSerialRfc2217;
        client.targetHost = QStringLiteral("127.0.0.1");
        client.targetPort = port;
        client.useRemoteSerialConfig = false;
        client.baudRate = 57600;
        client.refreshTexts();
        return client;
    }
    [[nodiscard]] bool saw(Rfc2217ServerSession::Line which, bool on) const
    {
        return actions.contains(Rfc2217ServerSession::ControlAction{which, on});
    }
};
