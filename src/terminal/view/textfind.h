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
// runs from the event loop in slices of kSliceBudgetMs, so results come in by and by; changed()
// tells. Only new text, the unfinished last line and a first line that a removal has cut are
// searched again. Matches lie within lines and do not overlap; positions are absolute.
// Bounds: the search pauses when kMaximumMatches are kept, looking after each window of text (so
// at most kMaximumMatches + window), and goes on when removals make room. One window is copied
// at a time. An expression that stays too slow is given up, with an error text.
class TextFind final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TextFind)

public:
    static constexpr int kMaximumMatches = 100'000;
    static constexpr int kSliceBudgetMs = 5;
    // An expression that has had this much of the processor and reads slower than this is given
    // up: a full display would take it minutes.
    static constexpr int kPatienceMs = 3'000;
    static constexpr qint64 kSlowestCharactersPerSecond = 50'000;
    // Characters read at once. A line that is longer is searched in windows that overlap: in such
    // a line an expression sees `overlap` characters before and at least as many after the
    // start of a match.
    static constexpr qint64 kWindow = 16'384;
    static constexpr qint64 kOverlap = 4'096;

    // The source must outlive this object.
    explicit TextFind(const TextSource& source, QObject* parent = nullptr);
    ~TextFind() override = default;

    // Starts a new search; an empty text ends it. The first match at or after `from` becomes the
    // current one, or the first of all when there is none behind. An invalid expression finds
    // nothing and has an error text.
    void setPattern(const TextPattern& pattern, qint64 from);
    [[nodiscard]] const TextPattern& pattern() const { return m_pattern; }
    [[nodiscard]] QString errorText() const { return m_error; }

    // True until all text that is there has been searched (or kMaximumMatches are kept).
    [[nodiscard]] bool isSearching() const { return m_timer.isActive(); }
    [[nodiscard]] int matchCount() const { return static_cast<int>(m_matches.size()); }
    // There is text that has not been searched because kMaximumMatches are kept.
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

    const TextSource& m_source;
    TextPattern m_pattern;
    std::optional<TextMatcher> m_matcher;
    QString m_error;
    QTimer m_timer;
    std::deque<TextMatch> m_matches;
    LineSearch m_line;         // the line that an expression is tried on
    LineSearch m_firstLine;    // and the one that a removal has cut
    qint64 m_first = 0;        // the source's first position when it was last looked at
    qint64 m_next = 0;         // text before this position is done; matches from here on may change
    qint64 m_searchedEnd = 0;  // the source's end when the unfinished last line was searched
    qint64 m_spentUs = 0;      // of the processor, for this pattern
    qint64 m_tried = 0;        // characters for it, those of an unfinished line each time
    bool m_insideLine = false; // m_next stands within a line longer than a window
    bool m_firstLineCut = false;
    bool m_choosing = false; // no current match has been chosen for this pattern
    qint64 m_wanted = 0;
    std::optional<qint64> m_current;
};
