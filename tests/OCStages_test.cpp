// The readable kernel, stage by stage, against the model in long double, and the traits that grades depend on.
#include "src/OCStages.h"

#include "src/OCTint.h"
#include "tests/CoreTest.h"
#include "tests/Model.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace {

using Edit = std::function<void(OCSettings&)>;

ModelTables TablesOf(const OCProcessParams& p)
{
    return {{p.weight[0], p.weight[1], p.weight[2]},
            {p.rgbCurve[0].entry, p.rgbCurve[1].entry, p.rgbCurve[2].entry},
            p.hueCurve.entry,
            p.saturationCurve.entry,
            p.lightnessCurve.entry};
}

OCPixel PixelOf(float r, float g, float b)
{
    return {.r = r, .g = g, .b = b, .sourceLuma = 0, .weight = {}};
}

/// A grade applied to one pixel.
OCPixel Graded(const OCEngine* engine, float r, float g, float b)
{
    OCPixel pixel = PixelOf(r, g, b);
    OCProcessPixel(&pixel, *OCParametersOf(engine));
    return pixel;
}

struct Graduation {
    EnginePtr engine = MakeEngine();
    explicit Graduation(const Edit& edit)
    {
        OCSettings g = NeutralGrade();
        edit(g);
        OCUpdateParameters(engine.get(), &g);
    }
    OCPixel operator()(float r, float g, float b) const { return Graded(engine.get(), r, g, b); }
    OCPixel operator()(float grey) const { return (*this)(grey, grey, grey); }
};

/// Mean and largest difference from the model over many pixels.
struct Difference {
    double mean = 0, largest = 0;
    std::string where{};
};

Difference FromModel(const OCSettings& g, OCEngine* engine, uint32_t seed)
{
    OCUpdateParameters(engine, &g);
    const ModelTables tables = TablesOf(*OCParametersOf(engine));
    Random random(seed);
    Difference d;
    constexpr int count = 500;
    for (int i = 0; i < count; ++i) {
        const float low = i % 5 == 0 ? -0.3f : 0, high = i % 7 == 0 ? 1.8f : 1;
        const float r = Between(random, low, high), gr = Between(random, low, high), b = Between(random, low, high);
        const OCPixel seen = Graded(engine, r, gr, b);
        const ModelPixel expected = ModelRun(g, tables, {r, gr, b});
        const float channels[3] = {seen.r, seen.g, seen.b};
        for (int c = 0; c < 3; ++c) {
            const double off = std::fabs(static_cast<double>(channels[c] - expected[c])) /
                               (1 + std::fabs(static_cast<double>(expected[c])));
            d.mean += off / (3 * count);
            if (!(off <= d.largest)) {
                d.largest = off;
                d.where = "pixel " + std::to_string(r) + " " + std::to_string(gr) + " " + std::to_string(b) +
                          ", channel " + std::to_string(c) + ": expected " +
                          std::to_string(static_cast<double>(expected[c])) + ", seen " + std::to_string(channels[c]);
            }
        }
    }
    return d;
}

