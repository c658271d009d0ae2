#pragma once

#include <QColor>
#include <QString>
#include <optional>

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
    // Removes the first `characters` of the text (all of it when there are fewer) and shows the
    // end of the text if the reader was there.
    virtual void trimFront(qint64 characters) = 0;
    virtual void clearText() = 0;
    [[nodiscard]] virtual qint64 textLength() const = 0;
    // The next append ends with the view scrolled to its bottom, wherever the reader was.
    virtual void forceScrollToEnd() = 0;
};
