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
    // The same while the port is closed, and where a port does not tell.
    [[nodiscard]] static QString waitingText(Level level);
    [[nodiscard]] static QString unknownText();

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
    // What a person is to hear once the settings ask for another level of DTR or RTS.
    [[nodiscard]] virtual Answer requested(SerialLine line, const Settings& settings) const = 0;
    // Starts or ends a break; ending one never has anything to tell.
    virtual Answer setBreak(bool on) = 0;
};

class ConnectionController;
class Rfc2217Transport;

// The lines of a serial port of this machine. Refusals of the port come as notices of its
// transport. Owned by the live port, as the other kind; the controller outlives both.
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
    [[nodiscard]] Answer requested(SerialLine line, const Settings& settings) const override;
    Answer setBreak(bool on) override;

private:
    [[nodiscard]] SerialLines* lines() const;

    ConnectionController& m_controller;
};

// The lines of a serial port behind an RFC 2217 server. What is asked for is true only once the
// server has said so.
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
    [[nodiscard]] Answer requested(SerialLine line, const Settings& settings) const override;
    Answer setBreak(bool on) override;

private:
    // Null while the transport is another.
    [[nodiscard]] Rfc2217Transport* remote() const;

    ConnectionController& m_controller;
};
