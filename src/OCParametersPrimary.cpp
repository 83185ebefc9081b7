// From a grade to the parameters of HSL, hue offset, RGB with CMY, YCbCr and levels.
#include "src/BPMath.h"
#include "src/OCEngineTables.h"
#include "src/OCTint.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace ocengine;

// HSL ------------------------------------------------------------------------------------------------------------------

namespace {

struct ToneShape {
    float contrast, center, brightness, inverseGamma;
};

ToneShape ShapeOf(const OCHSLBlock& block)
{
    return {.contrast = block.contrast / 100,
            .center = block.contrastCenter,
            .brightness = block.brightness / 200,
            .inverseGamma = 1 / block.gamma};
}

/// An S-curve around the centre. It clips: inputs below center - 0.5 give 0, above center + 0.5 give 1.
void BuildContrast(const ToneShape& shape, const float* input, float* scratch, float* output)
{
    const float shift = 0.5f - shape.center;
    for (uint32_t i = 0; i < kOCToneEntries; ++i) {
        const float v = input[i] + shift;
        float t = v <= 0.5f ? v : 1 - v;
        if (t < 0) t = 0;
        scratch[i] = 2 * t;
    }
    float exponent = 1 + shape.contrast;
    if (!(shape.contrast < 0)) exponent = shape.contrast == 1 ? 127 : 1 / (1 - shape.contrast);
    BPPowerArray(scratch, exponent, scratch, kOCToneEntries);
    for (uint32_t i = 0; i < kOCToneEntries; ++i) {
        const float v = input[i] + shift;
        const float r = scratch[i] / 2;
        output[i] = v > 0.5f ? 1 - r : r;
    }
}

/// Deliberate: each group's contrast works on the contrast of the group before it, not on the signal; brightness and
/// gamma stay out of that chain. Grades depend on it.
void BuildHSLTones(OCEngine* engine, const ToneShape shape[kGroupCount])
{
    Key chain = {};
    const float* input = engine->calcArray;
    bool inputChanged = false;
    for (uint32_t group = kMaster; group < kGroupCount; ++group) {
        chain.value[chain.count++] = shape[group].contrast;
        chain.value[chain.count++] = shape[group].center;
        Key key = chain;
        const Key& last = engine->key[kHSLSlot + group];
        inputChanged =
            last.count < chain.count || std::memcmp(last.value, chain.value, chain.count * sizeof(float)) != 0;
        key.value[key.count++] = shape[group].brightness;
        key.value[key.count++] = shape[group].inverseGamma;
        float* table = TableAt(engine, kHSLSlot + group);
        float* contrast = TableAt(engine, kChain + group);
        if (inputChanged) {
            if (group == kMaster) FillRamp(engine->calcArray);
            BuildContrast(shape[group], input, table, contrast); // the table serves as scratch until it is made
        }
        if (Renew(engine, kHSLSlot + group, key)) {
            const float brightness = shape[group].brightness;
            for (uint32_t i = 0; i < kOCToneEntries; ++i) {
                const float r = contrast[i];
                table[i] = brightness < 0 ? (brightness + 1) * r : (1 - r) * brightness + r;
            }
            BPPowerArray(table, shape[group].inverseGamma, table, kOCToneEntries);
        }
        input = contrast;
    }
}

float VibranceFactor(float percent)
{
    return percent >= 0 ? percent * 0.01f + 1 : ((percent + 100) * 0.63f + 37) / 100;
}

OCHSLParams HSLParamsOf(OCEngine* engine, const OCHSLBlock& block, Group group)
{
    const double radians = static_cast<double>(block.hue) * (3.14159265358979323846 / 180.0);
    return {.hue = block.hue,
            .hueCosine = static_cast<float>(std::cos(radians)),
            .hueSine = static_cast<float>(std::sin(radians)),
            .saturation = block.saturation / 100,
            .vibrance = VibranceFactor(block.vibrance),
            .gain = block.gain,
            .pedestal = block.pedestal,
            .tone = ToneAt(engine, uint32_t{kHSLSlot} + group)};
}

} // namespace

