// The curve editor's drawing: the spline by value, the plot by pixel.
#include "src/support/TKCurvePainter.h"

#include "src/OCCurves.h"
#include "tests/support/TKCurveTest.h"

namespace {

class TKCurvePaintTest : public TKCurveTest {
  protected:
    void SetUp() override
    {
        TKCurveTest::SetUp();
        PrepareScopePalette(&palette_, 65536);
        ASSERT_EQ(ScopeSurfaceCreate(257, 257, &surface_), bpNoErr);
    }
    void TearDown() override
    {
        ScopeSurfaceDispose(&surface_);
        TKDisposeCurve(&curve_);
        TKCurveTest::TearDown();
    }
    void Paint(int32_t scale = 1) { TKPaintCurvePlot(&surface_, &curve_, palette_, scale); }
    uint32_t At(double x, double y) const
    {
        return TKPixelAt(surface_, static_cast<uint32_t>(std::lround(x * 256)),
                         static_cast<uint32_t>(std::lround((1 - y) * 256)));
    }
    /// Rows of a column whose red is nearly full.
    std::vector<uint32_t> RedRows(uint32_t column) const
    {
        std::vector<uint32_t> rows;
        for (uint32_t row = 0; row < surface_.height; ++row)
            if ((TKPixelAt(surface_, column, row) >> 16 & 0xFF) > 0xF0 &&
                (TKPixelAt(surface_, column, row) & 0xFF) < 0x60)
                rows.push_back(row);
        return rows;
    }

