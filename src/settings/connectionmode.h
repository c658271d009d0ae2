#pragma once

// The transport behind a pane. The numbers are persisted and never change their meaning.
// NoTransport and UdpMode6 are kept for records that name them: the first never opens, the second
// is a UDP socket that no mode list offers.
enum class connectionMode : int {
    SerialPort = 0,
    TcpServer = 1,
    TcpClient = 2,
    NoTransport = 3,
    UdpServer = 4,
    UdpClient = 5,
    UdpMode6 = 6,
    RemoteSerialRfc2217 = 7,
    RemoteSerialCloudRelay = 8,
};

// A persisted number; anything outside 0..8 is a serial port.
[[nodiscard]] constexpr connectionMode connectionModeFromInt(int value) noexcept
{
    return value >= 0 && value <= 8 ? static_cast<connectionMode>(value)
                                    : connectionMode::SerialPort;
}

// Modes carried by one outgoing TCP socket; RFC 2217 is a TCP client with a protocol on top.
[[nodiscard]] constexpr bool connectionModeIsTcpClient(connectionMode mode) noexcept
{
    return mode == connectionMode::TcpClient || mode == connectionMode::RemoteSerialRfc2217;
}

// Modes whose far end is a serial port on another machine.
[[nodiscard]] constexpr bool connectionModeIsRemoteSerial(connectionMode mode) noexcept
{
    return mode == connectionMode::RemoteSerialRfc2217
           || mode == connectionMode::RemoteSerialCloudRelay;
}

[[nodiscard]] constexpr bool connectionModeIsUdp(connectionMode mode) noexcept
{
    return mode == connectionMode::UdpServer || mode == connectionMode::UdpClient
           || mode == connectionMode::UdpMode6;
}
