// Drawing into surfaces: pen, rectangles, clipping, texts, anti-aliased primitives.
#include "src/ScopeDraw.h"
#include "tests/ScopesTest.h"

#include <cmath>
#include <limits>

namespace {

constexpr ScopeColor kWhite = {0xFFFF, 0xFFFF, 0xFFFF};

ScopePort White(Surface* surface, const ScopeLetters* letters = nullptr)
{
    ScopePort port = ScopePortOn(surface, letters);
    port.color = kWhite;
    return port;
}

int32_t LitCount(const Surface& surface)
{
    int32_t count = 0;
    for (int32_t y = 0; y < static_cast<int32_t>(surface.height); ++y)
        for (int32_t x = 0; x < static_cast<int32_t>(surface.width); ++x) count += surface.At(x, y).red != 0;
    return count;
}

} // namespace

TEST(ScopeWord, LiesInMemoryAsAlphaRedGreenBlue)
{
    Surface surface(1, 1);
    ScopePort port = ScopePortOn(&surface, nullptr);
    port.color = {0x1234, 0x5678, 0x9ABC};
    ScopePaintRect(&port, ScopeBoundsOf(surface));
    EXPECT_EQ(surface.At(0, 0), (Surface::Pixel{0xFF, 0x12, 0x56, 0x9A}));
}

TEST(ScopeLines, IncludeBothEnds)
{
    const int32_t ends[][4] = {{2, 3, 9, 3}, {9, 3, 2, 3}, {4, 1, 4, 8}, {4, 8, 4, 1},
                               {2, 2, 2, 2}, {1, 1, 8, 8}, {1, 8, 8, 1}};
    const int32_t counts[] = {8, 8, 8, 8, 1, 8, 8};
    for (size_t i = 0; i < std::size(ends); ++i) {
        Surface surface(12, 12);
        ScopePort port = White(&surface);
        ScopeMoveTo(&port, ends[i][0], ends[i][1]);
        ScopeLineTo(&port, ends[i][2], ends[i][3]);
        EXPECT_EQ(LitCount(surface), counts[i]) << i;
        EXPECT_NE(surface.At(ends[i][0], ends[i][1]).red, 0);
        EXPECT_NE(surface.At(ends[i][2], ends[i][3]).red, 0);
        EXPECT_EQ(port.penX, ends[i][2]);
        EXPECT_EQ(port.penY, ends[i][3]);
    }
}

TEST(ScopeLines, SideBySideAreBars)
{
    Random numbers(5);
    const auto random = [&](int32_t low, int32_t high) { return Within(numbers, low, high); };
    for (int round = 0; round < 300; ++round) {
        Surface lines(40, 30), bars(40, 30);
        ScopePort port = White(&lines), other = White(&bars);
        port.clip = other.clip = ScopeRectOf(random(0, 9), random(0, 9), random(15, 30), random(15, 40));
        const int32_t left = random(-30, 45), bottom = random(-5, 35), count = random(0, 60);
        std::vector<int32_t> tops;
        int32_t seen = 0;
        for (int32_t i = 0; i < count; ++i) {
            tops.push_back(random(-8, bottom + 1));
            if (tops.back() > bottom) continue;
            ScopeMoveTo(&port, left + i, bottom);
            ScopeLineTo(&port, left + i, tops.back());
            ++seen;
        }
        ScopeDrawBars(&other, left, bottom, tops.data(), count);
        ASSERT_TRUE(SameSurface(lines, bars)) << round;
        Recorder recorder;
        other.witness = &recorder.witness;
        ScopeDrawBars(&other, left, bottom, tops.data(), count);
        ASSERT_EQ(static_cast<int32_t>(recorder.Of(scopeMarkLine).size()), seen) << round;
    }
}

TEST(ScopeLines, HangTheirPenBelowAndToTheRight)
{
    Surface surface(12, 12);
    ScopePort port = White(&surface);
    port.penSize = 2;
    ScopeMoveTo(&port, 2, 3);
    ScopeLineTo(&port, 5, 3);
    EXPECT_EQ(LitCount(surface), 5 * 2);
    EXPECT_NE(surface.At(6, 4).red, 0);
}

