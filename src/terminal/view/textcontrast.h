#pragma once

#include <QColor>

// Contrast ratio of two opaque colours, 1 (equal) to 21 (black on white), as WCAG 2.1 defines it.
[[nodiscard]] double contrastRatio(const QColor& one, const QColor& other);

// Below this ratio a text is taken for unreadable: a person's choice of a pale colour stands,
// black on a dark background does not.
inline constexpr double kLowestContrast = 2.0;

[[nodiscard]] bool isReadable(const QColor& text, const QColor& background);

// `share` (0 to 1) of `top` laid over `bottom`.
[[nodiscard]] QColor blended(const QColor& bottom, const QColor& top, double share);
