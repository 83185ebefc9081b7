// From a grade to parameters: every table against the model, flags and scalars against numbers, and what is built when.
#include "src/OCStages.h"

#include "src/BPMath.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"
#include "tests/Model.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>

namespace {

constexpr Group kGroups[4] = {Group::master, Group::shadows, Group::midtones, Group::highlights};

OCHSLBlock& HSLAt(OCSettings& g, Group group)
{
    return group == Group::master     ? g.hsl.master
           : group == Group::shadows  ? g.hsl.shadows
           : group == Group::midtones ? g.hsl.midtones
                                      : g.hsl.highlights;
}

OCChannelBlock& BlockAt(OCRanges<OCChannelBlock>& ranges, Group group)
{
    return group == Group::master     ? ranges.master
           : group == Group::shadows  ? ranges.shadows
           : group == Group::midtones ? ranges.midtones
                                      : ranges.highlights;
}

const OCHSLParams& HSLParamsAt(const OCProcessParams& p, Group group)
{
    return group == Group::master ? p.hslMaster : p.hslRange[static_cast<int>(group) - 1];
}

const OCChannelParams& RGBAt(const OCProcessParams& p, Group group)
{
    return group == Group::master ? p.rgbMaster : p.rgbRange[static_cast<int>(group) - 1];
}

const OCChannelParams& YCCAt(const OCProcessParams& p, Group group)
{
    return group == Group::master ? p.yccMaster : p.yccRange[static_cast<int>(group) - 1];
}

/// Every entry within `relative` of the model, and what continues the table exactly from its own entries.
testing::AssertionResult SameTone(const ModelTone& model, const OCTone& tone, double relative, int base = 8)
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

OCSettings EverythingOn()
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

size_t Rounds(size_t usual)
{
    const char* wanted = std::getenv("OC_TEST_ROUNDS");
    return wanted ? static_cast<size_t>(std::atoll(wanted)) : usual;
}

/// One picture that has met all there is.
struct Picture {
    FramePtr source = MakeFrame(64, 9), result = MakeFrame(64, 9);
    explicit Picture(uint32_t seed)
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

} // namespace

TEST(OCParameters, HSLTonesFollowTheChainOfContrasts)
{
    struct Shape {
        float contrast, center, brightness, gamma;
    };
    const Shape cases[][4] = {
        {{0, 0.5f, 0, 1}, {0, 0.5f, 0, 1}, {0, 0.5f, 0, 1}, {0, 0.5f, 0, 1}},
        {{30, 0.5f, 0, 1}, {-20, 0.5f, 0, 1}, {10, 0.4f, 0, 1}, {15, 0.6f, 0, 1}},
        {{-60, 0.3f, 20, 1.4f}, {25, 0.7f, -30, 0.7f}, {0, 0.5f, 60, 2.2f}, {40, 0.5f, 0, 1.1f}},
        {{0, 0.5f, 100, 1}, {0, 0.5f, -100, 1}, {-100, 0.5f, 0, 1}, {99, 0.5f, 0, 0.5f}},
    };
    EnginePtr engine = MakeEngine();
    for (const auto& shapes : cases) {
        OCSettings g = NeutralGrade();
        g.primaryOn = g.hslOn = 1;
        for (int i = 0; i < 4; ++i) {
            OCHSLBlock& block = HSLAt(g, kGroups[i]);
            block.on = 1;
            block.contrast = shapes[i].contrast;
            block.contrastCenter = shapes[i].center;
            block.brightness = shapes[i].brightness;
            block.gamma = shapes[i].gamma;
        }
        OCUpdateParameters(engine.get(), &g);
        for (int i = 0; i < 4; ++i)
            EXPECT_TRUE(SameTone(ModelHSLTone(g, kGroups[i]),
                                 HSLParamsAt(*OCParametersOf(engine.get()), kGroups[i]).tone, 3e-5))
                << "group " << i;
    }
}

// Deliberate: what one range's contrast makes is what the next range's contrast gets.
TEST(OCParameters, ContrastOfTheMasterReachesTheHighlightsButItsGammaDoesNot)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.primaryOn = g.hslOn = g.hsl.master.on = 1;
    OCUpdateParameters(engine.get(), &g);
    const float neutral = OCParametersOf(engine.get())->hslRange[ocHighlights].tone.entry[4096];
    g.hsl.master.gamma = 2;
    g.hsl.master.brightness = 50;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(OCParametersOf(engine.get())->hslRange[ocHighlights].tone.entry[4096], neutral);
    g.hsl.master.contrast = 50;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_NEAR(OCParametersOf(engine.get())->hslRange[ocHighlights].tone.entry[4096], 0.125f, 1e-6f); // (1/2)^2 / 2
}

TEST(OCParameters, ContrastOfExactly100IsAHardStep)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.primaryOn = g.hslOn = g.hsl.master.on = 1;
    g.hsl.master.contrast = 100;
    OCUpdateParameters(engine.get(), &g);
    const float* entry = OCParametersOf(engine.get())->hslMaster.tone.entry;
    EXPECT_EQ(entry[8192], 0.5f);
    EXPECT_NEAR(entry[8192 - 128], static_cast<float>(std::pow(2 * 8064 / 16384.0, 127) / 2), 1e-6f);
    EXPECT_LT(entry[7168], 1e-7f);
    EXPECT_GT(entry[9216], 1 - 1e-7f);
    EXPECT_EQ(entry[0], 0);
    EXPECT_EQ(entry[16384], 1);
}

TEST(OCParameters, ContrastClipsBeyondHalfTheScaleFromItsCentre)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.primaryOn = g.hslOn = g.hsl.master.on = 1;
    g.hsl.master.contrastCenter = 0.75f;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(OCParametersOf(engine.get())->hslMaster.tone.entry[4096], 0);
    EXPECT_EQ(OCParametersOf(engine.get())->hslMaster.tone.entry[8192], 0.25f);
    g.hsl.master.contrastCenter = 0.25f;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(OCParametersOf(engine.get())->hslMaster.tone.entry[12288], 1);
}