    ScopePalette palette_ = {};
    ScopeSurface surface_ = {};
};

TEST_F(TKCurvePaintTest, TheWeightsAreThoseOfTheSplineAtEveryStep)
{
    const TKSplineWeights* table = TKSplineTable();
    EXPECT_EQ(table, TKSplineTable()); // made once
    for (int i = 0; i < kTKSplineSteps; ++i) {
        const double t = i / 1000.0;
        const double expected[4] = {-0.5 * t + t * t - 0.5 * t * t * t, 1 - 2.5 * t * t + 1.5 * t * t * t,
                                    0.5 * t + 2 * t * t - 1.5 * t * t * t, -0.5 * t * t + 0.5 * t * t * t};
        float sum = 0;
        for (int k = 0; k < 4; ++k) {
            EXPECT_FLOAT_EQ(table[i].w[k], static_cast<float>(expected[k])) << i;
            sum += table[i].w[k];
        }
        EXPECT_NEAR(sum, 1, 1e-6f);
    }
    EXPECT_EQ(table[0].w[1], 1.0f);
    EXPECT_EQ(table[500].w[0], -0.0625f);
    EXPECT_EQ(table[500].w[1], 0.5625f);
}

TEST_F(TKCurvePaintTest, TwoPointsAreAStraightLine)
{
    Points().x[0] = 0.25f;
    Points().y[0] = 0.1f;
    const std::vector<TKPlotPoint> line = TKCurveLine(curve_);
    ASSERT_EQ(line.size(), 4u);
    EXPECT_EQ(line[1].x, 0.25f);
    EXPECT_EQ(line[2].x, 1.0f);
    EXPECT_EQ(line[0].y, line[1].y);
}

TEST_F(TKCurvePaintTest, ThreePointsPassThroughEachAndGoFlatToTheEdges)
{
    Spread(3);
    Points().x[0] = 0.1f;
    Points().y[1] = 0.8f;
    Points().x[2] = 0.9f;
    const std::vector<TKPlotPoint> line = TKCurveLine(curve_);
    ASSERT_EQ(line.size(), 4u + 2 * 1000);
    EXPECT_EQ(line.front().x, 0.0f);
    EXPECT_EQ(line.front().y, 0.0f);
    EXPECT_EQ(line.back().x, 1.0f);
    EXPECT_EQ(line.back().y, 1.0f);
    EXPECT_EQ(line[2].x, 0.1f);
    EXPECT_EQ(line[2 + 1000].x, 0.5f);
    EXPECT_EQ(line[2 + 1000].y, 0.8f);
}

TEST_F(TKCurvePaintTest, TheLineIsWhatTheEngineMakesOfThePoints)
{
    Spread(5);
    Points().y[1] = 0.5f;
    Points().y[2] = 0.3f;
    Points().y[3] = 0.95f;
    std::vector<float> table(kOCToneEntries);
    ASSERT_EQ(OCBuildCurveTable(curve_.curve, table.data()), bpNoErr);
    for (const TKPlotPoint& point : TKCurveLine(curve_)) {
        const auto index = static_cast<size_t>(std::lround(static_cast<double>(point.x) * 16384));
        EXPECT_NEAR(point.y, table[index], 2e-3f) << point.x;
    }
}

TEST_F(TKCurvePaintTest, ALoadedTableIsDrawnAsItsSamples)
{
    curve_.curve->curveKind |= kTKCurveReadOnly;
    for (uint32_t i = 0; i < kOCCurveSampleCount; ++i) curve_.curve->points.samples[i] = i < 512 ? 0.25f : 0.75f;
    const std::vector<TKPlotPoint> line = TKCurveLine(curve_);
    ASSERT_EQ(line.size(), 1024u);
    EXPECT_EQ(line[511].y, 0.25f);
    EXPECT_EQ(line[512].y, 0.75f);
    EXPECT_EQ(line[1023].x, 1.0f);
    Paint();
    EXPECT_EQ(RedRows(60), std::vector<uint32_t>{192});
    EXPECT_EQ(RedRows(200), std::vector<uint32_t>{64});
}

TEST_F(TKCurvePaintTest, ACurveWithoutPointsIsTheStraightLineThatTheEngineMakesOfIt)
{
    Points().pointCount = -3;
    const std::vector<TKPlotPoint> line = TKCurveLine(curve_);
    ASSERT_EQ(line.size(), 2u);
    EXPECT_TRUE(line[0].x == 0 && line[0].y == 0);
    EXPECT_TRUE(line[1].x == 1 && line[1].y == 1);
    Paint();
    Points().pointCount = 1;
    EXPECT_EQ(TKCurveLine(curve_).size(), 4u);
    Paint();
}

TEST_F(TKCurvePaintTest, CurvesHaveTheColoursOfTheScopesAndOthersAreGrey)
{
    EXPECT_EQ(TKCurveColor(1, palette_).red, 0xFFFF);
    EXPECT_EQ(TKCurveColor(2, palette_).green, 0xD8EF);
    EXPECT_EQ(TKCurveColor(3, palette_).blue, 0xFFFF);
    for (const int32_t channel : {0, -1, 4}) {
        const ScopeColor grey = TKCurveColor(channel, palette_);
        EXPECT_EQ(grey.red, grey.green);
        EXPECT_EQ(grey.red, grey.blue);
    }
}

TEST_F(TKCurvePaintTest, TheGridStandsAtEighths)
{
    Points().y[0] = Points().y[1] = 0.03f; // the curve out of the way
    Paint();
    for (int i = 1; i < 8; ++i) {
        const uint32_t grey = i == 4 ? 0x9C : 0x5D; // 40000 and 24000 of 65535
        EXPECT_EQ(At(i / 8.0, 0.3), 0xFF000000u | grey << 16 | grey << 8 | grey) << i;
        EXPECT_EQ(At(0.3, i / 8.0), 0xFF000000u | grey << 16 | grey << 8 | grey) << i;
    }
    EXPECT_NE(At(0.3, 0.33), At(0.3, 0.375));
}

TEST_F(TKCurvePaintTest, TheGradientIsMadeOnceInTheChannelsColour)
{
    Paint();
    FBFrame* first = curve_.gradientSource;
    ASSERT_NE(first, nullptr);
    const uint32_t dark = At(0.06, 0.8), bright = At(0.94, 0.06);
    EXPECT_LT(dark >> 16 & 0xFF, bright >> 16 & 0xFF);
    EXPECT_EQ(bright & 0xFFFF, 0u); // red alone
    Paint();
    EXPECT_EQ(curve_.gradientSource, first);
    ScopeSurfaceDispose(&surface_);
    ASSERT_EQ(ScopeSurfaceCreate(100, 100, &surface_), bpNoErr);
    Paint();
    EXPECT_EQ(curve_.gradientSource->width, 100u);
}

TEST_F(TKCurvePaintTest, OverTheHuesReferenceSegmentsStandInPlaceOfTheDiagonal)
{
    Edit(tkSectionCurveHue);
    Paint();
    const uint32_t minor = 0xFF984900, dark = 0xFF4E4E4E, red = 0xFFFF0000;
    EXPECT_EQ(At(0.2, 1), minor);
    EXPECT_EQ(At(0.2, 0), minor);
    EXPECT_EQ(At(0.8, 1), dark);
    EXPECT_EQ(At(0.8, 0), dark);
    EXPECT_EQ(At(0.5, 0.3), red);
    const uint32_t middle = At(0.53, 0.2), left = At(0.03, 0.2); // the axis: red in the middle, cyan at the ends
    EXPECT_GT(middle >> 16 & 0xFF, middle & 0xFF);
    EXPECT_LT(left >> 16 & 0xFF, left & 0xFF);
}

TEST_F(TKCurvePaintTest, PointsAreSquaresAndTheSelectedOneIsFilled)
{
    Spread(3);
    Points().y[1] = 0.8f;
    Paint();
    EXPECT_EQ(At(0.5, 0.8), 0xFF000000u);
    EXPECT_EQ(At(0.5 + 3 / 256.0, 0.8), 0xFFFF0000u); // its edge
    curve_.selectedPoint = 1;
    Paint();
    EXPECT_EQ(At(0.5, 0.8), 0xFFFFFFFFu);
    EXPECT_EQ(At(0.5 + 3 / 256.0, 0.8), 0xFFFFFFFFu);
}

TEST_F(TKCurvePaintTest, APointInACornerIsShownWhole)
{
    curve_.selectedPoint = 0;
    Paint();
    for (uint32_t row = 250; row < 257; ++row)
        for (uint32_t column = 0; column < 7; ++column) EXPECT_EQ(TKPixelAt(surface_, column, row), 0xFFFFFFFFu);
    EXPECT_NE(TKPixelAt(surface_, 7, 253), 0xFFFFFFFFu);
}

TEST_F(TKCurvePaintTest, ACurveOfAnyContentIsDrawnInsideTheSurface)
{
    const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
    for (const int32_t count : {1, 2, 3, 16})
        for (const float value : {nan, infinity, -infinity, 1e30f, -7.0f, 257.0f}) {
            Spread(16);
            Points().pointCount = count;
            Points().x[count / 2] = value;
            Points().y[count - 1] = value;
            Paint(2);
        }
    curve_.curve->curveKind |= kTKCurveReadOnly;
    for (float& sample : curve_.curve->points.samples) sample = nan;
    Paint();
    ScopeSurface none = {};
    TKPaintCurvePlot(&none, &curve_, palette_, 1);
    ScopeSurfaceDispose(&surface_);
    ASSERT_EQ(ScopeSurfaceCreate(1, 1, &surface_), bpNoErr);
    Paint();
}

} // namespace
