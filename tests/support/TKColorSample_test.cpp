// The colour sample composite, the row of colour match, what controls carry, and the texts of tool tips.
#include "src/support/TKColorSample.h"

#include "src/support/TKMatchColor.h"
#include "src/support/TKToolTips.h"
#include "tests/support/TKTestSession.h"

#include <cmath>

namespace {

constexpr uint32_t kTriple = offsetof(OCSettings, secondary[2].sample[0].red);
constexpr uint32_t kSwitch = offsetof(OCSettings, secondary[2].sample[0].on);

class TKSamplesTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        before_ = Live();
        renders_ = session_->renderCount;
    }
    OCSettings& Live() { return session_->liveSettings; }
    void SetTriple(uint32_t offset, float r, float g, float b)
    {
        const float rgb[3] = {r, g, b};
        std::memcpy(reinterpret_cast<uint8_t*>(&Live()) + offset, rgb, sizeof rgb);
    }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    bool IsUntouched() { return std::memcmp(&before_, &Live(), sizeof before_) == 0; }

    OCSettings before_ = {};
    uint32_t renders_ = 0;
};

// --- The composite ----------------------------------------------------------------------------------------------------

TEST_F(TKSamplesTest, APickFillsTheSampleSwitchesItOnAndMarksItsSecondary)
{
    TKColorSample sample;
    ASSERT_EQ(
        TKCreateColorSample(&sample, &Live(), kTriple, kSwitch, tkSectionSecondaryC, 1, nullptr, "Sample 1", "c_1"),
        bpNoErr);
    windows_.calls.clear();
    const float color[3] = {0.5f, 0.25f, 1};
    (void)TKEyedropperClick(session_, &sample.eyedropper, 0);
    TKPickSample(session_, color);
    EXPECT_TRUE(TKPickEnd(session_).changed);
    EXPECT_EQ(Live().secondary[2].sample[0].on, 1u);
    EXPECT_EQ(Live().secondary[2].sample[0].green, 0.25f);
    EXPECT_EQ(Live().secondary[2].on, 1u);
    EXPECT_EQ(Live().secondaryOn, 1u);
    for (const std::string& call : windows_.calls) EXPECT_NE(call.rfind("slider", 0), 0u) << call; // none moves
    EXPECT_TRUE(TKCheckboxIsOn(sample.checkbox));
    EXPECT_TRUE(TKCheckboxClick(session_, &sample.checkbox, false).changed);
    EXPECT_EQ(Live().secondary[2].sample[0].on, 0u);
    EXPECT_EQ(Live().secondary[2].sample[0].green, 0.25f);
    TKDisposeColorSample(&sample);
}

TEST_F(TKSamplesTest, ThePopupPicksTheFormatOfBothSwatchesAndOfTheLinkedOne)
{
    TKColorSample sample;
    ASSERT_EQ(TKCreateColorSample(&sample, &Live(), kTriple, kTKNoOffset, tkSectionNone, 1, nullptr, "Color", "c"),
              bpNoErr);
    TKSwatch linked;
    TKCreateSwatch(&linked, &Live(), kTKMatchSourceOffset, "Linked", "linked");
    TKLinkColorSample(&sample, &linked);
    static uint32_t redraws;
    redraws = 0;
    for (TKSwatch* swatch : {&sample.source, &sample.result, &linked}) swatch->redraw = [](void*) { ++redraws; };
    EXPECT_FALSE(TKSelectColorFormat(session_, &sample, 0)); // 8 bits already
    EXPECT_EQ(redraws, 0u);
    for (int32_t index = 6; index >= 0; --index) EXPECT_TRUE(TKSelectColorFormat(session_, &sample, index));
    EXPECT_EQ(redraws, 21u);
    EXPECT_TRUE(TKSelectColorFormat(session_, &sample, 99));
    EXPECT_EQ(*sample.source.format, tkColorHex);
    EXPECT_EQ(*sample.result.format, tkColorHex);
    EXPECT_EQ(*linked.format, tkColorHex);
    EXPECT_TRUE(TKSelectColorFormat(session_, &sample, -1));
    EXPECT_EQ(*linked.format, tkColorRGB8);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Renders(), 0u);
    TKDisposeColorSample(&sample);
}