TEST(OCParameters, HSLScalars)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    const struct {
        float vibrance, factor;
    } rows[] = {{0, 1}, {50, 1.5f}, {100, 2}, {-100, 0.37f}, {-50, 0.685f}, {-1, 0.9937f}};
    for (const auto& row : rows) {
        OCSettings g = NeutralGrade();
        g.primaryOn = g.hslOn = g.hsl.master.on = g.hsl.shadows.on = 1;
        g.hsl.master.vibrance = row.vibrance;
        g.hsl.shadows.saturation = 150;
        g.hsl.shadows.hue = 90;
        g.hsl.shadows.gain = 1.25f;
        g.hsl.shadows.pedestal = -0.125f;
        OCUpdateParameters(engine.get(), &g);
        const OCProcessParams& p = *OCParametersOf(engine.get());
        EXPECT_FLOAT_EQ(p.hslMaster.vibrance, row.factor);
        EXPECT_EQ(p.hslRange[ocShadows].saturation, 1.5f);
        EXPECT_NEAR(p.hslRange[ocShadows].hueCosine, 0, 1e-7f);
        EXPECT_EQ(p.hslRange[ocShadows].hueSine, 1);
        EXPECT_EQ(p.hslRange[ocShadows].gain, 1.25f);
        EXPECT_EQ(p.hslRange[ocShadows].pedestal, -0.125f);
        char line[80];
        std::snprintf(line, sizeof line, "++++++++++++++++++ Computed Vibrance = %f\n",
                      static_cast<double>(p.hslMaster.vibrance));
        EXPECT_NE(log.Text().find(line), std::string::npos) << line;
    }
}

TEST(OCParameters, RGBTonesWithoutAndWithCMY)
{
    EnginePtr engine = MakeEngine();
    Random random(21);
    for (int round = 0; round < 6; ++round) {
        OCSettings g = RandomGrade(random, 1u << toolRGBMaster | 1u << toolRGBRanges, reachKnob);
        for (Group group : kGroups) {
            OCChannelBlock& rgb = BlockAt(g.rgb, group);
            OCChannelBlock& cmy = BlockAt(g.cmy, group);
            cmy.on = round >= 2 && (round != 3 || group == Group::midtones); // one block alone folds all four
            for (OCChannelBlock* block : {&rgb, &cmy})
                for (OCTriple* triple : {&block->group, &block->channel[0], &block->channel[1], &block->channel[2]})
                    *triple = {Between(random, 0.5f, 2), Between(random, 0.5f, 2), Between(random, -0.3f, 0.3f)};
            rgb.on = round != 4;
        }
        g.rgbOn = 1;
        g.cmyOn = round >= 2;
        OCUpdateParameters(engine.get(), &g);
        for (Group group : kGroups)
            for (int c = 0; c < 3; ++c)
                EXPECT_TRUE(
                    SameTone(ModelRGBTone(g, group, c), RGBAt(*OCParametersOf(engine.get()), group).tone[c], 2e-5))
                    << "round " << round << ", group " << static_cast<int>(group) << ", channel " << c;
    }
}

/// The two gammas of a table act in one go: nothing is rounded in between.
TEST(OCParameters, AGammaOfAGammaIsWithinOneUlp)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.rgbOn = g.rgb.master.on = g.ycbcrOn = g.ycbcr.master.on = g.levelsOn = 1;
    const struct {
        float own, group;
    } rows[] = {{0.1f, 10}, {0.1f, 0.1f}, {10, 0.1f}, {2.2f, 0.45f}, {0.3f, 1.7f}};
    for (const auto& row : rows) {
        g.rgb.master.channel[1].gamma = g.ycbcr.master.channel[0].gamma = row.own;
        g.rgb.master.group.gamma = g.ycbcr.master.group.gamma = row.group;
        OCUpdateParameters(engine.get(), &g);
        const OCProcessParams& p = *OCParametersOf(engine.get());
        for (const float* entry : {p.rgbMaster.tone[1].entry, p.yccMaster.tone[0].entry})
            for (int i = 0; i < 16385; i += 3) {
                const Real x = static_cast<Real>(i) / 16384;
                const auto expected =
                    static_cast<float>(powl(powl(x, static_cast<Real>(1 / row.own)), static_cast<Real>(1 / row.group)));
                ASSERT_TRUE(entry[i] == expected || std::nextafter(entry[i], expected) == expected)
                    << row.own << ", " << row.group << ", entry " << i << ": " << entry[i] << ", expected " << expected;
            }
    }
}

TEST(OCParameters, CMYGainsAndPedestalsFoldIntoTheTwoOtherChannels)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.rgbOn = g.cmyOn = 1;
    for (Group group : kGroups) {
        BlockAt(g.rgb, group) = {1, {2, 1, 0.5f}, {{3, 1, 0.01f}, {5, 1, 0.02f}, {7, 1, 0.03f}}};
        BlockAt(g.cmy, group) = {1, {1.5f, 1, 0.25f}, {{1.1f, 1, 0.1f}, {1.3f, 1, 0.2f}, {1.7f, 1, 0.3f}}};
    }
    OCUpdateParameters(engine.get(), &g);
    for (Group group : kGroups) {
        const OCChannelParams& seen = RGBAt(*OCParametersOf(engine.get()), group);
        EXPECT_FLOAT_EQ(seen.scale[0], 3 * (3 * 1.3f * 1.7f));
        EXPECT_FLOAT_EQ(seen.scale[1], 3 * (5 * 1.1f * 1.7f));
        EXPECT_FLOAT_EQ(seen.scale[2], 3 * (7 * 1.1f * 1.3f));
        const float base = group == Group::shadows ? 0.25f : 0.75f; // Deliberate: it replaces in the shadows
        EXPECT_FLOAT_EQ(seen.offset[0], base + 0.01f + 0.5f);
        EXPECT_FLOAT_EQ(seen.offset[1], base + 0.02f + 0.4f);
        EXPECT_FLOAT_EQ(seen.offset[2], base + 0.03f + 0.3f);
    }
    g.cmyOn = 0; // without CMY the scalars of RGB stand alone, the shadows' pedestal among them
    OCUpdateParameters(engine.get(), &g);
    for (Group group : kGroups) {
        EXPECT_FLOAT_EQ(RGBAt(*OCParametersOf(engine.get()), group).scale[2], 14);
        EXPECT_FLOAT_EQ(RGBAt(*OCParametersOf(engine.get()), group).offset[2], 0.53f);
    }
    g.cmyOn = 1; // any block of CMY folds all ranges: the neutral pedestal replaces that of the RGB shadows
    g.cmy.shadows.on = g.cmy.midtones.on = g.cmy.highlights.on = 0;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_FLOAT_EQ(RGBAt(*OCParametersOf(engine.get()), Group::shadows).offset[0], 0.01f);
    EXPECT_FLOAT_EQ(RGBAt(*OCParametersOf(engine.get()), Group::midtones).offset[0], 0.51f);
}

