// The curve editor: keys, menu, readouts.
#include "src/OCCurveFile.h"
#include "src/support/TKSwatch.h"
#include "tests/support/TKCurveTest.h"

namespace {

TEST_F(TKCurveTest, AnArrowMovesTheSelectedPointBy256thInOneStepOfUndo)
{
    Spread(3);
    curve_.selectedPoint = 1;
    EXPECT_TRUE(Key(kTKKeyRight));
    EXPECT_TRUE(Key(kTKKeyRight));
    EXPECT_TRUE(Key(kTKKeyUp));
    EXPECT_EQ(Points().x[1], 0.5f + 2.0f / 256);
    EXPECT_EQ(Points().y[1], 0.5f + 1.0f / 256);
    EXPECT_TRUE(Key(kTKKeyLeft));
    EXPECT_TRUE(Key(kTKKeyDown));
    EXPECT_EQ(Points().x[1], 0.5f + 1.0f / 256);
    EXPECT_EQ(Points().y[1], 0.5f);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Live().rgbCurvesOn, 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Points().x[1], 0.5f);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Points().x[1], 0.5f + 1.0f / 256);
}

TEST_F(TKCurveTest, AKeyIsRenderedAfterFourTicksAndAHeldOneAtMostEveryFour)
{
    Spread(3);
    curve_.selectedPoint = 1;
    (void)Key(kTKKeyRight);
    gBPFake.mouseButtonDown = false;
    Tick(3);
    EXPECT_EQ(Renders(), 0u);
    Tick();
    EXPECT_EQ(Renders(), 1u);
    for (int i = 0; i < 24; ++i) { // a push every third tick
        if (i % 3 == 0) (void)Key(kTKKeyUp);
        Tick();
    }
    EXPECT_EQ(Renders(), 5u); // four ticks after the first push that was not seen
    Tick(10);
    EXPECT_EQ(Renders(), 5u);
}

TEST_F(TKCurveTest, ArrowsStopAtTheNeighboursAndWithoutASelectionDoNothing)
{
    Spread(3);
    EXPECT_TRUE(Key(kTKKeyRight));
    EXPECT_EQ(Steps(), 0u);
    curve_.selectedPoint = 1;
    for (int i = 0; i < 300; ++i) (void)Key(kTKKeyRight);
    EXPECT_EQ(Points().x[1], 1.0f - 0.004f);
    for (int i = 0; i < 300; ++i) (void)Key(kTKKeyDown);
    EXPECT_EQ(Points().y[1], 0.0f);
    EXPECT_EQ(Steps(), 1u);
    curve_.selectedPoint = 0;
    EXPECT_TRUE(Key(kTKKeyLeft)); // at the edge already
    EXPECT_EQ(Points().x[0], 0.0f);
}

TEST_F(TKCurveTest, BackspaceAndDeleteRemoveTheSelectedPointAsAStepOfItsOwn)
{
    Spread(5);
    curve_.selectedPoint = 2;
    EXPECT_TRUE(Key(kTKKeyUp));
    EXPECT_TRUE(Key(kTKKeyDelete));
    EXPECT_EQ(Points().pointCount, 4);
    EXPECT_EQ(curve_.selectedPoint, -1);
    EXPECT_EQ(Steps(), 2u);
    EXPECT_TRUE(Key(kTKKeyDelete)); // nothing is selected: a held key empties no curve
    EXPECT_EQ(Points().pointCount, 4);
    curve_.selectedPoint = 0;
    EXPECT_TRUE(Key(kTKKeyBack));
    EXPECT_EQ(Points().pointCount, 3);
    Tick(4);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Points().pointCount, 4);
}

TEST_F(TKCurveTest, ArrowsAndPageKeysDuringADragLetNoPointsCross)
{
    Spread(4);
    const float third = Points().x[2];
    (void)Press(static_cast<double>(Points().x[1]), static_cast<double>(Points().y[1]));
    ASSERT_EQ(curve_.dragPoint, 1);
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_TRUE(Key(kTKKeyRight));
    EXPECT_EQ(curve_.selectedPoint, 1);
    EXPECT_EQ(Points().x[2], third);
    (void)Move(0.95, 0.5);
    EXPECT_LT(Points().x[1], Points().x[2]);
    (void)Release();
    EXPECT_TRUE(Key(kTKKeyPageDown)); // and afterwards they work again
    EXPECT_EQ(curve_.selectedPoint, 2);
}

