// What every byte sequence of every encoding means, compared with two code tables that are not
// ours: Python's codecs and the C library's iconv.

#include "terminal/text/wiretextcodecregistry.h"

#include <QHash>
#include <QProcess>
#include <QTest>
#include <array>
#include <cstring>
#include <iconv.h>

using namespace Qt::Literals::StringLiterals;

// Stands for "no character".
static constexpr quint32 kNone = 0xFFFFFFFF;

// The sequences of an encoding in a fixed order: all single bytes; pairs of a lead and each byte
// from 0x40 (from 0x80 in UTF-8); GB18030's four-byte forms; UTF-8's three-byte and four-byte
// forms.
template<typename Visit>
static void forEachSequence(const QString& encoding, Visit visit)
{
    const bool utf8 = encoding == u"UTF-8";
    const auto bytes = [](std::initializer_list<int> values) {
        QByteArray sequence;
        for (const int value : values)
            sequence += char(value);
        return sequence;
    };
    for (int a = 0; a < 0x100; ++a)
        visit(bytes({a}));
    const auto isLead = [&encoding, utf8](int a) {
        if (utf8)
            return a >= 0xC0 && a < 0xE0;
        if (encoding == u"Shift-JIS")
            return (a >= 0x81 && a <= 0x9F) || (a >= 0xE0 && a <= 0xFC);
        return a >= 0x81 && a <= 0xFE && !encoding.startsWith(u"ISO")
               && !encoding.startsWith(u"Windows");
    };
    for (int a = 0x80; a < 0x100; ++a) {
        for (int b = utf8 ? 0x80 : 0x40; b < (utf8 ? 0xC0 : 0x100) && isLead(a); ++b)
            visit(bytes({a, b}));
    }
    for (int n = 0; n < 126 * 12600 && encoding == u"GB18030"; ++n)
        visit(bytes({0x81 + n / 12600, 0x30 + n / 1260 % 10, 0x81 + n / 10 % 126, 0x30 + n % 10}));
    for (int n = 0; n < 16 * 4096 && utf8; ++n)
        visit(bytes({0xE0 + n / 4096, 0x80 + n / 64 % 64, 0x80 + n % 64}));
    for (int n = 0; n < 5 * 262144 && utf8; ++n)
        visit(bytes({0xF0 + n / 262144, 0x80 + n / 4096 % 64, 0x80 + n / 64 % 64, 0x80 + n % 64}));
}

// Reads sequences, each in five bytes of which the first is its length.
static constexpr auto kPythonScript = R"(
import array, sys
out = array.array("I")
sequences = sys.stdin.buffer.read()
for at in range(0, len(sequences), 5):
    try:
        text = sequences[at + 1:at + 1 + sequences[at]].decode(sys.argv[1])
        out.append(ord(text) if len(text) == 1 else 0xFFFFFFFF)
    except UnicodeDecodeError:
        out.append(0xFFFFFFFF)
sys.stdout.buffer.write(out.tobytes())
)";

// Where the tables rightly differ, as sequences or "first-last". All of it is what the standards
// leave to the vendor, and in all of it Qt's table is the vendor's.
struct Difference
{
    const char* encoding;
    const char* peer;
    // How often we have a private use character (the user-defined areas) and the peer has none.
    int onlyOursPrivate = 0;
    QList<QByteArray> onlyOurs = {};
    QList<QByteArray> onlyPeer = {};
    QList<QByteArray> differ = {};
};