TEST(OCParameters, YCbCrTonesTakeTheGroupGammaOnLumaAlone)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.ycbcrOn = 1;
    for (Group group : kGroups)
        BlockAt(g.ycbcr, group) = {1, {1.5f, 1.7f, 0.1f}, {{2, 0.8f, 0.01f}, {3, 1.2f, 0.02f}, {4, 2.5f, 0.03f}}};
    OCUpdateParameters(engine.get(), &g);
    for (Group group : kGroups) {
        const OCChannelParams& seen = YCCAt(*OCParametersOf(engine.get()), group);
        for (int c = 0; c < 3; ++c) {
            EXPECT_TRUE(SameTone(ModelYCCTone(g, group, c), seen.tone[c], 1e-5));
            EXPECT_FLOAT_EQ(seen.scale[c], 1.5f * static_cast<float>(c + 2));
            EXPECT_FLOAT_EQ(seen.offset[c], 0.1f + 0.01f * static_cast<float>(c + 1));
        }
    }
}

TEST(OCParameters, LevelsScalesOffsetsAndTones)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.levelsOn = 1;
    g.levels[0] = {0, 1, 0.1f, 0.4f, 0.9f, 0.05f, 0.5f, 0.95f};
    g.levels[1] = {0, 1, 0.2f, 0.7f, 0.8f, 0.1f, 0.5f, 0.7f};
    g.levels[2] = {0, 0, 0.3f, 0.1f, 0.4f, 0.3f, 0.5f, 0.4f}; // off: neutral
    g.levels[3] = {0, 1, 0.8f, 0.5f, 0.2f, 1, 0.5f, 0};       // upside down
    OCUpdateParameters(engine.get(), &g);
    const OCProcessParams& p = *OCParametersOf(engine.get());
    EXPECT_NEAR(p.inScale[0], 1 / 0.8f / 0.6f, 1e-6f);
    EXPECT_NEAR(p.inOffset[0], -0.1f / 0.8f - 0.2f / 0.6f, 1e-6f);
    EXPECT_NEAR(p.outScale[0], 0.9f * 0.6f, 1e-6f);
    EXPECT_NEAR(p.outOffset[0], 0.15f, 1e-6f);
    EXPECT_NEAR(p.inScale[1], 1 / 0.8f, 1e-6f);
    EXPECT_NEAR(p.inScale[2], -1 / 0.8f / 0.6f, 1e-6f);
    EXPECT_NEAR(p.inOffset[2], -0.1f / 0.8f + 0.8f / 0.6f, 1e-6f);
    EXPECT_NEAR(p.outScale[2], -0.9f, 1e-6f);
    EXPECT_TRUE(p.levelsEnabled);
    EXPECT_TRUE(p.levelsInGamma);
    for (int c = 0; c < 3; ++c) EXPECT_TRUE(SameTone(ModelLevelsTone(g, c), p.levels[c], 2e-5)) << c;
}

TEST(OCParameters, LevelsWithoutExtentGoFlatNotInfinite)
{
    EnginePtr engine = MakeEngine();
    for (int block = 0; block < 4; ++block) {
        OCSettings g = NeutralGrade();
        g.levelsOn = 1;
        g.levels[block] = {0, 1, 0.5f, 0.5f, 0.5f, 0.25f, 0.5f, 0.25f};
        OCUpdateParameters(engine.get(), &g);
        const OCProcessParams& p = *OCParametersOf(engine.get());
        for (int c = 0; c < 3; ++c) {
            const bool own = block == 0 || block == c + 1;
            EXPECT_EQ(p.inScale[c], own ? 1e-9f : 1.0f);
            EXPECT_EQ(p.outScale[c], own ? 1e-9f : 1.0f);
            EXPECT_TRUE(std::isfinite(p.inOffset[c]));
            for (int i = 0; i < 16385; ++i) ASSERT_TRUE(std::isfinite(p.levels[c].entry[i]));
        }
    }
}

TEST(OCParameters, TheGrayPointMakesTheExponent)
{
    EnginePtr engine = MakeEngine();
    const struct {
        float black, gray, white;
        double exponent;
    } rows[] = {{0, 0.25f, 1, 1 / 3.5},  {0, 0, 1, 1 / 6.0}, {0, 0.75f, 1, 2},      {0, 1, 1, 1e6},
                {0.25f, 0.5f, 0.75f, 1}, {0, 0.5f, 1, 1},    {0, 0.9f, 1, 1 / 0.2}, {0.2f, 0.8f, 0.8f, 1e6}};
    for (const auto& row : rows) {
        OCSettings g = NeutralGrade();
        g.levelsOn = 1;
        g.levels[2] = {0, 1, row.black, row.gray, row.white, 0, 0.5f, 1};
        OCUpdateParameters(engine.get(), &g);
        const float* entry = OCParametersOf(engine.get())->levels[1].entry;
        for (int i = 0; i < 16385; i += 1024)
            EXPECT_NEAR(static_cast<double>(entry[i]), std::pow(i / 16384.0, row.exponent), 2e-6) << row.gray;
        EXPECT_EQ(entry[16384], 1);
        EXPECT_EQ(OCParametersOf(engine.get())->levelsInGamma, row.gray != 0.5f) << "asks the field, not the position";
    }
}

TEST(OCParameters, RGBCurvesGoThroughTheMaster)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.curvesOn = g.rgbCurvesOn = 1;
    g.rgbCurve[0] = CurveOf({{0.0f, 1.0f}, {1.0f, 0.0f}});
    g.rgbCurve[1] = CurveOf({{0.0f, 0.2f}, {1.0f, 0.6f}});
    g.rgbCurve[3] = CurveOf({{0.0f, 0.5f}, {1.0f, 3.0f}}); // beyond the scale: clamped on its way to the master
    OCUpdateParameters(engine.get(), &g);
    const OCProcessParams& p = *OCParametersOf(engine.get());
    EXPECT_TRUE(p.rgbCurvesEnabled);
    for (int i = 0; i < 16385; i += 16) {
        const double x = i / 16384.0;
        EXPECT_NEAR(static_cast<double>(p.rgbCurve[0].entry[i]), 1 - (0.2 + 0.4 * x), 7e-4);
        EXPECT_NEAR(static_cast<double>(p.rgbCurve[1].entry[i]), 1 - x, 7e-4);
        EXPECT_NEAR(static_cast<double>(p.rgbCurve[2].entry[i]), std::max(0.0, 0.5 - 2.5 * x), 7e-4);
    }
    for (const OCTone& tone : p.rgbCurve) { // the long base
        EXPECT_EQ(tone.top, tone.entry[16383]);
        EXPECT_EQ(tone.slope, (tone.entry[16383] - tone.entry[16255]) * 128);
    }
}

