#include "terminal/port/linedriver.h"

QString LineDriver::levelName(bool high)
{
    return high ? tr("high") : tr("low");
}

QString LineDriver::stateText(Level level)
{
    QString name = levelName(level.high);
    switch (level.certainty) {
    case Certainty::Sure:
        return name;
    case Certainty::Requested:
        return tr("%1, not confirmed").arg(name);
    case Certainty::Automatic:
        return tr("driven by flow control");
    }
    return {};
}
