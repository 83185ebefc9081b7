// What gestures do to the record, the undo ring and the picture.
#include "tests/support/TKTestSession.h"

#include <cfloat>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>

namespace {

class TKControlsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        windows_.calls.clear();
        renders_ = session_->renderCount;
    }

    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    OCSettings& Live() { return session_->liveSettings; }
    TKEffect Type(SliderVars* slider, const char* text)
    {
        OpenEdit(session_, slider);
        TKSetEditText(slider, text);
        return TKEditKey(session_, slider, kTKKeyReturn, 0);
    }

    uint32_t renders_ = 0;
};

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

TEST_F(TKControlsTest, AnUndoStepRedrawsOnlyWhatChanged)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    windows_.calls.clear();
    renders_ = session_->renderCount;
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    EXPECT_EQ(windows_.Count("slider Saturation"), 0u);
    EXPECT_EQ(windows_.Count("refreshResult"), 1u);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_STREQ(gain_.valueText, "1.00");
}

TEST_F(TKControlsTest, WithoutMemoryForTheCopyEverythingIsRedrawn)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    windows_.calls.clear();
    BPFailAllocation(1);
    EXPECT_TRUE(TKUndoStepBack(session_));
    BPFailAllocation(0);
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    EXPECT_EQ(windows_.Count("slider Saturation"), 1u);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
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

TEST_F(TKControlsTest, ADragWhoseImageWasPutOffRendersWhenTheButtonIsUp)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    session_->controls.updatePending = true;
    TKTick(session_);
    EXPECT_EQ(Renders(), 2u);
    TKTick(session_);
    EXPECT_EQ(Renders(), 2u);
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

// --- Typing -----------------------------------------------------------------------------------------------------------

TEST_F(TKControlsTest, ATypedValueBeyondTheTrackIsHonoured)
{
    EXPECT_TRUE(Type(&gain_, "20").changed);
    EXPECT_EQ(Live().hsl.master.gain, 20.0f);
    EXPECT_EQ(gain_.position, 3 * 65536);
    EXPECT_STREQ(gain_.valueText, "20.00");
    EXPECT_EQ(Live().hsl.master.on, 1u);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    EXPECT_TRUE(Type(&gain_, "25").changed);
    EXPECT_EQ(Live().hsl.master.gain, 20.0f);
    (void)Type(&saturation_, "-5000");
    EXPECT_EQ(Live().hsl.master.saturation, -1000.0f);
}

TEST_F(TKControlsTest, TextsAreReadAsNumbersOfTheCLocale)
{
    struct Case {
        const char* text;
        float value;
    };
    for (const Case& c : {Case{" 2.5", 2.5f}, Case{"+2.5", 2.5f}, Case{"2.5abc", 2.5f}, Case{"1,9", 1.0f},
                          Case{".5", 0.5f}, Case{"-3", 0.0f}, Case{"1e1", 10.0f}, Case{"1e999", 20.0f},
                          Case{"-1e999", 0.0f}, Case{"0x10", 0.0f}, Case{"inf", 20.0f}, Case{"00000002", 2.0f}}) {
        Live().hsl.master.gain = 7;
        (void)Type(&gain_, c.text);
        EXPECT_EQ(Live().hsl.master.gain, c.value) << '"' << c.text << '"';
    }
}

TEST_F(TKControlsTest, ATextThatIsNoNumberLeavesTheValue)
{
    for (const char* text : {"", " ", "-", ".", ",", "abc", "nan", "+-3", "--3"}) {
        Live().hsl.master.gain = 7;
        const uint32_t steps = Steps();
        EXPECT_FALSE(Type(&gain_, text).changed) << text;
        EXPECT_EQ(Live().hsl.master.gain, 7.0f) << text;
        EXPECT_EQ(Steps(), steps) << text;
        EXPECT_STREQ(gain_.valueText, "7.00");
    }
}

TEST_F(TKControlsTest, AnUntouchedTextKeepsTheFieldToTheLastBit)
{
    Live().hsl.master.gain = 1.23456789f;
    OpenEdit(session_, &gain_);
    EXPECT_STREQ(gain_.editText, "1.23");
    EXPECT_FALSE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Live().hsl.master.gain, 1.23456789f);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(TKControlsTest, TypingIsAStepOfItsOwn)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    EXPECT_TRUE(Type(&gain_, "2").opensUndo);
    EXPECT_TRUE(Type(&gain_, "3").opensUndo);
    EXPECT_EQ(Steps(), 3u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
}

