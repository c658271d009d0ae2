#include "app/commandline.h"

using namespace Qt::Literals::StringLiterals;

CommandLine CommandLine::parse(const QStringList& arguments)
{
    CommandLine result;
    const qsizetype option = arguments.indexOf("--screenshot"_L1);
    if (option >= 0 && option + 1 < arguments.size())
        result.screenshotPath = arguments.at(option + 1);
    else if (arguments.size() > 1)
        result.portName = arguments.at(1);
    return result;
}
