#pragma once

#include "bridge/engine/modbusanswer.h"

#include <QList>
#include <optional>

// Sends requests one after the other and gives each its answer: one request once, one request at an
// interval, or a list of them in turn.
//
// Theory of operation. A round sends every request once, the next one when the one before is
// answered or has failed. Rounds begin an interval apart; a round that takes longer is followed at
// once by the next, and rounds that were missed are not made up for. While the line is not there
// the round waits. The owner calls due() for what is to be sent now, then sent(), and
// hands in what is received; each returns the outcome that it brings about.
//
// Memory: the requests, and the reader's streams. Value class.
class ModbusPoll final
{
public:
    static constexpr qint64 kMinIntervalMs = 10;
    static constexpr qint64 kMaxIntervalMs = 24LL * 3600 * 1000;
    static constexpr qint64 kMinTimeoutMs = 10;
    static constexpr qint64 kMaxTimeoutMs = 60'000;

    static constexpr qint64 kMaxGapMs = 1000;

    struct Item
    {
        int id = 0; // the owner's
        quint8 unit = 1;
        QByteArray pdu;
    };
    struct Outcome
    {
        int id = 0;
        ModbusAnswer answer;
    };

    struct Timing
    {
        qint64 intervalMs = 0; // from round to round; 0 for one round only
        qint64 timeoutMs = 1000;
        qint64 gapMs = 0; // of silence on the line before the next request
    };

    // Limits are enforced here. With nothing to send it does not run.
    void start(QList<Item> items, Modbus::Framing framing, const Timing& timing, qint64 nowMs);
    void stop();
    [[nodiscard]] bool isRunning() const { return !m_items.isEmpty(); }
    [[nodiscard]] bool isWaiting() const { return m_reader.isWaiting(); }

    // The frame that is to be sent now; empty when there is none. The same until sent() or stop().
    [[nodiscard]] QByteArray due(qint64 nowMs) const;
    // It was handed over; `extraMs` more than the timeout is granted, for the time on the line.
    void sent(qint64 nowMs, qint64 extraMs = 0);
    // It has not left yet: the time for the answer has not begun.
    void stillLeaving(qint64 nowMs) { m_reader.restartClock(nowMs); }

    std::optional<Outcome> receive(const QByteArray& bytes, const QString& peer, qint64 nowMs);
    std::optional<Outcome> tick(qint64 nowMs);
    // Milliseconds until something is due, 0 when it already is, -1 for nothing.
    [[nodiscard]] qint64 nextTimeoutMs(qint64 nowMs) const;

private:
    std::optional<Outcome> conclude(std::optional<ModbusAnswer> answer, qint64 nowMs);

    QList<Item> m_items; // in turn
    qsizetype m_at = 0;
    Modbus::Framing m_framing = Modbus::Framing::Rtu;
    Timing m_timing;
    qint64 m_roundMs = 0; // when the round began
    qint64 m_nextMs = 0;  // when the next request may go
    quint16 m_transaction = 0;
    ModbusAnswerReader m_reader;
};
