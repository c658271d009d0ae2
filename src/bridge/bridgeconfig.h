#pragma once

#include "bridge/engine/flowcontrolpolicy.h"
#include "bridge/engine/framingpolicy.h"
#include "connections/fanoutmode.h"

#include <QString>
#include <QStringList>

// What is forwarded. The numbers are persisted.
enum class BridgeDirection : int { AToB = 0, BToA = 1, Both = 2 };

[[nodiscard]] constexpr BridgeDirection bridgeDirectionFromInt(int value) noexcept
{
    return value == 0 || value == 1 ? BridgeDirection(value) : BridgeDirection::Both;
}

// Whom a UDP end sends to. The numbers are persisted.
enum class UdpTargetMode : int { LastSender = 0, Fixed = 1, AllPeers = 2 };

[[nodiscard]] constexpr UdpTargetMode udpTargetModeFromInt(int value) noexcept
{
    return value == 1 || value == 2 ? UdpTargetMode(value) : UdpTargetMode::LastSender;
}

// What is spoken between the ends. The numbers are persisted.
enum class ProtocolMode : int {
    Transparent = 0,
    Rfc2217Server = 1, // on the TCP server end: its clients set the other end's serial parameters
    ModbusGateway = 2, // Modbus TCP on the network end, Modbus RTU on the other
    Rfc2217Client = 3, // on the TCP client end: the device server there is set
};

[[nodiscard]] constexpr ProtocolMode protocolModeFromInt(int value) noexcept
{
    return value >= 1 && value <= 3 ? ProtocolMode(value) : ProtocolMode::Transparent;
}

// One bridge as it is configured and stored: a plain value. Fields hold whatever was read;
// sanitized() is the one place that brings them into range. Port indexes count from 0 and are
// checked by the manager, which knows how many ports there are.
struct BridgeConfig
{
    static constexpr int kMinTimeoutMs = 1;
    static constexpr int kMaxTimeoutMs = 600'000;
    static constexpr int kMaxQueuedRequests = 4096;
    static constexpr qint64 kMinRotateBytes = 4096;
    static constexpr qint64 kMaxRotateBytes = qint64{1} << 40;
    static constexpr qint64 kMaxMuteBytesPerSec = qint64{1} << 40;
    static constexpr qsizetype kMaxNameLength = 200;
    static constexpr qsizetype kMaxAllowedPeers = 1000;

    QString name;
    int portA = 0;
    int portB = 1;
    BridgeDirection direction = BridgeDirection::Both;
    bool enabled = true;
    // Whatever opens one end opens the other, and one that could not be opened is tried again.
    bool autoOpenPeer = false;
    bool showForwardedInDisplay = true;
    qint64 displayMuteBytesPerSec = 65'536; // 0 to kMaxMuteBytesPerSec; 0 mutes always
    FramingPolicy framing;
    FlowControlPolicy flow;
    FanoutMode fanout = FanoutMode::Exclusive;
    UdpTargetMode udpTarget = UdpTargetMode::LastSender;
    ProtocolMode protocol = ProtocolMode::Transparent;
    int modbusTransactionTimeoutMs = 1000; // kMinTimeoutMs to kMaxTimeoutMs
    int arbiterResponseTimeoutMs = 1000;   // the same
    int arbiterMaxQueuedRequests = 64;     // 1 to kMaxQueuedRequests
    // A request that no device answers is answered with an exception of the gateway.
    bool modbusExceptions = false;
    QStringList allowedPeers; // addresses and subnets; none allows everybody
    bool logEnabled = false;
    QString logFilePath;
    bool logHex = true;
    qint64 logRotateBytes = 16'777'216; // kMinRotateBytes to kMaxRotateBytes

    [[nodiscard]] BridgeConfig sanitized() const;
    [[nodiscard]] bool forwardsAToB() const { return direction != BridgeDirection::BToA; }
    [[nodiscard]] bool forwardsBToA() const { return direction != BridgeDirection::AToB; }
    [[nodiscard]] bool uses(int port) const { return portA == port || portB == port; }

    friend bool operator==(const BridgeConfig&, const BridgeConfig&) = default;
};
