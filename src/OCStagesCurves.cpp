// Stages 10 and 11 of the readable kernel: RGB curves and HSL curves, and the HSL colour space.
#include "src/OCStagesParts.h"

#include <cmath>

using namespace ocstages;

namespace {

float HueToChannel(float m1, float m2, float h)
{
    if (h < 0) h += 1;
    if (h > 1) h -= 1;
    if (1 > 6 * h) return m1 + (m2 - m1) * 6 * h;
    if (1 > 2 * h) return m2;
    if (2 > 3 * h) return m1 + (m2 - m1) * (0.66666669f - h) * 6;
    return m1;
}

} // namespace

void ocstages::RGBCurves(OCPixel* p, const Params& params)
{
    ForChannels(p, [&](float c, int i) { return ToneLookup(params.rgbCurve[i], c); });
}

void ocstages::HSLCurves(OCPixel* p, const Params& params)
{
    OCHSLColor c = OCRGBToHSL(p->r, p->g, p->b);
    float x = c.h + 0.5f; // red stands in the middle of the curve
    if (x > 1) x -= 1;
    const auto index = static_cast<uint32_t>(Unit(x) * 16384.0f);
    c.h = c.h + params.hueCurve.entry[index];
    c.l = c.l * params.lightnessCurve.entry[index];
    c.s = c.s * params.saturationCurve.entry[index];
    float rgb[3];
    OCHSLToRGB(c, rgb);
    ForChannels(p, [&](float, int i) { return rgb[i]; });
}

OCHSLColor OCRGBToHSL(float r, float g, float b)
{
    float largest = r > g ? r : g;
    largest = largest > b ? largest : b;
    float smallest = r < g ? r : g;
    smallest = smallest < b ? smallest : b;
    const double mx = static_cast<double>(largest);
    const double mn = static_cast<double>(smallest);
    OCHSLColor color = {.h = 0, .s = 0, .l = static_cast<float>((mx + mn) / 2)};
    const double d = mx - mn;
    if (color.l <= 0 || !(d > 0)) return color;
    color.s = static_cast<float>(color.l <= 0.5f ? d / (mx + mn) : d / (2 - (mx + mn)));
    double sextant;
    if (r == largest)
        sextant = std::fmod((static_cast<double>(g) - static_cast<double>(b)) / d + 6, 6.0);
    else if (g == largest)
        sextant = (static_cast<double>(b) - static_cast<double>(r)) / d + 2;
    else
        sextant = (static_cast<double>(r) - static_cast<double>(g)) / d + 4;
    color.h = static_cast<float>(sextant / 6);
    return color;
}

void OCHSLToRGB(OCHSLColor c, float rgb[3])
{
    if (c.s == 0) {
        rgb[0] = rgb[1] = rgb[2] = c.l;
        return;
    }
    const float m2 = c.l < 0.5f ? (1 + c.s) * c.l : c.l + c.s - c.l * c.s;
    const float m1 = 2 * c.l - m2;
    rgb[0] = HueToChannel(m1, m2, c.h + 0.33333334f);
    rgb[1] = HueToChannel(m1, m2, c.h);
    rgb[2] = HueToChannel(m1, m2, c.h - 0.33333334f);
}