TEST(OCParameters, HSLCurvesAreAShiftAndTwoFactors)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.curvesOn = g.hslCurvesOn = 1;
    OCUpdateParameters(engine.get(), &g);
    const OCProcessParams& p = *OCParametersOf(engine.get());
    for (int i = 0; i < 16385; ++i) {
        ASSERT_EQ(p.hueCurve.entry[i], 0);
        ASSERT_EQ(p.saturationCurve.entry[i], 1);
        ASSERT_EQ(p.lightnessCurve.entry[i], 1);
    }
    g.hslCurve[0] = CurveOf({{0.0f, 0.75f}, {1.0f, 0.75f}});
    g.hslCurve[1] = CurveOf({{0.0f, 0.1f}, {1.0f, 0.1f}});
    g.hslCurve[2] = CurveOf({{0.0f, 0.9f}, {1.0f, 0.9f}});
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(p.hueCurve.entry[5], 0.25f);
    EXPECT_FLOAT_EQ(p.saturationCurve.entry[5], 0.2f);
    EXPECT_FLOAT_EQ(p.lightnessCurve.entry[5], 1.8f);
}

TEST(OCParameters, SecondaryGammas)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.secondaryOn = 1;
    for (uint32_t i = 0; i < 6; ++i) {
        g.secondary[i].on = 1;
        g.secondary[i].gamma = 0.5f + 0.3f * static_cast<float>(i);
    }
    OCUpdateParameters(engine.get(), &g);
    for (uint32_t i = 0; i < 6; ++i)
        EXPECT_TRUE(SameTone([&](Real x) { return powl(x, 1 / static_cast<Real>(g.secondary[i].gamma)); },
                             OCParametersOf(engine.get())->secondary[i].tone, 1e-6));
}

TEST(OCParameters, SourceTransferTables)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    const OCProcessParams& p = *OCParametersOf(engine.get());
    OCSettings g = NeutralGrade();
    const auto isRamp = [](const OCTone& tone) { return tone.entry[4096] == 0.25f && tone.entry[16384] == 1; };
    g.transfer.transferGamma = 1.8f;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_FALSE(p.transferOn);
    EXPECT_TRUE(isRamp(p.transferForward) && isRamp(p.transferInverse)); // only built when switched on

    g.transfer.transferOn = 1;
    g.transfer.transferOtherA = 1; // a mode whose tables are left alone
    OCUpdateParameters(engine.get(), &g);
    EXPECT_TRUE(isRamp(p.transferForward) && isRamp(p.transferInverse));
    g.transfer.transferOtherA = 0;
    g.transfer.transferOtherB = 1;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_TRUE(isRamp(p.transferForward) && isRamp(p.transferInverse));

    for (float gamma : {0.6f, 1.0f, 2.2f}) { // video: the inverse alone
        g.transfer.transferVideoGamma = 1;
        g.transfer.transferGamma = gamma;
        OCUpdateParameters(engine.get(), &g);
        EXPECT_TRUE(isRamp(p.transferForward));
        const ModelTone video = [gamma](Real x) -> Real {
            const Real v = gamma, ig = 1 / v, a = (v >= 1 ? v - 1 : 1 - v) * 0.0811L;
            const Real knee = (1 + a) * powl(0.018L, ig) - a;
            if (v >= 1) return x < 0.018L ? x * knee / 0.018L : powl(x, ig) * (1 + a) - a;
            return x < 0.018L ? x * 0.018L / knee : powl(x, ig) * (1 - a) + a;
        };
        EXPECT_TRUE(SameTone(video, p.transferInverse, 2e-5)) << gamma;
    }
    const float video = p.transferInverse.entry[4096];

    g.transfer.transferVideoGamma = 0;
    g.transfer.transferLog = 1; // log: the forward alone
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(p.transferInverse.entry[4096], video);
    const ModelTone cineon = [](Real x) -> Real {
        const Real v = x * 1023;
        return 95 / 1023.0L > v ? 0 : powl(powl(10, (v - 685) * 0.002L / 0.6L), 0.588235L);
    };
    EXPECT_TRUE(SameTone(cineon, p.transferForward, 2e-5));
    EXPECT_NE(log.Text().find("breakPoint=0.0929, gain=1.0000, offset=0.0000, kneeOffset="), std::string::npos);
    EXPECT_NE(log.Text().find(", refWhite=685.0000, refBlack=95.0000\n"), std::string::npos);

    g.transfer.transferLog = g.transfer.transferOtherB = 0;
    g.transfer.transferGamma = 1.8f; // plain: both
    OCUpdateParameters(engine.get(), &g);
    EXPECT_TRUE(SameTone([](Real x) { return powl(x, static_cast<Real>(1.8f)); }, p.transferForward, 1e-6));
    EXPECT_TRUE(SameTone([](Real x) { return powl(x, static_cast<Real>(1 / 1.8f)); }, p.transferInverse, 1e-6));
    EXPECT_NE(log.Text().find("^^^^^^^^^^ updating table for gamma 1.8000\n"), std::string::npos);
}

TEST(OCParameters, VideoGammaTablesHaveTheBitsOfSinglePowers)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.transfer.transferOn = g.transfer.transferVideoGamma = 1;
    for (float gamma : {0.3f, 0.6f, 1.0f, 2.2f, 9.0f}) {
        g.transfer.transferGamma = gamma;
        OCUpdateParameters(engine.get(), &g);
        const float* entry = OCParametersOf(engine.get())->transferInverse.entry;
        const float a = (gamma >= 1 ? gamma - 1 : 1 - gamma) * 0.0811f;
        for (uint32_t i = 295; i < kOCToneEntries; ++i) { // from 0.018 on
            const float power = BPPower(static_cast<float>(i) / 16384.0f, static_cast<double>(1 / gamma));
            ASSERT_EQ(entry[i], gamma >= 1 ? power * (1 + a) - a : power * (1 - a) + a) << gamma << ", " << i;
        }
    }
}

