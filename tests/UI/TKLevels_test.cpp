// The levels control: places, hits, drags, keys, typed values, and what of it reaches record, undo ring and picture.
#include "src/UI/TKLevels.h"

#include "tests/support/TKTestSession.h"

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class LevelsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        Bind(1);
        gBPFake.mouseButtonDown = true;
    }
    void TearDown() override
    {
        gBPFake.mouseButtonDown = false;
        TKSessionTest::TearDown();
    }

    void Bind(uint32_t channel)
    {
        const auto section = static_cast<TKSectionID>(tkSectionLevelsMaster + channel - 1);
        InitLevels(&levels_, &session_->liveSettings,
                   static_cast<uint32_t>(offsetof(OCSettings, levels) + (channel - 1) * sizeof(OCLevelsBlock)), channel,
                   section, "levels");
        LayOutLevels(&levels_, 552, 200);
        windows_.calls.clear();
        renders_ = session_->renderCount;
    }
    OCLevelsBlock& Block() { return session_->liveSettings.levels[levels_.channel - 1]; }
    float* Field(uint32_t handle) { return &Block().inblackpt + handle; }
    void Set(float black, float gray, float white)
    {
        Block().inblackpt = black;
        Block().ingraypt = gray;
        Block().inwhitept = white;
        UpdateLevels(&levels_, &session_->liveSettings);
    }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }

    double X(uint32_t handle) const { return LevelsHandleX(levels_, handle); }
    double Y(uint32_t handle) const { return LevelsHandleRect(levels_, handle).top + 5; }
    uint32_t Press(uint32_t handle) { return PressLevels(session_, &levels_, X(handle), Y(handle)); }
    TKEffect DragBy(double pixels, uint32_t modifiers = 0)
    {
        return TrackLevelsHandle(session_, &levels_, levels_.mouseX + pixels, modifiers);
    }
    void Release() { (void)ReleaseLevels(session_, &levels_); }
    void Ticks(int count)
    {
        for (int i = 0; i < count; ++i) (void)LevelsTick(session_, &levels_);
    }

    LevelsVars levels_ = {};
    uint32_t renders_ = 0;
};

void ExpectRect(const ScopeRect& rect, int32_t left, int32_t top, int32_t width, int32_t height)
{
    EXPECT_EQ(rect.left, left);
    EXPECT_EQ(rect.top, top);
    EXPECT_EQ(ScopeWidthOf(rect), width);
    EXPECT_EQ(ScopeHeightOf(rect), height);
}

bool Overlap(const ScopeRect& a, const ScopeRect& b)
{
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

} // namespace

// --- Geometry ---------------------------------------------------------------------------------------------------------

TEST(LevelsLayout, AControl552WideHasPlotsOf256And553Of512)
{
    for (const auto& [width, plot] : {std::pair{552, 256}, {300, 256}, {553, 512}, {1056, 512}, {3000, 512}}) {
        const LevelsLayout layout = LevelsLayoutOf(width, 200);
        EXPECT_EQ(ScopeWidthOf(layout.inputPlot), plot) << width;
        EXPECT_EQ(ScopeWidthOf(layout.inputBar), plot) << width;
        EXPECT_EQ(ScopeWidthOf(layout.outputBar), plot) << width;
    }
}

TEST(LevelsLayout, PlotAndBarStand8FromTheLeftAndTheOutputAt280Or536)
{
    for (const auto& [width, output] : {std::pair{552, 280}, {1056, 536}, {1400, 536}}) {
        const LevelsLayout layout = LevelsLayoutOf(width, 200);
        EXPECT_EQ(layout.inputPlot.left, 8);
        EXPECT_EQ(layout.inputBar.left, 8);
        EXPECT_EQ(layout.outputBar.left, output) << width;
        EXPECT_FALSE(layout.stacked);
        EXPECT_EQ(layout.outputBar.top, layout.inputBar.top);
    }
}

TEST(LevelsLayout, BarsAre16HighAndTheInputBarStandsBelowThePlot)
{
    for (const int width : {552, 553, 1056}) {
        const LevelsLayout layout = LevelsLayoutOf(width, 260);
        EXPECT_EQ(ScopeHeightOf(layout.inputBar), 16);
        EXPECT_EQ(ScopeHeightOf(layout.outputBar), 16);
        EXPECT_GE(layout.inputBar.top, layout.inputPlot.bottom);
        EXPECT_LE(layout.inputBar.top - layout.inputPlot.bottom, 4);
    }
}

