#include "connections/systemportcatalog.h"
#include "support/nullmodem.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

class ListedPorts final : public SerialPortCatalog
{
public:
    QList<SerialPortDescription> ports() const override { return {{u"ttyS1"_s, {}, {}, {}, {}}}; }
};

} // namespace

class TestSerialPortCatalog final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesAreComparedExactly_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("contained");
        QTest::newRow("listed") << u"ttyS1"_s << true;
        QTest::newRow("other case") << u"ttys1"_s << false;
        QTest::newRow("longer") << u"ttyS10"_s << false;
        QTest::newRow("empty") << QString() << false;
    }

    void namesAreComparedExactly()
    {
        QFETCH(QString, name);
        QTEST(ListedPorts().contains(name), "contained");
    }

    void systemPortsKeepTheirOrder()
    {
        QStringList expected;
        for (const QSerialPortInfo& info : listUsableSerialPorts()) {
            expected += info.portName();
            QVERIFY(serialPortExists(info.portName()));
        }
        QStringList names;
        for (const SerialPortDescription& port : SystemPortCatalog().ports())
            names += port.portName;
        QCOMPARE(names, expected);
        QVERIFY(!serialPortExists(QString()));
    }

    void aDeviceIsFoundByItsPath()
    {
        NullModem modem;
        QVERIFY2(modem.isValid(), qPrintable(modem.errorString()));
        const SystemPortCatalog catalog;
        QVERIFY(catalog.contains(modem.portA()));
        QVERIFY(!serialPortExists(modem.portA()));
        modem.unplug(NullModem::End::A);
        QVERIFY(!catalog.contains(modem.portA()));
        QVERIFY(modem.plugBack(NullModem::End::A));
        QVERIFY(catalog.contains(modem.portA()));
    }

    void otherFilesAreNoPorts()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"plain"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const SystemPortCatalog catalog;
        QVERIFY(!catalog.contains(path));
        QVERIFY(!catalog.contains(folder.path()));
        QVERIFY(!catalog.contains(u"null"_s)); // not a path, though /dev/null exists
    }
};

QTEST_GUILESS_MAIN(TestSerialPortCatalog)
#include "tst_serialportcatalog.moc"
