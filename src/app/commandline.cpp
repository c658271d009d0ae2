#include "app/commandline.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

// Whatever it is: one that cannot be opened says so better than a port of that name would.
bool namesSession(const QString& argument)
{
    return argument.endsWith(".vmr"_L1, Qt::CaseInsensitive) && QFileInfo::exists(argument);
}

} // namespace

CommandLine CommandLine::parse(QStringList arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(tr("A terminal for serial ports and network byte streams."));
    const QCommandLineOption help({u"h"_s, u"help"_s}, tr("Shows this help."));
    parser.addOption(help);
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption screenshot(
        u"screenshot"_s, tr("Saves a picture of the window to <file> and ends."), tr("file"));
    parser.addOption(screenshot);
    parser.addPositionalArgument(u"port"_s,
        tr("A serial port, opened in the first pane, or a session file (*.vmr)."), tr("[port]"));
    const QString option = "--screenshot"_L1;
    const bool lacksPath = arguments.size() > 1 && arguments.constLast() == option
                           && arguments.value(arguments.size() - 2) != option;
    if (lacksPath)
        arguments.removeLast();

    CommandLine result;
    if (!parser.parse(arguments)) {
        result.fault = parser.errorText();
        return result;
    }
    if (parser.isSet(help))
        result.answer = parser.helpText();
    else if (parser.isSet(version))
        result.answer = QCoreApplication::applicationName() + u' '
                        + QCoreApplication::applicationVersion() + u'\n';
    result.screenshotPath = parser.value(screenshot);
    const QString first = (parser.positionalArguments() + QStringList(lacksPath, option)).value(0);
    if (namesSession(first))
        result.sessionFile = QFileInfo(first).absoluteFilePath();
    else if (result.screenshotPath.isEmpty())
        result.portName = first;
    return result;
}
