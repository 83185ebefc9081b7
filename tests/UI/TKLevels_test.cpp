// The levels control: places, hits and drags.
#include "tests/UI/TKLevelsTest.h"

#include <limits>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

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
