#include "base/notice.h"

Notice Notice::info(const QString& text, int shownMs)
{
    return {text, {}, {}, Gravity::Info, shownMs};
}

Notice Notice::warning(const QString& text, int shownMs)
{
    return {text, {}, {}, Gravity::Warning, shownMs};
}

Notice Notice::error(const QString& text, const QString& advice, int shownMs)
{
    return {text, advice, {}, Gravity::Error, shownMs};
}

QString Notice::fullText() const
{
    return advice.isEmpty() ? text : QString(text + u'\n' + advice);
}