TEST_F(TKSamplesTest, TheLinkedSwatchTakesThePickedColour)
{
    TKColorSample sample;
    ASSERT_EQ(TKCreateColorSample(&sample, &Live(), kTKColorSampleOffset, kTKNoOffset, tkSectionNone, 1, nullptr,
                                  "Color", "c"),
              bpNoErr);
    TKSwatch linked;
    TKCreateSwatch(&linked, &Live(), kTKMatchSourceOffset, "Linked", "linked");
    TKLinkColorSample(&sample, &linked);
    const float color[3] = {0.5f, 0.25f, 1};
    (void)TKEyedropperClick(session_, &sample.eyedropper, 0);
    TKPickSample(session_, color);
    float shown[3];
    TKSwatchColor(session_, linked, shown); // already while it is picked
    EXPECT_EQ(shown[1], 0.25f);
    EXPECT_TRUE(TKPickEnd(session_).changed);
    EXPECT_EQ(std::memcmp(Live().limiterPaneState, color, sizeof color), 0);
    EXPECT_EQ(std::memcmp(Live().unassigned, color, sizeof color), 0);
    TKLinkColorSample(&sample, nullptr);
    EXPECT_EQ(sample.eyedropper.linkedOffset, kTKNoOffset);
    TKDisposeColorSample(&sample);
}

TEST_F(TKSamplesTest, ThePartsFillTheCompositeWithoutOverlap)
{
    const TKColorSampleLayout layout = TKLayOutColorSample();
    EXPECT_EQ(kTKColorSampleHeight, 113);
    EXPECT_EQ(layout.source.width, 65);
    EXPECT_EQ(layout.result.width, 65);
    EXPECT_EQ(layout.source.x + layout.source.width, layout.result.x); // side by side
    EXPECT_EQ(layout.source.y, layout.result.y);
    EXPECT_LT(layout.eyedropper.x + layout.eyedropper.width, layout.source.x);
    EXPECT_EQ(layout.popup.y, 93);
    EXPECT_EQ(layout.popup.width, 170);
    EXPECT_EQ(layout.popup.y + layout.popup.height, kTKColorSampleHeight);
    EXPECT_LE(layout.source.y + layout.source.height, layout.popup.y);
    EXPECT_LE(layout.result.x + layout.result.width, kTKColorSampleWidth);
    EXPECT_LE(layout.label.y + layout.label.height, layout.source.y);
}

TEST_F(TKSamplesTest, ThePartsOfACompositeFindEachOtherByTheirIdentity)
{
    TKControlNode root;
    TKInitNode(&root, nullptr, nullptr);
    TKColorSample samples[4];
    for (int32_t i = 0; i < 4; ++i)
        ASSERT_EQ(TKCreateColorSample(&samples[i], &Live(), kTriple, i == 3 ? kTKNoOffset : kSwitch,
                                      tkSectionSecondaryC, i + 1, &root, "Sample", "s"),
                  bpNoErr);
    for (int32_t i = 0; i < 4; ++i) {
        TKControlNode* found = nullptr;
        ASSERT_EQ(FindControlByID(&root, {kTKControlSwatch, i + 1}, &found), bpNoErr);
        EXPECT_EQ(found->control, &samples[i].source);
        ASSERT_EQ(FindControlByID(&root, {kTKControlResultSwatch, i + 1}, &found), bpNoErr);
        EXPECT_EQ(found->control, &samples[i].result);
        ASSERT_EQ(FindControlByID(&root, {kTKControlEyedropper, i + 1}, &found), bpNoErr);
        EXPECT_EQ(found->control, &samples[i].eyedropper);
        ASSERT_EQ(FindControlByID(&root, {kTKControlFormatPopup, i + 1}, &found), bpNoErr);
        EXPECT_EQ(found->parent, &samples[i].node);
        EXPECT_EQ(FindControlByID(&root, {kTKControlCheckbox, i + 1}, &found), i == 3 ? bpControlNotFoundErr : bpNoErr);
    }
    TKControlNode* found = &root;
    EXPECT_EQ(static_cast<int>(FindControlByID(&root, {kTKControlSwatch, 5}, &found)), -5604);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(FindControlByID(&root, {kTKControlTargetSwatch, 1}, &found), bpControlNotFoundErr);
    EXPECT_EQ(FindControlByID(&samples[0].node, {kTKControlSwatch, 2}, &found), bpControlNotFoundErr); // another's
    for (TKColorSample& sample : samples) TKDisposeColorSample(&sample);
    EXPECT_EQ(root.firstChild, nullptr);
    TKDisposeNode(&root);
}

