#include "bridge/bridgelog.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QDateTime noon()
{
    return QDateTime(QDate(2026, 11, 24), QTime(12, 0, 0, 7));
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestBridgeLog final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void lines();
    void rotates();
    void movedAway();
    void waitsForTheDisk();

private:
    [[nodiscard]] QString path() const { return m_folder->filePath(u"capture"_s); }
    [[nodiscard]] BridgeLog::Options options(bool hex, qint64 rotate = 1 << 20) const
    {
        return {path(), hex, rotate};
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestBridgeLog::lines()
{
    {
        BridgeLog text(options(false), &noon);
        text.note(u"Begin,"_s);
        text.record(true, QByteArrayView("a\\\r\n\t\x1B\x7F\xFF", 8), {});
        text.record(false, QByteArrayView("b"), u"[::1]:5"_s);
        QVERIFY(contents(path()).isEmpty()); // not one write for each read
    }
    QCOMPARE(contents(path()), "# Begin, 2026-11-24 12:00:00.007\n"
                               "2026-11-24 12:00:00.007 A>B a\\\\\\r\\n\\t\\x1B\\x7F\\xFF\n"
                               "2026-11-24 12:00:00.007 B>A [::1]:5 b\n"_ba);
    BridgeLog hex(options(true), &noon);
    hex.record(true, QByteArray(BridgeLog::kLineBytes + 1, '\xA5'), {});
    QVERIFY(hex.flush());
    QVERIFY(contents(path()).endsWith("A5 A5\n2026-11-24 12:00:00.007 A>B A5\n"));
}

void TestBridgeLog::rotates()
{
    BridgeLog log(options(true, 4096), &noon);
    for (int file = 0; file < 3; ++file) {
        log.record(true, QByteArray(2048, char(file)), {});
        QVERIFY(log.flush());
    }
    QVERIFY(contents(path()).contains("02 02"));
    QVERIFY(contents(path() + u".1"_s).contains("01 01"));
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files).size(), 2);
}

void TestBridgeLog::movedAway()
{
    BridgeLog log(options(true), &noon);
    log.record(true, "1", {});
    QVERIFY(log.flush());
    QVERIFY(QFile::rename(path(), path() + u".old"_s));
    log.record(true, "2", {});
    QVERIFY(log.flush());
    QVERIFY(contents(path()).endsWith(" 32\n"));
}

void TestBridgeLog::waitsForTheDisk()
{
    QVERIFY(QDir().mkdir(path())); // a folder stands in the way
    BridgeLog log(options(true, 1 << 30), &noon);
    log.record(true, "kept", {});
    QVERIFY(!log.flush());
    QVERIFY(!log.error().isEmpty());
    const QByteArray block(65'536, 'x');
    qint64 given = 0;
    while (given < 3 * BridgeLog::kMaxPendingBytes) {
        log.record(false, block, {});
        given += block.size();
    }
    QVERIFY(QDir().rmdir(path()));
    log.record(true, "more", {});
    QVERIFY(log.flush());
    QVERIFY(log.error().isEmpty());
    log.record(true, "after", {});
    QVERIFY(log.flush());
    const QByteArray text = contents(path());
    QVERIFY(text.startsWith("2026-11-24 12:00:00.007 A>B 6B 65 70 74\n"));
    // What is there and what is told to be missing are all of it.
    const QByteArrayList lines = text.split('\n');
    const auto gap = std::find_if(
        lines.begin(), lines.end(), [](const QByteArray& line) { return line.startsWith("# "); });
    QVERIFY(gap != lines.end());
    const qint64 missing = gap->split(' ').value(1).toLongLong();
    QCOMPARE(text.count(" 78") + missing, given + 4);
}

QTEST_GUILESS_MAIN(TestBridgeLog)
#include "tst_bridgelog.moc"
