#pragma once

#include "settings/sessionstate.h"

class QSettings;

// Defaults of the workspace and its road to and from the application store. Stateless.
class SettingsService final
{
public:
    SettingsService() = delete;

    [[nodiscard]] static SessionState defaults();
    [[nodiscard]] static Settings defaultPortSettings(const QString& portName);
    [[nodiscard]] static FormatSetting defaultFormatSettings();

    // Every key of the application store over defaults(). A missing or unreadable value leaves the
    // default; encodings, the group order and the size of the display font come back normalised.
    [[nodiscard]] static SessionState load(const QSettings& store);
    // Writes the keys that load() reads, except three: "LastLogFileName" is read only, and
    // "OpenLastConnection" and "AutoReconnect" belong to the actions that change them, so that
    // closing one window does not undo what was switched in another.
    static void save(QSettings& store, const SessionState& state);
};
