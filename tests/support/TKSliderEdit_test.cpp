// Typing into a slider.
#include "tests/support/TKControlsTest.h"

#include <clocale>

namespace {

using TKSliderEditTest = TKControlsTest;

TEST_F(TKSliderEditTest, ATypedValueBeyondTheTrackIsHonoured)
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

TEST_F(TKSliderEditTest, TextsAreReadAsNumbersOfTheCLocale)
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

TEST_F(TKSliderEditTest, ATextThatIsNoNumberLeavesTheValue)
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

TEST_F(TKSliderEditTest, AnUntouchedTextKeepsTheFieldToTheLastBit)
{
    Live().hsl.master.gain = 1.23456789f;
    OpenEdit(session_, &gain_);
    EXPECT_STREQ(gain_.editText, "1.23");
    EXPECT_FALSE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Live().hsl.master.gain, 1.23456789f);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(TKSliderEditTest, TypingIsAStepOfItsOwn)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    EXPECT_TRUE(Type(&gain_, "2").opensUndo);
    EXPECT_TRUE(Type(&gain_, "3").opensUndo);
    EXPECT_EQ(Steps(), 3u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
}

TEST_F(TKSliderEditTest, OnlyOneEditIsOpenAndTheNextGestureCommitsIt)
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

TEST_F(TKSliderEditTest, EscapeAndUndoCloseTheEditWithoutEffect)
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

TEST_F(TKSliderEditTest, TabWalksTheChainInBothDirectionsAndAround)
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

TEST_F(TKSliderEditTest, TheEditLetsInNumbersOnly)
{
    const std::string legal = "0123456789-.,\b";
    for (uint32_t c = 0; c < 1000; ++c)
        EXPECT_EQ(TKEditAcceptsCharacter(c), c != 0 && c < 128 && legal.find(static_cast<char>(c)) != std::string::npos)
            << c;
    EXPECT_EQ(TKEditKeyAction(kTKKeyLeft, 0), tkEditPass);
}

TEST_F(TKSliderEditTest, ALongTextIsCut)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, std::string(5000, '1').c_str());
    EXPECT_EQ(std::strlen(gain_.editText), sizeof gain_.editText - 1);
    EXPECT_TRUE(CommitOpenEdit(session_, true).changed);
    EXPECT_EQ(Live().hsl.master.gain, 20.0f);
}

TEST_F(TKSliderEditTest, NumbersDoNotFollowTheLocaleOfTheProcess)
{
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "C.UTF-8"))
        GTEST_SKIP() << "no other locale is installed";
    (void)Type(&gain_, "2.5");
    EXPECT_EQ(Live().hsl.master.gain, 2.5f);
    EXPECT_STREQ(gain_.valueText, "2.50");
    std::setlocale(LC_ALL, "C");
}

TEST_F(TKSliderEditTest, AWheelTurnAfterATypedValueJoinsItsStep)
{
    (void)Type(&gain_, "2");
    EXPECT_EQ(Steps(), 1u);
    (void)TKSliderWheel(session_, &gain_, 120); // the same control as last time
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(IsUntouched());
}

} // namespace
