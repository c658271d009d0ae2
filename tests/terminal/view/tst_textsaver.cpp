#include "randomtext.h"
#include "stringsource.h"
#include "terminal/view/receiveview.h"
#include "terminal/view/textsaver.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// While it lives, a file may not grow beyond a size: writing more fails as on a full disk.
class FileSizeLimit
{
public:
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

    explicit FileSizeLimit(rlim_t bytes)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit limit{bytes, m_old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        (void)std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_old{};
    void (*m_handler)(int);
};

} // namespace

class TestTextSaver final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Text arrives and leaves while the file is written; cuts fall between halves of characters.
    void savesTheSnapshot()
    {
        for (quint32 seed = 1; seed <= 5; ++seed) {
            RandomText random(seed);
            StringSource source;
            source.append(random.next(1'000'000, u"ab\U0001F600"_s.left(2)));
            source.append(u"\U0001F600"_s.repeated(200'000));
            const QByteArray expected = source.text().toUtf8();
            const QString path = m_folder.filePath(u"saved.txt"_s);
            TextSaver saver(source, path, nullptr);
            QSignalSpy finished(&saver, &TextSaver::finished);
            saver.start();
            while (finished.isEmpty()) {
                const int count = random.below(200'000);
                saver.keepBeforeRemoval(source.firstPosition() + count);
                source.trim(std::min<qsizetype>(count, source.text().size()));
                source.append(u"later"_s);
                QCoreApplication::processEvents();
            }
            QVERIFY2(finished.at(0).at(0).toBool(), qPrintable(finished.at(0).at(1).toString()));
            QCOMPARE(contentOf(path), expected);
        }
    }

    void failuresAreTold_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("no such folder") << u"missing/saved.txt"_s;
        QTest::newRow("a folder") << u"."_s;
    }

    void failuresAreTold()
    {
        QFETCH(const QString, name);
        StringSource source;
        source.append(u"text"_s);
        const QString path = m_folder.filePath(name);
        TextSaver saver(source, path, nullptr);
        QSignalSpy finished(&saver, &TextSaver::finished);
        saver.start();
        QTRY_COMPARE(finished.size(), 1);
        QVERIFY(!finished.at(0).at(0).toBool());
        const QString error = finished.at(0).at(1).toString();
        QVERIFY2(error.contains(QDir::toNativeSeparators(path)), qPrintable(error));
        QVERIFY2(!error.endsWith("Unknown error"_L1), qPrintable(error));
    }

    void fullDiskKeepsTheOldFile()
    {
        const QString path = m_folder.filePath(u"kept.txt"_s);
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("precious");
        old.close();
        StringSource source;
        source.append(QString(2'000'000, u'x'));
        TextSaver saver(source, path, nullptr);
        QSignalSpy finished(&saver, &TextSaver::finished);
        const FileSizeLimit limit(100'000);
        saver.start();
        QTRY_COMPARE(finished.size(), 1);
        QVERIFY(!finished.at(0).at(0).toBool());
        QVERIFY(!finished.at(0).at(1).toString().isEmpty());
        QCOMPARE(contentOf(path), "precious"_ba);
        QCOMPARE(QDir(m_folder.path()).entryList({u"kept*"_s}).size(), 1);
    }

    void viewSavesOnceAtATime()
    {
        ReceiveView view;
        const QString text = u"some text of a device\n"_s.repeated(40'000);
        view.appendText(text, {});
        QSignalSpy finished(&view, &ReceiveView::saveFinished);
        const QString path = m_folder.filePath(u"view.txt"_s);
        QVERIFY(view.saveTextAs(path));
        QVERIFY(!view.saveTextAs(path));
        QCoreApplication::processEvents();
        view.appendText(u"later"_s, {});
        view.trimFront(text.size() - 10);
        view.clearText();
        QTRY_COMPARE(finished.size(), 1);
        QVERIFY(finished.at(0).at(0).toBool());
        QCOMPARE(contentOf(path), text.toUtf8());
        QVERIFY(view.saveTextAs(path));
        QTRY_COMPARE(finished.size(), 2);
        QCOMPARE(contentOf(path), ""_ba);
    }

private:
    QTemporaryDir m_folder;
};

QTEST_MAIN(TestTextSaver)
#include "tst_textsaver.moc"
