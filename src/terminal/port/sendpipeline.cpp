#include "terminal/port/sendpipeline.h"

#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <utility>

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

SendPipeline::SendPipeline(Write write, ReceivePipeline& receive, QObject* parent)
    : QObject(parent)
    , m_write(std::move(write))
    , m_receive(receive)
{}

SendPipeline::~SendPipeline() = default;

bool SendPipeline::sendText(const QString& text, Editor editor)
{
    const QByteArray bytes = encodeSendData(text, editor);
    return !bytes.isEmpty() && sendMessage(bytes);
}

bool SendPipeline::refuses()
{
    if (m_refusal.isEmpty())
        return false;
    Q_EMIT noticed(Notice::warning(m_refusal));
    return true;
}

QByteArray SendPipeline::encodeSendData(const QString& text, Editor editor)
{
    if (refuses())
        return {};
    if (text.isEmpty()) {
        Q_EMIT editorFocusRequested();
        return {};
    }
    const bool hexadecimal = isHexadecimal(m_format);
    const EncodeSendResult result = MessageCodec::encodeSend(text, hexadecimal, m_format);
    if (!result.ok) {
        Q_EMIT noticed(Notice::warning(result.error, kEncodingErrorMs));
        return {};
    }
    if (hexadecimal && editor == Editor::Rewrite && result.displayText != text)
        Q_EMIT editorTextReplaced(result.displayText);
    m_history.add(hexadecimal ? result.displayText.toUpper() : text);
    Q_EMIT historyChanged();
    return result.bytes;
}

bool SendPipeline::sendMessage(const QByteArray& bytes)
{
    return send(bytes, m_format.displaySendMsg ? bytes : QByteArray());
}

bool SendPipeline::send(const QByteArray& bytes, const QByteArray& echo)
{
    if (bytes.isEmpty() || refuses())
        return false;
    const Written written = m_write(bytes);
    if (written == Written::Kept)
        keep(bytes.size(), echo);
    else if (written == Written::Taken)
        account(bytes.size(), echo);
    return written != Written::Refused;
}

bool SendPipeline::sendTyped(const QString& text)
{
    const QByteArray enter = MessageCodec::terminalEnterBytes(m_format.terminalEnterMode);
    QByteArrayList lines;
    const QStringList typedLines = linesOf(text);
    for (const QString& line : typedLines) {
        const auto encoded = WireTextCodecRegistry::encode(line, m_format.sendEncoding);
        if (!encoded.ok) {
            Q_EMIT noticed(Notice::warning(encoded.error, kEncodingErrorMs));
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
    if (!m_format.localEcho)
        return send(bytes, {});
    return send(bytes, isHexadecimal(m_format) ? bytes : echoOfTyped(bytes));
}

void SendPipeline::account(qsizetype size, const QByteArray& echo)
{
    m_sentBytes += size;
    Q_EMIT sent();
    Q_EMIT countersChanged();
    if (echo.isEmpty())
        return;
    m_receive.pushByteArray(echo, false, RXorTx::Sent);
    m_receive.onRefreshDisplay();
}

// No person waits to see it: the view gets to it in its own time.
void SendPipeline::noteSent(const QByteArray& bytes, bool echo)
{
    account(bytes.size(), {});
    if (echo)
        m_receive.pushByteArray(bytes, false, RXorTx::Sent);
}

void SendPipeline::keep(qsizetype size, const QByteArray& echo)
{
    if (m_kept.size() < kMaxKept)
        m_kept.push_back({});
    m_kept.back().bytes += size;
    m_kept.back().echo += echo;
}

void SendPipeline::acceptKept()
{
    qsizetype bytes = 0;
    QByteArray echo;
    for (const Kept& message : std::exchange(m_kept, {})) {
        bytes += message.bytes;
        echo += message.echo;
    }
    if (bytes > 0)
        account(bytes, echo);
}

void SendPipeline::takeBack(qint64 bytes)
{
    while (!m_kept.empty() && m_kept.front().bytes <= bytes) {
        bytes -= m_kept.front().bytes;
        m_kept.pop_front();
    }
    m_sentBytes = qMax<qint64>(m_sentBytes - bytes, 0);
    Q_EMIT countersChanged();
}

void SendPipeline::setHistory(const QStringList& entries)
{
    m_history.setEntries(entries);
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
