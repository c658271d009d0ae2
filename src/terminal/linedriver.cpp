#include "terminal/linedriver.h"

QString LineDriver::levelName(bool high)
{
    return high ? tr("high") : tr("low");
}
