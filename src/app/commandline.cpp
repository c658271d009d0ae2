#include "app/commandline.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

// Whatever it is: one that cannot be opened says so better than a port of that name would.
bool namesSession(const QString& argument)
{
    return argument.endsWith(".vmr"_L1, Qt::CaseInsensitive) && QFileInfo::exists(argument);
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments)
{
    CommandLine result;
    QStringList others = arguments.sliced(qMin(qsizetype(1), arguments.size()));
    const qsizetype option = others.indexOf("--screenshot"_L1);
    if (option >= 0 && option + 1 < others.size()) {
        result.screenshotPath = others.at(option + 1);
        others.remove(option, 2);
    }
    const QString first = others.value(0);
    if (namesSession(first))
        result.sessionFile = QFileInfo(first).absoluteFilePath();
    else if (result.screenshotPath.isEmpty())
        result.portName = first;
    return result;
}
