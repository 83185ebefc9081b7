// The levels control: what of drags, keys and typing reaches record, undo ring and picture, and records of any content.
#include "tests/UI/TKLevelsTest.h"

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

} // namespace

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

TEST_F(LevelsTest, TheReadoutSaysWhatTheRecordHoldsWhereTheHandleCannot)
{
    Set(0, -0.25f, 1);
    EXPECT_EQ(levels_.value[levelsInGray], 0.0f);
    EXPECT_EQ(levels_.field[levelsInGray], -0.25f);
    EXPECT_STREQ(levels_.readout[levelsInGray].slider.valueText, "-0.25");
    Block().ingraypt = -0.5f; // the handle stays where it is, the number does not
    EXPECT_TRUE(UpdateLevels(&levels_, &session_->liveSettings));
    EXPECT_FALSE(UpdateLevels(&levels_, &session_->liveSettings));
    Block().ingraypt = kNaN;
    EXPECT_TRUE(UpdateLevels(&levels_, &session_->liveSettings));
    EXPECT_FALSE(UpdateLevels(&levels_, &session_->liveSettings));
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
        SliderVars* slider = &levels_.readout[handle].slider;
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
    SliderVars* slider = &levels_.readout[levelsInBlack].slider;
    OpenEdit(session_, slider);
    TKSetEditText(slider, "1");
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Block().inblackpt, 1.0f / 3);
    EXPECT_EQ(Block().inwhitept, 1.0f / 3);
}

TEST_F(LevelsTest, OpeningAndLeavingAnEditUnchangedKeepsTheFieldBitForBit)
{
    Set(0.1234567f, 0.5f, 1);
    SliderVars* slider = &levels_.readout[levelsInBlack].slider;
    OpenEdit(session_, slider);
    RefineLevelsEdit(slider);
    EXPECT_STREQ(slider->editText, "0.123");
    EXPECT_FALSE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Block().inblackpt, 0.1234567f);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(LevelsTest, APressCommitsAnOpenEdit)
{
    SliderVars* slider = &levels_.readout[levelsInBlack].slider;
    OpenEdit(session_, slider);
    TKSetEditText(slider, "0.5");
    (void)PressLevels(session_, &levels_, 20, levels_.layout.inputPlot.top + 3);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(Block().inblackpt, 0.5f);
}

TEST_F(LevelsTest, TabWalksTheSixValuesInARing)
{
    SliderVars* slider = &levels_.readout[0].slider;
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
