// Counted displays, fast against readable: the vectorscope's bytes and the histograms' counts.
#include "src/TincturaUIDispVectorscope.h"
#include "tests/ScopesTest.h"

#include "src/platform/BPMemory.h"

#include <cstring>
#include <span>

namespace {

/// Random pictures, sizes and settings; one task on the calling thread, or workers.
void CompareVectorscopes(int rounds, uint32_t seed, std::span<Workers> pools)
{
    Random random(seed);
    int drawn = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto width = static_cast<uint32_t>(Within(random, 1, 330)),
                   height = static_cast<uint32_t>(Within(random, 1, 250));
        Surface source(static_cast<uint32_t>(Within(random, 1, 900)), static_cast<uint32_t>(Within(random, 1, 60)));
        FillAny(&source, random);
        Surface fast(width, height), readable(width, height);
        const ScopeRect bounds = AnyBounds(random, static_cast<int32_t>(width), static_cast<int32_t>(height));
        VectorscopeParams p = {};
        p.target = &fast;
        p.bounds = &bounds;
        p.sourcePixels = source.pixels;
        p.sourceWidth = static_cast<int32_t>(source.width);
        p.sourceHeight = static_cast<int32_t>(source.height);
        p.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
        p.flags = vectorscopeTrace | (random() % 2 != 0 ? vectorscopeAlphaFirst : 0u);
        p.matrix = Within(random, 0, 2);
        p.zoom = Within(random, 1, 10);
        p.lineCount = random() % 3 == 0 ? Within(random, -1, 40) : 0;
        p.singleLine = Within(random, -1, p.sourceHeight);
        p.blackLevel = random() % 2 != 0 ? 0 : Within(random, -300, 300);
        p.whiteLevel = random() % 2 != 0 ? 255 : Within(random, -300, 600);
        p.calibration75 = Within(random, 0, 1);
        p.uiSaturation = Within(random, 0, 0x12000);
        VectorscopeTrace trace;
        if (VectorscopeTraceOf(p, bounds, &trace)) {
            ++drawn;
            if (random() % 2 != 0) {
                fast.FillNoise(random);
                std::memcpy(readable.pixels, fast.pixels, size_t{fast.rowBytes} * height);
            }
            const Workers& pool = pools[random() % pools.size()];
            DrawVectorscopeTrace(trace, pool.count, pool.tasks);
            trace.target = readable;
            DrawVectorscopeTraceScalar(trace);
            ASSERT_TRUE(SameSurface(readable, fast))
                << "round " << round << ", zoom " << p.zoom << ", " << pool.count << " tasks";
        }
    }
    EXPECT_GT(drawn, rounds / 4);
}

} // namespace

TEST(VectorscopeTrace, OfTheFastKernelHasTheReadableOnesBytes)
{
    Workers alone[] = {Workers(1)};
    CompareVectorscopes(1000, 2, alone);
}

TEST(VectorscopeTrace, OfTheFastKernelHasTheReadableOnesBytesOnEveryInstructionSetAndWorkerCount)
{
    Workers pools[] = {Workers(1), Workers(2), Workers(3), Workers(7)};
    OnEveryInstructionSet([&] { CompareVectorscopes(120, 6, pools); });
}

TEST(VectorscopeTrace, OfTheFastKernelReadsAnyStrideAndKeepsToAClipInsideTheScope)
{
    Random random(31);
    int cut = 0;
    for (int round = 0; round < 200; ++round) {
        Surface fast(200, 150), readable(200, 150), whole(200, 150),
            scene(static_cast<uint32_t>(Within(random, 1, 900)), 20);
        FillAny(&scene, random);
        const size_t packed = size_t{scene.width} * 4, offset = random() % 16, stride = packed + random() % 19;
        std::vector<uint8_t> bytes(offset + 19 * stride + packed); // ends with the last pixel
        for (size_t row = 0; row < 20; ++row)
            std::memcpy(bytes.data() + offset + row * stride, scene.pixels + row * scene.rowBytes, packed);
        const ScopeRect bounds = ScopeRectOf(5, 4, 145, 190);
        const int32_t top = Within(random, 6, 120), left = Within(random, 6, 160);
        const ScopeRect clip = ScopeRectOf(top, left, Within(random, top + 1, 144), Within(random, left + 1, 189));
        VectorscopeParams p = {};
        p.target = &fast;
        p.bounds = &bounds;
        p.sourcePixels = bytes.data() + offset;
        p.sourceWidth = static_cast<int32_t>(scene.width);
        p.sourceHeight = 20;
        p.sourceRowBytes = static_cast<int32_t>(stride);
        p.flags = vectorscopeTrace | (random() % 2 != 0 ? vectorscopeAlphaFirst : 0u);
        p.zoom = Within(random, 1, 3);
        p.whiteLevel = 255;
        p.uiSaturation = 0x6666;
        VectorscopeTrace trace;
        ASSERT_TRUE(VectorscopeTraceOf(p, clip, &trace));
        DrawVectorscopeTrace(trace, 1, nullptr);
        trace.source = scene.pixels;
        trace.sourceRowBytes = scene.rowBytes;
        trace.target = readable;
        DrawVectorscopeTraceScalar(trace);
        ASSERT_TRUE(SameSurface(readable, fast)) << "round " << round << ", stride " << stride;
        // The clip is all that parts it from the whole trace.
        ASSERT_TRUE(VectorscopeTraceOf(p, bounds, &trace));
        trace.target = whole;
        DrawVectorscopeTrace(trace, 1, nullptr);
        for (int32_t y = 0; y < 150; ++y)
            for (int32_t x = 0; x < 200; ++x) {
                const bool isInside = x >= clip.left && x < clip.right && y >= clip.top && y < clip.bottom;
                const Surface::Pixel expected = isInside ? whole.At(x, y) : Surface::Pixel{};
                ASSERT_EQ(fast.At(x, y), expected) << "round " << round << ": " << x << ", " << y;
                cut += !isInside && !(whole.At(x, y) == Surface::Pixel{});
            }
    }
    EXPECT_GT(cut, 1000);
}

