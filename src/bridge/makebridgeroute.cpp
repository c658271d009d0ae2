#include "bridge/bridgeconfig.h"
#include "bridge/flowroute.h"
#include "bridge/modbusroute.h"

namespace {

bool isNetwork(const BridgeEnd& end)
{
    const connectionMode mode = end.endpoint().mode();
    return mode == connectionMode::TcpServer || mode == connectionMode::TcpClient
           || connectionModeIsUdp(mode);
}

// Where the clients of a shared line are: at the server, or else at the network.
BridgeSide clientSide(const BridgeRoute::Ends& ends)
{
    if (ends[0]->endpoint().isServer() || ends[1]->endpoint().isServer())
        return ends[0]->endpoint().isServer() ? BridgeSide::A : BridgeSide::B;
    return isNetwork(*ends[0]) || !isNetwork(*ends[1]) ? BridgeSide::A : BridgeSide::B;
}

} // namespace

std::unique_ptr<BridgeRoute> makeBridgeRoute(
    const BridgeRoute::Ends& ends, const BridgeConfig& config)
{
    const BridgeSide clients = clientSide(ends);
    if (config.protocol == ProtocolMode::ModbusGateway)
        return std::make_unique<ModbusRoute>(ends, clients, config);
    const bool server = ends[std::size_t(clients)]->endpoint().isServer();
    if (config.fanout == FanoutMode::TakeTurns && server)
        return std::make_unique<TurnsRoute>(ends, clients, config);
    return std::make_unique<FlowRoute>(ends, config);
}
