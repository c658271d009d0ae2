#include "terminal/screen/terminalscreen.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// What devices say, and what a person then sees; trailing empty rows left out.
struct Recording
{
    const char* name;
    QByteArray bytes;
    QStringList rows;
};

const QList<Recording>& recordings()
{
    static const QList<Recording> all{
        {"backspace rubs out", "kernel upt\b\b\b\x1B[Kuptime\r\n", {u"kernel uptime"_s}},
        {"carriage return overwrites", "Erasing... 0%\rErasing... 10%\rErasing... 20%",
            {u"Erasing... 20%"_s}},
        {"erased to the left and whole", "abcdef\x1B[3D\x1B[1K\r\nxyz\x1B[2K\r\nlast",
            {u"    ef"_s, u""_s, u"last"_s}},
        {"cursor addressed", "\x1B[2J\x1B[3;5Hhere\x1B[Hhome", {u"home"_s, u""_s, u"    here"_s}},
        {"lines inserted and deleted", "1\r\n2\r\n3\x1B[2;1H\x1B[Lnew\x1B[3;1H\x1B[M",
            {u"1"_s, u"new"_s, u"3"_s}},
        {"region scrolled", "a\r\nb\r\nc\r\nd\x1B[2;3r\x1B[3;1H\n",
            {u"a"_s, u"c"_s, u""_s, u"d"_s}},
        {"tabs", "a\tb\tc", {u"a       b       c"_s}},
        {"wide characters", "\xE6\x97\xA5\xE6\x9C\xAC|\x1B[1;5Hx", {u"\u65E5\u672Cx"_s}},
        {"combining mark", "e\xCC\x81.", {u"e\u0301."_s}},
        {"line drawing", "\x1B(0lqk\x1B(B ok", {u"\u250C\u2500\u2510 ok"_s}},
        {"wrapped at the margin", "12345678901234567890abc", {u"12345678901234567890"_s, u"abc"_s}},
        {"titles and clipboard say nothing",
            "\x1B]0;title\x07\x1B]52;c;aGVsbG8=\x07\x1BP+q544e\x1B\\ok", {u"ok"_s}},
        {"alternate screen is left", "shell$ \x1B[?1049h\x1B[Hfull screen\x1B[?1049lback",
            {u"shell$ back"_s}},
    };
    return all;
}

QStringList rowsOf(const TerminalScreen& screen)
{
    QStringList rows;
    for (qint64 line = screen.topLine(); line < screen.endLine(); ++line)
        rows.append(screen.text(line));
    while (!rows.isEmpty() && rows.constLast().isEmpty())
        rows.removeLast();
    return rows;
}

QStringList allLines(const TerminalScreen& screen)
{
    QStringList lines;
    for (qint64 line = screen.firstLine(); line < screen.topLine(); ++line)
        lines.append(screen.text(line));
    return lines + rowsOf(screen);
}

} // namespace

class TestTerminalScreen final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsWhatDevicesSay_data();
    void showsWhatDevicesSay();
    void keepsColoursAndAttributes();
    void answersOnlyWhatWasAsked();
    void keysFollowTheMode();
    void linesThatLeaveAreKept();
    void sizeChanges();
    void tellsWhatChanged();
};

void TestTerminalScreen::showsWhatDevicesSay_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("rows");
    for (const Recording& recording : recordings())
        QTest::newRow(recording.name) << recording.bytes << recording.rows;
}

void TestTerminalScreen::showsWhatDevicesSay()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QStringList, rows);
    TerminalScreen whole(6, 20);
    whole.write(bytes);
    QCOMPARE(rowsOf(whole), rows);
    TerminalScreen cut(6, 20);
    for (const char& byte : bytes)
        cut.write(QByteArray(1, byte));
    QCOMPARE(rowsOf(cut), rows);
}

void TestTerminalScreen::keepsColoursAndAttributes()
{
    TerminalScreen screen(3, 20);
    screen.write("\x1B[1;31mE\x1B[0;38;5;196;48;2;1;2;3mX\x1B[0;3;4;7;9;97mI\x1B[0mp");
    const TerminalLine line = screen.line(screen.topLine());
    QCOMPARE(line.size(), 4U);
    QCOMPARE(line[0].ink, TerminalCell::kFirstOfPalette + 1);
    QCOMPARE(int(line[0].attributes), int(TerminalCell::Bold));
    QCOMPARE(line[1].ink, 0xFFFF0000U);
    QCOMPARE(line[1].paper, 0xFF010203U);
    QCOMPARE(line[2].ink, TerminalCell::kFirstOfPalette + 15);
    QCOMPARE(int(line[2].attributes), TerminalCell::Italic | TerminalCell::Underline
                                          | TerminalCell::Reverse | TerminalCell::Strike);
    QCOMPARE(line[3].ink, TerminalCell::kDefault);
    QCOMPARE(int(line[3].attributes), 0);
    // The same once they have left the screen.
    screen.write("\r\n\r\n\r\n");
    QCOMPARE(screen.line(screen.firstLine()), line);
}

