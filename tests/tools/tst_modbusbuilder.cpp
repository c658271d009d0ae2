// The Modbus request builder on live ports: a device of another make on a line and behind TCP, and
// a peer that is scripted where a device must misbehave.
#include "connections/systemportcatalog.h"
#include "settings/config.h"
#include "support/nullmodem.h"
#include "support/tcppeer.h"
#include "terminal/port/liveport.h"
#include "tools/modbusbuilder.h"
#include "tools/modbusform.h"
#include "tools/modbuspollpage.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTableView>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

#if __has_include(<modbus/modbus.h>)
#define HAVE_LIBMODBUS 1
#include <atomic>
#include <memory>
#include <modbus/modbus.h>
#include <thread>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// The window as a person finds it, with what it is told by name.
struct Desk
{
    explicit Desk(LivePort* port) { window.setPort(port); }

    template<typename Widget>
    [[nodiscard]] Widget* find(const QString& text) const
    {
        for (Widget* widget : window.findChildren<Widget*>()) {
            if (widget->accessibleName() == text
                || widget->property("text").toString().remove(u'&') == text)
                return widget;
        }
        return nullptr;
    }
    template<typename Widget>
    Widget* named(const QString& text)
    {
        Widget* const widget = find<Widget>(text);
        if (widget == nullptr)
            qFatal("There is no %s", qPrintable(text));
        return widget;
    }
    // The field in front of which that label stands.
    QWidget* labelled(const QString& text)
    {
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            if (label->buddy() != nullptr && label->text().remove(u'&') == text)
                return label->buddy();
        }
        qFatal("There is no label %s", qPrintable(text));
    }
    void type(const QString& label, const QString& text)
    {
        QWidget* const field = labelled(label);
        if (auto* const line = qobject_cast<QLineEdit*>(field))
            line->setText(text);
        else if (auto* const box = qobject_cast<QSpinBox*>(field))
            box->setValue(text.toInt());
        else
            qobject_cast<QPlainTextEdit*>(field)->setPlainText(text);
    }
    void choose(const QString& label, const QString& beginning)
    {
        auto* const box = qobject_cast<QComboBox*>(labelled(label));
        const int at = box->findText(beginning, Qt::MatchStartsWith);
        QVERIFY(at >= 0);
        box->setCurrentIndex(at);
    }
    // The answer is shown a turn of the event loop before "Stop" is "Send" again.
    void press(const QString& text)
    {
        if (QTest::qWaitFor([&] { return find<QPushButton>(text) != nullptr; }))
            named<QPushButton>(text)->click();
        else
            qFatal("There is no button %s", qPrintable(text));
    }
    void keepAs(const QString& name)
    {
        type(u"Name"_s, name);
        press(u"Keep"_s);
    }
    [[nodiscard]] bool tells(const QString& text) const
    {
        const auto labels = window.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
            [&text](const QLabel* label) { return label->text().contains(text); });
    }
    // A column of a table, its rows joined.
    QString column(const QString& table, const QString& header)
    {
        const QAbstractItemModel* const model = named<QTableView>(table)->model();
        QStringList texts;
        for (int at = 0; at < model->columnCount(); ++at) {
            if (model->headerData(at, Qt::Horizontal).toString() != header)
                continue;
            for (int row = 0; row < model->rowCount(); ++row)
                texts += model->index(row, at).data().toString();
        }
        return texts.join(u' ');
    }

    ModbusBuilder window;
};

// A live port at a scripted TCP peer.
struct Behind
{
    Behind()
    {
        server.listen();
        Settings settings;
        settings.connMode = connectionMode::TcpClient;
        settings.targetHost = u"127.0.0.1"_s;
        settings.targetPort = server.port();
        port.setSettings(settings, LivePort::Origin::Program);
    }
    bool open()
    {
        port.start(false);
        return QTest::qWaitFor([this] { return port.isOpen() && server.openCount() == 1; });
    }

    SystemPortCatalog catalog;
    TcpPeer server;
    LivePort port{catalog};
};

#ifdef HAVE_LIBMODBUS
// A device with four holding registers, the first two the float 1234.5677 with its low word first.
class Device final
{
    Q_DISABLE_COPY_MOVE(Device)

public:
    explicit Device(const QString& line)
        : m_context(modbus_new_rtu(qPrintable(line), 115200, 'N', 8, 1))
        , m_map(modbus_mapping_new(8, 8, 4, 4))
    {
        m_map->tab_registers[0] = 0x522B;
        m_map->tab_registers[1] = 0x449A;
        modbus_set_slave(m_context, 1);
        modbus_set_indication_timeout(m_context, 0, 20'000); // how often it asks whether to end
        m_connected = modbus_connect(m_context) == 0;
        m_thread = std::thread([this] { serve(); });
    }
    ~Device()
    {
        m_ended = true;
        m_thread.join();
        modbus_close(m_context);
        modbus_free(m_context);
        modbus_mapping_free(m_map);
    }
    [[nodiscard]] bool isConnected() const { return m_connected; }

private:
    void serve()
    {
        std::array<uint8_t, MODBUS_RTU_MAX_ADU_LENGTH> request{};
        while (m_connected && !m_ended) {
            const int size = modbus_receive(m_context, request.data());
            if (size > 0)
                modbus_reply(m_context, request.data(), size, m_map);
        }
    }

    modbus_t* m_context;
    modbus_mapping_t* m_map;
    bool m_connected = false;
    std::atomic_bool m_ended = false;
    std::thread m_thread;
};
#endif

} // namespace

