// The hue offset wheel: the mouse, the timer and the undo ring.
#include "src/OCTint.h"
#include "tests/support/TKHueWheelTest.h"

namespace {

TEST_F(TKHueWheelTest, TheRadiusIsHalfTheWheelLessFive)
{
    EXPECT_EQ(wheel_.wheelRect.left, 2);
    EXPECT_EQ(wheel_.wheelRect.right, 160);
    EXPECT_EQ(wheel_.radius, 158 / 2 - 5);
    TKPlaceHueOffset(&wheel_, ScopeRectOf(0, 0, 6, 6));
    EXPECT_EQ(wheel_.radius, 0);
    EXPECT_FALSE(TKHueOffsetHit(wheel_, 3, 3));
}

TEST_F(TKHueWheelTest, AHandleStandsAtItsAngleLess103Degrees)
{
    const struct {
        float angle, strength;
        int32_t x, y;
    } cases[] = {
        {103, 1, 100, 0},      {193, 1, 0, 100},     {283, 1, -100, 0},
        {13, 1, 0, -100},      {148, 0.5f, 35, 35}, // 35.36 cut
        {328, 0.5f, -35, -35},                      // cut towards the centre
        {103, 0.019f, 1, 0},   {103, 0.0099f, 0, 0}, {200, 0, 0, 0},
    };
    for (const auto& c : cases) {
        const TKWheelPlace place = TKHueOffsetHandle(c.angle, c.strength, 100);
        EXPECT_NEAR(place.x, c.x, 1) << c.angle;
        EXPECT_NEAR(place.y, c.y, 1) << c.angle;
        const double radians = (static_cast<double>(c.angle) - 103) * kPi / 180;
        EXPECT_EQ(place.x, static_cast<int>(std::cos(radians) * 100 * static_cast<double>(c.strength))) << c.angle;
        EXPECT_EQ(place.y, static_cast<int>(std::sin(radians) * 100 * static_cast<double>(c.strength))) << c.angle;
    }
}

TEST_F(TKHueWheelTest, Angle360IsThePlaceOfAngle0AtEveryStrengthAndRadius)
{
    for (int32_t radius = 0; radius < 300; ++radius)
        for (const float strength : {0.0f, 0.1f, 0.5f, 0.731f, 1.0f}) {
            const TKWheelPlace a = TKHueOffsetHandle(0, strength, radius), b = TKHueOffsetHandle(360, strength, radius);
            ASSERT_TRUE(a.x == b.x && a.y == b.y) << radius;
        }
}

TEST_F(TKHueWheelTest, Angle360TypedInTheSliderWrapsToTheHandleOfAngle0)
{
    Set(90, 0.8f);
    OpenEdit(session_, &wheel_.hueSlider);
    TKSetEditText(&wheel_.hueSlider, "360");
    (void)TKEditKey(session_, &wheel_.hueSlider, kTKKeyReturn, 0);
    EXPECT_EQ(Angle(), 360.0f);
    const TKWheelPlace zero = TKHueOffsetHandle(0, 0.8f, wheel_.radius);
    EXPECT_EQ(wheel_.handleX, zero.x);
    EXPECT_EQ(wheel_.handleY, zero.y);
    EXPECT_EQ(wheel_.angle, 360.0f);
}

TEST_F(TKHueWheelTest, WithStrength0TheHandleStaysAtTheCentreWhateverTheAngle)
{
    for (int angle = 0; angle <= 360; angle += 7) {
        Set(static_cast<float>(angle), 0);
        EXPECT_EQ(wheel_.handleX, 0);
        EXPECT_EQ(wheel_.handleY, 0);
        SetHueOffsetAngle(&wheel_, static_cast<float>(360 - angle), true);
        EXPECT_EQ(wheel_.handleX, 0);
        EXPECT_EQ(wheel_.handleY, 0);
    }
}

TEST_F(TKHueWheelTest, TheSettersMoveBothCoordinatesAndLeaveTheSettings)
{
    Set(103, 1);
    redraws_ = 0;
    SetHueOffsetAngle(&wheel_, 193, true);
    EXPECT_EQ(wheel_.handleX, 0);
    EXPECT_EQ(wheel_.handleY, 74);
    SetHueOffsetStrength(&wheel_, 0.5f, false);
    EXPECT_EQ(wheel_.handleY, 37);
    EXPECT_EQ(redraws_, 1);
    EXPECT_EQ(Angle(), 103.0f);
    EXPECT_EQ(Strength(), 1.0f);
}

TEST_F(TKHueWheelTest, APressOpensAStepMarksTheSectionAndJumpsToThePointer)
{
    const TKEffect effect = Press(30, 40);
    EXPECT_TRUE(effect.changed && effect.opensUndo);
    EXPECT_FALSE(effect.rerenders);
    EXPECT_FLOAT_EQ(Angle(), AngleAt(30, 40));
    EXPECT_FLOAT_EQ(Strength(), 50.0f / 74);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(windows_.Count("focusMainWindow"), 1u);
    EXPECT_EQ(windows_.Count("slider Hue"), 1u);
    EXPECT_EQ(windows_.Count("slider Strength"), 1u);
    EXPECT_EQ(wheel_.hueSlider.position, TKTrackUnits(wheel_.hueSlider, static_cast<double>(Angle())));
    EXPECT_STREQ(wheel_.strengthSlider.valueText, "0.68");
    EXPECT_NEAR(wheel_.handleX, 30, 1);
    EXPECT_NEAR(wheel_.handleY, 40, 1);
}

TEST_F(TKHueWheelTest, ADragIsRenderedTwoTicksAfterTheHandPauses)
{
    (void)Press(30, 40);
    Tick();
    EXPECT_EQ(Renders(), 0u);
    (void)Move(31, 40);
    Tick();
    EXPECT_EQ(Renders(), 0u); // the count began anew
    Tick();
    EXPECT_EQ(Renders(), 1u);
    Tick(10);
    EXPECT_EQ(Renders(), 1u); // a tick without a change does nothing
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKHueWheelTest, AHandThatNeverPausesStillSeesThePicture)
{
    (void)Press(0, 10);
    for (int i = 0; i < 30; ++i) {
        (void)Move(i, 20);
        Tick();
    }
    EXPECT_EQ(Renders(), 17u); // 60 a second, and a tick for the first
}

TEST_F(TKHueWheelTest, ManyMovesBetweenTicksAreOneRenderOfTheNewestValue)
{
    (void)Press(1, 0);
    for (int i = 1; i <= 50; ++i) (void)Move(i, 0);
    Tick(2);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FLOAT_EQ(Strength(), 50.0f / 74);
    EXPECT_FLOAT_EQ(OCParametersOf(session_->engine)->tint[ocShadows].strength, OCTintOf(Angle(), Strength()).strength);
}

TEST_F(TKHueWheelTest, ButtonUpRendersOnlyWhatWasHeldBackAndStoresTheState)
{
    (void)Press(30, 40);
    (void)Move(10, 10);
    EXPECT_TRUE(Release().rerenders);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(session_->undoRing->undoRecords[1 % session_->undoRing->undoSlotCount].hueOffset.shadows.strength,
              Strength());
    Tick(10);
    EXPECT_EQ(Renders(), 1u);

    gBPFake.mouseButtonDown = true;
    (void)Press(20, 20);
    Tick(2);
    EXPECT_EQ(Renders(), 2u);
    EXPECT_FALSE(Release().rerenders);
    EXPECT_EQ(Renders(), 2u);
    EXPECT_FALSE(TKHueOffsetWantsTicks(wheel_));
}

TEST_F(TKHueWheelTest, EachDragIsAStepThatUndoAndRedoWalk)
{
    (void)Press(30, 40);
    (void)Move(10, 10);
    (void)Release();
    const float first = Angle();
    gBPFake.mouseButtonDown = true;
    (void)Press(-30, 40);
    (void)Release();
    const float second = Angle();
    EXPECT_EQ(Steps(), 2u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Angle(), first);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Angle(), 0.0f);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Angle(), first);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Angle(), second);
}

