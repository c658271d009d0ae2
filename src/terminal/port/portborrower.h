#pragma once

#include "connections/transporttypes.h"

#include <QString>

// Whoever borrows a live port for a while, as a file transfer does. It sees what is received
// before everybody else, and takes what is meant for it: that is neither tapped nor shown nor
// logged. Nobody else sends, drives the lines, pauses or changes the line meanwhile.
class PortBorrower
{
    Q_DISABLE_COPY_MOVE(PortBorrower)

public:
    virtual ~PortBorrower() = default;
    // True when the chunk was its own.
    virtual bool takes(const Chunk& chunk) = 0;
    // Why a person may not send now, and not touch the lines.
    [[nodiscard]] virtual QString sendingRefusal() const = 0;
    [[nodiscard]] virtual QString linesRefusal() const = 0;
    [[nodiscard]] virtual QString pauseRefusal() const = 0;
    // What is said when the settings of the line change: they wait.
    [[nodiscard]] virtual QString settingsRefusal() const = 0;

protected:
    PortBorrower() = default;
};
