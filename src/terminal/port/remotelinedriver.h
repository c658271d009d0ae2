#pragma once

#include "terminal/port/linedriver.h"

class ConnectionController;
class Rfc2217Transport;

// The lines of a serial port behind an RFC 2217 server. What is asked for is true only once the
// server has said so. Owned by the pane; the controller outlives it.
class RemoteLineDriver final : public LineDriver
{
    Q_DECLARE_TR_FUNCTIONS(RemoteLineDriver)

public:
    explicit RemoteLineDriver(ConnectionController& controller);

    [[nodiscard]] ModemLines inputs() override;
    [[nodiscard]] Sight sight() const override;
    [[nodiscard]] Level output(SerialLine line, const Settings& settings) const override;
    [[nodiscard]] QString inertReason(SerialLine line, const Settings& settings) const override;
    [[nodiscard]] QString breakHint() const override;
    Answer drive(SerialLine line, const Settings& settings) override;
    Answer setBreak(bool on) override;

private:
    // The controller's transport; null when that is another.
    [[nodiscard]] Rfc2217Transport* remote() const;

    ConnectionController& m_controller;
};
