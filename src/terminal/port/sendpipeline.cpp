#include "terminal/port/sendpipeline.h"

#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/text/wiretextcodecregistry.h"

namespace {

bool isHexadecimal(const FormatSetting& format)
{
    return format.sendMsgFormat == static_cast<qint32>(MessageFormat::Hexadecimal);
}

// Lines as a clipboard holds them, whatever system filled it.
QStringList linesOf(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(u'\r', u'\n');
    return text.split(u'\n');
}

// What the view shows of typed bytes: a CR on its own is Enter here, and the formatter would drop
// it.
QByteArray echoOfTyped(QByteArray bytes)
{
    bytes.replace("\r\n", "\n");
    bytes.replace("\n\r", "\n");
    bytes.replace('\r', '\n');
    return bytes;
}

} // namespace

SendPipeline::SendPipeline(SendTransport& transport, ReceivePipeline& receive, QObject* parent)
    : QObject(parent)
    , m_transport(transport)
    , m_receive(receive)
{}

SendPipeline::~SendPipeline() = default;

bool SendPipeline::sendText(const QString& text, Editor editor)
{
    const QByteArray bytes = encodeSendData(text, editor);
    if (!sendMessage(bytes))
        return false;
    if (m_format.displaySendMsg)
        echoSent(bytes);
    return true;
}

QByteArray SendPipeline::encodeSendData(const QString& text, Editor editor)
{
    if (text.isEmpty()) {
        Q_EMIT editorFocusRequested();
        return {};
    }
    const bool hexadecimal = isHexadecimal(m_format);
    const EncodeSendResult result = MessageCodec::encodeSend(text, hexadecimal, m_format);
    if (!result.ok) {
        Q_EMIT statusMessage(result.error, kEncodingErrorMs);
        return {};
    }
    if (hexadecimal && editor == Editor::Rewrite && result.displayText != text)
        Q_EMIT editorTextReplaced(result.displayText);
    m_history.add(hexadecimal ? result.displayText.toUpper() : text);
    Q_EMIT settingsChanged();
    Q_EMIT historyChanged();
    return result.bytes;
}

bool SendPipeline::sendMessage(const QByteArray& bytes)
{
    if (bytes.isEmpty() || !m_transport.sendMessage(bytes))
        return false;
    accountSent(bytes.size());
    return true;
}

qint64 SendPipeline::writeRaw(
    const QByteArray& bytes, bool echo, UdpTargetMode target, const QString& peerKey)
{
    if (bytes.isEmpty() || !m_transport.isOpen())
        return 0;
    const qint64 taken = m_transport.writeRaw(bytes, target, peerKey);
    if (taken <= 0)
        return 0;
    accountSent(taken);
    if (echo)
        m_receive.pushByteArray(bytes.first(taken), false, RXorTx::Sent);
    return taken;
}

bool SendPipeline::sendBytes(const QByteArray& bytes)
{
    if (!m_transport.isOpen() || !sendMessage(bytes))
        return false;
    if (m_format.displaySendMsg)
        echoSent(bytes);
    return true;
}

bool SendPipeline::sendTyped(const QString& text)
{
    const QByteArray enter = MessageCodec::terminalEnterBytes(m_format.terminalEnterMode);
    QByteArrayList lines;
    const QStringList typedLines = linesOf(text);
    for (const QString& line : typedLines) {
        const auto encoded = WireTextCodecRegistry::encode(line, m_format.sendEncoding);
        if (!encoded.ok) {
            Q_EMIT statusMessage(encoded.error, kEncodingErrorMs);
            return false;
        }
        lines.append(encoded.bytes);
    }
    return sendTypedBytes(lines.join(enter));
}

bool SendPipeline::sendEnter()
{
    return sendTypedBytes(MessageCodec::terminalEnterBytes(m_format.terminalEnterMode));
}

bool SendPipeline::sendControl(const QByteArray& bytes)
{
    return sendTypedBytes(bytes);
}

bool SendPipeline::sendTypedBytes(const QByteArray& bytes)
{
    // A key press opens nothing: the person may have closed the port a moment ago.
    if (!m_transport.isOpen() || !sendMessage(bytes))
        return false;
    if (m_format.localEcho)
        echoSent(isHexadecimal(m_format) ? bytes : echoOfTyped(bytes));
    return true;
}

void SendPipeline::accountSent(qint64 bytes)
{
    m_sentBytes += bytes;
    Q_EMIT sent();
    Q_EMIT countersChanged();
}

void SendPipeline::echoSent(const QByteArray& bytes)
{
    m_receive.pushByteArray(bytes, false, RXorTx::Sent);
    m_receive.onRefreshDisplay();
}

void SendPipeline::setHistory(const QStringList& entries)
{
    m_history.setEntries(entries);
    Q_EMIT historyChanged();
}

void SendPipeline::clearHistory()
{
    m_history.clear();
    Q_EMIT historyChanged();
}

void SendPipeline::clearCounter()
{
    m_sentBytes = 0;
    Q_EMIT countersChanged();
}
