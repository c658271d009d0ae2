#pragma once

#include "terminal/format/displayrecord.h"
#include "terminal/format/displaystate.h"
#include "terminal/format/sendmodes.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

struct FormatSetting;
struct LogState;
class WireTextDecoder;

// What a typed message becomes.
struct EncodeSendResult
{
    QByteArray bytes;    // to send, checksum included; empty unless ok
    QString displayText; // for the editor and the history
    QString error;       // for people; empty on success
    bool ok = false;
};

// The stateless functions between bytes on the wire and text before eyes, shared by display, log
// and send editor. What must be remembered between calls is passed in: the text decoder and the
// DisplayState or LogState.
class MessageCodec final
{
public:
    MessageCodec() = delete;

    // --- received and sent bytes as shown text

    // Two upper-case digits and a blank per byte.
    [[nodiscard]] static QString toHexString(QByteArrayView bytes);
    static void appendHexString(QByteArrayView bytes, QString& text);
    // CR LF and LF CR become LF, and the stamp follows every LF except one at the very end.
    [[nodiscard]] static QString insertTimeStamp(const QString& text, const QString& stamp);
    // Makes visible what a text view would hide or take as structure; see sanitize().
    [[nodiscard]] static QString sanitizeText(QString text);
    // The decoder's text, sanitized. An unfinished character stays in the decoder.
    [[nodiscard]] static QString decodeWireText(QByteArrayView bytes, WireTextDecoder& decoder);
    // Appends the text for the view of a traffic record, by the format of its direction. It
    // holds no CR: CR LF and LF CR are one line feed, other CRs are dropped. It may be empty. For
    // records of one time any cutting of the bytes gives the same text in total, except that a
    // record that is one lone LF is skipped when the shown text already ends with a line feed.
    //
    // A line feed goes in front when the view is in mid line and either a pause longer than the
    // configured gap lies before the record, or stamps are on and the line belongs to the other
    // direction. With stamps on every display line begins with exactly one.
    static void appendForUi(const rxData& record, const FormatSetting& format, DisplayState& state,
        WireTextDecoder& decoder, QString& text);
    // The same as a text of its own.
    [[nodiscard]] static QString decodeForUi(const rxData& record, const FormatSetting& format,
        DisplayState& state, WireTextDecoder& decoder);
    // Appends the text to record, with the log's own stamp. The log is evidence: control characters
    // and line ends stand in it as they came. Line feeds that a pause or a stamp needs are added by
    // the rules of appendForUi().
    // State and decoder belong to the log alone. A line about the port is recorded as shown.
    static void appendForLog(const rxData& record, const FormatSetting& format, LogState& state,
        WireTextDecoder& decoder, QString& text);
    [[nodiscard]] static QString decodeForLog(const rxData& record, const FormatSetting& format,
        LogState& state, WireTextDecoder& decoder);

    // The text to append for a record that is a line about the port (rxData::status): on a line of
    // its own, every CR LF and every other CR a line feed.
    [[nodiscard]] static QString decodeStatus(QByteArrayView bytes, DisplayState& state);

    // --- typed text as bytes to send

    // Text: line ending by txLineEndingMode, encoding by sendEncoding, then the checksum; fails
    // when the encoding lacks a character. Hexadecimal: the lenient rule up to a first "//", then
    // the checksum; never fails. Empty text is ok and gives nothing.
    [[nodiscard]] static EncodeSendResult encodeSend(
        const QString& text, bool hexadecimal, const FormatSetting& format);
    // Every LF becomes the mode's line ending; None, LF and unknown modes leave all as it is.
    [[nodiscard]] static QString applyLineEnding(const QString& text, int mode);
    // The same on the bytes 0x0A and 0x0D, for encodings that hold ASCII.
    [[nodiscard]] static QByteArray applyLineEnding(const QByteArray& bytes, int mode);
    // The bytes with their checksum behind them (see ChecksumMode): two-byte and four-byte sums
    // low byte first. Empty bytes and unknown modes get none.
    [[nodiscard]] static QByteArray appendChecksum(const QByteArray& bytes, int mode);
    // GetHexValue.
    [[nodiscard]] static QByteArray fromHexString(const QString& text);
    // CR for every mode but LF, CR & LF and LF & CR.
    [[nodiscard]] static QByteArray terminalEnterBytes(int mode);
};
