#pragma once

#include "transfer/memoryfile.h"
#include "transfer/xmodemcodec.h"

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>
#include <memory>

// One transfer between the engine and a program of lrzsz, in real time. The program has one end of
// a socket pair as its standard input and output: on a pseudo-terminal its own flushes of the tty
// would lose bytes. Many runs share one event loop, because most of a run is waiting.
class LrzszRun final : public QObject
{
    Q_OBJECT

public:
    struct Plan
    {
        XmodemCodec::Role role = XmodemCodec::Role::Sender;
        XferProtocol protocol = XferProtocol::XmodemCrc;
        qint32 block = 1024;
        QStringList command; // program and options; a file name is added where it is needed
        double damage = 0;   // probability for one byte, in both directions
        quint32 seed = 1;
    };

    LrzszRun(const Plan& plan, const QByteArray& file);
    ~LrzszRun() override;

    bool start();
    // Both ends are through.
    bool finished() const;
    // Empty when the file arrived byte for byte, padding of XMODEM apart; else what went wrong.
    QString problem();
    int damagedBytes() const { return damagedBytes_; }

private:
    QString filePath() const { return dir_.filePath(QStringLiteral("file.bin")); }
    void readSocket();
    void writeSocket();
    void apply(XferStep step);
    QByteArray hurt(QByteArray bytes);
    void closeSocket();

    const Plan plan_;
    const QByteArray file_;
    QTemporaryDir dir_;
    QProcess process_;
    int socket_ = -1;
    std::unique_ptr<QSocketNotifier> readable_;
    std::unique_ptr<QSocketNotifier> writable_;
    QTimer tickTimer_;
    QElapsedTimer clock_;
    QRandomGenerator random_;
    MemorySource source_;
    MemorySink sink_;
    XmodemCodec codec_;
    XferStep last_;
    QByteArray outgoing_;
    int damagedBytes_ = 0;
};