TEST_F(TKControlsTest, OnlyOneEditIsOpenAndTheNextGestureCommitsIt)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    OpenEdit(session_, &saturation_);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    EXPECT_FALSE(gain_.editing);
    EXPECT_TRUE(saturation_.editing);
    TKSetEditText(&saturation_, "50");
    (void)TKSliderDrag(session_, &redGain_, 0);
    EXPECT_EQ(Live().hsl.master.saturation, 50.0f);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(windows_.Count("open Saturation"), 1u);
    EXPECT_EQ(windows_.Count("close Saturation"), 1u);
}

TEST_F(TKControlsTest, EscapeAndUndoCloseTheEditWithoutEffect)
{
    (void)TKSliderDrag(session_, &saturation_, 0);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    EXPECT_FALSE(TKEditKey(session_, &gain_, kTKKeyEscape, 0).changed);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(Live().hsl.master.saturation, 100.0f);
}

TEST_F(TKControlsTest, TabWalksTheChainInBothDirectionsAndAround)
{
    OpenEdit(session_, &redGain_);
    TKSetEditText(&redGain_, "0.5");
    EXPECT_TRUE(TKEditKey(session_, &redGain_, kTKKeyTab, 0).changed);
    EXPECT_EQ(Live().rgb.highlights.channel[0].gain, 0.5f);
    EXPECT_EQ(session_->controls.openSlider, &gain_); // from the last to the first
    (void)TKEditKey(session_, &gain_, kTKKeyTab, bpShiftKey);
    EXPECT_EQ(session_->controls.openSlider, &redGain_);
    (void)TKEditKey(session_, &redGain_, kTKKeyTab, bpShiftKey);
    EXPECT_EQ(session_->controls.openSlider, &saturation_);
    (void)TKEditKey(session_, &gain_, kTKKeyTab, 0); // not the one that is open
    EXPECT_EQ(session_->controls.openSlider, &saturation_);
    (void)TKEditKey(session_, &saturation_, 'A', 0);
    EXPECT_EQ(session_->controls.openSlider, &saturation_);
}

TEST_F(TKControlsTest, TheEditLetsInNumbersOnly)
{
    const std::string legal = "0123456789-.,\b";
    for (uint32_t c = 0; c < 1000; ++c)
        EXPECT_EQ(TKEditAcceptsCharacter(c), c != 0 && c < 128 && legal.find(static_cast<char>(c)) != std::string::npos)
            << c;
    EXPECT_EQ(TKEditKeyAction(kTKKeyLeft, 0), tkEditPass);
}

TEST_F(TKControlsTest, ALongTextIsCut)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, std::string(5000, '1').c_str());
    EXPECT_EQ(std::strlen(gain_.editText), sizeof gain_.editText - 1);
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Live().hsl.master.gain, 20.0f);
}

// --- Wheel and reset --------------------------------------------------------------------------------------------------

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

// --- Caps lock --------------------------------------------------------------------------------------------------------

TEST_F(TKControlsTest, WithCapsLockValuesAreStoredAndThePictureWaitsForOneUpdate)
{
    gBPFake.modifierWord = bpCapsLock;
    (void)TKSliderDrag(session_, &gain_, 0);
    (void)TKSliderDrag(session_, &saturation_, 0);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_TRUE(session_->updateSuspended);
    EXPECT_EQ(windows_.Count("refreshDisplays"), 2u);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF0A03C8u);
    TKTick(session_);
    TKTick(session_);
    EXPECT_EQ(Renders(), 0u);
    gBPFake.modifierWord = 0;
    TKTick(session_);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF000000u);
    for (int i = 0; i < 5; ++i) TKTick(session_);
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(TKControlsTest, AChangeAfterCapsLockBringsAllOfItIn)
{
    gBPFake.modifierWord = bpCapsLock;
    (void)TKSliderDrag(session_, &gain_, 0);
    gBPFake.modifierWord = 0;
    (void)TKSliderDrag(session_, &saturation_, 0);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(session_->updateSuspended);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF000000u);
    TKTick(session_);
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(TKControlsTest, ARenderInProgressIsNotEntered)
{
    session_->renderInProgress = true;
    (void)TKSliderDrag(session_, &gain_, 0);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    session_->renderInProgress = false;
}

