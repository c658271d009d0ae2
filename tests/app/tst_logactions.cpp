#include "app/logactions.h"

#include "app/fakecatalog.h"
#include "support/simulateddevice.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/view/receiveview.h"

#include <QAction>
#include <QDesktopServices>
#include <QFile>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window with two panes that no line is connected to.
struct Bench
{
    QTemporaryDir dir;
    FakeCatalog catalog;
    QWidget window;
    SerialPortWidget* first = new SerialPortWidget(catalog, &window);
    SerialPortWidget* second = new SerialPortWidget(catalog, &window);
    QAction record;
    QAction view;
    QAction folder;
    LogActions actions{{&record, &view, &folder},
        {[this] {
             return QList{first, second};
         },
            [this] { return second; }},
        &window};

    Bench()
    {
        record.setCheckable(true);
        setPattern(dir.filePath(u"logs/a.log"_s));
        window.setWindowModified(false);
    }
    // The name in use, as if text had been recorded.
    void setPattern(const QString& pattern, const QString& inUse = u"NULL"_s) const
    {
        FormatSetting format = second->formatSetting();
        format.logFilePath = pattern;
        format.currentLogFileName = inUse;
        second->setFormatSetting(format);
    }
    // The text of the box that is open, which is closed by reading it.
    [[nodiscard]] QString warning()
    {
        auto* box = window.findChild<QMessageBox*>();
        if (box == nullptr)
            return {};
        const QString text = box->windowTitle() + u": "_s + box->text();
        delete box;
        return text;
    }
};

} // namespace

class TestLogActions final : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void opened(const QUrl& url) { m_opened.append(url); }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QDesktopServices::setUrlHandler(u"file"_s, this, "opened");
    }
    void cleanupTestCase() { QDesktopServices::unsetUrlHandler(u"file"_s); }
    void init() { m_opened.clear(); }
    void recordsOnAllPanes();
    void viewsTheCurrentLog();
    void opensItsFolder();
    void paneRecordsItsDevice();

private:
    QList<QUrl> m_opened;
};

void TestLogActions::recordsOnAllPanes()
{
    Bench bench;
    bench.first->setLogRecording(true);
    bench.actions.refresh();
    QVERIFY(!bench.record.isChecked()); // one of two

    bench.record.trigger();
    QVERIFY(bench.first->isLogRecording() && bench.second->isLogRecording());
    QVERIFY(bench.second->formatSetting().logSaveFlag);
    QVERIFY(bench.window.isWindowModified());
    bench.actions.refresh();
    QVERIFY(bench.record.isChecked());

    QTest::ignoreMessage(QtDebugMsg, "acFileRecordDataLog false");
    bench.record.trigger();
    QVERIFY(!bench.first->isLogRecording() && !bench.second->isLogRecording());
    bench.actions.refresh();
    QVERIFY(!bench.record.isChecked());
}

void TestLogActions::viewsTheCurrentLog()
{
    Bench bench;
    bench.view.trigger();
    QCOMPARE(bench.warning(), u"Warning: Please input correct log file name!"_s);
    const QString name = bench.dir.filePath(u"used.log"_s);
    bench.setPattern(bench.dir.filePath(u"a.log"_s), name);
    bench.view.trigger();
    QCOMPARE(bench.warning(), u"Warning: Current log file does not exist."_s);
    QVERIFY(m_opened.isEmpty());

    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    bench.view.trigger();
    QCOMPARE(bench.warning(), QString());
    QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(name)});
}

void TestLogActions::opensItsFolder()
{
    Bench bench;
    bench.folder.trigger();
    QCOMPARE(bench.warning(), u"Warning: Current log folder does not exist."_s);
    QVERIFY(QDir(bench.dir.path()).mkpath(u"logs"_s));
    bench.folder.trigger();
    QCOMPARE(bench.warning(), QString());
    bench.setPattern(bench.dir.filePath(u"logs/b.log"_s), bench.dir.filePath(u"used.log"_s));
    bench.folder.trigger();
    QCOMPARE(m_opened, (QList<QUrl>{QUrl::fromLocalFile(bench.dir.filePath(u"logs"_s)),
                           QUrl::fromLocalFile(bench.dir.path())}));
}

void TestLogActions::paneRecordsItsDevice()
{
    SimulatedDevice device;
    QVERIFY2(device.isValid(), qPrintable(device.errorString()));
    Bench bench;
    bench.catalog.list = {listedPort(device.portName())};
    SerialPortWidget* pane = bench.second;
    bench.setPattern(bench.dir.filePath(u"logs/%S.log"_s));
    bench.record.trigger();
    QVERIFY2(pane->start(device.portName(), true), qPrintable(pane->lastError()));
    const auto& view = *pane->findChild<ReceiveView*>();
    const auto shown = [&view] { return view.textAt(view.firstPosition(), view.textLength()); };
    QTRY_VERIFY(shown().contains(u"AT+HELP"_s));

    pane->pause(); // saves what was shown
    QFile file(pane->currentLogFile());
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    QVERIFY(file.readAll().replace('\r', "").endsWith(shown().toUtf8()));
    QCOMPARE(
        QFileInfo(file).dir().dirName(), u"logs"_s); // no folder for each part of a device path

    // What arrives while the view is paused, and is never shown, is in the log of a closed pane.
    QByteArray held;
    connect(&pane->port(), &LivePort::rxTapped, &bench.window,
        [&held](const QByteArray& bytes) { held += bytes; });
    pane->sendBytes("AT\r");
    QTRY_VERIFY(held.contains("OK"));
    const qsizetype saved = file.pos();
    delete pane;
    QVERIFY(file.seek(saved));
    QVERIFY(file.readAll().contains("OK"));
}

QTEST_MAIN(TestLogActions)
#include "tst_logactions.moc"