TEST(LevelsLayout, AnOutputGroupThatWouldBeCutStandsBelowTheInputGroup)
{
    for (const int width : {543, 553, 1000, 1055}) {
        const LevelsLayout layout = LevelsLayoutOf(width, 260);
        EXPECT_TRUE(layout.stacked) << width;
        EXPECT_EQ(layout.outputBar.left, 8);
        EXPECT_GT(layout.outputBar.top, layout.readout[levelsInBlack].bottom);
    }
    EXPECT_FALSE(LevelsLayoutOf(544, 200).stacked);
}

TEST(LevelsLayout, NothingOverlapsOrIsCutAtAnyWidthThatHoldsAPlot)
{
    for (int width = 272; width < 1400; ++width)
        for (const int height : {LevelsLeastHeight(width), LevelsNaturalHeight(width), 400}) {
            const LevelsLayout l = LevelsLayoutOf(width, height);
            std::vector<ScopeRect> parts = {l.inputLabel, l.inputPlot, l.inputBar, l.outputLabel, l.outputBar};
            parts.insert(parts.end(), std::begin(l.readout), std::end(l.readout));
            for (size_t i = 0; i < parts.size(); ++i) {
                ASSERT_GE(parts[i].left, 0);
                ASSERT_GE(parts[i].top, 0);
                ASSERT_LE(parts[i].right, width) << i;
                ASSERT_LE(parts[i].bottom, height) << i;
                ASSERT_LE(parts[i].right, l.frame.right);
                ASSERT_LE(parts[i].bottom, l.frame.bottom);
                for (size_t j = 0; j < i; ++j)
                    ASSERT_FALSE(Overlap(parts[i], parts[j])) << width << " " << i << " " << j;
            }
            // The boxes of the handles reach no readout.
            ASSERT_GE(l.readout[levelsInBlack].top, l.inputBar.bottom + 22);
            ASSERT_GE(l.readout[levelsOutBlack].top, l.outputBar.bottom + 22);
        }
}

TEST(LevelsLayout, TheHistogramTakesTheHeightThatIsLeftOverButNeverLessThan40)
{
    EXPECT_EQ(ScopeHeightOf(LevelsLayoutOf(552, LevelsLeastHeight(552)).inputPlot), 40);
    EXPECT_EQ(ScopeHeightOf(LevelsLayoutOf(552, LevelsLeastHeight(552) + 60).inputPlot), 100);
    EXPECT_EQ(ScopeHeightOf(LevelsLayoutOf(552, 0).inputPlot), 40);
    EXPECT_EQ(ScopeHeightOf(LevelsLayoutOf(-5, -7).inputPlot), 40);
}

TEST(LevelsLayout, BinsFollowThePlot)
{
    EXPECT_EQ(LevelsBinCount(100), 128u);
    EXPECT_EQ(LevelsBinCount(255), 128u);
    EXPECT_EQ(LevelsBinCount(256), 256u);
    EXPECT_EQ(LevelsBinCount(511), 256u);
    EXPECT_EQ(LevelsBinCount(512), 512u);
}

// --- Hit test ---------------------------------------------------------------------------------------------------------

TEST_F(LevelsTest, HandlesHaveTheirCodes)
{
    const uint32_t codes[] = {129, 130, 131, 133, 134, 135};
    for (uint32_t handle = 0; handle < kLevelsHandleCount; ++handle) {
        EXPECT_EQ(LevelsHitCode(handle), codes[handle]);
        EXPECT_EQ(LevelsHandleOf(codes[handle]), handle);
        EXPECT_EQ(LevelsHitTest(levels_, static_cast<int32_t>(X(handle)), static_cast<int32_t>(Y(handle))),
                  codes[handle]);
    }
    for (const uint32_t code : {0u, 128u, 132u, 136u}) EXPECT_EQ(LevelsHandleOf(code), kLevelsHandleCount);
    EXPECT_EQ(LevelsHitCode(kLevelsHandleCount), 0u);
}