static const QList<Difference>& differences()
{
    static const QList<Difference> all{
        // 80 is the euro sign.
        {"GBK", "cp936", 2150, {"80"}},
        {"GBK", "CP936", 2150},
        {"GB2312", "cp936", 2150, {"80"}},
        {"GB2312", "CP936", 2150},
        // Python has kana and signs of another extension in the user-defined area.
        {"Big5", "cp950", 5969, {"80"}, {}, {"c6a1-c6fe", "c740-c77e", "c7a1-c7fc"}},
        {"Big5", "CP950", 5810},
        {"EUC-KR", "cp949", 189, {"80"}},
        {"EUC-KR", "CP949", 189, {"80"}},
        // Bytes that the standard does not use.
        {"Shift-JIS", "cp932", 0, {}, {"80", "a0", "fd-ff"}},
        // The five holes of the code page are C1 controls.
        {"Windows-1252", "cp1252", 0, {"81", "8d", "8f-90", "9d"}},
        {"Windows-1252", "CP1252", 0, {"81", "8d", "8f-90", "9d"}},
        // The 2000 and the 2005 edition exchanged these two.
        {"GB18030", "gb18030", 0, {}, {}, {"a8bc", "8135f437"}},
        // The C library has moved the private use characters of 2005 to those of Unicode 4.1.
        {"GB18030", "GB18030", 0, {"82359037-82359134", "84318236-84318335"}, {},
            {"a6d9-a6df", "a6ec-a6ed", "a6f3", "fe51-fe53", "fe59", "fe61", "fe66-fe67",
                "fe6c-fe6d", "fe76", "fe7e", "fe90-fe91", "fea0"}},
    };
    return all;
}

// Collects sequences, neighbours as "first-last".
struct Run
{
    QList<QByteArray>& names;
    qsizetype last = -2;
    QByteArray first = {};

    void add(qsizetype index, const QByteArray& name)
    {
        if (index == last + 1) {
            names.last() = first + '-' + name;
        } else {
            first = name;
            names.append(name);
        }
        last = index;
    }
};

class TestWireTextPeers final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void python_data() { encodings(); }
    void python();
    void iconvLibrary_data() { encodings(); }
    void iconvLibrary();

private:
    static void encodings();
    const QList<quint32>& ours(const QString& encoding);
    void compare(const QString& encoding, const QByteArray& peer, const QList<quint32>& theirs);

    QHash<QString, QList<quint32>> m_ours;
};

// Decodes each sequence whole and in every cut into two; a difference between those is a fault.
const QList<quint32>& TestWireTextPeers::ours(const QString& encoding)
{
    QList<quint32>& meanings = m_ours[encoding];
    if (!meanings.isEmpty())
        return meanings;
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
    forEachSequence(encoding, [&meanings, &decoder](const QByteArray& sequence) {
        decoder->reset();
        const WireTextDecoder::Result whole = decoder->decode(sequence);
        bool sameWhenCut = true;
        for (qsizetype at = 1; at < sequence.size(); ++at) {
            decoder->reset();
            QString text = decoder->decode(QByteArrayView(sequence).first(at)).text;
            text += decoder->decode(QByteArrayView(sequence).sliced(at)).text;
            sameWhenCut = sameWhenCut && text == whole.text
                          && decoder->invalidSequenceCount() == whole.invalidSequences;
        }
        const QList<uint> codePoints = whole.text.toUcs4();
        const bool character = codePoints.size() == 1 && whole.invalidSequences == 0;
        if (!sameWhenCut)
            qWarning("cut %s differs", sequence.toHex().constData());
        meanings.append(!sameWhenCut ? kNone - 1 : character ? codePoints.front() : kNone);
    });
    return meanings;
}

