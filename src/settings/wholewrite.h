#pragma once

#include <QFileDevice>

// Writes all of the bytes and hands them to the system; else false, with the reason in the file's
// errorString(). A disk that fills up takes a part of them first, and says why only when it is
// asked to take the rest.
[[nodiscard]] inline bool writeWhole(QFileDevice& file, const QByteArray& bytes)
{
    for (qint64 done = 0; done < bytes.size();) {
        const qint64 written = file.write(bytes.constData() + done, bytes.size() - done);
        if (written <= 0)
            return false;
        done += written;
    }
    return file.flush();
}
