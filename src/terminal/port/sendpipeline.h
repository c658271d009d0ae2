#pragma once

#include "settings/formatsetting.h"
#include "terminal/port/sendhistory.h"
#include "terminal/port/sendtransport.h"

#include <QObject>

class ReceivePipeline;

// From what a person types to bytes on the transport: encoding, history, echo into the receive
// view, counter of sent bytes.
//
// Data flow: editor, repeat sender or receive terminal -> MessageCodec -> SendTransport; what the
// transport took is counted, flashes the lamp and, when asked for, is echoed into the receive
// pipeline. What it did not take is neither counted nor echoed: the view shows only what went out.
// Owned by the pane; transport and receive pipeline outlive it. No buffer but the history.
class SendPipeline final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendPipeline)

public:
    // What becomes of the editor's content when hexadecimal input is rewritten.
    enum class Editor { Rewrite, Keep };

    static constexpr int kEncodingErrorMs = 10000;

    SendPipeline(SendTransport& transport, ReceivePipeline& receive, QObject* parent = nullptr);
    ~SendPipeline() override;

    void setFormatSetting(const FormatSetting& format) { m_format = format; }

    // One message from the editor: encodeSendData(), sendMessage() and, with displaySendMsg, the
    // echo. False when nothing was sent; the editor keeps its text in any case.
    bool sendText(const QString& text, Editor editor = Editor::Rewrite);

    // The bytes of a typed message, which goes into the history; empty when there is nothing to
    // send (the editor is asked to take the focus) or the text cannot be encoded (a status message
    // says why).
    QByteArray encodeSendData(const QString& text, Editor editor = Editor::Rewrite);
    // Sends, opening the connection first when it is closed, and counts. False when the transport
    // refused.
    bool sendMessage(const QByteArray& bytes);
    // Bytes as they are over an open connection; `echo` shows them as sent. Returns the bytes
    // taken, 0 on failure.
    qint64 writeRaw(
        const QByteArray& bytes, bool echo, UdpTargetMode target, const QString& peerKey);

    // Bytes as they are over an open connection, to whom the editor sends; with displaySendMsg
    // echoed. False when nothing was sent.
    bool sendBytes(const QByteArray& bytes);

    // Keys typed into the receive terminal: not in the history, echoed when localEcho is on, sent
    // only over an open connection. A line break in (pasted) text is what Enter sends. False when
    // nothing was sent.
    bool sendTyped(const QString& text);
    bool sendEnter();
    // Control characters, and the sequences of function keys, as they are.
    bool sendControl(const QByteArray& bytes);

    [[nodiscard]] const SendHistory& history() const { return m_history; }
    void setHistory(const QStringList& entries);
    void clearHistory();

    [[nodiscard]] qint64 sentBytes() const { return m_sentBytes; }
    void clearCounter();

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    // Bytes went out: time for the lamp.
    void sent();
    void countersChanged();
    void historyChanged();
    // The history changed by sending and is to be stored.
    void settingsChanged();
    // The editor's content in canonical form.
    void editorTextReplaced(const QString& text);
    void editorFocusRequested();

private:
    bool sendTypedBytes(const QByteArray& bytes);
    void accountSent(qint64 bytes);
    void echoSent(const QByteArray& bytes);

    SendTransport& m_transport;
    ReceivePipeline& m_receive;
    FormatSetting m_format;
    SendHistory m_history;
    qint64 m_sentBytes = 0;
};