void ocengine::UpdateHSL(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    const OCHSLBlock* block[kGroupCount] = {&s.hsl.master, &s.hsl.shadows, &s.hsl.midtones, &s.hsl.highlights};
    const ToneShape shape[kGroupCount] = {ShapeOf(*block[0]), ShapeOf(*block[1]), ShapeOf(*block[2]),
                                          ShapeOf(*block[3])};
    const uint32_t before = engine->tablesBuilt;
    BuildHSLTones(engine, shape);
    if (engine->tablesBuilt != before) p.hslRangeRows = LaySideBySide(engine, kHSLRows, kHSLSlot + 1, 1);

    p.hslMasterOn = s.hsl.master.on != 0;
    p.hslShadowOn = s.hsl.shadows.on != 0;
    p.hslMidOn = s.hsl.midtones.on != 0;
    p.hslHighOn = s.hsl.highlights.on != 0;
    p.hslMaster = HSLParamsOf(engine, *block[0], kMaster);
    for (uint32_t r = 0; r < ocRangeCount; ++r)
        p.hslRange[r] = HSLParamsOf(engine, *block[r + 1], static_cast<Group>(r + 1));
    const auto anyRange = [&p](auto isActive) { return std::any_of(p.hslRange, p.hslRange + ocRangeCount, isActive); };
    p.hslRangeHue = anyRange([](const OCHSLParams& r) { return r.hue != 0; });
    p.hslRangeGain = anyRange([](const OCHSLParams& r) { return r.gain != 1; });
    p.hslRangePedestal = anyRange([](const OCHSLParams& r) { return r.pedestal != 0; });
    p.hslRangeSaturation = anyRange([](const OCHSLParams& r) { return r.saturation != 1; });
    p.hslRangeVibrance = anyRange([](const OCHSLParams& r) { return r.vibrance != 1; });
    const OCHSLBlock& m = s.hsl.master;
    p.hslMasterTone = m.contrast != 0 || m.contrastCenter != 0.5f || m.gamma != 1 || m.brightness != 0;
    BPDebugLog("++++++++++++++++++ Computed Vibrance = %f\n", static_cast<double>(p.hslMaster.vibrance));
}

// Hue offset -----------------------------------------------------------------------------------------------------------

void ocengine::UpdateHueOffset(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.hueOffsetEnabled = s.primaryOn && s.hueOffsetOn;
    p.tint[ocShadows] = OCTintOf(s.hueOffset.shadows.tintangle, s.hueOffset.shadows.strength);
    p.tint[ocMidtones] = OCTintOf(s.hueOffset.midtones.tintangle, s.hueOffset.midtones.strength);
    p.tint[ocHighlights] = OCTintOf(s.hueOffset.highlights.tintangle, s.hueOffset.highlights.strength);
    p.tintMaster = OCTintOf(s.hueOffset.master.tintangle, s.hueOffset.master.strength);
}

// RGB, CMY and YCbCr ---------------------------------------------------------------------------------------------------