TEST_F(LevelsTest, ABoxIs20By20CentredOnTheHandleAndStarts2BelowTheBar)
{
    Set(0.25f, 0.5f, 1);
    const ScopeRect bar = levels_.layout.inputBar;
    ExpectRect(LevelsHandleRect(levels_, levelsInBlack), 8 + 64 - 10, bar.bottom + 2, 20, 20);
    const int32_t x = 8 + 64, top = bar.bottom + 2;
    EXPECT_EQ(LevelsHitTest(levels_, x - 10, top), 129u);
    EXPECT_EQ(LevelsHitTest(levels_, x + 9, top + 19), 129u);
    EXPECT_EQ(LevelsHitTest(levels_, x - 11, top), 0u);
    EXPECT_EQ(LevelsHitTest(levels_, x + 10, top), 0u);
    EXPECT_EQ(LevelsHitTest(levels_, x, top - 1), 0u);
    EXPECT_EQ(LevelsHitTest(levels_, x, top + 20), 0u);
}

TEST_F(LevelsTest, ThePlotIs128AndWhatIsOutsideIs0)
{
    const ScopeRect plot = levels_.layout.inputPlot;
    EXPECT_EQ(LevelsHitTest(levels_, plot.left, plot.top), 128u);
    EXPECT_EQ(LevelsHitTest(levels_, plot.right - 1, plot.bottom - 1), 128u);
    EXPECT_EQ(LevelsHitTest(levels_, plot.right, plot.top), 0u);
    EXPECT_EQ(LevelsHitTest(levels_, plot.left, plot.top - 1), 0u);
    EXPECT_EQ(LevelsHitTest(levels_, -100, -100), 0u);
    EXPECT_EQ(LevelsHitTest(levels_, levels_.layout.outputBar.left, plot.top), 0u);
}

TEST_F(LevelsTest, GrayOnTopOfBlackTakesThePress)
{
    Set(0.25f, 0.25f, 1);
    EXPECT_EQ(Press(levelsInBlack), 130u);
    Release();
    Set(1, 1, 1);
    EXPECT_EQ(Press(levelsInWhite), 130u);
    Release();
    Set(0.5f, 0, 0.5f); // gray is away: black comes before white
    EXPECT_EQ(Press(levelsInWhite), 129u);
}

TEST_F(LevelsTest, WhereTheBarsMeetTheInputComesBeforeTheOutput)
{
    Set(0, 0.5f, 1);
    const int32_t y = levels_.layout.inputBar.bottom + 5;
    EXPECT_EQ(LevelsHitTest(levels_, 272, y), 131u); // input white reaches 273, output black begins at 270
    EXPECT_EQ(LevelsHitTest(levels_, 274, y), 133u);
}

// --- Drag -------------------------------------------------------------------------------------------------------------

TEST_F(LevelsTest, TheChangeIsTheMousesWayDividedByTheBarsWidth)
{
    ASSERT_EQ(Press(levelsInBlack), 129u);
    EXPECT_TRUE(DragBy(64).changed);
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_TRUE(DragBy(-32).changed);
    EXPECT_EQ(Block().inblackpt, 0.125f);
    Release();
    LayOutLevels(&levels_, 1056, 200);
    ASSERT_EQ(Press(levelsOutWhite), 135u);
    EXPECT_TRUE(DragBy(-128).changed);
    EXPECT_EQ(Block().outwhitept, 0.75f);
}

TEST_F(LevelsTest, APressNextToTheMiddleOfAHandleMovesNothing)
{
    EXPECT_EQ(PressLevels(session_, &levels_, X(levelsInGray) + 7, Y(levelsInGray)), 130u);
    EXPECT_FALSE(DragBy(0).changed);
    EXPECT_EQ(Block().ingraypt, 0.5f);
    EXPECT_TRUE(DragBy(1).changed);
    EXPECT_EQ(Block().ingraypt, 0.5f + 1.0f / 256);
}

TEST_F(LevelsTest, BlackDraggedOntoWhiteStopsThereAndGrayCollapsesOntoThem)
{
    Set(0.1f, 0.4f, 0.75f);
    ASSERT_EQ(Press(levelsInBlack), 129u);
    (void)DragBy(10000);
    EXPECT_EQ(Block().inblackpt, 0.75f);
    EXPECT_EQ(Block().ingraypt, 0.75f);
    EXPECT_EQ(Block().inwhitept, 0.75f);
}

