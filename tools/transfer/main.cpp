// velmora-transfer: sends or receives one file by XMODEM or YMODEM. Exit status: 0 when the other
// end confirmed the whole file, 1 when the transfer failed, 2 for a wrong command line, 3 when the
// port could not be opened.
#include "base/processsignals.h"
#include "connections/systemportcatalog.h"
#include "transfer/porttransfer.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QSerialPort>
#include <QTextStream>
#include <array>
#include <cstdio>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

enum ExitStatus { Confirmed = 0, Failed = 1, WrongUse = 2, NoPort = 3 };

constexpr std::array kProtocols{XferProtocol::Xmodem, XferProtocol::XmodemCrc,
    XferProtocol::Xmodem1K, XferProtocol::Ymodem, XferProtocol::YmodemG};
constexpr int kPercent = 100;
constexpr int kMaxPort = 65'535;

struct Task
{
    XferConfig config;
    QString path;
    Settings settings;
};

QString protocolNames()
{
    QStringList names;
    for (const XferProtocol protocol : kProtocols)
        names += FileTransferSession::protocolLabel(protocol).toLower();
    return names.join(u", "_s);
}

[[noreturn]] void refuse(const QString& text)
{
    std::fprintf(stderr, "velmora-transfer: %s\n", qPrintable(text));
    std::exit(WrongUse);
}

XferProtocol protocolNamed(const QString& name)
{
    for (const XferProtocol protocol : kProtocols) {
        if (FileTransferSession::protocolLabel(protocol).compare(name, Qt::CaseInsensitive) == 0)
            return protocol;
    }
    refuse(u"unknown protocol \"%1\"; there are %2"_s.arg(name, protocolNames()));
}

// "host:port" or the name of a serial port.
Settings settingsFor(const QString& port, const QString& baudRate, bool hardwareFlowControl)
{
    Settings settings;
    const qsizetype colon = port.lastIndexOf(u':');
    bool isNumber = false;
    const int number = QStringView(port).sliced(colon + 1).toInt(&isNumber);
    if (colon > 0 && isNumber && !port.startsWith(u'/')) {
        settings.connMode = connectionMode::TcpClient;
        settings.targetHost = port.left(colon);
        // "[::1]:5000": the address has colons of its own.
        if (settings.targetHost.startsWith(u'[') && settings.targetHost.endsWith(u']'))
            settings.targetHost = settings.targetHost.sliced(1).chopped(1);
        else if (settings.targetHost.contains(u':'))
            refuse(u"an address with colons stands in brackets: [%1]:port"_s.arg(port));
        if (number < 1 || number > kMaxPort)
            refuse(u"\"%1\" is no port number"_s.arg(number));
        settings.targetPort = number;
    } else {
        settings.portName = port;
    }
    settings.baudRate = baudRate.toInt(&isNumber);
    if (!isNumber || settings.baudRate <= 0)
        refuse(u"\"%1\" is no baud rate"_s.arg(baudRate));
    if (hardwareFlowControl)
        settings.flowControl = QSerialPort::HardwareControl;
    return settings;
}

Task readCommandLine(const QCoreApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Sends or receives one file by XMODEM or YMODEM over a serial port or a TCP connection.\n"
        "Exit status: 0 the other end confirmed the whole file, 1 the transfer failed, 2 wrong "
        "command line, 3 the port could not be opened."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption send(u"send"_s, u"Send this file."_s, u"file"_s);
    const QCommandLineOption receive(u"receive"_s,
        u"Receive into this folder; by XMODEM, which carries no name, into this file."_s, u"dir"_s);
    const QCommandLineOption protocol(
        u"protocol"_s, u"One of "_s + protocolNames() + u'.', u"name"_s, u"ymodem"_s);
    const QCommandLineOption baud(
        u"baud"_s, u"Baud rate of a serial port."_s, u"rate"_s, u"115200"_s);
    const QCommandLineOption rtscts(u"rtscts"_s, u"Hardware flow control on a serial port."_s);
    const QCommandLineOption blocks(u"short-blocks"_s, u"Send blocks of 128 bytes only."_s);
    parser.addOptions({send, receive, protocol, baud, rtscts, blocks});
    parser.addPositionalArgument(u"port"_s, u"Serial port, or host:port."_s);
    if (!parser.parse(QCoreApplication::arguments()))
        refuse(parser.errorText());
    if (parser.isSet(u"help"_s))
        parser.showHelp(0);
    if (parser.isSet(u"version"_s))
        parser.showVersion();
    if (parser.positionalArguments().size() != 1 || parser.isSet(send) == parser.isSet(receive))
        refuse(u"name one port, and a file to send or a folder to receive into (--help)"_s);
    Q_UNUSED(application)
    Task task;
    task.config.protocol = protocolNamed(parser.value(protocol));
    task.config.direction = parser.isSet(send) ? XferSend : XferReceive;
    if (parser.isSet(blocks))
        task.config.blockSizeOption = XferConfig::kShortBlock;
    task.path = parser.value(parser.isSet(send) ? send : receive);
    task.settings = settingsFor(
        parser.positionalArguments().constFirst(), parser.value(baud), parser.isSet(rtscts));
    return task;
}

