#pragma once

#include <QByteArray>
#include <QRgb>
#include <QString>
#include <vector>

// A piece of received text of at most `capacity` UTF-16 code units: append only, with the places
// of its line feeds and the runs of its styles. Text within ISO 8859-1, which is nearly all that
// devices send, takes one byte a character; the first other character widens the whole chunk.
class TextChunk final
{
public:
    static constexpr qsizetype capacity = 65'536;
    // No colour of its own: the text follows the palette. Colours are opaque.
    static constexpr QRgb noColor = 0;

    // Text of one style; ends where the next one starts. A stamped line of hexadecimal takes two.
    struct Run
    {
        quint16 start = 0;
        bool bytes = false; // digits that stand for bytes (HexSpan)
        QRgb color = noColor;
    };

    TextChunk();

    // Takes what still fits and returns how many code units that are.
    qsizetype append(QStringView text, QRgb color, bool bytes);

    [[nodiscard]] qsizetype size() const { return wide_ ? utf16_.size() : latin1_.size(); }
    [[nodiscard]] bool isFull() const { return size() == capacity; }
    [[nodiscard]] QChar at(qsizetype offset) const
    {
        return wide_ ? utf16_.at(offset) : QChar(QLatin1Char(latin1_.at(offset)));
    }
    void copyTo(QString& text, qsizetype from, qsizetype count) const;
    // Ascending; offsets in this chunk.
    [[nodiscard]] const std::vector<quint16>& lineFeeds() const { return lineFeeds_; }
    // Ascending, the first at 0.
    [[nodiscard]] const std::vector<Run>& runs() const { return runs_; }

private:
    void noteLineFeeds(QStringView text, qsizetype start);
    void widen();

    QByteArray latin1_;
    QString utf16_;
    std::vector<quint16> lineFeeds_;
    std::vector<Run> runs_;
    bool wide_ = false;
};