// --- From the record to the controls ----------------------------------------------------------------------------------

TEST_F(TKControlsTest, HostileValuesArePinnedShownAndLeftAlone)
{
    struct Case {
        float value;
        int32_t position;
        const char* text;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const Case& c : {Case{INFINITY, 3 * 65536, "inf"}, Case{-INFINITY, 0, "-inf"}, Case{nan, 0, "nan"},
                          Case{-nan, 0, "-nan"}, Case{FLT_MAX, 3 * 65536, "340282346638528859811704183484516925440.00"},
                          Case{-FLT_MAX, 0, "-340282346638528859811704183484516925440.00"}, Case{-0.0f, 0, "-0.00"},
                          Case{1e-40f, 0, "0.00"}, Case{3e4f, 3 * 65536, "30000.00"}, Case{-0.001f, 0, "-0.00"},
                          Case{2.345f, 153682, "2.35"}, Case{0.125f, 8192, "0.12"}}) {
        Live().hsl.master.gain = c.value;
        const OCSettings before = Live();
        EXPECT_GE(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true), 3u);
        EXPECT_EQ(gain_.position, c.position) << c.text;
        EXPECT_STREQ(gain_.valueText, c.text);
        EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0) << c.text;
        char printed[64];
        std::snprintf(printed, sizeof printed, "%1.2f", static_cast<double>(c.value));
        EXPECT_STREQ(gain_.valueText, printed);
    }
    // Gestures on top of such values end on the track again.
    Live().hsl.master.gain = nan;
    UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
    (void)TKSliderWheel(session_, &gain_, 120);
    EXPECT_EQ(Live().hsl.master.gain, 164 / 65536.0f);
    Live().hsl.master.gain = nan;
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 65536).changed);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    Live().hsl.master.gain = INFINITY;
    OpenEdit(session_, &gain_);
    EXPECT_FALSE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Live().hsl.master.gain, INFINITY);
}

TEST_F(TKControlsTest, ArbitraryRecordsStayBitIdentical)
{
    std::mt19937 random(3);
    for (int run = 0; run < 200; ++run) {
        auto* bytes = reinterpret_cast<uint8_t*>(&Live());
        for (size_t i = 0; i < sizeof(OCSettings); ++i) bytes[i] = static_cast<uint8_t>(random());
        const OCSettings before = Live();
        UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, false);
        ASSERT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
        for (const SliderVars* slider : {&gain_, &saturation_, &redGain_}) {
            ASSERT_GE(slider->position, slider->trackMin);
            ASSERT_LE(slider->position, slider->trackMax);
            ASSERT_GE(TKThumbPixel(*slider, 250), 0);
            ASSERT_LE(TKThumbPixel(*slider, 250), 250);
        }
    }
}

TEST_F(TKControlsTest, MasksSelectTheGroups)
{
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetHSL, 0, nullptr, false), 2u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetRGB, 0, nullptr, false), 0u); // master
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetRGB << 1, 0, nullptr, false), 1u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), 0, kOCResetAll, nullptr, false), 0u);
    EXPECT_EQ(windows_.switches, 0u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, false), 3u);
    EXPECT_EQ(windows_.switches, 1u);
}

TEST_F(TKControlsTest, WithAPreviousRecordOnlyDifferencesAreShown)
{
    OCSettings previous = Live();
    Live().hsl.master.saturation = 50;
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, &previous, false), 1u);
    EXPECT_STREQ(saturation_.valueText, "50.00");
    EXPECT_EQ(windows_.switches, 0u);
    previous = Live();
    Live().hslOn = 1;
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, &previous, false), 0u);
    EXPECT_EQ(windows_.switches, 1u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, &previous, true), 3u);
    previous.hsl.master.gain = -0.0f;
    Live().hsl.master.gain = 0.0f; // equal as values
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, &previous, false), 0u);
}

