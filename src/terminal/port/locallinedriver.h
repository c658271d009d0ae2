#pragma once

#include "terminal/port/linedriver.h"

class ConnectionController;

// The lines of the serial port of this machine that a pane's controller has. Refusals of the port
// come as status messages of the controller. Owned by the pane; the controller outlives it.
class LocalLineDriver final : public LineDriver
{
    Q_DECLARE_TR_FUNCTIONS(LocalLineDriver)

public:
    explicit LocalLineDriver(ConnectionController& controller);

    // How a person is told that RTS is not theirs to set, on this machine and elsewhere.
    [[nodiscard]] static QString automaticRtsReason();

    [[nodiscard]] ModemLines inputs() override;
    [[nodiscard]] Sight sight() const override;
    [[nodiscard]] Level output(SerialLine line, const Settings& settings) const override;
    [[nodiscard]] QString inertReason(SerialLine line, const Settings& settings) const override;
    [[nodiscard]] QString breakHint() const override;
    Answer drive(SerialLine line, const Settings& settings) override;
    Answer setBreak(bool on) override;

private:
    [[nodiscard]] SerialLines* lines() const;

    ConnectionController& m_controller;
};
