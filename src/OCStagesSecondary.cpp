// Stage 13 of the readable kernel: up to six secondaries, one after the other, each on what the one before left.
#include "src/OCStagesParts.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace ocstages;

namespace {

YUV Mix(float a, const YUV& x, float b, const YUV& y)
{
    return {.y = a * x.y + b * y.y, .u = a * x.u + b * y.u, .v = a * x.v + b * y.v};
}

/// How much the pixel resembles the sample that it resembles most, 0 to 1. A distance that is no number counts as far.
float KeyOf(const YUV& c, const OCSecondaryParams& s, const OCKeyShape& shape)
{
    float key = 0;
    for (uint32_t i = 0; i < s.sampleCount; ++i) {
        const OCKeySample& sample = s.sample[i];
        // Deliberate: luma is a distance and chroma the square of one, and both are divided by the same square.
        const float luma = Unit(1 - (std::fabs(sample.y - c.y) - s.lumaTolerance) * shape.inverseSoftnessSquared);
        const float du = sample.u - c.u;
        const float dv = sample.v - c.v;
        const float chroma =
            Unit(1 - (du * du + dv * dv - shape.chromaToleranceSquared) * shape.inverseSoftnessSquared);
        const float both = luma * chroma;
        key = both > key ? both : key;
    }
    return key;
}

/// Gain, gamma and pedestal act on luma alone, hue, saturation and tint on chroma alone.
YUV Corrected(const YUV& c, const OCSecondaryParams& s)
{
    YUV out = {.y = s.gain * c.y + s.pedestal,
               .u = s.saturation * (c.u * s.hueCosine - c.v * s.hueSine),
               .v = s.saturation * (c.u * s.hueSine + c.v * s.hueCosine)};
    if (s.inverseGamma != 1) out.y = ToneLookup(s.tone, out.y);
    out.u = out.u + (s.tint.u - out.u) * s.tint.strength;
    out.v = out.v + (s.tint.v - out.v) * s.tint.strength;
    return out;
}

void Apply(OCPixel* p, const OCSecondaryParams& s)
{
    const YUV c = ToYUV(*p);
    const float key = KeyOf(c, s, OCKeyShapeOf(s));
    const float rest = 1 - key;
    YUV kept = c;
    YUV corrected = c; // an unknown style keeps the pixel, which still goes through Y, U, V
    switch (s.style) {
    case ocPreviewOff: corrected = Corrected(c, s); break;
    case ocPreviewDesaturate: kept = {.y = c.y, .u = 0, .v = 0}; break;
    case ocPreviewMask: {
        OCPixel red = *p;
        red.r = p->r > kOCMaskTint ? p->r : kOCMaskTint;
        red.g = kOCMaskTint * p->g;
        red.b = kOCMaskTint * p->b;
        kept = ToYUV(red);
        break;
    }
    case ocPreviewAlpha:
        corrected = {.y = 1, .u = 0, .v = 0};
        kept = {.y = 0, .u = 0, .v = 0};
        break;
    }
    float rgb[3];
    FromYUV(s.inverted ? Mix(key, kept, rest, corrected) : Mix(key, corrected, rest, kept), rgb);
    ForChannels(p, [&](float, int i) { return rgb[i]; });
}

} // namespace

OCKeyShape OCKeyShapeOf(const OCSecondaryParams& secondary)
{
    const auto chroma = static_cast<double>(secondary.chromaTolerance);
    const auto softness = static_cast<double>(secondary.softness);
    return {.chromaToleranceSquared = static_cast<float>(chroma * chroma),
            .inverseSoftnessSquared = static_cast<float>(1 / (softness * softness))};
}

OCKeyBox OCKeyBoxOf(const OCSecondaryParams& secondary)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const OCKeyShape shape = OCKeyShapeOf(secondary);
    const double fall = 1 / static_cast<double>(shape.inverseSoftnessSquared); // over which the key falls to 0
    const double lumaReach = static_cast<double>(secondary.lumaTolerance) + fall;
    const double chromaReach = std::sqrt(static_cast<double>(shape.chromaToleranceSquared) + fall);
    OCKeyBox box = {{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};
    for (uint32_t i = 0; i < secondary.sampleCount; ++i) {
        const OCKeySample& sample = secondary.sample[i];
        const double middle[3] = {static_cast<double>(sample.y), static_cast<double>(sample.u),
                                  static_cast<double>(sample.v)};
        for (int k = 0; k < 3; ++k) {
            const double reach = k == 0 ? lumaReach : chromaReach;
            // Far more than what the key's single precision rounds away, also where tolerance and fall cancel.
            const double size = k == 0 ? std::abs(static_cast<double>(secondary.lumaTolerance)) + fall : reach;
            const double slack = 1e-5 * (1 + std::abs(middle[k]) + size);
            const double low = middle[k] - reach - slack, high = middle[k] + reach + slack;
            if (!std::isfinite(low) || !std::isfinite(high))
                return {{-kInfinity, -kInfinity, -kInfinity}, {kInfinity, kInfinity, kInfinity}};
            box.low[k] = std::min(box.low[k], static_cast<float>(low));
            box.high[k] = std::max(box.high[k], static_cast<float>(high));
        }
    }
    return box;
}

void ocstages::Secondaries(OCPixel* p, const Params& params)
{
    for (const OCSecondaryParams& secondary : params.secondary)
        if (secondary.on) Apply(p, secondary);
}