class TestModbusBuilder final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_folder.path());
    }
    // A store of its own for each.
    void init() { QSettings(Config::organizationName(), Config::applicationName()).clear(); }

    void deviceOnALine()
    {
#ifdef HAVE_LIBMODBUS
        NullModem cable;
        const Device device(cable.portB());
        QVERIFY(device.isConnected());
        SystemPortCatalog catalog;
        LivePort port(catalog);
        Settings settings;
        settings.portName = cable.portA();
        settings.baudRate = 115200;
        port.setSettings(settings, LivePort::Origin::Program);
        Desk desk(&port);
        QVERIFY(desk.tells(u"sending opens it"_s));

        desk.type(u"Quantity"_s, u"2"_s);
        desk.choose(u"Type"_s, u"32-bit float"_s);
        desk.press(u"Send"_s);
        QTRY_VERIFY(desk.tells(u"✓ Answered in"_s));
        desk.named<QComboBox>(u"Order of words and bytes"_s)->setCurrentIndex(1);
        QCOMPARE(desk.column(u"Values of the answer"_s, u"Value"_s), u"1234.5677"_s);

        desk.choose(u"Function"_s, u"16 "_s);
        desk.type(u"Address"_s, u"2"_s);
        desk.type(u"Values"_s, u"-0.5"_s);
        desk.press(u"Send"_s);
        QTRY_VERIFY(desk.tells(u"✓ Answered in"_s));
        desk.choose(u"Function"_s, u"23 "_s);
        desk.type(u"Values"_s, u"7.25"_s);
        desk.type(u"Write from"_s, u"0"_s);
        desk.press(u"Send"_s);
        QTRY_COMPARE(desk.column(u"Values of the answer"_s, u"Value"_s), u"-0.5"_s);

        desk.choose(u"Function"_s, u"3 "_s);
        desk.type(u"Address"_s, u"3"_s); // of the two the second is not there
        desk.press(u"Send"_s);
        QTRY_VERIFY(desk.tells(u"Exception 02: Illegal Data Address"_s));
#else
        QSKIP("libmodbus is not installed");
#endif
    }

    // Impossible input is said at its field and goes nowhere; what is possible is shown as frames.
    void fieldsAndFrames()
    {
        Behind behind;
        Desk desk(&behind.port);
        desk.type(u"Address"_s, u"0x6B"_s);
        desk.type(u"Quantity"_s, u"3"_s);
        QCOMPARE(desk.named<QLineEdit>(u"RTU frame"_s)->text(), u"01 03 00 6B 00 03 74 17"_s);
        QCOMPARE(desk.named<QLineEdit>(u"TCP frame"_s)->text(),
            u"00 01 00 00 00 06 01 03 00 6B 00 03"_s);
        QSignalSpy inserted(&desk.window, &ModbusBuilder::insertRequested);
        desk.press(u"Insert into Send Editor"_s);
        QCOMPARE(inserted.takeFirst().first().toByteArray(), hex("0103006b00037417"));

        desk.type(u"Quantity"_s, u"126"_s);
        QVERIFY(desk.tells(u"Write a number from 1 to 125."_s));
        QCOMPARE(desk.labelled(u"Quantity"_s)->accessibleDescription(),
            u"Write a number from 1 to 125."_s);
        QVERIFY(desk.named<QLineEdit>(u"RTU frame"_s)->text().isEmpty());
        QVERIFY(!desk.named<QPushButton>(u"Send"_s)->isEnabled());
        desk.choose(u"Function"_s, u"1 "_s); // more coils fit than registers
        QVERIFY(desk.named<QPushButton>(u"Send"_s)->isEnabled());
    }

    // Tab goes through the fields as they stand, past those that the function does not have.
    void keyboardOrder()
    {
        Desk desk(nullptr);
        desk.window.show();
        QVERIFY(QTest::qWaitForWindowActive(&desk.window));
        QWidget* const unit = desk.labelled(u"Unit"_s);
        QCOMPARE(desk.window.focusWidget(), unit);
        for (const auto& label :
            {u"Function"_s, u"Address"_s, QString(), u"Quantity"_s, u"Type"_s}) {
            QTest::keyClick(desk.window.focusWidget(), Qt::Key_Tab);
            if (!label.isEmpty())
                QCOMPARE(desk.window.focusWidget(), desk.labelled(label));
        }
        // Enter in the name keeps the request.
        desk.labelled(u"Name"_s)->setFocus();
        desk.type(u"Name"_s, u"pump"_s);
        QTest::keyClick(desk.labelled(u"Name"_s), Qt::Key_Return);
        QCOMPARE(desk.column(u"Kept requests"_s, u"Name (checked: polled)"_s), u"pump"_s);
    }

    // Repeated while it stands there as it is; transactions count up, and a late answer is none.
    void repeatedOverTcp()
    {
        Behind behind;
        int requests = 0;
        bool told = false;
        Desk desk(&behind.port);
        behind.server.setAnswer([&](const QByteArray& request) {
            if (++requests == 2)
                told = desk.tells(u"No answer among the bytes received"_s);
            // The first answer is that of an earlier transaction.
            QByteArray answer = request.first(4) + hex("0005 01 03 02") + char(0) + char(requests);
            if (requests == 1)
                answer[1] = char(answer[1] - 1);
            return answer;
        });
        QVERIFY(behind.open());
        desk.named<QRadioButton>(u"TCP"_s)->click();
        desk.type(u"Answer within"_s, u"50"_s);
        desk.named<QSpinBox>(u"Interval"_s)->setValue(10);
        desk.named<QCheckBox>(u"Repeat every"_s)->click();
        desk.press(u"Send Repeatedly"_s);
        QTRY_VERIFY(desk.column(u"Values of the answer"_s, u"Value"_s).toInt() >= 3);
        QVERIFY(told);
        desk.type(u"Address"_s, u"7"_s);
        QVERIFY(desk.tells(u"no longer repeated"_s));
        QCOMPARE(desk.named<QPushButton>(u"Send Repeatedly"_s)->isEnabled(), true);
    }

    // The list goes round in its order; a pane that becomes current gets none of it; a port that
    // was closed is waited for; what is kept is there the next time.
    void pollList()
    {
        Behind behind;
        Behind other;
        QByteArray asked;
        behind.server.setAnswer([&asked](const QByteArray& request) {
            asked += request[3];
            return request[1] == 4 ? Modbus::rtuFrame(1, hex("8402"))
                                   : Modbus::rtuFrame(1, hex("0302002a"));
        });
        QVERIFY(behind.open());
        QVERIFY(other.open());
        {
            Desk desk(&behind.port);
            desk.type(u"Address"_s, u"10"_s);
            desk.keepAs(u"level"_s);
            desk.choose(u"Function"_s, u"4 "_s);
            desk.type(u"Address"_s, u"11"_s);
            desk.keepAs(u"flow"_s);
            desk.type(u"Quantity"_s, u"0"_s);
            desk.keepAs(u"impossible"_s);
            desk.press(u"Up"_s);
            desk.type(u"A round every"_s, u"10"_s);
            desk.press(u"Start Polling"_s);
            desk.window.setPort(&other.port);
            QTRY_VERIFY(asked.size() >= 4);
            QCOMPARE(asked.first(4), "\x0A\x0B\x0A\x0B"_ba);
            QTRY_VERIFY(desk.column(u"Values"_s, u"Result"_s).contains(u"Illegal Data Address"_s));
            QVERIFY(desk.column(u"Values"_s, u"Value"_s).contains(u"42"_s));
            QVERIFY(desk.column(u"Values"_s, u"Result"_s).contains(u"Not sent: "_s));
            QVERIFY(desk.tells(u"goes on there"_s));
            auto* const table = desk.named<QTableView>(u"Values"_s);
            table->selectRow(0);
            QTest::keySequence(table, QKeySequence::Copy);
            QVERIFY(QGuiApplication::clipboard()->text().startsWith(u"level\t10 (0x000A)\t42"_s));
            behind.port.stop();
            QTRY_COMPARE(behind.server.openCount(), 0);
            asked.clear();
            QVERIFY(behind.open());
            QTRY_VERIFY(asked.size() >= 2);
            desk.press(u"Stop Polling"_s);
            QCOMPARE(other.port.sentBytes(), 0);
        }
        Desk again(nullptr);
        QCOMPARE(again.column(u"Kept requests"_s, u"Name (checked: polled)"_s),
            u"level impossible flow"_s);
        QCOMPARE(qobject_cast<QLineEdit*>(again.labelled(u"Address"_s))->text(), u"11"_s);
    }

    // The pane goes while its device is asked.
    void portGoes()
    {
        auto behind = std::make_unique<Behind>();
        QVERIFY(behind->open());
        Desk desk(&behind->port);
        desk.press(u"Send"_s);
        behind.reset();
        QTRY_VERIFY(desk.tells(u"The port is gone"_s));
        QVERIFY(!desk.named<QPushButton>(u"Send"_s)->isEnabled());
    }

private:
    QTemporaryDir m_folder;
};

QTEST_MAIN(TestModbusBuilder)
#include "tst_modbusbuilder.moc"