TEST(ScopeLines, AreClippedWhereverTheyLie)
{
    Random random(5);
    Surface surface(20, 20);
    ScopePort port = White(&surface);
    port.clip = {.top = 5, .left = 6, .bottom = 15, .right = 16};
    for (int i = 0; i < 2000; ++i) {
        const auto any = [&] {
            const int32_t near = static_cast<int32_t>(random() % 60) - 20;
            return random() % 50 == 0 ? static_cast<int32_t>(random()) : near;
        };
        ScopeMoveTo(&port, any(), any());
        ScopeLineTo(&port, any(), any());
        ScopeFrameRect(&port, ScopeRectOf(any(), any(), any(), any()));
        ScopePaintRect(&port, ScopeRectOf(any(), any(), any(), any()));
    }
    EXPECT_EQ(LitCount(surface), 100);
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 20; ++x) EXPECT_EQ(surface.At(x, y).red != 0, x >= 6 && x < 16 && y >= 5 && y < 15);
}

TEST(ScopeRects, FrameTheirOwnOutermostPixels)
{
    Surface surface(12, 12);
    ScopePort port = White(&surface);
    ScopeFrameRect(&port, {.top = 2, .left = 3, .bottom = 7, .right = 9});
    EXPECT_EQ(LitCount(surface), 2 * 6 + 2 * 3);
    EXPECT_NE(surface.At(3, 2).red, 0);
    EXPECT_NE(surface.At(8, 6).red, 0);
    EXPECT_EQ(surface.At(9, 6).red, 0);
    EXPECT_EQ(surface.At(4, 3).red, 0);
}

TEST(ScopeRects, ClampIntersectAndInset)
{
    const ScopeRect far = ScopeRectOf(-100000, INT32_MIN, 100000, INT32_MAX);
    EXPECT_EQ(far.top, INT16_MIN);
    EXPECT_EQ(far.right, INT16_MAX);
    const ScopeRect none = ScopeIntersection({0, 0, 10, 10}, {0, 10, 10, 20});
    EXPECT_EQ(ScopeWidthOf(none), 0);
    const ScopeRect inset = ScopeInset({.top = 0, .left = 0, .bottom = 10, .right = 5}, 4);
    EXPECT_EQ(inset.top, 4);
    EXPECT_EQ(inset.bottom, 6);
    EXPECT_EQ(inset.left, inset.right) << "nothing is left of the width";
}

TEST(ScopeTexts, MoveThePenByTheirWidth)
{
    Surface surface(100, 40);
    Recorder recorder;
    ScopePort port = White(&surface, &recorder.letters);
    port.witness = &recorder.witness;
    ScopeSelectFamily(&port, "Arial", "Geneva");
    port.font.size = 10;
    ScopeMoveTo(&port, 50, 20);
    ScopeDrawText(&port, "abc");
    EXPECT_EQ(port.penX, 65);
    ScopeDrawTextRight(&port, "abcd");
    EXPECT_EQ(recorder.marks.back().mark.x0, 45);
    EXPECT_EQ(recorder.marks.back().mark.x1, 65);
    EXPECT_EQ(port.penX, 65);
}

TEST(ScopeTexts, WithoutLettersTakeNoRoom)
{
    Surface surface(100, 40);
    ScopePort port = White(&surface);
    ScopeSelectFamily(&port, "Arial", "Geneva");
    EXPECT_STREQ(port.font.family, "Arial");
    EXPECT_EQ(ScopeTextWidth(port, "abc"), 0);
    EXPECT_EQ(ScopeMetrics(port).ascent, 0);
    ScopeDrawText(&port, "abc");
    EXPECT_EQ(LitCount(surface), 0);
}

TEST(ScopeRamp, RunsTowardsBlackByTheHighByte)
{
    const ScopeColorRamp ramp = ScopeRampOf({0xCE00, 0x6312, 0});
    EXPECT_EQ(ramp.entry[0].red, 0xCE00);
    EXPECT_EQ(ramp.entry[1].red, 0xCE00 - 0xCE);
    EXPECT_EQ(ramp.entry[255].red, 0xCE);
    EXPECT_EQ(ramp.entry[10].green, 0x6312 - 10 * 0x63);
    EXPECT_EQ(ramp.entry[255].blue, 0);
}