/// Moves a random grade towards neutral, so that tables stay gentle and an index more or less is no jump.
void Soften(OCSettings* g)
{
    for (OCHSLBlock* b : {&g->hsl.master, &g->hsl.shadows, &g->hsl.midtones, &g->hsl.highlights}) {
        b->contrast *= 0.3f;
        b->contrastCenter = 0.5f + 0.2f * (b->contrastCenter - 0.5f);
        b->brightness *= 0.4f;
        b->gamma = 0.8f + 0.1f * b->gamma;
        b->saturation = 70 + 0.2f * b->saturation;
        b->gain = 0.8f + 0.15f * b->gain;
        b->pedestal *= 0.2f;
    }
    for (auto* ranges : {&g->rgb, &g->ycbcr, &g->cmy})
        for (OCChannelBlock* b : {&ranges->master, &ranges->shadows, &ranges->midtones, &ranges->highlights})
            for (OCTriple* t : {&b->group, &b->channel[0], &b->channel[1], &b->channel[2]})
                *t = {0.8f + 0.1f * t->gain, t->gamma == 1 ? 1 : 0.8f + 0.1f * t->gamma, 0.1f * t->pedestal};
    for (OCLevelsBlock& b : g->levels) {
        b.inblackpt *= 0.3f;
        b.inwhitept = 0.8f + 0.2f * b.inwhitept;
        b.ingraypt = b.ingraypt == 0.5f ? 0.5f : 0.45f + 0.15f * b.ingraypt;
    }
    for (OCSecondary& s : g->secondary) {
        s.softness = 0.2f + 0.1f * s.softness; // no steep keys
        s.gamma = s.gamma == 1 ? 1 : 0.8f + 0.1f * s.gamma;
        s.gain = 0.8f + 0.1f * s.gain;
        s.ped *= 0.1f;
        s.saturation = 70 + 0.2f * s.saturation;
    }
    // Curves of two points: a table of 16,385 floats is an input of the model and may not jump.
    for (int i = 0; i < 4; ++i)
        g->rgbCurve[i] = CurveOf({{0.0f, 0.05f * static_cast<float>(i)}, {1.0f, 0.9f - 0.05f * static_cast<float>(i)}});
    for (int i = 0; i < 3; ++i)
        g->hslCurve[i] = CurveOf({{0.0f, 0.45f + 0.02f * static_cast<float>(i)}, {1.0f, 0.55f}});
}

} // namespace

TEST(OCStages, StandInOrderAndTellWhy)
{
    const char* names[] = {"Input highlight recovery",
                           "Levels, input side",
                           "HSL ranges",
                           "HSL master",
                           "Hue offset",
                           "RGB and CMY ranges",
                           "YCbCr ranges",
                           "RGB and CMY master",
                           "YCbCr master",
                           "RGB curves",
                           "HSL curves",
                           "Levels, output side",
                           "Secondaries A to F",
                           "Limiter"};
    ASSERT_EQ(OCStages().size(), std::size(names));
    for (size_t i = 0; i < std::size(names); ++i) {
        EXPECT_EQ(OCStages()[i].order, i + 1);
        EXPECT_STREQ(OCStages()[i].name, names[i]);
        EXPECT_GT(std::strlen(OCStages()[i].why), 10u);
    }
}

TEST(OCStages, EachToolSwitchesItsStagesOnAndNoOther)
{
    const struct {
        const char* name;
        Edit edit;
        std::vector<uint32_t> stages;
    } rows[] = {
        {"nothing", [](OCSettings&) {}, {}},
        {"recovery without levels", [](OCSettings& g) { g.inputControls_highlight_recovery = 1; }, {}},
        {"recovery",
         [](OCSettings& g) {
             g.inputControls_highlight_recovery = 1;
             g.levelsOn = 1;
         },
         {1, 2, 12}},
        {"levels", [](OCSettings& g) { g.levelsOn = 1; }, {2, 12}},
        {"hsl shadows", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.shadows.on = 1; }, {3}},
        {"hsl midtones", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.midtones.on = 1; }, {3}},
        {"hsl highlights", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.highlights.on = 1; }, {3}},
        {"hsl master", [](OCSettings& g) { g.primaryOn = g.hslOn = g.hsl.master.on = 1; }, {4}},
        {"hue offset", [](OCSettings& g) { g.primaryOn = g.hueOffsetOn = 1; }, {5}},
        {"rgb range", [](OCSettings& g) { g.rgbOn = g.rgb.shadows.on = 1; }, {6}},
        {"cmy range", [](OCSettings& g) { g.cmyOn = g.cmy.midtones.on = 1; }, {6}},
        {"ycbcr range", [](OCSettings& g) { g.ycbcrOn = g.ycbcr.highlights.on = 1; }, {7}},
        {"rgb master", [](OCSettings& g) { g.rgbOn = g.rgb.master.on = 1; }, {8}},
        {"cmy master", [](OCSettings& g) { g.cmyOn = g.cmy.master.on = 1; }, {8}},
        {"ycbcr master", [](OCSettings& g) { g.ycbcrOn = g.ycbcr.master.on = 1; }, {9}},
        {"rgb curves", [](OCSettings& g) { g.curvesOn = g.rgbCurvesOn = 1; }, {10}},
        {"hsl curves", [](OCSettings& g) { g.curvesOn = g.hslCurvesOn = 1; }, {11}},
        {"a secondary", [](OCSettings& g) { g.secondaryOn = g.secondary[3].on = 1; }, {13}},
        {"secondaries without one", [](OCSettings& g) { g.secondaryOn = 1; }, {}},
        {"a secondary without its pane", [](OCSettings& g) { g.secondary[0].on = 1; }, {}},
        {"secondaries not in use",
         [](OCSettings& g) {
             g.secondaryOn = g.secondary[0].on = 1;
             g.secondaryInUse = 0;
         },
         {}},
        {"limiter", [](OCSettings& g) { g.limiter_enable = 1; }, {14}},
    };
    for (const auto& row : rows) {
        const Graduation grade(row.edit);
        std::vector<uint32_t> on;
        for (const OCStage& stage : OCStages())
            if (stage.isOn(*OCParametersOf(grade.engine.get()))) on.push_back(stage.order);
        EXPECT_EQ(on, row.stages) << row.name;
    }
}

