#include "terminal/view/textsaver.h"

#include "terminal/view/textsource.h"

#include <QDir>
#include <algorithm>

TextSaver::TextSaver(const TextSource& source, const QString& path, QObject* parent)
    : QObject(parent)
    , source_(source)
    , file_(path)
    , next_(source.firstPosition())
    , end_(source.endPosition())
{
    timer_.setInterval(0);
    connect(&timer_, &QTimer::timeout, this, &TextSaver::writeSlice);
}

void TextSaver::start()
{
    // A failure to open shows in the first slice, so that it is reported like any other.
    (void)file_.open(QIODevice::WriteOnly);
    timer_.start();
}

void TextSaver::keepBeforeRemoval(qint64 end)
{
    const qint64 stop = std::min(end, end_);
    if (stop <= next_)
        return;
    kept_.remove(0, keptUsed_);
    keptUsed_ = 0;
    kept_ += source_.textAt(next_, stop - next_);
    next_ = stop;
}

void TextSaver::writeSlice()
{
    if (!file_.isOpen()) {
        finish(false);
        return;
    }
    const QString slice = takeSlice();
    if (slice.isEmpty()) {
        finish(file_.commit());
        return;
    }
    const QByteArray bytes = slice.toUtf8();
    if (file_.write(bytes) != bytes.size() || !file_.flush())
        finish(false);
}

QString TextSaver::takeSlice()
{
    QString slice;
    const bool fromKept = keptUsed_ < kept_.size();
    if (fromKept)
        slice = kept_.mid(keptUsed_, sliceCharacters);
    else
        slice = source_.textAt(next_, std::min(sliceCharacters, end_ - next_));
    // The two halves of a character beyond U+FFFF are encoded together. The second half may be
    // in the source while the first is kept; then they are joined here.
    const bool last =
        fromKept ? keptUsed_ + slice.size() == kept_.size() : next_ + slice.size() == end_;
    if (slice.size() > 1 && !last && slice.back().isHighSurrogate())
        slice.chop(1);
    if (fromKept)
        keptUsed_ += slice.size();
    else
        next_ += slice.size();
    if (fromKept && last && slice.back().isHighSurrogate() && next_ < end_)
        slice += source_.textAt(next_++, 1);
    if (keptUsed_ == kept_.size()) {
        kept_.clear();
        keptUsed_ = 0;
    }
    return slice;
}

void TextSaver::finish(bool ok)
{
    timer_.stop();
    QString error;
    if (!ok) {
        error = tr("Cannot save \"%1\": %2")
                    .arg(QDir::toNativeSeparators(file_.fileName()), file_.errorString());
        file_.cancelWriting();
    }
    Q_EMIT finished(ok, error);
}