// Tables may be kept from one update to the next; what the log says of them is said each time.
TEST(OCParameters, EveryUpdateLogsItsTransferTable)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.transfer.transferOn = 1;
    const auto linesOf = [&](const std::string& line) {
        LogCatch log;
        for (int i = 0; i < 3; ++i) OCUpdateParameters(engine.get(), &g);
        const std::string text = log.Text();
        int count = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++count;
        return count;
    };
    EXPECT_EQ(linesOf("^^^^^^^^^^ updating table for gamma 2.2000\n"), 3);
    EXPECT_EQ(linesOf("++++++++++++++++++ Computed Vibrance = 1.000000\n"), 3);
    g.transfer.transferLog = 1;
    EXPECT_EQ(linesOf("breakPoint=0.0929, gain=1.0000, "), 3);
    EXPECT_EQ(linesOf("^^^^^^^^^^ updating table"), 0);
    g.transfer.transferVideoGamma = 1;
    EXPECT_EQ(linesOf("breakPoint="), 0);
}

TEST(OCParameters, SummaryFlags)
{
    EnginePtr engine = MakeEngine();
    const OCProcessParams& p = *OCParametersOf(engine.get());
    using Edit = std::function<void(OCSettings&)>;
    using Flag = bool OCProcessParams::*;
    const struct {
        const char* name;
        Edit edit;
        Flag flag;
        bool expected;
    } rows[] = {
        {"hsl master", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.master.on = 1; },
         &OCProcessParams::hslMasterOn, true},
        {"hsl master, pane off", [](OCSettings& g) { g.hslOn = g.hsl.master.on = 1; }, &OCProcessParams::hslMasterOn,
         false},
        {"hsl shadows", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.shadows.on = 1; },
         &OCProcessParams::hslShadowOn, true},
        {"hsl midtones", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.midtones.on = 1; },
         &OCProcessParams::hslMidOn, true},
        {"hsl highlights", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.highlights.on = 1; },
         &OCProcessParams::hslHighOn, true},
        {"hue offset", [](OCSettings& g) { g.primaryOn = g.hueOffsetOn = 1; }, &OCProcessParams::hueOffsetEnabled,
         true},
        {"hue offset, pane off", [](OCSettings& g) { g.hueOffsetOn = 1; }, &OCProcessParams::hueOffsetEnabled, false},
        {"rgb master", [](OCSettings& g) { g.rgbOn = g.rgb.master.on = 1; }, &OCProcessParams::rgbMasterOn, true},
        {"rgb ranges", [](OCSettings& g) { g.rgbOn = g.rgb.midtones.on = 1; }, &OCProcessParams::rgbRangeOn, true},
        {"rgb ranges by master", [](OCSettings& g) { g.rgbOn = g.rgb.master.on = 1; }, &OCProcessParams::rgbRangeOn,
         false},
        {"rgb master gamma",
         [](OCSettings& g) {
             g.rgbOn = g.rgb.master.on = 1;
             g.rgb.master.channel[2].gamma = 2;
         },
         &OCProcessParams::rgbMasterGamma, true},
        {"rgb master gamma, off",
         [](OCSettings& g) {
             g.rgbOn = 1;
             g.rgb.master.group.gamma = 2;
         },
         &OCProcessParams::rgbMasterGamma, false},
        {"rgb range gamma",
         [](OCSettings& g) {
             g.rgbOn = g.rgb.shadows.on = 1;
             g.rgb.shadows.group.gamma = 2;
         },
         &OCProcessParams::rgbRangeGamma, true},
        {"cmy master", [](OCSettings& g) { g.cmyOn = g.cmy.master.on = 1; }, &OCProcessParams::cmyMasterOn, true},
        {"cmy ranges", [](OCSettings& g) { g.cmyOn = g.cmy.shadows.on = 1; }, &OCProcessParams::cmyRangeOn, true},
        {"cmy master gamma",
         [](OCSettings& g) {
             g.cmyOn = g.cmy.master.on = 1;
             g.cmy.master.group.gamma = 2;
         },
         &OCProcessParams::cmyMasterGamma, true},
        {"cmy range gamma",
         [](OCSettings& g) {
             g.cmyOn = g.cmy.highlights.on = 1;
             g.cmy.highlights.channel[0].gamma = 2;
         },
         &OCProcessParams::cmyRangeGamma, true},
        {"ycc master", [](OCSettings& g) { g.ycbcrOn = g.ycbcr.master.on = 1; }, &OCProcessParams::yccMasterOn, true},
        {"ycc ranges", [](OCSettings& g) { g.ycbcrOn = g.ycbcr.highlights.on = 1; }, &OCProcessParams::yccRangeOn,
         true},
        {"ycc master gamma",
         [](OCSettings& g) {
             g.ycbcrOn = g.ycbcr.master.on = 1;
             g.ycbcr.master.channel[1].gamma = 2;
         },
         &OCProcessParams::yccMasterGamma, true},
        {"ycc range gamma",
         [](OCSettings& g) {
             g.ycbcrOn = g.ycbcr.shadows.on = 1;
             g.ycbcr.shadows.channel[1].gamma = 2;
         },
         &OCProcessParams::yccRangeGamma, true},
        {"levels", [](OCSettings& g) { g.levelsOn = 1; }, &OCProcessParams::levelsEnabled, true},
        {"levels gray",
         [](OCSettings& g) {
             g.levelsOn = g.levels[0].on = 1;
             g.levels[0].ingraypt = 0.4f;
         },
         &OCProcessParams::levelsInGamma, true},
        {"levels gray of luma",
         [](OCSettings& g) {
             g.levelsOn = g.levels[4].on = 1;
             g.levels[4].ingraypt = 0.4f;
         },
         &OCProcessParams::levelsInGamma, false},
        {"levels gray, off",
         [](OCSettings& g) {
             g.levelsOn = 1;
             g.levels[0].ingraypt = 0.4f;
         },
         &OCProcessParams::levelsInGamma, false},
        {"rgb curves", [](OCSettings& g) { g.curvesOn = g.rgbCurvesOn = 1; }, &OCProcessParams::rgbCurvesEnabled, true},
        {"rgb curves, pane off", [](OCSettings& g) { g.rgbCurvesOn = 1; }, &OCProcessParams::rgbCurvesEnabled, false},
        {"hsl curves", [](OCSettings& g) { g.curvesOn = g.hslCurvesOn = 1; }, &OCProcessParams::hslCurvesEnabled, true},
        {"hsl curves, pane off", [](OCSettings& g) { g.hslCurvesOn = 1; }, &OCProcessParams::hslCurvesEnabled, false},
        {"recovery", [](OCSettings& g) { g.inputControls_highlight_recovery = 0.1f; },
         &OCProcessParams::highlightRecoveryIn, true},
        {"limiter", [](OCSettings& g) { g.limiter_enable = 1; }, &OCProcessParams::limiterEnabled, true},
        {"limiter preview", [](OCSettings& g) { g.limiter_enable = g.limiter_preview = 1; },
         &OCProcessParams::limiterPreview, true},
        {"limiter preview, off", [](OCSettings& g) { g.limiter_preview = 1; }, &OCProcessParams::limiterPreview, false},
        {"soft clip", [](OCSettings& g) { g.limiter_enable = g.limiter.limiter_softclip_enable = 1; },
         &OCProcessParams::limiterSoftClip, true},
    };
    OCSettings neutral = NeutralGrade();
    for (const auto& row : rows) {
        OCUpdateParameters(engine.get(), &neutral);
        EXPECT_FALSE(p.*row.flag) << row.name << " in a neutral grade";
        OCSettings g = neutral;
        row.edit(g);
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(p.*row.flag, row.expected) << row.name;
    }
}