TEST_F(LevelsTest, WhiteDraggedOntoBlackStopsThereAndGrayCollapsesOntoThem)
{
    Set(0.25f, 0.4f, 0.75f);
    ASSERT_EQ(Press(levelsInWhite), 131u);
    (void)DragBy(-10000);
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_EQ(Block().ingraypt, 0.25f);
    EXPECT_EQ(Block().inwhitept, 0.25f);
}

TEST_F(LevelsTest, TheRatioOfTheButtonPressOutlivesACollapse)
{
    Set(0, 0.25f, 1);
    ASSERT_EQ(Press(levelsInBlack), 129u);
    (void)DragBy(10000);
    EXPECT_EQ(Block().ingraypt, 1.0f);
    (void)DragBy(-10000 + 128);
    EXPECT_EQ(Block().inblackpt, 0.5f);
    EXPECT_EQ(Block().ingraypt, 0.625f); // a quarter of the way again
}

TEST_F(LevelsTest, GrayKeepsItsProportionWhenAnEndMoves)
{
    Set(0, 0.25f, 1);
    ASSERT_EQ(Press(levelsInWhite), 131u);
    (void)DragBy(-128);
    EXPECT_EQ(Block().inwhitept, 0.5f);
    EXPECT_EQ(Block().ingraypt, 0.125f);
    EXPECT_EQ(Block().inblackpt, 0.0f);
}

TEST_F(LevelsTest, GrayMovesAloneAndStaysBetweenBlackAndWhite)
{
    Set(0.25f, 0.5f, 0.75f);
    ASSERT_EQ(Press(levelsInGray), 130u);
    (void)DragBy(10000);
    EXPECT_EQ(Block().ingraypt, 0.75f);
    (void)DragBy(-20000);
    EXPECT_EQ(Block().ingraypt, 0.25f);
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_EQ(Block().inwhitept, 0.75f);
}

TEST_F(LevelsTest, ADragThatStartsOnCollapsedHandlesUsesTheRatioOfOneHalf)
{
    Set(0.5f, 0.5f, 0.5f);
    // Gray lies on top; black is reached by key, the drag by pulling gray is bound to both.
    EXPECT_EQ(Press(levelsInGray), 130u);
    EXPECT_FALSE(DragBy(40).changed);
    Release();
    EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInBlack, 0.25f).changed);
    EXPECT_EQ(Block().ingraypt, 0.375f);
    Set(0.5f, 0.5f, 0.5f);
    levels_.value[levelsInGray] = 0; // as if it had been out of the way
    EXPECT_EQ(Press(levelsInWhite), 129u);
    (void)DragBy(-128);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    EXPECT_EQ(Block().ingraypt, 0.25f);
}

TEST_F(LevelsTest, PositionsAreClampedTo0And1)
{
    for (const uint32_t handle : {levelsInBlack, levelsOutBlack}) {
        ASSERT_NE(Press(handle), 0u);
        (void)DragBy(-500);
        EXPECT_EQ(*Field(handle), 0.0f);
        Release();
    }
    for (const uint32_t handle : {levelsInWhite, levelsOutWhite}) {
        ASSERT_NE(Press(handle), 0u);
        (void)DragBy(500);
        EXPECT_EQ(*Field(handle), 1.0f);
        Release();
    }
}

TEST_F(LevelsTest, TheHandleFollowsAgainWhereTheMouseComesBack)
{
    ASSERT_EQ(Press(levelsInBlack), 129u);
    (void)DragBy(-300);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    (void)DragBy(300 + 64);
    EXPECT_EQ(Block().inblackpt, 0.25f);
}

TEST_F(LevelsTest, ShiftDragsTenTimesSlowerFromWhereItIsHeld)
{
    ASSERT_EQ(Press(levelsInBlack), 129u);
    (void)DragBy(64);
    (void)DragBy(64, bpShiftKey);
    EXPECT_NEAR(Block().inblackpt, 0.275f, 1e-6f);
    (void)DragBy(64);
    EXPECT_NEAR(Block().inblackpt, 0.525f, 1e-6f);
}

