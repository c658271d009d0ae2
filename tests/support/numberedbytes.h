#pragma once

#include <QByteArray>

// Bytes that tell a lost, doubled or moved piece by their content.
inline QByteArray numberedBytes(qsizetype size)
{
    QByteArray bytes;
    for (int i = 0; bytes.size() < size; ++i)
        bytes += QByteArray::number(i) + ' ';
    bytes.truncate(size);
    return bytes;
}