// Deliberate: whether the recovery runs is asked of the live grade, where it begins of the neutral copy.
TEST(OCParameters, TheRecoveryThresholdIsOneWithTheLevelsMasterOff)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.levelsOn = g.levels[0].on = 1;
    g.inputControls_highlight_recovery = 0.5f;
    g.outputControls_highlight_recovery = 1;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_FLOAT_EQ(OCParametersOf(engine.get())->recoveryThreshold, 0.8f);
    EXPECT_FLOAT_EQ(OCParametersOf(engine.get())->outputRecoveryThreshold, 0.6f);
    g.levels[0].on = 0;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_TRUE(OCParametersOf(engine.get())->highlightRecoveryIn);
    EXPECT_EQ(OCParametersOf(engine.get())->recoveryThreshold, 1);
}

TEST(OCParameters, TheGradeItselfIsNotTouched)
{
    EnginePtr engine = MakeEngine();
    Random random(31);
    OCSettings g = RandomGrade(random, ~0u, reachEntry);
    g.rgbOn = g.levelsOn = 0;
    const OCSettings kept = g;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(std::memcmp(&g, &kept, sizeof g), 0);
}

TEST(OCParameters, UnchangedInputsBuildNothingAndOneSliderExactlyItsTables)
{
    EnginePtr engine = MakeEngine();
    const struct {
        const char* name;
        std::function<void(OCSettings&)> edit;
        uint32_t tables;
    } rows[] = {
        {"nothing", [](OCSettings&) {}, 0},
        {"hsl master hue", [](OCSettings& g) { g.hsl.master.hue = 10; }, 0},
        {"hsl master saturation", [](OCSettings& g) { g.hsl.master.saturation = 110; }, 0},
        {"hsl master vibrance", [](OCSettings& g) { g.hsl.master.vibrance = 10; }, 0},
        {"hsl master gain", [](OCSettings& g) { g.hsl.master.gain = 2; }, 0},
        {"hsl master brightness", [](OCSettings& g) { g.hsl.master.brightness = 10; }, 1},
        {"hsl master gamma", [](OCSettings& g) { g.hsl.master.gamma = 1.1f; }, 1},
        {"hsl master contrast", [](OCSettings& g) { g.hsl.master.contrast = 10; }, 4},
        {"hsl master centre", [](OCSettings& g) { g.hsl.master.contrastCenter = 0.4f; }, 4},
        {"hsl shadows contrast", [](OCSettings& g) { g.hsl.shadows.contrast = 10; }, 3},
        {"hsl midtones contrast", [](OCSettings& g) { g.hsl.midtones.contrast = 10; }, 2},
        {"hsl highlights contrast", [](OCSettings& g) { g.hsl.highlights.contrast = 10; }, 1},
        {"hsl highlights gamma", [](OCSettings& g) { g.hsl.highlights.gamma = 2; }, 1},
        {"hue offset", [](OCSettings& g) { g.hueOffset.master.strength = 0.2f; }, 0},
        {"rgb master gain", [](OCSettings& g) { g.rgb.master.group.gain = 2; }, 0},
        {"rgb master gamma", [](OCSettings& g) { g.rgb.master.group.gamma = 2; }, 3},
        {"rgb master red gamma", [](OCSettings& g) { g.rgb.master.channel[0].gamma = 2; }, 1},
        {"rgb shadows gamma", [](OCSettings& g) { g.rgb.shadows.group.gamma = 2; }, 3},
        {"cmy master cyan gamma", [](OCSettings& g) { g.cmy.master.channel[0].gamma = 2; }, 2},
        {"cmy master gamma", [](OCSettings& g) { g.cmy.master.group.gamma = 2; }, 3},
        {"cmy midtones pedestal", [](OCSettings& g) { g.cmy.midtones.group.pedestal = 0.2f; }, 0},
        {"ycbcr master gamma", [](OCSettings& g) { g.ycbcr.master.group.gamma = 2; }, 1},
        {"ycbcr master Cb gamma", [](OCSettings& g) { g.ycbcr.master.channel[1].gamma = 2; }, 1},
        {"levels master gray", [](OCSettings& g) { g.levels[0].ingraypt = 0.4f; }, 3},
        {"levels red gray", [](OCSettings& g) { g.levels[1].ingraypt = 0.4f; }, 1},
        {"levels red white out", [](OCSettings& g) { g.levels[1].outwhitept = 0.4f; }, 0},
        {"levels luma gray", [](OCSettings& g) { g.levels[4].ingraypt = 0.4f; }, 0},
        {"master curve", [](OCSettings& g) { g.rgbCurve[0].points.xy.y[0] = 0.1f; }, 3},
        {"green curve", [](OCSettings& g) { g.rgbCurve[2].points.xy.y[0] = 0.1f; }, 1},
        {"hue curve", [](OCSettings& g) { g.hslCurve[0].points.xy.y[0] = 0.1f; }, 1},
        {"luma range", [](OCSettings& g) { g.lumaRange.lumarange_shadowx = 0.2f; }, 3},
        {"luma range control state", [](OCSettings& g) { g.lumaRange.controlState[1] = 9; }, 0},
        {"secondary gamma", [](OCSettings& g) { g.secondary[3].gamma = 2; }, 1},
        {"transfer gamma", [](OCSettings& g) { g.transfer.transferGamma = 2; }, 2},
        {"highlight recovery", [](OCSettings& g) { g.inputControls_highlight_recovery = 0.5f; }, 0},
    };
    const OCSettings start = EverythingOn();
    for (const auto& row : rows) {
        OCUpdateParameters(engine.get(), &start);
        OCUpdateParameters(engine.get(), &start);
        EXPECT_EQ(OCTablesBuilt(engine.get()), 0u);
        OCSettings g = start;
        row.edit(g);
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(OCTablesBuilt(engine.get()), row.tables) << row.name;
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(OCTablesBuilt(engine.get()), 0u) << row.name;
    }
}