TEST_F(TKCurveTest, DeletingThePointThatIsDraggedEndsTheDrag)
{
    (void)Press(0.4, 0.6);
    EXPECT_TRUE(Key(kTKKeyDelete));
    EXPECT_EQ(Points().pointCount, 2);
    EXPECT_FALSE(curve_.dragging);
    EXPECT_FALSE(Move(0.7, 0.7).changed);
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(TKCurveTest, PageKeysWalkThePointsAndInsertMakesOneHalfway)
{
    Spread(3);
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_EQ(curve_.selectedPoint, 0);
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_EQ(curve_.selectedPoint, 2);
    EXPECT_TRUE(Key(kTKKeyPageUp));
    EXPECT_EQ(curve_.selectedPoint, 1);
    EXPECT_EQ(Steps(), 0u);
    EXPECT_TRUE(Key(kTKKeyInsert));
    EXPECT_EQ(Points().pointCount, 4);
    ExpectPoint(2, 0.75, 0.75);
    EXPECT_EQ(curve_.selectedPoint, 2);
    EXPECT_EQ(curve_.dragPoint, -1);
    curve_.selectedPoint = 3;
    EXPECT_TRUE(Key(kTKKeyInsert)); // behind the last: halfway back
    ExpectPoint(3, 0.875, 0.875);
    EXPECT_EQ(Steps(), 2u);
    Spread(16);
    EXPECT_TRUE(Key(kTKKeyInsert));
    EXPECT_EQ(Points().pointCount, 16);
}

TEST_F(TKCurveTest, AnArrowUpOrDownLeavesXEvenBesideACloseNeighbour)
{
    Spread(4);
    Points().x[1] = 0.2f;
    Points().x[2] = 0.2f + 1.0f / 255; // closer than the gap, as a file may have it
    curve_.selectedPoint = 2;
    const float x = Points().x[2], y = Points().y[2];
    EXPECT_TRUE(Key(kTKKeyUp));
    EXPECT_EQ(Points().x[2], x);
    EXPECT_EQ(Points().y[2], y + kTKCurveNudge);
    EXPECT_TRUE(Key(kTKKeyRight)); // to the side it obeys
    EXPECT_GT(Points().x[2], Points().x[1] + kTKCurveGap);
}

TEST_F(TKCurveTest, ArrowsOnAnotherPointAreAnotherStep)
{
    Spread(4);
    curve_.selectedPoint = 1;
    EXPECT_TRUE(Key(kTKKeyUp));
    EXPECT_TRUE(Key(kTKKeyUp));
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(Key(kTKKeyPageDown));
    EXPECT_TRUE(Key(kTKKeyUp));
    EXPECT_EQ(Steps(), 2u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    ExpectPoint(1, 1.0 / 3, 1.0 / 3 + 2.0 / 256);
    ExpectPoint(2, 2.0 / 3, 2.0 / 3);
}

TEST_F(TKCurveTest, ADragThatEndsWithoutTheMouseShowsTheSelectedPoint)
{
    (void)Press(0.5, 0.5);
    (void)Move(0.5, 1.4); // above the plot
    gBPFake.mouseButtonDown = false;
    Tick();
    EXPECT_FALSE(curve_.dragging);
    EXPECT_FALSE(curve_.hovering);
    EXPECT_STREQ(TKCurveReadouts(curve_).output, "255");
    Points().y[1] = 0; // what is shown is the point, not the mouse's last place
    EXPECT_STREQ(TKCurveReadouts(curve_).output, "0");
}

TEST_F(TKCurveTest, SettlingRendersWhatIsHeldBackAndLeavesTheDragGoing)
{
    (void)Press(0.4, 0.6);
    TKSettleCurve(session_, &curve_);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(curve_.dragging);
    Tick(10);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(Key(kTKKeyPageUp) && Move(0.5, 0.5).changed);
    (void)Release();
    EXPECT_EQ(Renders(), 2u);
    EXPECT_TRUE(Key(kTKKeyUp));
    TKSettleCurve(session_, &curve_);
    EXPECT_EQ(Renders(), 3u);
}

TEST_F(TKCurveTest, APressIsOneInThePlotUpToItsLastPartOfAPixel)
{
    EXPECT_TRUE(TKCurveHit(curve_, 5, 20));
    EXPECT_TRUE(TKCurveHit(curve_, 255.9, 270.9));
    EXPECT_FALSE(TKCurveHit(curve_, 256, 100));
    EXPECT_FALSE(TKCurveHit(curve_, 4.9, 100));
    EXPECT_FALSE(TKCurveHit(curve_, 100, 271));
}

TEST_F(TKCurveTest, OtherKeysAndCommandKeysAreNotTaken)
{
    for (const uint32_t key : {kTKKeySpace, kTKKeyHome, kTKKeyTab, kTKKeyReturn}) EXPECT_FALSE(Key(key));
    EXPECT_FALSE(Key('A'));
    EXPECT_FALSE(Key(kTKKeyDelete, bpControlKey));
    EXPECT_FALSE(Key(kTKKeyLeft, bpAltKey));
}

// --- Menu 200 ---------------------------------------------------------------------------------------------------------

TEST_F(TKCurveTest, MenuItemsAreThoseOfMenu200)
{
    Spread(3);
    const char* const texts[] = {"Delete Point", "Reset Curve", "Reset All Curves", "Load Curves", "Save Curves"};
    TKContextMenu menu = TKCurveMenu(curve_);
    EXPECT_EQ(menu.id, 200u);
    ASSERT_EQ(menu.itemCount, std::size(texts));
    for (size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_STREQ(menu.item[i].text, texts[i]);
        EXPECT_EQ(menu.item[i].enabled, i != tkCurveDelete) << texts[i]; // no point is selected
    }
    curve_.selectedPoint = 1;
    EXPECT_TRUE(TKCurveMenu(curve_).item[tkCurveDelete].enabled);
    Points().pointCount = 2;
    EXPECT_FALSE(TKCurveMenu(curve_).item[tkCurveDelete].enabled);
    curve_.curve->curveKind |= kTKCurveReadOnly;
    menu = TKCurveMenu(curve_);
    EXPECT_FALSE(menu.item[tkCurveDelete].enabled);
    EXPECT_FALSE(menu.item[tkCurveReset].enabled);
    EXPECT_TRUE(menu.item[tkCurveResetAll].enabled);
    EXPECT_TRUE(menu.item[tkCurveLoad].enabled);
    EXPECT_FALSE(menu.item[tkCurveSave].enabled);
    EXPECT_FALSE(TKCurveMenuSelect(session_, &curve_, tkCurveReset).changed);
    EXPECT_FALSE(TKCurveMenuSelect(session_, &curve_, 5).changed);
}

TEST_F(TKCurveTest, DeletePointOfTheMenuIsAStepAndRendersAtOnce)
{
    Spread(3);
    curve_.selectedPoint = 1;
    EXPECT_TRUE(TKCurveMenuSelect(session_, &curve_, tkCurveDelete).changed);
    EXPECT_EQ(Points().pointCount, 2);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Live().curvesOn, 1u);
    Tick(10);
    EXPECT_EQ(Renders(), 1u);
}

TEST_F(TKCurveTest, ResetCurveResetsThisCurveOnly)
{
    Spread(5);
    Live().rgbCurve[2].points.xy.y[0] = 0.5f;
    Live().rgbCurvesOn = Live().curvesOn = 1;
    EXPECT_TRUE(TKCurveMenuSelect(session_, &curve_, tkCurveReset).changed);
    EXPECT_EQ(Points().pointCount, 2);
    ExpectPoint(1, 1, 1);
    EXPECT_EQ(Live().rgbCurve[2].points.xy.y[0], 0.5f);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Points().pointCount, 5);
}

