#pragma once

#include "terminal/view/textmatcher.h"

#include <QObject>
#include <QTimer>
#include <deque>
#include <optional>

class TextSource;

// Finds all matches of a pattern in a text that grows and is trimmed while it is searched.
//
// The owner sets a pattern and calls sourceChanged() after every append or removal. The search
// runs from the event loop in slices of sliceBudgetMs, so results come in by and by; changed()
// tells. Only new text, the unfinished last line and a first line that a removal has cut are
// searched again. Matches lie within lines and do not overlap; positions are absolute.
// Bounds: at most maximumMatches are kept; the search then pauses and goes on when removals make
// room. A text of at most TextMatcher::window characters is copied at a time.
class TextFind final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TextFind)

public:
    using Match = TextMatcher::Match;

    static constexpr int maximumMatches = 100'000;
    static constexpr int sliceBudgetMs = 5;

    // The source must outlive this object.
    explicit TextFind(const TextSource& source, QObject* parent = nullptr);

    // Starts a new search; an empty text ends it. The first match at or after `from` becomes the
    // current one, or the first of all when there is none. An invalid expression finds nothing
    // and has an error text.
    void setPattern(const TextPattern& pattern, qint64 from);
    [[nodiscard]] const TextPattern& pattern() const { return pattern_; }
    [[nodiscard]] QString errorText() const { return error_; }

    // True until all text that is there has been searched (or maximumMatches are kept).
    [[nodiscard]] bool isSearching() const { return timer_.isActive(); }
    [[nodiscard]] int matchCount() const { return static_cast<int>(matches_.size()); }
    // There are more matches than matchCount() says.
    [[nodiscard]] bool isLimited() const { return limited_; }
    [[nodiscard]] Match matchAt(int index) const;
    // Index of the first match that ends after a position; matchCount() when there is none.
    [[nodiscard]] int firstMatchAfter(qint64 position) const;

    // Index of the current match, -1 when there is none.
    [[nodiscard]] int currentIndex() const;
    // Move on, around the end. From a match that was trimmed away, to the one next to its place.
    void next();
    void previous();

public Q_SLOTS:
    void sourceChanged();

Q_SIGNALS:
    // Count, current match, error or progress changed.
    void changed();
    // The person's move or a first result made another match the current one.
    void currentMoved();

private:
    struct Job
    {
        qint64 position = 0;
        qint64 end = 0;
        bool lineStart = true;
    };

    void runSlice();
    bool searchHead();
    bool searchTail();
    qint64 searchWindow(qint64 position, qint64 end, bool lineStart, bool& lineStartAfter);
    void dropMatchesBefore(qint64 position);
    void dropMatchesFrom(qint64 position);
    void restartFirstLine(qint64 first);
    void store(const TextMatcher::Result& result, qint64 offset);
    void chooseFirstCurrent(bool complete);
    void setCurrent(int index);

    const TextSource& source_;
    TextPattern pattern_;
    std::optional<TextMatcher> matcher_;
    QString error_;
    QTimer timer_;
    std::deque<Match> matches_;
    std::optional<Job> head_;
    Job tail_;
    qint64 knownFirst_ = 0;
    qint64 wanted_ = 0;
    qint64 current_ = -1;
    bool choosing_ = false;
    bool limited_ = false;
};
