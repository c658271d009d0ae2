#pragma once

#include <QByteArray>
#include <QtGlobal>

// A second descriptor of a connected TCP socket. QTcpSocket closes its own before it reports that a
// write met a reset, and what the system had received but the socket had not read yet, because
// reads were throttled, would go with it. Owned by the TcpClientLink for one connection; the
// connection ends on the wire only when both descriptors are closed. Does nothing on systems
// without duplicable sockets.
class SocketTail final
{
    Q_DISABLE_COPY_MOVE(SocketTail)

public:
    SocketTail() = default;
    ~SocketTail() { close(); }

    // `descriptor` is QTcpSocket::socketDescriptor(); replaces an earlier one.
    void open(qintptr descriptor);
    void close();
    // What the system still holds, at most `maxBytes`; empty when closed.
    [[nodiscard]] QByteArray drain(qsizetype maxBytes);

private:
    int m_descriptor = -1;
};
