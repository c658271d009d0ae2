#pragma once

#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

// Where a running gateway can be asked what it is doing: a local socket that only its user may
// open, in the runtime folder, named after the canonical path of the session file. A lock beside it
// keeps a second gateway from the same file; that of a gateway that crashed does not count.
//
// Somebody connects, sends the line "status", gets the answer and is disconnected. At most
// kMaxConnections ask at once, each has kPatienceMs for its kMaxRequestBytes. Owned by main().
class StatusSocket final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StatusSocket)

public:
    static constexpr int kMaxConnections = 8;
    static constexpr int kPatienceMs = 5000;
    static constexpr qint64 kMaxRequestBytes = 64;

    using Answer = std::function<QByteArray()>;

    explicit StatusSocket(Answer answer, QObject* parent = nullptr);
    ~StatusSocket() override;

    // False with the reason when there is one for this file already.
    [[nodiscard]] bool claim(const QString& file, QString& error);
    // False with the reason when nobody can ask; the gateway is none the worse for it.
    [[nodiscard]] bool listen(QString& error);

    // The path of the socket; empty when there is no runtime folder.
    [[nodiscard]] static QString pathFor(const QString& file);

private:
    void onConnection();
    void read(QLocalSocket* socket);

    const Answer m_answer;
    QString m_path;
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer m_server;
    int m_connections = 0;
};

// Asks a running gateway and tells what it said, once.
class StatusRequest final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StatusRequest)

public:
    static constexpr qsizetype kMaxAnswerBytes = qsizetype{4} * 1024 * 1024;

    explicit StatusRequest(const QString& file, QObject* parent = nullptr);
    ~StatusRequest() override;

Q_SIGNALS:
    // Without an answer nobody is there, or says nothing within StatusSocket::kPatienceMs.
    void finished(const QByteArray& answer);

private:
    void finish(bool complete);

    QLocalSocket m_socket;
    QTimer m_patience;
    QByteArray m_answer;
    bool m_over = false;
};
