#include "transfer/lrzszrun.h"

#include "transfer/xmodemframe.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

LrzszRun::LrzszRun(const Plan& plan, const QByteArray& file)
    : plan_(plan)
    , file_(file)
    , random_(plan.seed)
    , source_(file)
    , codec_(plan.role, plan.protocol, plan.block)
{
    codec_.setSource(&source_);
    codec_.setSink(&sink_);
    tickTimer_.setSingleShot(true);
    connect(&tickTimer_, &QTimer::timeout, this, [this] { apply(codec_.tick(clock_.elapsed())); });
}

LrzszRun::~LrzszRun()
{
    closeSocket();
    process_.kill();
    process_.waitForFinished(2000);
}

bool LrzszRun::start()
{
    int pair[2] = {};
    if (!dir_.isValid()
        || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) != 0) {
        return false;
    }
    QStringList arguments = plan_.command.mid(1);
    const bool peerSends = plan_.role == XmodemCodec::Role::Receiver;
    if (peerSends) {
        QFile peerFile(filePath());
        if (!peerFile.open(QIODevice::WriteOnly) || peerFile.write(file_) != file_.size()) {
            return false;
        }
    }
    if (peerSends || !xferIsYmodem(plan_.protocol)) {
        arguments << u"file.bin"_s;
    }
    socket_ = pair[0];
    process_.setWorkingDirectory(dir_.path());
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.setChildProcessModifier([peer = pair[1]] {
        // lrzsz expects a line that blocks.
        fcntl(peer, F_SETFL, 0);
        dup2(peer, STDIN_FILENO);
        dup2(peer, STDOUT_FILENO);
    });
    process_.start(plan_.command.first(), arguments);
    const bool started = process_.waitForStarted(5000);
    ::close(pair[1]);
    readable_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    writable_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Write);
    writable_->setEnabled(false);
    connect(readable_.get(), &QSocketNotifier::activated, this, [this] { readSocket(); });
    connect(writable_.get(), &QSocketNotifier::activated, this, [this] { writeSocket(); });
    clock_.start();
    apply(codec_.begin({u"file.bin"_s, file_.size(), 1'700'000'000}, 0));
    return started;
}

bool LrzszRun::finished() const
{
    return (last_.done || last_.failed) && process_.state() == QProcess::NotRunning;
}

QString LrzszRun::problem()
{
    if (!finished()) {
        return u"not over: state %1, peer %2"_s.arg(qint32(codec_.state())).arg(process_.state());
    }
    if (!last_.done) {
        return last_.message;
    }
    if (process_.exitStatus() != QProcess::NormalExit || process_.exitCode() != 0) {
        return u"the peer ended with %1"_s.arg(process_.exitCode());
    }
    QByteArray arrived = sink_.bytes;
    if (plan_.role == XmodemCodec::Role::Sender) {
        QFile peerFile(filePath());
        if (!peerFile.open(QIODevice::ReadOnly)) {
            return u"the peer saved nothing"_s;
        }
        arrived = peerFile.readAll();
    }
    const qsizetype padding = arrived.size() - file_.size();
    const qsizetype most = xferIsYmodem(plan_.protocol) ? 0 : XmodemFrame::LongData - 1;
    const bool same = padding >= 0 && padding <= most
                      && arrived == file_.leftJustified(arrived.size(), XmodemFrame::Sub);
    return same ? QString()
                : u"the file differs: %1 bytes of %2"_s.arg(arrived.size()).arg(file_.size());
}

void LrzszRun::readSocket()
{
    char buffer[4096];
    const ssize_t count = ::read(socket_, buffer, sizeof buffer);
    if (count > 0) {
        apply(codec_.receive(hurt(QByteArray(buffer, count)), clock_.elapsed()));
    } else if (count == 0 || errno != EAGAIN) {
        readable_->setEnabled(false);
    }
}

void LrzszRun::apply(XferStep step)
{
    if (last_.done || last_.failed) {
        return;
    }
    tickTimer_.stop();
    if (step.waitMs >= 0) {
        tickTimer_.start(step.waitMs);
    }
    outgoing_ += hurt(step.bytes);
    last_ = std::move(step);
    if (!outgoing_.isEmpty()) {
        writable_->setEnabled(true);
    }
}

void LrzszRun::writeSocket()
{
    const ssize_t count =
        ::send(socket_, outgoing_.constData(), size_t(outgoing_.size()), MSG_NOSIGNAL);
    if (count < 0 && errno == EAGAIN) {
        return;
    }
    outgoing_.remove(0, count < 0 ? outgoing_.size() : count);
    if (outgoing_.isEmpty()) {
        writable_->setEnabled(false);
        apply(codec_.onEgressDrained(clock_.elapsed()));
    }
}

QByteArray LrzszRun::hurt(QByteArray bytes)
{
    for (char& byte : bytes) {
        if (plan_.damage > 0 && random_.generateDouble() < plan_.damage) {
            byte = static_cast<char>(byte ^ random_.bounded(1, 256));
            ++damagedBytes_;
        }
    }
    return bytes;
}

void LrzszRun::closeSocket()
{
    readable_.reset();
    writable_.reset();
    if (socket_ >= 0) {
        ::close(socket_);
        socket_ = -1;
    }
}
