// The row of colour match.
#include "src/support/TKMatchColor.h"

#include "tests/support/TKControlsTest.h"

#include <cmath>

namespace {

using TKMatchColorTest = TKControlsTest;

TEST_F(TKMatchColorTest, AMatchWritesItsValueInOneStepMarksItsSectionAndMovesItsSlider)
{
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchHSL, tkSectionNone, "hsl_match");
    SetTriple(kTKMatchSourceOffset, 0.25f, 0.25f, 0.25f);
    SetTriple(kTKMatchTargetOffset, 0.5f, 0.5f, 0.5f);
    before_ = Live();
    EXPECT_STREQ(TKMatchColorList(match), "H + S + L|Hue|Saturation|Luminance|H + S|H + L|S + L");
    EXPECT_TRUE(TKSelectMatchEntry(session_, &match, 3));
    const TKEffect effect = TKRunMatchColor(session_, &match);
    EXPECT_TRUE(effect.changed && effect.opensUndo && effect.rerenders);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    EXPECT_EQ(Live().hsl.master.on, 1u);
    EXPECT_EQ(Live().hslOn, 1u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_EQ(Live().hsl.highlights.on, 0u);
    EXPECT_STREQ(gain_.valueText, "2.00");
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Renders(), 1u);
    const OCSettings after = Live();
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(IsUntouched());
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(std::memcmp(&after, &Live(), sizeof after), 0);
}

TEST_F(TKMatchColorTest, EveryPaneMarksTheSectionsOfWhatItWrote)
{
    const struct {
        OCMatchPane pane;
        int32_t entry;
        std::vector<TKSectionID> on;
    } cases[] = {
        {ocMatchHSL, 1, {tkSectionHSLMaster}},
        {ocMatchRGB, 2, {tkSectionRGBMaster}},
        {ocMatchRGB, 1, {tkSectionRGBMaster}},
        {ocMatchCMY, 3, {tkSectionCMYMaster}},
        {ocMatchYCbCr, 5, {tkSectionYCbCrMaster}},
        {ocMatchCurves, 2, {tkSectionCurveMaster}},
        {ocMatchCurves, 7, {tkSectionCurveRed, tkSectionCurveBlue}},
        {ocMatchSecondary, 1, {tkSectionSecondaryB, tkSectionSecondaryF}},
    };
    for (const auto& c : cases) {
        Live() = TKNeutralSettings();
        SetTriple(kTKMatchSourceOffset, 0.2f, 0.3f, 0.4f);
        SetTriple(kTKMatchTargetOffset, 0.6f, 0.5f, 0.1f);
        Live().secondary[1].sample[3].on = 1;
        Live().secondary[5].sample[0].on = 0x101;
        Live().secondary[4].sample[0].on = 0x100; // the low byte counts
        OCSettings expected = Live();
        TKMatchColor match;
        TKInitMatchColor(&match, &Live(), c.pane, tkSectionNone, "match");
        (void)TKSelectMatchEntry(session_, &match, c.entry - 1);
        EXPECT_TRUE(TKRunMatchColor(session_, &match).changed);
        (void)OCMatchColorsAt(&expected, c.pane, static_cast<uint32_t>(c.entry), kTKMatchSourceOffset,
                              kTKMatchTargetOffset);
        const OCSettings result = Live();
        Live() = expected;
        for (TKSectionID section : c.on) MarkSectionActive(session_, section, true, true);
        EXPECT_EQ(std::memcmp(&result, &Live(), sizeof result), 0) << c.pane << " " << c.entry;
    }
}

TEST_F(TKMatchColorTest, NothingHappensOnTheHueOffsetsTabOrWithAnEntryThatWritesNothing)
{
    SetTriple(kTKMatchSourceOffset, 0.2f, 0.3f, 0.4f);
    SetTriple(kTKMatchTargetOffset, 0.6f, 0.5f, 0.1f);
    before_ = Live();
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchHueOffsets, tkSectionNone, "match");
    EXPECT_FALSE(TKRunMatchColor(session_, &match).changed);
    TKInitMatchColor(&match, &Live(), ocMatchSecondary, tkSectionNone, "match");
    (void)TKSelectMatchEntry(session_, &match, 3); // luminance
    EXPECT_FALSE(TKRunMatchColor(session_, &match).changed);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKMatchColorTest, ADenominatorOfZeroIsNotGuarded)
{
    SetTriple(kTKMatchTargetOffset, 0.5f, 0.5f, 0.5f);
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchRGB, tkSectionNone, "match");
    EXPECT_FALSE(TKMatchColorIsReady(match)); // the button is off, but the values are computed all the same
    (void)TKSelectMatchEntry(session_, &match, 1);
    EXPECT_TRUE(TKRunMatchColor(session_, &match).changed);
    EXPECT_TRUE(std::isinf(Live().rgb.master.group.gain));
    SetTriple(kTKMatchSourceOffset, 0, 0, 0.1f);
    EXPECT_TRUE(TKMatchColorIsReady(match));
}

