#pragma once

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringMatcher>

// What a person searches for.
struct TextPattern
{
    QString text;
    bool caseSensitive = false;
    bool regularExpression = false;

    bool operator==(const TextPattern&) const = default;
};

// Finds the matches of one pattern in one window of text. Pure: no text is kept between calls.
class TextMatcher
{
public:
    struct Match
    {
        qint64 position = 0;
        qint64 length = 0;

        bool operator==(const Match&) const = default;
    };
    struct Result
    {
        QList<Match> matches; // positions within the window
        bool tooComplex = false;
    };

    // Characters searched at once. A line that is longer is searched in overlapping windows: a
    // match of an expression in such a line is found whole up to `overlap` characters.
    static constexpr qint64 window = 65'536;
    static constexpr qint64 overlap = 4'096;

    // Gives an error text for an invalid expression; such a matcher finds nothing.
    explicit TextMatcher(const TextPattern& pattern);
    [[nodiscard]] QString errorText() const { return error_; }
    [[nodiscard]] bool isRegularExpression() const { return pattern_.regularExpression; }

private:
    TextPattern pattern_;
    QStringMatcher plain_;
    QRegularExpression expression_;
    QString error_;
};