namespace {

bool HasGamma(const OCChannelBlock& block)
{
    return block.group.gamma != 1 || block.channel[0].gamma != 1 || block.channel[1].gamma != 1 ||
           block.channel[2].gamma != 1;
}

template <class Test> bool AnyRange(const OCRanges<OCChannelBlock>& ranges, Test test)
{
    return test(ranges.highlights) || test(ranges.midtones) || test(ranges.shadows);
}

bool AnyOn(const OCRanges<OCChannelBlock>& ranges)
{
    return ranges.master.on || AnyRange(ranges, [](const OCChannelBlock& block) { return block.on != 0; });
}

/// Scale and offset of the RGB channels after the CMY block is folded in: each of C, M and Y works on the two channels
/// that it is made of.
OCChannelParams FoldedScalars(const OCChannelBlock& rgb, const OCChannelBlock& cmy, bool fold, Group group)
{
    OCChannelParams params = {};
    float groupGain = rgb.group.gain;
    float groupPedestal = rgb.group.pedestal;
    if (fold) {
        groupGain = groupGain * cmy.group.gain;
        // Deliberate: in the shadows the CMY pedestal replaces the one of RGB; everywhere else they add up.
        groupPedestal = group == kShadowGroup ? cmy.group.pedestal : groupPedestal + cmy.group.pedestal;
    }
    for (uint32_t c = 0; c < 3; ++c) {
        float gain = rgb.channel[c].gain;
        float pedestal = rgb.channel[c].pedestal;
        if (fold) {
            const OCTriple& first = cmy.channel[c == 0 ? 1 : 0];
            const OCTriple& second = cmy.channel[c == 2 ? 1 : 2];
            gain = gain * first.gain * second.gain;
            pedestal = pedestal + first.pedestal + second.pedestal;
        }
        params.scale[c] = groupGain * gain;
        params.offset[c] = groupPedestal + pedestal;
    }
    return params;
}

OCTone BuildFoldedGamma(OCEngine* engine, uint32_t slot, const OCChannelBlock& rgb, const OCChannelBlock& cmy,
                        uint32_t channel, bool fold, Group group)
{
    const float own = 1 / rgb.channel[channel].gamma;
    const float whole = 1 / rgb.group.gamma;
    if (!fold) return BuildPowers(engine, slot, own, whole);
    const float first = 1 / cmy.channel[channel == 0 ? 1 : 0].gamma;
    const float second = 1 / cmy.channel[channel == 2 ? 1 : 2].gamma;
    const float cmyWhole = 1 / cmy.group.gamma;
    if (group == kMaster) return BuildPowers(engine, slot, own, whole, {cmyWhole, first, second});
    // Deliberate: the group gamma of a range acts twice, that of the master once.
    return BuildPowers(engine, slot, own, whole, {first, cmyWhole, second, cmyWhole});
}

} // namespace

void ocengine::UpdateRGB(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.rgbMasterOn = s.rgb.master.on != 0;
    p.cmyMasterOn = s.cmy.master.on != 0;
    p.rgbRangeOn = AnyRange(s.rgb, [](const OCChannelBlock& b) { return b.on != 0; });
    p.cmyRangeOn = AnyRange(s.cmy, [](const OCChannelBlock& b) { return b.on != 0; });
    p.rgbMasterGamma = HasGamma(s.rgb.master);
    p.cmyMasterGamma = HasGamma(s.cmy.master);
    p.rgbRangeGamma = AnyRange(s.rgb, HasGamma);
    p.cmyRangeGamma = AnyRange(s.cmy, HasGamma);
    const bool fold = AnyOn(s.cmy);
    if (!fold && !AnyOn(s.rgb)) return;
    const OCChannelBlock* rgb[kGroupCount] = {&s.rgb.master, &s.rgb.shadows, &s.rgb.midtones, &s.rgb.highlights};
    const OCChannelBlock* cmy[kGroupCount] = {&s.cmy.master, &s.cmy.shadows, &s.cmy.midtones, &s.cmy.highlights};
    for (uint32_t g = kMaster; g < kGroupCount; ++g)
        (g == kMaster ? p.rgbMaster : p.rgbRange[g - 1]) = FoldedScalars(*rgb[g], *cmy[g], fold, static_cast<Group>(g));
    for (uint32_t c = 0; c < 3; ++c) {
        const auto build = [&](uint32_t g) {
            return BuildFoldedGamma(engine, kRGBSlot + g * 3 + c, *rgb[g], *cmy[g], c, fold, static_cast<Group>(g));
        };
        p.rgbMaster.tone[c] = build(kMaster);
        const uint32_t before = engine->tablesBuilt;
        for (uint32_t r = 0; r < ocRangeCount; ++r) p.rgbRange[r].tone[c] = build(r + 1);
        if (engine->tablesBuilt != before)
            p.rgbRangeRows[c] = LaySideBySide(engine, kRGBRows + 4 * c, kRGBSlot + 3 + c, 3);
    }
}

