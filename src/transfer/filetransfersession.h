#pragma once

#include "transfer/engine/xmodemcodec.h"
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"

#include <QCoreApplication>
#include <QStringList>
#include <memory>

// One file transfer as a person sees it: the protocol engine, the file on this side, how it ended
// and what is to be said about it.
//
// As the engine it has no timer and no clock, and makes no connection; the times are milliseconds
// of one monotonic clock. States: not started -> running -> completed or ended. Both of the last
// are final. Once it has ended, figures stand still. Owned by who drives it over a port.
class FileTransferSession final
{
    Q_DECLARE_TR_FUNCTIONS(FileTransferSession)
    Q_DISABLE_COPY_MOVE(FileTransferSession)

public:
    enum class State {
        NotStarted = 0,
        Running = 1,
        Ended = 2, // failed or cancelled
        Completed = 3,
    };
    enum class CancelCause {
        User = 0,
        Device = 1,
        Protocol = 2, // the engine gave up
        Closed = 3,
        Lost = 4,
    };

    // How long the last answer of a completed transfer may take to leave.
    static constexpr int kLastAnswerMs = 2000;

    // `defaultName` names what is received when the sender does not. `peer` is the client that the
    // transfer is with, empty where there is only one.
    explicit FileTransferSession(
        const XferConfig& config, QString defaultName = {}, QString peer = {});
    ~FileTransferSession();

    void setSource(std::unique_ptr<XferFileSource> source);
    void setSink(std::unique_ptr<XferFileSink> sink);

    // Each gives what to write now and when to call tick(), as the engine does; an empty step
    // unless running.
    XferStep start(qint64 nowMs);
    XferStep ingest(QByteArrayView bytes, qint64 nowMs);
    XferStep tick(qint64 nowMs);
    XferStep egressDrained(qint64 nowMs);
    // Ends it from this side. The step has the sequence that tells the other end, if there is time
    // for it: see cancelBudgetMs(). Ignored when it has ended.
    XferStep beginCancel(CancelCause cause, qint64 nowMs);

    // What arrived behind the end of a completed transfer and is not part of it, once.
    [[nodiscard]] QByteArray takeRest();

    [[nodiscard]] const XferConfig& config() const { return m_config; }
    [[nodiscard]] const QString& peer() const { return m_peer; }
    [[nodiscard]] bool ownsPeer(const QString& peer) const
    {
        return m_peer.isEmpty() || peer == m_peer;
    }
    [[nodiscard]] State state() const { return m_state; }
    [[nodiscard]] bool isOver() const
    {
        return m_state == State::Ended || m_state == State::Completed;
    }
    [[nodiscard]] XferError error() const { return m_error; }
    [[nodiscard]] QString message() const { return m_message; }
    [[nodiscard]] CancelCause cancelCause() const { return m_cause; }
    // How long the last bytes of an ended transfer may take to leave.
    [[nodiscard]] int cancelBudgetMs() const;

    [[nodiscard]] XferProgress progress() const;
    // On average since the start; 0 while no time has passed.
    [[nodiscard]] qint64 bytesPerSecond(qint64 nowMs) const;
    // -1 when nobody can tell.
    [[nodiscard]] qint64 secondsRemaining(qint64 nowMs) const;
    // The file that was received and put into its place; empty otherwise.
    [[nodiscard]] QString receivedPath() const;

    [[nodiscard]] static QString protocolLabel(XferProtocol protocol);
    [[nodiscard]] QString startedText() const;
    // How it ended, in a line.
    [[nodiscard]] QString summaryText(qint64 nowMs) const;
    [[nodiscard]] QString cancelledText() const;
    // What else there is to say about the file.
    [[nodiscard]] const QStringList& notices() const { return m_notices; }

private:
    XferStep classify(XferStep step, qint64 nowMs);
    void end(State state, qint64 nowMs);
    void noteSinkOutcome(bool complete);
    [[nodiscard]] qint64 elapsedMs(qint64 nowMs) const;

    const XferConfig m_config;
    const QString m_defaultName;
    const QString m_peer;
    std::unique_ptr<XferFileSource> m_source;
    std::unique_ptr<XferFileSink> m_sink;
    XmodemCodec m_engine; // uses both of them
    State m_state = State::NotStarted;
    CancelCause m_cause = CancelCause::User;
    XferError m_error = XferError::None;
    QString m_message;
    QStringList m_notices;
    qint64 m_startMs = 0;
    qint64 m_endMs = 0;
    qint64 m_finalBytes = 0;
};
