#include "settings/sessionfile.h"

#include "settings/randomrecords.h"
#include "settings/settingsservice.h"
#include "support/smalldisk.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

const auto kNoProgress = [](int) {};

SessionContents sessionOf(int panes)
{
    SessionContents contents;
    for (int i = 0; i < panes; ++i) {
        contents.panes.append({SettingsService::defaultPortSettings(u"tty%1"_s.arg(i)),
            SettingsService::defaultFormatSettings()});
    }
    return contents;
}

void put(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray get(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class SessionFileTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void workspaceKeys();
    void counts_data();
    void counts();
    void quickViewDefault();
    void roundTrip();
    void otherKeysSurvive();
    void otherEncodingsSurvive();
    void damagedFile();
    void endlessTexts();
    void unreadable_data();
    void unreadable();
    void garbageNeverHurts();
    void failedSaveKeepsTheOldFile_data();
    void failedSaveKeepsTheOldFile();
    void fullTemporaryFolder();
    void fullDisk();
    void linksAndPermissions();

private:
    bool write(const SessionContents& contents, const QString& path)
    {
        m_message.clear();
        return SessionFile::write(path, contents, m_message, kNoProgress);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
    QString m_message;
};

void SessionFileTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_path = m_dir->filePath(u"lab.vmr"_s);
}

void SessionFileTest::workspaceKeys()
{
    SessionContents contents = sessionOf(2);
    contents.columnCount = 2;
    contents.quickView = false;
    contents.quickSettings.showSendGroup = false;
    contents.quickSettings.groupOrder = {u"send"_s, u"send"_s, u"unknown"_s};
    contents.quickSettings.hiddenFields[u"send"_s] = {u"txLoop"_s};
    QVERIFY(write(contents, m_path));
    const QSettings ini(m_path, QSettings::IniFormat);
    QMap<QString, QVariant> found;
    for (const QString& key : ini.allKeys()) {
        if (!key.at(0).isDigit())
            found[key] = ini.value(key).toStringList().join(u' ');
    }
    QMap<QString, QVariant> expected{{u"PortNumber"_s, u"2"_s}, {u"ColumnNumber"_s, u"2"_s},
        {u"QuickView"_s, u"false"_s}, {u"QuickSettings/Connection"_s, u"true"_s},
        {u"QuickSettings/Receive"_s, u"true"_s}, {u"QuickSettings/Send"_s, u"false"_s},
        {u"QuickSettings/GroupOrder"_s, u"send connection receive"_s}};
    for (const QString& group : {u"connection"_s, u"controlLines"_s, u"receive"_s, u"send"_s}) {
        expected[u"QuickSettings/Fields/%1/Order"_s.arg(group)] = QString();
        expected[u"QuickSettings/Fields/%1/Hidden"_s.arg(group)] = QString();
    }
    expected[u"QuickSettings/Fields/send/Hidden"_s] = u"txLoop"_s;
    QCOMPARE(found, expected);
    QCOMPARE(ini.value("1/PortName"_L1).toString(), "tty1"_L1);
    QVERIFY(!ini.childGroups().contains("2"_L1));
}

void SessionFileTest::counts_data()
{
    QTest::addColumn<int>("count");
    for (const auto& [stored, count] : std::initializer_list<std::pair<const char*, int>>{{"0", 1},
             {"-7", 1}, {"", 1}, {"3", 3}, {"16", 16}, {"17", 16}, {"99999999999", 16},
             {"-99999999999", 1}, {"1e300", 16}, {"nan", 1}, {"three", 1}, {"@Invalid()", 1}})
        QTest::newRow(stored) << count;
}

void SessionFileTest::counts()
{
    const QByteArray stored = QTest::currentDataTag();
    put(m_path, "[General]\nPortNumber=" + stored + "\nColumnNumber=" + stored + '\n');
    SessionContents contents;
    QVERIFY(SessionFile::read(m_path, contents, m_message));
    QTEST(int(contents.panes.size()), "count");
    QTEST(contents.columnCount, "count");
}

void SessionFileTest::quickViewDefault()
{
    for (const auto& [text, shown] : {std::pair("PortNumber=1\n", true), {"PortNumber=2\n", false},
             {"PortNumber=2\nQuickView=true\n", true}, {"ColumnNumber=3\n", true},
             {"\xEF\xBB\xBF[General]\nPortNumber=2\n", false}}) {
        m_path += u'x'; // not read before
        put(m_path, text);
        SessionContents contents;
        QVERIFY(SessionFile::read(m_path, contents, m_message));
        QVERIFY(m_message.isEmpty());
        QCOMPARE(contents.quickView, shown);
    }
}

void SessionFileTest::roundTrip()
{
    constexpr int kPanes = 16;
    RandomRecords random(16);
    SessionContents contents;
    contents.columnCount = 16;
    contents.quickView = random.flag();
    for (const QString& group : QuickSettingsGroups::storedGroups()) {
        contents.quickSettings.fieldOrder[group] = random.texts();
        contents.quickSettings.hiddenFields[group] = random.texts();
    }
    for (int i = 0; i < kPanes; ++i) {
        SessionPane pane{random.settings(), random.format()};
        pane.format.logRotateAtSize = pane.format.logRotateAtTime = false;
        pane.format.needHourTimeStamp = false;
        pane.format.logRotateSize = 0;
        pane.format.logRotateTime = {};
        contents.panes.append(pane);
    }
    QVERIFY2(write(contents, m_path), qPrintable(m_message));
    SessionContents read;
    QVERIFY2(SessionFile::read(m_path, read, m_message), qPrintable(m_message));
    for (SessionPane& pane : contents.panes) // the host in use is back on the history
        pane.settings.useTargetHost(pane.settings.targetHost);
    QVERIFY(read == contents);
}

// A session of a newer version, of one with bridges, and of more panes is saved over.
void SessionFileTest::otherKeysSurvive()
{
    const QMap<QString, QVariant> others{
        {u"Future"_s, u"1"_s},
        {u"0/LogRotateSize"_s, u"4096"_s},
        {u"2/PortName"_s, u"third"_s},
        {u"2/PortNote"_s, u"ü漢"_s},
    };
    {
        QSettings ini(m_path, QSettings::IniFormat);
        for (auto it = others.begin(); it != others.end(); ++it)
            ini.setValue(it.key(), it.value());
        ini.setValue("Bridge/7/Name"_L1, u"stale"_s);
    }
    SessionContents contents = sessionOf(1);
    contents.bridges = {{u"0/Name"_s, u"a, b"_s}};
    QVERIFY(write(contents, m_path));
    const QSettings ini(m_path, QSettings::IniFormat);
    for (auto it = others.begin(); it != others.end(); ++it)
        QCOMPARE(ini.value(it.key()), it.value());
    QCOMPARE(ini.value("Bridge/0/Name"_L1).toString(), u"a, b"_s);
    QVERIFY(!ini.contains("Bridge/7/Name"_L1));
    QCOMPARE(ini.value("PortNumber"_L1).toInt(), 1);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

void SessionFileTest::damagedFile()
{
    put(m_path, "[General]\nPortNumber=2\nwhat is this\n[0]\nPortName=ttyS0\nBaudRate=fast\n[1\n"
                "[1]\nPortName=ttyS1\nNote=mine\n");
    SessionContents contents;
    QVERIFY(SessionFile::read(m_path, contents, m_message));
    QVERIFY(!m_message.isEmpty());
    QCOMPARE(contents.panes.size(), 2);
    QCOMPARE(contents.panes.at(0).settings.portName, "ttyS0"_L1);
    QCOMPARE(contents.panes.at(1).settings.portName, "ttyS1"_L1);
    // Saving mends it and keeps what could be read.
    QVERIFY2(write(contents, m_path), qPrintable(m_message));
    QVERIFY(SessionFile::read(m_path, contents, m_message));
    QVERIFY(m_message.isEmpty());
    QCOMPARE(QSettings(m_path, QSettings::IniFormat).value("1/Note"_L1).toString(), "mine"_L1);
}

void SessionFileTest::endlessTexts()
{
    put(m_path, "PortNumber=1\n[0]\nPortName=" + QByteArray(1'000'000, 'x')
                    + "\nSendList=" + QByteArray("a, ").repeated(100'000)
                    + "\nLastTargetHost=" + QByteArray("h-||-").repeated(100'000) + '\n');
    SessionContents contents;
    QVERIFY(SessionFile::read(m_path, contents, m_message));
    QCOMPARE(contents.panes.at(0).settings.portName.size(), 4096);
    QCOMPARE(contents.panes.at(0).settings.targetHosts.size(), Settings::kMaxTargetHosts);
    QCOMPARE(contents.panes.at(0).format.sendList.size(), FormatSetting::kMaxSendList);
}

void SessionFileTest::unreadable_data()
{
    QTest::addColumn<QString>("kind");
    for (const char* kind : {"missing", "folder", "pipe", "text", "binary", "empty", "foreign",
             "too large", "too many keys"})
        QTest::newRow(kind) << QString::fromLatin1(kind);
}

void SessionFileTest::unreadable()
{
    QFETCH(const QString, kind);
    if (kind == "folder"_L1) {
        QVERIFY(QDir().mkdir(m_path));
    } else if (kind == "text"_L1) {
        put(m_path, "Dear reader,\nthis is a letter.\n");
    } else if (kind == "binary"_L1) {
        put(m_path, QByteArray(100'000, '\0'));
    } else if (kind == "empty"_L1) {
        put(m_path, {});
    } else if (kind == "foreign"_L1) {
        put(m_path, "[General]\nName=printer\n[0]\nColour=blue\n[QuickSettings]\nA=1\n");
    } else if (kind == "too large"_L1) {
        put(m_path, "[General]\nPortNumber=2\n");
        QVERIFY(QFile::resize(m_path, 100'000'000));
    } else if (kind == "too many keys"_L1) {
        put(m_path, "PortNumber=2\n" + QByteArray("a=1\n").repeated(1'000'000));
    }
#ifdef Q_OS_UNIX
    if (kind == "pipe"_L1)
        QCOMPARE(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
#endif
    SessionContents contents = sessionOf(3);
    const SessionContents before = contents;
    QVERIFY(!SessionFile::read(m_path, contents, m_message));
    QVERIFY(contents == before);
    QVERIFY(m_message.endsWith(u'.'));
}

void SessionFileTest::otherEncodingsSurvive()
{
    const QList<QByteArray> foreign{"Note=gr\xFC\xDF\xE9\n"_ba,
        "Mark=\xEF\xB7\x91\xEF\xB7\xA2\n"_ba,
        "[Pr\xFC"
        "fstand]\nK\xF6nig=\xE4, \xC3\xBC, \xC3\n"_ba};
    put(m_path, "[General]\nPortNumber=3\n" + foreign.join());
    for (int saved = 0; saved < 2; ++saved)
        QVERIFY2(write(sessionOf(1), m_path), qPrintable(m_message));
    const QByteArray bytes = get(m_path);
    for (const QByteArray& lines : foreign)
        QVERIFY2(bytes.contains(lines), bytes.toPercentEncoding(" =\n[]/"));
    QVERIFY(bytes.contains("\nPortNumber=1\n"));
}

// Sessions with bytes changed, cut and mixed, and bytes without any sense.
void SessionFileTest::garbageNeverHurts()
{
    QVERIFY(write(sessionOf(3), m_path));
    const QByteArray good = get(m_path);
    static constexpr std::array<QByteArrayView, 8> kBits{"@Variant(\0\0\0\x7f\xff\xff\xff\xff)",
        "@ByteArray(", "\\x", "\n[", "=", ", \"", "@Rect(1 2 3)", "\n99999999/PortName=x\n"};
    QRandomGenerator random(7);
    int opened = 0;
    for (int round = 0; round < 120; ++round) {
        QByteArray bytes = good;
        for (int i = random.bounded(1, 12); i > 0; --i) {
            const auto at = random.bounded(bytes.size());
            switch (random.bounded(4)) {
            case 0:
                bytes[at] = static_cast<char>(random.generate());
                break;
            case 1:
                bytes.insert(at, kBits.at(random.generate() % kBits.size()));
                break;
            case 2:
                bytes.remove(at, random.bounded(200));
                break;
            default:
                bytes.insert(at, bytes.mid(random.bounded(bytes.size()), 300));
            }
            if (bytes.isEmpty())
                bytes = "x";
        }
        const QString path = m_dir->filePath(u"%1.vmr"_s.arg(round)); // not read before
        put(path, bytes);
        SessionContents contents;
        if (!SessionFile::read(path, contents, m_message))
            continue;
        ++opened;
        QVERIFY(contents.panes.size() >= 1 && contents.panes.size() <= 16);
        QVERIFY(contents.columnCount >= 1 && contents.columnCount <= 16);
        // Whatever could be opened can be saved over, and is sound then.
        QVERIFY2(write(contents, path), qPrintable(u"%1: %2"_s.arg(round).arg(m_message)));
        QVERIFY(SessionFile::read(path, contents, m_message) && m_message.isEmpty());
    }
    QVERIFY(opened > 90);
}

void SessionFileTest::failedSaveKeepsTheOldFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("no folder") << u"gone/lab.vmr"_s;
    QTest::newRow("a folder of that name") << u"folder.vmr"_s;
#ifdef Q_OS_LINUX
    QTest::newRow("a folder that takes no files") << u"/proc/lab.vmr"_s;
#endif
    QTest::newRow("too large") << u"lab.vmr"_s;
}

void SessionFileTest::failedSaveKeepsTheOldFile()
{
    QFETCH(const QString, path);
    QVERIFY(QDir().mkdir(m_dir->filePath(u"folder.vmr"_s)));
    SessionContents contents = sessionOf(1);
    QVERIFY(write(contents, m_path));
    const QByteArray old = get(m_path);
    contents.panes[0].settings.portName = u"changed"_s;
    if (path == "lab.vmr"_L1)
        contents.panes[0].format.sendList = {QString(SessionFile::kMaxBytes, u'x')};
    QVERIFY(!write(contents, QDir(m_dir->path()).absoluteFilePath(path)));
    QVERIFY(!m_message.isEmpty());
    QCOMPARE(get(m_path), old);
}

// No file of this process can grow beyond a few bytes: the old session stays as it was.
void SessionFileTest::fullTemporaryFolder()
{
#ifdef Q_OS_UNIX
    QVERIFY(write(sessionOf(1), m_path));
    const QByteArray old = get(m_path);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t limit : {100, 1500, 2000, 4000}) {
        const rlimit tight{limit, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        const bool written = write(sessionOf(4), m_path);
        setrlimit(RLIMIT_FSIZE, &before);
        QVERIFY(!written);
        QVERIFY(!m_message.isEmpty());
        QCOMPARE(get(m_path), old);
    }
    std::signal(SIGXFSZ, handler);
    QVERIFY(write(sessionOf(4), m_path));
#else
    QSKIP("needs a limit for the size of files");
#endif
}

// A session is small enough to be written only when its file is closed.
void SessionFileTest::fullDisk()
{
    SmallDisk disk(m_dir->filePath(u"disk"_s));
    if (!disk.isMounted())
        QSKIP("may not mount a small file system here");
    m_path = m_dir->filePath(u"disk/lab.vmr"_s);
    QVERIFY(write(sessionOf(1), m_path));
    const QByteArray old = get(m_path);
    for (const int left : {0, 4096}) {
        disk.leave(left);
        QVERIFY(!write(sessionOf(16), m_path) && !write(sessionOf(4), m_path));
        QVERIFY(m_message.contains("No space left"_L1));
        QVERIFY(get(m_path) == old);
    }
    disk.makeRoom();
    QVERIFY(write(sessionOf(4), m_path));
}

void SessionFileTest::linksAndPermissions()
{
    const QString link = m_dir->filePath(u"link.vmr"_s);
    QVERIFY(write(sessionOf(1), m_path));
    QVERIFY(QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner));
    const auto permissions = QFile::permissions(m_path);
    if (!QFile::link(m_path, link))
        QSKIP("no symbolic links here");
    QVERIFY(write(sessionOf(2), link));
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(QFile::permissions(m_path), permissions);
    SessionContents contents;
    QVERIFY(SessionFile::read(m_path, contents, m_message));
    QCOMPARE(contents.panes.size(), 2);
}

QTEST_MAIN(SessionFileTest)
#include "tst_sessionfile.moc"
