// The luma range editor: curves, places, picks, drags, keys, typed values, and what of it reaches record and picture.
#include "src/UI/TKLumaRangeEditor.h"

#include "src/OCCurves.h"
#include "tests/support/TKTestSession.h"

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class LumaRangeTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        InitLumaRange(&range_, &session_->liveSettings, offsetof(OCSettings, lumaRange), tkSectionLumaRange,
                      "luma_range");
        LayOutLumaRange(&range_, 552, 286);
        gBPFake.mouseButtonDown = true;
        renders_ = session_->renderCount;
    }
    void TearDown() override
    {
        gBPFake.mouseButtonDown = false;
        TKSessionTest::TearDown();
    }

    OCLumaRangeBlock& Block() { return session_->liveSettings.lumaRange; }
    void Set(float shadowX, float shadowY, float highlightX, float highlightY)
    {
        Block().lumarange_shadowx = shadowX;
        Block().lumarange_shadowy = shadowY;
        Block().lumarange_highlightx = highlightX;
        Block().lumarange_highlighty = highlightY;
        UpdateLumaRange(&range_, &session_->liveSettings);
    }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    double Width() const { return ScopeWidthOf(range_.layout.plot) - 1; }
    double Height() const { return ScopeHeightOf(range_.layout.plot) - 1; }
    uint32_t Press(uint32_t handle)
    {
        const LumaRangePoint at = LumaRangeHandlePixel(range_, handle);
        return PressLumaRange(session_, &range_, static_cast<double>(at.x), static_cast<double>(at.y));
    }
    /// By parts of the plot, to the right and upwards.
    TKEffect DragBy(double right, double up, uint32_t modifiers = 0)
    {
        return TrackLumaRangeHandle(session_, &range_, range_.mouseX + right * Width(), range_.mouseY - up * Height(),
                                    modifiers);
    }
    void Ticks(int count)
    {
        for (int i = 0; i < count; ++i) (void)LumaRangeTick(session_, &range_);
    }

    LumaRangeVars range_ = {};
    uint32_t renders_ = 0;
};

OCLumaRangeBlock BlockOf(float shadowX, float shadowY, float highlightX, float highlightY)
{
    return {.controlState = {},
            .lumarange_shadowx = shadowX,
            .lumarange_shadowy = shadowY,
            .lumarange_highlightx = highlightX,
            .lumarange_highlighty = highlightY};
}

bool Overlap(const ScopeRect& a, const ScopeRect& b)
{
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

} // namespace

// --- Curves -----------------------------------------------------------------------------------------------------------

TEST(LumaRangeCurves, TheTableHas2000RowsOfHermiteWeights)
{
    const LumaRangeWeights* weights = GetLumaRangeWeights();
    for (uint32_t i = 0; i < kLumaRangeWeightCount; ++i) {
        const double t = i / 2000.0;
        ASSERT_NEAR(weights[i].h00, 2 * t * t * t - 3 * t * t + 1, 1e-6);
        ASSERT_NEAR(weights[i].h01, -2 * t * t * t + 3 * t * t, 1e-6);
        ASSERT_NEAR(weights[i].h10, t * t * t - 2 * t * t + t, 1e-6);
        ASSERT_NEAR(weights[i].h11, t * t * t - t * t, 1e-6);
    }
    EXPECT_EQ(weights[0].h00, 1.0f);
}

TEST(LumaRangeCurves, TheyAreTheWeightsOfTheEngine)
{
    std::vector<float> engine[3];
    for (std::vector<float>& table : engine) table.resize(kOCToneEntries);
    LumaRangeCurves curves;
    for (const float shadowX : {0.05f, 0.3f, 0.6f, 1.0f})
        for (const float softness : {0.0f, 0.3831f, 0.7f, 1.0f})
            for (const float highlightX : {0.0f, 0.4f, 0.7f, 0.95f}) {
                const OCLumaRangeBlock block = BlockOf(shadowX, softness, highlightX, 1 - softness);
                BuildLumaRangeCurves(block, &curves);
                ASSERT_EQ(OCBuildLumaRangeTables(&block, engine[0].data(), engine[1].data(), engine[2].data()),
                          bpNoErr);
                for (uint32_t curve = 0; curve < kLumaRangeCurveCount; ++curve)
                    for (uint32_t i = 0; i < kLumaRangeColumns; ++i)
                        ASSERT_NEAR(curves.weight[curve][i], engine[curve][i * 16], 0.004f)
                            << shadowX << " " << softness << " " << highlightX << " curve " << curve << " column " << i;
            }
}

