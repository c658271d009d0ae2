#pragma once

#include <QString>

// Steps on the way from decoded text to display lines. Each works on the part of a text that
// begins at `from`; what stands in front of it is the text of earlier records.

// Takes every CR out, so that CR LF and LF CR are one line feed wherever a chunk was cut.
void removeCarriageReturns(QString& text, qsizetype from = 0);

// The stamp goes behind every LF except one at the very end: the line that follows it gets its
// stamp when it begins. With `atFront` it also goes in front. The text holds no CR.
void stampLines(QString& text, qsizetype from, const QString& stamp, bool atFront);
