#include "terminal/view/scriptfonts.h"

#include <QFontDatabase>
#include <QHash>
#include <optional>

namespace {

std::optional<QFontDatabase::WritingSystem> shapedScript(QChar::Script script)
{
    switch (script) {
    case QChar::Script_Syriac:
        return QFontDatabase::Syriac;
    case QChar::Script_Thaana:
        return QFontDatabase::Thaana;
    case QChar::Script_Nko:
        return QFontDatabase::Nko;
    case QChar::Script_Devanagari:
        return QFontDatabase::Devanagari;
    case QChar::Script_Bengali:
        return QFontDatabase::Bengali;
    case QChar::Script_Gurmukhi:
        return QFontDatabase::Gurmukhi;
    case QChar::Script_Gujarati:
        return QFontDatabase::Gujarati;
    case QChar::Script_Oriya:
        return QFontDatabase::Oriya;
    case QChar::Script_Tamil:
        return QFontDatabase::Tamil;
    case QChar::Script_Telugu:
        return QFontDatabase::Telugu;
    case QChar::Script_Kannada:
        return QFontDatabase::Kannada;
    case QChar::Script_Malayalam:
        return QFontDatabase::Malayalam;
    case QChar::Script_Sinhala:
        return QFontDatabase::Sinhala;
    case QChar::Script_Khmer:
        return QFontDatabase::Khmer;
    default:
        return {};
    }
}

// Empty when no installed font has the script.
const QString& familyFor(QFontDatabase::WritingSystem script)
{
    static QHash<int, QString> known;
    const auto found = known.constFind(script);
    if (found != known.cend())
        return *found;
    const QStringList families = QFontDatabase::families(script);
    QString best = families.value(0);
    for (const QString& family : families) {
        if (QFontDatabase::isFixedPitch(family)) {
            best = family;
            break;
        }
    }
    return *known.insert(script, best);
}

QTextLayout::FormatRange stretch(int from, int to, const QFont& font, const QString& family)
{
    QTextLayout::FormatRange range;
    range.start = from;
    range.length = to - from;
    QFont other(font);
    other.setFamilies({family});
    range.format.setFont(other);
    return range;
}

} // namespace

// Layout gives blanks, digits and signs the script of what stands before them, at the start of a
// text of what follows, and looks for a font of that script: a stretch holds these as well.
QList<QTextLayout::FormatRange> ScriptFonts::choose(QString& text, const QFont& font)
{
    QList<QTextLayout::FormatRange> ranges;
    QString family; // of the stretch that goes on; empty: none does
    bool scriptSeen = false;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const QChar::Script script = c.script();
        if (script > QChar::Script_Common || c.isSurrogate()) {
            const auto shaped = shapedScript(script);
            const QString wanted = shaped ? familyFor(*shaped) : QString();
            if (shaped && wanted.isEmpty()) {
                text[i] = kBox;
            } else {
                if (!wanted.isEmpty() && wanted != family)
                    ranges.append(stretch(scriptSeen ? i : 0, i, font, wanted));
                family = wanted;
                scriptSeen = true;
            }
        }
        if (!family.isEmpty())
            ranges.last().length = i + 1 - ranges.last().start;
    }
    return ranges;
}
