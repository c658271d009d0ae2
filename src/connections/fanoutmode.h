#pragma once

// How many clients of a TCP server share its port. The numbers are persisted.
enum class FanoutMode : int {
    Shared = 0,    // every client sends and receives
    Exclusive = 1, // one client at a time, further ones are refused
    TakeTurns = 2, // every client, one request at a time; a bridge arbitrates
};

// A persisted number; what is neither 0 nor 2 is the exclusive mode, the one that mixes nothing.
[[nodiscard]] constexpr FanoutMode fanoutModeFromInt(int value) noexcept
{
    return value == 0 || value == 2 ? static_cast<FanoutMode>(value) : FanoutMode::Exclusive;
}
