// Fast kernels against readable ones: the same bytes over pictures, sizes, settings and instruction sets.
#include "src/TincturaUIDispSamples.h"
#include "src/TincturaUIDispVectorscope.h"
#include "tests/ScopesTest.h"

#include "src/platform/BPMemory.h"

#include <cstring>

namespace {

WaveformParams AnyMonitor(Random& random, Surface* target, const ScopeRect* bounds, const Surface& source)
{
    WaveformParams p = {};
    p.target = target;
    p.bounds = bounds;
    p.sourcePixels = source.pixels;
    p.sourceWidth = static_cast<int32_t>(source.width);
    p.sourceHeight = static_cast<int32_t>(source.height);
    p.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
    p.flags = waveformTrace;
    for (const uint32_t flag : {waveformYC, waveformPictureColor, waveformAlphaFirst, waveformIRE})
        if (random() % 2 != 0) p.flags |= flag;
    p.mode = Within(random, 1, 6);
    p.videoSystem = Within(random, 1, 3);
    p.matrix = Within(random, 0, 2);
    p.penSize = Within(random, 1, 2);
    p.lineCount = random() % 3 == 0 ? Within(random, -1, 40) : 0;
    p.singleLine = Within(random, -1, p.sourceHeight);
    p.blackLevel = random() % 2 != 0 ? 0 : Within(random, -300, 300);
    p.whiteLevel = random() % 2 != 0 ? 255 : Within(random, -300, 600);
    p.setup = random() % 2 != 0 ? 200 : 0;
    p.traceGain = 0x10000;
    p.uiSaturation = Within(random, 0, 0x12000);
    return p;
}

/// Full range on PAL in IRE, without a source.
WaveformParams PlainMonitor(int32_t mode, const ScopeRect* bounds)
{
    WaveformParams p = {};
    p.bounds = bounds;
    p.flags = waveformTrace | waveformAlphaFirst | waveformIRE;
    p.mode = mode;
    p.videoSystem = 2;
    p.whiteLevel = 255;
    p.penSize = 1;
    p.uiSaturation = 0x6666;
    return p;
}

void DrawBoth(WaveformParams params, Surface* fast, Surface* readable)
{
    ScopeContext context = ScopeDefaultContext();
    params.target = fast;
    DrawWaveformMonitor(params, context);
    context.readable = true;
    params.target = readable;
    DrawWaveformMonitor(params, context);
}

} // namespace

TEST(WaveformLight, IsTheSameAsSingleHitsOnEveryInstructionSet)
{
    ASSERT_FALSE(WaveformLightKernels().empty());
    for (const WaveformLightKernel& kernel : WaveformLightKernels()) {
        Random random(11);
        for (size_t count = 0; count <= 67; ++count) {
            std::vector<uint8_t> seen(count * 4 + 32), expected;
            for (uint8_t& byte : seen) byte = static_cast<uint8_t>(random());
            expected = seen;
            std::vector<uint16_t> counts(count);
            for (uint16_t& each : counts)
                each = static_cast<uint16_t>(random() % 3 == 0 ? 0 : random() % 3 == 0 ? random() : random() % 5);
            uint8_t increment[3], ceiling[3];
            for (int i = 0; i < 3; ++i) {
                increment[i] = static_cast<uint8_t>(random() % 4 == 0 ? 0 : random());
                ceiling[i] = static_cast<uint8_t>(random() % 4 == 0 ? 255 : random());
            }
            for (size_t i = 0; i < count; ++i)
                for (uint32_t hit = 0; hit < counts[i]; ++hit) {
                    uint8_t* pixel = expected.data() + 16 + i * 4;
                    pixel[0] = 0xFF;
                    for (int c = 0; c < 3; ++c)
                        pixel[c + 1] = static_cast<uint8_t>(std::min<int>(pixel[c + 1] + increment[c], ceiling[c]));
                }
            kernel.run(seen.data() + 16, counts.data(), count, increment, ceiling);
            ASSERT_EQ(seen, expected) << kernel.name << ", " << count << " pixels";
        }
    }
}

