#pragma once

#include <QtGlobal>

// The life of a connection, and every step that leads from one state to the next. The table below
// is all there is; who opens and closes transports asks it and does what the new state says.
//
//   Closed     nothing is open and nobody tries; a person or a message to send starts.
//   Opening    a person asked for it; TCP takes its time, everything else is open at once or fails.
//   Open       bytes can pass.
//   Lost       it was open, went away unasked, and is to be regained: waits for the next attempt.
//   Regaining  an attempt to regain it is under way.
//
// A connection that goes away is lost when it is to be regained and closed when not; nothing but a
// stop, or giving up, ends the attempts to regain one.
enum class ConnectionLife : quint8 { Closed, Opening, Open, Lost, Regaining };

enum class LifeEvent : quint8 {
    Start,  // an attempt begins
    Opened, // the transport is open
    Failed, // an attempt ended without a connection
    Gone,   // the far end or the device went away
    Stop,   // closed by will
    GiveUp, // it is not to be regained any more
};

// `regain` says whether a connection that goes away now is to be regained.
[[nodiscard]] ConnectionLife nextLife(ConnectionLife life, LifeEvent event, bool regain);
