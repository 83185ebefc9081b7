// The stage cache: which step a change begins at, and that a run from kept planes gives the bytes of a whole one; and
// display pixels made in the same pass.
#include "src/OCStageCache.h"

#include "src/MPTasks.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cstring>
#include <functional>

namespace {

constexpr uint32_t kEverything = (1u << toolCount) - 1;

FramePtr Noise(uint32_t width, uint32_t height, Random& random)
{
    FramePtr frame = MakeFrame(width, height);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < height; ++row)
            for (uint32_t column = 0; column < frame->rowBytes / 4; ++column)
                At(*frame, plane, row, column) = RandomSignal(random);
    return frame;
}

struct Pool {
    MPTask* tasks = nullptr;
    uint32_t count;
    explicit Pool(uint32_t wanted) : count(MPStartTaskCount(&tasks, wanted)) {}
    ~Pool() { MPDisposeTasks(count, &tasks); }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
};

/// A picture, an engine and a cache, and whole runs by the readable kernel to compare with.
struct Bench {
    EnginePtr engine = MakeEngine();
    FramePtr source, result, expected;
    std::vector<uint8_t> display, expectedDisplay;
    OCStageCache cache = {};

    Bench(uint32_t width, uint32_t height, Random& random)
        : source(Noise(width, height, random)), result(MakeFrame(width, height)), expected(MakeFrame(width, height)),
          display(size_t{width} * height * 4), expectedDisplay(display.size())
    {
    }
    ~Bench() { OCDisposeStageCache(&cache); }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    OCDisplay DisplayAt() { return {display.data(), source->width * 4, pixFormatBGRA8}; }

    void Run(const OCSettings& grade, const Pool& pool)
    {
        OCUpdateParameters(engine.get(), &grade);
        ProcessImageCached(engine.get(), &cache, source.get(), result.get(), DisplayAt(), &grade, 0, pool.count,
                           pool.tasks);
    }
    testing::AssertionResult IsRight()
    {
        OCProcessImageBandScalar(*OCParametersOf(engine.get()), source.get(), expected.get());
        if (auto same = SamePlanes(*expected, *result, source->height); !same) return same;
        FBTransferFBFrameToPixScalar(expected.get(), nullptr, expectedDisplay.data(), source->width * 4,
                                     pixFormatBGRA8);
        if (display != expectedDisplay) return testing::AssertionFailure() << "display pixels differ";
        return testing::AssertionSuccess();
    }
};

/// Everything on, with values that do something.
OCSettings FullGrade(Random& random)
{
    OCSettings g = RandomGrade(random, kEverything, reachKnob);
    g.inputControls_highlight_recovery = 0.4f;
    for (OCHSLBlock* b : {&g.hsl.master, &g.hsl.highlights, &g.hsl.midtones, &g.hsl.shadows}) {
        b->on = 1;
        b->contrast = b->vibrance = 20;
    }
    for (auto* ranges : {&g.rgb, &g.ycbcr, &g.cmy}) {
        ranges->master.on = ranges->shadows.on = 1;
        ranges->master.group.gamma = ranges->shadows.group.gamma = 1.25f;
    }
    g.levels[0].on = 1;
    g.levels[0].ingraypt = 0.4f;
    for (OCSecondary& s : g.secondary) {
        s.on = 1;
        s.sample[0] = {1, 0.5f, 0.4f, 0.3f};
        s.preview = 0;
    }
    return g;
}

using Move = std::function<void(OCSettings&)>;

struct MoveRow {
    const char* name;
    Move move;
    uint32_t step; ///< that moves first
};

