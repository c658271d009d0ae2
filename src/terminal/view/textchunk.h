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
    static constexpr qsizetype kCapacity = 65'536;
    // No colour of its own: the text follows the palette. Colours are opaque.
    static constexpr QRgb kNoColor = 0;

    // Text of one style; ends where the next one starts. A stamped line of hexadecimal takes two.
    struct Run
    {
        quint16 start = 0;
        bool bytes = false; // digits that stand for bytes (HexSpan)
        QRgb color = kNoColor;
    };

    TextChunk();

    // Takes what still fits and returns how many code units that are.
    qsizetype append(QStringView text, QRgb color, bool bytes);

    [[nodiscard]] qsizetype size() const { return m_wide ? m_utf16.size() : m_latin1.size(); }
    [[nodiscard]] bool isFull() const { return size() == kCapacity; }
    [[nodiscard]] QChar at(qsizetype offset) const
    {
        return m_wide ? m_utf16.at(offset) : QChar(QLatin1Char(m_latin1.at(offset)));
    }
    void copyTo(QString& text, qsizetype from, qsizetype count) const;
    // Ascending; offsets in this chunk.
    [[nodiscard]] const std::vector<quint16>& lineFeeds() const { return m_lineFeeds; }
    // Ascending, the first at 0.
    [[nodiscard]] const std::vector<Run>& runs() const { return m_runs; }

private:
    void noteLineFeeds(QStringView text, qsizetype start);
    void widen();

    QByteArray m_latin1;
    QString m_utf16;
    std::vector<quint16> m_lineFeeds;
    std::vector<Run> m_runs;
    bool m_wide = false;
};