TEST(OCStages, ANeutralGradeIsTheIdentityAndPlaneThreeIsLuma)
{
    EnginePtr engine = MakeEngine();
    const FramePtr source = MakeFrame(96, 16), result = MakeFrame(96, 16);
    Random random(1);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < 16; ++row)
            for (uint32_t column = 0; column < 96; ++column) At(*source, plane, row, column) = RandomSignal(random);
    OCProcessImageBandScalar(*OCParametersOf(engine.get()), source.get(), result.get());
    for (uint32_t row = 0; row < 16; ++row)
        for (uint32_t column = 0; column < 96; ++column) {
            for (uint32_t plane = 0; plane < 3; ++plane)
                ASSERT_TRUE(SameFloat(At(*source, plane, row, column), At(*result, plane, row, column)));
            const float r = At(*source, 0, row, column), g = At(*source, 1, row, column),
                        b = At(*source, 2, row, column);
            ASSERT_TRUE(SameFloat(At(*result, 3, row, column), 0.299f * r + 0.587f * g + 0.114f * b));
        }
}

TEST(OCStages, EachToolAloneFollowsTheModel)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    for (uint32_t tool = 0; tool < toolCount; ++tool)
        for (uint32_t seed = 1; seed <= 4; ++seed) {
            Random random(seed * 100 + tool);
            OCSettings g = RandomGrade(random, 1u << tool | (tool == toolRecovery ? 1u << toolLevels : 0), reachKnob);
            Soften(&g);
            const Difference d = FromModel(g, engine.get(), seed);
            EXPECT_LT(d.largest, 6e-3) << "tool " << tool << ", seed " << seed << ", " << d.where;
            EXPECT_LT(d.mean, 2e-5) << "tool " << tool << ", seed " << seed;
        }
}

// The model holds the order of the stages too: a stage in the wrong place shows.
TEST(OCStages, PairsAndWholeGradesFollowTheModel)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    Random random(7);
    for (uint32_t a = 0; a < toolCount; ++a)
        for (uint32_t b = a + 1; b < toolCount; ++b) {
            OCSettings g = RandomGrade(random, 1u << a | 1u << b, reachKnob);
            Soften(&g);
            const Difference d = FromModel(g, engine.get(), a * 20 + b);
            EXPECT_LT(d.largest, 2e-2) << "tools " << a << " and " << b << ", " << d.where;
            EXPECT_LT(d.mean, 1e-4) << "tools " << a << " and " << b;
        }
    for (uint32_t seed = 0; seed < 20; ++seed) {
        OCSettings g = RandomGrade(random, ~0u, reachKnob);
        Soften(&g);
        const Difference d = FromModel(g, engine.get(), seed);
        EXPECT_LT(d.largest, 8e-2) << d.where;
        EXPECT_LT(d.mean, 1e-3) << seed;
    }
}

