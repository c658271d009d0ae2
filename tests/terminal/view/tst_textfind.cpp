#include "randomtext.h"
#include "stringsource.h"
#include "terminal/view/textfind.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

// The rule in its simplest form: each line on its own, from left to right, without overlap.
QList<TextMatch> naive(const StringSource& source, const TextPattern& pattern)
{
    QRegularExpression expression(
        pattern.regularExpression ? pattern.text : QRegularExpression::escape(pattern.text));
    expression.setPatternOptions(pattern.caseSensitive
                                     ? QRegularExpression::UseUnicodePropertiesOption
                                     : QRegularExpression::UseUnicodePropertiesOption
                                           | QRegularExpression::CaseInsensitiveOption);
    QList<TextMatch> matches;
    qint64 start = source.firstPosition();
    const QStringList lines = source.text().split(u'\n');
    for (const QString& line : lines) {
        auto found = expression.globalMatch(line);
        while (found.hasNext()) {
            const auto match = found.next();
            if (match.capturedLength() > 0)
                matches.append({start + match.capturedStart(), match.capturedLength()});
        }
        start += line.size() + 1;
    }
    return matches;
}

QList<TextMatch> foundBy(const TextFind& find)
{
    QList<TextMatch> matches;
    for (int i = 0; i < find.matchCount(); ++i)
        matches.append(find.matchAt(i));
    return matches;
}

} // namespace

