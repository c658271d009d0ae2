#pragma once

#include <QString>

// Makes visible what a text view would hide or take as structure, one character for one; TAB, LF
// and CR stay. C0 controls become their pictures (U+2400 + code), DEL U+2421; the line and
// paragraph separators U+0085, U+2028 and U+2029 become U+2424 (symbol for newline); the other C1
// controls, U+FEFF, U+FFF9 to U+FFFC, U+FDD0 to U+FDEF, U+FFFE and U+FFFF become U+2426 (symbol
// for substitute). U+FFFD stays: it says that bytes were no character.
// Everything in front of `from` stays as it is.
void sanitize(QString& text, qsizetype from = 0);
