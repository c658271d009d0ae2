#pragma once

#include "connections/rfc2217/rfc2217codec.h"
#include "settings/settings.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>

// The server's side of RFC 2217, for one network client of a local serial port: takes the data out
// of the client's bytes and turns its requests into settings changes, line actions and answers.
//
// Theory of operation. The owner makes one session for each client, sends it what begin() returns
// once it is there, and passes everything it sends through receive() together with the port's
// present settings. The owner applies the outcome to its port and sends the reply; a request is
// answered with what it asked for. An inquiry is answered from the settings, in which the requests
// before it are taken as done; so the owner keeps dtrOn and rtsOn of the settings it passes in step
// with the lines. Data and requests of one block are handed out apart; a client to whom their order
// matters waits for the answer in between. Data for the client goes through
// Rfc2217Codec::encodePayload(); a change of the port's inputs is told with
// modemStateNotification().
//
// Memory: the codec's. An outcome is bounded by the bytes that went in, changes by their five keys.
class Rfc2217ServerSession final
{
public:
    using Event = Rfc2217Codec::Event;

    enum class Line { Dtr = 0, Rts = 1, Break = 2 };

    struct ControlAction
    {
        Line line = Line::Dtr;
        bool on = false;

        friend bool operator==(const ControlAction&, const ControlAction&) = default;
    };

    struct Outcome
    {
        QByteArray reply; // to the client
        QByteArray data;  // to the serial line
        // Any of: "baud_rate", a number from 1 to 4294967295; "data_bits", 5 to 8; "parity",
        // "none", "odd", "even", "mark" or "space"; "stop_bits", 1, 1.5 or 2; "flow_control",
        // "none", "rtscts" or "xonxoff". changed() applies them.
        QJsonObject settingsChanges;
        QList<ControlAction> controlActions; // in the order of the requests
        // Rfc2217::Purge: which of the port's buffers to clear, before `data` is sent; 0 is none.
        quint8 purge = 0;
        // The client has asked for modem states: tell it the present one.
        bool modemStateAsked = false;
        // It asks for the state of this moment, mask or not: answer with modemStateAnswer().
        bool modemStateInquired = false;
    };

    Rfc2217ServerSession();

    // As for a new client.
    void reset();
    // Resets, and gives the bytes to send first.
    QByteArray begin();
    Outcome receive(const QByteArray& bytes, const Settings& settings);
    // What one request asks for and how it is answered; the settings as sanitized() gives them.
    [[nodiscard]] static Outcome apply(const Event& event, const Settings& settings);

    // For the client, when the port's inputs have the levels `state` (Rfc2217::ModemState); empty
    // until it has asked for them.
    [[nodiscard]] QByteArray modemStateNotification(quint8 state) const;
    [[nodiscard]] static QByteArray modemStateAnswer(quint8 state);

    // The settings with the changes of an outcome; values that no device can be opened with are
    // brought into range as Settings::sanitized() does.
    [[nodiscard]] static Settings changed(const Settings& settings, const QJsonObject& changes);

private:
    Rfc2217Codec m_codec{Rfc2217Codec::Role::Server};
};
