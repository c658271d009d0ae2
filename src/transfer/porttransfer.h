#pragma once

#include "terminal/port/liveport.h"
#include "transfer/filetransfersession.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <memory>

// Runs file transfers over one live port, one at a time: borrows the port, gives the session what
// arrives and the time, and writes what the session wants to send.
//
// Data flow. Received: live port -> takes() -> session. Sent: session -> m_out -> (while little
// waits in the transport) live port -> transport; when m_out and the transport are empty the
// session hears that its bytes have left, so that its clocks for an answer run from then.
//
// Theory of operation. Idle -> running: start(). Running -> ending: the session failed or was
// cancelled and its last bytes are leaving, for as long as the session's budget is. Ending -> idle:
// they have left, or the budget is over. Running -> idle: it completed. A port that is closed gives
// its last moment to the cancel sequence; one that is lost ends the transfer at once.
//
// Memory: one frame, and what the session bounds. Owned by the pane or program that transfers; the
// port outlives it.
class PortTransfer final : public QObject, private LivePort::Borrower
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortTransfer)

public:
    // What may wait in the transport before more is written: this, or half a second of a line.
    static constexpr qint64 kMaxPendingBytes = 32'768;
    static constexpr int kLineShare = 20; // of the baud rate, in bytes
    // A transport to which nothing has left for so long is blocked.
    static constexpr int kBlockedMs = 2000;

    explicit PortTransfer(LivePort& port);
    ~PortTransfer() override;

    // Whether one could start now, and why not. `peer` is the client of a server, empty for the
    // only one.
    [[nodiscard]] bool canStart(QString* error = nullptr, const QString& peer = {}) const;
    // The same for these choices.
    [[nodiscard]] bool canStart(
        const XferConfig& config, const QString& peer, QString* error = nullptr) const;
    // `path` is the file to send. To receive by YMODEM it is a folder, which is made when it is
    // missing; by XMODEM, which carries no name, a file in one. False with the reason when it
    // cannot start.
    bool start(const XferConfig& config, const QString& path, const QString& peer,
        QString* error = nullptr);
    // By the person at the desk.
    void cancel() { abort(FileTransferSession::CancelCause::User); }

    // Running or ending.
    [[nodiscard]] bool isActive() const { return m_session != nullptr; }
    // The one that is active; null otherwise.
    [[nodiscard]] const FileTransferSession* session() const { return m_session.get(); }
    // Since the session started.
    [[nodiscard]] qint64 nowMs() const { return m_clock.isValid() ? m_clock.elapsed() : 0; }
    // How long nothing has left though something waits to; 0 below kBlockedMs.
    [[nodiscard]] qint64 blockedMs() const;
    // Clients of a server that it could be with.
    [[nodiscard]] QStringList peers() const;
    // Whether the connection stops a sender that is too fast by wires of its own (RTS/CTS).
    [[nodiscard]] bool hasHardwareFlowControl() const;

Q_SIGNALS:
    void started();
    // Figures have changed.
    void progressed();
    // The session is over; it can be asked during the signal for the last time.
    void finished(bool complete);

private:
    bool takes(const Chunk& chunk) override;
    [[nodiscard]] QString sendingRefusal() const override;
    [[nodiscard]] QString linesRefusal() const override;
    [[nodiscard]] QString pauseRefusal() const override;
    [[nodiscard]] QString settingsRefusal() const override;

    [[nodiscard]] QString refusal(const QString& peer) const;
    bool makeEnds(const QString& path, QString* error);
    void drive(const XferStep& step);
    void pump();
    void writeSome();
    void noteDrained();
    void abort(FileTransferSession::CancelCause cause);
    void onStateChanged();
    void onPeerLost(const QString& peer);
    void onProgressTimer();
    void finish();
    [[nodiscard]] qint64 pendingBytes() const;
    [[nodiscard]] qint64 maxPendingBytes() const;

    LivePort& m_port;
    std::unique_ptr<FileTransferSession> m_session;
    QElapsedTimer m_clock;
    QElapsedTimer m_moved; // since something left, or nothing waited
    qint64 m_lastPending = 0;
    QByteArray m_out;         // at most one frame or cancel sequence more than was not taken yet
    QTimer m_timer;           // the session's
    QTimer m_budget;          // for the last bytes
    QTimer m_look;            // at what waits
    bool m_fromStream = true; // what arrives; see Chunk
    bool m_drainOwed = false; // the session has not heard that what was written has left
    bool m_drainQueued = false;
    bool m_pumping = false;
};
