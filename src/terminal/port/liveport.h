#pragma once

#include "base/notice.h"
#include "connections/readhold.h"
#include "connections/transporttypes.h"
#include "settings/formatsetting.h"
#include "settings/settings.h"
#include "terminal/port/connectionlife.h"
#include "terminal/port/forwardedview.h"
#include "terminal/port/portborrower.h"
#include "terminal/port/runstate.h"
#include "terminal/port/sendpipeline.h"

#include <QObject>
#include <memory>
#include <optional>

class ConnectionController;
class DisplaySink;
class LineDriver;
class PortConnection;
class PortLines;
class PortLog;
class ReceivePipeline;
class SerialPortCatalog;
class Transport;

// One port that lives, with or without a window: its records, its connection, the received and the
// sent road, its control lines and its log. Everything the program does it does with live ports; a
// pane is a view of one.
//
// Data flow. Received: transport -> here -> tap -> ReceivePipeline -> display and log. Sent: typed
// text, messages -> SendPipeline -> here -> transport. The display is whoever takes the text, a
// pane or nobody.
//
// What is wanted and what is open are two things. The records say what is wanted; the connection
// remembers what it opened. Whatever is shown, logged and named comes from what is open: the
// summary, the name of the log, the lines, the peers. So a record that names another port cannot
// rename the one that is open, and a start closes what was open under another name first. What a
// connection has delivered is shown and logged under its own name, also when a paused view held it
// back beyond its end (ReceivePipeline::afterWaiting).
//
// The records have one home here and one setter; it compares, applies what differs to the open
// connection and tells everyone by one signal. Runs on one thread under any event loop. Bounds are
// those of the parts. The catalogue outlives it.
class LivePort final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LivePort)

public:
    // Who changed a record: the program (a file, another pane), which is no edit, or a person.
    enum class Origin { Program, Person };
    // Whom messages go to where there are several: the one that the mode means without a choice,
    // everybody, or one peer.
    enum class Target { Own, All, Peer };

    using Borrower = PortBorrower;

    static constexpr int kHintMs = 3000;
    // What waits for the log when the port goes may take so long to be written; finishLog() is the
    // way that loses nothing.
    static constexpr int kLastWriteMs = 300;

    explicit LivePort(SerialPortCatalog& catalog, QObject* parent = nullptr);
    ~LivePort() override;

    // --- records
    [[nodiscard]] const Settings& settings() const { return m_settings; }
    [[nodiscard]] const FormatSetting& format() const { return m_format; }
    void setRecords(const Settings& settings, const FormatSetting& format, Origin origin);
    void setSettings(const Settings& settings, Origin origin);
    void setFormat(const FormatSetting& format, Origin origin);
    // The settings of the connection that is open, being made or being regained; while there is
    // none, those that are wanted.
    [[nodiscard]] const Settings& active() const;

    // --- connection
    // Opens what the settings name, or resumes a paused view. True when it is open, resumed or
    // (TCP) connecting. False when it could not be opened, with lastError() saying why; `quiet`
    // keeps the error to a message of some seconds.
    bool start(bool quiet);
    void stop();
    void pause();
    [[nodiscard]] RunState runState() const;
    [[nodiscard]] ConnectionLife life() const;
    [[nodiscard]] bool isOpen() const;
    // Open, connecting or being regained: there is something to stop.
    [[nodiscard]] bool isActive() const { return life() != ConnectionLife::Closed; }
    // "Open", "Paused", "Connecting..." and the like.
    [[nodiscard]] QString stateText() const;
    // What it is: "ttyUSB0 115200 8N1", "TCP host:port".
    [[nodiscard]] QString summary() const;
    [[nodiscard]] QString lastError() const;
    void setAutoReconnect(bool on);
    [[nodiscard]] ConnectionController& controller() const { return *m_controller; }
    // What carries the bytes of the connection, also for a while after it; null before the first.
    [[nodiscard]] Transport* transport() const;

    // --- received
    void setDisplay(DisplaySink* display);
    [[nodiscard]] qint64 receivedBytes() const;
    // Received and not shown yet.
    [[nodiscard]] qint64 waitingBytes() const;
    // Empties the display, drops what waits for it and sets both counters to 0.
    void clear();

    // --- sent
    [[nodiscard]] SendPipeline& sending() const { return *m_send; }
    // Sends bytes as they are over the open connection. False when nothing was sent.
    bool sendBytes(const QByteArray& bytes);
    // A peer that is gone gets nothing, and nobody gets it instead.
    void setTarget(Target target, const QString& peerKey = {});
    [[nodiscard]] qint64 sentBytes() const;
    // Accepted for sending and, as far as the system tells, not yet left.
    [[nodiscard]] qint64 pendingBytes() const;

    // Bytes as they are, to that peer or to whom the mode means, counted and, when asked for,
    // echoed. For who stands beside the person: a transfer, a bridge. Opens nothing.
    WriteResult writeRaw(const QByteArray& bytes, bool echo, const QString& peerKey = {});

    // --- lent
    // Null takes it back. What the line was to become meanwhile comes into force then.
    void lendTo(Borrower* borrower);
    // A borrower took more than was meant for it.
    void handBack(const Chunk& chunk) { deliver(chunk); }
    [[nodiscard]] bool isLent() const { return m_borrower != nullptr; }

    // --- bridged
    // A bridge uses the port, or none does any more: the port cannot be lent, its view never holds
    // the reading, and small packets leave at once.
    void setBridged(const std::optional<BridgeUse>& use);
    [[nodiscard]] bool isBridged() const { return m_bridge.has_value(); }
    // Whether the view shows so many bytes that a bridge passes through this port now.
    bool showsForwarded(qint64 bytes);
    // A line of text about the port between its traffic, in the view and in the log.
    void appendStatusLine(const QString& text);

    // --- control lines
    [[nodiscard]] PortLines& lines() const { return *m_lines; }
    // The other level of DTR or RTS, as a person wants it; says why when that is not possible.
    void toggleLine(bool dtr);
    // What a remote serial port has reported of itself, a line for each value.
    [[nodiscard]] QString remoteSummary() const { return m_remoteSummary; }

    // --- log
    [[nodiscard]] const PortLog& log() const { return *m_log; }
    // Begins to write what has been recorded; the rest follows by itself. False with a text for
    // people when that fails.
    bool flushLog(QString* error);
    // Text recorded, and bytes to be recorded, that are not in the file yet.
    [[nodiscard]] qint64 unloggedBytes() const;
    // Shows, records and writes all that waits, a little at a time, with the reading held back
    // meanwhile. logFinished() follows, at once when little waits.
    void finishLog();

