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
    void namesAreComparedExactly()
    {
        const ListedPorts ports;
        QVERIFY(ports.contains(u"ttyS1"_s));
        for (const QString& other : {u"ttys1"_s, u"ttyS10"_s, QString()})
            QVERIFY2(!ports.contains(other), qPrintable(other));
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
        QVERIFY(!catalog.contains(QString()));
    }
};

QTEST_GUILESS_MAIN(TestSerialPortCatalog)
#include "tst_serialportcatalog.moc"
