// The windows about bridges over a real manager with real, closed ports.
#include "bridge/bridgemanager.h"
#include "bridge/ui/bridgedialog.h"
#include "bridge/ui/bridgewindow.h"
#include "bridge/ui/modbusview.h"
#include "connections/systemportcatalog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kSerial = 0;
constexpr int kServer = 1;
constexpr int kUdp = 2;

struct Ports
{
    Ports()
    {
        Settings settings;
        settings.connMode = connectionMode::TcpServer;
        settings.targetPort = 0;
        server.setSettings(settings, LivePort::Origin::Program);
        settings.connMode = connectionMode::UdpMode6;
        udp.setSettings(settings, LivePort::Origin::Program);
        bridges.setPorts({&serial, &server, &udp});
    }

    SystemPortCatalog catalog;
    LivePort serial{catalog};
    LivePort server{catalog};
    LivePort udp{catalog};
    BridgeManager bridges;
};

template<class Widget>
Widget* field(QWidget& dialog, const char* name)
{
    return dialog.findChild<Widget*>(QLatin1StringView(name));
}

bool isOffered(BridgeDialog& dialog, ProtocolMode protocol)
{
    const auto* model =
        qobject_cast<QStandardItemModel*>(field<QComboBox>(dialog, "protocol")->model());
    return model->item(int(protocol))->isEnabled();
}

bool canAccept(const BridgeDialog& dialog)
{
    return dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
}

QPushButton* button(const QWidget& window, const QString& text)
{
    for (QPushButton* each : window.findChildren<QPushButton*>()) {
        if (each->text().remove(u'&') == text)
            return each;
    }
    return nullptr;
}

ModbusRecord transaction(quint8 unit, const char* requestHex, const char* answerHex)
{
    ModbusRecord record;
    record.transaction.peerKey = u"10.0.0.1:5"_s;
    record.transaction.request = char(unit) + QByteArray::fromHex(requestHex);
    record.transaction.answer = QByteArray::fromHex(answerHex);
    record.transaction.outcome = record.transaction.answer.isEmpty()
                                     ? ModbusLine::Outcome::TimedOut
                                     : ModbusLine::Outcome::Answered;
    record.transaction.sentMs = 2;
    record.transaction.endedMs = 9;
    return record;
}

} // namespace

class TestBridgeWindows final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void configurationSurvivesTheDialog();
    void offersWhatFits();
    void faultsStandAtTheirFields();
    void listFollowsTheBridges();
    void refusesWithOnePort();
    void modbusTable();
};

void TestBridgeWindows::configurationSurvivesTheDialog()
{
    Ports ports;
    BridgeConfig config;
    config.name = u"bus"_s;
    config.portA = kServer;
    config.portB = kSerial;
    config.direction = BridgeDirection::BToA;
    config.framing = {FramingMode::Delimiter, 9, "\r\n", 8, 99, 11};
    config.flow = {1000, 900, 100, 77, OverflowPolicy::DropNewest, false, 1LL << 40, 200};
    config.fanout = FanoutMode::TakeTurns;
    config.udpTarget = UdpTargetMode::AllPeers;
    config.allowedPeers = {u"10.0.0.0/8"_s, u"::1"_s};
    config.logHex = false;
    config.logRotateBytes = 5'000'000; // no whole megabytes
    config.displayMuteBytesPerSec = 1LL << 40;
    const BridgeDialog dialog(ports.bridges, config, -1, nullptr);
    QCOMPARE(dialog.config(), config);
    QVERIFY(canAccept(dialog));
}

