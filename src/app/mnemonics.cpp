#include "app/mnemonics.h"

#include <QAbstractButton>
#include <QKeySequence>
#include <QLabel>
#include <QSet>

#include <algorithm>
#include <functional>
#include <limits>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kerning = 4; // pixels

bool isLatin(QChar c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

// Where the mnemonic goes: the first letter of a word, else any letter; -1 if all are taken.
qsizetype placeIn(const QString& text, const QSet<QChar>& taken)
{
    qsizetype inside = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (!isLatin(c) || taken.contains(c.toUpper()))
            continue;
        if (i == 0 || !text.at(i - 1).isLetter())
            return i;
        if (inside < 0)
            inside = i;
    }
    return inside;
}

// Before the dots or the colon that end the text, where a reader of Chinese looks for it.
QString withLetterBehind(const QString& text, QChar letter)
{
    qsizetype end = text.size();
    while (end > 0 && u".:\u2026\uff1a"_s.contains(text.at(end - 1)))
        --end;
    return u"%1 (&%2)%3"_s.arg(text.first(end), letter, text.sliced(end));
}

QString withMnemonic(QString text, QSet<QChar>& taken)
{
    if (const qsizetype place = placeIn(text, taken); place >= 0) {
        taken.insert(text.at(place).toUpper());
        return text.insert(place, u'&');
    }
    for (char16_t c = u'A'; c <= u'Z'; ++c) {
        if (!taken.contains(c)) {
            taken.insert(c);
            return withLetterBehind(text.trimmed(), QChar(c));
        }
    }
    return text;
}

// A text that waits for its mnemonic, and who shows it.
struct Pending
{
    QString text;
    std::function<void(const QString&)> show;
};

template<typename Widget>
void collect(const QList<Widget*>& widgets, std::vector<Pending>& pending)
{
    for (Widget* widget : widgets) {
        if (const QString text = widget->text(); !text.isEmpty() && !text.contains(u'&'))
            pending.push_back({text, [widget](const QString& shown) { widget->setText(shown); }});
    }
}

qsizetype lettersLeft(const QString& text, const QSet<QChar>& taken)
{
    QSet<QChar> letters;
    for (const QChar c : text) {
        if (isLatin(c))
            letters.insert(c.toUpper());
    }
    return letters.subtract(taken).size();
}

// A short text chooses before a long one, which has other letters to turn to.
void assign(std::vector<Pending> pending, QSet<QChar>& taken)
{
    while (!pending.empty()) {
        const auto next = std::ranges::min_element(pending, {}, [&taken](const Pending& waiting) {
            const qsizetype left = lettersLeft(waiting.text, taken);
            // One that has no letter of its own takes any, when the others have theirs.
            return left > 0 ? left : std::numeric_limits<qsizetype>::max();
        });
        next->show(withMnemonic(next->text, taken));
        pending.erase(next);
    }
}

} // namespace

void assignMnemonics(QWidget& root, QLatin1StringView taken)
{
    QSet<QChar> letters;
    for (const char letter : taken)
        letters.insert(QLatin1Char(letter));
    QList<QLabel*> labels = root.findChildren<QLabel*>();
    labels.removeIf([](const QLabel* label) { return label->buddy() == nullptr; });
    const QList<QAbstractButton*> buttons = root.findChildren<QAbstractButton*>();
    const auto note = [&letters](const QString& text) {
        if (const QKeySequence key = QKeySequence::mnemonic(text); !key.isEmpty())
            letters.insert(QChar(key[0].key()));
    };
    for (const QLabel* label : std::as_const(labels))
        note(label->text());
    for (const QAbstractButton* button : buttons)
        note(button->text());
    std::vector<Pending> pending;
    collect(labels, pending);
    collect(buttons, pending);
    assign(std::move(pending), letters);
    // A text with a mnemonic is drawn in pieces, without the kerning between them that its width
    // was measured with.
    for (QLabel* label : std::as_const(labels))
        label->setMinimumWidth(label->sizeHint().width() + kerning);
}
