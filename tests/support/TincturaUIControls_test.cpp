// What the gestures of a slider do to the record, the undo ring and the picture.
#include "src/support/TKSliderHold.h"
#include "tests/support/TKControlsTest.h"

#include <cmath>

namespace {

TEST_F(TKControlsTest, ADragWritesTheFieldMarksItsSwitchesAndRenders)
{
    const TKEffect effect = TKSliderDrag(session_, &gain_, 2 * 65536 + 32768);
    EXPECT_TRUE(effect.changed && effect.opensUndo && effect.rerenders);
    EXPECT_EQ(Live().hsl.master.gain, 2.5f);
    EXPECT_EQ(Live().hsl.master.on, 1u);
    EXPECT_EQ(Live().hslOn, 1u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(Live().rgbOn, 0u);
    EXPECT_EQ(windows_.switches, 1u);
    EXPECT_STREQ(gain_.valueText, "2.50");
    EXPECT_EQ(gain_.position, 2 * 65536 + 32768);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF1907FFu); // 10, 3, 200 times 2.5

    (void)TKSliderDrag(session_, &redGain_, 0);
    EXPECT_EQ(Live().rgb.highlights.channel[0].gain, 0.0f);
    EXPECT_EQ(Live().rgb.highlights.on, 1u);
    EXPECT_EQ(Live().rgbOn, 1u);
}

TEST_F(TKControlsTest, AValueThatItHoldsAlreadyDoesNothing)
{
    const TKEffect effect = TKSliderDrag(session_, &gain_, 65536);
    EXPECT_FALSE(effect.changed || effect.opensUndo || effect.rerenders);
    EXPECT_EQ(Live().hsl.master.on, 0u);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(windows_.switches, 0u);
}

TEST_F(TKControlsTest, DragsAndWheelTurnsOfOneSliderAreOneStepAndAnotherOpensANewOne)
{
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 70000).opensUndo);
    EXPECT_FALSE(TKSliderDrag(session_, &gain_, 80000).opensUndo);
    EXPECT_FALSE(TKSliderWheel(session_, &gain_, 240).opensUndo);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKSliderDrag(session_, &saturation_, 0).opensUndo);
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 65536).opensUndo);
    EXPECT_EQ(Steps(), 3u);
    const OCSettings graded = Live();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_FALSE(TKUndoStepBack(session_));
    const OCSettings neutral = TKNeutralSettings();
    EXPECT_EQ(std::memcmp(&Live(), &neutral, sizeof neutral), 0);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(std::memcmp(&Live(), &graded, sizeof graded), 0);
    EXPECT_STREQ(gain_.valueText, "1.00");
    EXPECT_STREQ(saturation_.valueText, "0.00");
}

TEST_F(TKControlsTest, UndoRedoAndCommandsForgetTheSlider)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 80000).opensUndo);
    EXPECT_FALSE(TKUndoStepForward(session_)); // the change dropped it
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 90000).opensUndo);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 95000).opensUndo);
}

TEST_F(TKControlsTest, WithoutARingEverythingButUndoWorks)
{
    UndoDispose(session_->undoRing);
    session_->undoRing = nullptr;
    const TKEffect effect = TKSliderDrag(session_, &gain_, 70000);
    EXPECT_TRUE(effect.changed);
    EXPECT_FALSE(effect.opensUndo);
    EXPECT_FALSE(TKUndoStepBack(session_));
    EXPECT_FALSE(TKUndoStepForward(session_));
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
}

TEST_F(TKControlsTest, TheTickMakesTheLastStoreWhenTheButtonIsUp)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    EXPECT_TRUE(session_->controls.undoPending);
    gBPFake.mouseButtonDown = true;
    TKTick(session_);
    EXPECT_TRUE(session_->controls.undoPending);
    gBPFake.mouseButtonDown = false;
    Live().tail[0] = 5; // what the drag left in the record
    TKTick(session_);
    EXPECT_FALSE(session_->controls.undoPending);
    const TKUndoRing* ring = session_->undoRing;
    EXPECT_EQ(ring->undoRecords[ring->undoHead % ring->undoSlotCount].tail[0], 5u);
}

TEST_F(TKControlsTest, ADragStopsAtTheEndsOfTheTrack)
{
    (void)TKSliderDrag(session_, &gain_, INT32_MAX);
    EXPECT_EQ(Live().hsl.master.gain, 3.0f);
    (void)TKSliderDrag(session_, &gain_, INT32_MIN);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
}

TEST_F(TKControlsTest, ASteadyDragAsksForNoMemory)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    BPFailAllocation(0);
    for (int32_t i = 1; i < 50; ++i) EXPECT_TRUE(TKSliderDrag(session_, &gain_, 70000 + i * 100).changed);
    EXPECT_EQ(BPAllocationCount(), 0u);
    EXPECT_EQ(Renders(), 50u);
}

