// Levels and luma ranges beside everything else: fields beyond the scale, steps of undo that are walked in the middle of
// a drag, and what is held back when the settings leave the session.
#include "src/UI/TKLumaRangeEditor.h"
#include "tests/UI/TKLevelsTest.h"

namespace {

class LevelsStepsTest : public LevelsTest {
  protected:
    /// The window side, as far as it is asked to settle.
    void AnswerSettle()
    {
        session_->ui = {};
        session_->ui.context = this;
        session_->ui.settleControls = [](void* self) {
            auto* test = static_cast<LevelsStepsTest*>(self);
            (void)FlushLevels(test->session_, &test->levels_);
        };
    }
};

float RatioOfInput(const OCLevelsBlock& block)
{
    return (block.ingraypt - block.inblackpt) / (block.inwhitept - block.inblackpt);
}

} // namespace

TEST_F(LevelsStepsTest, GrayKeepsItsRatioWhenTheOtherEndLiesBeyondTheScale)
{
    Set(0, 0.75f, 1.5f);
    (void)Press(levelsInBlack);
    EXPECT_TRUE(DragBy(0.2 * 256).changed);
    EXPECT_FLOAT_EQ(Block().inblackpt, 0.2f);
    EXPECT_FLOAT_EQ(RatioOfInput(Block()), 0.5f);
    EXPECT_EQ(Block().inwhitept, 1.5f); // nobody touched it
    Release();

    Set(-0.5f, 0.1f, 1);
    EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInWhite, 0.7f).changed);
    EXPECT_FLOAT_EQ(RatioOfInput(Block()), 0.4f);
    EXPECT_EQ(Block().inblackpt, -0.5f);
}

TEST_F(LevelsStepsTest, ATypedEndKeepsTheRatioOfFieldsBeyondTheScale)
{
    Set(-1, 0.5f, 2); // a ratio of one half
    OpenEdit(session_, &levels_.readout[levelsInBlack].slider);
    TKSetEditText(&levels_.readout[levelsInBlack].slider, "0.5");
    (void)TKEditKey(session_, &levels_.readout[levelsInBlack].slider, kTKKeyReturn, 0);
    EXPECT_EQ(Block().inblackpt, 0.5f);
    EXPECT_EQ(Block().inwhitept, 2.0f);
    EXPECT_FLOAT_EQ(RatioOfInput(Block()), 0.5f);
}

TEST_F(LevelsStepsTest, AnUndoInTheMiddleOfADragThatHadComeBackKeepsTheStateBeforeIt)
{
    Set(0.25f, 0.5f, 1);
    const OCSettings before = session_->liveSettings;
    (void)Press(levelsInBlack);
    EXPECT_TRUE(DragBy(10).opensUndo);
    EXPECT_TRUE(DragBy(-10).changed); // back to where it was: an undo changes nothing that could end the drag
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_TRUE(DragBy(20).opensUndo); // a step of its own
    Release();
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(TKFieldsDiffer(&session_->liveSettings, &before, 0, sizeof before), false);
}

TEST_F(LevelsStepsTest, WhatIsHeldBackIsRenderedBeforeAnotherControlOpensItsStep)
{
    AnswerSettle();
    EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInBlack, 0.25f).changed);
    EXPECT_EQ(Block().on, 0u);
    MakeSliders();
    EXPECT_TRUE(TKSliderWheel(session_, &gain_, 120).changed); // within the 100 ms
    EXPECT_EQ(Block().on, 1u);
    EXPECT_TRUE(TKUndoStepBack(session_)); // the wheel
    EXPECT_EQ(Block().inblackpt, 0.25f);
    EXPECT_EQ(Block().on, 1u);
    EXPECT_EQ(session_->liveSettings.levelsOn, 1u);
}

