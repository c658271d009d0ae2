#pragma once

#include "simdevice/pseudoterminal.h"
#include "simdevice/stablelink.h"

#include <QByteArray>
#include <QObject>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <array>

/// Two serial ports joined by a virtual null-modem cable, for tests without hardware.
///
/// portA() and portB() are names for QSerialPort or any other program. Bytes cross both ways
/// through the event loop of the thread that made the object; each direction holds at most
/// `kPumpCapacity` bytes, so a receiver that does not read holds the sender back as real flow
/// control does. Bytes sent to a plugged end that nobody has opened wait there.
///
/// Modem lines cross as on the cable: DTR to the other end's DSR and DCD, RTS to its CTS; RI never
/// rises. All outputs are low until a program sets them; closing a port does not lower them. This,
/// break and framing work because nullmodemlines.c, linked into the test, answers the ioctl() calls
/// that pseudo-terminals refuse; another program started with peerEnvironment() takes part as well.
class NullModem final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(NullModem)

public:
    enum class End { A, B };

    struct BreakRecord
    {
        int count = 0;            ///< breaks that have ended
        bool active = false;      ///< the line is held in break now
        qint64 lastLengthMs = -1; ///< of the last one that ended, rounded down; -1 before the first
    };

    /// What a program that has the device open gets from read().
    enum class Vanishing {
        InputError, ///< EIO, so that QSerialPort reports ResourceError
        EndOfFile   ///< 0, as the kernel has it: QSerialPort reports ReadError again and again, or
                    ///< ResourceError, depending on the value that errno happens to have
    };

    static constexpr qsizetype kPumpCapacity = 4096;

    /// Both ends plugged in. When the system has no pseudo-terminals, isValid() is false.
    explicit NullModem(QObject* parent = nullptr);
    ~NullModem() override;

    bool isValid() const { return m_error.isEmpty(); }
    QString errorString() const { return m_error; }

    /// The name that a program opens. It stays the same over unplug() and plugBack().
    QString port(End end) const;
    QString portA() const { return port(End::A); }
    QString portB() const { return port(End::B); }

    /// The device vanishes: its name is gone, and a program that has it open is told by `how`,
    /// which goes for the whole process until the next call. Bytes on the cable are lost; the other
    /// end's DSR, DCD and CTS fall, and what it sends goes nowhere.
    void unplug(End end, Vanishing how = Vanishing::InputError);

    /// A new device under the old name, outputs low and break record empty. True when it is there.
    bool plugBack(End end);

    /// What the program at `end` has set.
    bool dtr(End end) const;
    bool rts(End end) const;

    /// The line parameters that the program at `end` has set: baud rate, framing and flow control,
    /// such as "9600 8N1", "115200 7E2 RTS/CTS" or "300 5M1 XON/XOFF". Those of a new device are
    /// the kernel's.
    QByteArray lineSettings(End end) const;

    /// Drives the outputs of an end without opening it.
    void setOutputs(End end, bool dtr, bool rts);

    /// Breaks that arrive at `end`, sent by the other end.
    BreakRecord breakSeenBy(End end) const;

    /// Off: nothing crosses, in either direction, until it is on again; nothing is lost.
    void setFlowing(bool on);

    /// What the driver of an end says it still has to send, whatever has crossed.
    void setDriverQueue(End end, int bytes);

    /// Bytes that have crossed from `end` to the other end since construction.
    qint64 crossedFrom(End end) const;

    /// Environment for a program that shall see the modem lines: the present one with the
    /// interposer preloaded. Needs a test declared with PRELOAD; otherwise the present environment
    /// only.
    static QProcessEnvironment peerEnvironment();

private:
    struct Side
    {
        simdevice::PseudoTerminal terminal;
        simdevice::StableLink link;
        QByteArray toOther; ///< read here, not yet written there; at most kPumpCapacity bytes
        qint64 crossed = 0;
    };

    Side& side(End end) { return m_sides[static_cast<size_t>(end)]; }
    const Side& side(End end) const { return m_sides[static_cast<size_t>(end)]; }
    static End other(End end) { return end == End::A ? End::B : End::A; }
    void pump(End from);

    QTemporaryDir m_folder;
    std::array<Side, 2> m_sides;
    QString m_error;
    int m_cable = -1;
    bool m_flowing = true;
};
