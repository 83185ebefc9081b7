// A tint is a colour of full saturation and half lightness, made in double and cut to 16 bits a component as the wheel
// has always shown it.
#include "src/OCTint.h"

#include <cmath>

namespace {

double HueChannel(double m1, double m2, double h)
{
    if (h < 0) h += 1;
    if (h > 1) h -= 1;
    if (1 > 6 * h) return m1 + (m2 - m1) * 6 * h;
    if (1 > 2 * h) return m2;
    if (2 > 3 * h) return m1 + (m2 - m1) * (static_cast<double>(0.66666669f) - h) * 6;
    return m1;
}

/// Truncates to 16 bits; angles beyond a turn wrap, what is no number counts as 0.
uint16_t Word(double value)
{
    if (!(std::fabs(value) < 1e15)) return 0;
    return static_cast<uint16_t>(static_cast<int64_t>(value));
}

} // namespace

OCTint OCTintOf(float angleDegrees, float strength)
{
    const uint16_t hue = Word((360.0 - static_cast<double>(angleDegrees)) / 360.0 * 65535.0);
    const double h = hue / 65535.0;
    const double s = 65535 / 65535.0;
    const double l = 32767 / 65535.0;
    const double m2 = l < 0.5 ? (1 + s) * l : l + s - l * s;
    const double m1 = 2 * l - m2;
    constexpr double third = static_cast<double>(0.33333334f);
    const auto component = [=](double shifted) {
        return static_cast<float>(Word(HueChannel(m1, m2, shifted) * 65535.0) / 65535.0);
    };
    const float r = component(h + third);
    const float g = component(h);
    const float b = component(h - third);
    return {.u = -0.147407f * r - 0.289391f * g + 0.436798f * b,
            .v = 0.614777f * r - 0.514799f * g - 0.099978f * b,
            .strength = strength * 0.33333334f};
}
