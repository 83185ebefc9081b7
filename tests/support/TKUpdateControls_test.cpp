// From the record to the controls, and from a change to the screen.
#include "tests/support/TKControlsTest.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <random>

namespace {

using TKUpdateControlsTest = TKControlsTest;

TEST_F(TKUpdateControlsTest, AnUndoStepRedrawsOnlyWhatChanged)
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

TEST_F(TKUpdateControlsTest, WithoutMemoryForTheCopyEverythingIsRedrawn)
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

TEST_F(TKUpdateControlsTest, AChangeInTheMiddleOfARenderIsMadeUpByATickWhenTheButtonIsUp)
{
    session_->renderInProgress = true;
    (void)TKSliderDrag(session_, &gain_, 0);
    session_->renderInProgress = false;
    EXPECT_EQ(Renders(), 0u);
    gBPFake.mouseButtonDown = true;
    TKTick(session_);
    EXPECT_EQ(Renders(), 0u);
    gBPFake.mouseButtonDown = false;
    TKTick(session_);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF000000u); // the newest value
    TKTick(session_);
    EXPECT_EQ(Renders(), 1u);

    // The next change brings it in as well, and caps lock takes it over.
    session_->renderInProgress = true;
    RecomputeAndRefresh(session_, true);
    session_->renderInProgress = false;
    (void)TKSliderDrag(session_, &gain_, 65536);
    EXPECT_EQ(Renders(), 2u);
    session_->renderInProgress = true;
    RecomputeAndRefresh(session_, true);
    session_->renderInProgress = false;
    gBPFake.modifierWord = bpCapsLock;
    TKTick(session_);
    EXPECT_FALSE(session_->controls.updatePending);
    EXPECT_TRUE(session_->updateSuspended);
    EXPECT_EQ(Renders(), 2u);
    gBPFake.modifierWord = 0;
    TKTick(session_);
    EXPECT_EQ(Renders(), 3u);
}

TEST_F(TKUpdateControlsTest, WithCapsLockValuesAreStoredAndThePictureWaitsForOneUpdate)
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

TEST_F(TKUpdateControlsTest, AChangeAfterCapsLockBringsAllOfItIn)
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

TEST_F(TKUpdateControlsTest, ARenderInProgressIsNotEntered)
{
    session_->renderInProgress = true;
    (void)TKSliderDrag(session_, &gain_, 0);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    session_->renderInProgress = false;
}

TEST_F(TKUpdateControlsTest, HostileValuesArePinnedShownAndLeftAlone)
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

TEST_F(TKUpdateControlsTest, ArbitraryRecordsStayBitIdentical)
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

TEST_F(TKUpdateControlsTest, MasksSelectTheGroups)
{
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetHSL, 0, nullptr, false), 2u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetRGB, 0, nullptr, false), 0u); // master
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetRGB << 1, 0, nullptr, false), 1u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), 0, kOCResetAll, nullptr, false), 0u);
    EXPECT_EQ(windows_.switches, 0u);
    EXPECT_EQ(UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, false), 3u);
    EXPECT_EQ(windows_.switches, 1u);
}

TEST_F(TKUpdateControlsTest, WithAPreviousRecordOnlyDifferencesAreShown)
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

TEST_F(TKUpdateControlsTest, ASliderOfAnotherRecordIsNotTouched)
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

TEST_F(TKUpdateControlsTest, ShowingARecordCallsNoChangeProcedureOpensNoStepAndRendersNothing)
{
    for (SliderVars* slider : {&gain_, &saturation_, &redGain_})
        slider->changeProc = [](TKSession*, SliderVars* self, double, bool) { ADD_FAILURE() << self->label; };
    OCSettings other = Live();
    other.hsl.master.gain = 2;
    other.hsl.master.saturation = 10;
    const OCSettings before = Live();
    EXPECT_EQ(UpdateAllControls(session_, &other, kOCResetAll, kOCResetAll, nullptr, true), 3u);
    EXPECT_STREQ(gain_.valueText, "2.00"); // of the record that was given
    EXPECT_STREQ(saturation_.valueText, "10.00");
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Renders(), 0u);
}

} // namespace
