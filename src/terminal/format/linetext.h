#pragma once

#include <QString>

// Steps on the way from decoded text to display lines.

// Takes every CR out, so that CR LF and LF CR are one line feed wherever a chunk was cut.
void removeCarriageReturns(QString& text);

// The stamp behind every LF of the text except one at its very end: the line that follows it gets
// its stamp when it begins. The text holds no CR.
[[nodiscard]] QString stampedLines(const QString& text, const QString& stamp);
