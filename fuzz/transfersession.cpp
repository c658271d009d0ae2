#include "fuzzinput.h"
#include "transfer/filetransfersession.h"

#include <QDir>
#include <QTemporaryDir>
#include <cstdlib>

// A session over real files, in either role and any variant, with bytes and times of the input's
// choice: a step writes one frame at most, what has ended is silent, and a receiver makes files in
// its own folder only, never more than one and never longer than its limit;
// and when nobody answers any more, it ends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr qint64 kLimit = 5000;
    constexpr qsizetype kLargestStep = 1029;
    constexpr int kPatienceMinutes = 60;
    static const QTemporaryDir scratch;
    static const QString source = [] {
        QFile file(scratch.filePath(QStringLiteral("source")));
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(3000, 's')) != 3000)
            std::abort();
        return file.fileName();
    }();
    const QTemporaryDir folder(scratch.filePath(QStringLiteral("sink")));
    FuzzInput input(data, size);
    const int setup = input.byte();
    XferConfig config;
    config.direction = setup & 1 ? XferReceive : XferSend;
    config.protocol = XferProtocol(setup / 2 % 5);
    config.receiveLimit = kLimit;
    {
        FileTransferSession session(config);
        auto file = std::make_unique<XferFileSource>();
        if (config.direction == XferReceive)
            session.setSink(std::make_unique<XferFileSink>(folder.path(), QString()));
        else if (file->open(source, nullptr))
            session.setSource(std::move(file));
        qint64 now = 0;
        XferStep step = session.start(now);
        while (!input.atEnd()) {
            const bool ended = session.isOver();
            const int call = input.byte();
            if (call < 192) {
                step = session.ingest(input.take(call * 6), now);
            } else if (call < 232) {
                now += input.byte() * 100;
                step = session.tick(now);
            } else if (call < 255) {
                step = session.egressDrained(now);
            } else {
                step = session.beginCancel(FileTransferSession::CancelCause(input.byte() % 5), now);
            }
            if (step.bytes.size() > kLargestStep || (ended && !step.bytes.isEmpty()))
                std::abort();
        }
        // Nobody answers any more: it gives up, in time.
        for (int minutes = 0; !session.isOver(); ++minutes) {
            if (minutes > kPatienceMinutes)
                std::abort();
            session.egressDrained(now);
            session.tick(now += 60'000);
        }
    }
    const QDir made(folder.path());
    const QFileInfoList files =
        made.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    if (files.size() > 1 || (!files.isEmpty() && files.first().size() > kLimit + kLargestStep)
        || QDir(scratch.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size() != 2)
        std::abort();
    return 0;
}
