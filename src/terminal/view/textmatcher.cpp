#include "terminal/view/textmatcher.h"

#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longLine = 128; // a shorter one cannot take long, see stepLimit

} // namespace

TextMatcher::TextMatcher(const TextPattern& pattern)
    : plain_(!pattern.regularExpression)
{
    if (plain_) {
        needle_ = QStringMatcher(
            pattern.text, pattern.caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive);
        return;
    }
    QRegularExpression::PatternOptions options = QRegularExpression::UseUnicodePropertiesOption;
    if (!pattern.caseSensitive)
        options |= QRegularExpression::CaseInsensitiveOption;
    expression_ = QRegularExpression(pattern.text, options);
    if (expression_.isValid())
        expression_.setPattern(u"(*LIMIT_MATCH=%1)"_s.arg(stepLimit) + pattern.text);
    else
        error_ = expression_.errorString();
}

void TextMatcher::findPlain(QStringView text, qint64 base, QList<TextMatch>& matches) const
{
    const qsizetype length = needle_.pattern().size();
    if (!plain_ || length == 0)
        return;
    for (qsizetype at = needle_.indexIn(text); at >= 0; at = needle_.indexIn(text, at + length))
        matches.append({base + at, length});
}

bool TextMatcher::findInLine(
    QStringView line, qsizetype from, qint64 base, QList<TextMatch>& matches) const
{
    if (plain_ || !error_.isEmpty())
        return true;
    // Processor time: on a busy machine a harmless expression must not fail.
    const bool timed = line.size() >= longLine;
    const std::clock_t start = timed ? std::clock() : 0;
    // The caller hands over well-formed text, so that the check of the whole line is not needed.
    auto found = expression_.globalMatch(line, from, QRegularExpression::NormalMatch,
        QRegularExpression::DontCheckSubjectStringMatchOption);
    bool emptyAtEnd = false;
    while (found.hasNext()) {
        const QRegularExpressionMatch match = found.next();
        if (match.capturedLength() > 0)
            matches.append({base + match.capturedStart(), match.capturedLength()});
        emptyAtEnd = match.capturedLength() == 0 && match.capturedEnd() == line.size();
    }
    // Past an empty match at the very end the iterator is invalid without anything being wrong.
    if (!found.isValid() && !emptyAtEnd)
        return false;
    return !timed || (std::clock() - start) / (CLOCKS_PER_SEC / 1000) < lineBudgetMs;
}
