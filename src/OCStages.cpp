// The road of a pixel, and the readable kernel that walks it. Single floats from end to end; where a stage says double,
// single is what it stores.
#include "src/OCStages.h"

#include "src/OCStagesParts.h"

#include <algorithm>
#include <iterator>

using namespace ocstages;

namespace {

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
    {.order = 13,
     .name = "Secondaries A to F",
     .isOn =
         [](const Params& p) {
             return std::any_of(std::begin(p.secondary), std::end(p.secondary),
                                [](const OCSecondaryParams& s) { return s.on != 0; });
         },
     .run = Secondaries,
     .why = "key on the picture that all primaries have made, which is where their samples are picked"},
    {.order = 14,
     .name = "Limiter",
     .isOn = [](const Params& p) { return p.limiterEnabled; },
     .run = Limiter,
     .why = "nothing may leave the limits after it"},
};

/// An index into the weight tables; a luma that is no number counts as black.
uint32_t WeightIndex(float luma)
{
    return static_cast<uint32_t>(Unit(luma) * 16384.0f);
}

} // namespace

std::span<const OCStage> OCStages()
{
    return kOCStages;
}

bool OCStepIsOn(const OCProcessParams& params, uint32_t step)
{
    if (step >= kOCSecondaryStep && step < kOCLimiterStep) return params.secondary[step - kOCSecondaryStep].on != 0;
    return kOCStages[step == kOCLimiterStep ? std::size(kOCStages) - 1 : step - 1].isOn(params);
}

bool OCStepIsWeighted(uint32_t step)
{
    return step == 3 || step == 5 || step == 6 || step == 7;
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