TEST_F(TKHueWheelTest, ADragOutsideTheWheelLeavesStrengthAt1AndFollowsTheAngle)
{
    (void)Press(10, 0);
    for (int degrees = 0; degrees < 360; degrees += 5) {
        const double radians = degrees * kPi / 180, x = 500 * std::cos(radians), y = 500 * std::sin(radians);
        (void)Move(x, y);
        EXPECT_EQ(Strength(), 1.0f);
        EXPECT_NEAR(Angle(), AngleAt(x, y), 0.001f);
        EXPECT_GE(Angle(), 0.0f);
        EXPECT_LE(Angle(), 360.0f);
    }
}

TEST_F(TKHueWheelTest, WithShiftFromTheStartTheHandleDoesNotJumpToThePointer)
{
    Set(150, 0.5f);
    EXPECT_FALSE(Press(-60, 10, bpShiftKey).changed);
    EXPECT_EQ(Angle(), 150.0f); // bit for bit
    EXPECT_EQ(Strength(), 0.5f);
    (void)Move(-60, 10, bpShiftKey); // the mouse stands still
    EXPECT_EQ(Angle(), 150.0f);
    EXPECT_EQ(Strength(), 0.5f);
}

TEST_F(TKHueWheelTest, WithShiftTheHandleGoesATenthOfTheWay)
{
    Set(103, 0.5f); // at (37, 0)
    (void)Press(-60, 10, bpShiftKey);
    (void)Move(-40, 10, bpShiftKey);
    EXPECT_NEAR(Strength(), 39.0f / 74, 1e-5f);
    EXPECT_NEAR(Angle(), 103.0f, 1e-3f);
    (void)Move(-40, 40, bpShiftKey);
    EXPECT_NEAR(Angle(), AngleAt(39, 3), 1e-3f);
    EXPECT_NEAR(Strength(), static_cast<float>(std::hypot(39, 3) / 74), 1e-5f);
}

