#include "terminal/format/sanitizetext.h"

#include <algorithm>

namespace {

constexpr char16_t kNewlineSymbol = u'\u2424';
constexpr char16_t kSubstituteSymbol = u'\u2426';

// One expression without branches, so that the compiler turns a loop over it into vector code.
constexpr bool mustBeReplaced(char16_t c)
{
    const bool control = bool((c < 0x20) & (c != u'\t') & (c != u'\n') & (c != u'\r'));
    const bool deleteOrC1 = char16_t(c - 0x7F) <= 0x9F - 0x7F;
    const bool separator = char16_t(c - 0x2028) <= 1;
    const bool nonCharacter = char16_t(c - 0xFDD0) <= 0xFDEF - 0xFDD0;
    const bool annotation = char16_t(c - 0xFFF9) <= 0xFFFC - 0xFFF9;
    const bool mark = bool((c == 0xFEFF) | (c >= 0xFFFE));
    return bool(control | deleteOrC1 | separator | nonCharacter | annotation | mark);
}

// How a character is shown. No branches either: random bytes would make the processor guess wrong.
constexpr char16_t visibleForm(char16_t c)
{
    const bool newline = bool((c == 0x85) | (char16_t(c - 0x2028) <= 1));
    char16_t form = newline ? kNewlineSymbol : kSubstituteSymbol;
    form = c < 0x20 ? char16_t(0x2400 + c) : form;
    form = c == 0x7F ? u'\u2421' : form;
    return mustBeReplaced(c) ? form : c;
}

// The index of a block that holds the first character to replace, or `size`.
qsizetype findBlock(const char16_t* text, qsizetype size)
{
    constexpr qsizetype kBlock = 32;
    qsizetype from = 0;
    for (; from + kBlock <= size; from += kBlock) {
        char16_t hits = 0;
        for (qsizetype i = 0; i < kBlock; ++i)
            hits = char16_t(hits | char16_t(mustBeReplaced(text[from + i])));
        if (hits != 0)
            return from;
    }
    const bool inTail = std::any_of(text + from, text + size, mustBeReplaced);
    return inTail ? from : size;
}

} // namespace

void sanitize(QString& text, qsizetype from)
{
    const auto* const shown = reinterpret_cast<const char16_t*>(text.utf16()) + from;
    const qsizetype length = text.size() - from;
    const qsizetype dirty = findBlock(shown, length);
    if (dirty == length)
        return;
    auto* const units = reinterpret_cast<char16_t*>(text.data()) + from;
    std::transform(units + dirty, units + length, units + dirty, visibleForm);
}
