#pragma once

#include "terminal/port/linedriver.h"

class RemoteSerialLink;

// The lines of a serial port behind an RFC 2217 server. What is asked for is true only once the
// server has said so. Owned by the pane; the link outlives it.
class RemoteLineDriver final : public LineDriver
{
    Q_DECLARE_TR_FUNCTIONS(RemoteLineDriver)

public:
    explicit RemoteLineDriver(RemoteSerialLink& link);

    [[nodiscard]] ModemLines inputs() override;
    [[nodiscard]] Sight sight() const override;
    [[nodiscard]] Level output(SerialLine line, const Settings& settings) const override;
    [[nodiscard]] QString inertReason(SerialLine line, const Settings& settings) const override;
    [[nodiscard]] QString breakHint() const override;
    [[nodiscard]] Answer requested(SerialLine line, const Settings& settings) const override;
    Answer setBreak(bool on) override;

private:
    RemoteSerialLink& m_link;
};
