// From a grade to parameters and tone tables.
//
// Every table stands in a slot together with the inputs that it was made from; a slot is built again only when those
// differ. Tables of tools that are off are left alone.
#include "src/BPMath.h"
#include "src/OCCurves.h"
#include "src/OCEngine.h"
#include "src/OCTint.h"
#include "src/OCTransfer.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <new>

namespace {

constexpr const char* kTitle = "Ochrine 3 UI";
constexpr uint32_t kTableStride = 16400; // floats from table to table, a multiple of a cache line
constexpr uint32_t kKeyFloats = 12;
constexpr float kLongBase = 128, kShortBase = 2048; // slope of the last 128 and of the last 8 steps

/// Master and the three ranges, in the order in which the contrast of one feeds the next.
enum Group : uint32_t { kMaster, kShadowGroup, kMidtoneGroup, kHighlightGroup, kGroupCount };

enum Slot : uint32_t {
    kHSLSlot = 0,                             // by group
    kRGBSlot = kHSLSlot + kGroupCount,        // by group, then channel
    kYCCSlot = kRGBSlot + kGroupCount * 3,    // likewise
    kLevelsSlot = kYCCSlot + kGroupCount * 3, // by channel
    kSecondarySlot = kLevelsSlot + 3,
    kForwardSlot = kSecondarySlot + kOCSecondaryCount,
    kInverseSlot,
    kRGBCurveSlot, // by channel
    kHSLCurveSlot = kRGBCurveSlot + 3,
    kWeightSlot = kHSLCurveSlot + 3, // by range
    kSlotCount = kWeightSlot + 3
};

/// Further tables behind the slots: intermediate results that have no tone of their own.
enum Inner : uint32_t {
    kChain = kSlotCount,              // by group: the contrast stage, without brightness and gamma
    kOwnCurve = kChain + kGroupCount, // by channel: the RGB curves before they go through the master
    kRows = kOwnCurve + 3,            // from here on four tables each, entries side by side
    kWeightRows = kRows,
    kHSLRows = kWeightRows + 4,
    kRGBRows = kHSLRows + 4,     // by channel
    kYCCRows = kRGBRows + 4 * 3, // by channel
    kHSLCurveRows = kYCCRows + 4 * 3,
    kTableCount = kHSLCurveRows + 4
};

/// The inputs of a table, compared bit by bit.
struct Key {
    uint32_t count;
    float value[kKeyFloats];
};

Key KeyOf(std::initializer_list<float> values)
{
    Key key = {};
    for (float value : values) key.value[key.count++] = value;
    return key;
}

} // namespace

struct OCEngine {
    OCProcessParams params;
    float* tables;       // kTableCount tables
    float* calcArray;    // scratch of one table, from the first update on
    Key key[kSlotCount]; // count 0: never built
    HCurve rgbCurve[4], hslCurve[3];
    bool rgbCurvesBuilt, hslCurvesBuilt, weightsBuilt;
    OCLumaRangeBlock lumaRange;
    uint32_t tablesBuilt;
};