const MoveRow kMoves[] = {
    {"input recovery", [](OCSettings& g) { g.inputControls_highlight_recovery += 0.01f; }, 1},
    {"levels in", [](OCSettings& g) { g.levels[0].inblackpt += 0.01f; }, 2},
    {"levels gray", [](OCSettings& g) { g.levels[0].ingraypt += 0.01f; }, 2},
    {"luma range", [](OCSettings& g) { g.lumaRange.lumarange_shadowx += 0.01f; }, 3},
    {"HSL shadows hue", [](OCSettings& g) { g.hsl.shadows.hue += 1; }, 3},
    {"HSL highlights contrast", [](OCSettings& g) { g.hsl.highlights.contrast *= 0.9f; }, 3},
    {"HSL midtones vibrance", [](OCSettings& g) { g.hsl.midtones.vibrance *= 0.9f; }, 3},
    {"HSL master gain", [](OCSettings& g) { g.hsl.master.gain += 0.01f; }, 4},
    {"HSL master contrast feeds the ranges", [](OCSettings& g) { g.hsl.master.contrast *= 0.9f; }, 3},
    {"HSL master gamma", [](OCSettings& g) { g.hsl.master.gamma += 0.01f; }, 4},
    {"hue offset angle", [](OCSettings& g) { g.hueOffset.midtones.tintangle += 3; }, 5},
    {"hue offset strength", [](OCSettings& g) { g.hueOffset.master.strength += 0.01f; }, 5},
    {"RGB shadows gain", [](OCSettings& g) { g.rgb.shadows.group.gain += 0.01f; }, 6},
    {"CMY shadows gamma", [](OCSettings& g) { g.cmy.shadows.channel[1].gamma += 0.01f; }, 6},
    {"YCbCr shadows pedestal", [](OCSettings& g) { g.ycbcr.shadows.channel[2].pedestal += 0.01f; }, 7},
    {"YCbCr shadows gamma", [](OCSettings& g) { g.ycbcr.shadows.group.gamma += 0.01f; }, 7},
    {"RGB master gamma", [](OCSettings& g) { g.rgb.master.channel[1].gamma += 0.01f; }, 8},
    {"CMY master gain", [](OCSettings& g) { g.cmy.master.group.gain += 0.01f; }, 8},
    {"YCbCr master gain", [](OCSettings& g) { g.ycbcr.master.channel[0].gain += 0.01f; }, 9},
    {"YCbCr master gamma", [](OCSettings& g) { g.ycbcr.master.channel[2].gamma += 0.01f; }, 9},
    {"RGB curve",
     [](OCSettings& g) {
         g.rgbCurve[2] = CurveOf({{0.0f, g.rgbCurve[2].points.xy.y[0] + 0.01f}, {1.0f, 1.0f}});
     },
     10},
    {"hue curve",
     [](OCSettings& g) {
         g.hslCurve[0] = CurveOf({{0.0f, g.hslCurve[0].points.xy.y[0] + 0.01f}, {1.0f, 0.5f}});
     },
     11},
    {"lightness curve",
     [](OCSettings& g) {
         g.hslCurve[2] = CurveOf({{0.0f, g.hslCurve[2].points.xy.y[0] + 0.01f}, {1.0f, 0.5f}});
     },
     11},
    {"levels out",
     [](OCSettings& g) {
         g.levels[2].on = 1;
         g.levels[2].outwhitept -= 0.01f;
     },
     12},
    {"secondary A gain", [](OCSettings& g) { g.secondary[0].gain += 0.01f; }, 13},
    {"secondary A sample", [](OCSettings& g) { g.secondary[0].sample[0].red += 0.01f; }, 13},
    {"secondary C softness", [](OCSettings& g) { g.secondary[2].softness += 0.01f; }, 15},
    {"secondary F gamma", [](OCSettings& g) { g.secondary[5].gamma += 0.01f; }, 18},
    {"limiter chroma", [](OCSettings& g) { g.limiter.limiter_chroma_max -= 0.1f; }, 19},
    {"limiter video level",
     [](OCSettings& g) {
         g.videoLevels.videoMaxLevel = 254;
         g.videoLevels.videoWhiteLevel -= 1;
     },
     19},
    {"limiter preview", [](OCSettings& g) { g.limiter_preview ^= 1; }, 19},
    {"what the engine ignores",
     [](OCSettings& g) {
         g.hueOffset.master.huewheel += 1;
         g.limiter.limiter_system ^= 1;
     },
     kOCStepEnd},
};

} // namespace

TEST(OCStageCache, AChangeIsFoundAtTheFirstStepThatItTouches)
{
    LogCatch log;
    Random random(1);
    EnginePtr engine = MakeEngine();
    for (const MoveRow& row : kMoves) {
        OCSettings g = FullGrade(random);
        g.levels[2].on = 1;
        OCUpdateParameters(engine.get(), &g);
        const OCStepKeys before = OCStepKeysOf(*OCParametersOf(engine.get()));
        OCUpdateParameters(engine.get(), &g);
        EXPECT_EQ(OCFirstChangedStep(before, OCStepKeysOf(*OCParametersOf(engine.get()))), kOCStepEnd) << row.name;
        row.move(g);
        OCUpdateParameters(engine.get(), &g);
        const OCStepKeys after = OCStepKeysOf(*OCParametersOf(engine.get()));
        // A levels block that comes on moves its input side too.
        EXPECT_EQ(OCFirstChangedStep(before, after), row.step) << row.name;
    }
}

