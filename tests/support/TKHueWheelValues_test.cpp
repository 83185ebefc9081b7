// The hue offset wheel: sliders, vectors, keys, menu, and records from outside.
#include "tests/support/TKHueWheelTest.h"

namespace {

TEST_F(TKHueWheelTest, TheSlidersMoveTheWheel)
{
    (void)TKSliderDrag(session_, &wheel_.hueSlider, 193 * 65536);
    (void)TKSliderDrag(session_, &wheel_.strengthSlider, 32768);
    EXPECT_EQ(Angle(), 193.0f);
    EXPECT_EQ(Strength(), 0.5f);
    EXPECT_EQ(wheel_.handleX, 0);
    EXPECT_EQ(wheel_.handleY, 37);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    EXPECT_GE(redraws_, 2);
    EXPECT_EQ(wheel_.hueSlider.flags, 7u);
    EXPECT_EQ(wheel_.strengthSlider.typeMax, 65536);
    EXPECT_EQ(wheel_.hueSlider.typeMax, 360 * 65536);
}

TEST_F(TKHueWheelTest, ASliderWithoutItsWheelIsAProgrammersErrorAndSafe)
{
    BPFakeCaptureLog();
    wheel_.hueSlider.reference = nullptr;
    (void)TKSliderDrag(session_, &wheel_.hueSlider, 90 * 65536);
    EXPECT_EQ(Angle(), 90.0f);
    EXPECT_EQ(TKLogCount("Assert (err == noErr) failed. [UIHueOffsetWin"), 1u);
    EXPECT_EQ(TKLogCount("Assert (HOVH != 0) failed. [UIHueOffsetWin"), 1u);
}

TEST_F(TKHueWheelTest, AVectorMovesTheHandleWithoutLosingPartsOfPixels)
{
    Set(103, 0.5f);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(OffsetHueOffset(session_, &wheel_, 0.1f, 0, false).changed);
    EXPECT_NEAR(Strength(), 38.0f / 74, 1e-5f);
    EXPECT_NEAR(Angle(), 103, 1e-3f);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_TRUE(OffsetHueOffset(session_, &wheel_, 0, 5, true).rerenders);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    EXPECT_EQ(wheel_.hueSlider.position, TKTrackUnits(wheel_.hueSlider, static_cast<double>(Angle())));
    EXPECT_TRUE(OffsetHueOffset(session_, &wheel_, 1e9f, 0, false).changed);
    EXPECT_EQ(Strength(), 1.0f);
}

TEST_F(TKHueWheelTest, AVectorIsLoggedWithPlaceAngleAndDistance)
{
    Set(103, 0.5f);
    BPFakeCaptureLog();
    (void)OffsetHueOffset(session_, &wheel_, 10, 0, false);
    EXPECT_EQ(TKLogCount("offsetting 10.0000 0.0000 at 37.0000, 0.0000, angle=103.00, dist=47.00\n"), 1u);
}

TEST_F(TKHueWheelTest, AVectorMovesAWheelThatWasNeverLaidOut)
{
    HueOffsetVars wheel = {};
    ASSERT_EQ(TKCreateHueOffset(session_, &wheel, "Highlights", "highlights",
                                offsetof(OCSettings, hueOffset.highlights.tintangle),
                                offsetof(OCSettings, hueOffset.highlights.strength), tkSectionHueOffsets),
              bpNoErr);
    EXPECT_TRUE(OffsetHueOffset(session_, &wheel, 5, 0, true).rerenders);
    EXPECT_FLOAT_EQ(Live().hueOffset.highlights.tintangle, 103);
    EXPECT_FLOAT_EQ(Live().hueOffset.highlights.strength, 5.0f / static_cast<float>(wheel.radius));
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    EXPECT_EQ(wheel.radius, 68); // of a wheel of 150
}

TEST_F(TKHueWheelTest, AVectorOfNothingOrOfNoNumberChangesNothing)
{
    Set(150, 0.5f);
    for (const float bad : {0.0f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        EXPECT_FALSE(OffsetHueOffset(session_, &wheel_, bad, 0, true).changed);
        EXPECT_FALSE(RotateHueOffset(session_, &wheel_, bad, true).changed);
    }
    EXPECT_EQ(Angle(), 150.0f);
    EXPECT_EQ(Strength(), 0.5f);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKHueWheelTest, ATurnWrapsInto0To360)
{
    const struct {
        float from, delta, expected;
    } cases[] = {{350, 20, 10},   {10, -20, 350}, {0, 360, 360}, {100, 725, 105},
                 {100, -725, 95}, {359, 1, 360},  {0, -360, 0}};
    for (const auto& c : cases) {
        Set(c.from, 0.5f);
        (void)RotateHueOffset(session_, &wheel_, c.delta, false);
        EXPECT_EQ(Angle(), c.expected) << c.from << " + " << c.delta;
        EXPECT_EQ(Strength(), 0.5f);
        EXPECT_EQ(wheel_.hueSlider.position, static_cast<int32_t>(c.expected * 65536));
    }
    EXPECT_TRUE(RotateHueOffset(session_, &wheel_, 3e38f, true).changed); // and ends
    EXPECT_GE(Angle(), 0.0f);
    EXPECT_LE(Angle(), 360.0f);
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(TKHueWheelTest, MenuItemsAreThoseOfMenu201)
{
    const TKContextMenu menu = TKHueOffsetMenu(wheel_);
    EXPECT_EQ(menu.id, 201u);
    ASSERT_EQ(menu.itemCount, 2u);
    EXPECT_STREQ(menu.item[tkWheelReset].text, "Reset Hue Wheel");
    EXPECT_STREQ(menu.item[tkWheelResetAll].text, "Reset All Hue Wheels");
    EXPECT_TRUE(menu.item[0].enabled && menu.item[1].enabled);
}

TEST_F(TKHueWheelTest, ResetHueWheelZeroesThisWheelInOneStep)
{
    Set(150, 0.5f);
    Live().hueOffset.master.strength = 0.3f;
    EXPECT_TRUE(TKHueOffsetMenuSelect(session_, &wheel_, tkWheelReset).changed);
    EXPECT_EQ(Angle(), 0.0f);
    EXPECT_EQ(Strength(), 0.0f);
    EXPECT_EQ(Live().hueOffset.master.strength, 0.3f);
    EXPECT_EQ(wheel_.handleX, 0);
    EXPECT_STREQ(wheel_.strengthSlider.valueText, "0.00");
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Angle(), 150.0f);
}

TEST_F(TKHueWheelTest, ResetOfANeutralWheelTurnsNoToolOnAndTakesNoStep)
{
    EXPECT_FALSE(TKHueOffsetMenuSelect(session_, &wheel_, tkWheelReset).changed);
    EXPECT_TRUE(Key(kTKKeyDelete));
    EXPECT_TRUE(Key(kTKKeyBack));
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_EQ(Live().primaryOn, 0u);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKHueWheelTest, ResetAllHueWheelsResetsTheGroupAndTakesItsMarkOff)
{
    Set(150, 0.5f);
    Live().hueOffset.master.strength = 0.3f;
    Live().secondary[0].hueoffset_strength = 0.7f;
    Live().hueOffsetOn = Live().primaryOn = 1;
    EXPECT_TRUE(TKHueOffsetMenuSelect(session_, &wheel_, tkWheelResetAll).changed);
    EXPECT_EQ(Strength(), 0.0f);
    EXPECT_EQ(Live().hueOffset.master.strength, 0.0f);
    EXPECT_EQ(Live().secondary[0].hueoffset_strength, 0.7f);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Strength(), 0.5f);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
}

TEST_F(TKHueWheelTest, ResetAllFromTheWheelOfASecondaryLeavesItsOwnValuesAndMark)
{
    HueOffsetVars own = {};
    ASSERT_EQ(TKCreateHueOffset(session_, &own, "Hue Offset", "hueoffset",
                                offsetof(OCSettings, secondary[1].hueoffset_tintangle),
                                offsetof(OCSettings, secondary[1].hueoffset_strength), tkSectionSecondaryB),
              bpNoErr);
    Set(150, 0.5f);
    Live().secondary[1].hueoffset_strength = 0.7f;
    Live().secondary[1].on = Live().secondaryOn = Live().hueOffsetOn = 1;
    EXPECT_TRUE(TKHueOffsetMenuSelect(session_, &own, tkWheelResetAll).changed);
    EXPECT_EQ(Strength(), 0.0f);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_EQ(Live().secondary[1].hueoffset_strength, 0.7f);
    EXPECT_EQ(Live().secondary[1].on, 1u);
    EXPECT_EQ(Live().secondaryOn, 1u);
}

TEST_F(TKHueWheelTest, ADragWithShiftGoesOnFromWhereAVectorOrATurnPutTheHandle)
{
    Set(103, 0.5f); // at (37, 0)
    (void)Press(0, 0, bpShiftKey);
    (void)OffsetHueOffset(session_, &wheel_, -17, 0, false);
    (void)Move(10, 0, bpShiftKey);
    EXPECT_NEAR(Strength(), 21.0f / 74, 1e-5f);
    (void)RotateHueOffset(session_, &wheel_, 90, false); // to (0, 21)
    (void)Move(10, 10, bpShiftKey);
    EXPECT_NEAR(Strength(), 22.0f / 74, 1e-4f);
    EXPECT_NEAR(Angle(), 193, 0.01f);
}

TEST_F(TKHueWheelTest, SettlingRendersWhatIsHeldBackAndLeavesTheDragGoing)
{
    TKSettleHueOffset(session_, &wheel_);
    EXPECT_EQ(Renders(), 0u);
    (void)Press(30, 40);
    TKSettleHueOffset(session_, &wheel_);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(wheel_.captured);
    const OCSettings& stored = session_->undoRing->undoRecords[1 % session_->undoRing->undoSlotCount];
    EXPECT_EQ(stored.hueOffset.shadows.strength, Strength());
    Tick(10);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(Move(10, 0).changed);
}

TEST_F(TKHueWheelTest, ArrowsMoveTheHandleAndShiftFiner)
{
    EXPECT_TRUE(Key(kTKKeyRight));
    EXPECT_NEAR(Strength(), 0.02f, 1e-6f);
    EXPECT_NEAR(Angle(), 103, 1e-3f);
    EXPECT_TRUE(Key(kTKKeyRight, bpShiftKey));
    EXPECT_NEAR(Strength(), 0.022f, 1e-6f);
    EXPECT_TRUE(Key(kTKKeyDown));
    EXPECT_NEAR(Angle(), AngleAt(0.022, 0.02), 1e-3f);
    EXPECT_EQ(Steps(), 1u); // one step for pushes in a row
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    EXPECT_EQ(Renders(), 0u);
    Tick(2);
    EXPECT_EQ(Renders(), 1u);
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(Key(kTKKeyLeft));
    EXPECT_EQ(Strength(), 1.0f);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Strength(), 0.0f);
}

