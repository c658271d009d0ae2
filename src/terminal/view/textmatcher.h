#pragma once

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

// Finds the matches of one pattern, from left to right and without overlap. Empty matches of an
// expression are left out. Pure: keeps no text between calls.
class TextMatcher
{
public:
    // An expression is given up when it tries this many steps at one place of a line, or when it
    // takes this much of the processor for one line: what backtracks without end must not hold
    // the window.
    static constexpr int stepLimit = 100'000;
    static constexpr int lineBudgetMs = 100;

    // An invalid expression gives an error text and finds nothing.
    explicit TextMatcher(const TextPattern& pattern);
    [[nodiscard]] QString errorText() const { return error_; }
    [[nodiscard]] bool isPlain() const { return plain_; }
    [[nodiscard]] qint64 patternLength() const { return needle_.pattern().size(); }

    // Adds the matches that start at `from` or after it; positions are those in the text plus
    // `base`. Plain text only.
    void findPlain(QStringView text, qint64 base, QList<TextMatch>& matches) const;
    // The same for an expression in one line (or a piece of one; what stands in front of `from`
    // is context). False when the expression was given up.
    bool findInLine(QStringView line, qsizetype from, qint64 base, QList<TextMatch>& matches) const;

private:
    QStringMatcher needle_;
    QRegularExpression expression_;
    QString error_;
    bool plain_ = true;
};
