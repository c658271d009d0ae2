#pragma once

#include "settings/sessioncontents.h"

#include <functional>

class QSettings;

// The keys of a session file: those of the whole workspace here, those of each pane through
// PortSessionCodec; those of bridges pass as they are. Works on an INI store that the caller has
// opened; keys of newer versions it neither reads nor touches.
namespace SessionCodec {

// 0 to 100.
using Progress = std::function<void(int percent)>;

// Whether the key is one that this version reads and writes.
[[nodiscard]] bool isOwnKey(const QString& key);
// Whether the store holds anything that a session would.
[[nodiscard]] bool isSession(const QSettings& file);

// What can be read, with defaults for what is missing. The numbers of panes and columns are
// clamped to 1..16, however far off they are; texts and lists of absurd length are cut.
[[nodiscard]] SessionContents read(const QSettings& file);

// Writes the keys in the order of the file format.
void write(QSettings& file, const SessionContents& contents, const Progress& progress);

} // namespace SessionCodec
