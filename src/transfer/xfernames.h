#pragma once

#include <QString>
#include <functional>

// Names of received files: what a device sends is a proposal from outside, and may be anything.

// The longest name that file systems take, in bytes of UTF-8.
inline constexpr int kXferMaxNameBytes = 255;

// A file name that is safe on every system: without a directory or drive, control characters,
// reserved characters and device names, and at most `limit` bytes long in UTF-8 (1 to
// kXferMaxNameBytes). When nothing is left of it, "received_%1.bin" with the number.
[[nodiscard]] QString xferSafeFileName(
    const QString& name, int limit = kXferMaxNameBytes, int number = 1);

// The path of a file in the directory that does not exist, not as a symbolic link either: the name
// itself, "name (1).suffix" and so on up to 9999, then one with the time.
[[nodiscard]] QString xferUniquePath(const QString& directory, const QString& name);
// The same for a name that may be taken in other ways.
[[nodiscard]] QString xferUniquePath(const QString& directory, const QString& name,
    const std::function<bool(const QString& path)>& isTaken);
