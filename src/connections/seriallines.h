#pragma once

#include <QtGlobal>
#include <optional>

// The outputs of a serial port that a person can drive.
enum class SerialLine : int { Dtr = 0, Rts = 1, Break = 2 };

// The inputs of a serial port. All off also stands for "not known".
struct ModemLines
{
    bool cts = false;
    bool dsr = false;
    bool dcd = false;
    bool ri = false;

    friend bool operator==(const ModemLines&, const ModemLines&) = default;
};

// The control lines of a transport that ends in a serial port: one of this machine, or one behind a
// network. A face of the transport, which owns it.
class SerialLines
{
public:
    // How much of the lines can be seen.
    enum class Sight {
        None,    // closed
        Unknown, // open, and the port does not tell
        Outputs, // what the port has been asked for; nothing is known of its inputs
        All,
    };

    // What became of a request.
    enum class Answer {
        Driven, // the line has the level
        Asked,  // a remote port was asked; level() tells when it has confirmed
        Later,  // still negotiating: the level goes along when that is over
        NotYet, // a break cannot wait for that
        NotOpen,
        Automatic, // flow control drives RTS
        RemoteOwn, // the remote port keeps its own configuration
        NoComPort, // the remote does not take com-port control
        Failed,    // the driver refused; a notice says why
    };

    SerialLines() = default;
    virtual ~SerialLines() = default;
    Q_DISABLE_COPY_MOVE(SerialLines)

    // Drives a line of an open port. The levels of DTR and RTS at an opening are those of its
    // settings; a break ends with the connection.
    virtual Answer setLine(SerialLine line, bool on) = 0;
    // The level that was asked for last.
    [[nodiscard]] virtual bool requested(SerialLine line) const = 0;
    // The level that DTR or RTS is known to have; nothing while a remote has not confirmed it.
    [[nodiscard]] virtual std::optional<bool> level(SerialLine line) const = 0;
    // The inputs as they are now.
    [[nodiscard]] virtual ModemLines inputs() = 0;
    // As of the last call of inputs().
    [[nodiscard]] virtual Sight sight() const = 0;
};