void ocengine::UpdateYCbCr(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.yccMasterOn = s.ycbcr.master.on != 0;
    p.yccRangeOn = AnyRange(s.ycbcr, [](const OCChannelBlock& b) { return b.on != 0; });
    p.yccMasterGamma = HasGamma(s.ycbcr.master);
    p.yccRangeGamma = AnyRange(s.ycbcr, HasGamma);
    if (!AnyOn(s.ycbcr)) return;
    const OCChannelBlock* ycc[kGroupCount] = {&s.ycbcr.master, &s.ycbcr.shadows, &s.ycbcr.midtones,
                                              &s.ycbcr.highlights};
    for (uint32_t g = kMaster; g < kGroupCount; ++g)
        (g == kMaster ? p.yccMaster : p.yccRange[g - 1]) =
            FoldedScalars(*ycc[g], *ycc[g], false, static_cast<Group>(g));
    for (uint32_t c = 0; c < 3; ++c) {
        const auto build = [&](uint32_t g) { // the group gamma acts on Y alone
            return BuildPowers(engine, kYCCSlot + g * 3 + c, 1 / ycc[g]->channel[c].gamma,
                               c == 0 ? 1 / ycc[g]->group.gamma : 1);
        };
        p.yccMaster.tone[c] = build(kMaster);
        const uint32_t before = engine->tablesBuilt;
        for (uint32_t r = 0; r < ocRangeCount; ++r) p.yccRange[r].tone[c] = build(r + 1);
        if (engine->tablesBuilt != before)
            p.yccRangeRows[c] = LaySideBySide(engine, kYCCRows + 4 * c, kYCCSlot + 3 + c, 3);
    }
}

// Levels ---------------------------------------------------------------------------------------------------------------

namespace {

constexpr float kFlat = 1e-9f; // the scale of a range without extent: the channel goes flat, not infinite

float InverseExtent(float low, float high)
{
    return low == high ? kFlat : 1 / (high - low);
}

float Extent(float low, float high)
{
    return low == high ? kFlat : high - low;
}

float GrayExponent(const OCLevelsBlock& block)
{
    const float g = (block.ingraypt - block.inblackpt) / (block.inwhitept - block.inblackpt);
    if (g < 0.5f) return 1 / (10 * (0.5f - g) + 1);
    if (!(g > 0.5f)) return 1;
    const float d = 1 - 2 * (g - 0.5f);
    return d == 0 ? 1000000.0f : 1 / d;
}

} // namespace

void ocengine::UpdateLevels(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.levelsEnabled = s.levelsOn != 0;
    p.levelsInGamma = false;
    for (uint32_t i = 0; i < 4; ++i) p.levelsInGamma = p.levelsInGamma || s.levels[i].ingraypt != 0.5f;
    if (!p.levelsEnabled) return;
    const OCLevelsBlock& m = s.levels[0];
    const float masterIn = InverseExtent(m.inblackpt, m.inwhitept);
    for (uint32_t c = 0; c < 3; ++c) {
        const OCLevelsBlock& own = s.levels[c + 1];
        const float ownIn = InverseExtent(own.inblackpt, own.inwhitept);
        p.inScale[c] = masterIn * ownIn;
        // Deliberate: the channel's offset is added to the master's, not nested in it.
        p.inOffset[c] = -m.inblackpt * masterIn - own.inblackpt * ownIn;
        p.outScale[c] = Extent(m.outblackpt, m.outwhitept) * Extent(own.outblackpt, own.outwhitept);
        p.outOffset[c] = own.outblackpt + m.outblackpt;
        p.levels[c] = BuildPowers(engine, kLevelsSlot + c, GrayExponent(own), GrayExponent(m));
    }
}
