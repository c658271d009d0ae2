#pragma once

#include "connections/receiveresidue.h"
#include "connections/seriallines.h"
#include "settings/settings.h"

#include <QObject>
#include <QSerialPort>
#include <memory>

// One local serial port: opens, configures, reads, writes and closes it and drives its outputs.
//
// Owned by the ConnectionController. The QSerialPort lives as long as the link and is reused for
// every open, as are the requested DTR and RTS levels: they belong to the pane, not to one opening.
// Under RTS/CTS flow control the driver owns RTS and the link never touches it.
//
// The QSerialPort's own buffers have no bound while reads are not throttled; `pendingWriteBytes`
// says how much output waits. Bytes that are left when a device vanishes move to the residue.
class SerialLink final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SerialLink)

public:
    explicit SerialLink(QObject* parent = nullptr);
    ~SerialLink() override;

    // Opens `portName` (or, when that is empty, the port of `settings`) and applies the sanitized
    // settings, then the requested lines. True at once, without reconfiguring, when a port is
    // already open. False when the open failed or the device vanished while being configured;
    // `quiet` keeps the failure, not the success, to itself.
    bool open(
        const Settings& settings, const QString& portName, const QString& displayName, bool quiet);
    // How the text of a failed open begins; the device's own words follow.
    [[nodiscard]] static QString openFailureText(const QString& displayName);
    [[nodiscard]] bool isOpen() const { return m_port.isOpen(); }
    // Drops the outputs and closes. What was received and not read is discarded.
    void close(const QString& displayName);

    // Gives an open port the line parameters of `settings` that differ from those in force; a
    // refusal is a status message. Name and lines stay. Nothing happens on a closed port.
    void reconfigure(const Settings& settings);

    // Opens first when closed. False when that fails or the driver refuses the bytes.
    bool send(const QByteArray& data, const Settings& settings, const QString& portName);
    // Everything received so far, also what a vanished device left; nothing while throttled.
    QByteArray readAvailable();
    [[nodiscard]] bool hasUnread() const;
    [[nodiscard]] qint64 pendingWriteBytes() const { return m_port.bytesToWrite(); }
    void setReadThrottled(bool on);

    bool setLine(SerialLine line, bool on);
    [[nodiscard]] bool lineRequested(SerialLine line) const;
    bool applyLine(SerialLine line, bool on, bool report);
    // The modem lines as the driver reports them now; none when closed. A driver that has none (a
    // pseudo-terminal) is asked once after each opening, and a status message says so.
    QSerialPort::PinoutSignals pinoutSignals();
    // Open, and the driver has not refused to report the modem lines.
    [[nodiscard]] bool tellsPinout() const { return m_port.isOpen() && !m_pinoutRefused; }

    // Whether a device that vanishes is closed and reported by `lost`; otherwise it is left as is.
    void setAutoReconnect(bool on) { m_autoReconnect = on; }
    [[nodiscard]] bool autoReconnect() const { return m_autoReconnect; }
    [[nodiscard]] const QSerialPort& port() const { return m_port; }

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);
    void readyRead();
    void lost();
    void bytesWritten(qint64 bytes);

private:
    enum class Parameters { All, Changed };
    void applyLineParameters(const Settings& settings, Parameters which);
    bool setParity(QSerialPort::Parity parity);
    void reportOpenFailure(const QString& displayName);
    bool driveLine(SerialLine line, bool on);
    [[nodiscard]] bool driverOwnsRts() const;
    // Into m_ahead; gives how many bytes.
    qsizetype readDriver();
    void keepUnread();
    void closePort();
    void onErrorOccurred(QSerialPort::SerialPortError error);

    QSerialPort m_port;
    std::unique_ptr<char[]> m_ahead; // what one turn of the event loop reads at most
    bool m_toldByDriver = false;     // QSerialPort is announcing bytes
    ReceiveResidue m_residue;
    // The device's last error text; QSerialPort forgets its own when it closes.
    QString m_lastErrorText;
    bool m_dtrRequested = true;
    bool m_rtsRequested = true;
    bool m_breakActive = false;
    bool m_askingPinout = false;
    bool m_pinoutRefused = false;
    bool m_autoReconnect = false;
    bool m_readThrottled = false;
    bool m_closing = false;
};
