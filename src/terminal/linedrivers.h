#pragma once

#include "terminal/locallinedriver.h"
#include "terminal/remotelinedriver.h"

// The line drivers of a pane, one for each kind of transport that ends in a serial port.
class LineDrivers final
{
public:
    LineDrivers(ConnectionController& controller, RemoteSerialLink& remote)
        : m_local(controller)
        , m_remote(remote)
    {}

    // Null for a transport without control lines.
    [[nodiscard]] LineDriver* of(connectionMode mode)
    {
        if (mode == connectionMode::SerialPort)
            return &m_local;
        return mode == connectionMode::RemoteSerialRfc2217 ? &m_remote : nullptr;
    }

private:
    LocalLineDriver m_local;
    RemoteLineDriver m_remote;
};
