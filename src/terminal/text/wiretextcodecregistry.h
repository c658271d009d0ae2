#pragma once

#include "terminal/text/wiretextdecoder.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <memory>

// The one place that knows the text encodings: their names and aliases, how text becomes bytes
// and who decodes bytes. Names are matched without regard to case, blanks, "-" and "_". All
// functions are static and stateless; the conversion tables are Qt's and shared.
class WireTextCodecRegistry final
{
    Q_DECLARE_TR_FUNCTIONS(WireTextCodecRegistry)

public:
    struct EncodeResult
    {
        QByteArray bytes; // empty unless ok
        bool ok = false;
        QString error; // for people; empty when ok
    };

    WireTextCodecRegistry() = delete;

    [[nodiscard]] static QString defaultEncoding();
    // The names to show, in the order of the list; without those the running system cannot do.
    [[nodiscard]] static QStringList supportedEncodings();
    // The shown name for a name or alias, the default's for an unknown one.
    [[nodiscard]] static QString normalizeName(const QString& name);
    // True for every name and alias of the table, whatever codecs the system has.
    [[nodiscard]] static bool isSupported(const QString& name);

    // Encodes all of the text or nothing. Only bytes that decode to the same text again count as
    // encoded: a character that the encoding lacks is an error, never a look-alike or "?".
    // Unknown names encode as UTF-8. No byte order mark is added.
    [[nodiscard]] static EncodeResult encode(QStringView text, QStringView encodingName);
    // Never null; an unknown name gives a UTF-8 decoder.
    [[nodiscard]] static std::unique_ptr<WireTextDecoder> createDecoder(QStringView encodingName);
};