TEST_F(TKControlsTest, ASliderOfAnotherRecordIsNotTouched)
{
    float elsewhere[2] = {7, 7};
    SliderVars other;
    TKCreateSlider(&other,
                   {.label = "Other",
                    .objectName = "other",
                    .offset = 4,
                    .low = 0,
                    .high = 1,
                    .entryLow = 0,
                    .entryHigh = 1,
                    .neutral = 0},
                   elsewhere, 0, nullptr, tkSectionNone);
    ASSERT_EQ(TKRegisterSlider(session_, &other), bpNoErr);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true), 3u);
    EXPECT_STREQ(other.valueText, "7.00");
}

TEST_F(TKControlsTest, AnUnboundSliderIsAnAssertion)
{
    SliderVars slider = {};
    EXPECT_EQ(TKRegisterSlider(session_, &slider), bpParamErr);
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("dataBase + dataOffset != 0"), std::string::npos);
}

TEST_F(TKControlsTest, ACheckboxWithoutAWordIsAnAssertionAndStaysOff)
{
    TKCheckbox checkbox;
    TKCreateCheckbox(&checkbox, nullptr, 0, tkSectionNone, "Nowhere", "nowhere");
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("dataOffset != 0"), std::string::npos);
    EXPECT_FALSE(TKCheckboxIsOn(checkbox));
    EXPECT_FALSE(TKCheckboxClick(session_, &checkbox, true).changed);
    EXPECT_FALSE(TKCheckboxIsOn(checkbox));
    EXPECT_EQ(Renders(), 0u);
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

// --- Small things -----------------------------------------------------------------------------------------------------

