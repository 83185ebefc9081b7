// Split views: the ends of the line, the polygon, the mask, the compositor.
#include "src/TincturaUIDispSplit.h"

#include "tests/ScopesTest.h"

#include <cmath>
#include <limits>

namespace {

testing::AssertionResult IsLine(const ScopeSplitLine& line, float x1, float y1, float x2, float y2)
{
    const auto near = [](float a, float b) { return std::fabs(a - b) < 1e-5f; };
    if (near(line.x1, x1) && near(line.y1, y1) && near(line.x2, x2) && near(line.y2, y2))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << line.x1 << ", " << line.y1 << " to " << line.x2 << ", " << line.y2;
}

class Mask : public ScopeSurface {
  public:
    Mask(uint32_t wide, uint32_t high) : ScopeSurface{}
    {
        EXPECT_EQ(ScopeSurfaceCreateMask(wide, high, this), bpNoErr);
    }
    ~Mask() { ScopeSurfaceDispose(this); }
    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;
    bool At(uint32_t x, uint32_t y) const { return (pixels[size_t{y} * rowBytes + x / 8] >> (7 - x % 8)) & 1; }
    uint32_t Count() const
    {
        uint32_t count = 0;
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) count += At(x, y) ? 1 : 0;
        return count;
    }
};

} // namespace

TEST(SplitView, ALineBesideThePictureIsOneOfItsSides)
{
    EXPECT_TRUE(IsLine(ComputeSplitEnds({-0.1f, 0.2f, -3, 0.9f}), 0, 0, 0, 1));
    EXPECT_TRUE(IsLine(ComputeSplitEnds({1.1f, 0.2f, 2, 0.9f}), 1, 0, 1, 1));
    EXPECT_TRUE(IsLine(ComputeSplitEnds({0.3f, -0.2f, 0.6f, -0.9f}), 0, 0, 1, 0));
    EXPECT_TRUE(IsLine(ComputeSplitEnds({0.3f, 1.2f, 0.6f, 1.9f}), 0, 1, 1, 1));
}

TEST(SplitView, EndsOnTheBorderStayExactlyAsTheyAre)
{
    for (const ScopeSplitLine& line : {ScopeSplitLine{0.5f, 0, 0.5f, 1},
                                       {0, 0.1f, 0.7f, 1},
                                       {1, 0.33f, 0, 0.99f},
                                       {0, 0, 0, 1},
                                       {0.2f, 0, 0.8f, 0}}) {
        const ScopeSplitLine ends = ComputeSplitEnds(line);
        EXPECT_EQ(ends.x1, line.x1);
        EXPECT_EQ(ends.y1, line.y1);
        EXPECT_EQ(ends.x2, line.x2);
        EXPECT_EQ(ends.y2, line.y2);
    }
}

TEST(SplitView, OtherEndsBecomeTheCrossingPoints)
{
    EXPECT_TRUE(IsLine(ComputeSplitEnds({-1, 0.5f, 2, 0.5f}), 0, 0.5f, 1, 0.5f));
    EXPECT_TRUE(IsLine(ComputeSplitEnds({0.5f, 0.4f, 0.5f, 0.6f}), 0.5f, 0, 0.5f, 1));
    EXPECT_TRUE(IsLine(ComputeSplitEnds({2, 2, -1, -1}), 1, 1, 0, 0)); // the direction stays
    EXPECT_TRUE(IsLine(ComputeSplitEnds({-0.5f, 0.5f, 0.5f, -0.5f}), 0, 0, 0, 0));
}

TEST(SplitView, ALineThatMissesThePictureIsClampedToIt)
{
    EXPECT_TRUE(IsLine(ComputeSplitEnds({-0.5f, 0.3f, 0.3f, -0.6f}), 0, 0.3f, 0.3f, 0));
    EXPECT_TRUE(IsLine(ComputeSplitEnds({0.2f, 0.2f, 0.2f, 0.2f}), 0.2f, 0.2f, 0.2f, 0.2f));
}

TEST(SplitView, AnEndThatIsNoNumberGivesTheDefault)
{
    for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()})
        for (int i = 0; i < 4; ++i) {
            float v[4] = {0, 0, 1, 1};
            v[i] = bad;
            EXPECT_TRUE(IsLine(ComputeSplitEnds({v[0], v[1], v[2], v[3]}), 0.5f, 0, 0.5f, 1));
        }
}

TEST(SplitView, ALineDownTheMiddleGivesTheRightHalfToTheSecondPicture)
{
    Mask mask(37, 10);
    ScopeFillMask(&mask, ScopeSplitPolygonOf(ScopeDefaultSplitLine()));
    for (uint32_t y = 0; y < 10; ++y)
        for (uint32_t x = 0; x < 37; ++x) EXPECT_EQ(mask.At(x, y), x + 0.5 >= 18.5) << x << ", " << y;
}

TEST(SplitView, TheFourSidesGiveAllOrNothing)
{
    const struct {
        ScopeSplitLine line;
        bool all;
    } cases[] = {{{0, 0, 0, 1}, true}, {{1, 0, 1, 1}, false}, {{0, 0, 1, 0}, false}, {{0, 1, 1, 1}, true}};
    for (const auto& c : cases) {
        Mask mask(33, 9);
        ScopeFillMask(&mask, ScopeSplitPolygonOf(c.line));
        EXPECT_EQ(mask.Count(), c.all ? 33u * 9u : 0u) << c.line.x1 << c.line.y1 << c.line.x2 << c.line.y2;
    }
}

