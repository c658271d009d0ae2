#include "transfer/engine/transferscript.h"

#include "transfer/engine/xmodemframe.h"

#include <QMap>

using namespace Qt::Literals::StringLiterals;
using namespace XmodemFrame;

static QString problemUnless(bool good, const QString& problem)
{
    return good ? QString() : problem;
}

TransferScript::TransferScript(
    XmodemCodec::Role role, XferProtocol protocol, qint32 block, qsizetype size)
    : source(randomBytes(size, 1))
    , m_protocol(protocol)
    , m_blockSize(block)
    , m_meta{u"f.bin"_s, size, 0}
    , m_codec(std::make_unique<XmodemCodec>(role, protocol, block))
    , m_useCrc(protocol != XferProtocol::Xmodem)
{
    m_codec->setSource(&source);
    m_codec->setSink(&sink);
}

QString TransferScript::play(const QByteArray& script, bool byteByByte)
{
    for (const QByteArray& word : script.simplified().split(' ')) {
        if (!m_begun && prepare(word)) {
            continue;
        }
        if (!m_begun) {
            m_begun = true;
            take(m_codec->begin(m_meta, m_now));
        }
        QString problem = perform(word, byteByByte);
        const bool running = !m_last.done && !m_last.failed;
        if (problem.isEmpty() && running && !m_hold && m_codec->remainingMs(m_now) < 0) {
            problem = u"runs without a timer"_s;
        }
        if (!problem.isEmpty()) {
            return QString::fromLatin1(word) + u": "_s + problem;
        }
    }
    return m_written.isEmpty() ? checkSilenceAfterEnd()
                               : u"at the end: wrote "_s + QString::fromLatin1(m_written.toHex());
}

bool TransferScript::prepare(const QByteArray& word)
{
    const QMap<QByteArray, bool*> switches{{"open-fails", &sink.openFails},
        {"write-fails", &sink.writeFails}, {"commit-fails", &sink.commitFails},
        {"read-fails", &source.failing}, {"hold", &m_hold}};
    if (bool* flag = switches.value(word)) {
        *flag = true;
    } else if (word == "read-short") {
        source.longestRead = 100;
    } else if (word == "changed") {
        source.intact = false;
    } else if (word == "no-source") {
        m_codec->setSource(nullptr);
    } else if (word == "no-sink") {
        m_codec->setSink(nullptr);
    } else if (word.startsWith("limit:")) {
        m_codec->setReceiveLimit(word.mid(6).toLongLong());
    } else {
        return false;
    }
    return true;
}

QString TransferScript::perform(const QByteArray& word, bool byteByByte)
{
    if (!word.startsWith('>') && !m_written.isEmpty()) {
        return u"wrote "_s + QString::fromLatin1(m_written.toHex(' ')) + u" before this"_s;
    }
    if (word.startsWith('<')) {
        const QByteArray bytes = items(word.mid(1));
        const qsizetype slice = byteByByte ? 1 : bytes.size();
        qsizetype i = 0;
        do {
            take(m_codec->receive(bytes.mid(i, slice), m_now));
            i += slice;
        } while (i < bytes.size());
    } else if (word.startsWith('>')) {
        const QByteArray expected = items(word.mid(1));
        if (m_written != expected) {
            return u"wrote "_s + QString::fromLatin1(m_written.toHex(' '));
        }
        m_written.clear();
    } else if (word.startsWith('+')) {
        m_now += word.mid(1).toLongLong();
        take(m_codec->tick(m_now));
    } else if (word.startsWith("late:")) {
        m_now += word.mid(5).toLongLong();
    } else if (word == "drain") {
        take(m_codec->onEgressDrained(m_now));
    } else if (word == "cancel") {
        take(m_codec->cancel(m_now));
    } else if (word == "sum" || word == "crc") {
        m_useCrc = word == "crc";
    } else {
        return expect(word);
    }
    return {};
}