void TestTerminalScreen::answersOnlyWhatWasAsked()
{
    TerminalScreen screen(5, 20);
    screen.write("plain text\r\n\x1B[21t\x1B]52;c;?\x07\x1B]0;x\x07");
    QCOMPARE(screen.takeAnswers(), QByteArray());
    screen.write("ab\x1B[6n");
    QCOMPARE(screen.takeAnswers(), QByteArray("\x1B[2;3R"));
    QCOMPARE(screen.takeAnswers(), QByteArray());
    screen.write("\x1B[c");
    QVERIFY(screen.takeAnswers().startsWith("\x1B[?"));
    screen.write(QByteArray("\x1B[6n").repeated(100'000));
    QVERIFY(screen.takeAnswers().size() <= TerminalScreen::kMostAnswers);
}

void TestTerminalScreen::keysFollowTheMode()
{
    TerminalScreen screen(5, 20);
    QCOMPARE(screen.keyBytes(TerminalScreen::Key::Up), QByteArray("\x1B[A"));
    QCOMPARE(screen.keyBytes(TerminalScreen::Key::Home), QByteArray("\x1B[H"));
    QCOMPARE(screen.pasteBegin(), QByteArray());
    screen.write("\x1B[?1h\x1B[?2004h");
    QCOMPARE(screen.keyBytes(TerminalScreen::Key::Left), QByteArray("\x1BOD"));
    QCOMPARE(screen.keyBytes(TerminalScreen::Key::End), QByteArray("\x1BOF"));
    QCOMPARE(screen.pasteBegin(), QByteArray("\x1B[200~"));
    QCOMPARE(screen.pasteEnd(), QByteArray("\x1B[201~"));
    QCOMPARE(screen.takeAnswers(), QByteArray());
}

void TestTerminalScreen::linesThatLeaveAreKept()
{
    TerminalScreen screen(4, 20);
    for (int i = 0; i < TerminalScreen::kMostHeld + 50; ++i)
        screen.write("line " + QByteArray::number(i) + "\r\n");
    QCOMPARE(screen.topLine() - screen.firstLine(), TerminalScreen::kMostHeld);
    const qint64 first = screen.firstLine();
    QCOMPARE(screen.text(first), u"line %1"_s.arg(first));
    // One text, in which a line is found by its place.
    for (const qint64 line :
        {first, first + 1, screen.topLine() - 1, screen.topLine(), screen.endLine() - 1}) {
        QCOMPARE(screen.lineAt(screen.positionOf(line)), line);
        QCOMPARE(
            screen.positionOf(line + 1), screen.positionOf(line) + screen.text(line).size() + 1);
    }
    // A program with the whole screen leaves no lines behind.
    screen.write("\x1B[?1049h" + QByteArray("full\r\n").repeated(30) + "\x1B[?1049l");
    QCOMPARE(screen.firstLine(), first);
    screen.reset();
    QCOMPARE(allLines(screen), QStringList());
    QVERIFY(screen.firstLine() >= first);
}

void TestTerminalScreen::sizeChanges()
{
    TerminalScreen screen(6, 20);
    QStringList said;
    for (int i = 0; i < 12; ++i) {
        said.append(u"line %1"_s.arg(i));
        screen.write(said.constLast().toUtf8() + QByteArray(i < 11 ? "\r\n" : ""));
    }
    QCOMPARE(allLines(screen), said);
    screen.resize(3, 20);
    QCOMPARE(allLines(screen), said);
    QCOMPARE(rowsOf(screen), said.mid(9));
    screen.resize(10, 40);
    QCOMPARE(allLines(screen), said);
    QCOMPARE(screen.cursor().line, screen.firstLine() + 11);
    QCOMPARE(screen.cursor().column, 7);
    screen.write("!");
    QCOMPARE(allLines(screen).constLast(), u"line 11!"_s);
    screen.resize(-4, 100'000);
    QCOMPARE(screen.rows(), 1);
    QCOMPARE(screen.columns(), TerminalScreen::kMostColumns);
}

void TestTerminalScreen::tellsWhatChanged()
{
    TerminalScreen screen(5, 20);
    screen.write("one\r\ntwo\r\n");
    (void)screen.takeDamage();
    screen.write("abc");
    const TerminalScreen::Damage damage = screen.takeDamage();
    QCOMPARE(damage.firstLine, 2);
    QCOMPARE(damage.endLine, 3);
    QVERIFY(damage.cursor && !damage.scrolled);
    QVERIFY(!screen.takeDamage().cursor);
    screen.write("\r\n\n\n");
    QVERIFY(screen.takeDamage().scrolled);
    screen.write("\x1B[?25l");
    QVERIFY(screen.takeDamage().cursor);
    QVERIFY(!screen.cursor().visible);
}

QTEST_GUILESS_MAIN(TestTerminalScreen)
#include "tst_terminalscreen.moc"
