#include "terminal/view/displayfonts.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestDisplayFonts final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What a record names and this machine lacks becomes a monospace font that it has.
    void resolved()
    {
        const QString family = defaultMonospaceFamily();
        QVERIFY(fontFamilyAvailable(family.toUpper()));
        QVERIFY(!fontFamilyAvailable(u"No Such Family"_s));
        QVERIFY(!fontFamilyAvailable(QString()));
        const QFont font = resolveDisplayFont({u"No Such Family"_s, 0, 700});
        QCOMPARE(font.family(), family);
        QCOMPARE(font.pointSize(), 12);
        QCOMPARE(int(font.weight()), 700);
        QVERIFY(font.fixedPitch());
        QCOMPARE(displayFontOf(font), (DisplayFont{family, 12, 700}));
        installMonospaceFontSubstitutions();
        const auto expected =
            fontFamilyAvailable(u"Monaco"_s) ? QStringList() : QStringList{family};
        QCOMPARE(QFont::substitutes(u"Monaco"_s).join(u' ').toCaseFolded(),
            expected.join(u' ').toCaseFolded());
    }
};

QTEST_MAIN(TestDisplayFonts)
#include "tst_displayfonts.moc"
