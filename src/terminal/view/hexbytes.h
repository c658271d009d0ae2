#pragma once

#include <QByteArray>

class TextStore;

// The bytes whose hexadecimal display is in [from, to). One of which only a digit is there, at an
// end of the range or of the text held, is left out, as are time stamps and any other text.
[[nodiscard]] QByteArray hexBytesIn(const TextStore& store, qint64 from, qint64 to);