TEST_F(TKMatchColorTest, BlackMatchesOnTheCurvesAsAnyOtherColour)
{
    SetTriple(kTKMatchTargetOffset, 0.125f, 0.25f, 0.5f);
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchCurves, tkSectionNone, "match");
    EXPECT_TRUE(TKMatchColorIsReady(match));
    (void)TKSelectMatchEntry(session_, &match, 2); // red
    EXPECT_TRUE(TKRunMatchColor(session_, &match).changed);
    const HCurvePoints& red = Live().rgbCurve[1].points.xy;
    ASSERT_EQ(red.pointCount, 3);
    bool lifted = false;
    for (int32_t i = 0; i < red.pointCount; ++i) lifted |= red.x[i] == 0 && red.y[i] == 0.125f;
    EXPECT_TRUE(lifted);
}

TEST_F(TKMatchColorTest, AMatchThatChangesNothingOpensNoStepAndKeepsWhatCanBeRedone)
{
    SetTriple(kTKMatchSourceOffset, 0.25f, 0.25f, 0.25f);
    SetTriple(kTKMatchTargetOffset, 0.5f, 0.5f, 0.5f);
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchRGB, tkSectionNone, "match");
    EXPECT_TRUE(TKRunMatchColor(session_, &match).changed);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    EXPECT_TRUE(TKUndoStepBack(session_));
    const uint32_t steps = Steps(), renders = Renders();
    const OCSettings matched = Live();
    const TKEffect effect = TKRunMatchColor(session_, &match);
    EXPECT_FALSE(effect.changed || effect.opensUndo || effect.rerenders);
    EXPECT_EQ(std::memcmp(&matched, &Live(), sizeof matched), 0);
    EXPECT_EQ(Steps(), steps);
    EXPECT_EQ(Renders(), renders);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    Live().rgb.master.on = 0; // equal values, but the section is off
    EXPECT_TRUE(TKRunMatchColor(session_, &match).changed);
    EXPECT_EQ(Live().rgb.master.on, 1u);
}

TEST_F(TKMatchColorTest, EntriesStayWithinTheList)
{
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchCMY, tkSectionNone, "match");
    EXPECT_STREQ(TKMatchColorList(match), "C + M + Y|Master|Cyan|Magenta|Yellow|C + M|C + Y|M + Y");
    EXPECT_FALSE(TKSelectMatchEntry(session_, &match, -7));
    EXPECT_TRUE(TKSelectMatchEntry(session_, &match, 700));
    EXPECT_EQ(match.entry, 8);
}

TEST_F(TKMatchColorTest, TheEyedroppersOfTheRowFillItsSwatches)
{
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchRGB, tkSectionNone, "match");
    const float color[3] = {0.5f, 0.25f, 1};
    for (TKEyedropper* eyedropper : {&match.sourceEyedropper, &match.targetEyedropper}) {
        (void)TKEyedropperClick(session_, eyedropper, 0);
        TKPickSample(session_, color);
        EXPECT_TRUE(TKPickEnd(session_).changed);
    }
    float shown[3];
    for (const TKSwatch* swatch : {&match.source, &match.target}) {
        TKSwatchColor(session_, *swatch, shown);
        EXPECT_EQ(std::memcmp(shown, color, sizeof color), 0);
    }
    EXPECT_EQ(Renders(), 2u); // as every pick
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(TKMatchColorTest, AResetOfTheGradeKeepsThePickedColours)
{
    SetTriple(kTKColorSampleOffset, 0.1f, 0.2f, 0.3f);
    SetTriple(kTKMatchSourceOffset, 0.4f, 0.5f, 0.6f);
    SetTriple(kTKMatchTargetOffset, 0.7f, 0.8f, 0.9f);
    before_ = Live();
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_TRUE(IsUntouched());
}

} // namespace
