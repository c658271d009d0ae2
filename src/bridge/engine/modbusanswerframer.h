#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// Cuts what a Modbus RTU line brings behind a request into answers. The length of an answer
// follows from its function code (Modbus Application Protocol V1.1b3, chapter 6), so it is
// complete when its last byte is there and not only after a silence.
//
// Theory of operation. expect() names the request that has just gone out.
//  - expecting: bytes are collected. When as many are there as the answer needs and its checksum
//    is right, it comes out as Answer if it fits the request (unit, function code or that of an
//    exception, the number of values asked for, the address that was written), which ends the
//    expectation, and else as Foreign: another unit, or an answer to an earlier request.
//    Anything else ends by silence on the line: an answer of a function code with a length of its
//    own (Answer or Foreign), or what is no frame (Damaged).
//  - not expecting: what comes is late, comes twice or was not asked for, and is Foreign at once.
// No byte is lost: the pieces joined are the bytes that went in.
//
// Time: nextTimeoutMs() says when to call tick(); ingest() and expect() first do what was due.
// Memory: at most kMaxFrameBytes are held; a line that brings more without a silence is Damaged.
// Value class, one for each line of a bridge link.
class ModbusAnswerFramer final
{
public:
    static constexpr qsizetype kMaxFrameBytes = 256; // Modbus over Serial Line V1.02, 2.5.1
    static constexpr int kMinSilenceMs = 1;
    static constexpr int kMaxSilenceMs = 60'000;
    // Far longer than the 3.5 characters of the standard, as adapters on a USB or a network hand
    // an answer over in pieces; it delays none whose length is known.
    static constexpr int kDefaultSilenceMs = 50;

    enum class Kind { Answer, Foreign, Damaged };

    struct Piece
    {
        Kind kind = Kind::Damaged;
        QByteArray bytes; // an answer or foreign frame with its checksum
    };

    // Clamped to kMinSilenceMs to kMaxSilenceMs.
    explicit ModbusAnswerFramer(int silenceMs = kDefaultSilenceMs);

    // An RTU frame has gone out; a broadcast has no answer, so nothing is expected then. What was
    // held from before comes out.
    QList<Piece> expect(QByteArrayView rtuRequest, qint64 nowMs);
    // The turn is over; what is held comes out.
    QList<Piece> expectNothing(qint64 nowMs);
    // What the line brought.
    QList<Piece> ingest(QByteArrayView bytes, qint64 nowMs);
    // What ends by silence.
    QList<Piece> tick(qint64 nowMs);
    // Milliseconds until tick() is due, 0 when it already is, -1 while nothing is held.
    qint64 nextTimeoutMs(qint64 nowMs) const;

    // When the line had been silent for long enough behind the last byte that came.
    qint64 silentAtMs() const { return m_lastByteMs + m_silenceMs; }
    bool isExpecting() const { return !m_request.isEmpty(); }
    qsizetype bufferedBytes() const { return m_buffer.size(); }

    // How long an answer is that begins with these bytes, with unit and checksum: 0 while that is
    // not known yet, -1 for a function code that does not tell.
    static qsizetype answerLength(QByteArrayView answerStart);
    // Whether a whole answer with a valid checksum answers a whole request.
    static bool answers(QByteArrayView rtuAnswer, QByteArrayView rtuRequest);

private:
    void cutAnswers(QList<Piece>& pieces);
    void cutAll(QList<Piece>& pieces);

    int m_silenceMs;
    QByteArray m_request; // what was asked; empty when nothing is expected
    QByteArray m_buffer;  // at most kMaxFrameBytes between calls
    qint64 m_lastByteMs = 0;
};
