// Frame buffers: layout rules, creation and its failures, iteration, single pixels, tables of 8 bits.
#include "src/TincturaFrameBuffer.h"

#include "src/MPTasks.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cstring>

TEST(FBFrame, RowsAndPlanesOfEveryFormat)
{
    const struct {
        int32_t format;
        uint32_t width5, width768, planes;
    } rows[] = {
        {32, 20, 3072, 1},         {200, 32, 3072, 4},        {201, 128, 12288, 1},      {202, 128, 12288, 1},
        {203, 32, 3072, 4},        {205, 40, 6144, 1},        {206, 32, 3072, 4},        {207, 32, 3072, 4},
        {208, 32, 3072, 4},        {209, 32, 3072, 4},        {210, 32, 3072, 4},        {215, 128, 12288, 1},
        {216, 16, 768, 1},         {217, 20, 3072, 1},        {218, 32, 3072, 4},        {0x42475241, 32, 3072, 4},
        {0x62363461, 32, 3072, 4}, {0x72343038, 32, 3072, 4}, {0x7234666c, 32, 3072, 4}, {0x76323130, 32, 3072, 4},
        {0x76343038, 32, 3072, 4},
    };
    for (const auto& row : rows) {
        const auto format = static_cast<FBPixelFormat>(row.format);
        const FramePtr five = MakeFrame(5, 3, format), wide = MakeFrame(768, 2, format);
        EXPECT_EQ(five->rowBytes, row.width5) << row.format;
        EXPECT_EQ(five->planeBytes, row.width5 * 3);
        EXPECT_EQ(five->planeCount, row.planes);
        EXPECT_EQ(wide->rowBytes, row.width768) << row.format;
        EXPECT_EQ(five->pixelFormat, format);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(five->baseAddr) % 16, 0u);
        EXPECT_EQ(five->flags, 0u);
    }
}

TEST(FBFrame, TagsFollowTheWidthAlone)
{
    const struct {
        uint32_t width, primary, secondary;
    } rows[] = {{1, 3, 2}, {767, 3, 2}, {768, 3, 2}, {769, 1, 1}, {1920, 1, 1}};
    for (const auto& row : rows)
        for (FBPixelFormat format : {pixFormatRGBYPlanar_Float, pixFormatARGB8}) {
            const FramePtr frame = MakeFrame(row.width, 2, format);
            EXPECT_EQ(frame->tagPrimary, row.primary) << row.width;
            EXPECT_EQ(frame->tagSecondary, row.secondary) << row.width;
            EXPECT_EQ(frame->tagReserved, 1u);
            EXPECT_EQ(frame->tagZero, 0u);
        }
}

TEST(FBFrame, ASmallPlanarFrameOwnsTheFloorAndItsPlanesLieClose)
{
    const FramePtr frame = MakeFrame(2, 2);
    EXPECT_EQ(frame->planeBytes, 32u);
    // All four floors belong to the frame and are zeroed; a sanitizer watches the end.
    for (size_t i = 0; i < size_t{4} * 0x20010; ++i) ASSERT_EQ(frame->baseAddr[i], 0);
    std::memset(frame->baseAddr, 1, size_t{4} * 0x20010);
    const FramePtr large = MakeFrame(256, 256);
    EXPECT_EQ(large->planeBytes, 256u * 256 * 4);
    std::memset(large->baseAddr, 1, size_t{4} * large->planeBytes);
}

TEST(FBFrame, EmptyFramesAreFrames)
{
    for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 5u}, {5u, 0u}}) {
        const FramePtr frame = MakeFrame(width, height);
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->planeBytes, 0u);
    }
}

TEST(FBFrame, EveryFailureOfMemoryLeavesNothing)
{
    for (uint64_t n = 1; n <= 2; ++n) {
        FBFrame* frame = reinterpret_cast<FBFrame*>(1);
        BPFailAllocation(n);
        EXPECT_EQ(FBCreateRGBFrameBuffer(8, 8, &frame, pixFormatRGBYPlanar_Float), bpMemFullErr);
        EXPECT_EQ(frame, nullptr);
    }
    BPFailAllocation(0);
}