TEST_F(TKControlsTest, ANotchIsATwelveHundredthOfTheTrack)
{
    (void)TKSliderWheel(session_, &gain_, 120);
    EXPECT_EQ(gain_.position, 65536 + static_cast<int32_t>(3.0 / 1200 * 65536 + 0.5));
    EXPECT_EQ(gain_.position, 65536 + 164);
    (void)TKSliderWheel(session_, &gain_, -120);
    EXPECT_EQ(gain_.position, 65536 + 164 - 163); // the half is added before the cut, in both directions
    (void)TKSliderWheel(session_, &saturation_, 3 * 120);
    EXPECT_EQ(Live().hsl.master.saturation, 100.75f);
}

TEST_F(TKControlsTest, SmallTurnsAddUpToANotch)
{
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(TKSliderWheel(session_, &gain_, 30).changed);
    EXPECT_TRUE(TKSliderWheel(session_, &gain_, 30).changed);
    EXPECT_FALSE(TKSliderWheel(session_, &gain_, -119).changed);
    EXPECT_TRUE(TKSliderWheel(session_, &gain_, -1).changed);
}

TEST_F(TKControlsTest, ATurnBackBeginsANotchOfItsOwn)
{
    (void)TKSliderWheel(session_, &gain_, 119);
    EXPECT_FALSE(TKSliderWheel(session_, &gain_, -119).changed);
    EXPECT_TRUE(TKSliderWheel(session_, &gain_, -1).changed);
    EXPECT_LT(Live().hsl.master.gain, 1.0f);
    (void)TKSliderWheel(session_, &gain_, -60);
    EXPECT_FALSE(TKSliderWheel(session_, &gain_, 60).changed);
    EXPECT_TRUE(TKSliderWheel(session_, &gain_, 60).changed);
}

TEST_F(TKControlsTest, AWheelStopsAtTheTrackAndAtAnOpenEdit)
{
    (void)TKSliderWheel(session_, &gain_, INT32_MAX);
    EXPECT_EQ(Live().hsl.master.gain, 3.0f);
    (void)TKSliderWheel(session_, &gain_, INT32_MIN);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    OpenEdit(session_, &gain_);
    EXPECT_FALSE(TKSliderWheel(session_, &gain_, 1200).changed);
    EXPECT_TRUE(gain_.editing);
}

TEST_F(TKControlsTest, ATurnToTheSideLeavesAnotherSlidersEditOpen)
{
    OpenEdit(session_, &saturation_);
    EXPECT_FALSE(TKSliderWheel(session_, &gain_, 0).changed);
    EXPECT_TRUE(saturation_.editing);
    (void)TKSliderWheel(session_, &gain_, 120);
    EXPECT_FALSE(saturation_.editing);
}

TEST_F(TKControlsTest, AValueThatIsSetShowsItselfAndIsWrittenOnlyWithRepaint)
{
    const TKEffect shown = SetSliderValue(session_, &gain_, 2.5, false);
    EXPECT_FALSE(shown.changed || shown.opensUndo || shown.rerenders);
    EXPECT_STREQ(gain_.valueText, "2.50");
    EXPECT_EQ(gain_.position, 163840);
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);

    const TKEffect written = SetSliderValue(session_, &gain_, 12, true);
    EXPECT_TRUE(written.changed && written.opensUndo && written.rerenders);
    EXPECT_EQ(Live().hsl.master.gain, 12.0f); // beyond the track
    EXPECT_EQ(gain_.position, gain_.trackMax);
    EXPECT_EQ(Live().hslOn, 1u);
    EXPECT_FALSE(SetSliderValue(session_, &gain_, 1, true).opensUndo); // of the same control
    EXPECT_EQ(Steps(), 1u);
    EXPECT_FALSE(SetSliderValue(session_, &gain_, std::nan(""), true).opensUndo);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    OpenEdit(session_, &saturation_);
    TKSetEditText(&saturation_, "50");
    (void)SetSliderValue(session_, &gain_, 3, true);
    EXPECT_EQ(Live().hsl.master.saturation, 50.0f); // committed first
}

TEST_F(TKControlsTest, ASliderThatIsForgottenLeavesNoTrace)
{
    const uint32_t count = session_->controls.sliderCount;
    OpenEdit(session_, &gain_);
    session_->controls.lastTouched = &gain_;
    TKForgetSlider(session_, &gain_);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(session_->controls.lastTouched, nullptr);
    ASSERT_EQ(session_->controls.sliderCount, count - 1);
    for (uint32_t i = 0; i < count - 1; ++i) EXPECT_NE(session_->controls.slider[i], &gain_);
    const uint32_t redraws = windows_.Count("slider RGB Gain");
    UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
    EXPECT_EQ(windows_.Count("slider RGB Gain"), redraws);
    OpenEdit(session_, &saturation_);
    TKForgetSlider(session_, &gain_); // once more, and while another's edit is open
    EXPECT_EQ(session_->controls.openSlider, &saturation_);
    EXPECT_EQ(session_->controls.sliderCount, count - 1);
}

