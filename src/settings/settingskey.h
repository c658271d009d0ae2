#pragma once

#include <QString>

// Names of persisted keys that are composed of parts.
namespace SettingsKey {

// "Bridge/INDEX/NAME": a field of the bridge with that zero-based index.
[[nodiscard]] QString bridgeKey(int index, const QString& name);
// "INDEX/NAME": a field of the pane with that zero-based index in a session file.
[[nodiscard]] QString paneKey(int index, const QString& name);
// "QuickSettings/Fields/GROUP/Order" and ".../Hidden".
[[nodiscard]] QString quickFieldOrder(const QString& group);
[[nodiscard]] QString quickFieldsHidden(const QString& group);

} // namespace SettingsKey