TEST_F(LevelsTest, AMoveWithoutAPressOrToNoPlaceDoesNothing)
{
    EXPECT_FALSE(TrackLevelsHandle(session_, &levels_, 100, 0).changed);
    EXPECT_EQ(PressLevels(session_, &levels_, 20, levels_.layout.inputPlot.top + 3), 128u);
    EXPECT_FALSE(DragBy(50).changed);
    ASSERT_EQ(Press(levelsInBlack), 129u);
    EXPECT_FALSE(TrackLevelsHandle(session_, &levels_, static_cast<double>(kNaN), 0).changed);
    EXPECT_FALSE(TrackLevelsHandle(session_, &levels_, static_cast<double>(kInfinity), 0).changed);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(LevelsTest, TheLineOfTheLogMarksTheDragOfInputBlackAndNoOther)
{
    (void)Press(levelsInBlack);
    (void)DragBy(10);
    (void)DragBy(10);
    Release();
    EXPECT_EQ(TKLogCount(">>>> tracking black part\n"), 1u);
    for (const uint32_t handle : {levelsInGray, levelsInWhite, levelsOutBlack, levelsOutGray, levelsOutWhite}) {
        (void)Press(handle);
        (void)DragBy(3);
        Release();
    }
    EXPECT_EQ(TKLogCount(">>>> tracking black part\n"), 1u);
}

TEST_F(LevelsTest, EachChannelWritesItsOwnBlock)
{
    for (uint32_t channel = 1; channel <= 4; ++channel) {
        Bind(channel);
        const OCSettings before = session_->liveSettings;
        ASSERT_EQ(Press(levelsOutWhite), 135u);
        (void)DragBy(-64);
        Release();
        for (uint32_t other = 0; other < 5; ++other)
            EXPECT_EQ(session_->liveSettings.levels[other].outwhitept,
                      other == channel - 1 ? 0.75f : before.levels[other].outwhitept);
        EXPECT_EQ(session_->liveSettings.levels[channel - 1].on, 1u);
        EXPECT_EQ(session_->liveSettings.levelsOn, 1u);
    }
    EXPECT_EQ(session_->liveSettings.levels[4].on, TKNeutralSettings().levels[4].on);
}

// --- Deferral, section, undo ------------------------------------------------------------------------------------------

TEST_F(LevelsTest, ADragIsRendered100msAfterItsLastChangeAndMarksItsSectionThen)
{
    ASSERT_EQ(Press(levelsInBlack), 129u);
    (void)DragBy(10);
    Ticks(4);
    (void)DragBy(10); // begins anew
    Ticks(4);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Block().on, 0u);
    EXPECT_EQ(session_->liveSettings.levelsOn, 0u);
    EXPECT_TRUE(LevelsTick(session_, &levels_));
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Block().on, 1u);
    EXPECT_EQ(session_->liveSettings.levelsOn, 1u);
    Ticks(20);
    EXPECT_EQ(Renders(), 1u); // nothing waits any more
}

TEST_F(LevelsTest, AReleaseRendersWhatWasHeldBackOnceAndATickNoMore)
{
    (void)Press(levelsInBlack);
    (void)DragBy(10);
    EXPECT_TRUE(ReleaseLevels(session_, &levels_).rerenders);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Block().on, 1u);
    Ticks(10);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(ReleaseLevels(session_, &levels_).rerenders);
    EXPECT_FALSE(LevelsNeedTick(levels_));
}

TEST_F(LevelsTest, TheRenderShowsTheNewestValue)
{
    (void)Press(levelsOutBlack);
    (void)DragBy(10);
    (void)DragBy(256 - 10);
    Release();
    EXPECT_EQ(Block().outblackpt, 1.0f);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFFFFFFFFu); // all levels are lifted to white
}

