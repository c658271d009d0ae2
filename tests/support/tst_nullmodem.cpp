#include "support/nullmodem.h"
#include "support/numberedbytes.h"

#include <QSerialPort>
#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using End = NullModem::End;

class TestNullModem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aStalledCableHoldsTheSenderAndLosesNothing();
    void vanishingIsToldAsAsked();
};

void TestNullModem::aStalledCableHoldsTheSenderAndLosesNothing()
{
    NullModem modem;
    QSerialPort a(modem.portA());
    QVERIFY(a.open(QIODevice::ReadWrite));
    const QByteArray sent = numberedBytes(512 * 1024);
    modem.setFlowing(false);
    a.write(sent);
    QTRY_VERIFY(a.bytesToWrite() < sent.size());
    QCOMPARE(modem.crossedFrom(End::A), 0);
    // Nobody has opened B yet, and the kernel does not hold this much: the sender has to wait.
    modem.setFlowing(true);
    QTRY_VERIFY(modem.crossedFrom(End::A) > 0);
    QVERIFY(modem.crossedFrom(End::A) < sent.size());
    QSerialPort b(modem.portB());
    QVERIFY(b.open(QIODevice::ReadWrite));
    QByteArray received;
    QTRY_COMPARE((received += b.readAll()).size(), sent.size());
    QVERIFY(received == sent);
}

void TestNullModem::vanishingIsToldAsAsked()
{
    NullModem modem;
    for (const auto how : {NullModem::Vanishing::EndOfFile, NullModem::Vanishing::InputError}) {
        const int port = ::open(qPrintable(modem.portB()), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(port >= 0);
        char byte = 0;
        QCOMPARE(::read(port, &byte, 1), -1);
        QCOMPARE(errno, EAGAIN);
        modem.unplug(End::B, how);
        errno = ENOTTY;
        QCOMPARE(::read(port, &byte, 1), how == NullModem::Vanishing::EndOfFile ? 0 : -1);
        QCOMPARE(errno, how == NullModem::Vanishing::EndOfFile ? ENOTTY : EIO);
        ::close(port);
        QVERIFY(modem.plugBack(End::B));
    }
}

QTEST_GUILESS_MAIN(TestNullModem)
#include "tst_nullmodem.moc"
