#include "connections/serialopenadvice.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

class TestSerialOpenAdvice final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void adviceFollowsTheCause_data()
    {
        using Port = QSerialPort;
        QTest::addColumn<Port::SerialPortError>("error");
        QTest::addColumn<SerialDeviceFacts>("facts");
        QTest::addColumn<QString>("says");
        SerialDeviceFacts fine;
        fine.path = u"/dev/ttyX"_s;
        SerialDeviceFacts missing = fine;
        missing.exists = false;
        SerialDeviceFacts file = fine;
        file.isCharacterDevice = false;
        SerialDeviceFacts forbidden = fine;
        forbidden.accessible = false;
        forbidden.group = u"dialout"_s;
        forbidden.groupMayReadWrite = true;
        SerialDeviceFacts closedToGroup = forbidden;
        closedToGroup.groupMayReadWrite = false;
        SerialDeviceFacts ofRoot = forbidden;
        ofRoot.group = u"root"_s;

        QTest::newRow("busy") << Port::PermissionError << fine
                              << u"Another program has /dev/ttyX open"_s;
        QTest::newRow("missing") << Port::DeviceNotFoundError << missing
                                 << u"no device /dev/ttyX"_s;
        QTest::newRow("plain file")
            << Port::UnknownError << file << u"/dev/ttyX is not a serial port"_s;
        QTest::newRow("device of another kind")
            << Port::UnsupportedOperationError << fine << u"/dev/ttyX is not a serial port"_s;
        QTest::newRow("not in its group")
            << Port::PermissionError << forbidden << u"sudo usermod -aG dialout $USER"_s;
        QTest::newRow("group has no access")
            << Port::PermissionError << closedToGroup << u"Ask whoever administers"_s;
        QTest::newRow("group root")
            << Port::PermissionError << ofRoot << u"Ask whoever administers"_s;
        QTest::newRow("dead device") << Port::ResourceError << fine << u"does not respond"_s;
    }

    void adviceFollowsTheCause()
    {
        QFETCH(QSerialPort::SerialPortError, error);
        QFETCH(SerialDeviceFacts, facts);
        QFETCH(QString, says);
        const QString advice = serialOpenAdvice(error, facts);
        QVERIFY2(advice.contains(says), qPrintable(advice));
    }

    void namesBecomePaths()
    {
        QCOMPARE(serialDevicePath(u"ttyUSB0"_s), u"/dev/ttyUSB0"_s);
        QCOMPARE(serialDevicePath(u"serial/by-id/x"_s), u"/dev/serial/by-id/x"_s);
        QCOMPARE(serialDevicePath(u"/tmp/port"_s), u"/tmp/port"_s);
        QCOMPARE(serialDevicePath(u"../port"_s), u"../port"_s);
    }

    void factsOfRealFiles()
    {
        QTemporaryDir folder;
        QVERIFY(!serialDeviceFacts(folder.filePath(u"absent"_s)).exists);
        const SerialDeviceFacts null = serialDeviceFacts(u"/dev/null"_s);
        QVERIFY(null.exists && null.isCharacterDevice && null.accessible);
        QVERIFY(null.groupMayReadWrite && !null.group.isEmpty());
        QVERIFY(!serialDeviceFacts(folder.path()).isCharacterDevice);
    }

    void aForbiddenFileIsNotAccessible()
    {
        if (::geteuid() == 0)
            QSKIP("the administrator may open everything");
        QTemporaryDir folder;
        QFile file(folder.filePath(u"locked"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.setPermissions({}));
        const SerialDeviceFacts facts = serialDeviceFacts(file.fileName());
        QVERIFY(facts.exists && !facts.accessible && !facts.groupMayReadWrite);
    }
};

QTEST_GUILESS_MAIN(TestSerialOpenAdvice)
#include "tst_serialopenadvice.moc"
