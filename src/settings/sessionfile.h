#pragma once

#include "settings/sessioncodec.h"

#include <QCoreApplication>

// Session files (".vmr", INI format) on disk. Stateless.
//
// Saving never leaves half a file: the old file's keys and the new ones are put together in a
// scratch file, the result goes through a temporary file in the target's folder, is synchronised
// and renamed over the target. Whatever fails before the renaming leaves the old file whole. A
// symbolic link stays one, the file that it names is replaced; permissions are kept.
class SessionFile final
{
    Q_DECLARE_TR_FUNCTIONS(SessionFile)

public:
    SessionFile() = delete;

    // A session of sixteen panes has some 17 kB in 900 lines, plus what was typed to be sent. Files
    // beyond this are neither read nor written: parsing takes memory and time in proportion, and
    // the window would stand still for seconds.
    static constexpr qint64 kMaxBytes = qint64{8} * 1024 * 1024;
    static constexpr qsizetype kMaxLines = 50000;

    // Reads a file as far as it can be read. False with the reason in `message` (a sentence for
    // people that does not name the file), and `contents` untouched, when it is no session file or
    // cannot be read. True with a message when parts of it made no sense. `origin` gets the bytes
    // of the file, for a copy of the session.
    [[nodiscard]] static bool read(const QString& path, SessionContents& contents, QString& message,
        QByteArray* origin = nullptr);

    // Writes the session into the file, keeping the keys in it that it does not know. A copy also
    // gets those of the file that the session came from, its `origin`. False with the reason in
    // `message` when it could not be saved.
    [[nodiscard]] static bool write(const QString& path, const SessionContents& contents,
        QString& message, const SessionCodec::Progress& progress, const QByteArray& origin = {});

    // The name by which people know a session file: without its folder and without the prefix
    // "Session_".
    [[nodiscard]] static QString strippedName(const QString& path);
};