TEST(AntialiasedLine, OnPixelCentresIsWholeAndOnePixelWide)
{
    Surface surface(20, 20);
    ScopePort port = White(&surface);
    DrawAntialiasedLine(&port, ScopeRampOf(kWhite), 3, 5, 12, 5);
    for (int32_t x = 3; x <= 12; ++x) {
        EXPECT_EQ(surface.At(x, 5).red, 0xFF);
        EXPECT_EQ(surface.At(x, 4).red, 0);
        EXPECT_EQ(surface.At(x, 6).red, 0);
    }
    EXPECT_EQ(LitCount(surface), 10);
}

TEST(AntialiasedLine, BetweenPixelsSharesItsLight)
{
    Surface surface(20, 20);
    ScopePort port = White(&surface);
    DrawAntialiasedLine(&port, ScopeRampOf(kWhite), 3, 5.25, 12, 5.25);
    EXPECT_NEAR(surface.At(8, 5).red, 255 * 0.75, 2);
    EXPECT_NEAR(surface.At(8, 6).red, 255 * 0.25, 2);
}

TEST(AntialiasedPrimitives, CarryTheSameLightInEveryDirection)
{
    double least = 1e9, most = 0;
    for (int degrees = 0; degrees < 360; degrees += 7) {
        Surface surface(120, 120);
        ScopePort port = White(&surface);
        const double a = degrees * 3.14159265 / 180;
        DrawAntialiasedLine(&port, ScopeRampOf(kWhite), 60, 60, 60 + 50 * std::cos(a), 60 + 50 * std::sin(a));
        double light = 0;
        for (int32_t y = 0; y < 120; ++y)
            for (int32_t x = 0; x < 120; ++x) light += surface.At(x, y).red;
        least = std::min(least, light);
        most = std::max(most, light);
    }
    EXPECT_LT(most / least, 1.15);
}

TEST(AntialiasedEllipse, LiesAtItsRadiusAllAround)
{
    Surface surface(200, 160);
    ScopePort port = White(&surface);
    DrawAntialiasedEllipse(&port, ScopeRampOf(kWhite), 100, 80, 80, 60);
    for (int degrees = 0; degrees < 360; ++degrees) {
        const double a = degrees * 3.14159265 / 180;
        int32_t most = 0;
        for (double r = 0.97; r < 1.03; r += 0.004)
            most = std::max<int32_t>(most, surface
                                               .At(static_cast<int32_t>(std::lround(100 + 80 * r * std::cos(a))),
                                                   static_cast<int32_t>(std::lround(80 - 60 * r * std::sin(a))))
                                               .red);
        EXPECT_GT(most, 80) << degrees;
    }
    EXPECT_EQ(surface.At(100, 80).red, 0);
    EXPECT_EQ(surface.At(180, 80).red, 0xFF);
    EXPECT_EQ(surface.At(100, 20).red, 0xFF);
}

TEST(AntialiasedPrimitives, KeepTheBrighterWhereTheyCross)
{
    Surface surface(20, 20);
    ScopePort port = White(&surface);
    DrawAntialiasedLine(&port, ScopeRampOf(kWhite), 3, 10, 16, 10);
    DrawAntialiasedLine(&port, ScopeRampOf({0x4000, 0x4000, 0x4000}), 10, 3, 10.4, 16);
    for (int32_t x = 3; x <= 16; ++x) EXPECT_EQ(surface.At(x, 10).red, 0xFF);
}

TEST(AntialiasedPrimitives, IgnoreWhatIsNotFiniteAndEndWhateverTheyAreGiven)
{
    Surface surface(20, 20);
    ScopePort port = White(&surface);
    const ScopeColorRamp ramp = ScopeRampOf(kWhite);
    const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    DrawAntialiasedLine(&port, ramp, nan, 1, 2, 3);
    DrawAntialiasedLine(&port, ramp, 1, 2, infinity, 3);
    DrawAntialiasedArc(&port, ramp, 10, 10, nan, 5, 0, 90);
    DrawAntialiasedArc(&port, ramp, 10, 10, 5, 5, 0, infinity);
    DrawAntialiasedLine(&port, ramp, 1e300, 2, 3, 4);
    EXPECT_EQ(LitCount(surface), 0);
    DrawAntialiasedLine(&port, ramp, -1e6, -1e6, 1e6, 1e6);
    EXPECT_GT(LitCount(surface), 19);
    DrawAntialiasedArc(&port, ramp, 10, 10, 1e6, 1e6, 0, 1e6);
    DrawAntialiasedLine(&port, ramp, 5, 5, 5, 5);
}
