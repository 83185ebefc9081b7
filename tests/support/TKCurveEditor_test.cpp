// The curve editor: points, mouse and timer.
#include "tests/support/TKCurveTest.h"

namespace {

TEST_F(TKCurveTest, EachSectionHasItsCurveAndChannel)
{
    const struct {
        TKSectionID section;
        HCurve* curve;
        int32_t channel;
    } cases[] = {
        {tkSectionCurveMaster, &Live().rgbCurve[0], 0},     {tkSectionCurveRed, &Live().rgbCurve[1], 1},
        {tkSectionCurveGreen, &Live().rgbCurve[2], 2},      {tkSectionCurveBlue, &Live().rgbCurve[3], 3},
        {tkSectionCurveHue, &Live().hslCurve[0], -1},       {tkSectionCurveSaturation, &Live().hslCurve[1], -1},
        {tkSectionCurveLightness, &Live().hslCurve[2], -1},
    };
    for (const auto& c : cases) {
        Edit(c.section);
        EXPECT_EQ(curve_.curve, c.curve);
        EXPECT_EQ(curve_.channel, c.channel);
        EXPECT_EQ(curve_.pointCount, &c.curve->points.xy.pointCount);
        EXPECT_EQ(curve_.pointX, c.curve->points.xy.x);
        EXPECT_EQ(curve_.pointY, c.curve->points.xy.y);
        EXPECT_EQ(curve_.readOnlyFlags, &c.curve->curveKind);
        EXPECT_EQ(curve_.dragPoint, -1);
        EXPECT_EQ(curve_.selectedPoint, -1);
    }
}

TEST_F(TKCurveTest, PixelsOfThePlotsEdgesAre0And1)
{
    EXPECT_EQ(TKCurveFromPixels(curve_, 5, 20).x, 0.0f);
    EXPECT_EQ(TKCurveFromPixels(curve_, 5, 20).y, 1.0f);
    EXPECT_EQ(TKCurveFromPixels(curve_, 255, 270).x, 1.0f);
    EXPECT_EQ(TKCurveFromPixels(curve_, 255, 270).y, 0.0f);
    EXPECT_EQ(PixelX(0.5), 130.0);
    EXPECT_EQ(PixelY(0.25), 207.5);
}

TEST_F(TKCurveTest, ANewPointGoesBeforeTheFirstWithALargerX)
{
    AddCurvePoint(session_, &curve_, 0.2f, 0.5f); // y comes first
    ASSERT_EQ(Points().pointCount, 3);
    ExpectPoint(0, 0, 0);
    ExpectPoint(1, 0.5, 0.2);
    ExpectPoint(2, 1, 1);
    EXPECT_EQ(curve_.dragPoint, 1);
    EXPECT_EQ(curve_.selectedPoint, 1);
    AddCurvePoint(session_, &curve_, 0.7f, 0.5f); // an equal x goes after
    ExpectPoint(1, 0.5, 0.2);
    ExpectPoint(2, 0.5, 0.7);
    EXPECT_EQ(curve_.dragPoint, 2);
    AddCurvePoint(session_, &curve_, 0.9f, 1.0f); // the last one
    ExpectPoint(4, 1, 0.9);
    EXPECT_EQ(curve_.selectedPoint, 4);
}

TEST_F(TKCurveTest, ASeventeenthPointCannotBeAdded)
{
    Spread(16);
    const HCurve before = *curve_.curve;
    AddCurvePoint(session_, &curve_, 0.2f, 0.5f);
    EXPECT_EQ(std::memcmp(&before, curve_.curve, sizeof before), 0);
    EXPECT_EQ(curve_.dragPoint, -1);
    EXPECT_EQ(curve_.selectedPoint, -1);
}

TEST_F(TKCurveTest, AddingWithoutDataShowsAMessage)
{
    curve_.pointCount = nullptr;
    AddCurvePoint(session_, &curve_, 0.2f, 0.5f);
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].text, "AddCurvePoint: No pointCount or curvePoints");
    EXPECT_FALSE(Press(0.5, 0.5).opensUndo);
    EXPECT_FALSE(Key(kTKKeyDelete));
    EXPECT_EQ(TKCurvePointCount(curve_), 0);
}

