// Checkboxes and popups.
#include "tests/support/TKControlsTest.h"

namespace {

using TKCheckboxPopupTest = TKControlsTest;

TEST_F(TKCheckboxPopupTest, ACheckboxWithoutAWordIsAnAssertionAndStaysOff)
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

TEST_F(TKCheckboxPopupTest, ACheckboxWritesOneOrZeroInAStepOfItsOwn)
{
    TKCheckbox checkbox = {.dataBase = reinterpret_cast<uint8_t*>(&Live()),
                           .dataOffset = offsetof(OCSettings, primaryOn),
                           .mask = 0xFFFFFFFF,
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

TEST_F(TKCheckboxPopupTest, APopupStoresWhatItsProcedureReturns)
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

TEST_F(TKCheckboxPopupTest, ACheckboxReadsTheBitsOfItsMask)
{
    TKCheckbox checkbox;
    TKCreateCheckbox(&checkbox, &Live(), offsetof(OCSettings, secondary[0].sample[0].on), tkSectionSecondaryA, "Sample",
                     "sample");
    uint32_t& word = Live().secondary[0].sample[0].on;
    word = 0x100;
    EXPECT_TRUE(TKCheckboxIsOn(checkbox));
    checkbox.mask = 0xFF;
    EXPECT_FALSE(TKCheckboxIsOn(checkbox)); // as the engine has it
    EXPECT_TRUE(TKCheckboxClick(session_, &checkbox, true).changed);
    EXPECT_EQ(word, 1u);
    word = 0x101;
    EXPECT_TRUE(TKCheckboxIsOn(checkbox));
    EXPECT_FALSE(TKCheckboxClick(session_, &checkbox, true).changed);
    EXPECT_TRUE(TKCheckboxClick(session_, &checkbox, false).changed);
    EXPECT_EQ(word, 0u);
}

TEST_F(TKCheckboxPopupTest, WhatAProcedureOfAPopupLinksIsUndoneWithIt)
{
    TKPopup popup;
    TKCreatePopup(&popup, &Live(), offsetof(OCSettings, limiter.limiter_clip_method), tkSectionNone, "Limit Method",
                  "limit_method", "Reduce Saturation|Reduce Luma|Smart Limit");
    Live().limiter.limiter_clip_method = 1;
    Live().limiter.limiter_luma_max = 100;
    popup.changeProc = [](TKSession* session, const TKPopup*, int32_t, int32_t newValue, bool) {
        session->liveSettings.limiter.limiter_luma_max = 90;
        return newValue;
    };
    NowIsBefore();
    const TKEffect chosen = TKPopupSelect(session_, &popup, 1);
    EXPECT_TRUE(chosen.changed && chosen.opensUndo && chosen.rerenders);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(IsUntouched());
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Live().limiter.limiter_clip_method, 2);
    EXPECT_EQ(Live().limiter.limiter_luma_max, 90.0f);

    // A procedure that keeps the value but writes a linked field has changed the grade.
    popup.changeProc = [](TKSession* session, const TKPopup*, int32_t oldValue, int32_t, bool) {
        session->liveSettings.limiter.limiter_luma_max = 80;
        return oldValue;
    };
    EXPECT_TRUE(TKPopupSelect(session_, &popup, 2).changed);
    EXPECT_EQ(Live().limiter.limiter_clip_method, 2);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Live().limiter.limiter_luma_max, 90.0f);

    // One that keeps everything has not.
    popup.changeProc = [](TKSession*, const TKPopup*, int32_t oldValue, int32_t, bool) { return oldValue; };
    const uint32_t steps = Steps();
    EXPECT_FALSE(TKPopupSelect(session_, &popup, 2).changed);
    EXPECT_EQ(Steps(), steps);
    EXPECT_NE(session_->undoRing->undoHead, session_->undoRing->undoTop); // what can be redone stays
}

TEST_F(TKCheckboxPopupTest, AProcedureKnowsItsPopupByItsReference)
{
    TKPopup popup;
    TKCreatePopup(&popup, &Live(), offsetof(OCSettings, limiter.limiter_clip_method), tkSectionLimiter, "Limit Method",
                  "limit_method", "A|B|C");
    Live().limiter.limiter_clip_method = 1;
    popup.reference = 3;
    popup.changeProc = [](TKSession*, const TKPopup* self, int32_t, int32_t, bool) {
        return static_cast<int32_t>(self->reference);
    };
    EXPECT_TRUE(TKPopupSelect(session_, &popup, 0).changed);
    EXPECT_EQ(TKPopupValue(popup), 3);
    EXPECT_EQ(Live().limiter_enable, 1u); // its section goes on
}

} // namespace