TEST(OCStageCache, StepsThatAreOffHaveNoKey)
{
    LogCatch log;
    Random random(2);
    EnginePtr engine = MakeEngine();
    const OCStepKeys neutral = OCStepKeysOf(*OCParametersOf(engine.get()));
    EXPECT_EQ(neutral.end[kOCStepEnd - 1], 0u);
    OCSettings g = FullGrade(random);
    g.primaryOn = g.rgbOn = g.ycbcrOn = g.cmyOn = g.levelsOn = g.curvesOn = g.secondaryOn = g.limiter_enable = 0;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_EQ(OCFirstChangedStep(neutral, OCStepKeysOf(*OCParametersOf(engine.get()))), kOCStepEnd);
}

TEST(OCStageCache, TheLargestKeysFit)
{
    LogCatch log;
    Random random(3);
    EnginePtr engine = MakeEngine();
    OCSettings g = FullGrade(random);
    for (OCSecondary& s : g.secondary)
        for (OCColorSample& sample : s.sample) sample.on = 1;
    OCUpdateParameters(engine.get(), &g);
    EXPECT_LE(OCStepKeysOf(*OCParametersOf(engine.get())).end[kOCStepEnd - 1], kOCStepKeyWords);
    EXPECT_TRUE(log.reports.empty());
}

TEST(OCStageCache, TheSecondMoveOfAControlBeginsAtItsStep)
{
    LogCatch log;
    Random random(4);
    const Pool pool(2);
    for (const MoveRow& row : kMoves) {
        Bench bench(40, 12, random);
        OCSettings g = FullGrade(random);
        g.levels[2].on = 1;
        bench.Run(g, pool);
        EXPECT_EQ(bench.cache.step, 0u) << row.name;
        for (int i = 0; i < 3; ++i) {
            row.move(g);
            bench.Run(g, pool);
            ASSERT_TRUE(bench.IsRight()) << row.name << ", move " << i;
            // In front of step 1 stands the source itself.
            EXPECT_EQ(bench.cache.step, row.step == 1 || row.step == kOCStepEnd ? 0u : row.step) << row.name;
        }
    }
}

TEST(OCStageCache, KeptPlanesAreReallyUsed)
{
    LogCatch log;
    Random random(5);
    Bench bench(32, 10, random);
    OCSettings g = FullGrade(random);
    const Pool pool(1);
    bench.Run(g, pool);
    g.limiter.limiter_chroma_max -= 1;
    bench.Run(g, pool);
    ASSERT_EQ(bench.cache.step, kOCLimiterStep);
    // Planes that somebody spoilt show in the next run.
    for (uint32_t plane = 0; plane < 3; ++plane)
        std::memset(bench.cache.planes->baseAddr + size_t{plane} * bench.cache.planes->planeBytes, 0,
                    bench.cache.planes->planeBytes);
    bench.Run(g, pool);
    EXPECT_EQ(At(*bench.result, 0, 3, 3), 0);
    EXPECT_FALSE(bench.IsRight());
    OCForgetStages(&bench.cache);
    bench.Run(g, pool);
    EXPECT_TRUE(bench.IsRight());
}

TEST(OCStageCache, RandomSequencesOfEditsGiveTheBytesOfWholeRuns)
{
    LogCatch log;
    Random random(6);
    for (uint32_t workers : {1u, 2u, 3u, 5u}) {
        const Pool pool(workers);
        Bench bench(37, 23, random);
        OCSettings g = FullGrade(random);
        for (int round = 0; round < 60; ++round) {
            switch (random() % 8) {
            case 0:
                g = RandomGrade(random, static_cast<uint32_t>(random()), static_cast<GradeReach>(random() % 4));
                break;
            case 1: g = FullGrade(random); break;
            case 2: { // one switch
                const uint32_t switches[] = {4, 8, 12, 172, 384, 596, 808, 864, 1028, 1032, 17504, 29832, 29860, 33376};
                auto* word = reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(&g) +
                                                         switches[random() % std::size(switches)]);
                *word = *word ? 0 : 1;
                break;
            }
            case 3: { // another picture in the same frame
                const FramePtr other = Noise(37, 23, random);
                std::memcpy(bench.source->baseAddr, other->baseAddr, size_t{4} * other->planeBytes);
                OCForgetStages(&bench.cache);
                break;
            }
            default: break;
            }
            const MoveRow& row = kMoves[random() % std::size(kMoves)];
            for (auto moves = random() % 4; moves > 0; --moves) {
                row.move(g);
                bench.Run(g, pool);
                ASSERT_TRUE(bench.IsRight()) << workers << " workers, round " << round << ", " << row.name;
            }
            bench.Run(g, pool);
            ASSERT_TRUE(bench.IsRight()) << workers << " workers, round " << round;
        }
    }
}