TEST(OCStages, ToneLookupClampsBelowContinuesAboveAndKeepsNaN)
{
    std::vector<float> entry(kOCToneEntries);
    for (size_t i = 0; i < entry.size(); ++i) entry[i] = 100 + static_cast<float>(i);
    const OCTone tone = {entry.data(), 7, 3};
    const struct {
        float input, expected;
    } rows[] = {{0, 100},
                {-0.0f, 100},
                {-5, 100},
                {-std::numeric_limits<float>::infinity(), 100},
                {0.5f, 100 + 8192},
                {std::nextafter(0.5f, 0.0f), 100 + 8191},
                {1, 100 + 16384},
                {std::nextafter(1.0f, 0.0f), 100 + 16383},
                {2, 10},
                {1.5f, 8.5f},
                {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity()}};
    for (const auto& row : rows) EXPECT_EQ(ToneLookup(tone, row.input), row.expected) << row.input;
    EXPECT_TRUE(std::isnan(ToneLookup(tone, std::numeric_limits<float>::quiet_NaN())));
}

TEST(OCStages, TopPlusSlopeIsWhatTwoReturns)
{
    const Graduation grade([](OCSettings& g) {
        g.rgbOn = g.rgb.master.on = 1;
        g.rgb.master.group.gamma = 1.6f;
    });
    const OCTone& tone = OCParametersOf(grade.engine.get())->rgbMaster.tone[0];
    EXPECT_EQ(ToneLookup(tone, 2), tone.top + tone.slope);
    EXPECT_NEAR(grade(2).r, 1 + 1 / 1.6f, 1e-2f);
}

TEST(OCStages, SuperWhiteSurvivesTheRanges)
{
    const Graduation grade([](OCSettings& g) {
        g.primaryOn = g.hslOn = g.hsl.shadows.on = g.hsl.midtones.on = g.hsl.highlights.on = 1;
        g.rgbOn = g.rgb.shadows.on = g.rgb.highlights.on = 1;
        g.rgb.shadows.group.gamma = 1.2f; // tables of all ranges are read
        g.ycbcrOn = g.ycbcr.midtones.on = 1;
    });
    EXPECT_NEAR(grade(3).r, 3, 1e-2f);
    EXPECT_NEAR(grade(3, 2, 5).b, 5, 2e-2f);
}

TEST(OCStages, AToneTableClipsBelowBlackAndNotAboveWhite)
{
    const Graduation grade([](OCSettings& g) {
        g.primaryOn = g.hslOn = g.hsl.master.on = 1;
        g.hsl.master.gamma = 1.5f;
    });
    EXPECT_EQ(grade(-0.5f).r, 0);
    EXPECT_GT(grade(1.5f).r, 1.2f);
    const Graduation without([](OCSettings& g) {
        g.primaryOn = g.hslOn = g.hsl.master.on = 1;
        g.hsl.master.gain = 2;
    });
    EXPECT_EQ(without(-0.5f).r, -1); // no table, no clip
}

TEST(OCStages, RecoveryCompressesAboveTheThresholdAtHalfTheSlope)
{
    const auto edit = [](OCSettings& g) {
        g.levelsOn = g.levels[0].on = 1;
        g.inputControls_highlight_recovery = 0.5f; // from 0.8 on
    };
    const Graduation grade(edit);
    EXPECT_EQ(grade(0.79f).r, 0.79f);
    EXPECT_NEAR(grade(1.0f).r, 0.9f, 1e-6f);
    EXPECT_NEAR(grade(1.8f).r, 1.3f, 1e-6f);
    const Graduation off([&](OCSettings& g) {
        edit(g);
        g.levelsOn = 0;
    });
    EXPECT_EQ(off(1.8f).r, 1.8f);
    const Graduation masterOff([&](OCSettings& g) {
        edit(g);
        g.levels[0].on = 0;
    });
    EXPECT_EQ(masterOff(0.95f).r, 0.95f); // only super-white
    EXPECT_NEAR(masterOff(2.0f).r, 1.5f, 1e-6f);
}