TEST_F(TKCurveTest, APointIsDeletedOnlyFromThreeOrMoreAndTheRestShiftsDown)
{
    Spread(4);
    EXPECT_TRUE(DeleteCurvePoint(&curve_, 1));
    EXPECT_EQ(Points().pointCount, 3);
    ExpectPoint(0, 0, 0);
    ExpectPoint(1, 2.0 / 3, 2.0 / 3);
    ExpectPoint(2, 1, 1);
    EXPECT_FALSE(DeleteCurvePoint(&curve_, 3));
    EXPECT_FALSE(DeleteCurvePoint(&curve_, -1));
    EXPECT_TRUE(DeleteCurvePoint(&curve_, 2)); // the last one too
    EXPECT_EQ(Points().pointCount, 2);
    EXPECT_FALSE(DeleteCurvePoint(&curve_, 0));
    EXPECT_FALSE(DeleteCurvePoint(&curve_, 1));
    EXPECT_EQ(Points().pointCount, 2);
}

TEST_F(TKCurveTest, AddingAndDeletingLeaveTheSlotsBehindThePoints)
{
    for (int i = 4; i < 16; ++i) Points().x[i] = Points().y[i] = 77;
    AddCurvePoint(session_, &curve_, 0.2f, 0.5f);
    DeleteCurvePoint(&curve_, 1);
    for (int i = 4; i < 16; ++i) EXPECT_EQ(Points().x[i], 77.0f);
}

TEST_F(TKCurveTest, HoverTakesTheNearestPointWithinReach)
{
    Points().pointCount = 4;
    const float xs[] = {0, 0.5f, 0.56f, 1};
    const float ys[] = {0, 0.5f, 0.5f, 1};
    std::copy_n(xs, 4, Points().x);
    std::copy_n(ys, 4, Points().y);
    const struct {
        float x, y;
        int32_t expected;
    } cases[] = {
        {0.5f, 0.5f, 1},   {0.525f, 0.5f, 1}, {0.535f, 0.5f, 2}, // both in reach: the nearer one
        {0.441f, 0.5f, 1}, {0.43f, 0.5f, -1}, {0.619f, 0.5f, 2}, {0.5f, 0.5605f, -1}, {0.45f, 0.45f, -1}, // 0.0707 away
        {0.46f, 0.46f, 1}, {0, 0.06f, 0},     {1, 1, 3},         {0.25f, 0.75f, -1},
    };
    for (const auto& c : cases) EXPECT_EQ(TKCurvePointNear(curve_, {c.x, c.y}), c.expected) << c.x << ", " << c.y;
}

TEST_F(TKCurveTest, WithSixteenPointsTheMouseGrabsNoneAndTheCursorIs504)
{
    Spread(16);
    Hover(0, 0); // right on the first
    EXPECT_EQ(curve_.hoverPoint, -1);
    EXPECT_EQ(curve_.cursor, tkCursorCurvePoint);
    const HCurve before = *curve_.curve;
    const TKEffect effect = Press(0, 0);
    EXPECT_FALSE(effect.changed || effect.opensUndo);
    EXPECT_FALSE(Move(0.5, 0.5).changed);
    (void)Release();
    EXPECT_EQ(std::memcmp(&before, curve_.curve, sizeof before), 0);
    EXPECT_EQ(Steps(), 0u);
    // By the keyboard one goes; then the mouse grabs again.
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_TRUE(Key(kTKKeyDelete));
    EXPECT_EQ(Points().pointCount, 15);
    Hover(0, 0);
    EXPECT_EQ(curve_.hoverPoint, 0);
}

TEST_F(TKCurveTest, TheCursorTellsAPointFromAnEmptyPlace)
{
    Hover(0.3, 0.9);
    EXPECT_EQ(curve_.cursor, tkCursorAddPoint);
    EXPECT_EQ(uint32_t{tkCursorAddPoint}, 505u);
    Hover(0.01, 0.01);
    EXPECT_EQ(curve_.cursor, tkCursorCurvePoint);
    EXPECT_EQ(uint32_t{tkCursorCurvePoint}, 504u);
    TKCurveHover(&curve_, 2, 2); // outside the plot
    EXPECT_EQ(curve_.cursor, tkCursorArrow);
    EXPECT_FALSE(curve_.hovering);
    EXPECT_EQ(curve_.hoverPoint, -1);
}

