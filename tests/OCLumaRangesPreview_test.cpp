// The luma range picture as the image pane shows it.
#include "src/OCLumaRangesPreview.h"

#include "tests/CoreTest.h"

#include <cstring>
#include <limits>

namespace {

struct Surface {
    ScopeSurface surface = {};
    Surface(uint32_t width, uint32_t height) { EXPECT_EQ(ScopeSurfaceCreate(width, height, &surface), bpNoErr); }
    ~Surface() { ScopeSurfaceDispose(&surface); }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    const uint8_t* At(uint32_t column, uint32_t row) const
    {
        return surface.pixels + size_t{row} * surface.rowBytes + size_t{column} * 4;
    }
};

FramePtr Ramp(uint32_t width, uint32_t height)
{
    FramePtr frame = MakeFrame(width, height);
    for (uint32_t row = 0; row < height; ++row)
        for (uint32_t i = 0; i < width; ++i)
            At(*frame, 3, row, i) = static_cast<float>(i) / static_cast<float>(width - 1) * 1.2f - 0.1f;
    At(*frame, 3, 0, 0) = std::numeric_limits<float>::quiet_NaN();
    return frame;
}

FramePtr Noise(uint32_t width, uint32_t height, uint32_t seed)
{
    Random random(seed);
    FramePtr frame = MakeFrame(width, height);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < height; ++row)
            for (uint32_t column = 0; column < width; ++column)
                At(*frame, plane, row, column) = Between(random, -0.3f, 1.4f);
    return frame;
}

uint8_t GreyOf(const OCProcessParams& p, float luma, bool transferred)
{
    const auto index = [](float value) { return static_cast<size_t>((value > 0 ? std::min(value, 1.0f) : 0) * 16384); };
    size_t at = index(luma);
    if (transferred) at = index(p.transferForward.entry[at]);
    const float s = p.weight[ocShadows][at], m = p.weight[ocMidtones][at], h = p.weight[ocHighlights][at];
    return h > m && h > s ? 235 : m > s && m >= h ? 125 : s > h ? 0 : 125;
}

} // namespace

TEST(LumaRangesPreview, GreysAre235And125And0InAllThreeColoursAndOpaque)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    const FramePtr source = Ramp(301, 5);
    for (const bool transferred : {false, true}) {
        OCSettings grade = NeutralGrade();
        grade.transfer.transferOn = transferred ? 1 : 0;
        OCUpdateParameters(engine.get(), &grade);
        Surface out(301, 5);
        ASSERT_TRUE(LumaRangesPreview(engine.get(), source.get(), out.surface, 1, nullptr));
        bool seen[256] = {};
        for (uint32_t row = 0; row < 5; ++row)
            for (uint32_t column = 0; column < 301; ++column) {
                const uint8_t* pixel = out.At(column, row);
                const uint8_t grey = GreyOf(*OCParametersOf(engine.get()), At(*source, 3, row, column), transferred);
                ASSERT_EQ(pixel[0], 255) << column; // alpha comes first in memory
                for (int i = 1; i < 4; ++i) ASSERT_EQ(pixel[i], grey) << column << " " << transferred;
                seen[grey] = true;
            }
        EXPECT_TRUE(seen[235] && seen[125] && seen[0]);
    }
}

TEST(LumaRangesPreview, ItsWorkersGiveTheSameBytes)
{
    EnginePtr engine = MakeEngine();
    LogCatch log;
    OCSettings grade = NeutralGrade();
    grade.transfer.transferOn = 1;
    OCUpdateParameters(engine.get(), &grade);
    const FramePtr source = Noise(64, 40, 3);
    Surface alone(64, 40), banded(64, 40);
    ASSERT_TRUE(LumaRangesPreview(engine.get(), source.get(), alone.surface, 1, nullptr));
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTaskCount(&tasks, 3);
    ASSERT_TRUE(LumaRangesPreview(engine.get(), source.get(), banded.surface, count, tasks));
    MPDisposeTasks(count, &tasks);
    EXPECT_EQ(std::memcmp(alone.surface.pixels, banded.surface.pixels, size_t{alone.surface.rowBytes} * 40), 0);
}

TEST(LumaRangesPreview, WhatDoesNotFitIsLeftAlone)
{
    EnginePtr engine = MakeEngine();
    const FramePtr source = Ramp(16, 4);
    for (const auto& [width, height] : {std::pair{15u, 4u}, {16u, 5u}}) {
        Surface out(width, height);
        EXPECT_FALSE(LumaRangesPreview(engine.get(), source.get(), out.surface, 1, nullptr));
        EXPECT_EQ(out.At(3, 3)[0], 0);
    }
    Surface out(16, 4);
    EXPECT_FALSE(LumaRangesPreview(engine.get(), nullptr, out.surface, 1, nullptr));
    EXPECT_FALSE(LumaRangesPreview(engine.get(), MakeFrame(16, 4, pixFormatARGB8).get(), out.surface, 1, nullptr));
    EXPECT_FALSE(LumaRangesPreview(engine.get(), source.get(), ScopeSurface{}, 1, nullptr));
    EXPECT_EQ(out.At(3, 3)[0], 0);
}
