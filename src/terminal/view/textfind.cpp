#include "terminal/view/textfind.h"

#include "terminal/view/textsource.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace {

constexpr QChar lineFeed = u'\n';

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
    , source_(source)
{
    timer_.setInterval(0);
    connect(&timer_, &QTimer::timeout, this, &TextFind::runSlice);
}

void TextFind::setPattern(const TextPattern& pattern, qint64 from)
{
    pattern_ = pattern;
    matcher_.reset();
    error_.clear();
    line_ = firstLine_ = {};
    spentUs_ = tried_ = 0;
    current_.reset();
    wanted_ = from;
    restartAt(source_.firstPosition());
    if (!pattern.text.isEmpty()) {
        matcher_.emplace(pattern);
        error_ = matcher_->errorText();
        if (!error_.isEmpty())
            matcher_.reset();
    }
    choosing_ = hasWork();
    if (choosing_)
        timer_.start();
    else
        timer_.stop();
    Q_EMIT changed();
}

void TextFind::sourceChanged()
{
    if (!matcher_)
        return;
    const qint64 first = source_.firstPosition();
    if (first > next_) {
        restartAt(first);
    } else if (first > first_) {
        first_ = first;
        firstLineCut_ = true;
        const auto gone = std::ranges::lower_bound(matches_, first, {}, &TextMatch::position);
        matches_.erase(matches_.begin(), gone);
    }
    if (hasWork() && !timer_.isActive())
        timer_.start();
    Q_EMIT changed();
}

bool TextFind::isLimited() const
{
    return matcher_ && matchCount() >= maximumMatches && source_.endPosition() > searchedEnd_;
}

bool TextFind::hasWork() const
{
    if (!matcher_)
        return false;
    return firstLineCut_ || (matchCount() < maximumMatches && source_.endPosition() > searchedEnd_);
}

TextMatch TextFind::matchAt(int index) const
{
    return matches_.at(static_cast<std::size_t>(index));
}

int TextFind::firstMatchAfter(qint64 position) const
{
    const auto found = std::ranges::upper_bound(matches_, position, {}, &TextMatch::end);
    return static_cast<int>(found - matches_.begin());
}

int TextFind::currentIndex() const
{
    if (!current_)
        return -1;
    const auto found = std::ranges::lower_bound(matches_, *current_, {}, &TextMatch::position);
    if (found == matches_.end() || found->position != *current_)
        return -1;
    return static_cast<int>(found - matches_.begin());
}

void TextFind::next()
{
    if (matches_.empty())
        return;
    const auto found =
        std::ranges::lower_bound(matches_, current_.value_or(wanted_), {}, &TextMatch::position);
    auto index = static_cast<int>(found - matches_.begin());
    if (currentIndex() >= 0)
        ++index;
    setCurrent(index < matchCount() ? index : 0);
}

void TextFind::previous()
{
    if (matches_.empty())
        return;
    const auto found =
        std::ranges::lower_bound(matches_, current_.value_or(wanted_), {}, &TextMatch::position);
    const auto index = static_cast<int>(found - matches_.begin());
    setCurrent(index > 0 ? index - 1 : matchCount() - 1);
}

void TextFind::setCurrent(int index)
{
    choosing_ = false;
    current_ = matchAt(index).position;
    Q_EMIT currentMoved();
    Q_EMIT changed();
}

void TextFind::runSlice()
{
    const QDeadlineTimer deadline(sliceBudgetMs, Qt::PreciseTimer);
    const std::clock_t start = std::clock();
    if (firstLineCut_)
        searchFirstLine(deadline);
    while (hasWork() && !deadline.hasExpired())
        searchOnce(deadline);
    spentUs_ += (std::clock() - start) / (CLOCKS_PER_SEC / 1'000'000);
    if (isTooSlow())
        giveUp();
    const bool complete = !hasWork();
    if (complete)
        timer_.stop();
    if (choosing_)
        chooseFirst(complete);
    Q_EMIT changed();
}

void TextFind::chooseFirst(bool complete)
{
    const auto found = std::ranges::lower_bound(matches_, wanted_, {}, &TextMatch::position);
    if (found != matches_.end())
        setCurrent(static_cast<int>(found - matches_.begin()));
    else if (complete && !matches_.empty())
        setCurrent(0);
    else
        choosing_ = !complete;
}

