#pragma once

#include "terminal/format/hexspan.h"

#include <QList>
#include <QString>

// Which colour a text is to have, if the display knows colours: that of the palette, or the one
// chosen for received or for sent data.
enum class Ink : quint8 { Plain, Received, Sent };

// What a live port needs of a display: text goes in at the end, characters leave at the front.
// Lengths and counts are UTF-16 code units as QString counts them, a line feed counts one. The text
// handed over holds no carriage return; a line feed ends a display line.
class DisplaySink
{
public:
    virtual ~DisplaySink() = default;

    // Appends at the end without adding a line break. Keeps the reader's place unless the view was
    // at its bottom. `bytes` are the parts of the text that stand for bytes, ascending; between
    // them are time stamps and line feeds. There are none in text that is no hexadecimal.
    virtual void append(const QString& text, Ink ink, const QList<HexSpan>& bytes) = 0;
    // Nothing more is appended in this turn of the event loop.
    virtual void drainEnded() {}
    // Removes the first `characters` of the text (all of it when there are fewer), and one more
    // where that would part a surrogate pair. Shows the end of the text if the reader was there.
    virtual void trimFront(qint64 characters) = 0;
    virtual void clearText() = 0;
    [[nodiscard]] virtual qint64 textLength() const = 0;
    // The next append ends with the view scrolled to its bottom, wherever the reader was.
    virtual void forceScrollToEnd() = 0;
};
