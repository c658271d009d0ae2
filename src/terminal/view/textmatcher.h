#pragma once

#include <QDeadlineTimer>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringMatcher>

// What a person searches for. Without a line feed: matches lie within lines.
struct TextPattern
{
    QString text;
    bool caseSensitive = false;
    bool regularExpression = false;

    bool operator==(const TextPattern&) const = default;
};

struct TextMatch
{
    qint64 position = 0;
    qint64 length = 0;

    [[nodiscard]] qint64 end() const { return position + length; }
    bool operator==(const TextMatch&) const = default;
};

// How far the search for an expression in one line has come, kept by the caller from one call to
// the next.
struct LineSearch
{
    qint64 base = -1; // which line it is
    qsizetype size = 0;
    qsizetype from = 0;
    qsizetype at = 0;        // places before this one are done
    qsizetype carefulTo = 0; // places up to here are tried one by one
    qint64 spentUs = 0;      // of the processor, on such places
    QList<TextMatch> found;
};

// Finds the matches of one pattern, from left to right and without overlap. Empty matches of an
// expression are left out. Pure: keeps no text between calls.
//
// What backtracks without end must not hold the window. An expression is tried on pieces of a
// line, with few steps allowed at a place; where these do not do, or where a match may reach out
// of the piece, it is tried place by place with many, and the clock is read after each. With
// some expressions a step may run through the rest of the line without leaving anything to be
// counted, as a lookahead does in each turn of a repeat: the longer the line, the fewer steps these
// may take.
class TextMatcher
{
public:
    enum class Outcome : quint8 { Done, Paused, GivenUp };

    // An expression is given up when it takes this many steps at one place of a line, or as many
    // as make this many characters when each runs through the line, or this much of the processor
    // for one line.
    static constexpr int kStepLimit = 100'000;
    static constexpr qsizetype kCharacterLimit = 20'000'000;
    static constexpr int kLineBudgetMs = 500;
    // Places tried by one call into the expression at most. A step may run through the rest of
    // the piece: places, steps and characters multiply to what takes a few milliseconds.
    static constexpr qsizetype kPiece = 256;
    static constexpr int kPieceStepLimit = 64;

    // An invalid expression gives an error text and finds nothing.
    explicit TextMatcher(const TextPattern& pattern);
    [[nodiscard]] QString errorText() const { return m_error; }
    [[nodiscard]] bool isPlain() const { return m_plain; }
    [[nodiscard]] qint64 patternLength() const { return m_needle.pattern().size(); }

    // Adds the matches that start at `from` or after it; positions are those in the text plus
    // `base`. Plain text only.
    void findPlain(QStringView text, qint64 base, QList<TextMatch>& matches) const;
    // The same for an expression in one line (or a piece of one; what stands in front of `from`
    // is context), well-formed. Paused after the deadline, when at least one piece or place has
    // been tried: the next call with the same line goes on, with another line it starts anew.
    // `search` holds the matches; whoever starts a line after Done empties it.
    Outcome findInLine(QStringView line, qsizetype from, qint64 base, LineSearch& search,
        const QDeadlineTimer& deadline) const;

private:
    void tryPiece(QStringView line, LineSearch& search) const;
    [[nodiscard]] bool tryPlace(QStringView line, LineSearch& search) const;
    void allowStepsFor(qsizetype length) const;

    QStringMatcher m_needle;
    QRegularExpression m_quick;
    mutable QRegularExpression m_careful;
    mutable qsizetype m_carefulLength = 0; // of the lines that its limit is made for
    bool m_runsUncounted = false;
    QString m_text;
    QString m_error;
    bool m_plain = true;
};
