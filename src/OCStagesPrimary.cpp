// Stages 1 to 5 and 12 of the readable kernel: highlight recovery, levels, HSL and hue offset.
#include "src/OCStagesParts.h"

using namespace ocstages;

namespace {

void Rotate(const OCHSLParams& range, const YUV& c, float rgb[3])
{
    FromYUV(
        {.y = c.y, .u = c.u * range.hueCosine - c.v * range.hueSine, .v = c.v * range.hueCosine + c.u * range.hueSine},
        rgb);
}

/// Drives saturation apart: a grey pixel up to 2.1 times, a saturated one not at all.
void Vibrance(const OCPixel& p, float factor, float rgb[3])
{
    float mx = p.r > p.g ? p.r : p.g;
    mx = mx > p.b ? mx : p.b;
    float mn = p.r < p.g ? p.r : p.g;
    mn = mn < p.b ? mn : p.b;
    const float sum = mx + mn;
    const float diff = mx - mn;
    const float lightness = sum / 2;
    // Deliberate: the upper half divides by 2 - diff, not 2 - sum; existing grades depend on it.
    const float denominator = lightness <= 0.5f ? sum : 2 - diff;
    float saturation = diff > 0 ? diff / denominator : diff;
    if (!(lightness > 0)) saturation = 0;
    const float limit = (1 - saturation) * 1.1f + 1;
    const float e = factor < limit ? factor : limit;
    const float y = OCLuma(p.r, p.g, p.b);
    rgb[0] = p.r * e + y * (1 - e);
    rgb[1] = p.g * e + y * (1 - e);
    rgb[2] = p.b * e + y * (1 - e);
}

void Pull(YUV* c, const OCTint& tint, float k)
{
    c->u = c->u + (tint.u - c->u) * k;
    c->v = c->v + (tint.v - c->v) * k;
}

} // namespace

// Stage 1 --------------------------------------------------------------------------------------------------------------

void ocstages::RecoverHighlights(OCPixel* p, const Params& params)
{
    const float t = params.recoveryThreshold;
    if (!(p->sourceLuma >= t)) return;
    const float k = ((p->sourceLuma - t) * 0.5f + t) / p->sourceLuma;
    p->r *= k;
    p->g *= k;
    p->b *= k;
}

// Stage 2 --------------------------------------------------------------------------------------------------------------

void ocstages::LevelsIn(OCPixel* p, const Params& params)
{
    ForChannels(p, [&](float c, int i) {
        c = c * params.inScale[i] + params.inOffset[i];
        return params.levelsInGamma ? ToneLookup(params.levels[i], c) : c;
    });
}

// Stage 3 --------------------------------------------------------------------------------------------------------------

void ocstages::HSLRanges(OCPixel* p, const Params& params)
{
    const OCHSLParams& s = params.hslRange[ocShadows];
    const OCHSLParams& m = params.hslRange[ocMidtones];
    const OCHSLParams& h = params.hslRange[ocHighlights];
    if (params.hslRangeHue) {
        const YUV c = ToYUV(*p);
        float shadows[3], midtones[3], highlights[3];
        Rotate(s, c, shadows);
        Rotate(m, c, midtones);
        Rotate(h, c, highlights);
        ForChannels(p, [&](float, int i) { return Blend(*p, shadows[i], midtones[i], highlights[i]); });
    }
    if (params.hslRangeGain) {
        const float gain = Blend(*p, s.gain, m.gain, h.gain);
        ForChannels(p, [&](float c, int) { return c * gain; });
    }
    if (params.hslRangePedestal) {
        const float pedestal = Blend(*p, s.pedestal, m.pedestal, h.pedestal);
        ForChannels(p, [&](float c, int) { return c + pedestal; });
    }
    ForChannels(p, [&](float c, int) { return BlendTones(*p, s.tone, m.tone, h.tone, c); });
    if (params.hslRangeSaturation) {
        const float y = OCLuma(p->r, p->g, p->b);
        ForChannels(p, [&](float c, int) {
            return Blend(*p, s.saturation * c + (1 - s.saturation) * y, m.saturation * c + (1 - m.saturation) * y,
                         h.saturation * c + (1 - h.saturation) * y);
        });
    }
    if (params.hslRangeVibrance) {
        float shadows[3], midtones[3], highlights[3];
        Vibrance(*p, s.vibrance, shadows);
        Vibrance(*p, m.vibrance, midtones);
        Vibrance(*p, h.vibrance, highlights);
        ForChannels(p, [&](float, int i) { return Blend(*p, shadows[i], midtones[i], highlights[i]); });
    }
}

// Stage 4 --------------------------------------------------------------------------------------------------------------

void ocstages::HSLMaster(OCPixel* p, const Params& params)
{
    const OCHSLParams& m = params.hslMaster;
    if (m.hue != 0) {
        float rgb[3];
        Rotate(m, ToYUV(*p), rgb);
        ForChannels(p, [&](float, int i) { return rgb[i]; });
    }
    ForChannels(p, [&](float c, int) { return c * m.gain + m.pedestal; });
    if (params.hslMasterTone) ForChannels(p, [&](float c, int) { return ToneLookup(m.tone, c); });
    if (m.saturation != 1) {
        const float y = OCLuma(p->r, p->g, p->b);
        ForChannels(p, [&](float c, int) { return m.saturation * c + (1 - m.saturation) * y; });
    }
    if (m.vibrance != 1) {
        float rgb[3];
        Vibrance(*p, m.vibrance, rgb);
        ForChannels(p, [&](float, int i) { return rgb[i]; });
    }
}

// Stage 5 --------------------------------------------------------------------------------------------------------------

void ocstages::HueOffset(OCPixel* p, const Params& params)
{
    YUV c = ToYUV(*p);
    for (uint32_t r = 0; r < ocRangeCount; ++r) Pull(&c, params.tint[r], params.tint[r].strength * p->weight[r]);
    Pull(&c, params.tintMaster, params.tintMaster.strength);
    float rgb[3];
    FromYUV(c, rgb);
    ForChannels(p, [&](float, int i) { return rgb[i]; });
}

// Stage 12 ------------------------------------------------------------------------------------------------------------

void ocstages::LevelsOut(OCPixel* p, const Params& params)
{
    ForChannels(p, [&](float c, int i) { return c * params.outScale[i] + params.outOffset[i]; });
}
