#include "app/connectionpage.h"
#include "app/displaypage.h"
#include "app/fakecatalog.h"
#include "app/formatpages.h"
#include "app/logpage.h"
#include "log/logfilename.h"
#include "settings/randomrecords.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeEdit>

using namespace Qt::Literals::StringLiterals;

namespace {

// Puts another value into the field of that name.
void edit(const QWidget& page, const QString& name)
{
    auto* field = page.findChild<QWidget*>(name);
    QVERIFY2(field, qPrintable(name));
    if (auto* line = qobject_cast<QLineEdit*>(field))
        line->setText(line->text() + u'7');
    else if (auto* number = qobject_cast<QSpinBox*>(field))
        number->setValue(
            number->value() == number->maximum() ? number->minimum() : number->value() + 1);
    else if (auto* time = qobject_cast<QTimeEdit*>(field))
        time->setTime(time->time().addSecs(61));
    else if (auto* box = qobject_cast<QComboBox*>(field); box && box->isEditable())
        box->setEditText(box->currentText() + u'7');
    else if (box)
        box->setCurrentIndex(box->currentIndex() == 0 ? 1 : 0);
    else if (auto* button = qobject_cast<QAbstractButton*>(field))
        button->click();
}

template<typename Record>
using CopyField = std::function<void(Record& to, const Record& from)>;

template<typename Record, typename... Values>
CopyField<Record> field(Values Record::*... members)
{
    return [=](Record& to, const Record& from) { ((to.*members = from.*members), ...); };
}

// An edit of the field that the data row is named after, if the page has it.
template<typename Page, typename Record>
void editOn(Page& page, const Record& before, Record& after)
{
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    if (!page.template findChild<QWidget*>(name))
        return;
    page.load(before);
    edit(page, name);
    page.store(after);
}

} // namespace

Q_DECLARE_METATYPE(CopyField<FormatSetting>)
Q_DECLARE_METATYPE(CopyField<Settings>)

// The pages of the settings dialogs, each on its own.
class SettingsPagesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingEditedNothingChanged();
    void anEditChangesItsFieldOnly_data();
    void anEditChangesItsFieldOnly();
    void aConnectionEditChangesItsFieldOnly_data();
    void aConnectionEditChangesItsFieldOnly();
    void limitIsStoredAsShownWhenItBeginsToHold();
    void logNames_data();
    void logNames();
    void emptyPatterns();
};

void SettingsPagesTest::nothingEditedNothingChanged()
{
    const FakeCatalog catalog;
    ConnectionPage connection(catalog, ConnectionPage::Target::Optional);
    ReceivePage receive;
    SendPage send;
    DisplayPage display;
    LogPage log;
    for (quint32 seed = 0; seed < 50; ++seed) {
        RandomRecords random(seed);
        const Settings settings = random.settings();
        const FormatSetting format = random.format();
        connection.load(settings);
        receive.load(format);
        send.load(format);
        display.load(format);
        log.load(format);
        Settings settingsAfter = settings;
        connection.store(settingsAfter);
        QVERIFY2(settingsAfter == settings, qPrintable(QString::number(seed)));
        for (FormatSetting after : {format, random.format()}) {
            const FormatSetting before = after;
            receive.store(after);
            send.store(after);
            display.store(after);
            log.store(after);
            QVERIFY2(after == before, qPrintable(QString::number(seed)));
        }
    }
}

