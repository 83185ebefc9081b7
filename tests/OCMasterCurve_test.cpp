// The gamma of the RGB master and the RGB curves in one lookup: where it is taken, that it gives the bits of both steps,
// and that planes which are kept or begun at between the two steps are right.
#include "src/OCStages.h"

#include "src/MPTasks.h"
#include "src/OCStageCache.h"
#include "tests/CoreTest.h"

#include <limits>

namespace {

HCurve RandomCurve(Random& random)
{
    return CurveOf({{0.0f, Between(random, -0.1f, 0.3f)},
                    {Between(random, 0.2f, 0.4f), Between(random, 0, 1)},
                    {Between(random, 0.5f, 0.8f), Between(random, 0, 1)},
                    {1.0f, Between(random, 0.6f, 1.1f)}});
}

/// Gamma in the RGB master, RGB curves, and nothing between them; others of the tools in `mask` around them.
OCSettings JoinedGrade(Random& random, uint32_t mask, GradeReach reach)
{
    mask |= 1u << toolRGBMaster | 1u << toolRGBCurves;
    OCSettings g = RandomGrade(random, mask & ~(1u << toolYCCMaster), reach);
    g.rgbOn = g.rgb.master.on = g.curvesOn = g.rgbCurvesOn = 1;
    g.ycbcr.master.on = 0;
    for (OCTriple& channel : g.rgb.master.channel) channel.gamma = Between(random, 0.4f, 2.5f);
    for (HCurve& curve : g.rgbCurve) curve = RandomCurve(random);
    return g;
}

/// What a picture has besides values of at most 1.
enum Kind { usual, someAbove, someHard, kindCount };

void Paint(GuardedPlanes* picture, Kind kind, Random& random)
{
    const std::vector<float> hard = HardValues();
    picture->Fill([&](uint32_t, uint32_t, uint32_t) {
        if (kind == someAbove && random() % 40 == 0) return Between(random, 1, 3);
        if (kind == someHard && random() % 40 == 0) return hard[random() % hard.size()];
        return random() % 10 == 0 ? static_cast<float>(random() % 16385) / 16384.0f : Between(random, -0.2f, 1);
    });
}

testing::AssertionResult AllKernelsAgree(const OCProcessParams& params, const GuardedPlanes& source)
{
    const uint32_t height = source.frame.height;
    GuardedPlanes expected(source.frame.width, height, source.frame.rowBytes, 0);
    OCProcessImageBandScalar(params, &source.frame, &expected.frame);
    for (const OCKernel& kernel : OCFastKernels()) {
        GuardedPlanes seen(source.frame.width, height, source.frame.rowBytes, 0);
        kernel.run(params, &source.frame, &seen.frame);
        if (auto same = SamePlanes(expected.frame, seen.frame, height); !same) return same << " " << kernel.name;
    }
    return testing::AssertionSuccess();
}

OCSettings PlainJoinedGrade()
{
    OCSettings g = NeutralGrade();
    g.primaryOn = g.rgbOn = g.rgb.master.on = g.curvesOn = g.rgbCurvesOn = 1;
    g.rgb.master.group.gamma = 1.3f;
    for (HCurve& curve : g.rgbCurve) curve = CurveOf({{0.0f, 0.05f}, {0.5f, 0.6f}, {1.0f, 0.9f}});
    return g;
}

TEST(OCMasterCurve, OneLookupGivesTheBitsOfBothOnEveryInstructionSet)
{
    Random random(71);
    EnginePtr engine = MakeEngine();
    for (int round = 0; round < 48; ++round) {
        const uint32_t mask = round % 4 == 0 ? 0 : static_cast<uint32_t>(random());
        const OCSettings g = JoinedGrade(random, mask, round % 3 ? reachKnob : reachEntry);
        OCUpdateParameters(engine.get(), &g);
        const OCProcessParams& params = *OCParametersOf(engine.get());
        for (const float* table : params.masterCurve) ASSERT_NE(table, nullptr) << round;
        for (int kind = 0; kind < kindCount; ++kind)
            for (uint32_t width : {1u, 7u, 131u, 640u}) {
                GuardedPlanes source(width, 3, width * 4, 0);
                Paint(&source, static_cast<Kind>(kind), random);
                ASSERT_TRUE(AllKernelsAgree(params, source)) << "round " << round << ", kind " << kind;
            }
    }
}

TEST(OCMasterCurve, GammasBelowZeroAndOfNothingComposeLikeAnyOther)
{
    Random random(72);
    EnginePtr engine = MakeEngine();
    for (float gamma : {-1.0f, -0.01f, 0.0f, 1e-30f, 1e30f, std::numeric_limits<float>::infinity(),
                        std::numeric_limits<float>::quiet_NaN()}) {
        OCSettings g = PlainJoinedGrade();
        g.rgb.master.group.gamma = gamma;
        OCUpdateParameters(engine.get(), &g);
        ASSERT_NE(OCParametersOf(engine.get())->masterCurve[0], nullptr) << gamma;
        for (int kind = 0; kind < kindCount; ++kind) {
            GuardedPlanes source(640, 3, 2560, 0);
            Paint(&source, static_cast<Kind>(kind), random);
            ASSERT_TRUE(AllKernelsAgree(*OCParametersOf(engine.get()), source)) << gamma << ", kind " << kind;
        }
    }
}

TEST(OCMasterCurve, TheComposedTableServesInputsUpToOneAndNoOthers)
{
    EnginePtr engine = MakeEngine();
    const OCSettings g = PlainJoinedGrade();
    OCUpdateParameters(engine.get(), &g);
    OCProcessParams params = *OCParametersOf(engine.get());
    const std::vector<float> marked(kOCToneEntries, 7);
    for (const float*& table : params.masterCurve) table = marked.data();
    for (const OCKernel& kernel : OCFastKernels())
        for (const auto& [value, isMarked] : {std::pair{0.5f, true}, {1.0f, true}, {-3.0f, true}, {1.25f, false}}) {
            const FramePtr source = MakeFrame(64, 1), seen = MakeFrame(64, 1);
            for (uint32_t plane = 0; plane < 3; ++plane)
                for (uint32_t i = 0; i < 64; ++i) At(*source, plane, 0, i) = value;
            kernel.run(params, source.get(), seen.get());
            EXPECT_EQ(At(*seen, 1, 0, 9) == 7, isMarked) << kernel.name << ", " << value;
        }
}

TEST(OCMasterCurve, ItIsThereOnlyWhileBothStepsAreInForceWithNothingBetween)
{
    EnginePtr engine = MakeEngine();
    const auto isThere = [&](const OCSettings& g) {
        OCUpdateParameters(engine.get(), &g);
        const OCProcessParams& p = *OCParametersOf(engine.get());
        EXPECT_TRUE((p.masterCurve[0] == nullptr) == (p.masterCurve[1] == nullptr) &&
                    (p.masterCurve[0] == nullptr) == (p.masterCurve[2] == nullptr));
        return p.masterCurve[0] != nullptr;
    };
    OCSettings g = PlainJoinedGrade();
    EXPECT_TRUE(isThere(g));
    g.ycbcrOn = g.ycbcr.master.on = 1;
    EXPECT_FALSE(isThere(g));
    g.ycbcr.master.on = 0;
    EXPECT_TRUE(isThere(g));
    g.rgbCurvesOn = 0;
    EXPECT_FALSE(isThere(g));
    g.rgbCurvesOn = 1;
    g.rgb.master.group.gamma = 1;
    EXPECT_FALSE(isThere(g));
    g.cmyOn = g.cmy.master.on = 1; // gamma of CMY alone
    g.cmy.master.channel[1].gamma = 1.2f;
    EXPECT_TRUE(isThere(g));
    g.cmy.master.on = g.rgb.master.on = 0;
    EXPECT_FALSE(isThere(g));
}

TEST(OCMasterCurve, TablesAreComposedOnlyWhenAnInputChanged)
{
    EnginePtr engine = MakeEngine();
    OCSettings g = PlainJoinedGrade();
    const auto built = [&] {
        OCUpdateParameters(engine.get(), &g);
        return OCTablesBuilt(engine.get());
    };
    built();
    EXPECT_EQ(built(), 0u);
    g.rgb.master.group.gain = 1.1f;
    EXPECT_EQ(built(), 0u);
    g.rgb.master.channel[0].gamma = 1.2f; // its tone and the composed table
    EXPECT_EQ(built(), 2u);
    g.rgbCurve[2] = CurveOf({{0.0f, 0.1f}, {1.0f, 0.9f}});
    EXPECT_EQ(built(), 2u);
    g.rgbCurve[0] = CurveOf({{0.0f, 0.1f}, {1.0f, 0.9f}});
    EXPECT_EQ(built(), 6u);
    g.rgbCurvesOn = 0;
    EXPECT_EQ(built(), 0u);
    g.rgb.master.channel[1].gamma = 1.4f; // while the curves are off
    EXPECT_EQ(built(), 1u);
    g.rgbCurvesOn = 1;
    EXPECT_EQ(built(), 1u);
    EXPECT_EQ(built(), 0u);
}

TEST(OCMasterCurve, RunsThatBeginOrKeepBetweenTheTwoStepsAreRight)
{
    Random random(73);
    EnginePtr engine = MakeEngine();
    for (int round = 0; round < 24; ++round) {
        const uint32_t mask = round % 4 == 0 ? 0 : static_cast<uint32_t>(random());
        const OCSettings g = JoinedGrade(random, mask, reachKnob);
        OCUpdateParameters(engine.get(), &g);
        const OCProcessParams& params = *OCParametersOf(engine.get());
        ASSERT_NE(params.masterCurve[0], nullptr);
        GuardedPlanes source(141, 3, 141 * 4, 0), expected(141, 3, 141 * 4, 0);
        Paint(&source, static_cast<Kind>(round % kindCount), random);
        OCProcessImageBandScalar(params, &source.frame, &expected.frame);
        for (const OCKernel& kernel : OCFastKernels())
            for (uint32_t step = 7; step <= 12; ++step)
                for (uint32_t second = step; second <= 13; ++second) {
                    GuardedPlanes planes(141, 3, 141 * 4, 0), seen(141, 3, 141 * 4, 0);
                    OCBandRun run = OCPlainRun(&source.frame, &seen.frame);
                    run.keep = &planes.frame;
                    run.keepBefore = step;
                    kernel.runFrom(params, run);
                    ASSERT_TRUE(SamePlanes(expected.frame, seen.frame, 3)) << kernel.name << " keeps " << step;
                    run = OCPlainRun(&source.frame, &seen.frame);
                    run.start = &planes.frame;
                    run.firstStep = step;
                    if (second > step) {
                        run.keep = &planes.frame;
                        run.keepBefore = second;
                    }
                    kernel.runFrom(params, run);
                    ASSERT_TRUE(SamePlanes(expected.frame, seen.frame, 3))
                        << kernel.name << " begins at " << step << " and keeps " << second;
                    if (second == step) continue;
                    run = OCPlainRun(&source.frame, &seen.frame);
                    run.start = &planes.frame;
                    run.firstStep = second;
                    kernel.runFrom(params, run);
                    ASSERT_TRUE(SamePlanes(expected.frame, seen.frame, 3)) << kernel.name << " begins at " << second;
                }
    }
}

TEST(OCMasterCurve, SlidersOfStepsEightToElevenMoveRightWithTheStageCache)
{
    Random random(74);
    EnginePtr engine = MakeEngine();
    const FramePtr source = MakeFrame(37, 9), result = MakeFrame(37, 9), wanted = MakeFrame(37, 9);
    for (uint32_t plane = 0; plane < 3; ++plane)
        for (uint32_t row = 0; row < 9; ++row)
            for (uint32_t i = 0; i < 37; ++i)
                At(*source, plane, row, i) = row < 6 ? Between(random, 0, 1) : RandomSignal(random);
    OCSettings g = PlainJoinedGrade();
    g.hslOn = g.hsl.master.on = g.hslCurvesOn = g.levelsOn = 1;
    g.hsl.master.saturation = 130;
    g.hslCurve[2] = CurveOf({{0.0f, 0.45f}, {1.0f, 0.55f}});
    OCStageCache cache = {};
    for (int move = 0; move < 120; ++move) {
        const float by = Between(random, 0.001f, 0.02f);
        switch (move / 3 % 6) {
        case 0: g.rgb.master.channel[move % 3].gamma += by; break;
        case 1: g.rgb.master.group.gain += by; break;
        case 2: g.rgbCurve[2] = CurveOf({{0.0f, by}, {0.5f, 0.6f}, {1.0f, 0.9f}}); break;
        case 3: g.hslCurve[2] = CurveOf({{0.0f, 0.45f + by}, {1.0f, 0.55f}}); break;
        case 4: g.levels[2].outwhitept -= by; break;
        default: g.ycbcrOn = g.ycbcr.master.on = 1 - g.ycbcr.master.on; break;
        }
        OCUpdateParameters(engine.get(), &g);
        ProcessImageCached(engine.get(), &cache, source.get(), result.get(), {}, &g, 0, 1, nullptr);
        OCProcessImageBandScalar(*OCParametersOf(engine.get()), source.get(), wanted.get());
        ASSERT_TRUE(SamePlanes(*wanted, *result, 9)) << "move " << move;
    }
    OCDisposeStageCache(&cache);
}

} // namespace