void TestWireTextPeers::compare(
    const QString& encoding, const QByteArray& peer, const QList<quint32>& theirs)
{
    const QList<quint32>& own = ours(encoding);
    QCOMPARE(own.size(), theirs.size());
    Difference found{"", ""};
    qsizetype i = -1;
    Run onlyOurs{found.onlyOurs};
    Run onlyPeer{found.onlyPeer};
    Run differ{found.differ};
    forEachSequence(encoding, [&](const QByteArray& sequence) {
        ++i;
        const quint32 a = own[i];
        const quint32 b = theirs[i];
        if (a == b)
            return;
        if (b == kNone && a >= 0xE000 && a <= 0xF8FF)
            ++found.onlyOursPrivate;
        else
            (b == kNone ? onlyOurs : a == kNone ? onlyPeer : differ).add(i, sequence.toHex());
    });
    Difference expected{"", ""};
    for (const Difference& row : differences()) {
        if (encoding == QLatin1String(row.encoding) && peer == row.peer)
            expected = row;
    }
    QCOMPARE(found.onlyOurs, expected.onlyOurs);
    QCOMPARE(found.onlyPeer, expected.onlyPeer);
    QCOMPARE(found.differ, expected.differ);
    QCOMPARE(found.onlyOursPrivate, expected.onlyOursPrivate);
}

void TestWireTextPeers::encodings()
{
    QTest::addColumn<QByteArray>("pythonCodec");
    QTest::addColumn<QByteArray>("iconvCodec");
    const auto row = [](const char* encoding, const char* python, const char* iconv) {
        QTest::newRow(encoding) << QByteArray(python) << QByteArray(iconv);
    };
    row("UTF-8", "utf-8", "UTF-8");
    row("GB18030", "gb18030", "GB18030");
    row("GBK", "cp936", "CP936");
    row("GB2312", "cp936", "CP936");
    row("Big5", "cp950", "CP950");
    row("Shift-JIS", "cp932", "CP932");
    row("EUC-KR", "cp949", "CP949");
    row("ISO-8859-1", "latin-1", "ISO-8859-1");
    row("Windows-1252", "cp1252", "CP1252");
}

void TestWireTextPeers::python()
{
    QFETCH(QByteArray, pythonCodec);
    const QString encoding = QString::fromLatin1(QTest::currentDataTag());
    QProcess process;
    process.start(u"python3"_s,
        {u"-c"_s, QString::fromLatin1(kPythonScript), QString::fromLatin1(pythonCodec)});
    if (!process.waitForStarted()) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), "python3 is missing");
        QSKIP("python3 is missing");
    }
    QByteArray sequences;
    forEachSequence(encoding, [&sequences](const QByteArray& sequence) {
        sequences += char(sequence.size()) + sequence.leftJustified(4, '\0');
    });
    process.write(sequences);
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(60000));
    const QByteArray output = process.readAllStandardOutput();
    QVERIFY2(process.exitCode() == 0, process.readAllStandardError().constData());
    QList<quint32> theirs(output.size() / qsizetype(sizeof(quint32)));
    std::memcpy(theirs.data(), output.constData(), std::size_t(output.size()));
    compare(encoding, pythonCodec, theirs);
}

void TestWireTextPeers::iconvLibrary()
{
    QFETCH(QByteArray, iconvCodec);
    const QString encoding = QString::fromLatin1(QTest::currentDataTag());
    const iconv_t converter = iconv_open("UTF-32LE", iconvCodec.constData());
    // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv_open() fails with this pointer
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), "iconv lacks the code table");
        QSKIP("iconv lacks the code table");
    }
    QList<quint32> theirs;
    forEachSequence(encoding, [&theirs, converter](QByteArray sequence) {
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        std::array<char, 16> buffer{};
        char* in = sequence.data();
        char* out = buffer.data();
        auto inLeft = std::size_t(sequence.size());
        std::size_t outLeft = buffer.size();
        const bool whole = iconv(converter, &in, &inLeft, &out, &outLeft) != std::size_t(-1)
                           && iconv(converter, nullptr, nullptr, &out, &outLeft) != std::size_t(-1);
        quint32 codePoint = kNone;
        if (whole && buffer.size() - outLeft == sizeof codePoint)
            std::memcpy(&codePoint, buffer.data(), sizeof codePoint);
        theirs.append(codePoint);
    });
    iconv_close(converter);
    compare(encoding, iconvCodec, theirs);
}

QTEST_GUILESS_MAIN(TestWireTextPeers)
#include "tst_wiretextpeers.moc"