TEST_F(TKHueWheelTest, DeleteAndBackspaceResetTheWheelAsAStepOfItsOwn)
{
    for (const uint32_t key : {kTKKeyDelete, kTKKeyBack}) {
        Set(150, 0.5f);
        const uint32_t steps = Steps();
        EXPECT_TRUE(Key(key));
        EXPECT_EQ(Angle(), 0.0f);
        EXPECT_EQ(Strength(), 0.0f);
        EXPECT_EQ(Steps(), steps + 1);
    }
}

TEST_F(TKHueWheelTest, OtherKeysAndCommandKeysAreNotTaken)
{
    EXPECT_FALSE(Key(kTKKeySpace));
    EXPECT_FALSE(Key('A'));
    EXPECT_FALSE(Key(kTKKeyLeft, bpControlKey));
    EXPECT_FALSE(Key(kTKKeyLeft, bpAltKey));
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(TKHueWheelTest, ARecordFromOutsideNeverPutsNoNumberIntoTheHandle)
{
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float angle : {std::nanf(""), infinity, -infinity, 1e30f, -1e30f})
        for (const float strength : {std::nanf(""), infinity, 1e30f, -5.0f}) {
            Set(angle, strength);
            EXPECT_TRUE(std::isfinite(wheel_.angle) && std::isfinite(wheel_.strength));
            (void)Press(5, 5, bpShiftKey);
            (void)Move(6, 6, bpShiftKey);
            (void)Release();
            (void)Key(kTKKeyUp);
            EXPECT_TRUE(std::isfinite(Angle())) << angle;
            EXPECT_GE(Strength(), 0.0f);
            EXPECT_LE(Strength(), 1.0f);
            gBPFake.mouseButtonDown = true;
        }
}