TEST(OCStages, TheVideoSystemDoesNotMoveTheLumaWeights)
{
    for (int32_t system : {1, 2, 3, 4}) {
        const Graduation grade([system](OCSettings& g) {
            g.videoLevels.videoSystem = g.limiter.limiter_system = system;
            g.primaryOn = g.hslOn = g.hsl.master.on = 1;
            g.hsl.master.saturation = 0;
        });
        EXPECT_FLOAT_EQ(grade(1, 0, 0).g, 0.299f);
        EXPECT_FLOAT_EQ(grade(0, 1, 0).g, 0.587f);
        EXPECT_FLOAT_EQ(grade(0, 0, 1).g, 0.114f);
    }
}

TEST(OCStages, RangesFollowTheSourceHoweverLevelsRaisedIt)
{
    const Graduation grade([](OCSettings& g) {
        g.levelsOn = g.levels[0].on = 1;
        g.levels[0].outblackpt = 0;
        g.levels[0].inwhitept = 0.1f; // times ten
        g.primaryOn = g.hslOn = g.hsl.shadows.on = 1;
        g.hsl.shadows.pedestal = 0.5f;
    });
    const OCPixel pixel = grade(0.02f);
    EXPECT_GT(pixel.weight[ocShadows], 0.9f);
    EXPECT_NEAR(pixel.r, 0.2f + 0.5f * pixel.weight[ocShadows], 1e-3f);
}

TEST(OCStages, LevelsUpsideDownInvert)
{
    const Graduation grade([](OCSettings& g) {
        g.levelsOn = g.levels[1].on = 1;
        g.levels[1].inblackpt = 1;
        g.levels[1].inwhitept = 0;
    });
    EXPECT_NEAR(grade(0.25f).r, 0.75f, 1e-6f);
    EXPECT_EQ(grade(0.25f).g, 0.25f);
}

TEST(OCStages, AFlatLevelsChannelIsFlat)
{
    const Graduation grade([](OCSettings& g) {
        g.levelsOn = g.levels[2].on = 1;
        g.levels[2].inblackpt = g.levels[2].inwhitept = 0.5f;
    });
    EXPECT_NEAR(grade(0.2f).g, grade(0.9f).g, 1e-8f);
    EXPECT_TRUE(std::isfinite(grade(0.2f).g));
}

// Deliberate: the upper half divides by 2 - diff.
TEST(OCStages, VibranceLeavesTheSaturatedAndDrivesTheGrey)
{
    const Graduation grade([](OCSettings& g) {
        g.primaryOn = g.hslOn = g.hsl.master.on = 1;
        g.hsl.master.vibrance = 100; // factor 2
    });
    const OCPixel saturated = grade(0.5f, 0, 0);
    EXPECT_NEAR(saturated.r, 0.5f, 1e-6f);
    EXPECT_NEAR(saturated.g, 0, 1e-6f);
    // 0.9, 0.8, 0.8: sum 1.7, diff 0.1, upper half: S = 0.1 / 1.9, limit = 2.042, so the factor 2 holds.
    const float y = 0.299f * 0.9f + 0.701f * 0.8f;
    EXPECT_NEAR(grade(0.9f, 0.8f, 0.8f).r, 0.9f * 2 - y, 1e-6f);
    // 1.0, 0.4, 0.4: diff 0.6, S = 0.6 / 1.4, limit = 1.62857; by 2 - sum it would have been 1.0.
    const float e = (1 - 0.6f / 1.4f) * 1.1f + 1;
    const float luma = 0.299f + 0.701f * 0.4f;
    EXPECT_NEAR(grade(1, 0.4f, 0.4f).r, e + luma * (1 - e), 1e-5f);
    EXPECT_EQ(grade(0, 0, 0).r, 0);
}

