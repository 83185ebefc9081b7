// Tones, gains and pedestals of HSL, RGB, CMY and YCbCr against the model.
#include "tests/ParametersTest.h"

#include <cmath>

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