TEST(WaveformTrace, OfTheFastKernelHasTheReadableOnesBytes)
{
    Random random(1);
    int drawn = 0;
    for (int round = 0; round < 1500; ++round) {
        const auto width = static_cast<uint32_t>(Within(random, 1, 330)),
                   height = static_cast<uint32_t>(Within(random, 1, 200));
        Surface source(static_cast<uint32_t>(Within(random, 1, 400)), static_cast<uint32_t>(Within(random, 1, 90)));
        FillAny(&source, random);
        Surface fast(width, height), readable(width, height);
        const ScopeRect bounds = AnyBounds(random, static_cast<int32_t>(width), static_cast<int32_t>(height));
        WaveformParams params = AnyMonitor(random, &fast, &bounds, source);
        if (random() % 2 != 0) {
            fast.FillNoise(random);
            std::memcpy(readable.pixels, fast.pixels, size_t{fast.rowBytes} * height);
        }
        // The trace alone over whatever is there, and the whole monitor.
        WaveformTrace trace;
        if (WaveformTraceOf(params, bounds, &trace)) {
            ++drawn;
            DrawWaveformTrace(trace, 1, nullptr);
            trace.target = readable;
            DrawWaveformTraceScalar(trace);
            ASSERT_TRUE(SameSurface(readable, fast))
                << "trace of round " << round << ", mode " << params.mode << ", flags " << params.flags;
        }
        DrawBoth(params, &fast, &readable);
        ASSERT_TRUE(SameSurface(readable, fast)) << "round " << round << ", mode " << params.mode;
    }
    EXPECT_GT(drawn, 500);
}

TEST(WaveformTrace, OfTheFastKernelHasTheReadableOnesBytesOnEveryInstructionSetAndWorkerCount)
{
    Workers pools[] = {Workers(1), Workers(2), Workers(3), Workers(7)};
    OnEveryInstructionSet([&] {
        Random random(5);
        int drawn = 0;
        for (int round = 0; round < 150; ++round) {
            const auto width = static_cast<uint32_t>(Within(random, 40, 700)),
                       height = static_cast<uint32_t>(Within(random, 20, 400));
            Surface source(static_cast<uint32_t>(Within(random, 1, 500)), static_cast<uint32_t>(Within(random, 1, 60)));
            FillAny(&source, random);
            Surface fast(width, height), readable(width, height);
            fast.FillNoise(random);
            std::memcpy(readable.pixels, fast.pixels, size_t{fast.rowBytes} * height);
            const ScopeRect bounds = AnyBounds(random, static_cast<int32_t>(width), static_cast<int32_t>(height));
            WaveformParams params = AnyMonitor(random, &fast, &bounds, source);
            if (round % 2 == 0) params.mode = waveformSingle;
            if (round % 7 == 0) params.traceGain = 0x30000; // an envelope as red as a trace
            WaveformTrace trace;
            if (!WaveformTraceOf(params, bounds, &trace)) continue;
            ++drawn;
            Workers& pool = pools[random() % std::size(pools)];
            DrawWaveformTrace(trace, pool.count, pool.tasks);
            trace.target = readable;
            DrawWaveformTraceScalar(trace);
            ASSERT_TRUE(SameSurface(readable, fast)) << "round " << round << ", mode " << params.mode << ", flags "
                                                     << params.flags << ", " << pool.count << " tasks";
        }
        EXPECT_GT(drawn, 60);
    });
}

TEST(WaveformTrace, OfTheFastKernelReadsAnyStrideAndNoByteBeyondThePicture)
{
    Random random(21);
    int drawn = 0;
    for (int round = 0; round < 200; ++round) {
        Surface fast(330, 160), readable(330, 160), scene(static_cast<uint32_t>(Within(random, 1, 200)), 30);
        FillAny(&scene, random);
        const size_t packed = size_t{scene.width} * 4, offset = random() % 16;
        const size_t stride = packed + random() % 19;              // no multiple of anything
        std::vector<uint8_t> bytes(offset + 29 * stride + packed); // and it ends with its last pixel
        for (size_t row = 0; row < 30; ++row)
            std::memcpy(bytes.data() + offset + row * stride, scene.pixels + row * scene.rowBytes, packed);
        const ScopeRect bounds = ScopeBoundsOf(fast);
        WaveformParams params = AnyMonitor(random, &fast, &bounds, scene);
        if (round % 2 == 0) params.mode = waveformSingle;
        params.sourcePixels = bytes.data() + offset;
        params.sourceRowBytes = static_cast<int32_t>(stride);
        WaveformTrace trace;
        if (!WaveformTraceOf(params, bounds, &trace)) continue;
        ++drawn;
        DrawWaveformTrace(trace, 1, nullptr);
        trace.target = readable;
        trace.source = scene.pixels;
        trace.sourceRowBytes = scene.rowBytes;
        DrawWaveformTraceScalar(trace);
        ASSERT_TRUE(SameSurface(readable, fast))
            << "round " << round << ", stride " << stride << ", mode " << params.mode << ", flags " << params.flags;
    }
    EXPECT_GT(drawn, 100);
}

