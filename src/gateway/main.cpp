// velmora-gateway: the ports, bridges and logs of a session file without a screen.
#include "base/processsignals.h"
#include "gateway/gateway.h"
#include "gateway/gatewaystatus.h"
#include "gateway/servicenotifier.h"
#include "gateway/statussocket.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

enum ExitStatus { Good = 0, Faulty = 1, NotRunning = 2, WrongUse = 64 };

enum class Task { Run, Check, Status };

struct Command
{
    Task task = Task::Run;
    QString file;
};

// Where messages of the libraries go, while there is one.
Journal* journalOfMessages = nullptr;

void onMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    const auto level = type == QtWarningMsg ? Journal::Level::Warning : Journal::Level::Error;
    if (!journalOfMessages)
        std::fprintf(stderr, "velmora-gateway: %s\n", qPrintable(text));
    else if (journalOfMessages->isNews(text))
        journalOfMessages->write(level, text);
}

[[noreturn]] void refuse(const QString& text)
{
    std::fprintf(stderr, "velmora-gateway: %s\n", qPrintable(text));
    std::exit(WrongUse);
}

Command readCommandLine()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Runs the ports, bridges and data logs of a session file without a screen.\n\n"
        "SIGHUP reads the file again and leaves alone what did not change; SIGTERM and SIGINT end "
        "in order.\nExit status: 0 ended in order or nothing to object to, 1 faults in the file, "
        "2 could not start or (--status) not running, 64 wrong command line."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption check(u"check"_s, u"Say what is wrong with the file, and end."_s);
    const QCommandLineOption status(
        u"status"_s, u"Print what the gateway that runs on the file is doing, as JSON."_s);
    parser.addOptions({check, status});
    parser.addPositionalArgument(u"file"_s, u"Session file (.vmr)."_s);
    if (!parser.parse(QCoreApplication::arguments()))
        refuse(parser.errorText());
    if (parser.isSet(u"help"_s))
        parser.showHelp(Good);
    if (parser.isSet(u"version"_s))
        parser.showVersion();
    if (parser.positionalArguments().size() != 1 || (parser.isSet(check) && parser.isSet(status)))
        refuse(u"name one session file (--help)"_s);
    const Task task = parser.isSet(check)    ? Task::Check
                      : parser.isSet(status) ? Task::Status
                                             : Task::Run;
    return {task, parser.positionalArguments().constFirst()};
}

int check(const QString& file)
{
    const GatewayFile::Findings findings = GatewayFile::check(file);
    for (const QString& fault : findings.faults)
        std::printf("fault: %s\n", qPrintable(fault));
    for (const QString& remark : findings.remarks)
        std::printf("remark: %s\n", qPrintable(remark));
    return findings.faults.isEmpty() ? Good : Faulty;
}

int askStatus(const QString& file)
{
    const StatusRequest request(file);
    QObject::connect(&request, &StatusRequest::finished, qApp, [&file](const QByteArray& answer) {
        if (answer.isEmpty())
            std::fprintf(stderr, "velmora-gateway: none runs on %s\n", qPrintable(file));
        std::fwrite(answer.constData(), 1, std::size_t(answer.size()), stdout);
        QCoreApplication::exit(answer.isEmpty() ? NotRunning : Good);
    });
    return QCoreApplication::exec();
}

// The gateway, between the file, the system's signals, the service manager and who asks.
class Service final : public QObject
{
public:
    explicit Service(QString file)
        : m_file(std::move(file))
        , m_journal(fileno(stderr))
        , m_gateway(m_journal)
        , m_socket([this] { return gatewayStatus(m_gateway, m_file); })
    {
        journalOfMessages = &m_journal;
        connect(&m_gateway, &Gateway::changed, this,
            [this] { m_notifier.status(m_gateway.summary()); });
        connect(&m_gateway, &Gateway::ended, this, [this] {
            m_journal.write(Journal::Level::Info, u"ended"_s);
            QCoreApplication::exit(Good);
        });
        connect(&m_signals, &ProcessSignals::reloadRequested, this, &Service::reload);
        connect(&m_signals, &ProcessSignals::endRequested, this, &Service::end);
    }
    ~Service() override { journalOfMessages = nullptr; }
    Q_DISABLE_COPY_MOVE(Service)

    int run()
    {
        QString error;
        if (!m_socket.claim(m_file, error)) {
            m_journal.write(Journal::Level::Error, m_file + u": "_s + error);
            return NotRunning;
        }
        GatewayPlan plan;
        if (!load(plan))
            return Faulty;
        m_journal.write(Journal::Level::Info, u"velmora-gateway %1 starts on %2"_s.arg(
                                                  QCoreApplication::applicationVersion(), m_file));
        if (!m_socket.listen(error))
            m_journal.write(Journal::Level::Warning, u"cannot be asked for its status: "_s + error);
        m_gateway.apply(plan);
        m_notifier.ready();
        return QCoreApplication::exec();
    }

private:
    bool load(GatewayPlan& plan)
    {
        QString message;
        const bool ok = GatewayFile::read(m_file, plan, message);
        if (!message.isEmpty())
            m_journal.write(
                ok ? Journal::Level::Warning : Journal::Level::Error, m_file + u": "_s + message);
        return ok;
    }
    void reload()
    {
        if (m_isEnding)
            return;
        m_notifier.reloading();
        if (GatewayPlan plan; load(plan)) {
            m_journal.write(Journal::Level::Info, u"the file was read again"_s);
            m_gateway.apply(plan);
        } else {
            m_journal.write(Journal::Level::Error, u"everything stays as it was"_s);
        }
        m_notifier.ready();
    }
    void end()
    {
        m_isEnding = true;
        m_journal.write(Journal::Level::Info, u"is to end"_s);
        m_notifier.stopping();
        m_gateway.finish();
    }

    const QString m_file;
    Journal m_journal;
    ServiceNotifier m_notifier;
    ProcessSignals m_signals{ProcessSignals::Hangup::Reloads};
    Gateway m_gateway;
    StatusSocket m_socket;
    bool m_isEnding = false;
};

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"velmora-gateway"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    qInstallMessageHandler(onMessage);
    const Command command = readCommandLine();
    if (command.task == Task::Check)
        return check(command.file);
    if (command.task == Task::Status)
        return askStatus(command.file);
    return Service(command.file).run();
}
