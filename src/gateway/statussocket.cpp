#include "gateway/statussocket.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView kRequest("status");
constexpr qsizetype kNameBytes = 12; // of the hash: two files never share a name

} // namespace

QString StatusSocket::pathFor(const QString& file)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    const QString canonical = QFileInfo(file).canonicalFilePath();
    const QString named = canonical.isEmpty() ? QFileInfo(file).absoluteFilePath() : canonical;
    const QByteArray hash =
        QCryptographicHash::hash(QFile::encodeName(named), QCryptographicHash::Sha256);
    if (folder.isEmpty())
        return {};
    return folder + u"/velmora-gateway-"_s + QString::fromLatin1(hash.first(kNameBytes).toHex());
}

StatusSocket::StatusSocket(Answer answer, QObject* parent)
    : QObject(parent)
    , m_answer(std::move(answer))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &StatusSocket::onConnection);
}

StatusSocket::~StatusSocket() = default;

bool StatusSocket::claim(const QString& file, QString& error)
{
    m_path = pathFor(file);
    if (m_path.isEmpty())
        return true; // nowhere to meet another one either
    m_lock = std::make_unique<QLockFile>(m_path + u".lock"_s);
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0) || m_lock->error() != QLockFile::LockFailedError)
        return true;
    qint64 pid = 0;
    QString host;
    QString name;
    m_lock->getLockInfo(&pid, &host, &name);
    error = u"a gateway runs on this file already (process %1)"_s.arg(pid);
    return false;
}

bool StatusSocket::listen(QString& error)
{
    if (m_path.isEmpty() || !m_lock->isLocked()) {
        error = u"there is no runtime folder"_s;
        return false;
    }
    // What a crash has left; nobody else has the lock.
    QLocalServer::removeServer(m_path);
    if (m_server.listen(m_path))
        return true;
    error = m_server.errorString();
    return false;
}

void StatusSocket::onConnection()
{
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        if (m_connections >= kMaxConnections) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        ++m_connections;
        connect(socket, &QObject::destroyed, this, [this] { --m_connections; });
        socket->setReadBufferSize(kMaxRequestBytes);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { read(socket); });
        QTimer::singleShot(kPatienceMs, socket, [socket] {
            socket->abort();
            socket->deleteLater();
        });
        read(socket);
    }
}

void StatusSocket::read(QLocalSocket* socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() >= kMaxRequestBytes)
            socket->abort();
        return;
    }
    if (socket->readLine(kMaxRequestBytes).trimmed() == kRequest)
        socket->write(m_answer());
    socket->disconnectFromServer();
}

StatusRequest::StatusRequest(const QString& file, QObject* parent)
    : QObject(parent)
{
    connect(&m_socket, &QLocalSocket::connected, this,
        [this] { m_socket.write(kRequest.toByteArray() + '\n'); });
    connect(&m_socket, &QLocalSocket::readyRead, this, [this] {
        m_answer += m_socket.readAll();
        if (m_answer.size() > kMaxAnswerBytes)
            finish(false);
    });
    connect(&m_socket, &QLocalSocket::disconnected, this, [this] {
        m_answer += m_socket.readAll();
        finish(true);
    });
    connect(&m_socket, &QLocalSocket::errorOccurred, this,
        [this](QLocalSocket::LocalSocketError error) {
            if (error != QLocalSocket::PeerClosedError)
                finish(false);
        });
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, [this] { finish(false); });
    m_patience.start(StatusSocket::kPatienceMs);
    const QString path = StatusSocket::pathFor(file);
    QTimer::singleShot(0, this, [this, path] { m_socket.connectToServer(path); });
}

StatusRequest::~StatusRequest() = default;

void StatusRequest::finish(bool complete)
{
    if (std::exchange(m_over, true))
        return;
    Q_EMIT finished(complete ? m_answer : QByteArray());
}