TEST(WaveformTrace, OfTheFastKernelKeepsToAClipInsideTheBounds)
{
    Random random(22);
    int drawn = 0, cut = 0;
    for (int round = 0; round < 300; ++round) {
        Surface fast(330, 200), readable(330, 200), whole(330, 200), source(60, 40);
        FillAny(&source, random);
        fast.FillBytes(0x33);
        readable.FillBytes(0x33);
        whole.FillBytes(0x33);
        const ScopeRect bounds = ScopeRectOf(10, 10, 190, 320);
        const int32_t top = Within(random, 12, 150), left = Within(random, 12, 250);
        const ScopeRect clip = ScopeRectOf(top, left, Within(random, top + 1, 188), Within(random, left + 1, 318));
        WaveformParams params = AnyMonitor(random, &fast, &bounds, source);
        if (round % 2 == 0) params.mode = waveformSingle;
        WaveformTrace trace;
        if (!WaveformTraceOf(params, clip, &trace)) continue;
        ++drawn;
        DrawWaveformTrace(trace, 1, nullptr);
        trace.target = readable;
        DrawWaveformTraceScalar(trace);
        ASSERT_TRUE(SameSurface(readable, fast)) << "round " << round << ", mode " << params.mode;
        // The clip is all that parts it from the whole trace.
        ASSERT_TRUE(WaveformTraceOf(params, bounds, &trace));
        trace.target = whole;
        DrawWaveformTrace(trace, 1, nullptr);
        for (int32_t y = 0; y < 200; ++y)
            for (int32_t x = 0; x < 330; ++x) {
                const bool isInside = x >= clip.left && x < clip.right && y >= clip.top && y < clip.bottom;
                const Surface::Pixel expected = isInside ? whole.At(x, y) : Surface::Pixel{0x33, 0x33, 0x33, 0x33};
                ASSERT_EQ(fast.At(x, y), expected) << "round " << round << ": " << x << ", " << y;
                cut += !isInside && !(whole.At(x, y) == expected);
            }
    }
    EXPECT_GT(drawn, 150);
    EXPECT_GT(cut, 1000);
}

TEST(WaveformTrace, OfAPictureMuchWiderThanThePaneHasTheReadableOnesBytes)
{
    // More than ten pixels a column.
    for (const uint32_t width : {1100u, 4096u, 20000u}) {
        Surface source(width, 6);
        FillScene(&source);
        for (const uint32_t flags : {0u, uint32_t{waveformYC}, uint32_t{waveformPictureColor}})
            for (const int32_t mode : {1, 2, 3, 4, 5, 6}) {
                Surface fast(110, 90), readable(110, 90);
                const ScopeRect bounds = ScopeBoundsOf(fast);
                WaveformParams params = PlainMonitor(mode, &bounds);
                params.flags |= flags;
                params.sourcePixels = source.pixels;
                params.sourceWidth = static_cast<int32_t>(width);
                params.sourceHeight = 6;
                params.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
                WaveformLayout layout;
                ASSERT_TRUE(WaveformLayoutOf(params, 110, &layout));
                ASSERT_GT(layout.xStep, 10 * 65536);
                DrawBoth(params, &fast, &readable);
                EXPECT_TRUE(SameSurface(readable, fast)) << width << ", mode " << mode << ", flags " << flags;
            }
    }
}

TEST(WaveformTrace, OfAPaneHigherThanATileHasTheReadableOnesBytes)
{
    for (const int32_t height : {4090, 4092, 4093, 5000}) {
        Surface source(40, 30), fast(300, static_cast<uint32_t>(height)), readable(300, static_cast<uint32_t>(height));
        FillScene(&source);
        Random random(8);
        const ScopeRect bounds = ScopeBoundsOf(fast);
        WaveformParams params = AnyMonitor(random, &fast, &bounds, source);
        params.mode = waveformSingle;
        params.flags |= waveformYC | waveformAlphaFirst;
        params.blackLevel = params.setup = params.lineCount = 0;
        params.whiteLevel = 255;
        DrawBoth(params, &fast, &readable);
        EXPECT_TRUE(SameSurface(readable, fast)) << height;
    }
}

TEST(WaveformLuma, ByFactorsIsTheTablesInEveryMatrixAndInstructionSet)
{
    OnEveryInstructionSet([] {
        for (int32_t matrix = 0; matrix < kOCMatrixCount; ++matrix) {
            const uint8_t* table = GetLumaTable(matrix);
            WaveformLumaFactors factors;
            ASSERT_TRUE(WaveformLumaFactorsOf(table, &factors));
            Random random(1);
            for (int round = 0; round < 60; ++round) {
                uint32_t words[kWaveformTile];
                uint16_t luma[kWaveformTile];
                for (int64_t i = 0; i < kWaveformTile; ++i)
                    words[i] = round < 24 ? static_cast<uint32_t>((round * 32 + i) % 256) << (8 + round / 8 * 8)
                                          : static_cast<uint32_t>(random());
                WaveformLumaOfPixels(reinterpret_cast<const uint8_t*>(words), kWaveformTile, factors, luma);
                for (int64_t i = 0; i < kWaveformTile; ++i)
                    ASSERT_EQ(luma[i], table[words[i] >> 8 & 255] + table[256 + (words[i] >> 16 & 255)] +
                                           table[512 + (words[i] >> 24)])
                        << matrix << ", " << words[i];
            }
        }
    });
}