TEST_F(TKSamplesTest, WithoutMemoryForIdentitiesACompositeStillWorks)
{
    for (uint32_t nth = 1; nth <= 5; ++nth) {
        TKColorSample sample;
        BPFailAllocation(nth);
        EXPECT_EQ(TKCreateColorSample(&sample, &Live(), kTriple, kSwitch, tkSectionSecondaryC, 1, nullptr, "S", "s"),
                  bpMemFullErr);
        BPFailAllocation(0);
        EXPECT_EQ(sample.result.dataOffset, kTriple);
        TKDisposeColorSample(&sample);
    }
}

// --- Colour match -----------------------------------------------------------------------------------------------------

TEST_F(TKSamplesTest, AMatchWritesItsValueInOneStepMarksItsSectionAndMovesItsSlider)
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

TEST_F(TKSamplesTest, EveryPaneMarksTheSectionsOfWhatItWrote)
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

TEST_F(TKSamplesTest, NothingHappensOnTheHueOffsetsTabOrWithAnEntryThatWritesNothing)
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

TEST_F(TKSamplesTest, ADenominatorOfZeroIsNotGuarded)
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

TEST_F(TKSamplesTest, BlackMatchesOnTheCurvesAsAnyOtherColour)
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

TEST_F(TKSamplesTest, AMatchThatChangesNothingOpensNoStepAndKeepsWhatCanBeRedone)
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

TEST_F(TKSamplesTest, EntriesStayWithinTheList)
{
    TKMatchColor match;
    TKInitMatchColor(&match, &Live(), ocMatchCMY, tkSectionNone, "match");
    EXPECT_STREQ(TKMatchColorList(match), "C + M + Y|Master|Cyan|Magenta|Yellow|C + M|C + Y|M + Y");
    EXPECT_FALSE(TKSelectMatchEntry(session_, &match, -7));
    EXPECT_TRUE(TKSelectMatchEntry(session_, &match, 700));
    EXPECT_EQ(match.entry, 8);
}

TEST_F(TKSamplesTest, TheEyedroppersOfTheRowFillItsSwatches)
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
    EXPECT_EQ(Renders(), 0u); // no pixel depends on them
    EXPECT_EQ(Steps(), 2u);
}

TEST_F(TKSamplesTest, AResetOfTheGradeKeepsThePickedColours)
{
    SetTriple(kTKColorSampleOffset, 0.1f, 0.2f, 0.3f);
    SetTriple(kTKMatchSourceOffset, 0.4f, 0.5f, 0.6f);
    SetTriple(kTKMatchTargetOffset, 0.7f, 0.8f, 0.9f);
    before_ = Live();
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_TRUE(IsUntouched());
}

// --- Properties -------------------------------------------------------------------------------------------------------

constexpr uint32_t kUndo = TKFourCharacters("undo");

TEST_F(TKSamplesTest, APropertyIsACopyOfWhatWasSetAndMayBeSetAgain)
{
    TKControlNode node;
    TKInitNode(&node, nullptr, nullptr);
    float value = 1.5f;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &value, sizeof value), bpNoErr);
    value = 2;
    float read = 0;
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &read, sizeof read), bpNoErr);
    EXPECT_EQ(read, 1.5f);
    const uint8_t flag = 1;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, TKFourCharacters("aper"), &flag, 1), bpNoErr);
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &value, sizeof value), bpNoErr);
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &read, sizeof read), bpNoErr);
    EXPECT_EQ(read, 2.0f);
    EXPECT_EQ(ControlPropertySize(&node, kTKPropertySignature, TKFourCharacters("aper")), 1u);
    EXPECT_EQ(ControlPropertySize(&node, kTKPropertySignature, TKFourCharacters("none")), 0u);
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, nullptr, 0), bpNoErr);
    EXPECT_EQ(ControlPropertySize(&node, kTKPropertySignature, kUndo), 0u);
    TKDisposeNode(&node);
    EXPECT_EQ(node.properties, nullptr);
}