Q_SIGNALS:
    // The port is about to be destroyed, and still whole.
    void going();
    // The records are others; what differs is in force.
    void recordsChanged(LivePort::Origin origin);
    // Opened, closed, paused, resumed, lost or regained.
    void stateChanged();
    // The display runs, for the first time or again; and it was paused or the connection closed.
    void started();
    void halted();
    void noticed(const Notice& notice);
    // The cause of this notice has gone; an empty text stands for those of the connection.
    void noticeCleared(const QString& text);
    // Something arrived, whoever it is for; its bytes are not to be shown from here.
    void arrived(const QString& peer, qint64 bytes);
    // It was lent, or came back.
    void lentChanged();
    // Every received chunk that nobody has borrowed the port for, before display, with the peer's
    // key.
    void rxTapped(const QByteArray& bytes, const QString& peer);
    void countersChanged();
    void remoteSummaryChanged(const QString& summary);
    void logFinished(bool complete, const QString& error);

private:
    void wireConnection();
    void wireRoads();
    void wireLog();
    void applySettings();
    void applyFormat();
    void setUpLog();
    void onOpened();
    void onClosed();
    void read();
    void deliver(const Chunk& chunk);
    void onLeft();
    void onDiscarded(const QString& peer, qint64 bytes);
    [[nodiscard]] SendPipeline::Written write(const QByteArray& bytes);
    [[nodiscard]] WriteResult writeToTarget(Transport& transport, const QByteArray& bytes);
    [[nodiscard]] LineDriver* lineDriver() const;
    void applyLine();
    void finishSomeLog();

    Settings m_settings;
    FormatSetting m_format;
    std::unique_ptr<ConnectionController> m_controller;
    std::unique_ptr<PortConnection> m_connection;
    std::unique_ptr<LineDriver> m_localLines;
    std::unique_ptr<LineDriver> m_remoteLines;
    std::unique_ptr<PortLines> m_lines;
    std::unique_ptr<PortLog> m_log;
    std::unique_ptr<ReceivePipeline> m_receive;
    std::unique_ptr<SendPipeline> m_send;
    Borrower* m_borrower = nullptr;
    std::optional<BridgeUse> m_bridge;
    ForwardedView m_forwarded;
    bool m_lineWaits = false; // for the port to come back
    Target m_target = Target::Own;
    QString m_targetPeer;
    QString m_remoteSummary;
    QString m_error; // the last one of the connection, as its notice says it
    // Why the transport is not read at the moment.
    ReadHold m_viewIsFull;
    ReadHold m_finishingLog;
};
