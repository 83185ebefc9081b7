// The colour sample composite.
#include "src/support/TKColorSample.h"

#include "src/support/TKMatchColor.h"
#include "tests/support/TKControlsTest.h"

namespace {

using TKSamplesTest = TKControlsTest;

constexpr uint32_t kTriple = offsetof(OCSettings, secondary[2].sample[0].red);
constexpr uint32_t kSwitch = offsetof(OCSettings, secondary[2].sample[0].on);

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
    EXPECT_EQ(FindControlByID(&root, {kTKPropertySignature, 1}, &found), bpControlNotFoundErr);
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

TEST_F(TKSamplesTest, APickBeginsWithTheColourOfTheSwatchThatBearsItsIdentity)
{
    TKControlNode root;
    TKInitNode(&root, nullptr, nullptr);
    TKColorSample samples[2];
    constexpr uint32_t second = offsetof(OCSettings, secondary[2].sample[1].red);
    for (int32_t i = 0; i < 2; ++i)
        ASSERT_EQ(TKCreateColorSample(&samples[i], &Live(), i == 0 ? kTriple : second, kTKNoOffset, tkSectionSecondaryC,
                                      i + 1, &root, "Sample", "s"),
                  bpNoErr);
    SetTriple(kTriple, 0.25f, 0.5f, 0.75f);
    SetTriple(second, 1, 0, 0);
    (void)TKEyedropperClick(session_, &samples[1].eyedropper, 0);
    EXPECT_EQ(session_->pick.sample[0], 1.0f);
    samples[1].source.dataOffset = kTriple; // the swatch is asked, not the eyedropper
    TKPickCancel(session_);
    (void)TKEyedropperClick(session_, &samples[1].eyedropper, 0);
    EXPECT_EQ(session_->pick.sample[0], 0.25f);
    TKPickCancel(session_);
    // Without identities the field of the eyedropper serves.
    TKDisposeNode(&samples[1].eyedropperNode);
    (void)TKEyedropperClick(session_, &samples[1].eyedropper, 0);
    EXPECT_EQ(session_->pick.sample[0], 1.0f);
    TKPickCancel(session_);
    for (TKColorSample& sample : samples) TKDisposeColorSample(&sample);
    TKDisposeNode(&root);
}

TEST_F(TKSamplesTest, TheSwitchOfASampleIsReadByItsLowByte)
{
    TKColorSample sample;
    ASSERT_EQ(TKCreateColorSample(&sample, &Live(), kTriple, kSwitch, tkSectionSecondaryC, 1, nullptr, "S", "s"),
              bpNoErr);
    Live().secondary[2].sample[0].on = 0x100; // the engine keys nothing
    EXPECT_FALSE(TKCheckboxIsOn(sample.checkbox));
    Live().secondary[2].sample[0].on = 0xFF01;
    EXPECT_TRUE(TKCheckboxIsOn(sample.checkbox));
    TKDisposeColorSample(&sample);
}

} // namespace
