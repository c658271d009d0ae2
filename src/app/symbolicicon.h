#pragma once

#include <QIcon>

// An icon whose file gives the shape and whose colour is the text colour of the palette at the
// moment of painting: one single-colour SVG for light and dark desktops, sharp at every scale.
[[nodiscard]] QIcon symbolicIcon(const QString& svgPath);