void SettingsPagesTest::anEditChangesItsFieldOnly_data()
{
    using F = FormatSetting;
    QTest::addColumn<CopyField<F>>("copy");
    QTest::newRow("receiveEncoding") << field(&F::receiveEncoding);
    QTest::newRow("rxAutoFeedLine") << field(&F::rxAutoFeedLine);
    QTest::newRow("autoFeedInterval") << field(&F::autoFeedInterval);
    QTest::newRow("displayMsgTime") << field(&F::displayMsgTime);
    QTest::newRow("sendEncoding") << field(&F::sendEncoding);
    QTest::newRow("formatSend") << field(&F::formatSend);
    QTest::newRow("autoSend") << field(&F::autoSend);
    QTest::newRow("sendInterval") << field(&F::sendInterval);
    QTest::newRow("txLineEndingMode") << field(&F::txLineEndingMode, &F::txAutoFeedLine);
    QTest::newRow("sendChecksum") << field(&F::sendChecksum);
    QTest::newRow("terminalEnterMode") << field(&F::terminalEnterMode);
    QTest::newRow("displaySendMsg") << field(&F::displaySendMsg);
    QTest::newRow("localEcho") << field(&F::localEcho);
    QTest::newRow("rxTimeFormat") << field(&F::rxTimeFormat);
    QTest::newRow("txTimeFormat") << field(&F::txTimeFormat);
    QTest::newRow("displayFontSize") << field(&F::displayFont);
    QTest::newRow("displayFontBold") << field(&F::displayFont);
    QTest::newRow("formatDisplayColor") << field(&F::formatDisplayColor);
    QTest::newRow("displayBufferSize") << field(&F::displayBufferSize);
    QTest::newRow("showControlLineLeds") << field(&F::showControlLineLeds);
    QTest::newRow("logSaveFlag") << field(&F::logSaveFlag);
    QTest::newRow("logFilePath") << field(&F::logFilePath);
    QTest::newRow("logTimestampEnabled") << field(&F::logTimestampEnabled);
    QTest::newRow("logTimestampFormat") << field(&F::logTimestampFormat);
    QTest::newRow("logRotateAtSize") << field(&F::logRotateAtSize);
    QTest::newRow("logRotateSize") << field(&F::logRotateSize);
    QTest::newRow("logRotateAtTime") << field(&F::logRotateAtTime);
    QTest::newRow("logRotateTime") << field(&F::logRotateTime);
    QTest::newRow("needHourTimeStamp") << field(&F::needHourTimeStamp);
}

void SettingsPagesTest::anEditChangesItsFieldOnly()
{
    QFETCH(const CopyField<FormatSetting>, copy);
    FormatSetting before = RandomRecords(1).format();
    before.displayBufferSize = 5 << 20;
    before.logRotateSize = 7 << 20;
    before.autoFeedInterval = before.sendInterval = 100;
    before.sendTimeUnit = before.sendMsgFormat = before.receiveMsgFormat = 1;
    before.logRotateAtSize = before.logRotateAtTime = before.rxAutoFeedLine = true;
    FormatSetting after = before;
    ReceivePage receive;
    SendPage send;
    DisplayPage display;
    LogPage log;
    editOn(receive, before, after);
    editOn(send, before, after);
    editOn(display, before, after);
    editOn(log, before, after);
    QVERIFY(after != before);
    copy(after, before);
    QVERIFY(after == before);
}

void SettingsPagesTest::aConnectionEditChangesItsFieldOnly_data()
{
    using S = Settings;
    QTest::addColumn<CopyField<S>>("copy");
    QTest::newRow("connMode") << field(&S::connMode);
    QTest::newRow("portName") << field(&S::portName);
    QTest::newRow("baudRate") << field(&S::baudRate, &S::stringBaudRate);
    QTest::newRow("dataBits") << field(&S::dataBits);
    QTest::newRow("flowControl") << field(&S::flowControl, &S::stringFlowControl);
    QTest::newRow("stopBits") << field(&S::stopBits, &S::stringStopBits);
    QTest::newRow("parity") << field(&S::parity, &S::stringParity);
    QTest::newRow("dtrOn") << field(&S::dtrOn);
    QTest::newRow("rtsOn") << field(&S::rtsOn);
    QTest::newRow("targetHost") << field(&S::targetHost, &S::targetHosts);
    QTest::newRow("targetPort") << field(&S::targetPort);
    QTest::newRow("udpLocalPort") << field(&S::udpLocalPort);
    QTest::newRow("udpServerPort") << field(&S::udpServerPort);
    QTest::newRow("useRemoteSerialConfig") << field(&S::useRemoteSerialConfig);
}