TEST(FBFrame, SizesThatNoRecordCanDescribeAreRefused)
{
    const struct {
        uint32_t width, height;
    } rows[] = {{0xFFFFFFFF, 0xFFFFFFFF}, {0x40000000, 1}, {65536, 65536}, {0xFFFFFFFF, 1}, {16, 0xFFFFFFFF}};
    for (const auto& row : rows)
        for (FBPixelFormat format : {pixFormatRGBYPlanar_Float, pixFormatRGBA32_Float}) {
            FBFrame* frame = reinterpret_cast<FBFrame*>(1);
            EXPECT_EQ(FBCreateRGBFrameBuffer(row.width, row.height, &frame, format), bpMemFullErr);
            EXPECT_EQ(frame, nullptr);
        }
}

namespace {

struct Arena {
    std::vector<std::vector<uint8_t>> blocks{};
    std::vector<uint32_t> kinds{};
    std::vector<void*> released{};
    size_t failAt = 0;
};

const FBAllocator kArenaOps = {
    .allocate = [](void* context, size_t byteCount, uint32_t isPixelMemory) -> void* {
        auto* arena = static_cast<Arena*>(context);
        arena->kinds.push_back(isPixelMemory);
        if (arena->kinds.size() == arena->failAt) return nullptr;
        arena->blocks.emplace_back(byteCount, uint8_t{0xCC});
        return arena->blocks.back().data();
    },
    .release = [](void* context, void* block) { static_cast<Arena*>(context)->released.push_back(block); },
    .context = nullptr,
};

} // namespace

TEST(FBFrame, AnAllocatorGivesTheRecordThenThePixels)
{
    Arena arena;
    FBAllocator allocator = kArenaOps;
    allocator.context = &arena;
    FBFrame* frame = nullptr;
    ASSERT_EQ(FBCreateFrameBufferWithAllocator(5, 3, &frame, pixFormatRGBYPlanar_Float, &allocator), bpNoErr);
    EXPECT_EQ(arena.kinds, (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(static_cast<void*>(frame), arena.blocks[0].data());
    EXPECT_EQ(frame->baseAddr, arena.blocks[1].data()); // as it comes, without alignment
    EXPECT_EQ(arena.blocks[1].size(), size_t{4} * 0x20010);
    EXPECT_EQ(arena.blocks[1][0], 0xCC);
    EXPECT_EQ(frame->allocation, nullptr);
    EXPECT_EQ(frame->flags, 0u);
    EXPECT_EQ(frame->rowBytes, 32u);
}

TEST(FBFrame, ARefusedPixelBlockGivesTheRecordBack)
{
    for (size_t failAt : {1u, 2u}) {
        Arena arena;
        arena.failAt = failAt;
        FBAllocator allocator = kArenaOps;
        allocator.context = &arena;
        FBFrame* frame = reinterpret_cast<FBFrame*>(1);
        EXPECT_EQ(FBCreateFrameBufferWithAllocator(5, 3, &frame, pixFormatRGBYPlanar_Float, &allocator), bpMemFullErr);
        EXPECT_EQ(frame, nullptr);
        EXPECT_EQ(arena.released.size(), failAt - 1);
        if (failAt == 2) {
            EXPECT_EQ(arena.released[0], arena.blocks[0].data());
        }
    }
}

TEST(FBFrame, DisposalOfAWrappedFrameReleasesTheRecordOnly)
{
    std::vector<uint8_t> pixels(64, 7);
    auto* frame = static_cast<FBFrame*>(BPAllocate(sizeof(FBFrame)));
    frame->baseAddr = pixels.data();
    frame->allocation = pixels.data(); // would be a fault to release
    frame->flags = 1;
    FBDisposeFrameBuffer(frame);
    EXPECT_EQ(pixels[63], 7);
}

TEST(FBFrame, DisposalOfNothingIsAnAssertion)
{
    LogCatch log;
    FBDisposeFrameBuffer(nullptr);
    ASSERT_EQ(log.reports.size(), 1u);
    EXPECT_EQ(log.reports[0].rfind("Ochrine 3 UI: Assert (framePtr != 0) failed. [TincturaFrameBuffer: ", 0), 0u)
        << log.reports[0];
}

TEST(FBFrame, IterationWalksFourBytesAPixel)
{
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatYRGB32_Float, pixFormatRGBYPlanar_Float, pixFormatBGRA8}) {
        const FramePtr frame = MakeFrame(5, 3, format);
        struct Walk {
            std::vector<ptrdiff_t> steps{};
            const FBFrame* frame;
        } walk = {.frame = frame.get()};
        FBIterateFrame(
            frame.get(),
            [](uint8_t* pixel, const FBFrame* of, void* user) {
                auto* w = static_cast<Walk*>(user);
                EXPECT_EQ(of, w->frame);
                w->steps.push_back(pixel - of->baseAddr);
            },
            &walk);
        std::vector<ptrdiff_t> expected;
        for (ptrdiff_t row = 0; row < 3; ++row) // Deliberate in format 201: the first quarter of the row
            for (ptrdiff_t column = 0; column < 5; ++column) expected.push_back(row * frame->rowBytes + column * 4);
        EXPECT_EQ(walk.steps, expected);
    }
}