TEST_F(TKHueWheelTest, ShiftInTheMiddleOfADragGoesOnFromTheTarget)
{
    (void)Press(20, 0);
    (void)Move(40, 0);
    (void)Move(50, 0, bpShiftKey);
    EXPECT_NEAR(Strength(), 41.0f / 74, 1e-5f);
    (void)Move(50, 0);
    EXPECT_NEAR(Strength(), 50.0f / 74, 1e-5f); // without shift it is the pointer's
}

TEST_F(TKHueWheelTest, WithShiftTheTargetIsPulledBackToTheCircle)
{
    Set(103, 1);
    (void)Press(0, 0, bpShiftKey);
    (void)Move(1000, 0, bpShiftKey);
    EXPECT_EQ(Strength(), 1.0f);
    (void)Move(900, 0, bpShiftKey); // ten pixels inward from the rim, not from beyond it
    EXPECT_NEAR(Strength(), 64.0f / 74, 1e-5f);
}

TEST_F(TKHueWheelTest, APressThatOnlyTurnsTheSectionOnShowsItAtButtonUp)
{
    Set(150, 0.5f);
    (void)Press(0, 0, bpShiftKey);
    EXPECT_EQ(Live().hueOffsetOn, 1u);
    (void)Release();
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(TKHueWheelTest, WithCapsLockOnAValueIsStoredAndNothingIsRendered)
{
    gBPFake.modifierWord = bpCapsLock;
    (void)Press(30, 40);
    (void)Release();
    EXPECT_EQ(Renders(), 0u);
    EXPECT_NE(Strength(), 0.0f);
    EXPECT_TRUE(session_->updateSuspended);
}

TEST_F(TKHueWheelTest, ADisabledWheelAndAPressBesideItDoNothing)
{
    EXPECT_FALSE(TKHueOffsetPress(session_, &wheel_, 1, 1, 0).opensUndo);
    EXPECT_FALSE(TKHueOffsetPress(session_, &wheel_, 161, 80, 0).opensUndo);
    wheel_.enabled = false;
    EXPECT_FALSE(Press(30, 40).opensUndo);
    EXPECT_FALSE(TKHueOffsetMenuSelect(session_, &wheel_, tkWheelReset).changed);
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_FALSE(Move(5, 5).changed);
}

TEST_F(TKHueWheelTest, ADragWhoseReleaseWasLostEndsWithTheTick)
{
    (void)Press(30, 40);
    (void)Move(20, 20);
    gBPFake.mouseButtonDown = false;
    Tick();
    EXPECT_FALSE(wheel_.captured);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(Move(60, 60).changed);
}

TEST_F(TKHueWheelTest, AnUndoInTheMiddleOfADragKeepsItsStepAndTheDragGoesOnAsANewOne)
{
    (void)Press(30, 40);
    EXPECT_TRUE(TKUndoStepBack(session_));
    (void)TKUpdateHueOffset(&wheel_, &Live(), nullptr, false);
    const uint32_t renders = Renders();
    Tick(5);
    EXPECT_EQ(Live().hueOffsetOn, 0u); // what waited was dropped
    EXPECT_EQ(Renders(), renders);
    (void)Move(10, 0);
    (void)Release();
    EXPECT_NEAR(Strength(), 10.0f / 74, 1e-5f);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Strength(), 0.0f);
    EXPECT_FALSE(TKUndoStepBack(session_));
}

TEST_F(TKHueWheelTest, AnUndoOfAPressThatOnlyTurnedTheSectionOnLeavesItOff)
{
    (void)Press(37, 0, bpShiftKey);
    ASSERT_EQ(Live().hueOffsetOn, 1u);
    const OCSettings before = Live();
    EXPECT_TRUE(TKUndoStepBack(session_));
    (void)TKUpdateHueOffset(&wheel_, &Live(), &before, false);
    Tick(4);
    EXPECT_EQ(Live().hueOffsetOn, 0u);
    EXPECT_EQ(Live().primaryOn, 0u);
}

TEST_F(TKHueWheelTest, AnOpenEditIsCommittedByThePress)
{
    OpenEdit(session_, &wheel_.strengthSlider);
    TKSetEditText(&wheel_.strengthSlider, "0.25");
    (void)Press(30, 40, bpShiftKey);
    EXPECT_EQ(Strength(), 0.25f);
    EXPECT_EQ(wheel_.strength, 0.25f);
}

} // namespace
