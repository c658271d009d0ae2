#include "terminal/view/terminalkeymap.h"
#include "terminal/view/textcontrast.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestTerminalKeyMap final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void maps_data();
    void maps();
    void contrast_data();
    void contrast();
};

void TestTerminalKeyMap::maps_data()
{
    constexpr int kNone = Qt::NoModifier;
    constexpr int kShift = Qt::ShiftModifier;
    constexpr int kCtrl = Qt::ControlModifier;
    constexpr int kAlt = Qt::AltModifier;
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("hex"); // "enter", "text", empty for nothing, or bytes

    const auto row = [](const char* name, int key, int modifiers, const QString& text,
                         const QByteArray& hex) {
        QTest::newRow(name) << key << modifiers << text << hex;
    };
    row("a", Qt::Key_A, kNone, u"a"_s, "text"_ba);
    row("A", Qt::Key_A, kShift, u"A"_s, "text"_ba);
    row("beyond the BMP", 0, kNone, u"\U0001F600"_s, "text"_ba);
    row("AltGr: {", Qt::Key_BraceLeft, kCtrl | kAlt, u"{"_s, "text"_ba);
    row("Cyrillic", 0x0424, kNone, u"\u0444"_s, "text"_ba);
    row("Return", Qt::Key_Return, kNone, u"\r"_s, "enter"_ba);
    row("keypad Enter", Qt::Key_Enter, kNone, u"\r"_s, "enter"_ba);
    row("Shift+Return", Qt::Key_Return, kShift, u"\r"_s, "enter"_ba);
    row("Tab", Qt::Key_Tab, kNone, u"\t"_s, "09"_ba);
    row("Backtab", Qt::Key_Backtab, kShift, {}, "1b5b5a"_ba);
    row("Backspace", Qt::Key_Backspace, kNone, u"\b"_s, "08"_ba);
    row("Shift+Backspace", Qt::Key_Backspace, kShift, u"\b"_s, "7f"_ba);
    row("Ctrl+Backspace", Qt::Key_Backspace, kCtrl, u"\x7F"_s, "7f"_ba);
    row("Escape", Qt::Key_Escape, kNone, u"\x1B"_s, "1b"_ba);
    row("Delete", Qt::Key_Delete, kNone, u"\x7F"_s, "1b5b337e"_ba);
    row("Insert", Qt::Key_Insert, kNone, {}, "1b5b327e"_ba);
    row("Left", Qt::Key_Left, kNone, {}, "1b5b44"_ba);
    row("Ctrl+Right", Qt::Key_Right, kCtrl, {}, "1b5b313b3543"_ba);
    row("Home", Qt::Key_Home, kNone, {}, "1b5b48"_ba);
    row("End", Qt::Key_End, kNone, {}, "1b5b46"_ba);
    row("Page Down", Qt::Key_PageDown, kNone, {}, "1b5b367e"_ba);
    row("F1", Qt::Key_F1, kNone, {}, "1b4f50"_ba);
    row("Shift+F1", Qt::Key_F1, kShift, {}, "1b5b313b3250"_ba);
    row("F5", Qt::Key_F5, kNone, {}, "1b5b31357e"_ba);
    row("Ctrl+Alt+F12", Qt::Key_F12, kCtrl | kAlt, {}, "1b5b32343b377e"_ba);
    row("F13", Qt::Key_F13, kNone, {}, {});
    row("Ctrl+A", Qt::Key_A, kCtrl, u"\x01"_s, "01"_ba);
    row("Ctrl+Z", Qt::Key_Z, kCtrl, u"\x1A"_s, "1a"_ba);
    row("Ctrl+Shift+K is kept back", Qt::Key_K, kCtrl | kShift, u"\x0B"_s, {});
    row("Ctrl+Space", Qt::Key_Space, kCtrl, u" "_s, "00"_ba);
    row("Ctrl+[", Qt::Key_BracketLeft, kCtrl, u"\x1B"_s, "1b"_ba);
    row("Ctrl+\\", Qt::Key_Backslash, kCtrl, u"\x1C"_s, "1c"_ba);
    row("Ctrl+]", Qt::Key_BracketRight, kCtrl, u"\x1D"_s, "1d"_ba);
    row("Ctrl+^", Qt::Key_AsciiCircum, kCtrl | kShift, u"\x1E"_s, "1e"_ba);
    row("Ctrl+_", Qt::Key_Underscore, kCtrl | kShift, u"\x1F"_s, "1f"_ba);
    row("Ctrl+9", Qt::Key_9, kCtrl, u"9"_s, {});
    row("Ctrl+C on a Cyrillic layout", 0x0421, kCtrl, u"\x03"_s, "03"_ba);
    row("Alt+x", Qt::Key_X, kAlt, u"x"_s, "1b78"_ba);
    row("Meta+x", Qt::Key_X, Qt::MetaModifier, u"x"_s, {});
    row("a modifier alone", Qt::Key_Shift, kShift, {}, {});
}

void TestTerminalKeyMap::maps()
{
    QFETCH(const int, key);
    QFETCH(const int, modifiers);
    QFETCH(const QString, text);
    QFETCH(const QByteArray, hex);
    const TypedKey typed = TerminalKeyMap::map(key, Qt::KeyboardModifiers(modifiers), text);
    TypedKey expected;
    if (hex == "text")
        expected = {TypedKey::Kind::Text, text, {}};
    else if (hex == "enter")
        expected = {TypedKey::Kind::Enter, {}, {}};
    else if (!hex.isEmpty())
        expected = {TypedKey::Kind::Control, {}, QByteArray::fromHex(hex)};
    QVERIFY2(typed == expected, typed.bytes.toHex().constData());
}

void TestTerminalKeyMap::contrast_data()
{
    QTest::addColumn<QColor>("text");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<double>("ratio"); // by the formula of WCAG 2.1, computed independently
    QTest::addColumn<bool>("readable");
    QTest::newRow("black on white") << QColor(0, 0, 0) << QColor(255, 255, 255) << 21.0 << true;
    QTest::newRow("black on dark") << QColor(0, 0, 0) << QColor(0x1E, 0x1E, 0x1E) << 1.259 << false;
    QTest::newRow("blue on black") << QColor(0, 0, 255) << QColor(0, 0, 0) << 2.444 << true;
    QTest::newRow("yellow on white")
        << QColor(255, 255, 0) << QColor(255, 255, 255) << 1.074 << false;
    QTest::newRow("equal") << QColor(9, 99, 199) << QColor(9, 99, 199) << 1.0 << false;
}

void TestTerminalKeyMap::contrast()
{
    QFETCH(const QColor, text);
    QFETCH(const QColor, background);
    QFETCH(const double, ratio);
    QFETCH(const bool, readable);
    QVERIFY(std::abs(contrastRatio(text, background) - ratio) < 0.002);
    QVERIFY(std::abs(contrastRatio(background, text) - ratio) < 0.002);
    QCOMPARE(isReadable(text, background), readable);
}

QTEST_GUILESS_MAIN(TestTerminalKeyMap)
#include "tst_terminalkeymap.moc"
