#include "terminal/view/displayfonts.h"

#include <QFontDatabase>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDefaultPointSize = 12;

QString findMonospaceFamily()
{
    const QStringList candidates = monospaceCandidates();
    const auto found = std::ranges::find_if(candidates, fontFamilyAvailable);
    return found != candidates.end() ? *found
                                     : QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

} // namespace

QStringList monospaceCandidates()
{
    return {u"Consolas"_s, u"Menlo"_s, u"SF Mono"_s, u"Monaco"_s, u"DejaVu Sans Mono"_s,
        u"Liberation Mono"_s, u"Noto Sans Mono"_s, u"Courier New"_s};
}

bool fontFamilyAvailable(const QString& family)
{
    const QString wanted = family.toCaseFolded();
    return std::ranges::any_of(QFontDatabase::families(),
        [&wanted](const QString& name) { return name.toCaseFolded() == wanted; });
}

QString defaultMonospaceFamily()
{
    static const QString family = findMonospaceFamily();
    return family;
}

QFont resolveDisplayFont(const QString& family, int pointSize)
{
    QFont font(fontFamilyAvailable(family) ? family : defaultMonospaceFamily(),
        pointSize < 1 ? kDefaultPointSize : pointSize);
    font.setItalic(false);
    font.setStyleHint(QFont::TypeWriter);
    font.setFixedPitch(true);
    return font;
}

QFont resolveDisplayFont(const DisplayFont& wanted)
{
    QFont font = resolveDisplayFont(wanted.family, wanted.pointSize);
    font.setWeight(static_cast<QFont::Weight>(qBound(1, wanted.weight, 1000)));
    return font;
}

DisplayFont displayFontOf(const QFont& font)
{
    return {font.family(), font.pointSize(), font.weight()};
}

void installMonospaceFontSubstitutions()
{
    for (const QString& name : {u"Consolas"_s, u"Monaco"_s}) {
        if (!fontFamilyAvailable(name))
            QFont::insertSubstitution(name, defaultMonospaceFamily());
    }
}
