// What the stages of the road share: colour spaces, blends of the three ranges, and the stages themselves by name.
#pragma once

#include "src/OCStages.h"

namespace ocstages {

using Params = OCProcessParams;

struct YUV {
    float y, u, v;
};

inline YUV ToYUV(const OCPixel& p)
{
    return {.y = OCLuma(p.r, p.g, p.b),
            .u = -0.147407f * p.r - 0.289391f * p.g + 0.436798f * p.b,
            .v = 0.614777f * p.r - 0.514799f * p.g - 0.099978f * p.b};
}

inline void FromYUV(const YUV& c, float rgb[3])
{
    rgb[0] = c.y + 1.140251f * c.v;
    rgb[1] = c.y - 0.393931f * c.u - 0.580809f * c.v;
    rgb[2] = c.y + 2.028398f * c.u;
}

/// Holds a value between 0 and 1; a NaN becomes 0.
inline float Unit(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

/// Ws a + Wm b + Wh c, in the order in which the ranges are always blended.
inline float Blend(const OCPixel& p, float shadows, float midtones, float highlights)
{
    return p.weight[ocShadows] * shadows + p.weight[ocMidtones] * midtones + p.weight[ocHighlights] * highlights;
}

inline float BlendTones(const OCPixel& p, const OCTone& s, const OCTone& m, const OCTone& h, float input)
{
    return Blend(p, ToneLookup(s, input), ToneLookup(m, input), ToneLookup(h, input));
}

template <class Change> void ForChannels(OCPixel* p, Change change)
{
    p->r = change(p->r, 0);
    p->g = change(p->g, 1);
    p->b = change(p->b, 2);
}

// The stages, in the order of kOCStages. Each changes the colour of the pixel and nothing else.
void RecoverHighlights(OCPixel* p, const Params& params);
void LevelsIn(OCPixel* p, const Params& params);
void HSLRanges(OCPixel* p, const Params& params);
void HSLMaster(OCPixel* p, const Params& params);
void HueOffset(OCPixel* p, const Params& params);
void RGBRanges(OCPixel* p, const Params& params);
void YCbCrRanges(OCPixel* p, const Params& params);
void RGBMaster(OCPixel* p, const Params& params);
void YCbCrMaster(OCPixel* p, const Params& params);
void RGBCurves(OCPixel* p, const Params& params);
void HSLCurves(OCPixel* p, const Params& params);
void LevelsOut(OCPixel* p, const Params& params);
void Secondaries(OCPixel* p, const Params& params);
void Limiter(OCPixel* p, const Params& params);

} // namespace ocstages
