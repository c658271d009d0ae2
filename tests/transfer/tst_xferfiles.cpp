// The files at both ends of a transfer: names from outside, names that are taken, disks that fill.
#include "transfer/xferfilesink.h"
#include "transfer/xferfilesource.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void put(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class TestXferFiles final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesAreMadeSafe_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("safe");
        const auto row = [](const char* name, const char* safe) {
            QTest::newRow(name) << QString::fromUtf8(name) << QString::fromUtf8(safe);
        };
        row("plain.bin", "plain.bin");
        row("../../etc/passwd", "passwd");
        row("..\\boot.ini", "boot.ini");
        row("a:b", "a");
        row("con.txt", "_con.txt");
        row("LPT9", "_LPT9");
        row("LPT0", "LPT0");
        row("console", "console");
        row(" name. . ", "name");
        row("\x01to\x7fp\"<>|*?", "top");
        row("日本 語.txt", "日本 語.txt");
        row("???", "received_7.bin");
        row("..", "received_7.bin");
        row("/", "received_7.bin");
    }

    void namesAreMadeSafe()
    {
        QFETCH(QString, name);
        QTEST(xferSafeFileName(name, kXferMaxNameBytes, 7), "safe");
    }

    void longNamesAreCutBetweenCharacters()
    {
        const QString name = xferSafeFileName(u"ä"_s.repeated(300));
        QCOMPARE(name, u"ä"_s.repeated(127));
        QCOMPARE(xferSafeFileName(u"x"_s.repeated(255)).size(), 255);
        QCOMPARE(xferSafeFileName(u"x"_s.repeated(300), 40).size(), 40);
    }

    void takenNamesGetANumber()
    {
        const QTemporaryDir dir;
        put(dir.filePath(u"name.ext"_s), "1");
        QVERIFY(QFile::link(u"/nowhere"_s, dir.filePath(u"name (1).ext"_s)));
        QCOMPARE(xferUniquePath(dir.path(), u"name.ext"_s), dir.filePath(u"name (2).ext"_s));
        QCOMPARE(xferUniquePath(dir.path(), u"other"_s), dir.filePath(u"other"_s));
    }

    void whatIsReceivedAppearsWhole()
    {
        const QTemporaryDir dir;
        XferFileSink sink(dir.filePath(u"new/folder"_s), u"default.bin"_s);
        QVERIFY(sink.open({u"dir/file.bin"_s, 100, 1'000'000'000}));
        QVERIFY(sink.write(QByteArray(128, 'x')));
        const QString path = dir.filePath(u"new/folder/file.bin"_s);
        QVERIFY(!QFile::exists(path));
        QVERIFY(sink.commit(100));
        QCOMPARE(contentOf(path), QByteArray(100, 'x'));
        QCOMPARE(QFileInfo(path).lastModified().toSecsSinceEpoch(), 1'000'000'000);
        QCOMPARE(sink.askedName(), u"dir/file.bin"_s);
        QVERIFY(!sink.collided());
        QCOMPARE(
            QDir(dir.filePath(u"new/folder"_s)).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void timesOfADeviceWithoutAClockAreNotKept_data()
    {
        QTest::addColumn<qint64>("mtime");
        QTest::newRow("none") << qint64{0};
        QTest::newRow("1990") << qint64{631'152'000};
        QTest::newRow("far ahead") << qint64{4'102'444'800};
    }

    void timesOfADeviceWithoutAClockAreNotKept()
    {
        QFETCH(qint64, mtime);
        const QTemporaryDir dir;
        XferFileSink sink(dir.path(), {});
        QVERIFY(sink.open({u"f"_s, -1, mtime}) && sink.write("x") && sink.commit(-1));
        const qint64 age =
            QFileInfo(sink.finalPath()).lastModified().secsTo(QDateTime::currentDateTime());
        QVERIFY(age >= 0 && age < 60);
    }

    // Nothing that exists is overwritten, whenever it came to be.
    void nothingIsOverwritten()
    {
        const QTemporaryDir dir;
        put(dir.filePath(u"f.bin"_s), "before");
        XferFileSink sink(dir.path(), {});
        QVERIFY(sink.open({u"f.bin"_s, -1, 0}) && sink.write("received"));
        QVERIFY(sink.collided());
        put(dir.filePath(u"f (1).bin"_s), "meanwhile");
        QVERIFY(sink.commit(-1));
        QCOMPARE(sink.finalPath(), dir.filePath(u"f (2).bin"_s));
        QCOMPARE(contentOf(sink.finalPath()), "received"_ba);
        QCOMPARE(contentOf(dir.filePath(u"f.bin"_s)), "before"_ba);
        QCOMPARE(contentOf(dir.filePath(u"f (1).bin"_s)), "meanwhile"_ba);
    }

    void twoIntoOneFolderDoNotMix()
    {
        const QTemporaryDir dir;
        // Left by a crash, and a trap.
        put(dir.filePath(u".f.part"_s), "old rest");
        put(dir.filePath(u"elsewhere"_s), "untouched");
        QVERIFY(QFile::link(dir.filePath(u"elsewhere"_s), dir.filePath(u".f (1).part"_s)));
        XferFileSink one(dir.path(), {});
        XferFileSink other(dir.path(), {});
        QVERIFY(one.open({u"f"_s, -1, 0}) && other.open({u"f"_s, -1, 0}));
        QVERIFY(one.write("one") && other.write("other") && other.commit(-1) && one.commit(-1));
        QCOMPARE(contentOf(one.finalPath()), "one"_ba);
        QCOMPARE(contentOf(other.finalPath()), "other"_ba);
        QCOMPARE(one.finalPath(), dir.filePath(u"f"_s));
        QCOMPARE(contentOf(dir.filePath(u"elsewhere"_s)), "untouched"_ba);
    }

    void whatIsIncompleteIsKeptOrNot()
    {
        const QTemporaryDir dir;
        const auto files = [&] { return QDir(dir.path()).entryList(QDir::Files | QDir::Hidden); };
        {
            XferFileSink sink(dir.path(), {});
            QVERIFY(sink.open({u"f.bin"_s, 10, 0}) && sink.write("part"));
            sink.discard(true);
            QCOMPARE(sink.keptPath(), dir.filePath(u"f.bin.partial"_s));
            QCOMPARE(contentOf(sink.keptPath()), "part"_ba);
        }
        QCOMPARE(files().size(), 1);
        {
            XferFileSink sink(dir.path(), {});
            QVERIFY(sink.open({u"f.bin"_s, 10, 0}) && sink.write("part"));
        }
        QCOMPARE(files().size(), 1);
    }

    void namesOf300BytesHaveRoomForWhatIsAdded()
    {
        const QTemporaryDir dir;
        const QString name = u"n"_s.repeated(300) + u".bin"_s;
        for (int i = 0; i < 3; ++i) {
            XferFileSink sink(dir.path(), {});
            QVERIFY2(sink.open({name, -1, 0}), qPrintable(sink.errorText()));
            QVERIFY(sink.write("x"));
            if (i < 2)
                QVERIFY(sink.commit(-1));
            else
                sink.discard(true);
            QVERIFY(i < 2 || !sink.keptPath().endsWith(u".part"_s));
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 3);
    }

    void foldersThatCannotBeWritten()
    {
        XferFileSink sink(u"/dev/null/folder"_s, {});
        QVERIFY(!sink.open({u"f"_s, -1, 0}));
        QCOMPARE(sink.errorText(), u"The folder /dev/null/folder does not exist."_s);
        const QTemporaryDir dir;
        XferFileSink large(dir.path(), {});
        QVERIFY(!large.open({u"f"_s, qint64{1} << 60, 0}));
        QVERIFY2(large.errorText().contains(u"MB free but the file needs 1099511627776 MB"_s),
            qPrintable(large.errorText()));
        QVERIFY(QDir(dir.path()).isEmpty());
        // It goes in the middle: said, not lost in silence.
        auto* vanishing = new QTemporaryDir;
        XferFileSink orphan(vanishing->path(), {});
        QVERIFY(orphan.open({u"f"_s, -1, 0}) && orphan.write("x"));
        delete vanishing;
        QVERIFY(!orphan.commit(-1));
        QVERIFY(!orphan.errorText().isEmpty());
    }

    void sourceKnowsWhenItsFileChanged()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(u"firmware.bin"_s);
        put(path, QByteArray(1000, 'a'));
        XferFileSource source;
        QString error;
        QVERIFY(source.open(path, &error));
        QCOMPARE(source.meta().name, u"firmware.bin"_s);
        QCOMPARE(source.meta().size, 1000);
        QCOMPARE(source.read(990, 128), QByteArray(10, 'a'));
        QVERIFY(!source.readFailed() && source.stillIntact());
        put(path, QByteArray(999, 'b'));
        QVERIFY(!source.stillIntact());
        QVERIFY(QFile::remove(path));
        QVERIFY(!source.stillIntact());
        QVERIFY(!source.open(path, &error));
        QVERIFY(error.startsWith(u"Could not open "_s));
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0); // nobody writes into it
        QVERIFY(!source.open(path, &error));
        QVERIFY2(error.endsWith(u"it is not a file"_s), qPrintable(error));
        QVERIFY(!source.open(dir.path(), &error));
        QVERIFY2(error.endsWith(u"it is not a file"_s), qPrintable(error));
    }
};

QTEST_APPLESS_MAIN(TestXferFiles)
#include "tst_xferfiles.moc"
