#pragma once

#include <QByteArray>
#include <QString>

// What was received at once, and from whom where there are several.
struct Chunk
{
    QByteArray bytes;
    QString peer;
    // Continues what came before. False for the records of a peer among others: a datagram, or what
    // one client of a server sent.
    bool fromStream = true;
};

// What became of bytes that were given to a transport. Never a part of them.
struct WriteResult
{
    enum class Refusal {
        None,    // taken
        Nothing, // there were no bytes
        NotOpen,
        NoPeer, // nobody of that key, or nobody at all
        Full,   // more wait already than may
        Failed, // the system refused
    };

    Refusal refusal = Refusal::None;
    QString reason; // in words; empty when taken
    // Taken, and not on its way: the connection does not stand yet, or the host of a datagram is
    // being looked up.
    bool waits = false;

    [[nodiscard]] static WriteResult waiting() { return {Refusal::None, {}, true}; }

    [[nodiscard]] bool taken() const { return refusal == Refusal::None; }
};

// Why a connection, or the attempt to make one, is over.
struct CloseReason
{
    enum class Kind {
        ByWill, // close()
        ByPeer, // the other end closed it
        Lost,   // the device vanished, or the connection broke
        Failed, // it never stood
    };

    Kind kind = Kind::ByWill;
    QString text; // what the system says; empty by will
    // Taken and now discarded. What is still leaving is not among them.
    qint64 unsentBytes = 0;
};

// Which buffers of a port to clear; the numbers are those of RFC 2217's PURGE-DATA.
enum class Purge : int { Input = 1, Output = 2, Both = 3 };

[[nodiscard]] constexpr bool purgesInput(Purge which) noexcept
{
    return which != Purge::Output;
}
[[nodiscard]] constexpr bool purgesOutput(Purge which) noexcept
{
    return which != Purge::Input;
}
