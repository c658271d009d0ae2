#include "terminal/view/textmatcher.h"

#include <algorithm>
#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

// Whether an expression has something that gives nothing back, looks around, refers back or repeats
// hundreds of times: there a step may run through the line and leave nothing to be counted. Rather
// one too many.
bool mayRunUncounted(const QString& expression)
{
    static const QRegularExpression signs(
        uR"(\(\?[^:)imsxn]|\(\*|[*+?}]\+|\\[1-9gkQX]|\{[0-9]{3})"_s);
    return signs.match(expression).hasMatch();
}

} // namespace

TextMatcher::TextMatcher(const TextPattern& pattern)
    : m_plain(!pattern.regularExpression)
{
    if (m_plain) {
        m_needle = QStringMatcher(
            pattern.text, pattern.caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive);
        return;
    }
    QRegularExpression::PatternOptions options = QRegularExpression::UseUnicodePropertiesOption;
    if (!pattern.caseSensitive)
        options |= QRegularExpression::CaseInsensitiveOption;
    m_quick = QRegularExpression(pattern.text, options);
    if (!m_quick.isValid()) {
        m_error = m_quick.errorString();
        return;
    }
    m_quick.setPattern(u"(*LIMIT_MATCH=%1)"_s.arg(kPieceStepLimit) + pattern.text);
    m_text = pattern.text;
    m_runsUncounted = mayRunUncounted(m_text);
    m_careful.setPatternOptions(options);
}

// The limit is a part of the pattern, so the pattern is compiled anew for lines of another length.
void TextMatcher::allowStepsFor(qsizetype length) const
{
    constexpr qsizetype kGrain = 1024;
    const qsizetype rounded = m_runsUncounted ? (length / kGrain + 1) * kGrain : 1;
    if (m_carefulLength == rounded)
        return;
    m_carefulLength = rounded;
    const qsizetype steps = std::min<qsizetype>(kStepLimit, kCharacterLimit / rounded);
    // Repeats that never give back are run through without being counted as steps.
    m_careful.setPattern(u"(*LIMIT_MATCH=%1)(*NO_AUTO_POSSESS)"_s.arg(steps) + m_text);
}

void TextMatcher::findPlain(QStringView text, qint64 base, QList<TextMatch>& matches) const
{
    const qsizetype length = m_needle.pattern().size();
    if (!m_plain || length == 0)
        return;
    for (qsizetype at = m_needle.indexIn(text); at >= 0; at = m_needle.indexIn(text, at + length))
        matches.append({base + at, length});
}

TextMatcher::Outcome TextMatcher::findInLine(QStringView line, qsizetype from, qint64 base,
    LineSearch& search, const QDeadlineTimer& deadline) const
{
    if (m_plain || !m_error.isEmpty())
        return Outcome::Done;
    if (search.base != base || search.size != line.size() || search.from != from) {
        // The time spent stays: a line that grows all the time must not be tried for ever.
        search = {base, line.size(), from, from, from, search.spentUs, {}};
    }
    while (search.at < line.size()) {
        if (search.at >= search.carefulTo)
            tryPiece(line, search);
        else if (!tryPlace(line, search))
            return Outcome::GivenUp;
        if (search.at < line.size() && deadline.hasExpired())
            return Outcome::Paused;
    }
    return Outcome::Done;
}

// To an expression that asks for more than the piece has, the engine answers with a partial match
// at the place in question; without one, what is behind the piece does not matter.
void TextMatcher::tryPiece(QStringView line, LineSearch& search) const
{
    qsizetype end = std::min(search.at + kPiece, line.size());
    if (end < line.size() && line.at(end - 1).isHighSurrogate())
        ++end;
    const auto type = end < line.size() ? QRegularExpression::PartialPreferFirstMatch
                                        : QRegularExpression::NormalMatch;
    auto found = m_quick.globalMatch(
        line.first(end), search.at, type, QRegularExpression::DontCheckSubjectStringMatchOption);
    while (found.hasNext()) {
        const QRegularExpressionMatch match = found.next();
        if (match.hasPartialMatch()) {
            search.at = std::max(search.at, match.capturedStart());
            search.carefulTo = search.at + 1;
            return;
        }
        if (match.capturedLength() > 0)
            search.found.append({search.base + match.capturedStart(), match.capturedLength()});
        search.at = std::max(search.at, match.capturedEnd());
    }
    // Past an empty match at the very end the iterator is invalid without anything being wrong.
    if (found.isValid() || search.at == end)
        search.at = end;
    else
        search.carefulTo = end;
}

// Anchored, so that the engine counts each step that it goes back.
bool TextMatcher::tryPlace(QStringView line, LineSearch& search) const
{
    // Processor time: on a busy machine a harmless expression must not fail.
    const std::clock_t start = std::clock();
    const qsizetype place = search.at++;
    allowStepsFor(line.size() - place);
    if (search.at < line.size() && line.at(search.at).isLowSurrogate())
        ++search.at;
    auto found = m_careful.globalMatch(line, place, QRegularExpression::NormalMatch,
        QRegularExpression::AnchorAtOffsetMatchOption
            | QRegularExpression::DontCheckSubjectStringMatchOption);
    bool decided = false;
    while (found.hasNext() && !decided) {
        const QRegularExpressionMatch match = found.next();
        decided = match.capturedLength() > 0 || match.capturedStart() > place;
        if (match.capturedLength() == 0)
            continue;
        search.found.append({search.base + match.capturedStart(), match.capturedLength()});
        search.at = std::max(search.at, match.capturedEnd());
    }
    search.spentUs += (std::clock() - start) / (CLOCKS_PER_SEC / 1'000'000);
    return (decided || found.isValid()) && search.spentUs < qint64{kLineBudgetMs} * 1000;
}