namespace {

float* TableAt(OCEngine* engine, uint32_t slot)
{
    return engine->tables + size_t{slot} * kTableStride;
}

OCTone ToneAt(OCEngine* engine, uint32_t slot, float base = kShortBase)
{
    const float* entry = TableAt(engine, slot);
    const uint32_t steps = 16384 / static_cast<uint32_t>(base);
    // Deliberate: the last entry but one is the top; inputs above 1 have always continued from there.
    return {.entry = entry, .top = entry[16383], .slope = (entry[16383] - entry[16383 - steps]) * base};
}

/// Lays the entries of three tables side by side: `first`, and two more `step` slots apart.
const float* LaySideBySide(OCEngine* engine, uint32_t rows, uint32_t first, uint32_t step)
{
    float* out = TableAt(engine, rows);
    const float* table[3] = {TableAt(engine, first), TableAt(engine, first + step), TableAt(engine, first + 2 * step)};
    for (size_t i = 0; i < kOCToneEntries; ++i)
        for (size_t k = 0; k < 3; ++k) out[4 * i + k] = table[k][i];
    return out;
}

/// True when the slot has to be built; it then counts as built with this key.
bool Renew(OCEngine* engine, uint32_t slot, const Key& key)
{
    if (std::memcmp(&engine->key[slot], &key, sizeof key) == 0) return false;
    engine->key[slot] = key;
    ++engine->tablesBuilt;
    return true;
}

void FillRamp(float* table)
{
    for (uint32_t i = 0; i < kOCToneEntries; ++i) table[i] = static_cast<float>(i) / 16384.0f;
}

/// A table that raises its input to the product of two exponents, as one power, and the entries in turn to further ones.
OCTone BuildPowers(OCEngine* engine, uint32_t slot, float own, float whole, std::initializer_list<float> further = {})
{
    Key key = KeyOf({own, whole});
    for (float exponent : further) key.value[key.count++] = exponent;
    if (Renew(engine, slot, key)) {
        float* table = TableAt(engine, slot);
        FillRamp(table);
        const double product = static_cast<double>(own) * static_cast<double>(whole);
        if (product != 1) BPPowerArray(table, product, table, kOCToneEntries);
        for (float exponent : further)
            if (exponent != 1) BPPowerArray(table, static_cast<double>(exponent), table, kOCToneEntries);
    }
    return ToneAt(engine, slot);
}

// HSL ------------------------------------------------------------------------------------------------------------------

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

void UpdateHSL(OCEngine* engine, const OCSettings& s)
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

void UpdateHueOffset(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.hueOffsetEnabled = s.primaryOn && s.hueOffsetOn;
    p.tint[ocShadows] = OCTintOf(s.hueOffset.shadows.tintangle, s.hueOffset.shadows.strength);
    p.tint[ocMidtones] = OCTintOf(s.hueOffset.midtones.tintangle, s.hueOffset.midtones.strength);
    p.tint[ocHighlights] = OCTintOf(s.hueOffset.highlights.tintangle, s.hueOffset.highlights.strength);
    p.tintMaster = OCTintOf(s.hueOffset.master.tintangle, s.hueOffset.master.strength);
}

// RGB, CMY and YCbCr ---------------------------------------------------------------------------------------------------

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

void UpdateRGB(OCEngine* engine, const OCSettings& s)
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

void UpdateYCbCr(OCEngine* engine, const OCSettings& s)
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

void UpdateLevels(OCEngine* engine, const OCSettings& s)
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

// Curves ---------------------------------------------------------------------------------------------------------------

bool SameCurve(const HCurve& a, const HCurve& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

float UnitOf(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

void UpdateRGBCurves(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.rgbCurvesEnabled = s.curvesOn && s.rgbCurvesOn;
    if (!p.rgbCurvesEnabled) return;
    const bool masterChanged = !engine->rgbCurvesBuilt || !SameCurve(s.rgbCurve[0], engine->rgbCurve[0]);
    bool changed[3] = {}; // a channel's own curve
    bool any = masterChanged;
    for (uint32_t c = 0; c < 3; ++c) {
        changed[c] = !engine->rgbCurvesBuilt || !SameCurve(s.rgbCurve[c + 1], engine->rgbCurve[c + 1]);
        any = any || changed[c];
    }
    if (any) {
        auto* masterLookup = static_cast<float*>(BPAllocate(kOCToneEntries * sizeof(float)));
        if (!masterLookup) {
            BPFatalError("Insufficient memory for masterLookup during parameter update", kTitle);
            return;
        }
        // The channels go through the master. A failure leaves the tables that are there.
        BPStatus err = OCBuildCurveTable(&s.rgbCurve[0], masterLookup);
        for (uint32_t c = 0; c < 3 && err == bpNoErr; ++c)
            if (changed[c]) err = OCBuildCurveTable(&s.rgbCurve[c + 1], TableAt(engine, kOwnCurve + c));
        for (uint32_t c = 0; c < 3 && err == bpNoErr; ++c) {
            if (!masterChanged && !changed[c]) continue;
            const float* own = TableAt(engine, kOwnCurve + c);
            float* table = TableAt(engine, kRGBCurveSlot + c);
            for (uint32_t i = 0; i < kOCToneEntries; ++i)
                table[i] = masterLookup[static_cast<uint32_t>(UnitOf(own[i]) * 16384.0f + 0.5f)];
            ++engine->tablesBuilt;
        }
        BPFree(masterLookup);
        engine->rgbCurvesBuilt = err == bpNoErr;
        if (err == bpNoErr) std::copy_n(s.rgbCurve, 4, engine->rgbCurve);
    }
    for (uint32_t c = 0; c < 3; ++c) p.rgbCurve[c] = ToneAt(engine, kRGBCurveSlot + c, kLongBase);
}

void SetHSLCurves(OCEngine* engine)
{
    engine->params.hueCurve = ToneAt(engine, kHSLCurveSlot);
    engine->params.saturationCurve = ToneAt(engine, kHSLCurveSlot + 1);
    engine->params.lightnessCurve = ToneAt(engine, kHSLCurveSlot + 2);
    engine->params.hslCurveRows = LaySideBySide(engine, kHSLCurveRows, kHSLCurveSlot, 1);
}

void UpdateHSLCurves(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    p.hslCurvesEnabled = s.curvesOn && s.hslCurvesOn;
    if (!p.hslCurvesEnabled) return;
    bool allBuilt = true;
    const uint32_t before = engine->tablesBuilt;
    for (uint32_t c = 0; c < 3; ++c) {
        if (engine->hslCurvesBuilt && SameCurve(s.hslCurve[c], engine->hslCurve[c])) continue;
        if (OCBuildCurveTable(&s.hslCurve[c], engine->calcArray) != bpNoErr) {
            allBuilt = false;
            continue;
        }
        float* table = TableAt(engine, kHSLCurveSlot + c);
        for (uint32_t i = 0; i < kOCToneEntries; ++i) // hue is a shift, saturation and lightness are factors
            table[i] = c == 0 ? engine->calcArray[i] - 0.5f : 2 * engine->calcArray[i];
        ++engine->tablesBuilt;
    }
    engine->hslCurvesBuilt = allBuilt;
    if (allBuilt) std::copy_n(s.hslCurve, 3, engine->hslCurve);
    if (engine->tablesBuilt != before) SetHSLCurves(engine);
}

// Luma ranges, secondaries, source transfer ----------------------------------------------------------------------------

void UpdateWeights(OCEngine* engine, const OCSettings& s)
{
    float* table[ocRangeCount] = {TableAt(engine, kWeightSlot), TableAt(engine, kWeightSlot + 1),
                                  TableAt(engine, kWeightSlot + 2)};
    for (uint32_t r = 0; r < ocRangeCount; ++r) engine->params.weight[r] = table[r];
    OCLumaRangeBlock inputs = s.lumaRange;
    inputs.controlState[0] = inputs.controlState[1] = 0;
    if (engine->weightsBuilt && std::memcmp(&inputs, &engine->lumaRange, sizeof inputs) == 0) return;
    if (OCBuildLumaRangeTables(&inputs, table[ocShadows], table[ocMidtones], table[ocHighlights]) != bpNoErr) return;
    engine->params.weightRows = LaySideBySide(engine, kWeightRows, kWeightSlot, 1);
    engine->tablesBuilt += ocRangeCount;
    engine->weightsBuilt = true;
    engine->lumaRange = inputs;
}

void UpdateSecondaries(OCEngine* engine, const OCSettings& s)
{
    if (!s.secondaryOn || !s.secondaryInUse) return;
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
        if (s.secondary[i].on)
            engine->params.secondary[i] = BuildPowers(engine, kSecondarySlot + i, 1 / s.secondary[i].gamma, 1);
}

void BuildVideoGamma(float g, float* inverse)
{
    const float ig = 1 / g;
    const float knee = BPPower(0.018f, ig);
    const float a = (g >= 1 ? g - 1 : 1 - g) * 0.0811f;
    const float kneeValue = (1 + a) * knee - a;
    FillRamp(inverse);
    for (uint32_t i = 0; i < kOCToneEntries; ++i) {
        const float x = inverse[i];
        if (g >= 1)
            inverse[i] = x < 0.018f ? x * kneeValue / 0.018f : BPPower(x, ig) * (1 + a) - a;
        else
            inverse[i] = x < 0.018f ? x * 0.018f / kneeValue : BPPower(x, ig) * (1 - a) + a;
    }
}

void BuildLogTransfer(float refBlack, float refWhite, float* forward)
{
    const OCCineonScale scale = OCCineonScaleOf(refBlack, refWhite);
    for (uint32_t i = 0; i < kOCToneEntries; ++i)
        forward[i] = OCCineonToLight(static_cast<float>(i) / 16384.0f * 1023.0f, refBlack, refWhite, scale);
    BPDebugLog("breakPoint=%1.4f, gain=%1.4f, offset=%1.4f, kneeOffset=%1.4f, kneeGain=%1.4f, refWhite=%1.4f, "
               "refBlack=%1.4f\n",
               static_cast<double>(refBlack / 1023), static_cast<double>(scale.gain), static_cast<double>(scale.offset),
               0.0, 0.0, static_cast<double>(refWhite), static_cast<double>(refBlack));
}

void UpdateTransfer(OCEngine* engine, const OCSettings& s)
{
    OCProcessParams& p = engine->params;
    const OCSourceTransfer& t = s.transfer;
    p.transferOn = t.transferOn != 0;
    if (p.transferOn) {
        constexpr float video = 1, log = 2, plain = 3; // what a slot was made from
        if (t.transferVideoGamma) {
            if (Renew(engine, kInverseSlot, KeyOf({video, t.transferGamma})))
                BuildVideoGamma(t.transferGamma, TableAt(engine, kInverseSlot));
        } else if (t.transferLog) {
            const auto refBlack = static_cast<float>(t.transferRefBlack);
            const auto refWhite = static_cast<float>(t.transferRefWhite);
            if (Renew(engine, kForwardSlot, KeyOf({log, refBlack, refWhite})))
                BuildLogTransfer(refBlack, refWhite, TableAt(engine, kForwardSlot));
        } else if (!t.transferOtherA && !t.transferOtherB) {
            const bool forwardChanged = Renew(engine, kForwardSlot, KeyOf({plain, t.transferGamma}));
            const bool inverseChanged = Renew(engine, kInverseSlot, KeyOf({plain, t.transferGamma}));
            if (forwardChanged || inverseChanged) {
                BPDebugLog("^^^^^^^^^^ updating table for gamma %1.4f\n", static_cast<double>(t.transferGamma));
                FillRamp(engine->calcArray);
                BPPowerArray(engine->calcArray, t.transferGamma, TableAt(engine, kForwardSlot), kOCToneEntries);
                BPPowerArray(engine->calcArray, 1 / t.transferGamma, TableAt(engine, kInverseSlot), kOCToneEntries);
            }
        }
    }
    p.transferForward = ToneAt(engine, kForwardSlot);
    p.transferInverse = ToneAt(engine, kInverseSlot);
}

/// Tables that may be asked for before they were ever built: the transfer's, and curves whose first build found no
/// memory.
void FillNeutral(OCEngine* engine)
{
    OCProcessParams& p = engine->params;
    FillRamp(TableAt(engine, kForwardSlot));
    FillRamp(TableAt(engine, kInverseSlot));
    for (uint32_t c = 0; c < 3; ++c) {
        FillRamp(TableAt(engine, kRGBCurveSlot + c));
        p.rgbCurve[c] = ToneAt(engine, kRGBCurveSlot + c, kLongBase);
        std::fill_n(TableAt(engine, kHSLCurveSlot + c), kOCToneEntries, c == 0 ? 0.0f : 1.0f);
    }
    SetHSLCurves(engine);
}

} // namespace

BPStatus OCCreateEngine(OCEngine** engine)
{
    *engine = nullptr;
    auto* made = static_cast<OCEngine*>(BPAllocate(sizeof(OCEngine)));
    if (!made) return bpMemFullErr;
    made->tables = static_cast<float*>(BPAllocate(sizeof(float) * kTableStride * kTableCount));
    if (!made->tables) {
        BPFree(made);
        return bpMemFullErr;
    }
    FillNeutral(made);
    auto* neutral = static_cast<OCSettings*>(BPAllocate(sizeof(OCSettings)));
    if (neutral) {
        OCResetSettings(neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
        OCUpdateParameters(made, neutral);
        BPFree(neutral);
    }
    if (!made->weightsBuilt) { // without weights no pixel can be sent down the road
        OCDisposeEngine(made);
        return bpMemFullErr;
    }
    *engine = made;
    return bpNoErr;
}

void OCDisposeEngine(OCEngine* engine)
{
    if (!engine) return;
    BPFree(engine->calcArray);
    BPFree(engine->tables);
    BPFree(engine);
}

void OCUpdateParameters(OCEngine* engine, const OCSettings* settings)
{
    if (!engine->calcArray) engine->calcArray = static_cast<float*>(BPAllocate(kOCToneEntries * sizeof(float)));
    if (!engine->calcArray) {
        BPFatalError("Insufficient memory for calcArray during parameter update", kTitle);
        return;
    }
    engine->tablesBuilt = 0;
    OCProcessParams& p = engine->params;
    // Deliberate: whether the recovery runs is asked of the live grade, where it begins of the neutral copy. With the
    // Levels master block off it then works on super-white alone.
    p.highlightRecoveryIn = settings->inputControls_highlight_recovery != 0;
    OCSettings s = *settings;
    OCNeutraliseSettings(&s);
    p.recoveryThreshold = 1 - 0.4f * s.inputControls_highlight_recovery;
    p.outputRecoveryThreshold = 1 - 0.4f * s.outputControls_highlight_recovery;
    p.limiterEnabled = s.limiter_enable != 0;
    p.limiterPreview = s.limiter_preview != 0;
    p.limiterSoftClip = s.limiter.limiter_softclip_enable != 0;
    UpdateHSL(engine, s);
    UpdateHueOffset(engine, s);
    UpdateRGB(engine, s);
    UpdateYCbCr(engine, s);
    UpdateLevels(engine, s);
    UpdateRGBCurves(engine, s);
    UpdateHSLCurves(engine, s);
    UpdateWeights(engine, s);
    UpdateSecondaries(engine, s);
    UpdateTransfer(engine, s);
}

const OCProcessParams* OCParametersOf(const OCEngine* engine)
{
    return &engine->params;
}

uint32_t OCTablesBuilt(const OCEngine* engine)
{
    return engine->tablesBuilt;
}
