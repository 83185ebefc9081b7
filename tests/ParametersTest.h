// What the tests of parameters share: blocks by group, tables beside the model, a grade with everything on.
#pragma once

#include "src/OCStages.h"
#include "tests/CoreTest.h"
#include "tests/Model.h"

#include <cmath>
#include <cstdlib>

inline constexpr Group kGroups[4] = {Group::master, Group::shadows, Group::midtones, Group::highlights};

inline OCHSLBlock& HSLAt(OCSettings& g, Group group)
{
    return group == Group::master     ? g.hsl.master
           : group == Group::shadows  ? g.hsl.shadows
           : group == Group::midtones ? g.hsl.midtones
                                      : g.hsl.highlights;
}

inline OCChannelBlock& BlockAt(OCRanges<OCChannelBlock>& ranges, Group group)
{
    return group == Group::master     ? ranges.master
           : group == Group::shadows  ? ranges.shadows
           : group == Group::midtones ? ranges.midtones
                                      : ranges.highlights;
}

inline const OCHSLParams& HSLParamsAt(const OCProcessParams& p, Group group)
{
    return group == Group::master ? p.hslMaster : p.hslRange[static_cast<int>(group) - 1];
}

inline const OCChannelParams& RGBAt(const OCProcessParams& p, Group group)
{
    return group == Group::master ? p.rgbMaster : p.rgbRange[static_cast<int>(group) - 1];
}

inline const OCChannelParams& YCCAt(const OCProcessParams& p, Group group)
{
    return group == Group::master ? p.yccMaster : p.yccRange[static_cast<int>(group) - 1];
}

/// Every entry within `relative` of the model, and what continues the table exactly from its own entries.
inline testing::AssertionResult SameTone(const ModelTone& model, const OCTone& tone, double relative, int base = 8)
{
    for (int i = 0; i < 16385; i += (i < 64 || i > 16300) ? 1 : 13) {
        const auto expected = static_cast<double>(model(static_cast<Real>(i) / 16384));
        const auto seen = static_cast<double>(tone.entry[i]);
        if (!(std::fabs(expected - seen) <= relative * std::fabs(expected) + relative * 1e-2))
            return testing::AssertionFailure() << "entry " << i << ": expected " << expected << ", seen " << seen;
    }
    if (tone.top != tone.entry[16383]) return testing::AssertionFailure() << "top is " << tone.top;
    const float slope = (tone.entry[16383] - tone.entry[16383 - base]) * static_cast<float>(16384 / base);
    if (tone.slope != slope) return testing::AssertionFailure() << "slope is " << tone.slope << ", not " << slope;
    return testing::AssertionSuccess();
}

inline OCSettings EverythingOn()
{
    OCSettings g = NeutralGrade();
    g.primaryOn = g.hslOn = g.rgbOn = g.ycbcrOn = g.cmyOn = g.hueOffsetOn = g.levelsOn = 1;
    g.curvesOn = g.rgbCurvesOn = g.hslCurvesOn = g.lumaRangeOn = g.secondaryOn = 1;
    for (Group group : kGroups) {
        HSLAt(g, group).on = 1;
        BlockAt(g.rgb, group).on = BlockAt(g.ycbcr, group).on = BlockAt(g.cmy, group).on = 1;
    }
    for (OCLevelsBlock& block : g.levels) block.on = 1;
    for (OCSecondary& secondary : g.secondary) secondary.on = 1;
    g.transfer.transferOn = 1;
    return g;
}

inline size_t Rounds(size_t usual)
{
    const char* wanted = std::getenv("OC_TEST_ROUNDS");
    return wanted ? static_cast<size_t>(std::atoll(wanted)) : usual;
}

/// One picture that meets all there is.
struct ParametersPicture {
    FramePtr source = MakeFrame(64, 9), result = MakeFrame(64, 9);
    explicit ParametersPicture(uint32_t seed)
    {
        Random random(seed);
        for (uint32_t plane = 0; plane < 4; ++plane)
            for (uint32_t row = 0; row < 9; ++row)
                for (uint32_t column = 0; column < 64; ++column) At(*source, plane, row, column) = RandomSignal(random);
    }
    const FBFrame& Run(const OCEngine* engine)
    {
        OCProcessImageBandScalar(*OCParametersOf(engine), source.get(), result.get());
        return *result;
    }
};
