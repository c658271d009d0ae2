#pragma once

#include <QFont>
#include <QList>
#include <QTextLayout>

// Fonts for the scripts that can be drawn only with a font that has shaping tables for them:
// Syriac, Thaana, N'Ko, most of those of India, Sinhala and Khmer.
//
// Text layout looks for such a font by loading every installed one in turn, in the middle of a
// paint. That takes a tenth of a second with few fonts installed and ten seconds with many, and
// two bytes of noise on the line read as UTF-8 are enough to ask for it. Here the font is chosen
// by what the font database says without loading any; letters that no font has become boxes.
class ScriptFonts final
{
public:
    // Stands for one UTF-16 code unit that cannot be drawn.
    static constexpr char16_t kBox = u'\u25A1'; // WHITE SQUARE

    // Prepares a text for layout in a font: puts boxes into it, of the same length, and returns
    // the stretches that are to be laid out in another family.
    [[nodiscard]] static QList<QTextLayout::FormatRange> choose(QString& text, const QFont& font);
};