class TestTextFind final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void equalsNaiveSearch_data()
    {
        QTest::addColumn<TextPattern>("pattern");
        const auto row = [](const QString& text, bool matchCase, bool expression) {
            QTest::newRow(qPrintable(text)) << TextPattern{text, matchCase, expression};
        };
        row(u"a"_s, true, false);
        row(u"aA"_s, false, false);
        row(u"aa"_s, true, false);
        row(u"a.b"_s, true, false);
        row(u"^[ab]+"_s, true, true);
        row(u"c+$"_s, false, true);
        row(u"a*"_s, true, true);
        row(u"|b"_s, true, true);
        row(u"(?<=a)b|c(?=a)"_s, false, true);
        row(u"\\s\\w+"_s, true, true);
        row(u"^.*$"_s, true, true);
        row(u"(a|b)*c|.A+?(?=b)"_s, true, true);
    }

    // Text comes in pieces that split lines anywhere and leaves at the front anywhere.
    void equalsNaiveSearch()
    {
        QFETCH(const TextPattern, pattern);
        RandomText random(7, true);
        StringSource source;
        TextFind find(source);
        find.setPattern(pattern, 0);
        for (int step = 0; step < 150; ++step) {
            for (int i = random.below(3); i >= 0; --i) {
                if (random.below(4) == 0)
                    source.trim(random.below(static_cast<int>(source.text().size()) / 2 + 1));
                else
                    source.append(random.next(random.below(400), u"abcA."_s));
                find.sourceChanged();
            }
            if (random.below(3) == 0)
                QTest::qWait(0);
            if (random.below(5) != 0)
                continue;
            QTRY_VERIFY(!find.isSearching());
            QCOMPARE(foundBy(find), naive(source, pattern));
        }
        source.trim(source.text().size());
        find.sourceChanged();
        QCOMPARE(find.matchCount(), 0);
    }

    void longLines_data()
    {
        QTest::addColumn<TextPattern>("pattern");
        QTest::newRow("text") << TextPattern{u"needle"_s, true, false};
        QTest::newRow("expression") << TextPattern{u"ne+dle"_s, true, true};
        QTest::newRow("any length") << TextPattern{u"d.{3,3000}n|\\b"_s, true, true};
        QTest::newRow("anchors") << TextPattern{u"^.needle|needle.$|(?<=needle)."_s, true, true};
    }

    void longLines()
    {
        QFETCH(const TextPattern, pattern);
        RandomText random(11);
        StringSource source;
        source.append(u"short\n"_s);
        TextFind find(source);
        find.setPattern(pattern, 0);
        for (int i = 0; i < 60; ++i) {
            source.append(QString(random.below(9000), u'.') + u"needle"_s);
            find.sourceChanged();
            if (i % 7 == 0)
                QTRY_VERIFY(!find.isSearching());
            if (i == 40) {
                source.trim(1000);
                find.sourceChanged();
            }
        }
        source.append(u".\n.needle.\nx"_s);
        find.sourceChanged();
        QTRY_VERIFY(!find.isSearching());
        QCOMPARE(foundBy(find), naive(source, pattern));
    }

    void countIsBounded()
    {
        StringSource source;
        source.append(QString(u"a\n"_s).repeated(TextFind::kMaximumMatches + 40'000));
        TextFind find(source);
        find.setPattern({u"a"_s, true, false}, 0);
        QTRY_VERIFY(!find.isSearching());
        QVERIFY(find.isLimited());
        QVERIFY(find.matchCount() >= TextFind::kMaximumMatches);
        QVERIFY(find.matchCount() <= TextFind::kMaximumMatches + TextFind::kWindow);
        source.trim(2 * 50'000);
        find.sourceChanged();
        QTRY_VERIFY(!find.isSearching());
        QVERIFY(!find.isLimited());
        QCOMPARE(find.matchCount(), TextFind::kMaximumMatches - 10'000);
    }

    void badExpressions_data()
    {
        QTest::addColumn<bool>("error");
        for (const char* endless : {"(a", "(a+)+$", "(a|aa)+[bc]", "(a|aa){1,14}[bc]"})
            QTest::newRow(endless) << true;
        for (const char* empty : {"x*", "(?=a)"})
            QTest::newRow(empty) << false;
    }

    void badExpressions()
    {
        const QString expression = QString::fromLatin1(QTest::currentDataTag());
        QFETCH(const bool, error);
        StringSource source;
        source.append(QString(5000, u'a') + u"!\n"_s);
        TextFind find(source);
        find.setPattern({expression, true, true}, 0);
        // Without its limit it would not end in hours.
        QTRY_VERIFY_WITH_TIMEOUT(!find.isSearching(), 30'000);
        QCOMPARE(find.matchCount(), 0);
        QCOMPARE(!find.errorText().isEmpty(), error);
        // The next search is not hurt by it.
        find.setPattern({u"!"_s, true, true}, 0);
        QTRY_COMPARE(find.matchCount(), 1);
        QVERIFY(find.errorText().isEmpty());
    }

    void slowExpressions_data()
    {
        QTest::addColumn<QString>("line");
        const QString letters(20'480, u'a');
        for (const char* slow :
            {"a.{0,250}.{0,250}[XY]", "a.{0,100}.{0,100}[XY]", "(\\w+)\\s+\\1", "\\w*\\w*[XY]"})
            QTest::newRow(slow) << letters;
        for (const char* uncounted :
            {"(?:a(?!.*+X))+X", "(?:(?!.*+X).)*$", "(?:(?=.*+X)a|a)*", "(?>(a)*)X"})
            QTest::newRow(uncounted) << letters;
        QTest::newRow("([0-9A-F]{2} ?)*[X-Z]") << u"0F A1 "_s.repeated(3400);
        QTest::newRow("a.{0,40}.{0,40}.{0,40}[XY]") << letters.left(127);
    }

    // A call whose time is over tries one piece or one place, and that takes no longer than a
    // person would notice.
    void slowExpressions()
    {
        QFETCH(const QString, line);
        const TextMatcher matcher({QString::fromLatin1(QTest::currentDataTag()), true, true});
        LineSearch search;
        auto outcome = TextMatcher::Outcome::Paused;
        while (outcome == TextMatcher::Outcome::Paused) {
            const qsizetype before = search.at;
            const bool careful = before < search.carefulTo;
            const std::clock_t start = std::clock();
            outcome = matcher.findInLine(line, 0, 0, search, QDeadlineTimer(0));
            // The goal is 50 ms; the slowest machine that runs the tests takes several times that.
            QVERIFY(std::clock() - start < CLOCKS_PER_SEC / 4);
            QVERIFY(search.at - before <= (careful ? 1 : TextMatcher::kPiece));
            QVERIFY(search.at > before || search.carefulTo > before);
        }
        QVERIFY(search.found.isEmpty());
        QCOMPARE(outcome == TextMatcher::Outcome::Done, search.at == line.size());
        if (outcome == TextMatcher::Outcome::Done)
            QVERIFY(!QRegularExpression(QString::fromLatin1(QTest::currentDataTag()))
                         .match(line)
                         .hasMatch());
    }

    // No line is too much for it, but there is no end to them.
    void slowOnShortLines()
    {
        StringSource source;
        source.append(QString(QString(100, u'a') + u'\n').repeated(20'000));
        TextFind find(source);
        find.setPattern({u"\\w*\\w*[XY]"_s, true, true}, 0);
        QTRY_VERIFY_WITH_TIMEOUT(!find.isSearching(), 60'000);
        QVERIFY(!find.errorText().isEmpty());
        find.sourceChanged();
        QVERIFY(!find.isSearching());
    }

    void movesAround()
    {
        StringSource source;
        source.append(u"x a x a\nx a"_s);
        TextFind find(source);
        find.next();
        QCOMPARE(find.currentIndex(), -1);
        find.setPattern({u"a"_s, true, false}, 4);
        QTRY_COMPARE(find.currentIndex(), 1);
        find.next();
        QCOMPARE(find.currentIndex(), 2);
        find.next();
        QCOMPARE(find.currentIndex(), 0);
        find.previous();
        QCOMPARE(find.currentIndex(), 2);
        source.append(u" a"_s);
        find.sourceChanged();
        QTRY_COMPARE(find.matchCount(), 4);
        QCOMPARE(find.currentIndex(), 2);
        find.setPattern({u"x"_s, true, false}, 100);
        QTRY_COMPARE(find.currentIndex(), 0);
    }

    void currentSurvivesTrim()
    {
        StringSource source;
        source.append(u"a\na\na\na\n"_s);
        TextFind find(source);
        find.setPattern({u"a"_s, true, false}, 2);
        QTRY_COMPARE(find.currentIndex(), 1);
        source.trim(2);
        find.sourceChanged();
        QTRY_VERIFY(!find.isSearching());
        QCOMPARE(find.currentIndex(), 0);
        source.trim(2);
        find.sourceChanged();
        QTRY_VERIFY(!find.isSearching());
        QCOMPARE(find.currentIndex(), -1);
        find.next();
        QCOMPARE(find.matchAt(find.currentIndex()).position, 4);
    }

    void loneSurrogateDoesNotHideALine()
    {
        StringSource source;
        source.append(QChar(0xD800) + u"abc"_s + QChar(0xDC00));
        TextFind find(source);
        find.setPattern({u"b."_s, true, true}, 0);
        QTRY_COMPARE(find.matchCount(), 1);
        QCOMPARE(find.matchAt(0), (TextMatch{2, 2}));
    }

    void eventLoopIsNotHeld()
    {
        StringSource source;
        source.append(QString(u"temp=23.5 C hum=40 %\n"_s).repeated(500'000)); // 10 MiB
        TextFind find(source);
        qint64 slowest = 0;
        find.setPattern({u"q\\d+|hum=4[1-9]"_s, false, true}, 0);
        while (find.isSearching()) {
            QElapsedTimer turn;
            turn.start();
            QCoreApplication::processEvents();
            slowest = std::max(slowest, turn.elapsed());
        }
        QCOMPARE(find.matchCount(), 0);
        // Slices are cut at 5 ms; the rest is room for a loaded machine.
        QVERIFY2(slowest < 250, qPrintable(QString::number(slowest)));
    }
};

QTEST_GUILESS_MAIN(TestTextFind)
#include "tst_textfind.moc"
