// The three eyedroppers of the curves.
#include "src/support/TKCurvePoints.h"

#include "src/OCStages.h"
#include "tests/support/TKTestSession.h"

#include <cmath>
#include <limits>

namespace {

class TKCurvePointsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        renders_ = session_->renderCount;
    }
    HCurvePoints& Curve(int channel) { return session_->liveSettings.rgbCurve[channel].points.xy; }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    void Spread(int channel, int count)
    {
        Curve(channel).pointCount = count;
        for (int i = 0; i < count; ++i)
            Curve(channel).x[i] = Curve(channel).y[i] = static_cast<float>(i) / static_cast<float>(count - 1);
    }
    void ExpectSorted()
    {
        for (int channel = 0; channel < 4; ++channel)
            for (int i = 1; i < Curve(channel).pointCount; ++i)
                EXPECT_LT(Curve(channel).x[i - 1], Curve(channel).x[i]) << channel << " " << i;
    }
    uint32_t renders_ = 0;
};

constexpr float kSample[3] = {0.1f, 0.2f, 0.3f};

TEST_F(TKCurvePointsTest, TheBlackPointIsTheFirstOfRedGreenAndBlueAtOutput0)
{
    Curve(1).y[0] = 0.5f;
    const TKEffect effect = SetBlackPoint(session_, kSample);
    EXPECT_TRUE(effect.changed && effect.opensUndo && effect.rerenders);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Curve(i + 1).pointCount, 2);
        EXPECT_EQ(Curve(i + 1).x[0], kSample[i]);
        EXPECT_EQ(Curve(i + 1).y[0], 0.0f);
        EXPECT_EQ(Curve(i + 1).x[1], 1.0f);
    }
    EXPECT_EQ(Curve(0).x[0], 0.0f); // the master stays
    EXPECT_EQ(session_->liveSettings.rgbCurvesOn, 1u);
    EXPECT_EQ(session_->liveSettings.curvesOn, 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Curve(1).y[0], 0.5f);
    EXPECT_EQ(session_->liveSettings.rgbCurvesOn, 0u);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Curve(3).x[0], kSample[2]);
}

TEST_F(TKCurvePointsTest, TheWhitePointIsTheLastAtOutput1)
{
    Spread(2, 5);
    Curve(2).y[4] = 0.3f;
    (void)SetWhitePoint(session_, std::begin({0.8f, 0.9f, 0.95f}));
    EXPECT_EQ(Curve(1).x[1], 0.8f);
    EXPECT_EQ(Curve(2).x[4], 0.9f);
    EXPECT_EQ(Curve(2).y[4], 1.0f);
    EXPECT_EQ(Curve(3).x[1], 0.95f);
    EXPECT_EQ(Curve(2).x[3], 0.75f);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKCurvePointsTest, BlackAndWhitePointsCrossNoNeighbour)
{
    Spread(1, 3);
    (void)SetBlackPoint(session_, std::begin({0.9f, 1.0f, 5.0f}));
    EXPECT_EQ(Curve(1).x[0], 0.5f - 0.004f);
    EXPECT_EQ(Curve(2).x[0], 1.0f - 0.004f);
    EXPECT_EQ(Curve(3).x[0], 1.0f - 0.004f);
    (void)SetWhitePoint(session_, std::begin({0.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Curve(1).x[2], 0.5f + 0.004f);
    ExpectSorted();
}

TEST_F(TKCurvePointsTest, TheGrayPointTakesEachComponentToTheMiddleOne)
{
    (void)SetGrayPoint(session_, std::begin({0.6f, 0.4f, 0.5f}));
    const float xs[] = {0.6f, 0.4f, 0.5f};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(Curve(i + 1).pointCount, 3);
        EXPECT_EQ(Curve(i + 1).x[1], xs[i]);
        EXPECT_EQ(Curve(i + 1).y[1], 0.5f);
    }
    EXPECT_EQ(Curve(0).pointCount, 2);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Renders(), 1u);
    // The picked colour comes out grey, through the engine.
    OCPixel pixel = {.r = 0.6f, .g = 0.4f, .b = 0.5f, .sourceLuma = 0.5f, .weight = {}};
    OCProcessPixel(&pixel, *OCParametersOf(session_->engine));
    EXPECT_NEAR(pixel.r, 0.5f, 1e-3f);
    EXPECT_NEAR(pixel.g, 0.5f, 1e-3f);
    EXPECT_NEAR(pixel.b, 0.5f, 1e-3f);
}

TEST_F(TKCurvePointsTest, ASecondGrayPointNearbyMovesTheFirst)
{
    (void)SetGrayPoint(session_, std::begin({0.6f, 0.4f, 0.5f}));
    (void)SetGrayPoint(session_, std::begin({0.62f, 0.44f, 0.7f}));
    EXPECT_EQ(Curve(1).pointCount, 3);
    EXPECT_EQ(Curve(1).x[1], 0.62f);
    EXPECT_EQ(Curve(1).y[1], 0.62f);
    EXPECT_EQ(Curve(2).pointCount, 3);
    EXPECT_EQ(Curve(3).pointCount, 4); // too far from the old one
    EXPECT_EQ(Curve(3).x[2], 0.7f);
    EXPECT_EQ(Steps(), 2u);
    ExpectSorted();
}