void TestBridgeWindows::offersWhatFits()
{
    Ports ports;
    BridgeConfig config;
    config.portB = kUdp;
    BridgeDialog dialog(ports.bridges, config, -1, nullptr);
    dialog.show();
    QVERIFY(!isOffered(dialog, ProtocolMode::Rfc2217Server));
    QVERIFY(!isOffered(dialog, ProtocolMode::Rfc2217Client));
    QVERIFY(isOffered(dialog, ProtocolMode::ModbusGateway));
    QVERIFY(field<QComboBox>(dialog, "fanout")->isHidden());
    QVERIFY(!field<QComboBox>(dialog, "udpTarget")->isHidden());
    field<QComboBox>(dialog, "portB")->setCurrentIndex(kServer);
    QVERIFY(isOffered(dialog, ProtocolMode::Rfc2217Server));
    QVERIFY(!field<QComboBox>(dialog, "fanout")->isHidden());
    QVERIFY(field<QSpinBox>(dialog, "responseTimeout")->isHidden());
    field<QComboBox>(dialog, "fanout")->setCurrentIndex(int(FanoutMode::TakeTurns));
    QVERIFY(!field<QSpinBox>(dialog, "responseTimeout")->isHidden());
    QVERIFY(field<QSpinBox>(dialog, "idleGap")->isHidden());
    field<QComboBox>(dialog, "framing")->setCurrentIndex(int(FramingMode::IdleGap));
    QVERIFY(!field<QSpinBox>(dialog, "idleGap")->isHidden());
}