TEST_F(TKCurveTest, ResetAllCurvesResetsTheFourAndALoadedTableToo)
{
    Live().hslCurve[1].points.xy.y[0] = 0.9f;
    for (HCurve& curve : Live().rgbCurve) curve.points.xy.y[0] = 0.5f;
    curve_.curve->curveKind |= kTKCurveReadOnly;
    EXPECT_TRUE(TKCurveMenuSelect(session_, &curve_, tkCurveResetAll).changed);
    for (HCurve& curve : Live().rgbCurve) {
        EXPECT_EQ(curve.points.xy.y[0], 0.0f);
        EXPECT_EQ(curve.curveKind, 0u);
    }
    EXPECT_EQ(Live().hslCurve[1].points.xy.y[0], 0.9f);
    EXPECT_EQ(Steps(), 1u);
}

TEST_F(TKCurveTest, LoadCurvesAsksForAFileAndSwitchesTheCurvesOn)
{
    const std::string path = ::testing::TempDir() + "six.acv";
    OCSettings made = TKNeutralSettings();
    made.rgbCurve[1].points.xy.y[0] = 51.0f / 255;
    std::vector<uint8_t> bytes = OCSaveCurveBytes(made);
    bytes[3] = 6; // six curves: the first four count
    bytes.insert(bytes.end(), {0, 2, 0, 9, 0, 0, 0, 9, 0, 255});
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_TRUE(file);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    gBPFake.fileAnswers.push_back(path);
    Live().rgbCurve[0].points.xy.y[0] = 0.5f;
    EXPECT_TRUE(TKCurveMenuSelect(session_, &curve_, tkCurveLoad).changed);
    EXPECT_FLOAT_EQ(Points().y[0], 0.2f);
    EXPECT_EQ(Live().rgbCurve[0].points.xy.y[0], 0.0f);
    EXPECT_EQ(Live().rgbCurve[3].points.xy.y[0], 0.0f);
    EXPECT_EQ(Live().rgbCurvesOn, 1u);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    std::remove(path.c_str());
}