TEST(OCParameters, TablesOfToolsThatAreOffAreLeftAlone)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = EverythingOn();
    OCUpdateParameters(engine.get(), &g);
    g.rgbOn = g.cmyOn = g.ycbcrOn = g.levelsOn = g.curvesOn = g.secondaryOn = g.transfer.transferOn = 0;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(OCTablesBuilt(engine.get()), 0u);
}

// Whatever was built before, the result is that of a new engine.
TEST(OCParameters, AnEngineRemembersNothingThatShows)
{
    LogCatch log;
    EnginePtr kept = MakeEngine();
    Random random(41);
    Picture picture(42);
    OCSettings g = NeutralGrade();
    for (size_t round = 0; round < Rounds(60); ++round) {
        if (round % 4 == 0) {
            g = RandomGrade(random, static_cast<uint32_t>(random()), static_cast<GradeReach>(random() % 4));
        } else { // one more tool, or one switch
            const OCSettings other = RandomGrade(random, 1u << random() % toolCount, reachEntry);
            if (random() % 2) {
                g = other;
            } else {
                const uint32_t switches[] = {4, 8, 12, 52, 172, 384, 596, 808, 864, 1028, 1032, 17504, 29832};
                const uint32_t offset = switches[random() % std::size(switches)];
                auto* word = reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(&g) + offset);
                *word = *word ? 0 : 1;
            }
        }
        OCUpdateParameters(kept.get(), &g);
        EnginePtr fresh = MakeEngine();
        OCUpdateParameters(fresh.get(), &g);
        const FramePtr expected = MakeFrame(64, 9);
        OCProcessImageBandScalar(*OCParametersOf(fresh.get()), picture.source.get(), expected.get());
        ASSERT_TRUE(SamePlanes(*expected, picture.Run(kept.get()), 9)) << "round " << round;
    }
}

TEST(OCParameters, HostileGradesNeitherCrashNorHang)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    Random random(51);
    Picture picture(52);
    const std::vector<float> hard = HardValues();
    for (size_t round = 0; round < Rounds(40); ++round) {
        OCSettings g;
        auto* words = reinterpret_cast<uint32_t*>(&g);
        for (size_t i = 0; i < sizeof g / 4; ++i)
            words[i] =
                random() % 4 ? static_cast<uint32_t>(random()) : std::bit_cast<uint32_t>(hard[random() % hard.size()]);
        for (HCurve* curve : {&g.rgbCurve[0], &g.rgbCurve[1], &g.hslCurve[0], &g.hslCurve[2]})
            if (random() % 2) {
                curve->curveKind = 0;
                curve->points.xy.pointCount = static_cast<int32_t>(random() % 18);
            }
        if (random() % 2) g.transfer.transferVideoGamma = g.transfer.transferLog = 0;
        OCUpdateParameters(engine.get(), &g);
        picture.Run(engine.get());
        for (const OCKernel& kernel : OCFastKernels())
            kernel.run(*OCParametersOf(engine.get()), picture.source.get(), picture.result.get());
    }
}

TEST(OCParameters, EveryAllocationOfMakingAnEngineMayFail)
{
    LogCatch log;
    BPFailAllocation(0);
    MakeEngine();
    const uint64_t count = BPAllocationCount();
    ASSERT_GE(count, 4u);
    for (uint64_t n = 1; n <= count; ++n) {
        OCEngine* engine = reinterpret_cast<OCEngine*>(1);
        BPFailAllocation(n);
        EXPECT_EQ(OCCreateEngine(&engine), bpMemFullErr) << n;
        EXPECT_EQ(engine, nullptr);
    }
    BPFailAllocation(0);
}

TEST(OCParameters, EveryAllocationOfAnUpdateMayFail)
{
    Picture picture(62);
    OCSettings g = EverythingOn();
    for (HCurve* curve : {&g.rgbCurve[0], &g.rgbCurve[1], &g.rgbCurve[2], &g.rgbCurve[3], &g.hslCurve[0],
                          &g.hslCurve[1], &g.hslCurve[2]})
        *curve = CurveOf({{0.0f, 0.1f}, {0.4f, 0.6f}, {1.0f, 0.9f}});
    g.lumaRange.lumarange_shadowx = 0.2f;
    EnginePtr fresh = MakeEngine();
    BPFailAllocation(0);
    OCUpdateParameters(fresh.get(), &g);
    const uint64_t count = BPAllocationCount();
    ASSERT_GE(count, 9u);
    const FramePtr expected = MakeFrame(64, 9);
    OCProcessImageBandScalar(*OCParametersOf(fresh.get()), picture.source.get(), expected.get());
    for (uint64_t n = 1; n <= count; ++n) {
        LogCatch log;
        EnginePtr engine = MakeEngine();
        BPFailAllocation(n);
        OCUpdateParameters(engine.get(), &g);
        BPFailAllocation(0);
        ASSERT_EQ(log.reports.size(), 1u) << n;
        EXPECT_EQ(OCUpdateStatus(engine.get()), bpMemFullErr) << n;
        EXPECT_EQ(log.reports[0].rfind("Ochrine 3 UI: Insufficient memory for ", 0), 0u) << log.reports[0];
        picture.Run(engine.get()); // the tables that were there serve
        for (const OCKernel& kernel : OCFastKernels())
            kernel.run(*OCParametersOf(engine.get()), picture.source.get(), picture.result.get());
        OCUpdateParameters(engine.get(), &g); // the next update makes up for it
        EXPECT_EQ(OCUpdateStatus(engine.get()), bpNoErr) << n;
        ASSERT_TRUE(SamePlanes(*expected, picture.Run(engine.get()), 9)) << n;
    }
}

TEST(OCParameters, WithoutTheScratchBlockEverythingStaysAndTheTextTellsSo)
{
    // The scratch block of an engine is there from its making on, so its lack shows there alone.
    LogCatch log;
    OCEngine* engine = nullptr;
    BPFailAllocation(4); // record, tables, neutral grade, scratch
    EXPECT_EQ(OCCreateEngine(&engine), bpMemFullErr);
    BPFailAllocation(0);
    ASSERT_EQ(log.reports.size(), 1u);
    EXPECT_EQ(log.reports[0], "Ochrine 3 UI: Insufficient memory for calcArray during parameter update");
}

