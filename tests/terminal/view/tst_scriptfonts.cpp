#include "terminal/view/scriptfonts.h"

#include <QFontDatabase>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// Which fonts are installed is this machine's affair; what has to hold is the same everywhere.
class TestScriptFonts final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void leavesOtherTextAlone()
    {
        const QString text = u"0a\tÄ Ж א ع ไทย 漢字 \U0001F600 \u0301 \uFFFD"_s;
        QString prepared = text;
        QVERIFY(ScriptFonts::choose(prepared, m_font).isEmpty());
        QCOMPARE(prepared, text);
    }

    void neverAsksTheLayoutForAFontItWouldHaveToLookFor_data()
    {
        QTest::addColumn<QString>("letters");
        QTest::addColumn<int>("script");
        QTest::newRow("Syriac") << u"\u0710\u0712"_s << int(QFontDatabase::Syriac);
        QTest::newRow("Thaana") << u"\u0780\u07A6"_s << int(QFontDatabase::Thaana);
        QTest::newRow("Devanagari") << u"\u0915\u093F"_s << int(QFontDatabase::Devanagari);
        QTest::newRow("Malayalam") << u"\u0D15\u0D3E"_s << int(QFontDatabase::Malayalam);
        QTest::newRow("Khmer") << u"\u1780\u17B6"_s << int(QFontDatabase::Khmer);
    }
    void neverAsksTheLayoutForAFontItWouldHaveToLookFor()
    {
        QFETCH(const QString, letters);
        QFETCH(const int, script);
        // Layout counts the signs around the letters as letters of their script.
        const QString text = u"1: "_s + letters + u" 2, a "_s + letters + u'.';
        QString prepared = text;
        const auto ranges = ScriptFonts::choose(prepared, m_font);
        const auto families =
            QFontDatabase::families(static_cast<QFontDatabase::WritingSystem>(script));
        if (families.isEmpty()) {
            QVERIFY(ranges.isEmpty());
            const QString boxes(letters.size(), QChar(ScriptFonts::kBox));
            QCOMPARE(prepared, QString(text).replace(letters, boxes));
            return;
        }
        QCOMPARE(prepared, text);
        QCOMPARE(ranges.size(), 2);
        const qsizetype latin = text.indexOf(u'a');
        QCOMPARE(ranges.at(0).start, 0);
        QCOMPARE(ranges.at(0).length, latin);
        QCOMPARE(ranges.at(1).start, text.lastIndexOf(letters));
        QCOMPARE(ranges.at(1).start + ranges.at(1).length, text.size());
        QVERIFY(families.contains(ranges.at(0).format.fontFamilies().toStringList().value(0)));
    }

private:
    QFont m_font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
};

QTEST_MAIN(TestScriptFonts)
#include "tst_scriptfonts.moc"