TEST(LumaRangeCurves, ShadowsFallFrom1AndHighlightsRiseTo1AndAllThreeAddUpTo1)
{
    LumaRangeCurves curves;
    for (const float x : {0.1f, 0.3f, 0.5f})
        for (const float y : {0.0f, 0.3831f, 1.0f}) {
            BuildLumaRangeCurves(BlockOf(x, y, 1 - x, y), &curves);
            EXPECT_EQ(curves.weight[lumaRangeShadowCurve][0], 1.0f);
            EXPECT_EQ(curves.weight[lumaRangeHighlightCurve][kLumaRangeColumns - 1], 1.0f);
            for (uint32_t i = 0; i < kLumaRangeColumns; ++i) {
                float sum = 0;
                for (const auto& weight : curves.weight) {
                    ASSERT_TRUE(weight[i] >= 0 && weight[i] <= 1);
                    sum += weight[i];
                }
                ASSERT_NEAR(sum, 1, 1e-6f);
                // Ranges that mirror each other have curves that do, where neither had to give way.
                const uint32_t mirrored = kLumaRangeColumns - 1 - i;
                const auto free = [&](uint32_t at) { return curves.weight[0][at] + curves.weight[2][at] < 0.9999f; };
                if (free(i) && free(mirrored)) {
                    ASSERT_NEAR(curves.weight[0][i], curves.weight[2][mirrored], 1e-5f);
                }
            }
        }
}

TEST(LumaRangeCurves, BlocksOfAnyContentGiveFiniteCurves)
{
    LumaRangeCurves curves;
    for (const float a : {kNaN, kInfinity, -kInfinity, 3e38f, -5.0f, 7.0f})
        for (const float b : {kNaN, kInfinity, 0.3f, -3e38f}) {
            BuildLumaRangeCurves(BlockOf(a, b, b, a), &curves);
            for (const auto& weight : curves.weight)
                for (const float value : weight) ASSERT_TRUE(value >= 0 && value <= 1) << a << " " << b;
        }
}

// --- Geometry and picking ---------------------------------------------------------------------------------------------

TEST(LumaRangeLayout, NothingOverlapsOrIsCutAtAnyWidth)
{
    for (int width = 260; width < 1400; width += 3)
        for (const int height : {LumaRangeLeastHeight(width), LumaRangeNaturalHeight(width), 500}) {
            const LumaRangeLayout l = LumaRangeLayoutOf(width, height);
            std::vector<ScopeRect> parts = {l.plot, l.ramp, l.name[0], l.name[1]};
            parts.insert(parts.end(), std::begin(l.readout), std::end(l.readout));
            for (size_t i = 0; i < parts.size(); ++i) {
                ASSERT_GE(parts[i].left, 0);
                ASSERT_LE(parts[i].right, width) << i;
                ASSERT_LE(parts[i].bottom, height) << i;
                ASSERT_LE(parts[i].bottom, l.frame.bottom);
                for (size_t j = 0; j < i; ++j) ASSERT_FALSE(Overlap(parts[i], parts[j])) << width << " " << i;
            }
        }
}

TEST_F(LumaRangeTest, AHandleStandsAtItsPositionAndItsSoftness)
{
    const ScopeRect plot = range_.layout.plot;
    Set(0, 0, 1, 1);
    EXPECT_EQ(LumaRangeHandlePixel(range_, lumaRangeShadows).x, static_cast<float>(plot.left));
    EXPECT_EQ(LumaRangeHandlePixel(range_, lumaRangeShadows).y, static_cast<float>(plot.bottom - 1));
    EXPECT_EQ(LumaRangeHandlePixel(range_, lumaRangeHighlights).x, static_cast<float>(plot.right - 1));
    EXPECT_EQ(LumaRangeHandlePixel(range_, lumaRangeHighlights).y, static_cast<float>(plot.top));
}