TEST_F(TKHueWheelTest, AnEqualRecordLeavesTheWheelAlone)
{
    Set(150, 0.5f);
    const OCSettings before = Live();
    redraws_ = 0;
    EXPECT_FALSE(TKUpdateHueOffset(&wheel_, &Live(), &before, false));
    EXPECT_EQ(redraws_, 0);
    EXPECT_TRUE(TKUpdateHueOffset(&wheel_, &Live(), &before, true));
    Live().hueOffset.shadows.tintangle = 151;
    EXPECT_TRUE(TKUpdateHueOffset(&wheel_, &Live(), &before, false));
    EXPECT_EQ(wheel_.angle, 151.0f);
}

TEST_F(TKHueWheelTest, AScreenReaderHearsBothNumbers)
{
    char text[64];
    Set(120.5f, 0.25f);
    TKHueOffsetText(wheel_, text, sizeof text);
    EXPECT_STREQ(text, "Hue 120.50, Strength 0.25");
    char narrow[5];
    TKHueOffsetText(wheel_, narrow, sizeof narrow);
    EXPECT_STREQ(narrow, "Hue ");
}

TEST_F(TKHueWheelTest, TheWheelOfASecondaryWritesItsOwnFields)
{
    HueOffsetVars wheel = {};
    ASSERT_EQ(TKCreateHueOffset(session_, &wheel, "Hue Offset", "hueoffset",
                                offsetof(OCSettings, secondary[2].hueoffset_tintangle),
                                offsetof(OCSettings, secondary[2].hueoffset_strength), tkSectionSecondaryC),
              bpNoErr);
    TKPlaceHueOffset(&wheel, ScopeRectOf(0, 0, 162, 162));
    (void)TKHueOffsetPress(session_, &wheel, kCentre + 37, kCentre, 0);
    EXPECT_FLOAT_EQ(Live().secondary[2].hueoffset_tintangle, 103);
    EXPECT_FLOAT_EQ(Live().secondary[2].hueoffset_strength, 0.5f);
    EXPECT_EQ(Live().secondary[2].on, 1u);
    EXPECT_EQ(Live().secondaryOn, 1u);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_EQ(Strength(), 0.0f);
}

} // namespace
