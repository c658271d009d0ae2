#pragma once

#include "base/notice.h"
#include "settings/formatsetting.h"
#include "terminal/port/sendhistory.h"

#include <QObject>
#include <deque>
#include <functional>

class ReceivePipeline;

// From what a person types to bytes on the transport: encoding, history, echo into the receive
// view, counter of sent bytes.
//
// Data flow: editor, repeat sender or receive terminal -> MessageCodec -> Write; what the transport
// took is counted, flashes the lamp and, when asked for, is echoed into the receive pipeline. What
// it keeps for a connection that is still being made waits to be counted and echoed until that
// stands, and is forgotten when it fails: the view shows only what went out. Owned by the live
// port; the receive pipeline outlives it. Bounds: the history's, and for what waits the
// transport's.
class SendPipeline final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendPipeline)

public:
    // What became of bytes that were handed to the transport: all of them, always.
    enum class Written {
        Refused,
        Taken, // they leave now
        Kept,  // they leave when the connection stands
    };
    using Write = std::function<Written(const QByteArray& bytes)>;

    // What becomes of the editor's content when hexadecimal input is rewritten.
    enum class Editor { Rewrite, Keep };

    static constexpr int kEncodingErrorMs = 10000;
    // Messages that wait to be counted one by one; those behind them are one with the last.
    static constexpr std::size_t kMaxKept = 1000;

    SendPipeline(Write write, ReceivePipeline& receive, QObject* parent = nullptr);
    ~SendPipeline() override;

    void setFormatSetting(const FormatSetting& format) { m_format = format; }

    // One message from the editor: encodeSendData(), sendMessage() and, with displaySendMsg, the
    // echo. False when nothing was sent; the editor keeps its text in any case.
    bool sendText(const QString& text, Editor editor = Editor::Rewrite);
    // The bytes of a typed message, which goes into the history; empty when there is nothing to
    // send (the editor is asked to take the focus) or the text cannot be encoded (a notice says
    // why).
    QByteArray encodeSendData(const QString& text, Editor editor = Editor::Rewrite);
    // Sends and counts; with displaySendMsg echoed. False when the transport refused.
    bool sendMessage(const QByteArray& bytes);

    // Keys typed into the receive terminal: not in the history, echoed when localEcho is on. A line
    // break in (pasted) text is what Enter sends. False when nothing was sent.
    bool sendTyped(const QString& text);
    bool sendEnter();
    // Control characters, and the sequences of function keys, as they are.
    bool sendControl(const QByteArray& bytes);

    // Bytes that went out beside this pipeline: counted, and echoed when asked for.
    void noteSent(const QByteArray& bytes, bool echo);
    // While the reason is not empty nobody sends here, and hears it instead: the port is lent.
    void setRefusal(const QString& reason) { m_refusal = reason; }

    // The connection stands, or the host is known: what was kept is on its way.
    void acceptKept();
    [[nodiscard]] bool hasKept() const { return !m_kept.empty(); }
    // So many bytes that had been taken or kept did not leave, perhaps of a connection before this
    // one.
    void takeBack(qint64 bytes);

    [[nodiscard]] const SendHistory& history() const { return m_history; }
    void setHistory(const QStringList& entries);
    void clearHistory();

    [[nodiscard]] qint64 sentBytes() const { return m_sentBytes; }
    void clearCounter();

Q_SIGNALS:
    void noticed(const Notice& notice);
    // Bytes went out: time for the lamp.
    void sent();
    void countersChanged();
    // The entries are others, by sending or because they were cleared.
    void historyChanged();
    // The editor's content in canonical form.
    void editorTextReplaced(const QString& text);
    void editorFocusRequested();

private:
    bool send(const QByteArray& bytes, const QByteArray& echo);
    bool sendTypedBytes(const QByteArray& bytes);
    [[nodiscard]] bool refuses();
    void keep(qsizetype size, const QByteArray& echo);
    void account(qsizetype size, const QByteArray& echo);

    Write m_write;
    ReceivePipeline& m_receive;
    FormatSetting m_format;
    QString m_refusal;
    SendHistory m_history;
    // A message that waits to be counted and shown.
    struct Kept
    {
        qsizetype bytes = 0;
        QByteArray echo;
    };
    std::deque<Kept> m_kept; // at most kMaxKept; their bytes are bounded by the transport
    qint64 m_sentBytes = 0;
};
