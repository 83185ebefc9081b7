// A thumb in the hand: plain and fine drags, and the keys of a slider.
#include "src/support/TKSliderHold.h"

#include "src/support/TKKeys.h"
#include "tests/support/TKControlsTest.h"

#include <cmath>
#include <limits>

namespace {

constexpr int32_t kLength = 300; // of the track: a pixel is 0.01 of gain

class TKSliderHoldTest : public TKControlsTest {
  protected:
    float Gain() { return Live().hsl.master.gain; }
    TKEffect Move(double pixel, uint32_t modifiers = 0)
    {
        return TKMoveHeldThumb(session_, &gain_, &hold_, pixel, kLength, modifiers);
    }

    TKSliderHold hold_ = {};
};

TEST_F(TKSliderHoldTest, AThumbThatIsTakenDoesNotMove)
{
    TKGrabThumb(session_, gain_, &hold_, 103); // beside its middle
    EXPECT_FALSE(Move(103).changed);
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_TRUE(Move(113).changed);
    EXPECT_NEAR(Gain(), 1.1f, 1e-4f);
    EXPECT_TRUE(Move(103).changed);
    EXPECT_EQ(Gain(), 1.0f); // where it was, exactly
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKSliderHoldTest, AThumbStaysUnderThePointerBeyondTheEnds)
{
    TKGrabThumb(session_, gain_, &hold_, 100);
    (void)Move(5000);
    EXPECT_EQ(Gain(), 3.0f);
    (void)Move(310); // still beyond the end
    EXPECT_EQ(Gain(), 3.0f);
    (void)Move(250);
    EXPECT_NEAR(Gain(), 2.5f, 1e-4f);
    (void)Move(-4000);
    EXPECT_EQ(Gain(), 0.0f);
    (void)Move(100);
    EXPECT_EQ(Gain(), 1.0f);
}

TEST_F(TKSliderHoldTest, APressBesideTheThumbBringsItToThePointer)
{
    EXPECT_TRUE(TKPressTrack(session_, &gain_, &hold_, 200, kLength, 0).changed);
    EXPECT_EQ(Gain(), 2.0f);
    (void)Move(210);
    EXPECT_NEAR(Gain(), 2.1f, 1e-4f);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKSliderHoldTest, WithShiftTheThumbMovesATenthAndNeverJumps)
{
    EXPECT_FALSE(TKPressTrack(session_, &gain_, &hold_, 250, kLength, bpShiftKey).changed);
    EXPECT_EQ(Gain(), 1.0f);
    for (int pixel = 251; pixel <= 260; ++pixel) (void)Move(pixel, bpShiftKey);
    EXPECT_NEAR(Gain(), 1.01f, 1e-4f); // ten pixels are worth one
    (void)Move(270);                   // shift let go: on from where it is
    EXPECT_NEAR(Gain(), 1.11f, 1e-4f);
    (void)Move(170, bpShiftKey | bpControlKey);
    EXPECT_NEAR(Gain(), 1.01f, 1e-4f);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKSliderHoldTest, ManySmallFineMovesAddUpToOneLargeOne)
{
    TKGrabThumb(session_, gain_, &hold_, 0);
    for (int i = 1; i <= 4000; ++i) (void)Move(i / 40.0, bpShiftKey);
    EXPECT_NEAR(Gain(), 1.1f, 1e-4f);
    (void)Move(0, bpShiftKey);
    EXPECT_NEAR(Gain(), 1.0f, 1.0f / 65536);
}

TEST_F(TKSliderHoldTest, FromATypedValueBeyondTheTrackADragLandsOnTheTrackAgain)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "20");
    (void)CommitOpenEdit(session_, true);
    EXPECT_EQ(Gain(), 20.0f);
    EXPECT_EQ(gain_.position, gain_.trackMax);
    EXPECT_STREQ(gain_.valueText, "20.00");
    TKGrabThumb(session_, gain_, &hold_, 300);
    EXPECT_EQ(Gain(), 20.0f);
    (void)Move(290);
    EXPECT_NEAR(Gain(), 2.9f, 1e-4f);
}

