#pragma once

#include "connections/seriallines.h"
#include "settings/settings.h"

#include <QCoreApplication>
#include <QString>

// What the lamps of a pane need of a connection that ends in a serial port: the port of this
// machine, or one behind a network. The settings are those of the pane, where the requested levels
// of DTR and RTS live.
class LineDriver
{
    Q_DECLARE_TR_FUNCTIONS(LineDriver)

public:
    // How far the level of an output can be relied on.
    enum class Certainty {
        Sure,      // driven from here, or confirmed by the remote
        Requested, // asked for, not confirmed
        Automatic, // flow control drives it
    };

    using Sight = SerialLines::Sight;

    struct Level
    {
        bool high = false;
        Certainty certainty = Certainty::Sure;

        friend bool operator==(const Level&, const Level&) = default;
    };

    // What became of a request. An empty text is nothing to tell.
    struct Answer
    {
        bool done = false;
        QString text;
        int timeoutMs = 0;
    };

    LineDriver() = default;
    virtual ~LineDriver() = default;
    Q_DISABLE_COPY_MOVE(LineDriver)

    // "high" or "low".
    [[nodiscard]] static QString levelName(bool high);
    // The level of an output in words.
    [[nodiscard]] static QString stateText(Level level);

    // The inputs as they are now.
    [[nodiscard]] virtual ModemLines inputs() = 0;
    // As of the last call of inputs().
    [[nodiscard]] virtual Sight sight() const = 0;
    // DTR or RTS.
    [[nodiscard]] virtual Level output(SerialLine line, const Settings& settings) const = 0;
    // Why a person cannot drive the line at all, whatever the state of the connection; empty when
    // nothing stands against it.
    [[nodiscard]] virtual QString inertReason(SerialLine line, const Settings& settings) const = 0;
    // What pressing the send lamp does, for a tool tip.
    [[nodiscard]] virtual QString breakHint() const = 0;
    // The settings ask for another level of DTR or RTS.
    virtual Answer drive(SerialLine line, const Settings& settings) = 0;
    // Starts or ends a break; ending one never has anything to tell.
    virtual Answer setBreak(bool on) = 0;
};
