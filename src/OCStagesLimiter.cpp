// Stage 14 of the readable kernel: the limiter. Luma is held first, then the composite signal, which is luma with the
// amplitude of chroma riding on it, measured in percent.
#include "src/OCStagesParts.h"

#include <cmath>

using namespace ocstages;

namespace {

void Scale(OCPixel* p, float factor)
{
    ForChannels(p, [factor](float c, int) { return c * factor; });
}

/// A colour as the composite signal has it: luma on the scale of 1, chroma and its amplitude on the scale of 100.
struct Composite {
    float y, u, v, amplitude;
};

Composite CompositeOf(const OCPixel& p)
{
    const YUV c = ToYUV(p);
    const float u = c.u * 100;
    const float v = c.v * 100;
    const float square = u * u + v * v;
    // Deliberate: even grey has an amplitude of 1.
    return {.y = c.y, .u = u, .v = v, .amplitude = std::sqrt(square > 1 ? square : 1)};
}

/// The same luma with chroma multiplied by `factor`.
void Rebuild(OCPixel* p, const Composite& c, float factor)
{
    float rgb[3];
    FromYUV({.y = c.y, .u = c.u * factor * 0.01f, .v = c.v * factor * 0.01f}, rgb);
    ForChannels(p, [&](float, int i) { return rgb[i]; });
}

/// What is left of chroma when `excess` goes off its amplitude; never less than nothing.
float Reduced(float amplitude, float excess)
{
    const float factor = (amplitude - excess) / amplitude;
    return factor > 0 ? factor : 0;
}

void LimitUpper(OCPixel* p, const OCLimiterParams& limiter, bool preview)
{
    const Composite c = CompositeOf(*p);
    const float upper = 100 * c.y + c.amplitude;
    if (!(upper >= limiter.chromaMax)) return;
    if (preview) {
        p->r = p->g = p->b = 0;
        return;
    }
    const float excess = upper - limiter.chromaMax;
    switch (limiter.method) {
    case ocReduceLuma: Scale(p, limiter.chromaMax / upper); break;
    case ocReduceSaturation: Rebuild(p, c, Reduced(c.amplitude, excess)); break;
    case ocSmartLimit:
        Rebuild(p, c, Reduced(c.amplitude, 0.4f * excess));
        Scale(p, limiter.chromaMax / upper);
        break;
    }
}

void LimitLower(OCPixel* p, const OCLimiterParams& limiter, bool preview)
{
    const Composite c = CompositeOf(*p);
    const float lower = 100 * c.y - c.amplitude;
    if (!(lower <= limiter.chromaMin)) return;
    if (preview) {
        p->r = p->g = p->b = 0;
        return;
    }
    switch (limiter.method) {
    case ocReduceLuma: Scale(p, limiter.chromaMin / lower); break;
    case ocReduceSaturation:
    case ocSmartLimit:
        // Deliberate: below, nothing keeps the factor from going under 0.
        Rebuild(p, c, ((lower - limiter.chromaMin) + c.amplitude) / c.amplitude);
        break;
    }
}

} // namespace

OCSoftClip OCSoftClipOf(const OCLimiterParams& limiter)
{
    return {.inverseRange = 1 / (limiter.maxLevel - limiter.knee), .rise = limiter.whiteLevel - limiter.knee};
}

void ocstages::Limiter(OCPixel* p, const Params& params)
{
    const OCLimiterParams& limiter = params.limiter;
    float y = OCLuma(p->r, p->g, p->b);
    if (params.limiterSoftClip && y >= limiter.knee) {
        const OCSoftClip clip = OCSoftClipOf(limiter);
        Scale(p, ((y - limiter.knee) * clip.inverseRange * clip.rise + limiter.knee) / y);
        y = OCLuma(p->r, p->g, p->b);
    }
    if (y >= limiter.lumaMax) Scale(p, limiter.lumaMax / y);
    LimitUpper(p, limiter, params.limiterPreview);
    LimitLower(p, limiter, params.limiterPreview);
}
