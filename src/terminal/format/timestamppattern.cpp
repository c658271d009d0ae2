#include "terminal/format/timestamppattern.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct PlaceHolder
{
    QLatin1StringView text;
    QLatin1StringView dateTimePattern;
};

constexpr std::array kPlaceHolders{
    PlaceHolder{"%Y"_L1, "yyyy"_L1},
    PlaceHolder{"%y"_L1, "yy"_L1},
    PlaceHolder{"%M"_L1, "MM"_L1},
    PlaceHolder{"%D"_L1, "dd"_L1},
    PlaceHolder{"%h"_L1, "hh"_L1},
    PlaceHolder{"%m"_L1, "mm"_L1},
    PlaceHolder{"%s"_L1, "ss"_L1},
    PlaceHolder{"%z"_L1, "zzz"_L1},
    PlaceHolder{"%e"_L1, "zzz"_L1},
};

} // namespace

QString decode_timestamp(const QDateTime& dateTime, const QString& pattern)
{
    const QDateTime time = dateTime.isValid() ? dateTime : QDateTime::currentDateTime();
    QString text = pattern;
    for (const PlaceHolder& holder : kPlaceHolders) {
        if (text.contains(holder.text))
            text.replace(holder.text, time.toString(QString(holder.dateTimePattern)));
    }
    return text;
}
