// The readable kernel: one pixel, stage by stage. Single floats from end to end; where a stage says double, single is
// what it stores.
#include "src/OCStages.h"

#include <cmath>
#include <cstring>

namespace {

using Params = OCProcessParams;

struct YUV {
    float y, u, v;
};

YUV ToYUV(const OCPixel& p)
{
    return {.y = OCLuma(p.r, p.g, p.b),
            .u = -0.147407f * p.r - 0.289391f * p.g + 0.436798f * p.b,
            .v = 0.614777f * p.r - 0.514799f * p.g - 0.099978f * p.b};
}

void FromYUV(const YUV& c, float rgb[3])
{
    rgb[0] = c.y + 1.140251f * c.v;
    rgb[1] = c.y - 0.393931f * c.u - 0.580809f * c.v;
    rgb[2] = c.y + 2.028398f * c.u;
}

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

/// Ws a + Wm b + Wh c, in the order in which the ranges are always blended.
float Blend(const OCPixel& p, float shadows, float midtones, float highlights)
{
    return p.weight[ocShadows] * shadows + p.weight[ocMidtones] * midtones + p.weight[ocHighlights] * highlights;
}

float BlendTones(const OCPixel& p, const OCTone& s, const OCTone& m, const OCTone& h, float input)
{
    return Blend(p, ToneLookup(s, input), ToneLookup(m, input), ToneLookup(h, input));
}

template <class Change> void ForChannels(OCPixel* p, Change change)
{
    p->r = change(p->r, 0);
    p->g = change(p->g, 1);
    p->b = change(p->b, 2);
}

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

// Stage 1 --------------------------------------------------------------------------------------------------------------

void RecoverHighlights(OCPixel* p, const Params& params)
{
    const float t = params.recoveryThreshold;
    if (!(p->sourceLuma >= t)) return;
    const float k = ((p->sourceLuma - t) * 0.5f + t) / p->sourceLuma;
    p->r *= k;
    p->g *= k;
    p->b *= k;
}

// Stage 2 --------------------------------------------------------------------------------------------------------------

void LevelsIn(OCPixel* p, const Params& params)
{
    ForChannels(p, [&](float c, int i) {
        c = c * params.inScale[i] + params.inOffset[i];
        return params.levelsInGamma ? ToneLookup(params.levels[i], c) : c;
    });
}

// Stage 3 --------------------------------------------------------------------------------------------------------------

void HSLRanges(OCPixel* p, const Params& params)
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

void HSLMaster(OCPixel* p, const Params& params)
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

void Pull(YUV* c, const OCTint& tint, float k)
{
    c->u = c->u + (tint.u - c->u) * k;
    c->v = c->v + (tint.v - c->v) * k;
}

void HueOffset(OCPixel* p, const Params& params)
{
    YUV c = ToYUV(*p);
    for (uint32_t r = 0; r < ocRangeCount; ++r) Pull(&c, params.tint[r], params.tint[r].strength * p->weight[r]);
    Pull(&c, params.tintMaster, params.tintMaster.strength);
    float rgb[3];
    FromYUV(c, rgb);
    ForChannels(p, [&](float, int i) { return rgb[i]; });
}

// Stages 6 to 9 --------------------------------------------------------------------------------------------------------

float BlendScaled(const OCPixel& p, const OCChannelParams range[ocRangeCount], float c, int i)
{
    return Blend(p, range[0].scale[i] * c + range[0].offset[i], range[1].scale[i] * c + range[1].offset[i],
                 range[2].scale[i] * c + range[2].offset[i]);
}

void RGBRanges(OCPixel* p, const Params& params)
{
    const OCChannelParams* range = params.rgbRange;
    ForChannels(p, [&](float c, int i) { return BlendScaled(*p, range, c, i); });
    if (params.rgbRangeGamma || params.cmyRangeGamma)
        ForChannels(
            p, [&](float c, int i) { return BlendTones(*p, range[0].tone[i], range[1].tone[i], range[2].tone[i], c); });
}

/// Chroma keeps its sign on its way through a table.
template <class Lookup> float SignedChroma(float chroma, Lookup lookup)
{
    const float half = 0.5f * lookup(2 * std::fabs(chroma));
    return chroma < 0 ? -half : half;
}

void YCbCrRanges(OCPixel* p, const Params& params)
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

void RGBMaster(OCPixel* p, const Params& params)
{
    const OCChannelParams& m = params.rgbMaster;
    ForChannels(p, [&](float c, int i) { return m.scale[i] * c + m.offset[i]; });
    if (params.rgbMasterGamma || params.cmyMasterGamma)
        ForChannels(p, [&](float c, int i) { return ToneLookup(m.tone[i], c); });
}

void YCbCrMaster(OCPixel* p, const Params& params)
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

// Stages 10 to 12 ------------------------------------------------------------------------------------------------------

void RGBCurves(OCPixel* p, const Params& params)
{
    ForChannels(p, [&](float c, int i) { return ToneLookup(params.rgbCurve[i], c); });
}

void HSLCurves(OCPixel* p, const Params& params)
{
    OCHSLColor c = OCRGBToHSL(p->r, p->g, p->b);
    float x = c.h + 0.5f; // red stands in the middle of the curve
    if (x > 1) x -= 1;
    x = x > 0 ? (x < 1 ? x : 1) : 0;
    const auto index = static_cast<uint32_t>(x * 16384.0f);
    c.h = c.h + params.hueCurve.entry[index];
    c.l = c.l * params.lightnessCurve.entry[index];
    c.s = c.s * params.saturationCurve.entry[index];
    float rgb[3];
    OCHSLToRGB(c, rgb);
    ForChannels(p, [&](float, int i) { return rgb[i]; });
}

void LevelsOut(OCPixel* p, const Params& params)
{
    ForChannels(p, [&](float c, int i) { return c * params.outScale[i] + params.outOffset[i]; });
}

constexpr OCStage kOCStages[] = {
    {.order = 1,
     .name = "Input highlight recovery",
     .isOn = [](const Params& p) { return p.highlightRecoveryIn && p.levelsEnabled; },
     .run = RecoverHighlights,
     .why = "brings super-white back before anything else can clip it"},
    {.order = 2,
     .name = "Levels, input side",
     .isOn = [](const Params& p) { return p.levelsEnabled; },
     .run = LevelsIn,
     .why = "gives every tool after it a picture that fills the scale"},
    {.order = 3,
     .name = "HSL ranges",
     .isOn = [](const Params& p) { return p.hslHighOn || p.hslMidOn || p.hslShadowOn; },
     .run = HSLRanges,
     .why = "ranges before master, so that the master moves the balanced picture as a whole"},
    {.order = 4,
     .name = "HSL master",
     .isOn = [](const Params& p) { return p.hslMasterOn; },
     .run = HSLMaster,
     .why = "after its ranges"},
    {.order = 5,
     .name = "Hue offset",
     .isOn = [](const Params& p) { return p.hueOffsetEnabled; },
     .run = HueOffset,
     .why = "tints what HSL has saturated, so that saturation does not undo a tint"},
    {.order = 6,
     .name = "RGB and CMY ranges",
     .isOn = [](const Params& p) { return p.rgbRangeOn || p.cmyRangeOn; },
     .run = RGBRanges,
     .why = "both groups are one set of scales and tables; ranges before master"},
    {.order = 7,
     .name = "YCbCr ranges",
     .isOn = [](const Params& p) { return p.yccRangeOn; },
     .run = YCbCrRanges,
     .why = "all range tools come before the masters that follow"},
    {.order = 8,
     .name = "RGB and CMY master",
     .isOn = [](const Params& p) { return p.rgbMasterOn || p.cmyMasterOn; },
     .run = RGBMaster,
     .why = "after the ranges"},
    {.order = 9,
     .name = "YCbCr master",
     .isOn = [](const Params& p) { return p.yccMasterOn; },
     .run = YCbCrMaster,
     .why = "after the ranges"},
    {.order = 10,
     .name = "RGB curves",
     .isOn = [](const Params& p) { return p.rgbCurvesEnabled; },
     .run = RGBCurves,
     .why = "shape the balanced signal"},
    {.order = 11,
     .name = "HSL curves",
     .isOn = [](const Params& p) { return p.hslCurvesEnabled; },
     .run = HSLCurves,
     .why = "select by the hue that the viewer sees, so they come after all that moves hues"},
    {.order = 12,
     .name = "Levels, output side",
     .isOn = [](const Params& p) { return p.levelsEnabled; },
     .run = LevelsOut,
     .why = "fits the finished picture into the output's range"},
};

/// An index into the weight tables; a luma that is no number counts as black.
uint32_t WeightIndex(float luma)
{
    const float unit = luma > 0 ? (luma < 1 ? luma : 1) : 0;
    return static_cast<uint32_t>(unit * 16384.0f);
}

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

std::span<const OCStage> OCStages()
{
    return kOCStages;
}

float OCLuma(float r, float g, float b)
{
    return 0.299f * r + 0.587f * g + 0.114f * b;
}

float ToneLookup(const OCTone& tone, float input)
{
    if (!(input <= 1)) return tone.top + (input - 1) * tone.slope;
    const float held = input > 0 ? input : 0;
    return tone.entry[static_cast<uint32_t>(held * 16384.0f)];
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

void OCProcessPixel(OCPixel* pixel, const OCProcessParams& params)
{
    pixel->sourceLuma = OCLuma(pixel->r, pixel->g, pixel->b);
    const uint32_t index = WeightIndex(pixel->sourceLuma);
    for (uint32_t r = 0; r < ocRangeCount; ++r) pixel->weight[r] = params.weight[r][index];
    for (const OCStage& stage : kOCStages)
        if (stage.isOn(params)) stage.run(pixel, params);
}

void OCProcessImageBandScalar(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    const OCPlaneSpan span = OCSpanOf(source, destination);
    for (size_t i = 0; i < span.count; ++i) {
        OCPixel pixel = {.r = span.in[0][i], .g = span.in[1][i], .b = span.in[2][i], .sourceLuma = 0, .weight = {}};
        OCProcessPixel(&pixel, params);
        span.out[0][i] = pixel.r;
        span.out[1][i] = pixel.g;
        span.out[2][i] = pixel.b;
        span.out[3][i] = OCLuma(pixel.r, pixel.g, pixel.b);
    }
}

OCPlaneSpan OCSpanOf(const FBFrame* source, const FBFrame* destination)
{
    OCPlaneSpan span = {};
    for (size_t plane = 0; plane < 3; ++plane)
        span.in[plane] = reinterpret_cast<const float*>(source->baseAddr + plane * source->planeBytes);
    for (size_t plane = 0; plane < 4; ++plane)
        span.out[plane] = reinterpret_cast<float*>(destination->baseAddr + plane * destination->planeBytes);
    const size_t sourceCount = size_t{source->rowBytes} * source->height / sizeof(float);
    const size_t destinationCount = size_t{destination->rowBytes} * destination->height / sizeof(float);
    span.count = sourceCount < destinationCount ? sourceCount : destinationCount;
    return span;
}