void TestBridgeWindows::faultsStandAtTheirFields()
{
    Ports ports;
    QVERIFY(ports.bridges.addLink(BridgeConfig()));
    BridgeConfig config;
    config.portA = kServer;
    config.portB = kUdp;
    BridgeDialog dialog(ports.bridges, config, -1, nullptr);
    dialog.show();
    QVERIFY(canAccept(dialog));
    const auto faulty = [&](const char* name) {
        const auto* note = field<QLabel>(dialog, QByteArray(QByteArray(name) + "Note").constData());
        return note->text().startsWith(u"⚠"_s) && !note->isHidden() && !canAccept(dialog);
    };
    field<QComboBox>(dialog, "portB")->setCurrentIndex(kServer);
    QVERIFY(faulty("portB"));
    field<QComboBox>(dialog, "portB")->setCurrentIndex(kSerial); // bridged already
    QVERIFY(faulty("portB"));
    field<QComboBox>(dialog, "portB")->setCurrentIndex(kUdp);
    QVERIFY(canAccept(dialog));
    field<QComboBox>(dialog, "framing")->setCurrentIndex(int(FramingMode::Delimiter));
    field<QLineEdit>(dialog, "delimiter")->setText(u"0D0"_s);
    QVERIFY(faulty("delimiter"));
    field<QComboBox>(dialog, "framing")->setCurrentIndex(0); // of no importance now
    QVERIFY(canAccept(dialog));
    field<QSpinBox>(dialog, "highWater")->setValue(1 << 20);
    QVERIFY(faulty("highWater"));
    field<QSpinBox>(dialog, "highWater")->setValue(100'000);
    field<QPlainTextEdit>(dialog, "allowed")->setPlainText(u"192.168.1.0/24\nlab-pc"_s);
    QVERIFY(faulty("allowed"));
    field<QPlainTextEdit>(dialog, "allowed")->clear();
    field<QCheckBox>(dialog, "log")->setChecked(true);
    QVERIFY(faulty("logFile"));
    const QTemporaryDir folder;
    field<QLineEdit>(dialog, "logPath")->setText(folder.filePath(u"none/capture"_s));
    QVERIFY(faulty("logFile"));
    field<QLineEdit>(dialog, "logPath")->setText(folder.filePath(u"capture"_s));
    QVERIFY(canAccept(dialog));
}

void TestBridgeWindows::listFollowsTheBridges()
{
    Ports ports;
    BridgeWindow window(ports.bridges);
    window.show();
    auto* list = field<QTreeWidget>(window, "bridges");
    QCOMPARE(list->topLevelItemCount(), 0);
    button(window, u"Add..."_s)->click();
    auto* dialog = window.findChild<BridgeDialog*>();
    QVERIFY(dialog);
    field<QLineEdit>(*dialog, "name")->setText(u"first"_s);
    dialog->accept();
    QCOMPARE(ports.bridges.configs().constFirst().name, u"first"_s);
    BridgeConfig second;
    second.portA = kUdp;
    QVERIFY(ports.bridges.addLink(second));
    QCOMPARE(list->topLevelItemCount(), 2);
    QCOMPARE(list->topLevelItem(1)->text(1), u"(unnamed)"_s);
    QCOMPARE(list->topLevelItem(0)->text(0), u"Idle"_s);
    QVERIFY(field<QLabel>(window, "details")->text().startsWith(u"No traffic yet"_s));

    list->setCurrentItem(list->topLevelItem(1));
    button(window, u"Disable"_s)->click();
    QCOMPARE(list->topLevelItem(1)->text(0), u"Off"_s);
    QCOMPARE(list->currentItem(), list->topLevelItem(1)); // nothing jumps
    QVERIFY(!button(window, u"Resume"_s)->isEnabled());
    button(window, u"Remove"_s)->click();
    auto* question = window.findChild<QMessageBox*>();
    QVERIFY(question);
    question->button(QMessageBox::Yes)->click();
    QTRY_COMPARE(list->topLevelItemCount(), 1);
    QCOMPARE(ports.bridges.linkCount(), 1);
}

void TestBridgeWindows::refusesWithOnePort()
{
    Ports ports;
    ports.bridges.setPorts({&ports.serial});
    BridgeWindow window(ports.bridges);
    button(window, u"Add..."_s)->click();
    auto* box = window.findChild<QMessageBox*>();
    QVERIFY(box && !window.findChild<BridgeDialog*>());
    QCOMPARE(
        box->text(), u"A bridge joins two ports; add a second port first (Edit > Add Port)."_s);
}

void TestBridgeWindows::modbusTable()
{
    ModbusStatistics statistics;
    statistics.add(transaction(1, "0300640002", "0103041234"));
    statistics.add(transaction(2, "0300640002", "028302"));
    statistics.add(transaction(3, "06000A0001", ""));
    ModbusView view;
    view.refresh(statistics);
    const auto* table = view.findChild<QTableView*>();
    const auto cell = [&](int row, int column) {
        return table->model()->index(row, column).data().toString();
    };
    QCOMPARE(cell(0, 4), u"100 - 101"_s);
    QCOMPARE(cell(0, 5), u"OK"_s);
    QCOMPARE(cell(1, 5), u"Illegal Data Address"_s);
    QCOMPARE(cell(2, 4), u"10"_s);
    QCOMPARE(cell(2, 5), u"No answer"_s);
    QCOMPARE(cell(2, 7), u"7 ms"_s);

    view.findChild<QLineEdit*>()->setText(u"illegal"_s);
    QCOMPARE(table->model()->rowCount(), 1);
    const QTemporaryDir folder;
    QString error;
    QVERIFY(view.saveCsv(folder.filePath(u"a.csv"_s), &error));
    QFile file(folder.filePath(u"a.csv"_s));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArrayList lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 3); // heading, one row, and the end of the last line
    QVERIFY(lines.at(1).contains(R"("Read Holding Registers","100 - 101","Illegal Data Address")"));
    QVERIFY(!view.saveCsv(folder.filePath(u"none/a.csv"_s), &error));
    QVERIFY(!error.isEmpty());

    // Paused, it stays; then it has what is new, the last thousand.
    view.findChild<QLineEdit*>()->clear();
    button(view, u"Pause"_s)->setChecked(true);
    for (int i = 0; i < 1500; ++i)
        statistics.add(transaction(4, "0300640002", "0403041234"));
    view.refresh(statistics);
    QCOMPARE(table->model()->rowCount(), 3);
    button(view, u"Pause"_s)->setChecked(false);
    view.refresh(statistics);
    QCOMPARE(table->model()->rowCount(), 1000);
    statistics.clear();
    view.refresh(statistics);
    QCOMPARE(table->model()->rowCount(), 0);
}

QTEST_MAIN(TestBridgeWindows)
#include "tst_bridgewindows.moc"