// On a terminal one line that moves; otherwise nothing but the beginning and the end.
void showProgress(const PortTransfer& transfer)
{
    static qint64 shownMs = 0;
    constexpr qint64 kRefreshMs = 200;
    const FileTransferSession* session = transfer.session();
    if (!session || ::isatty(STDERR_FILENO) == 0 || transfer.nowMs() - shownMs < kRefreshMs)
        return;
    shownMs = transfer.nowMs();
    const XferProgress progress = session->progress();
    const QString part = progress.bytesTotal > 0
                             ? u" %1 %"_s.arg(progress.bytesDone * kPercent / progress.bytesTotal)
                             : QString();
    std::fprintf(stderr, "\r%lld bytes%s  %lld KB/s  %d retries\x1b[K",
        static_cast<long long>(progress.bytesDone), qPrintable(part),
        static_cast<long long>(session->bytesPerSecond(shownMs) / 1024), progress.retries);
}

void say(const QString& text)
{
    std::fprintf(
        stderr, "%s%s\n", ::isatty(STDERR_FILENO) != 0 ? "\r\x1b[K" : "", qPrintable(text));
}

class Run final : public QObject
{
public:
    explicit Run(Task task)
        : m_task(std::move(task))
    {
        connect(&m_port, &LivePort::noticed, this, [this](const Notice& notice) {
            // How the connection ends during a transfer is a part of how that ends, and behind it
            // of no interest.
            const bool counts = !m_begun && notice.gravity != Notice::Gravity::Info;
            if (counts && std::exchange(m_said, notice.text) != notice.text)
                say(notice.fullText());
        });
        connect(&m_signals, &ProcessSignals::endRequested, this, [this] {
            if (m_transfer.isActive())
                m_transfer.cancel();
            else
                leave(m_begun ? Failed : NoPort);
        });
        connect(&m_transfer, &PortTransfer::progressed, this, [this] { showProgress(m_transfer); });
        connect(&m_transfer, &PortTransfer::finished, this, &Run::onFinished);
        m_port.setSettings(m_task.settings, LivePort::Origin::Program);
        connect(&m_port, &LivePort::stateChanged, this, &Run::onStateChanged);
        if (!m_port.start(false))
            leave(NoPort);
        else
            onStateChanged();
    }

private:
    void onStateChanged()
    {
        if (m_port.isOpen() && !m_begun) {
            m_begun = true;
            QString error;
            if (m_transfer.start(m_task.config, m_task.path, {}, &error)) {
                say(m_transfer.session()->startedText());
                const bool named =
                    xferIsYmodem(m_task.config.protocol) || !QFileInfo(m_task.path).isDir();
                if (m_task.config.direction == XferReceive && !named)
                    say(u"XMODEM carries no file name: the file gets one of its own."_s);
            } else {
                say(error);
                leave(Failed);
            }
        } else if (!m_port.isActive() && !m_begun) {
            leave(NoPort);
        }
    }
    void onFinished(bool complete)
    {
        const FileTransferSession& session = *m_transfer.session();
        say(session.summaryText(m_transfer.nowMs()));
        for (const QString& notice : session.notices())
            say(notice);
        if (!session.receivedPath().isEmpty())
            std::printf("%s\n", qPrintable(session.receivedPath()));
        std::fflush(stdout);
        leave(complete ? Confirmed : Failed);
    }
    static void leave(ExitStatus status)
    {
        QMetaObject::invokeMethod(
            qApp, [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
    }

    const Task m_task;
    SystemPortCatalog m_catalog;
    LivePort m_port{m_catalog};
    PortTransfer m_transfer{m_port};
    bool m_begun = false;
    ProcessSignals m_signals{ProcessSignals::Hangup::Ends};
    QString m_said;
};

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"velmora-transfer"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    const Run run(readCommandLine(application));
    return QCoreApplication::exec();
}
