#pragma once

#include "bridge/bridgeconfig.h"

#include <QList>
#include <QVariantMap>

class QSettings;

// The bridges in a store of settings or a session file: "Bridge/Count" and, for each bridge from 0,
// "Bridge/INDEX/NAME" (SettingsKey::bridgeKey). The names of the keys are fixed by the files that
// people have. Stateless.
namespace BridgeCodec {

// One for each ordered pair of sixteen ports; more are neither read nor written.
inline constexpr int kMaxBridges = 240;

// The values of the group "Bridge" by their names in it, "Count" and "INDEX/NAME".
[[nodiscard]] QVariantMap toMap(const QList<BridgeConfig>& configs);
[[nodiscard]] QList<BridgeConfig> fromMap(const QVariantMap& map);

// Every number in its range, every unknown value replaced by its default, whatever the store holds.
[[nodiscard]] QList<BridgeConfig> load(const QSettings& store);
// Leaves nothing of bridges that were there before.
void save(QSettings& store, const QList<BridgeConfig>& configs);

// A delimiter as people write it, "0D0A" or "0d 0a"; false when it is not that, or empty.
[[nodiscard]] bool delimiterFromHex(const QString& text, QByteArray& delimiter);
[[nodiscard]] QString delimiterToHex(const QByteArray& delimiter);

} // namespace BridgeCodec
