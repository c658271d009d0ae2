#include "terminal/port/linereport.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Input
{
    QLatin1StringView name;
    bool ModemLines::*level = nullptr;
};

// Names of lines are the same in every language.
constexpr std::array kInputNames{Input{"CTS"_L1, &ModemLines::cts},
    Input{"DSR"_L1, &ModemLines::dsr}, Input{"DCD"_L1, &ModemLines::dcd},
    Input{"RI"_L1, &ModemLines::ri}};
constexpr auto kBreakName = "BRK"_L1;

LineMark outputMark(const QString& name, LineDriver::Level level)
{
    const bool asked = level.certainty == LineDriver::Certainty::Requested;
    return {asked ? QString(name + u'?') : name, level.high, false};
}

} // namespace

QList<LineMark> lineMarks(const LineReport& report)
{
    QList<LineMark> marks;
    if (report.inBreak)
        marks.append({kBreakName, true, true});
    if (!report.isSeen())
        return marks;
    marks.append(outputMark(u"RTS"_s, report.rts));
    marks.append(outputMark(u"DTR"_s, report.dtr));
    if (report.sight != LineDriver::Sight::All)
        return marks;
    for (const auto& [name, level] : kInputNames)
        marks.append({name, report.inputs.*level, false});
    return marks;
}

QStringList lineWords(const LineReport& report)
{
    QStringList words;
    if (report.inBreak)
        words.append(LineDriver::tr("Break is being sent"));
    if (!report.isSeen())
        return words;
    const auto add = [&words](const QString& name, const QString& state) {
        words.append(name + u": "_s + state);
    };
    add(u"RTS"_s, LineDriver::stateText(report.rts));
    add(u"DTR"_s, LineDriver::stateText(report.dtr));
    if (report.sight != LineDriver::Sight::All)
        return words;
    for (const auto& [name, level] : kInputNames)
        add(name, LineDriver::levelName(report.inputs.*level));
    return words;
}