TEST_F(LumaRangeTest, AClickPicksTheNearestHandleAndMovesNothing)
{
    const OCSettings before = session_->liveSettings;
    const ScopeRect plot = range_.layout.plot;
    EXPECT_EQ(LumaRangeActiveCurve(range_), static_cast<uint32_t>(kLumaRangeCurveCount));
    EXPECT_EQ(PressLumaRange(session_, &range_, plot.left + 3, plot.top + 3), static_cast<uint32_t>(lumaRangeShadows));
    EXPECT_EQ(LumaRangeActiveCurve(range_), static_cast<uint32_t>(lumaRangeShadowCurve));
    (void)ReleaseLumaRange(session_, &range_);
    EXPECT_EQ(PressLumaRange(session_, &range_, plot.right - 3, plot.top + 3),
              static_cast<uint32_t>(lumaRangeHighlights));
    EXPECT_EQ(LumaRangeActiveCurve(range_), static_cast<uint32_t>(lumaRangeHighlightCurve));
    (void)ReleaseLumaRange(session_, &range_);
    EXPECT_EQ(std::memcmp(&session_->liveSettings, &before, sizeof before), 0);
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(LumaRangeTest, AClickBesideThePlotPicksNothing)
{
    const ScopeRect plot = range_.layout.plot;
    for (const auto& [x, y] : {std::pair{plot.left - 6, plot.top + 5},
                               {plot.right + 5, plot.top + 5},
                               {plot.left + 5, plot.top - 6},
                               {plot.left + 5, plot.bottom + 5}}) {
        EXPECT_EQ(PressLumaRange(session_, &range_, x, y), static_cast<uint32_t>(kLumaRangeHandleCount));
        EXPECT_FALSE(range_.tracking);
    }
}

TEST_F(LumaRangeTest, AHandleOnTheEdgeOfThePlotIsTakenByItsOuterHalfToo)
{
    Set(0, 0, 1, 1);
    const ScopeRect plot = range_.layout.plot;
    EXPECT_EQ(LumaRangeHitTest(range_, plot.left - 4, plot.bottom + 3), static_cast<uint32_t>(lumaRangeShadows));
    EXPECT_EQ(LumaRangeHitTest(range_, plot.right + 4, plot.top - 4), static_cast<uint32_t>(lumaRangeHighlights));
}

TEST_F(LumaRangeTest, OfHandlesOnEachOtherTheOneIsPickedThatCanMoveThatWay)
{
    Set(0.5f, 0.5f, 0.5f, 0.5f);
    const LumaRangePoint at = LumaRangeHandlePixel(range_, lumaRangeShadows);
    const auto pick = [&](double dx) {
        return LumaRangeHitTest(range_, static_cast<double>(at.x) + dx, static_cast<double>(at.y));
    };
    EXPECT_EQ(pick(-3), static_cast<uint32_t>(lumaRangeShadows));
    EXPECT_EQ(pick(3), static_cast<uint32_t>(lumaRangeHighlights));
    Set(1, 0.5f, 1, 0.5f);
    const ScopeRect plot = range_.layout.plot;
    const double y = static_cast<double>(LumaRangeHandlePixel(range_, lumaRangeShadows).y);
    EXPECT_EQ(LumaRangeHitTest(range_, plot.right - 1, y), static_cast<uint32_t>(lumaRangeShadows));
    Set(0, 0.5f, 0, 0.5f);
    EXPECT_EQ(LumaRangeHitTest(range_, plot.left, y), static_cast<uint32_t>(lumaRangeHighlights));
}

// --- Drag -------------------------------------------------------------------------------------------------------------

TEST_F(LumaRangeTest, ADragMovesPositionAndSoftnessOfItsHandleAlone)
{
    ASSERT_EQ(Press(lumaRangeShadows), static_cast<uint32_t>(lumaRangeShadows));
    EXPECT_TRUE(DragBy(0.1, 0.25).changed);
    EXPECT_NEAR(Block().lumarange_shadowx, 0.4f, 1e-6f);
    EXPECT_NEAR(Block().lumarange_shadowy, 0.6331f, 1e-6f);
    EXPECT_EQ(Block().lumarange_highlightx, 0.7f);
    EXPECT_EQ(Block().lumarange_highlighty, 0.3831f);
    (void)ReleaseLumaRange(session_, &range_);
    ASSERT_EQ(Press(lumaRangeHighlights), static_cast<uint32_t>(lumaRangeHighlights));
    EXPECT_TRUE(DragBy(0.1, 0).changed);
    EXPECT_NEAR(Block().lumarange_highlightx, 0.8f, 1e-6f);
    EXPECT_EQ(Block().lumarange_highlighty, 0.3831f); // bit for bit
}

TEST_F(LumaRangeTest, PositionsDoNotPassEachOtherAndSoftnessStaysOnTheScale)
{
    (void)Press(lumaRangeShadows);
    (void)DragBy(5, 5);
    EXPECT_EQ(Block().lumarange_shadowx, 0.7f);
    EXPECT_EQ(Block().lumarange_shadowy, 1.0f);
    (void)DragBy(-20, -20);
    EXPECT_EQ(Block().lumarange_shadowx, 0.0f);
    EXPECT_EQ(Block().lumarange_shadowy, 0.0f);
    (void)ReleaseLumaRange(session_, &range_);
    Set(0.3f, 0.3831f, 0.7f, 0.3831f);
    (void)Press(lumaRangeHighlights);
    (void)DragBy(-5, -5);
    EXPECT_EQ(Block().lumarange_highlightx, 0.3f);
    EXPECT_EQ(Block().lumarange_highlighty, 0.0f);
    (void)DragBy(20, 20);
    EXPECT_EQ(Block().lumarange_highlightx, 1.0f);
    EXPECT_EQ(Block().lumarange_highlighty, 1.0f);
}

TEST_F(LumaRangeTest, ShiftDragsTenTimesSlower)
{
    (void)Press(lumaRangeShadows);
    (void)DragBy(0.1, 0.1, bpShiftKey);
    EXPECT_NEAR(Block().lumarange_shadowx, 0.31f, 1e-6f);
    EXPECT_NEAR(Block().lumarange_shadowy, 0.3931f, 1e-6f);
}

TEST_F(LumaRangeTest, ADragIsRendered100msAfterItsLastChangeAndMarksItsSectionThen)
{
    (void)Press(lumaRangeShadows);
    (void)DragBy(0.01, 0);
    Ticks(4);
    (void)DragBy(0.01, 0);
    Ticks(4);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(session_->liveSettings.lumaRangeOn, 0u);
    Ticks(1);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(session_->liveSettings.lumaRangeOn, 1u);
    (void)DragBy(0.01, 0);
    EXPECT_TRUE(ReleaseLumaRange(session_, &range_).rerenders);
    EXPECT_EQ(Renders(), 2u);
    Ticks(10);
    EXPECT_EQ(Renders(), 2u);
    EXPECT_FALSE(LumaRangeNeedsTick(range_));
}

TEST_F(LumaRangeTest, ADragIsOneUndoStep)
{
    const OCSettings neutral = session_->liveSettings;
    (void)Press(lumaRangeShadows);
    EXPECT_TRUE(DragBy(0.01, 0).opensUndo);
    EXPECT_FALSE(DragBy(0.01, 0).opensUndo);
    (void)ReleaseLumaRange(session_, &range_);
    EXPECT_EQ(Steps(), 1u);
    const OCSettings graded = session_->liveSettings;
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(std::memcmp(&session_->liveSettings, &neutral, sizeof neutral), 0);
    EXPECT_TRUE(UpdateLumaRange(&range_, &session_->liveSettings));
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(std::memcmp(&session_->liveSettings, &graded, sizeof graded), 0);
}

TEST_F(LumaRangeTest, ADragWhoseButtonWasLetGoUnseenEndsWithTheNextTick)
{
    (void)Press(lumaRangeShadows);
    (void)DragBy(0.1, 0);
    gBPFake.mouseButtonDown = false;
    EXPECT_TRUE(LumaRangeTick(session_, &range_));
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(DragBy(0.1, 0).changed);
}

TEST_F(LumaRangeTest, ARecordThatIsReplacedDuringADragEndsIt)
{
    (void)Press(lumaRangeShadows);
    (void)DragBy(0.1, 0);
    Set(0.2f, 0.2f, 0.6f, 0.6f);
    EXPECT_FALSE(DragBy(0.1, 0).changed);
    Ticks(10);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(session_->liveSettings.lumaRangeOn, 0u);
}

TEST_F(LumaRangeTest, RandomDragsKeepTheOrderAndTheScaleAndNeverWriteANaN)
{
    std::mt19937 random(7);
    const auto part = [&] { return static_cast<double>(random() % 4001) / 1000 - 2; };
    for (int walk = 0; walk < 300; ++walk) {
        LayOutLumaRange(&range_, static_cast<int32_t>(random() % 1200), static_cast<int32_t>(random() % 500));
        (void)Press(random() % 2 ? lumaRangeShadows : lumaRangeHighlights);
        for (auto i = random() % 20; i > 0; --i) {
            if (random() % 10 == 0)
                (void)TrackLumaRangeHandle(session_, &range_, static_cast<double>(random() % 2 ? kNaN : kInfinity), 3,
                                           0);
            else
                (void)DragBy(part() * 0.2, part() * 0.2, random() % 3 == 0 ? bpShiftKey : 0u);
            const OCLumaRangeBlock& b = Block();
            ASSERT_TRUE(0 <= b.lumarange_shadowx && b.lumarange_shadowx <= b.lumarange_highlightx &&
                        b.lumarange_highlightx <= 1);
            ASSERT_TRUE(0 <= b.lumarange_shadowy && b.lumarange_shadowy <= 1);
            ASSERT_TRUE(0 <= b.lumarange_highlighty && b.lumarange_highlighty <= 1);
        }
        (void)ReleaseLumaRange(session_, &range_);
    }
}

TEST_F(LumaRangeTest, WhatTheRecordHoldsIsShownWithinTheScaleAndMovedFromThere)
{
    Set(kNaN, -3, kInfinity, kNaN);
    EXPECT_EQ(range_.value[lumaRangeShadows].x, 0.3f);
    EXPECT_EQ(range_.value[lumaRangeShadows].y, 0.0f);
    EXPECT_EQ(range_.value[lumaRangeHighlights].x, 1.0f);
    EXPECT_EQ(range_.value[lumaRangeHighlights].y, 0.3831f);
    EXPECT_TRUE(std::isnan(Block().lumarange_shadowx)); // showing writes nothing
    EXPECT_TRUE(MoveLumaRangeHandle(session_, &range_, lumaRangeShadows, {0.5f, 0.5f}).changed);
    EXPECT_EQ(Block().lumarange_shadowx, 0.5f);
    EXPECT_EQ(Block().lumarange_shadowy, 0.5f);
    EXPECT_FALSE(MoveLumaRangeHandle(session_, &range_, lumaRangeShadows, {kNaN, 0.2f}).changed);
    EXPECT_FALSE(MoveLumaRangeHandle(session_, &range_, lumaRangeShadows, {0.2f, kNaN}).changed);
}

TEST_F(LumaRangeTest, TheWordsOfControlStateAreCarriedAlong)
{
    Block().controlState[0] = 0x12345678;
    Block().controlState[1] = 0xCAFEBABE;
    (void)Press(lumaRangeShadows);
    (void)DragBy(0.1, 0.1);
    (void)ReleaseLumaRange(session_, &range_);
    EXPECT_EQ(Block().controlState[0], 0x12345678u);
    EXPECT_EQ(Block().controlState[1], 0xCAFEBABEu);
}

// --- Keyboard and typing ----------------------------------------------------------------------------------------------

TEST_F(LumaRangeTest, KeysOfOneHandleAreOneStepAndRenderOnce)
{
    for (int i = 0; i < 3; ++i) {
        const LumaRangePoint now = range_.value[lumaRangeHighlights];
        EXPECT_EQ(
            MoveLumaRangeHandle(session_, &range_, lumaRangeHighlights, {now.x + kLumaRangeNudge, now.y}).opensUndo,
            i == 0);
    }
    EXPECT_NEAR(Block().lumarange_highlightx, 0.7f + 3.0f / 256, 1e-6f);
    EXPECT_EQ(range_.active, static_cast<uint32_t>(lumaRangeHighlights));
    EXPECT_EQ(Renders(), 0u);
    Ticks(5);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_FALSE(MoveLumaRangeHandle(session_, &range_, lumaRangeShadows, {-1, 0.3831f}).opensUndo == false);
    EXPECT_EQ(Block().lumarange_shadowx, 0.0f);
    EXPECT_FALSE(MoveLumaRangeHandle(session_, &range_, lumaRangeShadows, {-1, 0.3831f}).changed);
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(LumaRangeTest, ATypedPositionStopsAtTheOtherAndPicksItsHandle)
{
    SliderVars* position = &range_.readout[0].slider;
    OpenEdit(session_, position);
    TKSetEditText(position, "0.95");
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Block().lumarange_shadowx, 0.7f);
    EXPECT_EQ(range_.active, static_cast<uint32_t>(lumaRangeShadows));
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(session_->liveSettings.lumaRangeOn, 1u);
    SliderVars* softness = &range_.readout[3].slider;
    OpenEdit(session_, softness);
    TKSetEditText(softness, "0.25");
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Block().lumarange_highlighty, 0.25f);
    EXPECT_EQ(Block().lumarange_shadowx, 0.7f);
    EXPECT_TRUE(TKSliderValueClick(session_, softness, bpControlKey).changed);
    EXPECT_NEAR(Block().lumarange_highlighty, 0.3831f, 1.0f / 65536);
}