TEST_F(TKSamplesTest, AMissingPropertyIsLoggedAndZeroesTheBuffer)
{
    TKControlNode node;
    TKInitNode(&node, nullptr, nullptr);
    uint64_t buffer = ~uint64_t{0};
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &buffer, sizeof buffer), bpParamErr);
    EXPECT_EQ(buffer, 0u);
    EXPECT_EQ(TKLogCount("GetControlProperty failed to find sig 'BPc3', id 'undo'\n"), 1u);
    // A value of another size is not what was asked for.
    const uint8_t flag = 1;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &flag, 1), bpNoErr);
    buffer = ~uint64_t{0};
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &buffer, sizeof buffer), bpParamErr);
    EXPECT_EQ(buffer, 0u);
    EXPECT_EQ(TKLogCount("GetControlProperty failed to find sig 'BPc3', id 'undo'\n"), 2u);
    TKDisposeNode(&node);
}

TEST_F(TKSamplesTest, NamesStopAtTheFirstZeroByteOfEachHalf)
{
    EXPECT_STREQ(TKPropertyNameOf(kTKPropertySignature, kUndo).text, "BPc3undo");
    EXPECT_STREQ(TKPropertyNameOf(0x41420043, 0x44000000).text, "ABD");
    EXPECT_STREQ(TKPropertyNameOf(0, 0).text, "");
    EXPECT_STREQ(TKPropertyNameOf(0x42504374, 0x6C494400).text, "BPCtlID");
}

TEST_F(TKSamplesTest, WithoutMemoryAPropertyKeepsItsOlderValue)
{
    TKControlNode node;
    TKInitNode(&node, nullptr, nullptr);
    const int32_t first = 7, second = 8;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &first, sizeof first), bpNoErr);
    BPFailAllocation(1);
    EXPECT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &second, sizeof second), bpMemFullErr);
    BPFailAllocation(0);
    int32_t read = 0;
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &read, sizeof read), bpNoErr);
    EXPECT_EQ(read, 7);
    TKDisposeNode(&node);
}

TEST_F(TKSamplesTest, ADisposedNodeLeavesItsSiblingsAndItsChildrenWhole)
{
    TKControlNode root, first, second, third, child;
    TKInitNode(&root, nullptr, nullptr);
    for (TKControlNode* node : {&first, &second, &third}) TKInitNode(node, &root, nullptr);
    TKInitNode(&child, &second, nullptr);
    ASSERT_EQ(SetControlID(&child, {kTKControlPopup, 3}), bpNoErr);
    TKControlNode* found = nullptr;
    EXPECT_EQ(FindControlByID(&root, {kTKControlPopup, 3}, &found), bpNoErr);
    TKDisposeNode(&second);
    EXPECT_EQ(root.firstChild, &first);
    EXPECT_EQ(first.nextSibling, &third);
    EXPECT_EQ(child.parent, nullptr);
    EXPECT_EQ(FindControlByID(&root, {kTKControlPopup, 3}, &found), bpControlNotFoundErr);
    EXPECT_EQ(ControlPropertySize(&child, TKFourCharacters("BPCt"), 0x6C494400), sizeof(TKControlID));
    for (TKControlNode* node : {&child, &first, &third, &root}) TKDisposeNode(node);
}

// --- Tool tips --------------------------------------------------------------------------------------------------------

TEST(TKToolTips, TheTableHasItsTextsAndAHoleAt15)
{
    const char* const texts[] = {
        "Add file to reference gallery",
        "Use selection as reference image or settings",
        "Remove selection from gallery",
        "Create new folder",
        "Choose color match target color...",
        "Choose color match target color. Press option and click for color picker.",
        "Choose color matching method",
        "Adjust settings to match source and target colors",
        "Color match source color",
        "Color match target color",
        "Choose color sample",
        "Sample source color",
        "Sample result color",
        "Choose color display format",
        nullptr,
        "Choose gray point",
        "Choose white point",
        "Save current correction settings as user preset",
    };
    for (uint32_t i = 0; i < std::size(texts); ++i)
        EXPECT_STREQ(TKToolTipText(kTKToolTipBase, i + 1), texts[i]) << i + 1;
    EXPECT_EQ(TKToolTipText(kTKToolTipBase, 0), nullptr);
    EXPECT_EQ(TKToolTipText(kTKToolTipBase, 19), nullptr);
    EXPECT_EQ(TKToolTipText(1999, 0), nullptr);
    EXPECT_EQ(TKToolTipText(0, 5), nullptr);
    EXPECT_EQ(TKToolTipText(UINT32_MAX, 2001), nullptr);
}

} // namespace