QString TransferScript::expect(const QByteArray& word)
{
    const QByteArray verb = word.split(':').constFirst();
    const qint64 value = word.mid(word.indexOf(':') + 1).toLongLong();
    if (verb == "done") {
        return problemUnless(m_last.done && !m_last.failed, u"is not done: "_s + m_last.message);
    }
    if (verb == "fail") {
        return problemUnless(m_last.failed && !m_last.done && qint64(m_last.error) == value,
            u"error %1"_s.arg(qint32(m_last.error)));
    }
    if (verb == "said") {
        return problemUnless(m_last.message == message, m_last.message);
    }
    if (verb == "wait") {
        return problemUnless(m_last.waitMs == value, QString::number(m_last.waitMs));
    }
    if (verb == "retries") {
        const qint32 retries = m_codec->progress().retries;
        return problemUnless(retries == value, QString::number(retries));
    }
    if (verb == "saved") {
        return problemUnless(sink.committed == 1 && m_codec->progress().bytesDone == value
                                 && sink.bytes == source.bytes.leftJustified(value, kSub, true),
            u"%1 bytes, %2 commits"_s.arg(sink.bytes.size()).arg(sink.committed));
    }
    return u"unknown word"_s;
}

QString TransferScript::checkSilenceAfterEnd()
{
    if (!m_last.done && !m_last.failed) {
        return {};
    }
    const QByteArray more = items("C,A,N,X,X,1,E");
    for (const XferStep& step : {m_codec->receive(more, m_now), m_codec->tick(m_now + 100000),
             m_codec->onEgressDrained(m_now), m_codec->pump(m_now), m_codec->cancel(m_now)}) {
        if (!step.bytes.isEmpty() || step.done || step.failed || step.waitMs != -1) {
            return u"spoke after its end"_s;
        }
    }
    return {};
}

void TransferScript::take(XferStep step)
{
    // An ended engine answers with empty steps; the one that ended it is the one of interest.
    if (m_last.done || m_last.failed) {
        return;
    }
    m_last = std::move(step);
    m_written += m_last.bytes;
    if (!m_last.bytes.isEmpty() && !m_hold) {
        take(m_codec->onEgressDrained(m_now));
    }
}

QByteArray TransferScript::items(const QByteArray& list) const
{
    QByteArray bytes;
    for (const QByteArray& name : list.split(',')) {
        bytes += item(name);
    }
    return bytes;
}

QByteArray TransferScript::item(const QByteArray& name) const
{
    static const QMap<char, QByteArray> controls{{'A', "\x06"}, {'N', "\x15"}, {'C', "C"},
        {'G', "G"}, {'E', "\x04"}, {'X', "\x18"}, {'?', "U"}, {'-', ""},
        {'K', QByteArray::fromHex("18181818181818180808080808080808")}};
    const QByteArray kind = name.left(1);
    if (const auto control = controls.constFind(kind[0]); control != controls.cend()) {
        return *control;
    }
    const char damage = name.back();
    const bool damaged = QByteArrayView("!~^$").contains(damage);
    QByteArray frame;
    if (kind == "H") {
        frame = frameBlock(0, buildHeaderBlock(m_meta), m_useCrc);
    } else if (kind == "T") {
        frame = frameBlock(0, QByteArray(128, '\0'), m_useCrc);
    } else if (kind == "W") {
        frame = frameBlock(0, QByteArray(128, 'w'), m_useCrc);
    } else if (kind == "U") {
        frame = frameBlock(0, QByteArray("f.bin\0abc", 9).leftJustified(128, '\0'), m_useCrc);
    } else {
        frame = block(damaged ? name.chopped(1).toInt() : name.toInt());
    }
    if (damage == '!') {
        frame.back() = static_cast<char>(frame.back() ^ 1);
    } else if (damage == '~') {
        frame[2] = static_cast<char>(frame[2] ^ 1);
    } else if (damage == '^') {
        frame.truncate(20);
    } else if (damage == '$') {
        frame.remove(0, 20);
    }
    return frame;
}

QByteArray TransferScript::block(int number) const
{
    const bool shortOnly = m_protocol < XferProtocol::Xmodem1K || m_blockSize == 128;
    qsizetype offset = 0;
    qsizetype length = 0;
    for (int i = 1; i <= qMax(number, 1); ++i) {
        offset += length;
        length = shortOnly || source.bytes.size() - offset <= 128 ? 128 : 1024;
    }
    const QByteArray data = source.bytes.mid(offset, length).leftJustified(length, kSub);
    return frameBlock(static_cast<quint8>(number), data, m_useCrc);
}
