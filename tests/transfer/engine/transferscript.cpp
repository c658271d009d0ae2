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
    , protocol_(protocol)
    , blockSize_(block)
    , meta_{u"f.bin"_s, size, 0}
    , codec_(std::make_unique<XmodemCodec>(role, protocol, block))
    , useCrc_(protocol != XferProtocol::Xmodem)
{
    codec_->setSource(&source);
    codec_->setSink(&sink);
}

QString TransferScript::play(const QByteArray& script, bool byteByByte)
{
    for (const QByteArray& word : script.simplified().split(' ')) {
        if (!begun_ && prepare(word)) {
            continue;
        }
        if (!begun_) {
            begun_ = true;
            take(codec_->begin(meta_, now_));
        }
        QString problem = perform(word, byteByByte);
        const bool running = !last_.done && !last_.failed;
        if (problem.isEmpty() && running && !hold_ && codec_->remainingMs(now_) < 0) {
            problem = u"runs without a timer"_s;
        }
        if (!problem.isEmpty()) {
            return QString::fromLatin1(word) + u": "_s + problem;
        }
    }
    return written_.isEmpty() ? checkSilenceAfterEnd()
                              : u"at the end: wrote "_s + QString::fromLatin1(written_.toHex());
}

bool TransferScript::prepare(const QByteArray& word)
{
    const QMap<QByteArray, bool*> switches{{"open-fails", &sink.openFails},
        {"write-fails", &sink.writeFails}, {"commit-fails", &sink.commitFails},
        {"read-fails", &source.failing}, {"hold", &hold_}};
    if (bool* flag = switches.value(word)) {
        *flag = true;
    } else if (word == "read-short") {
        source.longestRead = 100;
    } else if (word == "changed") {
        source.intact = false;
    } else if (word == "no-source") {
        codec_->setSource(nullptr);
    } else if (word == "no-sink") {
        codec_->setSink(nullptr);
    } else if (word.startsWith("limit:")) {
        codec_->setReceiveLimit(word.mid(6).toLongLong());
    } else {
        return false;
    }
    return true;
}

QString TransferScript::perform(const QByteArray& word, bool byteByByte)
{
    if (!word.startsWith('>') && !written_.isEmpty()) {
        return u"wrote "_s + QString::fromLatin1(written_.toHex(' ')) + u" before this"_s;
    }
    if (word.startsWith('<')) {
        const QByteArray bytes = items(word.mid(1));
        const qsizetype slice = byteByByte ? 1 : bytes.size();
        qsizetype i = 0;
        do {
            take(codec_->receive(bytes.mid(i, slice), now_));
            i += slice;
        } while (i < bytes.size());
    } else if (word.startsWith('>')) {
        const QByteArray expected = items(word.mid(1));
        if (written_ != expected) {
            return u"wrote "_s + QString::fromLatin1(written_.toHex(' '));
        }
        written_.clear();
    } else if (word.startsWith('+')) {
        now_ += word.mid(1).toLongLong();
        take(codec_->tick(now_));
    } else if (word.startsWith("late:")) {
        now_ += word.mid(5).toLongLong();
    } else if (word == "drain") {
        take(codec_->onEgressDrained(now_));
    } else if (word == "cancel") {
        take(codec_->cancel(now_));
    } else if (word == "sum" || word == "crc") {
        useCrc_ = word == "crc";
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
        return problemUnless(last_.done && !last_.failed, u"is not done: "_s + last_.message);
    }
    if (verb == "fail") {
        return problemUnless(last_.failed && !last_.done && qint64(last_.error) == value,
            u"error %1"_s.arg(qint32(last_.error)));
    }
    if (verb == "said") {
        return problemUnless(last_.message == message, last_.message);
    }
    if (verb == "wait") {
        return problemUnless(last_.waitMs == value, QString::number(last_.waitMs));
    }
    if (verb == "retries") {
        const qint32 retries = codec_->progress().retries;
        return problemUnless(retries == value, QString::number(retries));
    }
    if (verb == "saved") {
        return problemUnless(sink.committed == 1 && codec_->progress().bytesDone == value
                                 && sink.bytes == source.bytes.leftJustified(value, Sub, true),
            u"%1 bytes, %2 commits"_s.arg(sink.bytes.size()).arg(sink.committed));
    }
    return u"unknown word"_s;
}

QString TransferScript::checkSilenceAfterEnd()
{
    if (!last_.done && !last_.failed) {
        return {};
    }
    const QByteArray more = items("C,A,N,X,X,1,E");
    for (const XferStep& step : {codec_->receive(more, now_), codec_->tick(now_ + 100000),
             codec_->onEgressDrained(now_), codec_->pump(now_), codec_->cancel(now_)}) {
        if (!step.bytes.isEmpty() || step.done || step.failed || step.waitMs != -1) {
            return u"spoke after its end"_s;
        }
    }
    return {};
}

void TransferScript::take(XferStep step)
{
    // An ended engine answers with empty steps; the one that ended it is the one of interest.
    if (last_.done || last_.failed) {
        return;
    }
    last_ = std::move(step);
    written_ += last_.bytes;
    if (!last_.bytes.isEmpty() && !hold_) {
        take(codec_->onEgressDrained(now_));
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
        frame = frameBlock(0, buildHeaderBlock(meta_), useCrc_);
    } else if (kind == "T") {
        frame = frameBlock(0, QByteArray(128, '\0'), useCrc_);
    } else if (kind == "W") {
        frame = frameBlock(0, QByteArray(128, 'w'), useCrc_);
    } else if (kind == "U") {
        frame = frameBlock(0, QByteArray("f.bin\0abc", 9).leftJustified(128, '\0'), useCrc_);
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
    const bool shortOnly = protocol_ < XferProtocol::Xmodem1K || blockSize_ == 128;
    qsizetype offset = 0;
    qsizetype length = 0;
    for (int i = 1; i <= qMax(number, 1); ++i) {
        offset += length;
        length = shortOnly || source.bytes.size() - offset <= 128 ? 128 : 1024;
    }
    const QByteArray data = source.bytes.mid(offset, length).leftJustified(length, Sub);
    return frameBlock(static_cast<quint8>(number), data, useCrc_);
}
