#pragma once

#include "bridge/engine/modbuspdu.h"

#include <QHash>
#include <optional>

// What came of one Modbus request, as its sender sees it.
struct ModbusAnswer
{
    enum class Kind : quint8 {
        Data,          // the answer, with what was asked for
        Exception,     // the device refuses and says why
        BadChecksum,   // the length of an answer, and a CRC that does not match
        Mismatch,      // a whole answer that speaks of something else than the request
        OtherUnit,     // a whole frame, from another device
        OtherFunction, // a whole frame, with another function code
        Incomplete,    // bytes, but no frame
        Silent,        // nothing
        Broadcast,     // nothing is to come
    };

    Kind kind = Kind::Silent;
    QByteArray frame;     // as it came; of Incomplete what there is of it
    QByteArray pdu;       // of every whole frame
    QString peer;         // who sent it, where a port has peers
    qint64 latencyMs = 0; // from the request to this
    int unit = -1;        // of every whole frame

    // One sentence for people.
    [[nodiscard]] QString text() const;
};

// Finds the answer to one request at a time in what a port receives.
//
// Theory of operation. ask() begins; feed() takes whatever arrives and gives the answer when its
// last byte is there, as the function code and what follows it tell the length; only a function
// without a known length ends by silence (kQuietMs). An answer is looked for at every place: before
// it may stand noise of a line that turns around, the request itself from an adapter that hears
// itself, or the late answer to another request. What looks like an answer and has a wrong checksum
// waits for kQuietMs, because the right one may stand behind it. When the time is over, what came
// is judged: nothing, too little, damaged, or of somebody else. While bytes arrive the time is not
// over, for up to kMaxArrivalMs more: an answer of 256 bytes takes 9 s at 300 baud. What comes
// after that reaches nobody. Answers of different peers are kept apart.
//
// Bounds: kMaxPeers streams of kMaxStreamBytes, of which the oldest bytes go first; what further
// peers send is not looked at. Value class.
class ModbusAnswerReader final
{
public:
    static constexpr qsizetype kMaxStreamBytes = 2048;
    static constexpr int kMaxPeers = 16;
    static constexpr qint64 kQuietMs = 100;
    static constexpr qint64 kMaxArrivalMs = 10'000;
    // After a broadcast the line is left alone so long (Modbus over Serial Line V1.02, 2.4.1).
    static constexpr qint64 kTurnaroundMs = 100;

    struct Question
    {
        Modbus::Framing framing = Modbus::Framing::Rtu;
        quint16 transaction = 0; // of Modbus TCP
        quint8 unit = 1;         // 0 is a broadcast on a serial line, without an answer
        QByteArray pdu;          // not empty
        qint64 timeoutMs = 1000;
    };

    // Forgets the question before.
    void ask(const Question& question, qint64 nowMs);
    // The request has left only now: the time begins again.
    void restartClock(qint64 nowMs);
    void cancel();
    [[nodiscard]] bool isWaiting() const { return m_waiting; }

    // The answer, once. At most one of feed() and tick() gives it.
    std::optional<ModbusAnswer> feed(const QByteArray& bytes, const QString& peer, qint64 nowMs);
    std::optional<ModbusAnswer> tick(qint64 nowMs);
    // Milliseconds until tick() is due, 0 when it already is, -1 when nothing is awaited.
    [[nodiscard]] qint64 nextTimeoutMs(qint64 nowMs) const;

private:
    enum class Fit : quint8 { None, NeedsMore, OpenEnded, Damaged, Whole };
    struct Candidate
    {
        Fit fit = Fit::None;
        ModbusAnswer answer;
    };

    struct Stream
    {
        QByteArray bytes;                    // at most kMaxStreamBytes
        qsizetype from = 0;                  // where something may begin that is not judged yet
        std::optional<ModbusAnswer> damaged; // the first one
        bool mayHaveEnded = false;           // with a whole frame of a function without a length
    };

    std::optional<ModbusAnswer> search(Stream& stream) const;
    [[nodiscard]] Candidate candidateAt(QByteArrayView stream, bool anyone) const;
    [[nodiscard]] Candidate rtuCandidate(QByteArrayView stream, bool anyone) const;
    [[nodiscard]] Candidate tcpCandidate(QByteArrayView stream, bool anyone) const;
    [[nodiscard]] std::optional<ModbusAnswer> find(Fit fit, bool anyone) const;
    [[nodiscard]] ModbusAnswer judged() const;
    [[nodiscard]] ModbusAnswer::Kind kindOf(int unit, QByteArrayView pdu) const;
    [[nodiscard]] bool isBroadcast() const;
    [[nodiscard]] qint64 deadlineMs() const;
    ModbusAnswer finish(ModbusAnswer answer, qint64 nowMs);

    Question m_question;
    QByteArray m_echo; // the request as it would be heard; empty where it could be the answer
    QHash<QString, Stream> m_streams; // by peer; at most kMaxPeers
    qint64 m_askedMs = 0;
    qint64 m_startMs = 0; // of the time that an answer has
    qint64 m_lastByteMs = 0;
    bool m_waiting = false;
    bool m_settlesWhenQuiet = false; // silence decides: no length is known, or it is damaged
};
