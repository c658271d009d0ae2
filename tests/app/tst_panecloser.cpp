#include "app/panecloser.h"

#include "app/fakecatalog.h"
#include "support/tcppeer.h"
#include "terminal/pane/serialportwidget.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// One paused pane, which records, and a device that has sent to it.
class PaneCloserTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup() { m_window.reset(); }
    void heldBytesReachTheLog();
    void switchedOffRecordingIsWritten();
    void slowLogIsShown();
    void unwrittenLogIsAskedAbout();
    void nobodyIsAskedForEver();

private:
    // The pane holds back so many bytes, nothing of which is in the log.
    void hold(qsizetype bytes)
    {
        QVERIFY2(m_pane->start({}, true), qPrintable(m_pane->lastError()));
        QTRY_VERIFY(m_pane->isOpen() && m_device->openCount() == 1);
        m_pane->pause();
        m_device->send(QByteArray(bytes, '~'));
        QTRY_COMPARE_WITH_TIMEOUT(m_pane->waitingBytes(), bytes, 20000);
        QCOMPARE(m_pane->unloggedBytes(), bytes);
    }
    void close()
    {
        m_closer->close({m_pane}, [this] { ++m_closed; });
    }
    // The bytes of the device are of a kind that no file name holds.
    [[nodiscard]] QByteArray log() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QMessageBox* box() const
    {
        auto* found = m_window->findChild<QMessageBox*>();
        return found != nullptr && found->isVisible() ? found : nullptr;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
    FakeCatalog m_catalog;
    std::unique_ptr<TcpPeer> m_device;
    std::unique_ptr<QWidget> m_window;
    SerialPortWidget* m_pane = nullptr;
    PaneCloser* m_closer = nullptr;
    int m_closed = 0;
};

void PaneCloserTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_path = m_dir->filePath(u"a.log"_s);
    m_device = std::make_unique<TcpPeer>();
    QVERIFY(m_device->listen());
    m_window = std::make_unique<QWidget>();
    m_window->show();
    m_pane = new SerialPortWidget(m_catalog, m_window.get());
    m_closer = new PaneCloser([this] { return QList{m_pane}; }, m_window.get(), 0);
    m_closed = 0;
    Settings settings = m_pane->settings();
    settings.connMode = connectionMode::TcpClient;
    settings.targetPort = m_device->port();
    m_pane->setSettings(settings);
    FormatSetting format = m_pane->formatSetting();
    format.logSaveFlag = true;
    format.logFilePath = m_path;
    m_pane->setFormatSetting(format);
}

// More than the log keeps in memory, and the event loop has its turns meanwhile.
void PaneCloserTest::heldBytesReachTheLog()
{
    constexpr qsizetype kBytes = qsizetype{20} * 1024 * 1024;
    hold(kBytes);
    int turns = 0;
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&turns] { ++turns; });
    ticks.start(0);
    close();
    QCOMPARE(m_closed, 0);
    QTRY_COMPARE_WITH_TIMEOUT(m_closed, 1, 60000);
    QVERIFY(turns >= 5);
    QVERIFY(!m_pane->isActive());
    QCOMPARE(log().count('~'), kBytes);
    QCOMPARE(m_pane->unloggedBytes(), 0);
}

// What was shown waits for the next save; recording ends before that.
void PaneCloserTest::switchedOffRecordingIsWritten()
{
    QVERIFY2(m_pane->start({}, true), qPrintable(m_pane->lastError()));
    QTRY_VERIFY(m_pane->isOpen() && m_device->openCount() == 1);
    m_device->send(QByteArray(3000, '~'));
    QTRY_VERIFY(m_pane->receivedBytes() == 3000 && m_pane->waitingBytes() == 0);
    QVERIFY(m_pane->unloggedBytes() > 0);
    m_pane->setLogRecording(false);
    QCOMPARE(m_pane->unloggedBytes(), 0);
    QCOMPARE(log().count('~'), 3000);
}

void PaneCloserTest::slowLogIsShown()
{
    hold(qsizetype{8} * 1024 * 1024);
    const auto progress = [this] { return m_window->findChild<QDialog*>(u"logProgress"_s); };
    close();
    QTRY_VERIFY(progress() != nullptr);
    progress()->reject();
    QTRY_VERIFY(progress() == nullptr);
    QVERIFY(m_pane->isOpen());
    QCOMPARE(m_closed, 0);
    m_device->send(QByteArray(qsizetype{8} * 1024 * 1024, '~'));
    QTRY_VERIFY(m_pane->unloggedBytes() > 4 * 1024 * 1024);
    close();
    QTRY_VERIFY(progress() != nullptr);
    for (QAbstractButton* button : progress()->findChild<QDialogButtonBox*>()->buttons()) {
        if (button->text().contains(u"anyway"_s))
            button->click();
    }
    QCOMPARE(m_closed, 1);
    QVERIFY(!m_pane->isActive());
}

void PaneCloserTest::unwrittenLogIsAskedAbout()
{
    QVERIFY(QDir().mkdir(m_path));
    hold(3000);
    for (const auto answer : {QMessageBox::Cancel, QMessageBox::Retry, QMessageBox::Retry}) {
        close();
        QTRY_VERIFY(box() != nullptr);
        for (const auto& text : {u"127.0.0.1"_s, m_path, u"KiB"_s})
            QVERIFY2(box()->informativeText().contains(text), qPrintable(box()->informativeText()));
        QCOMPARE(m_closed, 0);
        QVERIFY(m_pane->isOpen());
        box()->button(answer)->click();
    }
    QVERIFY(QDir().rmdir(m_path));
    QTRY_VERIFY(box() != nullptr);
    box()->button(QMessageBox::Retry)->click();
    QTRY_COMPARE(m_closed, 1);
    QCOMPARE(log().count('~'), 3000);
}

void PaneCloserTest::nobodyIsAskedForEver()
{
    hold(qsizetype{20} * 1024 * 1024);
    close(); // a question or a progress that is open is left
    QTRY_VERIFY(m_window->findChild<QDialog*>() != nullptr);
    m_closer->closeUnasked({m_pane}, 1, [this] { m_closed += 10; });
    QTRY_COMPARE(m_closed, 10);
    QVERIFY(!m_pane->isActive());
    QTRY_VERIFY(m_window->findChild<QDialog*>() == nullptr);
}

QTEST_MAIN(PaneCloserTest)
#include "tst_panecloser.moc"
