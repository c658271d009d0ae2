#pragma once

#include "connections/rfc2217/rfc2217codec.h"
#include "settings/settings.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

#include <array>
#include <optional>

// The client's side of a remote serial port (RFC 2217): finds out what the remote can do, pushes
// the pane's line parameters and keeps what the remote reports.
//
// Theory of operation. The owner sends what begin() returns as soon as the TCP connection is up and
// starts a timer of kNegotiationTimeoutMs; every block that arrives goes through receive().
//  - Negotiating -> ComPortActive: the remote agrees to the com-port option. The owner stops the
//    timer and sends settingsUpdate().
//  - Negotiating -> PlainTelnet: the timer fires and the remote has sent Telnet commands.
//  - Negotiating -> TransparentTcp: the timer fires and it has not. From then on bytes pass both
//    ways as they are, for 0xFF is data to such a remote.
// The last three states stay until reset() or begin(). When the connection ends the owner calls
// reset().
//
// A record with useRemoteSerialConfig asks for the remote's own values and pushes none: neither
// baud rate and framing nor flow control, DTR and RTS. Without it the record's values are pushed,
// all of them at first and then those that changed. A record that keeps the remote's values again
// is a new start: the next one that does not is pushed whole.
//
// Memory: the codec's.
class Rfc2217ClientSession final
{
    Q_DECLARE_TR_FUNCTIONS(Rfc2217ClientSession)

public:
    enum class State { Negotiating = 0, ComPortActive = 1, PlainTelnet = 2, TransparentTcp = 3 };

    struct Outcome
    {
        QByteArray reply; // to the remote, at once
        QByteArray data;  // to the terminal
        QString message;  // for the status bar, for kMessageTimeoutMs; often empty
        bool negotiationFinished = false;
    };

    // What the remote has reported; -1 is not known. Codes are those of the Settings record.
    struct RemoteValues
    {
        qint64 baudRate = -1; // 0 is never reported
        int dataBits = -1;
        int parity = -1;
        int stopBits = -1;
        int flowControl = -1;

        friend bool operator==(const RemoteValues&, const RemoteValues&) = default;
    };

    static constexpr int kNegotiationTimeoutMs = 3000;
    static constexpr int kMessageTimeoutMs = 5000;
    static constexpr int kModemStateInquiryMs = 1000;

    Rfc2217ClientSession();

    // As new: Negotiating, nothing announced, pushed, reported or confirmed; the codec reset.
    void reset();
    // Resets, and gives the bytes to send first.
    QByteArray begin();
    Outcome receive(const QByteArray& bytes);
    // When the timer fires; does nothing unless Negotiating.
    Outcome onNegotiationTimeout();

    // What brings the remote to these settings; empty unless ComPortActive. Introduces this program
    // and asks for modem-state changes the first time. A DTR or RTS level that is pushed is not
    // confirmed until the remote reports it.
    QByteArray settingsUpdate(const Settings& settings);
    // Starts or ends a break; empty unless ComPortActive. It does not know the settings: the owner
    // refuses while the remote keeps its own configuration.
    [[nodiscard]] QByteArray breakCommand(bool on) const;
    // Asks the remote port to throw away the buffers that `which` names (Rfc2217::Purge); empty
    // unless ComPortActive.
    [[nodiscard]] QByteArray purgeCommand(quint8 which) const;
    // Asks for the modem state now; empty unless ComPortActive. Servers differ in what they report
    // unasked: one that takes the mask for the bits that tell of changes never reports one to a
    // client that wants the levels. So an owner that shows the inputs asks every
    // kModemStateInquiryMs.
    [[nodiscard]] QByteArray modemStateInquiry() const;
    // Terminal data for the wire.
    [[nodiscard]] QByteArray encodePayload(const QByteArray& data) const;

    [[nodiscard]] State state() const { return m_state; }
    [[nodiscard]] const RemoteValues& remoteValues() const { return m_remote; }
    // One line "name: value" for each value that is known, such as "Remote baudrate: 9600"; empty
    // when none is.
    [[nodiscard]] QString remoteSummary() const;
    // The level that the remote reported for its output since it was last pushed.
    [[nodiscard]] std::optional<bool> confirmedDtr() const { return m_confirmedDtr; }
    [[nodiscard]] std::optional<bool> confirmedRts() const { return m_confirmedRts; }
    // The last NOTIFY-MODEMSTATE: Rfc2217::ModemState.
    [[nodiscard]] std::optional<quint8> modemState() const { return m_modemState; }

private:
    // The requests that push a record, in the order in which they are sent.
    using Push = std::array<QByteArray, 7>;

    void apply(const Rfc2217Codec::Event& event, QString& message);
    QByteArray push(const Settings& settings);

    Rfc2217Codec m_codec{Rfc2217Codec::Role::Client};
    State m_state = State::Negotiating;
    bool m_introduced = false; // signature and modem-state mask sent
    bool m_inquired = false;   // remote's values asked for
    std::optional<Push> m_pushed;
    RemoteValues m_remote;
    std::optional<bool> m_confirmedDtr;
    std::optional<bool> m_confirmedRts;
    std::optional<quint8> m_modemState;
};
