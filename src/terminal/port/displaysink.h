#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <optional>

// A part of a text in which every three characters, two digits and a blank, stand for a byte.
struct HexSpan
{
    qsizetype from = 0;
    qsizetype to = 0;

    bool operator==(const HexSpan&) const = default;
};

// What the receive pipeline needs of a display: text goes in at the end, characters leave at the
// front. Lengths and counts are UTF-16 code units as QString counts them, a line feed counts one.
// The text handed over holds no carriage return; a line feed ends a display line.
class DisplaySink
{
public:
    virtual ~DisplaySink() = default;

    // Appends at the end without adding a line break. Without a colour the text follows the
    // palette. Keeps the reader's place unless the view was at its bottom.
    virtual void appendText(const QString& text, const std::optional<QColor>& color) = 0;
    // The same for text with bytes in it. `bytes` are ascending; between them stand time stamps
    // and line feeds. A display from which no bytes are copied shows it like any other text.
    virtual void appendHexadecimal(
        const QString& text, const std::optional<QColor>& color, const QList<HexSpan>& /*bytes*/)
    {
        appendText(text, color);
    }
    // Removes the first `characters` of the text (all of it when there are fewer), and one more
    // where that would part a surrogate pair. Shows the end of the text if the reader was there.
    virtual void trimFront(qint64 characters) = 0;
    virtual void clearText() = 0;
    [[nodiscard]] virtual qint64 textLength() const = 0;
    // The next append ends with the view scrolled to its bottom, wherever the reader was.
    virtual void forceScrollToEnd() = 0;
};
