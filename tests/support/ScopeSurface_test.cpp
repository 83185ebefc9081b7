// Display surfaces: sizes, padding, failures.
#include "src/ScopeSurface.h"

#include "src/platform/BPMemory.h"

#include <gtest/gtest.h>

namespace {

TEST(ScopeSurface, RowsHoldGroupsOfFourPixelsAndStartZeroed)
{
    ScopeSurface surface;
    ASSERT_EQ(ScopeSurfaceCreate(5, 3, &surface), bpNoErr);
    EXPECT_EQ(surface.rowBytes, 32u);
    EXPECT_EQ(surface.depth, 32u);
    EXPECT_TRUE(surface.owned);
    for (uint32_t i = 0; i < surface.rowBytes * surface.height; ++i) ASSERT_EQ(surface.pixels[i], 0);
    surface.pixels[32 * 3 - 1] = 7;
    ScopeSurfaceClear(&surface);
    EXPECT_EQ(surface.pixels[32 * 3 - 1], 0);
    ScopeSurfaceDispose(&surface);
    EXPECT_EQ(surface.pixels, nullptr);
    EXPECT_EQ(surface.width, 0u);
    ScopeSurfaceDispose(&surface);
    ScopeSurfaceClear(&surface);
}

TEST(ScopeSurface, AMaskHasOneBitAPixel)
{
    ScopeSurface mask;
    ASSERT_EQ(ScopeSurfaceCreateMask(129, 2, &mask), bpNoErr);
    EXPECT_EQ(mask.rowBytes, 32u);
    EXPECT_EQ(mask.depth, 1u);
    ScopeSurfaceDispose(&mask);
}

TEST(ScopeSurface, SizesBeyondTheLimitsAreRefused)
{
    const uint32_t sizes[][2] = {{0, 1},          {1, 0},        {65536, 1},       {1, 65536},
                                 {0xFFFFFFFF, 4}, {65535, 2049}, {0x80000000u, 2}, {16384, 8193}};
    for (const auto& size : sizes) {
        ScopeSurface surface;
        EXPECT_EQ(ScopeSurfaceCreate(size[0], size[1], &surface), bpParamErr) << size[0] << " x " << size[1];
        EXPECT_EQ(surface.pixels, nullptr);
    }
}

TEST(ScopeSurface, WithoutMemoryThereIsNone)
{
    ScopeSurface surface;
    BPFailAllocation(1);
    EXPECT_EQ(ScopeSurfaceCreate(8, 8, &surface), bpMemFullErr);
    BPFailAllocation(0);
    EXPECT_EQ(surface.pixels, nullptr);
    EXPECT_EQ(surface.width, 0u);
}

TEST(ScopeSurface, WrappedMemoryIsNotReleased)
{
    uint8_t pixels[64] = {};
    ScopeSurface surface = {.width = 4, .height = 4, .rowBytes = 16, .depth = 32, .pixels = pixels, .owned = false};
    ScopeSurfaceDispose(&surface);
    EXPECT_EQ(surface.pixels, nullptr);
}

} // namespace
