#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

// One end of a Telnet conversation (RFC 854) with the com-port option (RFC 2217): takes the bytes
// of the connection apart into data and com-port events, and puts data and com-port commands
// together for the other way. Owned by value by the client or the server session.
//
// Theory of operation. The parser is in one of five states.
//  - Data: plain bytes; 0xFF (IAC) -> Iac.
//  - Iac: IAC is a data byte 0xFF -> Data; WILL, WONT, DO, DONT -> Option; SB -> Sub; any other
//    command is dropped -> Data.
//  - Option: one byte names the option, which is answered -> Data.
//  - Sub: bytes of a sub-negotiation; IAC -> SubIac.
//  - SubIac: IAC is a byte 0xFF of it -> Sub; SE ends it and a com-port command becomes an event
//    -> Data; any other byte discards it -> Data.
// Options: BINARY, SUPPRESS-GO-AHEAD and COM-PORT-OPTION are accepted in both directions, every
// other is refused. What was last announced is kept for each option and direction, and nothing is
// announced twice in a row, so that an acknowledgement is not acknowledged. Two ends that change
// their mind while the other's answer is on its way can still chase each other round and round;
// after kMaxOptionChanges announcements an option is not answered any more. Data does not depend on
// any option.
//
// Malformed input never raises an error: short or unknown commands and commands of the wrong
// direction are dropped, undefined values become inquiries.
//
// Memory: a sub-negotiation longer than kMaxSubnegotiationBytes is dropped up to its end and not
// kept; each option table has at most 256 entries. Events and answers are bounded by the input of
// the call.
class Rfc2217Codec final
{
public:
    enum class Role { Server = 0, Client = 1 };

    // One com-port request (seen by a server) or response (seen by a client).
    struct Event
    {
        enum class Type {
            BaudRate = 0,
            DataSize = 1,
            Parity = 2,
            StopSize = 3,
            FlowControl = 4,
            Break = 5,
            Dtr = 6,
            Rts = 7,
            Purge = 8,
            Signature = 9,
            LineState = 10,
            ModemState = 11,
        };

        Type type = Type::BaudRate;
        // Bits per second, data bits, QSerialPort::Parity, QSerialPort::StopBits or
        // QSerialPort::FlowControl; Rfc2217::Purge; the state byte; for Break, Dtr and Rts the
        // byte on the wire. Of an inquiry for parity and flow control 0.
        quint32 value = 0;
        bool on = false;      // Break, Dtr and Rts
        bool inquiry = false; // asks for the present value, or names none that is defined
        QByteArray payload;   // the signature's text, as it came
        quint8 command = 0;   // Rfc2217::Command
        bool fromServer = false;

        friend bool operator==(const Event&, const Event&) = default;
    };

    // More than any command of RFC 2217 needs; the signature is the only one of free length.
    static constexpr qsizetype kMaxSubnegotiationBytes = 1024;

    // Announcements for one option in one direction in a conversation. An honest remote needs one
    // or two, and one that turns BINARY on and off for each of its files still has its way for
    // long.
    static constexpr int kMaxOptionChanges = 64;

    explicit Rfc2217Codec(Role role);

    // Back to the state of a new codec: parser in Data with no verb and no sub-negotiation begun,
    // both option tables empty, no flag set, modem-state mask 0.
    void reset();

    // What this end says first, and enters in the option tables as announced.
    QByteArray greeting();

    // The data in the bytes, which may be cut anywhere. Appends com-port commands to `events` and
    // the answers to option requests to `reply`; either may be null. Bytes without 0xFF between
    // commands are returned without a copy.
    QByteArray decode(const QByteArray& in, QList<Event>* events, QByteArray* reply);

    // Every 0xFF doubled; shares the bytes when there is none.
    [[nodiscard]] static QByteArray encodePayload(const QByteArray& data);
    // IAC SB 44 command payload IAC SE, 0xFF in the payload doubled. The response adds 100 to the
    // command.
    [[nodiscard]] static QByteArray clientRequest(quint8 command, const QByteArray& payload);
    [[nodiscard]] static QByteArray serverResponse(quint8 command, const QByteArray& payload);

    // NOTIFY-MODEMSTATE with the bits of `state` that the client asked for; empty until it has
    // asked for any.
    [[nodiscard]] QByteArray modemStateNotification(quint8 state) const;

    [[nodiscard]] bool remoteSupportsComPort() const { return m_remoteSupportsComPort; }
    // Whether the remote has ever sent 0xFF, with which every Telnet command begins.
    [[nodiscard]] bool remoteSentIac() const { return m_remoteSentIac; }
    [[nodiscard]] quint8 modemStateMask() const { return m_modemStateMask; }

    // Between the codes of the Settings record, which are QSerialPort's, and those of RFC 2217.
    // What is not defined becomes no parity, one stop bit and no flow control.
    [[nodiscard]] static quint8 parityToWire(int parity);
    [[nodiscard]] static int parityFromWire(quint8 value);
    [[nodiscard]] static quint8 stopSizeToWire(int stopBits);
    [[nodiscard]] static int stopSizeFromWire(quint8 value);
    [[nodiscard]] static quint8 flowControlToWire(int flowControl);
    [[nodiscard]] static int flowControlFromWire(quint8 value);
    // The SET-CONTROL value for Break, Dtr or Rts; an inquiry for flow control (0) for other types.
    [[nodiscard]] static quint8 controlLineToWire(Event::Type type, bool on);
    // Four bytes, the most significant first.
    [[nodiscard]] static QByteArray baudRatePayload(quint32 baudRate);

private:
    enum class State { Data, Iac, Option, Sub, SubIac };

    struct Announced
    {
        bool on = false;
        int changes = 0; // at most kMaxOptionChanges
    };
    using OptionTable = QHash<quint8, Announced>;
    // Where the results of one decode() go.
    struct Sink;

    void takeByte(quint8 byte, Sink& sink);
    void handleIac(quint8 byte, Sink& sink);
    void handleOption(quint8 option, Sink& sink);
    void handleSubIac(quint8 byte, Sink& sink);
    void handleSubnegotiation(Sink& sink);
    void appendToSub(const char* bytes, qsizetype count);
    static void announce(OptionTable& table, quint8 verb, quint8 option, Sink& sink);

    Role m_role;
    State m_state = State::Data;
    quint8 m_verb = 0; // while in Option
    QByteArray m_sub;  // at most kMaxSubnegotiationBytes and one more, which marks it too long
    bool m_remoteSupportsComPort = false;
    bool m_remoteSentIac = false;
    quint8 m_modemStateMask = 0;
    OptionTable m_remoteOptions; // last announced with DO (true) or DONT
    OptionTable m_ownOptions;    // last announced with WILL (true) or WONT
};
