#pragma once

#include "transfer/engine/memoryfile.h"
#include "transfer/engine/xmodemcodec.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <memory>

// Plays one conversation with an engine, written as a line of words:
//
//   <LIST        these items arrive            >LIST   exactly these items were written since
//   +MS          time passes, then tick()    late:MS  time passes, and nobody calls tick()
//   drain        after "hold": the bytes written last leave the port
//   sum, crc     items from here on carry the 8-bit checksum, the CRC; cancel  calls cancel()
//   done, fail:N the transfer has ended so, with this XferError
//   wait:MS      what the last step asked for  said    the last message equals `message`
//   saved:N      the sink was committed once with the first N bytes of the padded file
//   retries:N    as progress() counts them
//
// Items, separated by commas: A N C G E for ACK, NAK, "C", "G", EOT; X one CAN; K the cancel
// sequence; ? a byte of noise; - an empty read; H the file's header; T the end of the batch; W a
// header without a NUL; U one whose size is "abc"; 1 2 3... blocks of the file. A frame can be
// damaged: 2! in its trailer, 2~ in its complement; 2^ is its first 20 bytes, 2$ the others.
//
// Before the first of these, words prepare: limit:N, no-source, no-sink, open-fails, write-fails,
// commit-fails, read-fails, read-short, changed; hold keeps written bytes in the port until
// "drain".
//
// Without "hold" written bytes leave at once. An output that no ">" names is an error, and so is an
// engine that runs, owes nothing to the port and has no timer.
class TransferScript
{
public:
    TransferScript(XmodemCodec::Role role, XferProtocol protocol, qint32 block, qsizetype size);

    // Feeds each "<" whole or byte by byte. Returns an empty string or what went wrong.
    QString play(const QByteArray& script, bool byteByByte);

    QString message;
    MemorySource source;
    MemorySink sink;

private:
    bool prepare(const QByteArray& word);
    QString perform(const QByteArray& word, bool byteByByte);
    QString expect(const QByteArray& word);
    QString checkSilenceAfterEnd();
    void take(XferStep step);
    QByteArray items(const QByteArray& list) const;
    QByteArray item(const QByteArray& name) const;
    QByteArray block(int number) const;

    XferProtocol m_protocol;
    qint32 m_blockSize;
    XferFileMeta m_meta;
    std::unique_ptr<XmodemCodec> m_codec;
    XferStep m_last;
    QByteArray m_written;
    qint64 m_now = 5000;
    bool m_begun = false;
    bool m_hold = false;
    bool m_useCrc = true;
};