TEST_F(LevelsTest, ADragIsOneUndoStepThatEndsWithTheSectionOn)
{
    const OCSettings neutral = session_->liveSettings;
    (void)Press(levelsInBlack);
    EXPECT_TRUE(DragBy(10).opensUndo);
    Ticks(5);
    EXPECT_FALSE(DragBy(10).opensUndo);
    Release();
    EXPECT_EQ(Steps(), 1u);
    const OCSettings graded = session_->liveSettings;
    EXPECT_EQ(graded.levels[0].on, 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(std::memcmp(&session_->liveSettings, &neutral, sizeof neutral), 0);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(std::memcmp(&session_->liveSettings, &graded, sizeof graded), 0);
}

TEST_F(LevelsTest, AnotherDragOfTheSameHandleIsAnotherStep)
{
    for (int i = 0; i < 3; ++i) {
        (void)Press(levelsInBlack);
        (void)DragBy(10);
        Release();
    }
    EXPECT_EQ(Steps(), 3u);
}

TEST_F(LevelsTest, APressThatMovesNothingCostsNoStepAndNoRedo)
{
    (void)Press(levelsInBlack);
    (void)DragBy(10);
    Release();
    EXPECT_TRUE(TKUndoStepBack(session_));
    UpdateLevels(&levels_, &session_->liveSettings);
    (void)Press(levelsInBlack);
    Release();
    EXPECT_EQ(Steps(), 0u);
    EXPECT_TRUE(TKUndoStepForward(session_));
}

TEST_F(LevelsTest, ADragWhoseButtonWasLetGoUnseenEndsWithTheNextTick)
{
    (void)Press(levelsInBlack);
    (void)DragBy(10);
    Ticks(1);
    gBPFake.mouseButtonDown = false;
    EXPECT_TRUE(LevelsTick(session_, &levels_));
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(DragBy(30).changed);
    EXPECT_FALSE(session_->controls.undoPending);
    EXPECT_FALSE(LevelsNeedTick(levels_));
}

TEST_F(LevelsTest, WithCapsLockTheValuesAreStoredAndThePictureStays)
{
    gBPFake.modifierWord = bpCapsLock;
    (void)Press(levelsInBlack);
    (void)DragBy(64);
    Release();
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_TRUE(session_->updateSuspended);
    gBPFake.modifierWord = 0;
    TKTick(session_);
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(LevelsTest, WithoutAnUndoRingADragStillWorks)
{
    UndoDispose(session_->undoRing);
    session_->undoRing = nullptr;
    (void)Press(levelsInBlack);
    const TKEffect effect = DragBy(64);
    EXPECT_TRUE(effect.changed);
    EXPECT_FALSE(effect.opensUndo);
    Release();
    EXPECT_EQ(Block().inblackpt, 0.25f);
}

TEST_F(LevelsTest, ARecordThatIsReplacedDuringADragEndsIt)
{
    (void)Press(levelsInBlack);
    (void)DragBy(64);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(UpdateLevels(&levels_, &session_->liveSettings));
    renders_ = session_->renderCount;
    EXPECT_FALSE(DragBy(64).changed);
    Ticks(10);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    EXPECT_EQ(Block().on, 0u);
}

TEST_F(LevelsTest, AnUpdateOfOtherFieldsKeepsDragAndHeldBackRender)
{
    (void)Press(levelsInBlack);
    (void)DragBy(64);
    session_->liveSettings.hsl.master.gain = 2;
    EXPECT_FALSE(UpdateLevels(&levels_, &session_->liveSettings));
    EXPECT_TRUE(LevelsNeedTick(levels_));
    EXPECT_TRUE(DragBy(1).changed);
}

// --- Records of any content -------------------------------------------------------------------------------------------

TEST_F(LevelsTest, WhatTheRecordHoldsIsShownWithinTheScale)
{
    Set(kNaN, kInfinity, -kInfinity);
    EXPECT_EQ(levels_.value[levelsInBlack], 0.0f);
    EXPECT_EQ(levels_.value[levelsInGray], 1.0f);
    EXPECT_EQ(levels_.value[levelsInWhite], 0.0f);
    Set(-3, kNaN, 7);
    EXPECT_EQ(levels_.value[levelsInBlack], 0.0f);
    EXPECT_EQ(levels_.value[levelsInGray], 0.5f);
    EXPECT_EQ(levels_.value[levelsInWhite], 1.0f);
    EXPECT_EQ(Block().inblackpt, -3.0f); // showing writes nothing
    EXPECT_TRUE(std::isnan(Block().ingraypt));
}

TEST_F(LevelsTest, NoNaNReachesTheRecordWhateverStoodThere)
{
    constexpr float values[] = {kNaN, kInfinity, -kInfinity, 3e38f, -3e38f, 1e-42f, 0, 0.5f, 1, 2};
    for (const float black : values)
        for (const float gray : values)
            for (const float white : values)
                for (const uint32_t handle : {levelsInBlack, levelsInGray, levelsInWhite}) {
                    for (const float wanted : {0.0f, 0.3f, 1.0f}) {
                        Set(black, gray, white);
                        if (!MoveLevelsHandle(session_, &levels_, handle, wanted).changed) continue;
                        ASSERT_TRUE(std::isfinite(*Field(handle)));
                        ASSERT_GE(*Field(handle), 0.0f);
                        ASSERT_LE(*Field(handle), 1.0f);
                        ASSERT_TRUE(handle == levelsInGray || std::isfinite(Block().ingraypt));
                    }
                }
    EXPECT_FALSE(MoveLevelsHandle(session_, &levels_, levelsInBlack, kNaN).changed);
}

TEST_F(LevelsTest, AnInfiniteGrayOfTheAutomaticCorrectionCountsAsTheMiddle)
{
    Set(0, kInfinity, 1);
    EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInBlack, 0.5f).changed);
    EXPECT_EQ(Block().ingraypt, 0.75f);
}

