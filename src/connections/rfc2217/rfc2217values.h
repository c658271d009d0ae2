#pragma once

#include <QtGlobal>

// The numbers of Telnet (RFC 854) and of its com-port option (RFC 2217) that appear on the wire.
namespace Rfc2217 {

// RFC 854, "TELNET command structure".
constexpr quint8 SE = 240;
constexpr quint8 SB = 250;
constexpr quint8 WILL = 251;
constexpr quint8 WONT = 252;
constexpr quint8 DO = 253;
constexpr quint8 DONT = 254;
constexpr quint8 IAC = 255;

// Telnet options: RFC 856, RFC 858, RFC 2217.
constexpr quint8 kBinary = 0;
constexpr quint8 kSuppressGoAhead = 3;
constexpr quint8 kComPort = 44;

// RFC 2217, 3: client to server; the server answers with the code plus kServerOffset.
enum Command : quint8 {
    Signature = 0,
    SetBaudRate = 1,
    SetDataSize = 2,
    SetParity = 3,
    SetStopSize = 4,
    SetControl = 5,
    NotifyLineState = 6,
    NotifyModemState = 7,
    FlowControlSuspend = 8,
    FlowControlResume = 9,
    SetLineStateMask = 10,
    SetModemStateMask = 11,
    PurgeData = 12,
};
constexpr quint8 kServerOffset = 100;

// RFC 2217, SET-CONTROL.
enum Control : quint8 {
    FlowInquiry = 0,
    FlowNone = 1,
    FlowXonXoff = 2,
    FlowRtsCts = 3,
    BreakInquiry = 4,
    BreakOn = 5,
    BreakOff = 6,
    DtrInquiry = 7,
    DtrOn = 8,
    DtrOff = 9,
    RtsInquiry = 10,
    RtsOn = 11,
    RtsOff = 12,
};

// RFC 2217, NOTIFY-MODEMSTATE: the levels of the inputs. The low half of the byte tells which of
// them have changed, in the same order.
enum ModemState : quint8 {
    Cts = 0x10,
    Dsr = 0x20,
    Ri = 0x40,
    Dcd = 0x80,
};

// RFC 2217, PURGE-DATA.
enum Purge : quint8 {
    PurgeReceive = 1,  // what the port has received and not yet sent to the client
    PurgeTransmit = 2, // what waits to leave the port
    PurgeBoth = 3,
};

} // namespace Rfc2217