TEST(OCStageCache, AnotherSourceIsSeenByItsRecord)
{
    LogCatch log;
    Random random(7);
    const Pool pool(2);
    Bench bench(32, 16, random);
    OCSettings g = FullGrade(random);
    for (int i = 0; i < 3; ++i) {
        g.limiter.limiter_chroma_max -= 1;
        bench.Run(g, pool);
    }
    ASSERT_EQ(bench.cache.step, kOCLimiterStep);
    const FramePtr first = std::move(bench.source);
    bench.source = Noise(32, 16, random);
    bench.Run(g, pool);
    EXPECT_EQ(bench.cache.step, 0u);
    EXPECT_TRUE(bench.IsRight());
}

TEST(OCStageCache, PlanesThatMovedApartAreAnotherSource)
{
    LogCatch log;
    Random random(13);
    EnginePtr engine = MakeEngine();
    OCSettings g = FullGrade(random);
    // One block of memory, read with its planes close together and then further apart.
    const FramePtr memory = Noise(32, 20, random), result = MakeFrame(32, 16), expected = MakeFrame(32, 16);
    FBFrame source = *memory;
    source.height = 16;
    source.planeBytes = memory->rowBytes * 16;
    OCStageCache cache = {};
    const auto run = [&] {
        g.limiter.limiter_chroma_max -= 1;
        OCUpdateParameters(engine.get(), &g);
        ProcessImageCached(engine.get(), &cache, &source, result.get(), {}, &g, 0, 1, nullptr);
        OCProcessImageBandScalar(*OCParametersOf(engine.get()), &source, expected.get());
        return SamePlanes(*expected, *result, 16);
    };
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(run());
    ASSERT_EQ(cache.step, kOCLimiterStep);
    source.planeBytes = memory->planeBytes;
    EXPECT_TRUE(run());
    EXPECT_EQ(cache.step, 0u);
    OCDisposeStageCache(&cache);
}

TEST(OCStageCache, WithoutMemoryTheRunIsAWholeOne)
{
    LogCatch log;
    Random random(8);
    const Pool pool(1);
    Bench bench(32, 16, random);
    OCSettings g = FullGrade(random);
    bench.Run(g, pool);
    for (uint64_t n : {1u, 2u}) { // record and pixels
        g.limiter.limiter_chroma_max -= 1;
        OCUpdateParameters(bench.engine.get(), &g);
        BPFailAllocation(n);
        ProcessImageCached(bench.engine.get(), &bench.cache, bench.source.get(), bench.result.get(), bench.DisplayAt(),
                           &g, 0, 1, nullptr);
        BPFailAllocation(0);
        EXPECT_TRUE(bench.IsRight()) << n;
        EXPECT_EQ(bench.cache.step, 0u);
        EXPECT_EQ(bench.cache.planes, nullptr);
    }
    g.limiter.limiter_chroma_max -= 1;
    bench.Run(g, pool);
    EXPECT_EQ(bench.cache.step, kOCLimiterStep);
    EXPECT_TRUE(bench.IsRight());
}

TEST(OCStageCache, AFrameThatIsItsOwnDestinationIsNeverKept)
{
    LogCatch log;
    Random random(9);
    EnginePtr engine = MakeEngine();
    OCSettings g = FullGrade(random);
    const FramePtr frame = Noise(32, 16, random), again = MakeFrame(32, 16);
    std::memcpy(again->baseAddr, frame->baseAddr, size_t{4} * frame->planeBytes);
    OCStageCache cache = {};
    for (int i = 0; i < 3; ++i) {
        g.limiter.limiter_chroma_max -= 1;
        OCUpdateParameters(engine.get(), &g);
        ProcessImageCached(engine.get(), &cache, frame.get(), frame.get(), {}, &g, 0, 1, nullptr);
        OCProcessImageBandScalar(*OCParametersOf(engine.get()), again.get(), again.get());
        EXPECT_TRUE(SamePlanes(*again, *frame, 16));
        EXPECT_EQ(cache.planes, nullptr);
    }
    OCDisposeStageCache(&cache);
}