TEST(OCStages, ChromaKeepsItsSignThroughItsTables)
{
    const Graduation grade([](OCSettings& g) {
        g.ycbcrOn = g.ycbcr.master.on = 1;
        g.ycbcr.master.channel[1].gamma = 2;
        g.ycbcr.master.channel[2].gamma = 2;
    });
    const auto cb = [](const OCPixel& p) { return -0.168736f * p.r - 0.331264f * p.g + 0.5f * p.b; };
    const OCPixel blue = grade(0.4f, 0.4f, 0.5f), yellow = grade(0.5f, 0.5f, 0.4f);
    EXPECT_NEAR(cb(blue), std::sqrt(2 * 0.05f) / 2, 1e-3f);
    EXPECT_NEAR(cb(yellow), -std::sqrt(2 * 0.05f) / 2, 1e-3f);
}

TEST(OCStages, RedStandsInTheMiddleOfTheHueCurve)
{
    const Graduation grade([](OCSettings& g) {
        g.curvesOn = g.hslCurvesOn = 1;
        // Saturation 0 in a narrow window around the middle, untouched elsewhere.
        g.hslCurve[1].curveKind = 1;
        for (int i = 0; i < 1024; ++i) g.hslCurve[1].points.samples[i] = i > 480 && i < 544 ? 0.0f : 0.5f;
    });
    const OCPixel red = grade(0.8f, 0.2f, 0.2f), green = grade(0.2f, 0.8f, 0.2f), blue = grade(0.2f, 0.2f, 0.8f);
    EXPECT_FLOAT_EQ(red.r, red.g);
    EXPECT_NEAR(green.g, 0.8f, 1e-5f);
    EXPECT_NEAR(blue.b, 0.8f, 1e-5f);
}

TEST(OCStages, AHueShiftWrapsOnce)
{
    for (float shift : {0.8333333f, 0.1666667f}) { // a third of the circle either way
        const Graduation grade([shift](OCSettings& g) {
            g.curvesOn = g.hslCurvesOn = 1;
            g.hslCurve[0] = CurveOf({{0.0f, shift}, {1.0f, shift}});
        });
        const OCPixel red = grade(0.8f, 0.2f, 0.2f);
        EXPECT_NEAR(shift > 0.5f ? red.g : red.b, 0.8f, 1e-4f);
        EXPECT_NEAR(red.r, 0.2f, 1e-4f);
    }
}

TEST(OCStages, RGBToHSLAndBackFollowTheModel)
{
    Random random(3);
    for (int i = 0; i < 20000; ++i) {
        float c[3];
        for (float& value : c) value = Between(random, i % 3 ? 0 : -0.2f, i % 5 ? 1 : 1.6f);
        if (i % 11 == 0) c[1] = c[0];
        if (i % 13 == 0) c[2] = c[1];
        const OCHSLColor seen = OCRGBToHSL(c[0], c[1], c[2]);
        const ModelPixel expected = ModelRGBToHSL({c[0], c[1], c[2]});
        const auto tolerance = [](Real v) { return 2e-6 * (1 + std::fabs(static_cast<double>(v))); };
        ASSERT_NEAR(static_cast<double>(seen.h), static_cast<double>(expected.r), 1e-6)
            << c[0] << " " << c[1] << " " << c[2];
        ASSERT_NEAR(static_cast<double>(seen.s), static_cast<double>(expected.g), tolerance(expected.g));
        ASSERT_NEAR(static_cast<double>(seen.l), static_cast<double>(expected.b), 1e-6);
        if (expected.g > 50 || expected.b < 0.02L)
            continue; // at black and near the pole of saturation there is no way back
        float rgb[3];
        OCHSLToRGB(seen, rgb);
        for (int k = 0; k < 3; ++k) ASSERT_NEAR(rgb[k], c[k], 3e-4f) << c[0] << " " << c[1] << " " << c[2];
    }
}

