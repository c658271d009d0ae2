#pragma once

#include "base/notice.h"
#include "connections/readhold.h"
#include "connections/transporttypes.h"
#include "settings/settings.h"

#include <QObject>
#include <QStringList>
#include <memory>

class SerialLines;

// A way for bytes to come and go: a serial port, a TCP client or server, a UDP socket, or a filter
// that stands on one of these and is one itself.
//
// States: Closed -> Opening -> Open -> Closed. What opens at once skips Opening. opened() follows
// each successful open(), closed() each opened() and each attempt that had begun.
//
// Sent bytes: write() takes them whole or refuses them. Each byte that was taken is told of once:
// by left() when it has left this machine, as far as the system tells, by discarded() when it
// never will; what was told of neither is pending. close() by will first
// gives everybody a last moment (closing()), then lets what waits leave for kLingerMs at most; the
// transport is Closed meanwhile, isLingering(), and nobody needs to wait: what has not left by then
// is discarded and a notice says how much. Opening or destroying it earlier shortens that.
//
// Received bytes: readyRead() says that takeChunk() has something. What is waiting when the
// connection ends is announced before: close() hands it out although the reading is held, and
// forgets what nobody takes then; what a lost connection leaves can be taken later, before anything
// that the next one brings. While anybody holds the reading, nothing is handed out and little is
// read: the flow control of the transport holds the sender.
//
// Every function may be called in every state and in slots of every signal here, the destructor
// included. One thread; nothing blocks. Each kind names the bounds of its buffers.
class Transport : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Transport)

public:
    enum class State { Closed, Opening, Open };
    // Quiet keeps a failure to errorText(): nobody has asked for this attempt.
    enum class OpenMode { Asked, Quiet };

    // How long what was taken may go on leaving after close().
    static constexpr int kLingerMs = 2000;
    // The read buffer of a device or socket while reading is held.
    static constexpr qint64 kHeldReadBufferBytes = 4096;

    explicit Transport(connectionMode mode);
    ~Transport() override;

    [[nodiscard]] connectionMode mode() const { return m_mode; }
    // How texts call it; set by open().
    [[nodiscard]] QString name() const { return m_name; }
    [[nodiscard]] virtual State state() const = 0;
    [[nodiscard]] bool isOpen() const { return state() == State::Open; }

    // Starts to open what the settings name; false when that failed at once. True without doing
    // anything when it is opening or open.
    virtual bool open(const Settings& settings, OpenMode how) = 0;
    // By will; does nothing when it is closed.
    virtual void close() = 0;
    // Why the last attempt or connection ended; empty while it stands.
    [[nodiscard]] QString errorText() const { return m_errorText; }
    // What was taken before close() is still leaving.
    [[nodiscard]] virtual bool isLingering() const { return false; }

    // Changes in an open connection what the settings change: the parameters of a line. In order
    // with the data that was written before and is written after.
    virtual void apply(const Settings& settings);
    // A bridge uses the connection: small packets leave at once.
    virtual void setBridgeTuning(bool on);

    // To the peer of that key or, without one, to whom the mode means: the other end of a stream,
    // every client of a server, the target of a UDP client, whoever a UDP server heard last.
    virtual WriteResult write(const QByteArray& bytes, const QString& peer = {}) = 0;
    // To every peer there is; to the other end where there is one.
    virtual WriteResult writeToAll(const QByteArray& bytes) { return write(bytes); }
    // Taken and not left this machine: what waits for a connection, a name or a negotiation, our
    // buffers, and the system's queue where it tells. Without a peer: see each kind.
    [[nodiscard]] virtual qint64 pendingBytes(const QString& peer = {}) const = 0;
    // Whether write() would find room for so many bytes more.
    [[nodiscard]] virtual bool hasRoomFor(qint64 bytes, const QString& peer = {}) const = 0;
    // Tells of what has left by now, from in here: for who cannot wait until the transport looks by
    // itself.
    virtual void tellLeft();
    // The next that was received; false when nothing is to be had now.
    virtual bool takeChunk(Chunk& chunk) = 0;
    // Throws away what waits in the buffers, ours and the system's, and beyond a network the
    // remote port's: what was received and not taken, and what was taken and has not left.
    virtual void discard(Purge which);
    [[nodiscard]] virtual QStringList peers() const { return {}; }

    // Null when there is no serial port at the end; otherwise it lives as long as this.
    [[nodiscard]] virtual SerialLines* serialLines() { return nullptr; }

    // A filter stands on this: it tells, in its own bytes, what was refused or did not leave.
    void setBelowFilter() { m_belowFilter = true; }

    // Reading goes on, and readyRead() follows if something waits, when the last hold has ended.
    [[nodiscard]] ReadHold holdReading();
    [[nodiscard]] bool isReadingHeld() const { return m_holds > 0; }

Q_SIGNALS:
    void opened();
    void readyRead();
    // So many bytes are on the wire, for the peer where there are several.
    void left(qint64 bytes, const QString& peer);
    // So many bytes were taken from a writer and will never leave.
    void discarded(qint64 bytes, const QString& peer);
    // The last moment in which bytes can be written; only before a close by will.
    void closing();
    void closed(const CloseReason& reason);
    void lingered();
    void peerArrived(const QString& peer);
    void peerLost(const QString& peer);
    void peersChanged();
    // A line changed, or what is known of the port behind a network.
    void linesChanged();
    void noticed(const Notice& notice);

protected:
    // The first hold came, or the last one went.
    virtual void setReadingHeld(bool held) = 0;
    void setName(const QString& name) { m_name = name; }
    void setErrorText(const QString& text) { m_errorText = text; }
    void tell(Notice notice);
    // Refuses bytes for which there is no room. A person hears of the first and, when something is
    // taken again or the connection ends, how many there were.
    WriteResult refuseFull(qint64 bytes);
    void tellRefused();
    // What was taken and never left, once the connection is over. It is shown until dismissed,
    // except beside the failure of an attempt, which is.
    void tellUnsent(const QString& text, CloseReason::Kind kind = CloseReason::Kind::ByWill);

private:
    const connectionMode m_mode;
    int m_holds = 0;
    qint64 m_refusedBytes = 0;
    int m_refusals = 0;
    bool m_belowFilter = false;
    QString m_name;
    QString m_errorText;
};

// The one place that knows what a connection mode means; null for a mode that nothing carries.
[[nodiscard]] std::unique_ptr<Transport> makeTransport(connectionMode mode);
// Whether there is one.
[[nodiscard]] bool isCarried(connectionMode mode);