TEST(FBFrame, IterationOfAnotherFormatIsLogged)
{
    LogCatch log;
    const FramePtr frame = MakeFrame(5, 3, pixFormatRGBA32_Float);
    FBIterateFrame(
        frame.get(), [](uint8_t*, const FBFrame*, void*) { ADD_FAILURE(); }, nullptr);
    EXPECT_EQ(log.Text(), "FBIterateFrame: Unsupported frame buffer pixel format ca\n");
}

TEST(FBFrame, APixelIsReadAsRedGreenBlueAlpha)
{
    const FramePtr argb = MakeFrame(5, 3, pixFormatARGB8), bgra = MakeFrame(5, 3, pixFormatBGRA8),
                   planar = MakeFrame(5, 3);
    const uint32_t word = 0x80C04020; // as ARGB: alpha 80, red C0, green 40, blue 20
    std::memcpy(argb->baseAddr + argb->rowBytes * 2 + 16, &word, 4);
    std::memcpy(bgra->baseAddr + bgra->rowBytes * 2 + 16, &word, 4);
    for (uint32_t plane = 0; plane < 4; ++plane) At(*planar, plane, 2, 4) = static_cast<float>(plane) + 0.5f;
    float rgba[4] = {};
    FBGetPixelFloat(argb.get(), 4, 2, rgba);
    EXPECT_EQ(rgba[0], static_cast<float>(0xC0 / 255.0));
    EXPECT_EQ(rgba[1], static_cast<float>(0x40 / 255.0));
    EXPECT_EQ(rgba[2], static_cast<float>(0x20 / 255.0));
    EXPECT_EQ(rgba[3], static_cast<float>(0x80 / 255.0));
    FBGetPixelFloat(bgra.get(), 4, 2, rgba); // blue 80, green C0, red 40, alpha 20
    EXPECT_EQ(rgba[0], static_cast<float>(0x40 / 255.0));
    EXPECT_EQ(rgba[1], static_cast<float>(0xC0 / 255.0));
    EXPECT_EQ(rgba[2], static_cast<float>(0x80 / 255.0));
    EXPECT_EQ(rgba[3], static_cast<float>(0x20 / 255.0));
    FBGetPixelFloat(planar.get(), 4, 2, rgba);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(rgba[i], static_cast<float>(i) + 0.5f);
}

TEST(FBFrame, APixelOutsideIsFourZerosAndAnotherFormatLeavesTheResult)
{
    const FramePtr frame = MakeFrame(5, 3);
    for (uint32_t column = 0; column < 8; ++column) At(*frame, 0, 1, column) = 9;
    const struct {
        int32_t column, row;
    } outside[] = {{5, 1}, {-1, 1}, {0, 3}, {0, -1}, {2147483647, 0}, {0, 2147483647}, {-2147483647, 0}};
    for (const auto& point : outside) {
        float rgba[4] = {1, 2, 3, 4};
        FBGetPixelFloat(frame.get(), point.column, point.row, rgba);
        for (float value : rgba) EXPECT_EQ(value, 0) << point.column << ", " << point.row;
    }
    const FramePtr other = MakeFrame(5, 3, pixFormatRGBA32_Float);
    float rgba[4] = {1, 2, 3, 4};
    FBGetPixelFloat(other.get(), 0, 0, rgba);
    FBGetPixelFloat(other.get(), 99, 0, rgba);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(rgba[i], static_cast<float>(i + 1));
}

