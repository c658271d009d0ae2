#include "settings/formatsetting.h"

#include <algorithm>

FormatSetting FormatSetting::sanitized() const
{
    FormatSetting copy = *this;
    copy.splitterLeft = std::max(splitterLeft, 0);
    copy.splitterRight = std::max(splitterRight, 0);
    copy.autoFeedInterval =
        std::clamp(autoFeedInterval, kMinAutoFeedInterval, kMaxAutoFeedInterval);
    copy.sendInterval = std::max(sendInterval, 1);
    copy.sendTimeUnit = std::max(sendTimeUnit, 1);
    copy.logRotateSize = std::max(logRotateSize, 0);
    copy.displayBufferSize =
        std::clamp(displayBufferSize, kMinDisplayBufferSize, kMaxDisplayBufferSize);
    if (copy.sendList.size() > kMaxSendList)
        copy.sendList.resize(kMaxSendList);
    return copy;
}