TEST_F(LevelsTest, AGrayBeyondItsNeighboursKeepsItsRatio)
{
    Set(0, -1, 1); // as the balance of a dark channel leaves it
    EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInWhite, 0.5f).changed);
    EXPECT_EQ(Block().ingraypt, -0.5f);
}

TEST_F(LevelsTest, RandomDragsKeepBlackGrayAndWhiteInOrder)
{
    std::mt19937 random(2026);
    const auto between = [&](int low, int high) {
        return low + static_cast<int>(random() % static_cast<uint32_t>(high - low + 1));
    };
    for (int walk = 0; walk < 400; ++walk) {
        LayOutLevels(&levels_, between(200, 1200), between(50, 400));
        if (walk % 10 == 0)
            for (const uint32_t bar : {levelsInBlack, levelsOutBlack}) {
                float value[3] = {static_cast<float>(between(0, 1000)) / 1000,
                                  static_cast<float>(between(0, 1000)) / 1000,
                                  static_cast<float>(between(0, 1000)) / 1000};
                std::sort(value, value + 3);
                for (uint32_t i = 0; i < 3; ++i) *Field(bar + i) = value[i];
                UpdateLevels(&levels_, &session_->liveSettings);
            }
        const auto handle = static_cast<uint32_t>(between(0, 5));
        const bool byKey = between(0, 3) == 0;
        if (!byKey) (void)Press(handle);
        const uint32_t held = LevelsHandleOf(levels_.tracking), bar = (held < kLevelsHandleCount ? held : 0) / 3 * 3;
        const float range = *Field(bar + 2) - *Field(bar);
        const float ratio = range != 0 ? (*Field(bar + 1) - *Field(bar)) / range : 0.5f;
        for (int i = between(0, 30); i > 0; --i) {
            if (byKey)
                (void)MoveLevelsHandle(session_, &levels_, handle,
                                       levels_.value[handle] + static_cast<float>(between(-9, 9)) / 256);
            else
                (void)DragBy(between(-700, 700), between(0, 1) ? bpShiftKey : 0u);
            for (const uint32_t first : {levelsInBlack, levelsOutBlack}) {
                ASSERT_TRUE(0 <= *Field(first) && *Field(first) <= *Field(first + 1) &&
                            *Field(first + 1) <= *Field(first + 2) && *Field(first + 2) <= 1)
                    << *Field(first) << " " << *Field(first + 1) << " " << *Field(first + 2);
            }
            for (uint32_t all = 0; all < kLevelsHandleCount; ++all) ASSERT_EQ(*Field(all), levels_.value[all]);
            const bool keepsRatio = !byKey && held < kLevelsHandleCount && held % 3 != 1;
            if (keepsRatio) {
                ASSERT_NEAR(*Field(bar + 1), *Field(bar) + ratio * (*Field(bar + 2) - *Field(bar)), 1e-5f);
            }
        }
        Release();
    }
}

// --- Keyboard and typing ----------------------------------------------------------------------------------------------