// --- Texts ------------------------------------------------------------------------------------------------------------

TEST_F(TKCurveTest, ValuesAreShownInTheSevenFormats)
{
    const struct {
        int32_t format;
        const char* input;
        const char* output;
    } cases[] = {
        {tkColorRGB8, "127", "63"},
        {tkColorRGB10, "511", "255"},
        {tkColorRGB16, "16384", "8192"},
        {tkColorRGBFloat, "0.5000", "0.2500"},
        {tkColorRGBPercent, "50 %", "25 %"},
        {tkColorHSL, "50 %", "25 %"},
        {tkColorHex, "7f", "3f"},
        {0, "127", "63"},
        {8, "127", "63"},
    };
    for (const auto& c : cases) {
        curve_.displayFormat = &c.format;
        curve_.hovering = true;
        curve_.hoverX = 0.5f;
        curve_.hoverY = 0.25f;
        EXPECT_STREQ(TKCurveReadouts(curve_).input, c.input) << c.format;
        EXPECT_STREQ(TKCurveReadouts(curve_).output, c.output) << c.format;
    }
}

TEST_F(TKCurveTest, OnTheAxisOfHuesTheInputIsAnAngleWithRedInTheMiddle)
{
    const struct {
        float x;
        const char* text;
    } cases[] = {{0.5f, "0°"}, {0.75f, "90°"}, {1.0f, "180°"}, {0.0f, "180°"}, {0.25f, "270°"}, {0.49999f, "0°"}};
    for (const auto& c : cases) {
        char text[24];
        TKFormatCurveValue(tkColorHSL, c.x, true, text, sizeof text);
        EXPECT_STREQ(text, c.text) << c.x;
    }
}

TEST_F(TKCurveTest, OutsideThePlotTheReadoutsTellTheSelectedPoint)
{
    Spread(3);
    EXPECT_STREQ(TKCurveReadouts(curve_).input, "");
    Hover(0.2, 0.8);
    EXPECT_STREQ(TKCurveReadouts(curve_).input, "51");
    EXPECT_STREQ(TKCurveReadouts(curve_).output, "204");
    curve_.selectedPoint = 1;
    TKCurveLeave(&curve_);
    EXPECT_STREQ(TKCurveReadouts(curve_).input, "127");
    EXPECT_STREQ(TKCurveReadouts(curve_).output, "127");
}

TEST_F(TKCurveTest, AScreenReaderHearsTheSelectedPoint)
{
    char text[96];
    Spread(3);
    TKCurveText(curve_, text, sizeof text);
    EXPECT_STREQ(text, "3 points");
    curve_.selectedPoint = 2;
    Hover(0.2, 0.8);
    TKCurveText(curve_, text, sizeof text);
    EXPECT_STREQ(text, "Point 3 of 3, Input 255, Output 255");
    curve_.curve->curveKind |= kTKCurveReadOnly;
    TKCurveText(curve_, text, sizeof text);
    EXPECT_STREQ(text, "Loaded table");
}

} // namespace