// What a removal left of a line is a line of its own: an anchored expression may match anew, and
// matches may lie differently.
void TextFind::searchFirstLine(const QDeadlineTimer& deadline)
{
    firstLineCut_ = false;
    QString line = read(first_, window);
    const qsizetype length = line.indexOf(lineFeed);
    if (length < 0 || first_ + length >= next_) {
        restartAt(first_);
        return;
    }
    line.truncate(length);
    const qint64 lineEnd = first_ + length;
    QList<TextMatch> found;
    if (matcher_->isPlain()) {
        matcher_->findPlain(line, first_, found);
    } else {
        const auto outcome = matcher_->findInLine(line, 0, first_, firstLine_, deadline);
        if (outcome == TextMatcher::Outcome::GivenUp)
            return giveUp();
        firstLineCut_ = outcome == TextMatcher::Outcome::Paused;
        if (firstLineCut_)
            return;
        found = std::exchange(firstLine_, {}).found;
        tried_ += length;
    }
    std::erase_if(matches_, [lineEnd](const TextMatch& match) { return match.position < lineEnd; });
    matches_.insert(matches_.begin(), found.cbegin(), found.cend());
}

void TextFind::searchOnce(const QDeadlineTimer& deadline)
{
    dropMatchesFrom(next_);
    if (matcher_->isPlain())
        searchPlain();
    else
        searchLines(deadline);
}

void TextFind::searchPlain()
{
    const QString text = source_.textAt(next_, std::max(window, 2 * matcher_->patternLength()));
    QList<TextMatch> found;
    matcher_->findPlain(text, next_, found);
    matches_.insert(matches_.end(), found.cbegin(), found.cend());
    searchedEnd_ = next_ + text.size();
    // The beginning of a match may stand at the end.
    next_ = std::max(next_, searchedEnd_ - (matcher_->patternLength() - 1));
    if (!found.isEmpty())
        next_ = std::max(next_, found.constLast().end());
}

void TextFind::searchLines(const QDeadlineTimer& deadline)
{
    const qint64 context = insideLine_ ? std::min(overlap, next_ - first_) : 0;
    const qint64 base = next_ - context;
    const QString text = read(base, context + window);
    const bool reachesEnd = base + text.size() == source_.endPosition();
    QList<TextMatch> found;
    qsizetype start = 0;
    qsizetype from = context;
    qsizetype end = text.indexOf(lineFeed, from);
    auto outcome = TextMatcher::Outcome::Done;
    while (end >= 0 && (start == 0 || !deadline.hasExpired())) {
        const QStringView line = QStringView(text).mid(start, end - start);
        outcome = matcher_->findInLine(line, from - start, base + start, line_, deadline);
        if (outcome != TextMatcher::Outcome::Done)
            break;
        found += std::exchange(line_, {}).found;
        tried_ += end + 1 - from;
        start = from = end + 1;
        end = text.indexOf(lineFeed, from);
    }
    matches_.insert(matches_.end(), found.cbegin(), found.cend());
    if (outcome == TextMatcher::Outcome::GivenUp)
        return giveUp();
    if (start > 0) {
        next_ = searchedEnd_ = base + start;
        insideLine_ = false;
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
    const qint64 base = next_ - context;
    const auto outcome = matcher_->findInLine(text, context, base, line_, deadline);
    if (outcome == TextMatcher::Outcome::GivenUp)
        return giveUp();
    if (outcome == TextMatcher::Outcome::Paused)
        return;
    QList<TextMatch> found = std::exchange(line_, {}).found;
    const qint64 end = base + text.size();
    tried_ += text.size() - context;
    searchedEnd_ = end;
    if (!unfinished || text.size() - context >= window) {
        const qint64 cut = end - overlap;
        while (!found.isEmpty() && found.constLast().position >= cut)
            found.removeLast();
        next_ = found.isEmpty() ? cut : std::max(cut, found.constLast().end());
        searchedEnd_ = next_;
        insideLine_ = true;
    }
    matches_.insert(matches_.end(), found.cbegin(), found.cend());
}

bool TextFind::isTooSlow() const
{
    constexpr qint64 usPerMs = 1000;
    constexpr qint64 msPerSecond = 1000;
    return matcher_ && !matcher_->isPlain() && spentUs_ > patienceMs * usPerMs
           && tried_ < spentUs_ / usPerMs * slowestCharactersPerSecond / msPerSecond;
}

void TextFind::giveUp()
{
    restartAt(first_);
    matcher_.reset();
    error_ = tr("The expression takes too many steps");
}

void TextFind::restartAt(qint64 position)
{
    matches_.clear();
    first_ = next_ = searchedEnd_ = position;
    insideLine_ = false;
    firstLineCut_ = false;
}

void TextFind::dropMatchesFrom(qint64 position)
{
    while (!matches_.empty() && matches_.back().position >= position)
        matches_.pop_back();
}

QString TextFind::read(qint64 position, qint64 count) const
{
    QString text = source_.textAt(position, count);
    if (!matcher_->isPlain())
        replaceLoneSurrogates(text);
    return text;
}