TEST_F(LevelsStepsTest, SettingsLeaveTheSessionWithTheSwitchesOfWhatIsHeldBack)
{
    AnswerSettle();
    const auto leave = [&](auto run) {
        Block() = session_->defaultSettings.levels[0];
        session_->liveSettings.levelsOn = 0;
        UpdateLevels(&levels_, &session_->liveSettings);
        EXPECT_TRUE(MoveLevelsHandle(session_, &levels_, levelsInBlack, 0.25f).changed);
        EXPECT_EQ(session_->liveSettings.levelsOn, 0u);
        run();
    };
    leave([&] {
        EXPECT_TRUE(SlotStoreOrRecall(session_, 1, true));
        EXPECT_EQ(session_->prefs.savedSettings[0].settings.levelsOn, 1u);
    });
    leave([&] {
        DoMenuCommand(session_, kTKCommandCopy, nullptr);
        OCSettings copy = {};
        uint32_t byteCount = 0;
        ASSERT_EQ(session_->platform->clipboard.get(kTKSettingsFormat, &copy, sizeof copy, &byteCount), bpNoErr);
        EXPECT_EQ(copy.levelsOn, 1u);
        EXPECT_EQ(copy.levels[0].on, 1u);
    });
    leave([&] { // undone and redone at once, the switch comes back with the value
        DoMenuCommand(session_, kTKCommandUndo, nullptr);
        EXPECT_EQ(session_->liveSettings.levelsOn, 0u);
        DoMenuCommand(session_, kTKCommandRedo, nullptr);
        EXPECT_EQ(Block().inblackpt, 0.25f);
        EXPECT_EQ(session_->liveSettings.levelsOn, 1u);
    });
    leave([&] {
        TKEndSession(session_, kTKCommandOK);
        const TKUIComm* block = host_.Block();
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->settings.levels[0].inblackpt, 0.25f);
        EXPECT_EQ(block->settings.levelsOn, 1u);
        EXPECT_EQ(block->settings.levels[0].on, 1u);
    });
}

TEST_F(LevelsStepsTest, ALumaRangeBeyondTheScaleIsAnotherOneThoughItStandsAtTheSamePlace)
{
    LumaRangeVars range = {};
    InitLumaRange(&range, &session_->liveSettings, offsetof(OCSettings, lumaRange), tkSectionLumaRange, "luma_range");
    OCLumaRangeBlock& block = session_->liveSettings.lumaRange;
    block.lumarange_highlightx = 1;
    EXPECT_TRUE(UpdateLumaRange(&range, &session_->liveSettings));
    EXPECT_FALSE(UpdateLumaRange(&range, &session_->liveSettings));
    block.lumarange_highlightx = 1.4f;
    EXPECT_TRUE(UpdateLumaRange(&range, &session_->liveSettings)); // its curves are others
    EXPECT_EQ(range.value[lumaRangeHighlights].x, 1.0f);
    EXPECT_EQ(range.field[lumaRangeHighlights].x, 1.4f);
    EXPECT_STREQ(range.readout[2].slider.valueText, "1.40");
    block.lumarange_shadowy = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(UpdateLumaRange(&range, &session_->liveSettings));
    EXPECT_FALSE(UpdateLumaRange(&range, &session_->liveSettings));
}

TEST_F(LevelsStepsTest, AnUndoInTheMiddleOfALumaRangeDragThatHadComeBackKeepsTheStateBeforeIt)
{
    LumaRangeVars range = {};
    InitLumaRange(&range, &session_->liveSettings, offsetof(OCSettings, lumaRange), tkSectionLumaRange, "luma_range");
    const OCSettings before = session_->liveSettings;
    const LumaRangePoint at = LumaRangeHandlePixel(range, lumaRangeShadows);
    const double x = static_cast<double>(at.x), y = static_cast<double>(at.y);
    (void)PressLumaRange(session_, &range, x, y);
    EXPECT_TRUE(TrackLumaRangeHandle(session_, &range, x - 10, y, 0).opensUndo);
    EXPECT_TRUE(TrackLumaRangeHandle(session_, &range, x, y, 0).changed);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TrackLumaRangeHandle(session_, &range, x - 20, y, 0).opensUndo);
    (void)ReleaseLumaRange(session_, &range);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(TKFieldsDiffer(&session_->liveSettings, &before, 0, sizeof before), false);
}