TEST_F(TKControlsTest, SwitchesAreSetInnermostFirstAndOnlyWhereNeeded)
{
    Live().hslOn = 77; // on already
    EXPECT_TRUE(MarkSectionActive(session_, tkSectionHSLShadows, true, true));
    EXPECT_EQ(Live().hsl.shadows.on, 1u);
    EXPECT_EQ(Live().hslOn, 77u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_FALSE(MarkSectionActive(session_, tkSectionHSLShadows, true, true));
    EXPECT_TRUE(MarkSectionActive(session_, tkSectionHSLShadows, false, false));
    EXPECT_EQ(Live().hsl.shadows.on, 0u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_FALSE(MarkSectionActive(session_, tkSectionNone, true, true));
}

/// The word at a byte offset of a record.
uint32_t WordAt(const OCSettings& settings, uint32_t offset)
{
    uint32_t word;
    std::memcpy(&word, reinterpret_cast<const uint8_t*>(&settings) + offset, 4);
    return word;
}

TEST_F(TKControlsTest, EverySectionMarksWhatTheEngineAsksFor)
{
    for (const TKSection& section : TKSections()) {
        Live() = TKNeutralSettings();
        for (uint32_t i = 0; i < section.switchCount; ++i)
            std::memset(reinterpret_cast<uint8_t*>(&Live()) + section.switchOffset[i], 0, 4);
        EXPECT_TRUE(MarkSectionActive(session_, section.id, true, true)) << section.name;
        OCSettings reset = Live();
        OCResetSettings(&reset, section.toolMask, section.curveMask, kOCResetDefaults);
        // Its masks reset its own switch, except where neighbours share it or the host's wish decides.
        const bool shared = section.id >= tkSectionCurveMaster && section.id <= tkSectionCurveLightness;
        EXPECT_EQ(WordAt(reset, section.switchOffset[0]), shared || section.id == tkSectionLimiter ? 1u : 0u)
            << section.name;
        // No switch above it goes off.
        for (uint32_t i = 1; i < section.switchCount; ++i)
            EXPECT_EQ(WordAt(reset, section.switchOffset[i]), 1u) << section.name;
        // With all its switches on, what it holds survives the neutralising of what is off.
        OCSettings marked = Live();
        std::memset(reinterpret_cast<uint8_t*>(&marked) + section.blockOffset + 8, 0x3e, 4);
        const OCSettings before = marked;
        OCNeutraliseSettings(&marked);
        EXPECT_EQ(WordAt(marked, section.blockOffset + 8), WordAt(before, section.blockOffset + 8)) << section.name;
    }
}

TEST_F(TKControlsTest, ThumbAndPixelAgree)
{
    for (const int32_t length : {1, 2, 58, 250, 4000}) {
        for (int32_t pixel = 0; pixel <= length; ++pixel) {
            gain_.position = TKPositionAtPixel(gain_, pixel, length);
            ASSERT_EQ(TKThumbPixel(gain_, length), pixel) << length;
        }
        EXPECT_EQ(TKPositionAtPixel(gain_, -5, length), gain_.trackMin);
        EXPECT_EQ(TKPositionAtPixel(gain_, INT32_MAX, length), gain_.trackMax);
    }
    EXPECT_EQ(TKPositionAtPixel(gain_, 5, 0), gain_.trackMin);
    EXPECT_EQ(TKThumbPixel(gain_, -1), 0);
}

TEST_F(TKControlsTest, WholeNumberSlidersHaveNoDecimals)
{
    int32_t field = 5;
    SliderVars slider;
    TKCreateSlider(&slider,
                   {.label = "Count",
                    .objectName = "count",
                    .offset = 0,
                    .low = -10,
                    .high = 10,
                    .entryLow = -20,
                    .entryHigh = 20,
                    .neutral = 0,
                    .flags = 0},
                   &field, 0, nullptr, tkSectionNone);
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

TEST_F(TKControlsTest, NumbersDoNotFollowTheLocaleOfTheProcess)
{
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "C.UTF-8"))
        GTEST_SKIP() << "no other locale is installed";
    (void)Type(&gain_, "2.5");
    EXPECT_EQ(Live().hsl.master.gain, 2.5f);
    EXPECT_STREQ(gain_.valueText, "2.50");
    std::setlocale(LC_ALL, "C");
}

TEST_F(TKControlsTest, ACheckboxWritesOneOrZeroInAStepOfItsOwn)
{
    TKCheckbox checkbox = {.dataBase = reinterpret_cast<uint8_t*>(&Live()),
                           .dataOffset = offsetof(OCSettings, primaryOn),
                           .section = tkSectionNone,
                           .repaint = true,
                           .label = "HSL",
                           .objectName = "hsl"};
    Live().primaryOn = 9;
    EXPECT_TRUE(TKCheckboxIsOn(checkbox));
    EXPECT_FALSE(TKCheckboxClick(session_, &checkbox, true).changed);
    EXPECT_EQ(Live().primaryOn, 9u);
    const TKEffect effect = TKCheckboxClick(session_, &checkbox, false);
    EXPECT_TRUE(effect.changed && effect.opensUndo && effect.rerenders);
    EXPECT_EQ(Live().primaryOn, 0u);
    EXPECT_EQ(Renders(), 1u);
    (void)TKCheckboxClick(session_, &checkbox, true);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(Steps(), 2u);
    checkbox.section = tkSectionRGBMaster;
    (void)TKCheckboxClick(session_, &checkbox, false);
    EXPECT_EQ(Live().rgbOn, 1u);
}

TEST_F(TKControlsTest, APopupStoresWhatItsProcedureReturns)
{
    TKPopup popup = {.dataBase = reinterpret_cast<uint8_t*>(&Live()),
                     .dataOffset = offsetof(OCSettings, limiter.limiter_clip_method),
                     .section = tkSectionNone,
                     .repaint = true,
                     .changeProc = nullptr,
                     .label = "Limit Method",
                     .objectName = "limit_method",
                     .items = "Reduce Saturation|Reduce Luma|Smart Limit"};
    Live().limiter.limiter_clip_method = 1;
    EXPECT_FALSE(TKPopupSelect(session_, &popup, 0).changed);
    EXPECT_TRUE(TKPopupSelect(session_, &popup, 2).changed);
    EXPECT_EQ(Live().limiter.limiter_clip_method, 3);
    popup.changeProc = [](TKSession*, const TKPopup*, int32_t oldValue, int32_t newValue, bool repaint) {
        EXPECT_EQ(oldValue, 3);
        EXPECT_EQ(newValue, 1);
        EXPECT_TRUE(repaint);
        return 2;
    };
    EXPECT_TRUE(TKPopupSelect(session_, &popup, 0).changed);
    EXPECT_EQ(Live().limiter.limiter_clip_method, 2);
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
