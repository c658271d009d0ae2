#pragma once

#include <QFlags>

// Why a pane's transport is not read at the moment: it is throttled while any reason holds, so
// that one owner of a reason never opens what another still needs shut. A plain value, kept by the
// pane beside its ConnectionController.
class ReadGate final
{
public:
    enum class Reason : unsigned {
        View = 1,   // the view does not keep up, or is paused with its hold buffer full
        Bridge = 2, // the other end of a bridge does not keep up
    };
    Q_DECLARE_FLAGS(Reasons, Reason)

    // Sets or clears one reason. True when isThrottled() changed by it: only then is there
    // something to tell the transport.
    bool set(Reason reason, bool on)
    {
        const bool before = isThrottled();
        m_reasons.setFlag(reason, on);
        return isThrottled() != before;
    }

    [[nodiscard]] bool isThrottled() const { return bool(m_reasons); }
    [[nodiscard]] Reasons reasons() const { return m_reasons; }

private:
    Reasons m_reasons;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ReadGate::Reasons)