TEST_F(TKControlsTest, ARingWithoutMemoryOpensNoStep)
{
    UndoDispose(session_->undoRing);
    BPFailAllocation(2); // the slots
    session_->undoRing = UndoCreate(5, Live());
    BPFailAllocation(0);
    ASSERT_NE(session_->undoRing, nullptr);
    TKCheckbox checkbox;
    TKCreateCheckbox(&checkbox, &Live(), offsetof(OCSettings, hslOn), tkSectionNone, "HSL", "hsl");
    const TKEffect clicked = TKCheckboxClick(session_, &checkbox, !TKCheckboxIsOn(checkbox));
    EXPECT_TRUE(clicked.changed);
    EXPECT_FALSE(clicked.opensUndo);
    const TKEffect dragged = TKSliderDrag(session_, &gain_, 0);
    EXPECT_TRUE(dragged.changed);
    EXPECT_FALSE(dragged.opensUndo);
}

TEST_F(TKControlsTest, AClickWithControlRestoresTheDefaultInOneStep)
{
    (void)TKSliderDrag(session_, &saturation_, 0);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    const uint32_t steps = Steps();
    const TKEffect effect = TKSliderValueClick(session_, &saturation_, bpControlKey);
    EXPECT_TRUE(effect.changed && effect.opensUndo);
    EXPECT_EQ(Live().hsl.master.saturation, 100.0f);
    EXPECT_EQ(Steps(), steps + 1);
    EXPECT_FALSE(TKSliderValueClick(session_, &saturation_, bpControlKey).changed);
    EXPECT_EQ(Steps(), steps + 1);
    EXPECT_FALSE(TKSliderValueClick(session_, &saturation_, 0).changed);
    EXPECT_TRUE(saturation_.editing);
}

TEST_F(TKControlsTest, AnUnboundSliderIsAnAssertion)
{
    SliderVars slider = {};
    EXPECT_EQ(TKRegisterSlider(session_, &slider), bpParamErr);
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("dataBase + dataOffset != 0"), std::string::npos);
}

TEST_F(TKControlsTest, GesturesOnControlsWithoutARecordChangeNothing)
{
    SliderVars slider = gain_;
    slider.dataBase = nullptr;
    EXPECT_EQ(GetSliderValue(slider), 0.0);
    EXPECT_FALSE(SetFieldFromTrack(slider, 70000));
    EXPECT_FALSE(TKSliderDrag(session_, &slider, 70000).changed);
    EXPECT_FALSE(TKSliderWheel(session_, &slider, 120).changed);
    TKPopup popup;
    TKCreatePopup(&popup, nullptr, 0, tkSectionNone, "Nowhere", "nowhere", "A|B");
    EXPECT_EQ(TKPopupValue(popup), 0);
    EXPECT_FALSE(TKPopupSelect(session_, &popup, 1).changed);
    EXPECT_EQ(session_->undoRing->undoHead, 0u);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKControlsTest, AThumbStandsAtThePixelThatBroughtItThere)
{
    for (const int32_t length : {1, 2, 58, 250}) {
        for (int32_t pixel = 0; pixel <= length; ++pixel) {
            TKSliderHold hold;
            (void)TKPressTrack(session_, &gain_, &hold, pixel, length, 0);
            ASSERT_EQ(TKThumbPixel(gain_, length), pixel) << length;
        }
    }
    EXPECT_EQ(TKThumbPixel(gain_, 0), 0);
    EXPECT_EQ(TKThumbPixel(gain_, -1), 0);
}

TEST_F(TKControlsTest, WholeNumberSlidersHaveNoDecimals)
{
    int32_t field = 5;
    SliderVars slider = WholeNumberSlider(&field);
    EXPECT_STREQ(slider.valueText, "5");
    EXPECT_EQ(slider.trackMax, 10);
    (void)TKSliderDrag(session_, &slider, 7);
    EXPECT_EQ(field, 7);
    (void)TKSliderWheel(session_, &slider, -240);
    EXPECT_EQ(field, 5);
    (void)Type(&slider, "15.6");
    EXPECT_EQ(field, 16);
    EXPECT_EQ(slider.position, 10);
    EXPECT_STREQ(slider.valueText, "16");
}

TEST_F(TKControlsTest, AChangeProcedureSeesTheNewValue)
{
    static double seen;
    seen = 0;
    gain_.changeProc = [](TKSession* session, SliderVars*, double value, bool) {
        seen = value;
        session->liveSettings.hsl.master.gamma = 2; // a linked field
    };
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    EXPECT_EQ(seen, 2.0);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Live().hsl.master.gamma, 1.0f);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Live().hsl.master.gamma, 2.0f);
}

constexpr TKSliderRow kSound[] = {
    {.label = "A", .objectName = "a", .offset = 4, .low = 0, .high = 1, .entryLow = 0, .entryHigh = 2, .neutral = 0.5}};
static_assert(TKSlidersAreSound(kSound, 8));
static_assert(!TKSlidersAreSound(kSound, 7));

} // namespace