TEST_F(TKSliderHoldTest, TakingTheThumbCommitsAnOpenEdit)
{
    OpenEdit(session_, &saturation_);
    TKSetEditText(&saturation_, "50");
    TKGrabThumb(session_, gain_, &hold_, 0);
    EXPECT_EQ(session_->liveSettings.hsl.master.saturation, 50.0f);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
}

TEST_F(TKSliderHoldTest, ATrackWithoutLengthAndWildPixelsDoNothing)
{
    TKGrabThumb(session_, gain_, &hold_, 0);
    EXPECT_FALSE(TKMoveHeldThumb(session_, &gain_, &hold_, 50, 0, 0).changed);
    EXPECT_FALSE(TKPressTrack(session_, &gain_, &hold_, 50, -3, 0).changed);
    EXPECT_FALSE(Move(NAN).changed);
    EXPECT_FALSE(Move(INFINITY).changed);
    EXPECT_EQ(Gain(), 1.0f);
    (void)Move(1e300);
    EXPECT_EQ(Gain(), 3.0f);
    TKGrabThumb(session_, gain_, &hold_, 0);
    (void)Move(-1e300);
    EXPECT_EQ(Gain(), 0.0f);
}

TEST_F(TKSliderHoldTest, ArrowsMoveByANotchPagesByTenAndShiftByATenth)
{
    (void)TKSliderKey(session_, &gain_, kTKKeyUp, 0);
    EXPECT_EQ(Gain(), 1 + 164 / 65536.0f); // 1/1200 of 3, as the wheel
    (void)TKSliderKey(session_, &gain_, kTKKeyDown, 0);
    EXPECT_EQ(Gain(), 1 + (164 - 163) / 65536.0f); // truncation makes the way down one unit shorter
    (void)TKSliderDrag(session_, &gain_, 65536);
    (void)TKSliderKey(session_, &gain_, kTKKeyPageUp, 0);
    EXPECT_EQ(Gain(), 1 + 1638 / 65536.0f);
    (void)TKSliderDrag(session_, &gain_, 65536);
    (void)TKSliderKey(session_, &gain_, kTKKeyUp, bpShiftKey);
    EXPECT_EQ(Gain(), 1 + 16 / 65536.0f);
    (void)TKSliderKey(session_, &gain_, kTKKeyDown, bpShiftKey);
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_EQ(Steps(), 1u); // one slider, one step
}

TEST_F(TKSliderHoldTest, DeleteResetsAndReturnOpensTheEdit)
{
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    (void)TKSliderKey(session_, &gain_, kTKKeyDelete, 0);
    EXPECT_EQ(Gain(), 1.0f);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    (void)TKSliderKey(session_, &gain_, kTKKeyBack, 0);
    EXPECT_EQ(Gain(), 1.0f);
    (void)TKSliderKey(session_, &gain_, kTKKeyReturn, 0);
    EXPECT_EQ(session_->controls.openSlider, &gain_);
    (void)TKSliderKey(session_, &gain_, kTKKeySpace, 0);
    EXPECT_EQ(session_->controls.openSlider, &gain_);
}

TEST_F(TKSliderHoldTest, AWholeNumberSliderMovesByOneAtLeast)
{
    int32_t field = 5;
    SliderVars slider = WholeNumberSlider(&field);
    (void)TKSliderKey(session_, &slider, kTKKeyUp, bpShiftKey);
    EXPECT_EQ(field, 6);
    (void)TKSliderKey(session_, &slider, kTKKeyPageDown, 0);
    EXPECT_EQ(field, -4);
}

TEST_F(TKSliderHoldTest, TheKeysAreTheOpenEditsOwn)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    for (const uint32_t key : {kTKKeyUp, kTKKeyDown, kTKKeyPageUp, kTKKeyPageDown, kTKKeyDelete, kTKKeyReturn})
        for (const uint32_t modifiers : {uint32_t{0}, uint32_t{bpShiftKey}}) {
            EXPECT_FALSE(TKSliderKey(session_, &gain_, key, modifiers).changed) << key << " " << modifiers;
            EXPECT_TRUE(gain_.editing) << key << " " << modifiers;
        }
    EXPECT_EQ(Gain(), 1.0f);
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Gain(), 2.0f);
}

} // namespace