TEST_F(TKCurveTest, APressOnAnEmptyPlaceMakesAPointAndDragsIt)
{
    const TKEffect effect = Press(0.4, 0.6);
    EXPECT_TRUE(effect.changed && effect.opensUndo);
    ASSERT_EQ(Points().pointCount, 3);
    ExpectPoint(1, 0.4, 0.6);
    EXPECT_EQ(curve_.selectedPoint, 1);
    EXPECT_TRUE(curve_.dragging);
    EXPECT_EQ(Live().rgbCurvesOn, 1u);
    EXPECT_EQ(Live().curvesOn, 1u);
    EXPECT_EQ(Live().hslCurvesOn, 0u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Renders(), 0u);
    EXPECT_EQ(windows_.Count("focusMainWindow"), 1u);
    EXPECT_TRUE(Move(0.5, 0.8).changed);
    ExpectPoint(1, 0.5, 0.8);
    EXPECT_TRUE(Release().rerenders);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Points().pointCount, 2);
    EXPECT_TRUE(TKUndoStepForward(session_));
    ExpectPoint(1, 0.5, 0.8);
}

TEST_F(TKCurveTest, APressOnAPointSelectsItWithoutMovingIt)
{
    Spread(3);
    (void)Press(0.52, 0.47);
    EXPECT_EQ(Points().pointCount, 3);
    ExpectPoint(1, 0.5, 0.5);
    EXPECT_EQ(curve_.selectedPoint, 1);
    EXPECT_EQ(curve_.dragPoint, 1);
    EXPECT_EQ(Steps(), 1u);
    (void)Move(0.6, 0.3);
    ExpectPoint(1, 0.6, 0.3);
}