TEST_F(LevelsTest, KeysOfOneHandleAreOneStepAndRender100msAfterTheLast)
{
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(
            MoveLevelsHandle(session_, &levels_, levelsInGray, levels_.value[levelsInGray] + kLevelsNudge).opensUndo,
            i == 0);
    EXPECT_EQ(Block().ingraypt, 0.5f + 4.0f / 256);
    EXPECT_EQ(Renders(), 0u);
    Ticks(4);
    EXPECT_EQ(Renders(), 0u);
    Ticks(1);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInBlack, kLevelsFineNudge).opensUndo);
    EXPECT_EQ(Block().inblackpt, 1.0f / 1024);
    EXPECT_TRUE(FlushLevels(session_, &levels_));
    EXPECT_FALSE(FlushLevels(session_, &levels_));
    EXPECT_EQ(Renders(), 2u);
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(LevelsTest, AKeyAtTheEndOfTheWayDoesNothing)
{
    EXPECT_FALSE(MoveLevelsHandle(session_, &levels_, levelsInBlack, -kLevelsNudge).changed);
    EXPECT_FALSE(MoveLevelsHandle(session_, &levels_, levelsInWhite, 1 + kLevelsNudge).changed);
    EXPECT_FALSE(LevelsNeedTick(levels_));
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(LevelsTest, ATypedValueObeysTheSameLimitsAndKeepsTheRatio)
{
    Set(0, 0.25f, 0.5f);
    const auto type = [&](uint32_t handle, const char* text) {
        TKSlider* slider = &levels_.readout[handle].slider;
        OpenEdit(session_, slider);
        RefineLevelsEdit(slider);
        TKSetEditText(slider, text);
        return CommitOpenEdit(session_, true);
    };
    EXPECT_TRUE(type(levelsInBlack, "0.25").changed);
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_EQ(Block().ingraypt, 0.375f);
    EXPECT_TRUE(type(levelsInBlack, "20").changed);
    EXPECT_EQ(Block().inblackpt, 0.5f);
    EXPECT_EQ(Block().ingraypt, 0.5f);
    EXPECT_FALSE(type(levelsInBlack, "30").changed); // it is at white already
    EXPECT_EQ(Steps(), 2u);
    EXPECT_EQ(Renders(), 2u);
    EXPECT_EQ(Block().on, 1u);
    EXPECT_FALSE(type(levelsInBlack, "nothing").changed);
    EXPECT_EQ(TKSliderValueClick(session_, &levels_.readout[levelsInBlack].slider, bpControlKey).changed, true);
    EXPECT_EQ(Block().inblackpt, 0.0f);
    EXPECT_EQ(Block().ingraypt, 0.25f); // from handles on each other: the middle
}

TEST_F(LevelsTest, ATypedBlackBeyondAWhiteOfManyDigitsStopsOnItExactly)
{
    Set(0, 0.1f, 1.0f / 3);
    TKSlider* slider = &levels_.readout[levelsInBlack].slider;
    OpenEdit(session_, slider);
    TKSetEditText(slider, "1");
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Block().inblackpt, 1.0f / 3);
    EXPECT_EQ(Block().inwhitept, 1.0f / 3);
}

TEST_F(LevelsTest, OpeningAndLeavingAnEditUnchangedKeepsTheFieldBitForBit)
{
    Set(0.1234567f, 0.5f, 1);
    TKSlider* slider = &levels_.readout[levelsInBlack].slider;
    OpenEdit(session_, slider);
    RefineLevelsEdit(slider);
    EXPECT_STREQ(slider->editText, "0.123");
    EXPECT_FALSE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Block().inblackpt, 0.1234567f);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(LevelsTest, APressCommitsAnOpenEdit)
{
    TKSlider* slider = &levels_.readout[levelsInBlack].slider;
    OpenEdit(session_, slider);
    TKSetEditText(slider, "0.5");
    (void)PressLevels(session_, &levels_, 20, levels_.layout.inputPlot.top + 3);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(Block().inblackpt, 0.5f);
}

TEST_F(LevelsTest, TabWalksTheSixValuesInARing)
{
    TKSlider* slider = &levels_.readout[0].slider;
    for (uint32_t i = 0; i < kLevelsHandleCount; ++i) slider = slider->next;
    EXPECT_EQ(slider, &levels_.readout[0].slider);
    EXPECT_EQ(slider->previous, &levels_.readout[levelsOutWhite].slider);
}

TEST_F(LevelsTest, ValuesReadWithThreeDecimals)
{
    char text[8];
    FormatLevelsValue(0.5, text, sizeof text);
    EXPECT_STREQ(text, "0.500");
    FormatLevelsValue(1e30, text, sizeof text);
    EXPECT_STREQ(text, ""); // no room
    EXPECT_STREQ(LevelsHandleName(levelsOutGray), "Output Gray");
    EXPECT_STREQ(LevelsHandleName(77), "");
}