TEST(OCStageCache, FramesOfOtherShapesRunWhole)
{
    LogCatch log;
    Random random(10);
    EnginePtr engine = MakeEngine();
    OCSettings g = FullGrade(random);
    const FramePtr source = Noise(32, 16, random);
    OCStageCache cache = {};
    for (const auto& [width, height] : {std::pair{32u, 12u}, {32u, 20u}, {64u, 16u}}) {
        const FramePtr result = MakeFrame(width, height), expected = MakeFrame(width, height);
        std::vector<uint8_t> display(size_t{width} * height * 4), wanted(display.size());
        for (int i = 0; i < 3; ++i) {
            g.limiter.limiter_chroma_max -= 1;
            OCUpdateParameters(engine.get(), &g);
            ProcessImageCached(engine.get(), &cache, source.get(), result.get(),
                               {display.data(), width * 4, pixFormatARGB8}, &g, 0, 1, nullptr);
            OCProcessImageBandScalar(*OCParametersOf(engine.get()), source.get(), expected.get());
            FBTransferFBFrameToPixScalar(expected.get(), nullptr, wanted.data(), width * 4, pixFormatARGB8);
            EXPECT_TRUE(SamePlanes(*expected, *result, height));
            EXPECT_EQ(display, wanted);
            EXPECT_EQ(cache.step, 0u);
        }
    }
    ProcessImageCached(engine.get(), &cache, source.get(), nullptr, {}, &g, 0, 1, nullptr);
    OCDisposeStageCache(&cache);
}

// Kernels --------------------------------------------------------------------------------------------------------------

TEST(OCBandRun, EveryInstructionSetBeginsKeepsAndShowsAsTheReadableKernel)
{
    LogCatch log;
    Random random(11);
    EnginePtr engine = MakeEngine();
    for (uint32_t width : {1u, 3u, 16u, 37u, 64u, 141u})
        for (int round = 0; round < 6; ++round) {
            const OCSettings g =
                round % 2 ? FullGrade(random)
                          : RandomGrade(random, static_cast<uint32_t>(random()), static_cast<GradeReach>(random() % 4));
            OCUpdateParameters(engine.get(), &g);
            const OCProcessParams& params = *OCParametersOf(engine.get());
            const uint32_t step = 2 + static_cast<uint32_t>(random() % (kOCStepEnd - 2));
            const uint32_t second = step + 1 + static_cast<uint32_t>(random() % 5);
            const FramePtr source = Noise(width, 5, random), expected = MakeFrame(width, 5);
            OCProcessImageBandScalar(params, source.get(), expected.get());
            const FBPixelFormat format = round % 3 ? pixFormatARGB8 : pixFormatBGRA8;
            const uint32_t rowBytes = width * 4 + static_cast<uint32_t>(random() % 3) * 8;
            std::vector<uint8_t> wanted(size_t{rowBytes} * 5 + 64, 0xA5);
            FBTransferFBFrameToPixScalar(expected.get(), nullptr, wanted.data(), rowBytes, format);
            const FramePtr planes = MakeFrame(width, 5);
            for (const OCKernel& kernel : OCFastKernels()) {
                const auto run = [&](bool start, uint32_t keepBefore) {
                    const FramePtr seen = MakeFrame(width, 5);
                    std::vector<uint8_t> display(wanted.size(), 0xA5);
                    OCBandRun job = OCPlainRun(source.get(), seen.get());
                    if (start) {
                        job.start = planes.get();
                        job.firstStep = step;
                    }
                    if (keepBefore) {
                        job.keep = planes.get();
                        job.keepBefore = keepBefore;
                    }
                    job.display = {display.data(), rowBytes, format};
                    kernel.runFrom(params, job);
                    if (auto same = SamePlanes(*expected, *seen, 5); !same) return same << " " << kernel.name;
                    if (display != wanted) return testing::AssertionFailure() << "display of " << kernel.name;
                    return testing::AssertionSuccess();
                };
                ASSERT_TRUE(run(false, 0)) << "width " << width << ", round " << round;
                ASSERT_TRUE(run(false, step)) << "keep before " << step;
                ASSERT_TRUE(run(true, 0)) << "start at " << step;
                // Its own planes go forward to a later step.
                ASSERT_TRUE(run(true, second < kOCStepEnd ? second : 0)) << "start at " << step << ", keep " << second;
            }
        }
}

