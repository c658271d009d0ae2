#include "terminal/view/textcontrast.h"

#include <algorithm>
#include <cmath>

namespace {

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color)
{
    const QColor rgb = color.toRgb();
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF())
           + 0.0722 * linear(rgb.blueF());
}

} // namespace

double contrastRatio(const QColor& one, const QColor& other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

bool isReadable(const QColor& text, const QColor& background)
{
    return contrastRatio(text, background) >= kLowestContrast;
}

QColor blended(const QColor& bottom, const QColor& top, double share)
{
    const auto mix = [share](double below, double above) {
        return static_cast<float>(below + (above - below) * share);
    };
    return QColor::fromRgbF(mix(bottom.redF(), top.redF()), mix(bottom.greenF(), top.greenF()),
        mix(bottom.blueF(), top.blueF()));
}