TEST(WaveformLuma, OfATableThatIsNoMultipleHasNoFactors)
{
    std::vector<uint8_t> table(GetLumaTable(ocMatrix709), GetLumaTable(ocMatrix709) + kOCLumaTableBytes);
    WaveformLumaFactors factors;
    EXPECT_TRUE(WaveformLumaFactorsOf(table.data(), &factors));
    table[256 + 100] = static_cast<uint8_t>(table[256 + 100] + 1);
    EXPECT_FALSE(WaveformLumaFactorsOf(table.data(), &factors));
    table[256 + 100] = static_cast<uint8_t>(table[256 + 100] - 1);
    table[512] = 1;
    EXPECT_FALSE(WaveformLumaFactorsOf(table.data(), &factors));
}

TEST(WaveformTrace, OfTheFastKernelCountsMoreLinesThanACountHolds)
{
    // 65,536 equal lines: a count of 16 bits would come round to none.
    Surface source(3, 65535), fast(330, 100), readable(330, 100);
    source.Fill([](int32_t, int32_t y) { return y % 2 != 0 ? Opaque(10, 10, 10) : Opaque(200, 10, 40); });
    const ScopeRect bounds = ScopeBoundsOf(fast);
    for (const int32_t mode : {1, 2, 3, 5}) {
        WaveformParams params = PlainMonitor(mode, &bounds);
        // The same line again and again, more often than there are rows.
        params.sourcePixels = source.pixels;
        params.sourceWidth = 3;
        params.sourceHeight = 65536 + 7;
        DrawBoth(params, &fast, &readable);
        EXPECT_TRUE(SameSurface(readable, fast)) << mode;
    }
}

TEST(WaveformTrace, WithoutMemoryForCountsIsDrawnAllTheSame)
{
    Surface source(64, 64), fast(330, 200), poor(330, 200);
    FillScene(&source);
    const ScopeRect bounds = ScopeBoundsOf(fast);
    Random random(3);
    WaveformParams params = AnyMonitor(random, &fast, &bounds, source);
    params.mode = waveformRGB;
    params.blackLevel = 0;
    params.whiteLevel = 255;
    params.lineCount = 0;
    DrawWaveformMonitor(params, ScopeDefaultContext());
    params.target = &poor;
    BPFailAllocation(1);
    DrawWaveformMonitor(params, ScopeDefaultContext());
    EXPECT_EQ(BPAllocationCount(), 1u);
    BPFailAllocation(0);
    EXPECT_TRUE(SameSurface(fast, poor));
}

TEST(WaveformTrace, OfPanelsThatRunIntoEachOtherHasTheReadableOnesBytes)
{
    // One pixel over thousands of columns: the rounded step makes more columns than the panel has.
    Surface source(1, 3), fast(32000, 16), readable(32000, 16);
    source.Fill([](int32_t, int32_t y) { return Opaque(static_cast<uint8_t>(80 * y), 128, 255); });
    const ScopeRect bounds = ScopeBoundsOf(fast);
    for (const int32_t mode : {2, 3, 4, 5, 6}) {
        WaveformParams params = PlainMonitor(mode, &bounds);
        params.sourcePixels = source.pixels;
        params.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
        params.sourceWidth = 1;
        params.sourceHeight = 3;
        WaveformLayout layout;
        ASSERT_TRUE(WaveformLayoutOf(params, 32000, &layout));
        EXPECT_TRUE(mode == 4 || layout.columnCount > layout.panelWidth);
        DrawBoth(params, &fast, &readable);
        EXPECT_TRUE(SameSurface(readable, fast)) << mode;
    }
}

TEST(ReadableAndFast, DifferWhenAKernelIsBroken)
{
    // The comparison itself: one byte is enough.
    Surface a(20, 20), b(20, 20);
    EXPECT_TRUE(SameSurface(a, b));
    b.Set(19, 19, Opaque(0, 0, 1));
    EXPECT_FALSE(SameSurface(a, b));
    Surface c(20, 20), d(20, 20);
    d.pixels[size_t{d.rowBytes} * 20 - 1] = 1;
    EXPECT_FALSE(SameSurface(c, d));
}
