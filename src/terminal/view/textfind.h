#pragma once

#include "terminal/view/textmatcher.h"

#include <QDeadlineTimer>
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
// Bounds: the search pauses when maximumMatches are kept, looking after each window of text (so
// at most maximumMatches + window), and goes on when removals make room. One window is copied
// at a time. An expression that stays too slow is given up, with an error text.
class TextFind final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TextFind)

public:
    static constexpr int maximumMatches = 100'000;
    static constexpr int sliceBudgetMs = 5;
    // An expression that has had this much of the processor and reads slower than this is given
    // up: a full display would take it minutes.
    static constexpr int patienceMs = 3'000;
    static constexpr qint64 slowestCharactersPerSecond = 50'000;
    // Characters read at once. A line that is longer is searched in windows that overlap: in such
    // a line an expression sees `overlap` characters before and at least as many after the
    // start of a match.
    static constexpr qint64 window = 16'384;
    static constexpr qint64 overlap = 4'096;

    // The source must outlive this object.
    explicit TextFind(const TextSource& source, QObject* parent = nullptr);
    ~TextFind() override = default;

    // Starts a new search; an empty text ends it. The first match at or after `from` becomes the
    // current one, or the first of all when there is none behind. An invalid expression finds
    // nothing and has an error text.
    void setPattern(const TextPattern& pattern, qint64 from);
    [[nodiscard]] const TextPattern& pattern() const { return pattern_; }
    [[nodiscard]] QString errorText() const { return error_; }

    // True until all text that is there has been searched (or maximumMatches are kept).
    [[nodiscard]] bool isSearching() const { return timer_.isActive(); }
    [[nodiscard]] int matchCount() const { return static_cast<int>(matches_.size()); }
    // There is text that has not been searched because maximumMatches are kept.
    [[nodiscard]] bool isLimited() const;
    [[nodiscard]] TextMatch matchAt(int index) const;
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
    // A move, or the first result of a new pattern, made this match the current one.
    void currentMoved();

private:
    void runSlice();
    void searchFirstLine(const QDeadlineTimer& deadline);
    void searchOnce(const QDeadlineTimer& deadline);
    void searchPlain();
    void searchLines(const QDeadlineTimer& deadline);
    void searchLongLine(
        QStringView text, qsizetype context, bool unfinished, const QDeadlineTimer& deadline);
    [[nodiscard]] bool isTooSlow() const;
    void giveUp();
    void restartAt(qint64 position);
    void dropMatchesFrom(qint64 position);
    [[nodiscard]] bool hasWork() const;
    [[nodiscard]] QString read(qint64 position, qint64 count) const;
    void chooseFirst(bool complete);
    void setCurrent(int index);

    const TextSource& source_;
    TextPattern pattern_;
    std::optional<TextMatcher> matcher_;
    QString error_;
    QTimer timer_;
    std::deque<TextMatch> matches_;
    LineSearch line_;         // the line that an expression is tried on
    LineSearch firstLine_;    // and the one that a removal has cut
    qint64 first_ = 0;        // the source's first position when it was last looked at
    qint64 next_ = 0;         // text before this position is done; matches from here on may change
    qint64 searchedEnd_ = 0;  // the source's end when the unfinished last line was searched
    qint64 spentUs_ = 0;      // of the processor, for this pattern
    qint64 tried_ = 0;        // characters for it, those of an unfinished line each time
    bool insideLine_ = false; // next_ stands within a line longer than a window
    bool firstLineCut_ = false;
    bool choosing_ = false; // no current match has been chosen for this pattern
    qint64 wanted_ = 0;
    std::optional<qint64> current_;
};
