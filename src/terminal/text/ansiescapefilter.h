#pragma once

#include <QByteArray>
#include <QByteArrayView>

// Takes the terminal escape sequences out of received bytes, so that a device that talks to a
// colour terminal is readable in a plain view. Control sequences (ESC "[" ... final, or 0x9B ...)
// and operating-system command strings (ESC "]" ... BEL or ST, or 0x9D ...) vanish; a lone ESC, a
// broken sequence and one that is longer than its bound come out as they went in.
//
// Data flow: the pane's receive pipeline, one filter per pane, fed chunk by chunk before the text
// decoder; a sequence cut between two chunks is filtered as if it came in one. Memory is bounded
// by the two lengths below. ECMA-48 names the sequences and the final bytes.
class AnsiEscapeFilter final
{
public:
    // Bytes of a control sequence, introducer included, at which it stops being one.
    static constexpr qsizetype kMaxControlSequence = 257;
    // The same for a command string.
    static constexpr qsizetype kMaxCommandString = 4097;

    // Gives the bytes that are to be shown. Nothing but the bytes of an unfinished sequence is
    // held for the next call.
    [[nodiscard]] QByteArray process(QByteArrayView bytes);
    // The same in place; bytes without a sequence, which most are, are not copied.
    void filter(QByteArray& bytes);
    // Not within a sequence: the next byte is taken as it would be at the start.
    [[nodiscard]] bool isIdle() const { return m_state == State::Ground; }
    // The bytes of an unfinished sequence, which end here; back to plain bytes.
    [[nodiscard]] QByteArray takePending();
    // Back to plain bytes; the bytes of an unfinished sequence are dropped.
    void reset();

    // Whether the single bytes 0x9B and 0x9D introduce sequences, as they do in ISO-8859-1 (the
    // default). In other encodings these values are parts of characters: in UTF-8 every second
    // Chinese line holds one, and the characters that follow 0x9D would vanish up to the line end.
    void setSingleByteIntroducers(bool on);

private:
    enum class State { Ground, Escape, ControlSequence, CommandString, CommandStringEscape };

    // Each takes one byte and appends what is shown because of it.
    void takeEscape(char byte, QByteArray& out);
    void takeControlSequence(char byte, QByteArray& out);
    void takeCommandString(char byte, QByteArray& out);
    void takeCommandStringEscape(char byte, QByteArray& out);
    [[nodiscard]] bool endsCommandString(char byte, QByteArray& out);
    void introduce(char byte);
    // Both end the sequence.
    void show(QByteArray& out);
    void drop();

    State m_state = State::Ground;
    QByteArray m_pending; // at most kMaxCommandString + 1 bytes
    bool m_singleByteIntroducers = true;
};
