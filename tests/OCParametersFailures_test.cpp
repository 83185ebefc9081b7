// Updates with hostile grades, without memory, and without end.
#include "src/platform/BPMemory.h"
#include "tests/ParametersTest.h"

#include <bit>

TEST(OCParameters, HostileGradesNeitherCrashNorHang)
{
    LogCatch log;
    EnginePtr engine = MakeEngine();
    Random random(51);
    ParametersPicture picture(52);
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
    ParametersPicture picture(62);
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
    ParametersPicture picture(63);
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