TEST_F(TKCurvePointsTest, AFullCurveMovesTheNearestPointAndStaysSorted)
{
    for (int channel = 1; channel < 4; ++channel) Spread(channel, 16);
    (void)SetGrayPoint(session_, std::begin({0.51f, 0.0f, 1.0f}));
    for (int channel = 1; channel < 4; ++channel) EXPECT_EQ(Curve(channel).pointCount, 16);
    EXPECT_EQ(Curve(1).x[8], 0.51f);
    EXPECT_EQ(Curve(1).y[8], 0.51f);
    ExpectSorted();
    (void)SetBlackPoint(session_, std::begin({0.5f, 0.5f, 0.5f}));
    (void)SetWhitePoint(session_, std::begin({0.5f, 0.5f, 0.5f}));
    ExpectSorted();
}

TEST_F(TKCurvePointsTest, AGrayPointAtAnEndOfTheScaleStaysBetweenTheEnds)
{
    (void)SetGrayPoint(session_, std::begin({0.0f, 1.0f, 0.5f}));
    EXPECT_EQ(Curve(1).x[1], 0.004f);
    EXPECT_EQ(Curve(2).x[1], 1.0f - 0.004f);
    ExpectSorted();
}

TEST_F(TKCurvePointsTest, LoadedTablesAreLeftAloneAndThreeOfThemMakeNoStep)
{
    HCurve* curves = session_->liveSettings.rgbCurve;
    curves[2].curveKind |= 1;
    for (float& sample : curves[2].points.samples) sample = 0.25f;
    const HCurve table = curves[2];
    (void)SetGrayPoint(session_, kSample);
    EXPECT_EQ(std::memcmp(&table, &curves[2], sizeof table), 0);
    EXPECT_EQ(Curve(1).pointCount, 3);
    curves[1].curveKind |= 1;
    curves[3].curveKind |= 1;
    EXPECT_FALSE(SetBlackPoint(session_, kSample).changed);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKCurvePointsTest, SamplesAndRecordsOfAnyContentAreSafe)
{
    const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
    for (const int32_t count : {INT32_MIN, 0, 1, 2, 16, 17, INT32_MAX})
        for (const float value : {nan, infinity, -3.0f, 0.4f, 3.0f}) {
            for (int channel = 1; channel < 4; ++channel) {
                Curve(channel).pointCount = count;
                std::fill_n(Curve(channel).x, 16, value);
            }
            const float sample[3] = {value, 0.5f, nan};
            (void)SetGrayPoint(session_, sample);
            (void)SetBlackPoint(session_, sample);
            (void)SetWhitePoint(session_, sample);
            for (int channel = 1; channel < 4; ++channel) {
                EXPECT_GE(Curve(channel).pointCount, 2);
                EXPECT_LE(Curve(channel).pointCount, 16);
                EXPECT_EQ(Curve(channel).y[Curve(channel).pointCount - 1], 1.0f);
            }
        }
}

TEST_F(TKCurvePointsTest, ASampleOutsideThePictureReadsBlack)
{
    (void)SetBlackPoint(session_, std::begin({0.0f, 0.0f, 0.0f}));
    EXPECT_EQ(Curve(1).x[0], 0.0f);
    EXPECT_EQ(Curve(1).y[0], 0.0f);
}

TEST_F(TKCurvePointsTest, AnEyedropperPicksThroughItsRoutineInOneStep)
{
    const struct {
        TKCurvePointKind kind;
        uint32_t cursor, toolTip;
        const char* label;
    } cases[] = {{tkBlackPoint, 501, 15, "Black Point"},
                 {tkGrayPoint, 502, 16, "Gray Point"},
                 {tkWhitePoint, 503, 17, "White Point"}};
    for (const auto& c : cases) {
        TKCurveEyedropper record = {};
        TKInitCurveEyedropper(&record, c.kind, "point");
        EXPECT_STREQ(record.eyedropper.label, c.label);
        EXPECT_EQ(record.toolTip, c.toolTip);
        const uint32_t steps = Steps(), renders = Renders();
        (void)TKEyedropperClick(session_, &record.eyedropper, 0);
        EXPECT_EQ(TKPickCursor(session_, 0), c.cursor);
        TKPickSample(session_, kSample);
        (void)TKPickEnd(session_);
        EXPECT_EQ(Steps(), steps + 1) << c.label;
        EXPECT_EQ(Renders(), renders + 1) << c.label;
        EXPECT_EQ(record.picked[1], 0.2f);
    }
    EXPECT_EQ(Curve(2).pointCount, 3);
    EXPECT_EQ(Curve(2).x[0], 0.2f);
    EXPECT_EQ(Curve(2).x[1], 0.2f + 0.004f);
    EXPECT_EQ(Curve(2).x[2], 0.2f + 0.004f + 0.004f);
    EXPECT_EQ(session_->liveSettings.rgbCurvesOn, 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Curve(1).pointCount, 2);
    EXPECT_EQ(Curve(1).x[0], 0.0f);
}

} // namespace
