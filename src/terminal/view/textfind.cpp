#include "terminal/view/textfind.h"

#include "terminal/view/textsource.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace {

constexpr QChar kLineFeed = u'\n';

// Half a surrogate pair is no text that an expression could be matched against.
void replaceLoneSurrogates(QString& text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!text.at(i).isSurrogate())
            continue;
        const bool pair =
            text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair)
            ++i;
        else
            text[i] = QChar::ReplacementCharacter;
    }
}

} // namespace

TextFind::TextFind(const TextSource& source, QObject* parent)
    : QObject(parent)
    , m_source(source)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &TextFind::runSlice);
}

void TextFind::setPattern(const TextPattern& pattern, qint64 from)
{
    m_pattern = pattern;
    m_matcher.reset();
    m_error.clear();
    m_line = m_firstLine = {};
    m_spentUs = m_tried = 0;
    m_current.reset();
    m_wanted = from;
    restartAt(m_source.firstPosition());
    if (!pattern.text.isEmpty()) {
        m_matcher.emplace(pattern);
        m_error = m_matcher->errorText();
        if (!m_error.isEmpty())
            m_matcher.reset();
    }
    m_choosing = hasWork();
    if (m_choosing)
        m_timer.start();
    else
        m_timer.stop();
    Q_EMIT changed();
}

void TextFind::sourceChanged()
{
    if (!m_matcher)
        return;
    const qint64 first = m_source.firstPosition();
    if (first > m_next) {
        restartAt(first);
    } else if (first > m_first) {
        m_first = first;
        m_firstLineCut = true;
        const auto gone = std::ranges::lower_bound(m_matches, first, {}, &TextMatch::position);
        m_matches.erase(m_matches.begin(), gone);
    }
    if (hasWork() && !m_timer.isActive())
        m_timer.start();
    Q_EMIT changed();
}

bool TextFind::isLimited() const
{
    return m_matcher && matchCount() >= kMaximumMatches && m_source.endPosition() > m_searchedEnd;
}

bool TextFind::hasWork() const
{
    if (!m_matcher)
        return false;
    return m_firstLineCut
           || (matchCount() < kMaximumMatches && m_source.endPosition() > m_searchedEnd);
}

TextMatch TextFind::matchAt(int index) const
{
    return m_matches.at(static_cast<std::size_t>(index));
}

int TextFind::firstMatchAfter(qint64 position) const
{
    const auto found = std::ranges::upper_bound(m_matches, position, {}, &TextMatch::end);
    return static_cast<int>(found - m_matches.begin());
}

int TextFind::currentIndex() const
{
    if (!m_current)
        return -1;
    const auto found = std::ranges::lower_bound(m_matches, *m_current, {}, &TextMatch::position);
    if (found == m_matches.end() || found->position != *m_current)
        return -1;
    return static_cast<int>(found - m_matches.begin());
}

void TextFind::next()
{
    if (m_matches.empty())
        return;
    const auto found =
        std::ranges::lower_bound(m_matches, m_current.value_or(m_wanted), {}, &TextMatch::position);
    auto index = static_cast<int>(found - m_matches.begin());
    if (currentIndex() >= 0)
        ++index;
    setCurrent(index < matchCount() ? index : 0);
}

void TextFind::previous()
{
    if (m_matches.empty())
        return;
    const auto found =
        std::ranges::lower_bound(m_matches, m_current.value_or(m_wanted), {}, &TextMatch::position);
    const auto index = static_cast<int>(found - m_matches.begin());
    setCurrent(index > 0 ? index - 1 : matchCount() - 1);
}

void TextFind::setCurrent(int index)
{
    m_choosing = false;
    m_current = matchAt(index).position;
    Q_EMIT currentMoved();
    Q_EMIT changed();
}

void TextFind::runSlice()
{
    const QDeadlineTimer deadline(kSliceBudgetMs, Qt::PreciseTimer);
    const std::clock_t start = std::clock();
    if (m_firstLineCut)
        searchFirstLine(deadline);
    while (hasWork() && !deadline.hasExpired())
        searchOnce(deadline);
    m_spentUs += (std::clock() - start) / (CLOCKS_PER_SEC / 1'000'000);
    if (isTooSlow())
        giveUp();
    const bool complete = !hasWork();
    if (complete)
        m_timer.stop();
    if (m_choosing)
        chooseFirst(complete);
    Q_EMIT changed();
}

void TextFind::chooseFirst(bool complete)
{
    const auto found = std::ranges::lower_bound(m_matches, m_wanted, {}, &TextMatch::position);
    if (found != m_matches.end())
        setCurrent(static_cast<int>(found - m_matches.begin()));
    else if (complete && !m_matches.empty())
        setCurrent(0);
    else
        m_choosing = !complete;
}

