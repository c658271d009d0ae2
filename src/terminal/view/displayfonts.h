#pragma once

#include "settings/displayfont.h"

#include <QFont>
#include <QString>
#include <QStringList>

// The monospace fonts of the data views. Text that counts columns (hexadecimal, tables of a
// device) must not fall back to a proportional family when a session comes from another system.
// All functions need a QGuiApplication.

// Monospace families in order of preference.
[[nodiscard]] QStringList monospaceCandidates();
// Compared without regard to case.
[[nodiscard]] bool fontFamilyAvailable(const QString& family);
// The first candidate that exists, else the system's fixed-pitch family. Computed once.
[[nodiscard]] QString defaultMonospaceFamily();
// A fixed-pitch font: an unknown family becomes defaultMonospaceFamily(), a size below 1 becomes
// 12 points. Weight and slant are plain.
[[nodiscard]] QFont resolveDisplayFont(const QString& family, int pointSize);
// The same of a record, with its weight; and what a record keeps of a font.
[[nodiscard]] QFont resolveDisplayFont(const DisplayFont& wanted);
[[nodiscard]] DisplayFont displayFontOf(const QFont& font);
// Maps the families that sessions of other systems name most to one that exists here.
void installMonospaceFontSubstitutions();