TEST(SplitView, EachPixelBelongsToTheSideOfItsMiddle)
{
    Random random(7);
    for (int round = 0; round < 200; ++round) {
        const auto edge = [&random](float* x, float* y) {
            const float along = static_cast<float>(random() % 1001) / 1000;
            switch (random() % 4) {
            case 0: *x = 0, *y = along; break;
            case 1: *x = 1, *y = along; break;
            case 2: *x = along, *y = 0; break;
            default: *x = along, *y = 1; break;
            }
        };
        ScopeSplitLine line = {};
        edge(&line.x1, &line.y1);
        edge(&line.x2, &line.y2);
        if (line.x1 == line.x2 && line.y1 == line.y2) continue;
        const auto width = static_cast<uint32_t>(1 + random() % 70), height = static_cast<uint32_t>(1 + random() % 40);
        Mask mask(width, height);
        ScopeFillMask(&mask, ScopeSplitPolygonOf(ComputeSplitEnds(line)));
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const double px = (x + 0.5) / width, py = (y + 0.5) / height;
                const double side = double(line.x2 - line.x1) * (py - double(line.y1)) -
                                    double(line.y2 - line.y1) * (px - double(line.x1));
                if (std::fabs(side) < 1e-5) continue; // on the line
                ASSERT_EQ(mask.At(x, y), side < 0) << round << ": " << x << ", " << y;
            }
    }
}

TEST(SplitView, TheSideFollowsAnEndRoundTheBorder)
{
    // The first end walks from the top over the corner to the left side: no step turns the picture over.
    uint32_t before = 50 * 100;
    for (const ScopeSplitLine& line : {ScopeSplitLine{0.4f, 0, 0.5f, 1},
                                       {0.2f, 0, 0.5f, 1},
                                       {0, 0, 0.5f, 1},
                                       {0, 0.2f, 0.5f, 1},
                                       {0, 0.6f, 0.5f, 1}}) {
        Mask mask(100, 100);
        ScopeFillMask(&mask, ScopeSplitPolygonOf(line));
        EXPECT_GT(mask.Count(), before);
        before = mask.Count();
    }
}

TEST(SplitView, TheCompositorShowsEachPictureOnItsSide)
{
    Surface target(40, 6), first(40, 6), second(40, 6);
    first.Fill([](int32_t x, int32_t y) {
        return Surface::Pixel{0, 1, static_cast<uint8_t>(x), static_cast<uint8_t>(y)};
    });
    second.Fill([](int32_t x, int32_t y) {
        return Surface::Pixel{0, 2, static_cast<uint8_t>(x), static_cast<uint8_t>(y)};
    });
    Mask mask(40, 6);
    for (const ScopeSplitLine& line : {ScopeDefaultSplitLine(), ScopeSplitLine{0.1f, 0, 0.9f, 1}, {0, 0.3f, 1, 0.7f}}) {
        ScopeFillMask(&mask, ScopeSplitPolygonOf(line));
        target.FillBytes(0xAA);
        DrawSplitView(&target, &first, &second, mask);
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 40; ++x) {
                const uint8_t red = mask.At(static_cast<uint32_t>(x), static_cast<uint32_t>(y)) ? 2 : 1;
                ASSERT_EQ(target.At(x, y), Opaque(red, static_cast<uint8_t>(x), static_cast<uint8_t>(y)))
                    << x << ", " << y;
            }
    }
}

TEST(SplitView, AFirstPictureThatIsMissingIsGrey)
{
    Surface target(16, 4), second(16, 4);
    second.Fill([](int32_t, int32_t) { return Opaque(200, 100, 50); });
    Mask mask(16, 4);
    ScopeFillMask(&mask, ScopeSplitPolygonOf(ScopeDefaultSplitLine()));
    DrawSplitView(&target, nullptr, &second, mask);
    EXPECT_EQ(target.At(3, 1), Opaque(40, 40, 40));
    EXPECT_EQ(target.At(12, 1), Opaque(200, 100, 50));
    const ScopeSurface none = {};
    DrawSplitView(&target, &none, nullptr, mask);
    EXPECT_EQ(target.At(12, 1), Opaque(40, 40, 40));
}

TEST(SplitView, PicturesOfOtherSizesAreUsedAsFarAsTheyReach)
{
    Surface target(16, 8), small(5, 3);
    small.Fill([](int32_t, int32_t) { return Opaque(9, 9, 9); });
    Mask mask(3, 2);
    ScopeFillMask(&mask, ScopeSplitPolygonOf({0, 0, 0, 1})); // all of its six pixels
    DrawSplitView(&target, &small, &small, mask);
    EXPECT_EQ(target.At(4, 2), Opaque(9, 9, 9));
    EXPECT_EQ(target.At(5, 2), Opaque(40, 40, 40));
    EXPECT_EQ(target.At(0, 3), Opaque(40, 40, 40));
}