// What a removal left of a line is a line of its own: an anchored expression may match anew, and
// matches may lie differently.
void TextFind::searchFirstLine(const QDeadlineTimer& deadline)
{
    m_firstLineCut = false;
    QString line = read(m_first, kWindow);
    const qsizetype length = line.indexOf(kLineFeed);
    if (length < 0 || m_first + length >= m_next) {
        restartAt(m_first);
        return;
    }
    line.truncate(length);
    const qint64 lineEnd = m_first + length;
    QList<TextMatch> found;
    if (m_matcher->isPlain()) {
        m_matcher->findPlain(line, m_first, found);
    } else {
        const auto outcome = m_matcher->findInLine(line, 0, m_first, m_firstLine, deadline);
        if (outcome == TextMatcher::Outcome::GivenUp)
            return giveUp();
        m_firstLineCut = outcome == TextMatcher::Outcome::Paused;
        if (m_firstLineCut)
            return;
        found = std::exchange(m_firstLine, {}).found;
        m_tried += length;
    }
    std::erase_if(
        m_matches, [lineEnd](const TextMatch& match) { return match.position < lineEnd; });
    m_matches.insert(m_matches.begin(), found.cbegin(), found.cend());
}

void TextFind::searchOnce(const QDeadlineTimer& deadline)
{
    dropMatchesFrom(m_next);
    if (m_matcher->isPlain())
        searchPlain();
    else
        searchLines(deadline);
}

void TextFind::searchPlain()
{
    const QString text = m_source.textAt(m_next, std::max(kWindow, 2 * m_matcher->patternLength()));
    QList<TextMatch> found;
    m_matcher->findPlain(text, m_next, found);
    m_matches.insert(m_matches.end(), found.cbegin(), found.cend());
    m_searchedEnd = m_next + text.size();
    // The beginning of a match may stand at the end.
    m_next = std::max(m_next, m_searchedEnd - (m_matcher->patternLength() - 1));
    if (!found.isEmpty())
        m_next = std::max(m_next, found.constLast().end());
}

void TextFind::searchLines(const QDeadlineTimer& deadline)
{
    const qint64 context = m_insideLine ? std::min(kOverlap, m_next - m_first) : 0;
    const qint64 base = m_next - context;
    const QString text = read(base, context + kWindow);
    const bool reachesEnd = base + text.size() == m_source.endPosition();
    QList<TextMatch> found;
    qsizetype start = 0;
    qsizetype from = context;
    qsizetype end = text.indexOf(kLineFeed, from);
    auto outcome = TextMatcher::Outcome::Done;
    while (end >= 0 && (start == 0 || !deadline.hasExpired())) {
        const QStringView line = QStringView(text).mid(start, end - start);
        outcome = m_matcher->findInLine(line, from - start, base + start, m_line, deadline);
        if (outcome != TextMatcher::Outcome::Done)
            break;
        found += std::exchange(m_line, {}).found;
        m_tried += end + 1 - from;
        start = from = end + 1;
        end = text.indexOf(kLineFeed, from);
    }
    m_matches.insert(m_matches.end(), found.cbegin(), found.cend());
    if (outcome == TextMatcher::Outcome::GivenUp)
        return giveUp();
    if (start > 0) {
        m_next = m_searchedEnd = base + start;
        m_insideLine = false;
        if (end >= 0 || !reachesEnd || start == text.size())
            return;
    }
    if (outcome == TextMatcher::Outcome::Done)
        searchLongLine(QStringView(text).mid(start), from - start, reachesEnd, deadline);
}

// A line without its end: the unfinished last one, whose matches may still change, or a window
// of a line that is longer than the window.
void TextFind::searchLongLine(
    QStringView text, qsizetype context, bool unfinished, const QDeadlineTimer& deadline)
{
    const qint64 base = m_next - context;
    const auto outcome = m_matcher->findInLine(text, context, base, m_line, deadline);
    if (outcome == TextMatcher::Outcome::GivenUp)
        return giveUp();
    if (outcome == TextMatcher::Outcome::Paused)
        return;
    QList<TextMatch> found = std::exchange(m_line, {}).found;
    const qint64 end = base + text.size();
    m_tried += text.size() - context;
    m_searchedEnd = end;
    if (!unfinished || text.size() - context >= kWindow) {
        const qint64 cut = end - kOverlap;
        while (!found.isEmpty() && found.constLast().position >= cut)
            found.removeLast();
        m_next = found.isEmpty() ? cut : std::max(cut, found.constLast().end());
        m_searchedEnd = m_next;
        m_insideLine = true;
    }
    m_matches.insert(m_matches.end(), found.cbegin(), found.cend());
}

bool TextFind::isTooSlow() const
{
    constexpr qint64 kUsPerMs = 1000;
    constexpr qint64 kMsPerSecond = 1000;
    return m_matcher && !m_matcher->isPlain() && m_spentUs > kPatienceMs * kUsPerMs
           && m_tried < m_spentUs / kUsPerMs * kSlowestCharactersPerSecond / kMsPerSecond;
}

void TextFind::giveUp()
{
    restartAt(m_first);
    m_matcher.reset();
    m_error = tr("The expression takes too many steps");
}

void TextFind::restartAt(qint64 position)
{
    m_matches.clear();
    m_first = m_next = m_searchedEnd = position;
    m_insideLine = false;
    m_firstLineCut = false;
}

void TextFind::dropMatchesFrom(qint64 position)
{
    while (!m_matches.empty() && m_matches.back().position >= position)
        m_matches.pop_back();
}

QString TextFind::read(qint64 position, qint64 count) const
{
    QString text = m_source.textAt(position, count);
    if (!m_matcher->isPlain())
        replaceLoneSurrogates(text);
    return text;
}