TEST_F(TKCurveTest, TheFirstAndTheLastOfTwoPointsCanBeMovedButNotDeleted)
{
    (void)Press(0, 0);
    (void)Move(0.2, 0.1);
    (void)Release();
    ExpectPoint(0, 0.2, 0.1);
    EXPECT_TRUE(Key(kTKKeyDelete));
    EXPECT_EQ(Points().pointCount, 2);
    (void)Press(1, 1);
    (void)Move(0.7, 0.9);
    (void)Release();
    ExpectPoint(1, 0.7, 0.9);
    EXPECT_TRUE(Key(kTKKeyBack));
    EXPECT_EQ(Points().pointCount, 2);
    EXPECT_FALSE(TKCurveMenu(curve_).item[tkCurveDelete].enabled);
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(TKCurveTest, ADragStopsAGapFromItsNeighboursAndInsideThePlot)
{
    Spread(3);
    (void)Press(0.5, 0.5);
    (void)Move(-3, -3);
    EXPECT_EQ(Points().x[1], 0.004f);
    EXPECT_EQ(Points().y[1], 0.0f);
    (void)Move(3, 3);
    EXPECT_EQ(Points().x[1], 1.0f - 0.004f);
    EXPECT_EQ(Points().y[1], 1.0f);
    (void)Release();
    (void)Press(0, 0);
    (void)Move(2, 0.5);
    EXPECT_EQ(Points().x[0], (1.0f - 0.004f) - 0.004f);
    (void)Move(-2, 0.5);
    EXPECT_EQ(Points().x[0], 0.0f); // the first goes down to 0
    (void)Release();
    (void)Press(1, 1);
    (void)Move(0, 1);
    EXPECT_EQ(Points().x[2], (1.0f - 0.004f) + 0.004f);
    (void)Release();
}

TEST_F(TKCurveTest, NeighboursCloserThanTwoGapsKeepThePointWhereItIs)
{
    Spread(3);
    Points().x[0] = 0.498f;
    Points().x[2] = 0.502f;
    Points().y[0] = 0;
    Points().y[2] = 1;
    (void)Press(0.5, 0.5);
    EXPECT_EQ(curve_.dragPoint, 1);
    (void)Move(0.9, 0.7);
    EXPECT_EQ(Points().x[1], 0.5f);
    EXPECT_NEAR(Points().y[1], 0.7f, 1e-6f);
}

TEST_F(TKCurveTest, ADragIsRenderedTwoTicksAfterTheHandPauses)
{
    (void)Press(0.4, 0.6);
    Tick();
    (void)Move(0.41, 0.6);
    Tick();
    EXPECT_EQ(Renders(), 0u);
    Tick();
    EXPECT_EQ(Renders(), 1u);
    Tick(10);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(Move(0.41, 0.6).changed); // the same place again
    EXPECT_FALSE(Release().rerenders);
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(TKCurveTest, AHandThatNeverPausesStillSeesThePictureAndTheNewestValueWins)
{
    (void)Press(0.4, 0.6);
    for (int i = 0; i < 30; ++i) {
        (void)Move(0.4 + 0.01 * i, 0.6);
        Tick();
    }
    EXPECT_EQ(Renders(), 17u); // 60 a second, and a tick for the first
    (void)Move(0.5, 0.9);
    (void)Move(0.5, 0.1);
    (void)Release();
    EXPECT_EQ(Renders(), 18u);
    ExpectPoint(1, 0.5, 0.1);
}

TEST_F(TKCurveTest, ADragWhoseReleaseWasLostEndsWithTheTick)
{
    (void)Press(0.4, 0.6);
    gBPFake.mouseButtonDown = false;
    Tick();
    EXPECT_FALSE(curve_.dragging);
    EXPECT_EQ(curve_.dragPoint, -1);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_FALSE(Move(0.9, 0.9).changed);
    EXPECT_FALSE(TKCurveWantsTicks(curve_));
}

TEST_F(TKCurveTest, AnUndoInTheMiddleOfADragEndsItAndMovesNoOtherPoint)
{
    (void)Press(0.4, 0.6);
    const OCSettings before = Live();
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(TKUpdateCurve(&curve_, &Live(), &before, false));
    EXPECT_FALSE(curve_.dragging);
    EXPECT_EQ(curve_.dragPoint, -1);
    EXPECT_FALSE(Move(0.9, 0.2).changed); // point 1 is the white end now
    ASSERT_EQ(Points().pointCount, 2);
    ExpectPoint(0, 0, 0);
    ExpectPoint(1, 1, 1);
    const uint32_t steps = Steps();
    (void)Release();
    EXPECT_EQ(Steps(), steps);
}

TEST_F(TKCurveTest, AnUndoOfAPressThatOnlyTurnedTheSectionOnLeavesItOff)
{
    Spread(3);
    (void)Press(0.5, 0.5);
    ASSERT_EQ(Live().rgbCurvesOn, 1u);
    const OCSettings before = Live();
    EXPECT_TRUE(TKUndoStepBack(session_));
    (void)TKUpdateCurve(&curve_, &Live(), &before, false);
    Tick(4);
    EXPECT_EQ(Live().rgbCurvesOn, 0u);
}

TEST_F(TKCurveTest, ARecordWithFewerPointsTakesTheSelectionAway)
{
    (void)Press(0.4, 0.6);
    Points().pointCount = 1;
    (void)TKUpdateCurve(&curve_, &Live(), nullptr, false);
    EXPECT_FALSE(curve_.dragging);
    EXPECT_EQ(curve_.selectedPoint, -1);
    EXPECT_FALSE(Move(0.9, 0.9).changed);
}

TEST_F(TKCurveTest, APressOnACurveOfFewerThanTwoPointsStraightensItFirst)
{
    for (int32_t count : {0, 1}) {
        Points() = {};
        Points().pointCount = count;
        Points().x[0] = Points().y[0] = 0.75f;
        (void)Press(0.4, 0.6);
        (void)Release();
        gBPFake.mouseButtonDown = true;
        ASSERT_EQ(Points().pointCount, 3);
        ExpectPoint(0, 0, 0);
        ExpectPoint(2, 1, 1);
        EXPECT_EQ(curve_.selectedPoint, 1);
        EXPECT_TRUE(TKUndoStepBack(session_));
        EXPECT_EQ(Points().pointCount, count); // the step holds what was there
    }
}

TEST_F(TKCurveTest, APressOnTheLabelOrWithCapsLockChangesNoPicture)
{
    EXPECT_FALSE(TKCurvePress(session_, &curve_, 100, 5).opensUndo);
    gBPFake.modifierWord = bpCapsLock;
    (void)Press(0.4, 0.6);
    (void)Release();
    EXPECT_EQ(Points().pointCount, 3);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKCurveTest, ALoadedTableIsShownAndNotEdited)
{
    curve_.curve->curveKind |= kTKCurveReadOnly;
    for (float& sample : curve_.curve->points.samples) sample = 0.5f;
    const HCurve before = *curve_.curve;
    Hover(0.5, 0.5);
    EXPECT_EQ(curve_.hoverPoint, -1);
    EXPECT_EQ(curve_.cursor, tkCursorArrow);
    EXPECT_STREQ(TKCurveReadouts(curve_).input, "");
    EXPECT_FALSE(Press(0.5, 0.5).opensUndo);
    EXPECT_FALSE(Key(kTKKeyDelete));
    EXPECT_FALSE(Key(kTKKeyInsert));
    AddCurvePoint(session_, &curve_, 0.5f, 0.5f);
    EXPECT_FALSE(DeleteCurvePoint(&curve_, 0));
    EXPECT_EQ(std::memcmp(&before, curve_.curve, sizeof before), 0);
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(TKCurveTest, AnyCountAndAnyNumbersInTheRecordAreSafe)
{
    const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
    for (const int32_t count : {INT32_MIN, -1, 0, 1, 2, 16, 17, 1000, INT32_MAX})
        for (const float value : {nan, infinity, -infinity, -5.0f, 0.5f, 1e30f}) {
            Points().pointCount = count;
            std::fill_n(Points().x, 16, value);
            std::fill_n(Points().y, 16, value);
            const int32_t seen = TKCurvePointCount(curve_);
            EXPECT_GE(seen, 0);
            EXPECT_LE(seen, 16);
            curve_.selectedPoint = 5;
            Hover(0.5, 0.5);
            (void)TKCurveReadouts(curve_);
            (void)Press(0.5, 0.5);
            (void)Move(0.7, 0.2);
            (void)Move(0.1, 0.9);
            (void)Release();
            for (const uint32_t key : {kTKKeyLeft, kTKKeyUp, kTKKeyPageDown, kTKKeyInsert, kTKKeyDelete})
                (void)Key(key);
            (void)TKUpdateCurve(&curve_, &Live(), nullptr, true);
            EXPECT_LE(TKCurvePointCount(curve_), 16);
        }
}

TEST_F(TKCurveTest, AnEqualRecordLeavesTheEditorAlone)
{
    const OCSettings before = Live();
    redraws_ = 0;
    EXPECT_FALSE(TKUpdateCurve(&curve_, &Live(), &before, false));
    Live().rgbCurve[2].points.xy.y[0] = 0.5f; // green
    EXPECT_FALSE(TKUpdateCurve(&curve_, &Live(), &before, false));
    EXPECT_EQ(redraws_, 0);
    Points().y[0] = 0.5f;
    EXPECT_TRUE(TKUpdateCurve(&curve_, &Live(), &before, false));
    EXPECT_EQ(redraws_, 1);
}

TEST_F(TKCurveTest, TheSelectionFollowsItsPointWhenOthersComeAndGo)
{
    (void)Press(0.4, 0.6);
    (void)Release();
    ASSERT_EQ(curve_.selectedPoint, 1);
    const OCSettings before = Live();
    HCurvePoints& points = Points();
    for (int32_t i = points.pointCount; i > 0; --i) {
        points.x[i] = points.x[i - 1];
        points.y[i] = points.y[i - 1];
    }
    ++points.pointCount; // another one before it
    points.y[0] = 0.25f;
    EXPECT_TRUE(TKUpdateCurve(&curve_, &Live(), &before, false));
    EXPECT_EQ(curve_.selectedPoint, 2);
    const OCSettings after = Live();
    Live() = before;
    points.x[1] = 0.5f; // its point is gone
    points.pointCount = 2;
    EXPECT_TRUE(TKUpdateCurve(&curve_, &Live(), &after, false));
    EXPECT_EQ(curve_.selectedPoint, -1);
}

} // namespace