TEST(OCStages, TiesGoToRedThenToGreen)
{
    EXPECT_FLOAT_EQ(OCRGBToHSL(0.8f, 0.8f, 0.2f).h, 1 / 6.0f); // by red's rule: (G - B) / d
    EXPECT_FLOAT_EQ(OCRGBToHSL(0.2f, 0.8f, 0.8f).h, 0.5f);     // by green's
    EXPECT_FLOAT_EQ(OCRGBToHSL(0.8f, 0.2f, 0.8f).h, 5 / 6.0f);
    EXPECT_EQ(OCRGBToHSL(0.5f, 0.5f, 0.5f).s, 0);
    EXPECT_EQ(OCRGBToHSL(-0.5f, -0.1f, -0.9f).s, 0); // at or below black there is no hue
    EXPECT_EQ(OCRGBToHSL(-0.5f, -0.1f, -0.9f).h, 0);
    EXPECT_EQ(OCRGBToHSL(-0.5f, -0.1f, -0.9f).l, -0.5f);
}

TEST(OCStages, TintsStandWhereTheWheelShowsThem)
{
    const struct {
        float angle;
        double r, g, b;
    } rows[] = {{0, 1, 0, 0},   {360, 1, 0, 0}, {240, 0, 1, 0}, {120, 0, 0, 1},
                {180, 0, 1, 1}, {300, 1, 1, 0}, {60, 1, 0, 1}};
    for (const auto& row : rows) {
        const OCTint tint = OCTintOf(row.angle, 0.6f);
        EXPECT_NEAR(static_cast<double>(tint.u), -0.147407 * row.r - 0.289391 * row.g + 0.436798 * row.b, 1e-4)
            << row.angle;
        EXPECT_NEAR(static_cast<double>(tint.v), 0.614777 * row.r - 0.514799 * row.g - 0.099978 * row.b, 1e-4)
            << row.angle;
        EXPECT_FLOAT_EQ(tint.strength, 0.2f);
    }
    for (float angle : HardValues()) {
        const OCTint tint = OCTintOf(angle, 1);
        EXPECT_TRUE(std::isfinite(tint.u) && std::isfinite(tint.v)) << angle;
    }
}

TEST(OCStages, TheMasterTintPullsAllTheWayAtStrengthThree)
{
    const Graduation grade([](OCSettings& g) {
        g.primaryOn = g.hueOffsetOn = 1;
        g.hueOffset.master.tintangle = 120;
        g.hueOffset.master.strength = 3;
    });
    const OCTint blue = OCTintOf(120, 1);
    const OCPixel a = grade(0.5f), b = grade(0.9f, 0.3f, 0.4f);
    for (const OCPixel& p : {a, b}) EXPECT_NEAR(-0.147407f * p.r - 0.289391f * p.g + 0.436798f * p.b, blue.u, 1e-4f);
}

TEST(OCStages, AFrameOfAnotherFormatIsLoggedAndTheDestinationLeftAlone)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = NeutralGrade();
    const FramePtr result = MakeFrame(8, 8);
    At(*result, 0, 0, 0) = 0.5f;
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatRGBA32_Float, pixFormatYRGB32_Float}) {
        LogCatch log;
        const FramePtr source = MakeFrame(8, 8, format);
        OCProcessImageBand(engine.get(), source.get(), result.get(), &g, 0, 0);
        EXPECT_EQ(log.Text(), "Unknown pix format " + std::to_string(static_cast<int>(format)) + "\n");
        EXPECT_EQ(At(*result, 0, 0, 0), 0.5f);
    }
    const FramePtr source = MakeFrame(8, 8);
    OCProcessImageBand(engine.get(), source.get(), nullptr, &g, 0, 0);
    const FramePtr other = MakeFrame(8, 8, pixFormatARGB8);
    other->baseAddr[0] = 77;
    OCProcessImageBand(engine.get(), source.get(), other.get(), &g, 0, 0);
    EXPECT_EQ(other->baseAddr[0], 77);
}

TEST(OCStages, TheRowPaddingIsWalkedToo)
{
    const Graduation grade([](OCSettings& g) {
        g.rgbOn = g.rgb.master.on = 1;
        g.rgb.master.group.pedestal = 0.25f;
    });
    const FramePtr source = MakeFrame(5, 2), result = MakeFrame(5, 2);
    OCProcessImageBandScalar(*OCParametersOf(grade.engine.get()), source.get(), result.get());
    for (uint32_t column = 0; column < 8; ++column) EXPECT_EQ(At(*result, 2, 1, column), 0.25f);
}
