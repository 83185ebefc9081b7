// Stages 6 to 9 of the readable kernel: RGB with CMY folded in, and YCbCr, ranges before masters.
#include "src/OCStagesParts.h"

#include <cmath>

using namespace ocstages;

namespace {

struct YCC {
    float value[3];
};

YCC ToYCC(const OCPixel& p)
{
    return {{OCLuma(p.r, p.g, p.b), -0.168736f * p.r - 0.331264f * p.g + 0.5f * p.b,
             0.5f * p.r - 0.418688f * p.g - 0.081312f * p.b}};
}

void FromYCC(const YCC& c, OCPixel* p)
{
    p->r = c.value[0] + 1.402f * c.value[2];
    p->g = c.value[0] - 0.344136f * c.value[1] - 0.714136f * c.value[2];
    p->b = c.value[0] + 1.772f * c.value[1];
}

float BlendScaled(const OCPixel& p, const OCChannelParams range[ocRangeCount], float c, int i)
{
    return Blend(p, range[0].scale[i] * c + range[0].offset[i], range[1].scale[i] * c + range[1].offset[i],
                 range[2].scale[i] * c + range[2].offset[i]);
}

/// Chroma keeps its sign on its way through a table.
template <class Lookup> float SignedChroma(float chroma, Lookup lookup)
{
    const float half = 0.5f * lookup(2 * std::fabs(chroma));
    return chroma < 0 ? -half : half;
}

} // namespace

void ocstages::RGBRanges(OCPixel* p, const Params& params)
{
    const OCChannelParams* range = params.rgbRange;
    ForChannels(p, [&](float c, int i) { return BlendScaled(*p, range, c, i); });
    if (params.rgbRangeGamma || params.cmyRangeGamma)
        ForChannels(
            p, [&](float c, int i) { return BlendTones(*p, range[0].tone[i], range[1].tone[i], range[2].tone[i], c); });
}

void ocstages::YCbCrRanges(OCPixel* p, const Params& params)
{
    const OCChannelParams* range = params.yccRange;
    YCC c = ToYCC(*p);
    for (int i = 0; i < 3; ++i) c.value[i] = BlendScaled(*p, range, c.value[i], i);
    if (params.yccRangeGamma) {
        c.value[0] = BlendTones(*p, range[0].tone[0], range[1].tone[0], range[2].tone[0], c.value[0]);
        for (int i = 1; i < 3; ++i)
            c.value[i] = SignedChroma(c.value[i], [&](float x) {
                return BlendTones(*p, range[0].tone[i], range[1].tone[i], range[2].tone[i], x);
            });
    }
    FromYCC(c, p);
}

void ocstages::RGBMaster(OCPixel* p, const Params& params)
{
    const OCChannelParams& m = params.rgbMaster;
    ForChannels(p, [&](float c, int i) { return m.scale[i] * c + m.offset[i]; });
    if (params.rgbMasterGamma || params.cmyMasterGamma)
        ForChannels(p, [&](float c, int i) { return ToneLookup(m.tone[i], c); });
}

void ocstages::YCbCrMaster(OCPixel* p, const Params& params)
{
    const OCChannelParams& m = params.yccMaster;
    YCC c = ToYCC(*p);
    for (int i = 0; i < 3; ++i) c.value[i] = m.scale[i] * c.value[i] + m.offset[i];
    if (params.yccMasterGamma) {
        c.value[0] = ToneLookup(m.tone[0], c.value[0]);
        for (int i = 1; i < 3; ++i)
            c.value[i] = SignedChroma(c.value[i], [&](float x) { return ToneLookup(m.tone[i], x); });
    }
    FromYCC(c, p);
}