TEST(VectorscopeTrace, OfPixelsThatAreHitMoreOftenThanACountHoldsStandsStill)
{
    Surface source(600, 400), fast(160, 120), readable(160, 120);
    source.Fill([](int32_t x, int32_t) { return x < 300 ? Opaque(90, 90, 90) : Opaque(200, 40, 40); });
    ScopeContext context = ScopeDefaultContext();
    for (const uint32_t saturation : {0u, 0x6666u, 0x10000u, 0x40000u}) {
        context.settings.uiSaturation = saturation;
        context.readable = false;
        DrawVectorscopeDisplay(&fast, nullptr, &source, context);
        context.readable = true;
        DrawVectorscopeDisplay(&readable, nullptr, &source, context);
        EXPECT_TRUE(SameSurface(readable, fast)) << saturation;
    }
}

TEST(VectorscopeTrace, OfRungsThatGoRoundOrWithoutMemoryIsTheReadableOnes)
{
    Surface source(64, 64), fast(160, 120), readable(160, 120);
    FillScene(&source);
    const ScopeRect bounds = ScopeBoundsOf(fast);
    VectorscopeParams p = {};
    p.target = &fast;
    p.bounds = &bounds;
    p.sourcePixels = source.pixels;
    p.sourceWidth = p.sourceHeight = 64;
    p.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
    p.flags = vectorscopeTrace | vectorscopeAlphaFirst;
    p.zoom = 1;
    p.whiteLevel = 255;
    p.uiSaturation = 0x6666;
    VectorscopeTrace trace;
    ASSERT_TRUE(VectorscopeTraceOf(p, bounds, &trace));
    const auto compare = [&] {
        fast.FillBytes(0);
        readable.FillBytes(0);
        trace.target = fast;
        DrawVectorscopeTrace(trace, 1, nullptr);
        trace.target = readable;
        DrawVectorscopeTraceScalar(trace);
        EXPECT_TRUE(SameSurface(readable, fast));
    };
    for (uint64_t request = 1; request <= 2; ++request) {
        BPFailAllocation(request);
        compare();
    }
    BPFailAllocation(0);
    trace.rung[5] = 0xFF000000u; // whose blue leads to the top, and the top's back again
    trace.rung[0] = 0;
    compare();
}

TEST(Histograms, OfTheFastKernelHaveTheReadableOnesCounts)
{
    Workers pools[] = {Workers(1), Workers(2), Workers(3), Workers(7)};
    Random random(4);
    for (int round = 0; round < 300; ++round) {
        Surface source(static_cast<uint32_t>(random() % 20 == 0 ? Within(random, 715, 730) : Within(random, 1, 70)),
                       static_cast<uint32_t>(random() % 20 == 0 ? Within(random, 570, 580) : Within(random, 1, 40)));
        FillAny(&source, random);
        GetLumaTable(Within(random, 0, 2));
        const Workers& pool = pools[random() % std::size(pools)];
        for (const uint32_t binCount : {128u, 256u, 512u, 768u, 1024u}) {
            std::vector<uint32_t> fast(binCount * 4, 3), readable(binCount * 4, 3);
            const auto setOf = [&](std::vector<uint32_t>& bins) {
                return HistogramSet{binCount,
                                    binCount - 1,
                                    bins.data(),
                                    bins.data() + binCount,
                                    bins.data() + 2 * binCount,
                                    bins.data() + 3 * binCount};
            };
            AccumulateHistograms(source, setOf(fast), pool.count, pool.tasks);
            AccumulateHistogramsScalar(source, setOf(readable));
            ASSERT_EQ(fast, readable) << source.width << " x " << source.height << ", " << binCount;
        }
    }
}

TEST(ScopeTasks, AreAskedOnlyWhereATraceIsLongEnough)
{
    EXPECT_EQ(ScopeTasksFor(0, 2), 1u);
    EXPECT_EQ(ScopeTasksFor((1 << 18) - 1, 2), 1u);
    EXPECT_EQ(ScopeTasksFor(1 << 18, 2), 2u);
    EXPECT_EQ(ScopeTasksFor(1 << 30, 1), 1u);
}

TEST(ScopeTasks, DrawEveryDisplayWithTheSameBytes)
{
    // Large enough for every trace to be shared.
    Surface source(1600, 1300), alone(900, 700), shared(900, 700);
    FillScene(&source);
    Workers pool(3);
    for (int32_t display = 1; display <= kScopeDisplayCount; ++display)
        for (const uint32_t pictureColor : {0u, 1u}) {
            ScopeContext context = ScopeDefaultContext();
            context.settings.wfmColor = pictureColor;
            DrawComboQuadrant(&alone, ScopeBoundsOf(alone), &source, display, context);
            context.taskCount = pool.count;
            context.tasks = pool.tasks;
            DrawComboQuadrant(&shared, ScopeBoundsOf(shared), &source, display, context);
            EXPECT_TRUE(SameSurface(alone, shared)) << ScopeDisplayName(display);
        }
}
