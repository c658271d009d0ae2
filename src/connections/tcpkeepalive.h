#pragma once

class QTcpSocket;

// Makes the system ask a silent peer whether it still exists, so that a connection whose other end
// lost its power or its cable ends by itself. After `kTcpKeepAliveIdleSeconds` without traffic the
// first of `kTcpKeepAliveProbes` probes leaves, each `kTcpKeepAliveIntervalSeconds` after the one
// before: a dead peer is found within a minute. Only where the system lets a socket have times of
// its own; elsewhere its own times (two hours, as RFC 1122 asks) hold.
constexpr int kTcpKeepAliveIdleSeconds = 30;
constexpr int kTcpKeepAliveIntervalSeconds = 10;
constexpr int kTcpKeepAliveProbes = 3;

// The socket is connected.
void enableTcpKeepAlive(QTcpSocket& socket);
