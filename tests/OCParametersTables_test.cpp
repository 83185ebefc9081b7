// Levels, curves, gammas of secondaries and source transfer tables against the model.
#include "src/BPMath.h"
#include "tests/ParametersTest.h"

#include <cmath>

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