TEST(FBFrame, ALUTMapsGroupsOfFourPixelsAndLeavesAlpha)
{
    uint8_t table[768];
    for (uint32_t i = 0; i < 256; ++i) {
        table[i] = static_cast<uint8_t>(255 - i);
        table[256 + i] = static_cast<uint8_t>(i ^ 0x55);
        table[512 + i] = static_cast<uint8_t>(i / 2);
    }
    for (uint32_t width : {0u, 1u, 3u, 4u, 5u}) {
        const uint32_t mapped = (width + 3) / 4 * 4;
        for (FBPixelFormat format : {pixFormatARGB8, pixFormatBGRA8, pixFormatRGBA32_Float}) {
            std::vector<uint32_t> pixels(20), expected(20);
            for (uint32_t i = 0; i < 20; ++i) {
                pixels[i] = 0x01020304u * (i + 1);
                const uint32_t w = pixels[i];
                expected[i] = w;
                if (i % 10 >= mapped || format == pixFormatRGBA32_Float) continue;
                const uint32_t a = w >> 24, b = w >> 16 & 255, c = w >> 8 & 255, d = w & 255;
                expected[i] =
                    format == pixFormatARGB8
                        ? a << 24 | uint32_t{table[b]} << 16 | uint32_t{table[256 + c]} << 8 | table[512 + d]
                        : uint32_t{table[512 + a]} << 24 | uint32_t{table[256 + b]} << 16 | uint32_t{table[c]} << 8 | d;
            }
            FBApplyLUTBand(reinterpret_cast<uint8_t*>(pixels.data()), width, 2, 40, table, format);
            EXPECT_EQ(pixels, expected) << "width " << width << ", format " << format;
        }
    }
}

TEST(FBFrame, ALUTStaysInsideRowsWithoutPadding)
{
    uint8_t table[768];
    for (uint32_t i = 0; i < 768; ++i) table[i] = static_cast<uint8_t>(i + 1); // mapped twice shows
    for (uint32_t tasks : {1u, 3u}) {
        MPTask* pool = nullptr;
        const uint32_t count = MPStartTaskCount(&pool, tasks);
        std::vector<uint32_t> pixels(5 * 12 + 4, 0x40404040), expected(5 * 12, 0x40414141);
        expected.resize(pixels.size(), 0x40404040);
        FBApplyLUT(reinterpret_cast<uint8_t*>(pixels.data()), 5, 12, 20, table, pixFormatARGB8, count, pool);
        EXPECT_EQ(pixels, expected) << tasks << " tasks";
        MPDisposeTasks(count, &pool);
    }
}

TEST(FBFrame, ThePlaneFloorEndsWhereItIsTold)
{
    const struct {
        uint32_t width, height;
        FBPixelFormat format;
        size_t bytes;
    } rows[] = {{32767, 1, pixFormatARGB8, 0x20010},
                {32768, 1, pixFormatARGB8, 0x20000},
                {32769, 1, pixFormatARGB8, 0x20004},
                {8192, 4, pixFormatRGBYPlanar_Float, size_t{4} * 0x20000},
                {8188, 4, pixFormatBGRA8, size_t{4} * 0x20010}}; // four planes though one is used
    for (const auto& row : rows) {
        Arena arena;
        FBAllocator allocator = kArenaOps;
        allocator.context = &arena;
        FBFrame* frame = nullptr;
        ASSERT_EQ(FBCreateFrameBufferWithAllocator(row.width, row.height, &frame, row.format, &allocator), bpNoErr);
        EXPECT_EQ(arena.blocks[1].size(), row.bytes) << row.width << " x " << row.height;
        EXPECT_EQ(frame->planeBytes, frame->rowBytes * row.height);
    }
}

TEST(FBFrame, DisposalWithoutPixelsReleasesTheRecordOnly)
{
    alignas(16) uint8_t block[16] = {};
    auto* frame = static_cast<FBFrame*>(BPAllocate(sizeof(FBFrame)));
    frame->allocation = block; // would be a fault to release
    LogCatch log;
    FBDisposeFrameBuffer(frame);
    EXPECT_TRUE(log.reports.empty());
}

TEST(FBFrame, ABandKeepsThePlanesWhereTheyAre)
{
    const FramePtr frame = MakeFrame(5, 10);
    const FBFrame band = FBBandOf(*frame, 3, 4);
    EXPECT_EQ(band.baseAddr, frame->baseAddr + 3 * frame->rowBytes);
    EXPECT_EQ(band.height, 4u);
    EXPECT_EQ(band.planeBytes, frame->planeBytes);
    EXPECT_EQ(band.width, 5u);
    EXPECT_EQ(band.tagPrimary, 3u);
}
