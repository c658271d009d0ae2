#include "connections/rfc2217transport.h"
#include "connections/serialtransport.h"
#include "connections/tcpclienttransport.h"
#include "connections/tcpservertransport.h"
#include "connections/udptransport.h"

std::unique_ptr<Transport> makeTransport(connectionMode mode)
{
    switch (mode) {
    case connectionMode::SerialPort:
        return std::make_unique<SerialTransport>();
    case connectionMode::TcpServer:
        return std::make_unique<TcpServerTransport>();
    case connectionMode::TcpClient:
        return std::make_unique<TcpClientTransport>();
    case connectionMode::UdpServer:
    case connectionMode::UdpClient:
    case connectionMode::UdpMode6:
        return std::make_unique<UdpTransport>(mode);
    case connectionMode::RemoteSerialRfc2217:
        return std::make_unique<Rfc2217Transport>(mode, std::make_unique<TcpClientTransport>());
    case connectionMode::NoTransport:
    case connectionMode::RemoteSerialCloudRelay:
        break;
    }
    return nullptr;
}

bool isCarried(connectionMode mode)
{
    return mode == connectionMode::SerialPort || mode == connectionMode::TcpServer
           || connectionModeIsTcpClient(mode) || connectionModeIsUdp(mode);
}