TEST(OCBandRun, ResultsTooLargeForACacheAreTheSame)
{
    LogCatch log;
    Random random(13);
    EnginePtr engine = MakeEngine();
    const OCSettings g = RandomGrade(random, 1u << toolRGBMaster | 1u << toolRGBCurves | 1u << toolLimiter, reachKnob);
    OCUpdateParameters(engine.get(), &g);
    const OCProcessParams& params = *OCParametersOf(engine.get());
    for (uint32_t width : {1024u, 1021u}) {
        constexpr uint32_t height = 1032; // 16 MiB of planes and more
        const FramePtr source = Noise(width, height, random), expected = MakeFrame(width, height);
        ASSERT_GE(expected->planeBytes * uint64_t{4}, uint64_t{16} << 20);
        OCProcessImageBandScalar(params, source.get(), expected.get());
        std::vector<uint8_t> wanted(size_t{width} * 4 * height);
        FBTransferFBFrameToPixScalar(expected.get(), nullptr, wanted.data(), width * 4, pixFormatARGB8);
        const FramePtr planes = MakeFrame(width, height);
        for (const bool start : {false, true}) {
            const FramePtr seen = MakeFrame(width, height);
            std::vector<uint8_t> display(wanted.size());
            OCBandRun job = OCPlainRun(source.get(), seen.get());
            job.display = {display.data(), width * 4, pixFormatARGB8};
            if (start)
                job.start = planes.get(), job.firstStep = 8;
            else
                job.keep = planes.get(), job.keepBefore = 8;
            OCFastKernels().back().runFrom(params, job);
            EXPECT_TRUE(SamePlanes(*expected, *seen, height)) << "width " << width << ", start " << start;
            EXPECT_EQ(display, wanted);
        }
        const FramePtr plain = MakeFrame(width, height);
        OCFastKernels().back().run(params, source.get(), plain.get());
        EXPECT_TRUE(SamePlanes(*expected, *plain, height)) << "width " << width;
    }
}

TEST(OCBandRun, AQuietRunLogsNothingAndGivesTheSameBytes)
{
    Random random(14);
    EnginePtr engine = MakeEngine();
    const OCSettings g = FullGrade(random);
    OCUpdateParameters(engine.get(), &g);
    ASSERT_TRUE(OCParametersOf(engine.get())->limiterEnabled);
    const FramePtr source = Noise(40, 4, random), loud = MakeFrame(40, 4), hushed = MakeFrame(40, 4);
    {
        LogCatch log;
        OCProcessImageBand(engine.get(), source.get(), loud.get(), &g, 0, 0);
        EXPECT_EQ(log.Text().rfind("Limiter is ON\nlumaMax = ", 0), 0u) << log.Text();
    }
    LogCatch log;
    OCBandRun run = OCPlainRun(source.get(), hushed.get());
    run.quiet = true;
    OCProcessImageRun(engine.get(), run);
    EXPECT_EQ(log.Text(), "");
    EXPECT_TRUE(SamePlanes(*loud, *hushed, 4));
}

TEST(OCBandRun, DisplayPixelsAreThoseOfTheTransferForEveryHardValue)
{
    Random random(12);
    EnginePtr engine = MakeEngine();
    std::vector<float> values = HardValues();
    for (int i = 0; i < 256; ++i)
        for (float off : {-1e-6f, 0.0f, 1e-6f}) values.push_back(static_cast<float>(i) / 255 - 0.001953125f + off);
    const auto width = static_cast<uint32_t>(values.size());
    const FramePtr source = MakeFrame(width, 3), result = MakeFrame(width, 3);
    for (uint32_t row = 0; row < 3; ++row)
        for (uint32_t i = 0; i < width; ++i)
            for (uint32_t plane = 0; plane < 3; ++plane)
                At(*source, plane, row, i) = values[(i * (plane + 1) + row) % width];
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatBGRA8}) {
        std::vector<uint8_t> seen(size_t{width} * 12), expected(seen.size());
        ProcessImageCached(engine.get(), nullptr, source.get(), result.get(), {seen.data(), width * 4, format}, nullptr,
                           0, 1, nullptr);
        FBTransferFBFrameToPixScalar(source.get(), nullptr, expected.data(), width * 4, format);
        EXPECT_EQ(seen, expected) << format;
    }
}