void SettingsPagesTest::aConnectionEditChangesItsFieldOnly()
{
    QFETCH(const CopyField<Settings>, copy);
    const Settings before;
    Settings after = before;
    const FakeCatalog catalog;
    ConnectionPage page(catalog, ConnectionPage::Target::Optional);
    editOn(page, before, after);
    QVERIFY(after != before);
    copy(after, before);
    QVERIFY(after == before);
}

// A session file leaves 0 bytes behind: what is shown when rotation is switched on is 1 MB.
void SettingsPagesTest::limitIsStoredAsShownWhenItBeginsToHold()
{
    FormatSetting format;
    format.logRotateAtSize = false;
    format.logRotateSize = 0;
    format.logRotateTime = QTime();
    LogPage page;
    page.load(format);
    edit(page, u"logRotateAtSize"_s);
    edit(page, u"logRotateAtTime"_s);
    page.store(format);
    QCOMPARE(format.logRotateSize, 1 << 20);
    QCOMPARE(format.logRotateTime, QTime(0, 0));
}

void SettingsPagesTest::logNames_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("problem");
    const QString none = LogWriter::noFileNameText();
    QTest::newRow("default") << u"/tmp/vmr_%S-%Y%M%D.log"_s << u"/tmp/vmr_COM3-20260305.log"_s
                             << QString();
    QTest::newRow("new folder") << u"/tmp/no-such-folder/%S"_s << u"/tmp/no-such-folder/COM3"_s
                                << QString();
    QTest::newRow("empty") << QString() << QString() << none;
    QTest::newRow("folder") << u"/tmp"_s << QString() << u"/tmp is a folder. Add a file name."_s;
    QTest::newRow("folder to come")
        << u"/tmp/%S/"_s << QString() << u"/tmp/COM3/ is a folder. Add a file name."_s;
}

void SettingsPagesTest::logNames()
{
    QFETCH(const QString, pattern);
    QFETCH(const QString, name);
    LogPage page([] { return QDateTime(QDate(2026, 3, 5), QTime(8, 9, 10, 234)); });
    page.load({});
    page.setPortName(u"/COM3"_s);
    auto* line = page.findChild<QLineEdit*>(u"logFilePath"_s);
    line->setText(pattern);
    QTEST(page.problem(), "problem");
    const auto* preview = page.findChild<QLabel*>(u"logFilePreview"_s);
    QCOMPARE(preview->isVisibleTo(&page), !name.isEmpty());
    if (name.isEmpty())
        return;
    QVERIFY2(preview->text().startsWith("Now: "_L1 + name), qPrintable(preview->text()));
    QCOMPARE(preview->text().contains("will be created"_L1), name.contains("no-such"_L1));
    page.findChild<QLineEdit*>(u"logTimestampFormat"_s)->setText(u"%h.%z "_s);
    QCOMPARE(page.findChild<QLabel*>(u"logTimestampPreview"_s)->text(), u"Now: 08.234 "_s);
}

void SettingsPagesTest::emptyPatterns()
{
    FormatSetting format;
    format.logFilePath = u"/tmp/a.log"_s;
    ReceivePage receive;
    LogPage log;
    receive.load(format);
    log.load(format);
    for (const auto& [page, name, example] :
        std::initializer_list<std::tuple<SettingsPage*, QString, QString>>{
            {&receive, u"rxTimeFormat"_s, u"[Rx][hh:mm:ss.zzz] "_s},
            {&receive, u"txTimeFormat"_s, u"[Tx][hh:mm:ss.zzz] "_s},
            {&log, u"logTimestampFormat"_s, u"[%h:%m:%s.%z] "_s}}) {
        auto* line = page->findChild<QLineEdit*>(name);
        QVERIFY(page->problem().isEmpty());
        line->clear();
        QVERIFY2(page->problem().endsWith(example), qPrintable(page->problem()));
        QCOMPARE(page->problemField(), line);
        QCOMPARE(line->accessibleDescription(), page->problem());
        line->setText(u" "_s);
        QVERIFY(page->problem().isEmpty() && line->accessibleDescription().isEmpty());
    }
}

QTEST_MAIN(SettingsPagesTest)

#include "tst_settingspages.moc"
