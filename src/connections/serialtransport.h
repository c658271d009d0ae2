#pragma once

#include "connections/receiveresidue.h"
#include "connections/seriallines.h"
#include "connections/serialoutput.h"
#include "connections/transport.h"

#include <QDeadlineTimer>
#include <QSerialPort>
#include <QTimer>
#include <memory>

enum class SerialParameters;

// One serial port of this machine.
//
// The QSerialPort lives as long as the transport and is reused for every open. Under RTS/CTS flow
// control the driver owns RTS, and nothing here touches it. A port that is closed by will with
// output waiting stays open to the system, lines up, while that leaves (Lingering); opening anew
// ends that at once.
//
// Bounds: output as SerialOutput has it. Input has none while it is read: a reader that cannot
// follow holds the reading, and what is left when the device vanishes goes to the residue.
// Pending bytes are those of the line; there are no peers.
class SerialTransport final : public Transport, public SerialLines
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SerialTransport)

public:
    SerialTransport();
    ~SerialTransport() override;

    // How texts call the port, instead of its name.
    void setDisplayName(const QString& name);
    // What closing is answered with.
    [[nodiscard]] static QString closedText(const QString& displayName, bool closed = true);
    // How the text of a failed open begins; the device's own words follow.
    [[nodiscard]] static QString openFailureText(const QString& displayName);
    // Whether a device that vanishes is closed; otherwise it is left as it is and only
    // portErrorOccurred() tells.
    void setClosesWhenLost(bool on) { m_closesWhenLost = on; }
    // The device of an open port is gone: ends the connection as lost.
    void closeLost();
    [[nodiscard]] const QSerialPort& port() const { return *m_port; }

    [[nodiscard]] State state() const override;
    // Applies the sanitized settings, then their levels of DTR and RTS.
    bool open(const Settings& settings, OpenMode how) override;
    void close() override;
    [[nodiscard]] bool isLingering() const override { return m_phase == Phase::Lingering; }
    // The line parameters that differ and the levels of DTR and RTS, after what was written before.
    // What the driver does not accept is noticed; the rest is in force.
    void apply(const Settings& settings) override;
    WriteResult write(const QByteArray& bytes, const QString& peer = {}) override;
    [[nodiscard]] qint64 pendingBytes(const QString& peer = {}) const override;
    void tellLeft() override;
    [[nodiscard]] bool hasRoomFor(qint64 bytes, const QString& peer = {}) const override;
    bool takeChunk(Chunk& chunk) override;
    void discard(Purge which) override;
    SerialLines* serialLines() override { return this; }

    Answer setLine(SerialLine line, bool on) override;
    [[nodiscard]] bool requested(SerialLine line) const override;
    [[nodiscard]] std::optional<bool> level(SerialLine line) const override;
    // A driver that has none (a pseudo-terminal) is asked once with each opening.
    [[nodiscard]] ModemLines inputs() override;
    [[nodiscard]] Sight sight() const override;
    bool driveLine(SerialLine line, bool on, bool report);

Q_SIGNALS:
    // What the port reports, after the loss of a device was dealt with here.
    void portErrorOccurred(QSerialPort::SerialPortError error);

protected:
    void setReadingHeld(bool held) override;

private:
    // Ending: everybody has a last moment; the port works.
    enum class Phase { Closed, Open, Ending, Lingering };

    void applyLineParameters(const Settings& settings, SerialParameters which);
    void setUp(const Settings& settings);
    QSerialPort::PinoutSignals askPinout();
    void carryOut(const Settings& settings);
    void failOpening(OpenMode how);
    [[nodiscard]] bool driverOwnsRts() const;
    [[nodiscard]] bool hasUnread() const;
    qsizetype readDriver();
    void keepUnread();
    void seeToOutput();
    void endLinger();
    qint64 closePort();
    [[nodiscard]] QString unsentText(qint64 bytes) const;
    void onErrorOccurred(QSerialPort::SerialPortError error);

    QSerialPort* const m_port; // deleted later: it may be in the middle of a signal
    SerialOutput m_output;
    QTimer m_poll;
    QDeadlineTimer m_lingerEnd;
    std::unique_ptr<char[]> m_ahead; // what one turn of the event loop reads at most
    ReceiveResidue m_residue;
    QString m_displayName;
    // The device's last error text; QSerialPort forgets its own when it closes.
    QString m_lastErrorText;
    Phase m_phase = Phase::Closed;
    bool m_dtrRequested = true;
    bool m_rtsRequested = true;
    bool m_breakActive = false;
    bool m_toldByDriver = false; // QSerialPort is announcing bytes
    bool m_lastCall = false;     // what is waiting is handed out although reading is held
    bool m_settingUp = false;
    bool m_askingPinout = false;
    bool m_pinoutRefused = false;
    bool m_closesWhenLost = true;
    bool m_losing = false;
};
