#pragma once

#include <QByteArray>
#include <QString>

struct FormatSetting;

// Bytes from a tool window put into a send editor without changing what the editor would send for
// the rest.
//
// Printable ASCII goes into a text as it is. Other bytes have no text that is sure to become them
// again, so the editor turns to hexadecimal: what stood there is written as the bytes it would
// have been sent as (without line ending and checksum, which the options still add), and the new
// bytes follow.
struct SendInsertion
{
    QString text;     // the editor's whole content afterwards
    bool hexadecimal; // the input mode it is to be read in
    QString error;    // for people: the present text has no bytes in the send encoding

    [[nodiscard]] static SendInsertion append(const QString& text, bool hexadecimal,
        const FormatSetting& format, const QByteArray& bytes);
};