TEST(OCParameters, CurvesWithoutMemoryKeepWhatTheyHad)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    g.curvesOn = g.rgbCurvesOn = g.hslCurvesOn = 1;
    g.rgbCurve[0] = CurveOf({{0.0f, 0.1f}, {0.4f, 0.6f}, {1.0f, 0.9f}});
    g.hslCurve[0] = g.hslCurve[1] = g.hslCurve[2] = g.rgbCurve[0];
    LogCatch log;
    for (uint64_t n = 1; n <= 2;
         ++n) { // the master's table, then its spline: before the first build it is the identity
        BPFailAllocation(n);
        OCUpdateParameters(engine.get(), &g);
        BPFailAllocation(0);
        for (const OCTone& tone : OCParametersOf(engine.get())->rgbCurve) {
            ASSERT_NE(tone.entry, nullptr);
            EXPECT_EQ(tone.entry[4096], 0.25f);
        }
        g.hslCurvesOn = 0;
    }
    EXPECT_EQ(log.reports[0], "Ochrine 3 UI: Insufficient memory for masterLookup during parameter update");
    EXPECT_EQ(log.reports[1], "Ochrine 3 UI: Insufficient memory for curveArray");
    EnginePtr other = MakeEngine();
    g.rgbCurvesOn = 0;
    g.hslCurvesOn = 1;
    BPFailAllocation(1);
    OCUpdateParameters(other.get(), &g);
    BPFailAllocation(0);
    EXPECT_EQ(OCParametersOf(other.get())->hueCurve.entry[4096], 0);
}

// A channel's own curve may be built already when the memory ends; it must not be taken for the old one afterwards.
TEST(OCParameters, AFailedUpdateLeavesNoHalfMadeCurveBehind)
{
    LogCatch log;
    Picture picture(63);
    OCSettings first = NeutralGrade();
    first.curvesOn = first.rgbCurvesOn = 1;
    OCSettings second = first;
    for (HCurve& curve : second.rgbCurve) curve = CurveOf({{0.0f, 0.3f}, {0.4f, 0.9f}, {1.0f, 0.5f}});
    OCSettings third = first;
    third.rgbCurve[0] = CurveOf({{0.0f, 0.1f}, {1.0f, 0.8f}});
    EnginePtr fresh = MakeEngine();
    OCUpdateParameters(fresh.get(), &third);
    const FramePtr expected = MakeFrame(64, 9);
    OCProcessImageBandScalar(*OCParametersOf(fresh.get()), picture.source.get(), expected.get());
    for (uint64_t n = 1; n <= 5; ++n) { // the master's table and four splines
        EnginePtr engine = MakeEngine();
        OCUpdateParameters(engine.get(), &first);
        BPFailAllocation(n);
        OCUpdateParameters(engine.get(), &second);
        BPFailAllocation(0);
        OCUpdateParameters(engine.get(), &first);
        OCUpdateParameters(engine.get(), &third);
        ASSERT_TRUE(SamePlanes(*expected, picture.Run(engine.get()), 9)) << n;
    }
    EXPECT_EQ(log.reports.size(), 5u);
}

TEST(OCParameters, HSLCurvesAreTakenOverTogetherOrNotAtAll)
{
    LogCatch log;
    OCSettings first = NeutralGrade();
    first.curvesOn = first.hslCurvesOn = 1;
    for (HCurve& curve : first.hslCurve) curve = CurveOf({{0.0f, 0.4f}, {1.0f, 0.6f}});
    OCSettings second = first;
    for (HCurve& curve : second.hslCurve) curve = CurveOf({{0.0f, 0.3f}, {0.4f, 0.9f}, {1.0f, 0.5f}});
    const auto tables = [](const OCEngine* engine) {
        const OCProcessParams& p = *OCParametersOf(engine);
        std::vector<float> all;
        for (const OCTone* tone : {&p.hueCurve, &p.saturationCurve, &p.lightnessCurve})
            all.insert(all.end(), tone->entry, tone->entry + kOCToneEntries);
        all.insert(all.end(), p.hslCurveRows, p.hslCurveRows + size_t{4} * kOCToneEntries);
        return all;
    };
    EnginePtr fresh = MakeEngine();
    OCUpdateParameters(fresh.get(), &second);
    const std::vector<float> wanted = tables(fresh.get());
    EnginePtr engine = MakeEngine();
    for (uint64_t n = 1; n <= 3; ++n) {
        OCUpdateParameters(engine.get(), &first);
        const std::vector<float> before = tables(engine.get());
        ASSERT_NE(before, wanted);
        BPFailAllocation(n);
        OCUpdateParameters(engine.get(), &second);
        BPFailAllocation(0);
        EXPECT_EQ(OCUpdateStatus(engine.get()), bpMemFullErr) << n;
        EXPECT_EQ(OCTablesBuilt(engine.get()), 0u) << n;
        EXPECT_EQ(tables(engine.get()), before) << n;
        OCUpdateParameters(engine.get(), &second);
        EXPECT_EQ(OCUpdateStatus(engine.get()), bpNoErr);
        EXPECT_EQ(tables(engine.get()), wanted) << n;
    }
    EXPECT_EQ(log.reports.size(), 3u);
}

TEST(OCParameters, ASteadyDragAllocatesNothing)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    OCSettings g = EverythingOn();
    OCUpdateParameters(engine.get(), &g);
    const FramePtr source = MakeFrame(64, 16), result = MakeFrame(64, 16);
    float* const sliders[] = {&g.hsl.master.saturation,      &g.hsl.master.contrast,      &g.hsl.shadows.gamma,
                              &g.rgb.master.group.gamma,     &g.cmy.midtones.group.gamma, &g.ycbcr.master.group.gain,
                              &g.hueOffset.master.tintangle, &g.levels[0].ingraypt,       &g.secondary[0].gamma};
    BPFailAllocation(0);
    for (float* slider : sliders)
        for (int i = 0; i < 20; ++i) {
            *slider += 0.01f;
            OCUpdateParameters(engine.get(), &g);
            OCProcessImageBand(engine.get(), source.get(), result.get(), &g, 0, 0);
        }
    EXPECT_EQ(BPAllocationCount(), 0u);
}

TEST(OCParameters, DisposalOfNothingIsAllowed)
{
    OCDisposeEngine(nullptr);
}
