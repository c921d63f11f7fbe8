#include "ui/contrast.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

/// Red, green and blue in proportion to light, each from 0 to 1.
using Light = std::array<double, 3>;

double toLight(double part) { // sRGB, IEC 61966-2-1
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}
double fromLight(double light) {
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

Light lightOf(const QColor& colour) {
    return {toLight(colour.redF()), toLight(colour.greenF()), toLight(colour.blueF())};
}
double luminance(const Light& light) {
    return 0.2126 * light[0] + 0.7152 * light[1] + 0.0722 * light[2];
}

constexpr double stray = 0.05; // what WCAG adds to each luminance for the light of the room on the screen

double ratioOf(double one, double other) {
    return (std::max(one, other) + stray) / (std::min(one, other) + stray);
}

/// A screen has 256 steps: `round` takes one of the two next to the exact value.
QColor toColor(const Light& light, double (*round)(double)) {
    const auto step = [round](double part) {
        return std::clamp(static_cast<int>(round(fromLight(part) * 255)), 0, 255);
    };
    return {step(light[0]), step(light[1]), step(light[2])};
}

} // namespace

double contrast(const QColor& one, const QColor& other) {
    return ratioOf(luminance(lightOf(one)), luminance(lightOf(other)));
}

QColor withContrast(const QColor& colour, const QColor& other, double ratio) {
    Light light = lightOf(colour);
    const double own = luminance(light);
    const double others = luminance(lightOf(other));
    if (ratioOf(own, others) >= ratio) return QColor::fromRgb(colour.rgb());
    const bool isOnLight = ratioOf(others, 0) > ratioOf(others, 1);
    if (isOnLight) {
        const double wanted = (others + stray) / ratio - stray;
        if (own <= 0 || wanted <= 0) return Qt::black;
        for (double& part : light) part *= wanted / own;
        return toColor(light, std::floor);
    }
    const double wanted = ratio * (others + stray) - stray;
    if (own >= 1 || wanted >= 1) return Qt::white;
    for (double& part : light) part += (1 - part) * (wanted - own) / (1 - own);
    return toColor(light, std::ceil);
}
