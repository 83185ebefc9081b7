// Picking colours from a picture and from the dialog.
#include "src/support/TKEyedropper.h"

#include "src/support/TKMatchColor.h"
#include "src/support/TKSwatch.h"
#include "tests/support/TKControlsTest.h"

#include <cmath>

namespace {

constexpr uint32_t kSample = offsetof(OCSettings, secondary[1].sample[2].red);
constexpr uint32_t kSampleOn = offsetof(OCSettings, secondary[1].sample[2].on);
constexpr float kColor[3] = {0.25f, 0.5f, 0.75f};
constexpr float kOther[3] = {0.125f, 1.5f, -0.25f};

struct Dialog {
    bool accept = true;
    uint8_t answer[3] = {51, 102, 255};
    uint8_t shown[3] = {};
    std::string title;
    uint32_t asked = 0;
    std::function<void()> meanwhile;
};
Dialog gDialog;
uint32_t gModeChanges;

class TKEyedropperTest : public TKControlsTest {
  protected:
    void SetUp() override
    {
        TKControlsTest::SetUp();
        gDialog = {};
        gModeChanges = 0;
        session_->ui.pickModeChanged = [](void*) { ++gModeChanges; };
        session_->ui.chooseColor = [](void*, const char* title, uint8_t rgb[3]) {
            ++gDialog.asked;
            gDialog.title = title;
            std::memcpy(gDialog.shown, rgb, 3);
            if (gDialog.meanwhile) gDialog.meanwhile();
            std::memcpy(rgb, gDialog.answer, 3);
            return gDialog.accept;
        };
        TKCreateEyedropper(&dropper_, &Live(), kSample, tkSectionSecondaryB, "Sample 3", "b_3");
    }

    const float* Sample() { return &Live().secondary[1].sample[2].red; }
    bool IsColor(const float rgb[3]) { return std::memcmp(Sample(), rgb, 12) == 0; }
    TKEffect Pick(const float rgb[3])
    {
        (void)TKEyedropperClick(session_, &dropper_, 0);
        TKPickSample(session_, rgb);
        return TKPickEnd(session_);
    }

    TKEyedropper dropper_ = {};
};

TEST_F(TKEyedropperTest, AClickPutsThePanesIntoPickModeAndTouchesNothing)
{
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_EQ(TKPickCursor(session_, 0), 0u);
    EXPECT_FALSE(TKEyedropperClick(session_, &dropper_, 0).changed);
    EXPECT_TRUE(TKIsPickingFor(session_, &dropper_));
    EXPECT_EQ(session_->pick.cursor, 500u);
    EXPECT_EQ(gModeChanges, 1u);
    TKPickSample(session_, kColor);
    TKPickSample(session_, kOther);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKEyedropperTest, TheReleaseStoresTheLastSampleMarksTheSectionAndRendersOnce)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    TKPickSample(session_, kOther);
    const TKEffect effect = TKPickEnd(session_);
    EXPECT_TRUE(effect.changed && effect.opensUndo && effect.rerenders);
    EXPECT_TRUE(IsColor(kOther));
    EXPECT_EQ(Live().secondary[1].on, 1u);
    EXPECT_EQ(Live().secondaryOn, 1u);
    EXPECT_EQ(Live().secondary[0].on, 0u);
    EXPECT_EQ(Renders(), 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_EQ(gModeChanges, 2u);
    // What the ring holds as the newest state is the record after the pick.
    const OCSettings after = Live();
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(IsUntouched());
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(std::memcmp(&after, &Live(), sizeof after), 0);
}

TEST_F(TKEyedropperTest, EachPickIsAStepOfItsOwn)
{
    (void)Pick(kColor);
    (void)Pick(kOther);
    EXPECT_EQ(Steps(), 2u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(IsColor(kColor));
}

TEST_F(TKEyedropperTest, WithoutTheUndoPropertyThePickJoinsTheNewestState)
{
    (void)TKSliderDrag(session_, &gain_, 70000);
    dropper_.opensUndo = false;
    EXPECT_FALSE(Pick(kColor).opensUndo);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_TRUE(IsUntouched());
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_TRUE(IsColor(kColor));
}

TEST_F(TKEyedropperTest, PickingTheColourThatStandsThereOpensNoStep)
{
    (void)Pick(kColor);
    renders_ = session_->renderCount;
    EXPECT_FALSE(Pick(kColor).changed);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_EQ(Renders(), 0u);
    Live().secondaryOn = 0; // but it turns a section on that was off
    EXPECT_TRUE(Pick(kColor).changed);
    EXPECT_EQ(Live().secondaryOn, 1u);
}

TEST_F(TKEyedropperTest, ASwitchWhoseLowByteIsZeroIsTurnedOn)
{
    dropper_.switchOffset = kSampleOn;
    Live().secondary[1].sample[2].on = 0x100; // off to the engine
    EXPECT_TRUE(Pick(kColor).changed);
    EXPECT_EQ(Live().secondary[1].sample[2].on, 1u);
    Live().secondary[1].sample[2].on = 0x100;
    EXPECT_TRUE(Pick(kColor).changed); // the colour stands there already
    EXPECT_EQ(Live().secondary[1].sample[2].on, 1u);
}

TEST_F(TKEyedropperTest, TheLinkedFieldTakesTheColourToo)
{
    dropper_.linkedOffset = offsetof(OCSettings, unassigned);
    (void)Pick(kColor);
    EXPECT_TRUE(IsColor(kColor));
    EXPECT_EQ(std::memcmp(Live().unassigned, kColor, 12), 0);
}

TEST_F(TKEyedropperTest, ASampleThatIsPickedIsSwitchedOn)
{
    (void)Pick(kColor);
    EXPECT_EQ(Live().secondary[1].sample[2].on, 0u); // not without a switch of its own
    dropper_.switchOffset = kSampleOn;
    const uint32_t told = windows_.switches;
    (void)Pick(kColor);
    EXPECT_EQ(Live().secondary[1].sample[2].on, 1u);
    EXPECT_GT(windows_.switches, told);
    Live().secondary[1].sample[2].on = 77;
    (void)Pick(kOther);
    EXPECT_EQ(Live().secondary[1].sample[2].on, 77u);
}

TEST_F(TKEyedropperTest, TheProcedureRunsBeforeTheStoreWithTheNewColour)
{
    static float seen[3], held[3];
    dropper_.pickProc = [](TKSession* session, TKEyedropper*, const float rgb[3]) {
        std::memcpy(seen, rgb, sizeof seen);
        std::memcpy(held, &session->liveSettings.secondary[1].sample[2].red, sizeof held);
        session->liveSettings.rgbOn = 5; // what a procedure writes is of the same step
    };
    (void)Pick(kColor);
    EXPECT_EQ(std::memcmp(seen, kColor, sizeof seen), 0);
    EXPECT_EQ(held[0], 0.0f);
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Live().rgbOn, 0u);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(Live().rgbOn, 5u);
    const uint32_t steps = Steps();
    seen[0] = 0;
    (void)Pick(kColor); // the same colour: the procedure is called, and writes what stands there
    EXPECT_EQ(seen[0], kColor[0]);
    EXPECT_EQ(Steps(), steps);
}

TEST_F(TKEyedropperTest, AProcedureThatWritesNothingLeavesTheNewestStateAlone)
{
    // The newest state of the ring is older than the grade, as after a paste.
    (void)TKSliderDrag(session_, &gain_, 70000);
    Live().hsl.master.gain = 2;
    float picked[3] = {};
    TKCreateEyedropper(&dropper_, picked, 0, tkSectionNone, "Black Point", "black");
    dropper_.opensUndo = false;
    dropper_.repaint = false;
    dropper_.pickProc = [](TKSession*, TKEyedropper*, const float*) {};
    EXPECT_TRUE(Pick(kColor).changed); // its own field
    EXPECT_EQ(picked[2], 0.75f);
    EXPECT_EQ(NewestState().hsl.master.gain, 70000 / 65536.0f);
    dropper_.pickProc = [](TKSession* session, TKEyedropper*, const float*) { session->liveSettings.rgbOn = 1; };
    (void)Pick(kColor);
    EXPECT_EQ(NewestState().hsl.master.gain, 2.0f);
    EXPECT_EQ(NewestState().rgbOn, 1u);
}

TEST_F(TKEyedropperTest, EscapeGivesAPickUpWhereverTheFocusIs)
{
    EXPECT_FALSE(TKPickKey(session_, kTKKeyEscape)); // nothing is picked
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    EXPECT_FALSE(TKPickKey(session_, kTKKeyReturn));
    OpenEdit(session_, &gain_);
    EXPECT_FALSE(TKPickKey(session_, kTKKeyEscape)); // the edit's
    (void)CommitOpenEdit(session_, false);
    EXPECT_TRUE(TKIsPicking(session_));
    EXPECT_TRUE(TKPickKey(session_, kTKKeyEscape));
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_TRUE(IsUntouched());
}

TEST_F(TKEyedropperTest, AnEyedropperThatIsForgottenTakesItsPickAlong)
{
    TKEyedropper other;
    TKCreateEyedropper(&other, &Live(), kTKMatchSourceOffset, tkSectionNone, "Other", "other");
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKForgetEyedropper(session_, &other);
    EXPECT_TRUE(TKIsPicking(session_));
    TKForgetEyedropper(session_, &dropper_);
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_EQ(session_->pick.eyedropper, nullptr);
    EXPECT_EQ(gModeChanges, 2u);
}

TEST_F(TKEyedropperTest, WithoutRepaintThePictureStays)
{
    dropper_.repaint = false;
    EXPECT_FALSE(Pick(kColor).rerenders);
    EXPECT_TRUE(IsColor(kColor));
    EXPECT_EQ(Renders(), 0u);
}

TEST_F(TKEyedropperTest, AReleaseWithoutASampleGivesThePickUp)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    EXPECT_FALSE(TKPickEnd(session_).changed);
    EXPECT_FALSE(TKIsPicking(session_));
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(TKEyedropperTest, ASecondClickOrACancelGivesThePickUp)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    (void)TKEyedropperClick(session_, &dropper_, 0);
    EXPECT_FALSE(TKIsPicking(session_));
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    TKPickCancel(session_);
    EXPECT_FALSE(TKPickEnd(session_).changed);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);
    const uint32_t changes = gModeChanges;
    TKPickCancel(session_); // nothing to give up
    EXPECT_EQ(gModeChanges, changes);
}

TEST_F(TKEyedropperTest, AnotherEyedropperTakesThePickOver)
{
    TKEyedropper other;
    TKCreateEyedropper(&other, &Live(), offsetof(OCSettings, unassigned), tkSectionNone, "Other", "other");
    other.cursor = 502;
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    (void)TKEyedropperClick(session_, &other, 0);
    EXPECT_TRUE(TKIsPickingFor(session_, &other));
    EXPECT_FALSE(session_->pick.sampled);
    EXPECT_EQ(session_->pick.cursor, 502u);
    TKPickSample(session_, kOther);
    (void)TKPickEnd(session_);
    EXPECT_EQ(std::memcmp(Live().unassigned, kOther, 12), 0);
    EXPECT_EQ(Sample()[0], 0.0f);
    EXPECT_EQ(Live().secondaryOn, 0u);
}

TEST_F(TKEyedropperTest, ShiftAndControlChangeTheCursorAndNothingElse)
{
    (void)TKEyedropperClick(session_, &dropper_, bpShiftKey);
    EXPECT_EQ(TKPickCursor(session_, 0), 500u);
    EXPECT_EQ(TKPickCursor(session_, bpShiftKey), 513u);
    EXPECT_EQ(TKPickCursor(session_, bpControlKey), 514u);
    EXPECT_EQ(TKPickCursor(session_, bpShiftKey | bpControlKey | bpCapsLock), 515u);
    EXPECT_EQ(TKPickCursor(session_, bpAltKey), 500u);
    session_->pick.cursor = 503; // those of the curves have no variants
    EXPECT_EQ(TKPickCursor(session_, bpShiftKey), 503u);
}

TEST_F(TKEyedropperTest, NoNumberThatIsNoneReachesTheRecord)
{
    const float wild[3] = {NAN, INFINITY, -INFINITY};
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, wild);
    EXPECT_EQ(session_->pick.triple[0], 0.0f);
    dropper_.switchOffset = kSampleOn;
    (void)TKPickEnd(session_);
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(Sample()[i], 0.0f);
}

TEST_F(TKEyedropperTest, SamplesWithoutAPickAreDropped)
{
    TKPickSample(session_, kColor);
    EXPECT_FALSE(TKPickEnd(session_).changed);
    EXPECT_TRUE(IsUntouched());
}

TEST_F(TKEyedropperTest, ControlOpensTheDialogOnTheColourIn8BitsAndOKDividesBy255)
{
    Live().secondary[1].sample[2] = {.on = 0, .red = 1.5f, .green = -1, .blue = 128 / 255.0f};
    const TKEffect effect = TKEyedropperClick(session_, &dropper_, bpControlKey);
    EXPECT_EQ(gDialog.asked, 1u);
    EXPECT_EQ(gDialog.title, "Sample 3");
    EXPECT_EQ(gDialog.shown[0], 255);
    EXPECT_EQ(gDialog.shown[1], 0);
    EXPECT_EQ(gDialog.shown[2], 128);
    EXPECT_TRUE(effect.changed && effect.opensUndo && effect.rerenders);
    const float answer[3] = {51 / 255.0f, 102 / 255.0f, 1.0f};
    EXPECT_TRUE(IsColor(answer));
    EXPECT_EQ(Live().secondaryOn, 1u);
    EXPECT_EQ(Steps(), 1u);
    EXPECT_FALSE(TKIsPicking(session_));
}

TEST_F(TKEyedropperTest, CancellingTheDialogLeavesTheTripleBitForBit)
{
    Live().secondary[1].sample[2].red = 0.123456f; // no 8-bit value
    before_ = Live();
    gDialog.accept = false;
    EXPECT_FALSE(TKEyedropperClick(session_, &dropper_, bpControlKey | bpShiftKey).changed);
    EXPECT_EQ(gDialog.asked, 1u);
    EXPECT_TRUE(IsUntouched());
    EXPECT_EQ(Steps(), 0u);
}

TEST_F(TKEyedropperTest, WithoutThePropertyControlPicksFromThePicture)
{
    dropper_.offersDialog = false;
    (void)TKEyedropperClick(session_, &dropper_, bpControlKey);
    EXPECT_EQ(gDialog.asked, 0u);
    EXPECT_TRUE(TKIsPicking(session_));
}

TEST_F(TKEyedropperTest, TheDialogEndsAPickThatIsUnderWay)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    (void)TKEyedropperClick(session_, &dropper_, bpControlKey);
    EXPECT_EQ(gDialog.asked, 1u);
    EXPECT_FALSE(TKIsPicking(session_));
}

TEST_F(TKEyedropperTest, AnAnswerAfterTheHostHasGoneIsDropped)
{
    gDialog.meanwhile = [this] { session_->tickCount = 0; }; // another host was attached
    session_->tickCount = 10;
    EXPECT_FALSE(TKEyedropperClick(session_, &dropper_, bpControlKey).changed);
    gDialog.meanwhile = [this] { session_->quitting = true; };
    EXPECT_FALSE(TKEyedropperClick(session_, &dropper_, bpControlKey).changed);
    EXPECT_TRUE(IsUntouched());
}

TEST_F(TKEyedropperTest, TheEndOfASessionGivesThePickUp)
{
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    TKEndSession(session_, kTKCommandCancel);
    EXPECT_FALSE(TKIsPicking(session_));
}

TEST_F(TKEyedropperTest, AnOpenEditIsCommittedFirst)
{
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2.5");
    (void)TKEyedropperClick(session_, &dropper_, 0);
    EXPECT_EQ(Live().hsl.master.gain, 2.5f);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
}

TEST_F(TKEyedropperTest, SwatchesOfTheFieldShowTheSampleWhileItIsPicked)
{
    TKSwatch bound, elsewhere;
    TKCreateSwatch(&bound, &Live(), kSample, "", "");
    TKCreateSwatch(&elsewhere, &Live(), offsetof(OCSettings, unassigned), "", "");
    static uint32_t redraws;
    redraws = 0;
    bound.redraw = [](void*) { ++redraws; };
    ASSERT_EQ(TKRegisterSwatch(session_, &bound), bpNoErr);
    (void)TKEyedropperClick(session_, &dropper_, 0);
    TKPickSample(session_, kColor);
    EXPECT_EQ(redraws, 1u);
    TKPickSample(session_, kColor);
    EXPECT_EQ(redraws, 1u); // nothing new to show
    float shown[3];
    TKSwatchColor(session_, bound, shown);
    EXPECT_EQ(std::memcmp(shown, kColor, sizeof shown), 0);
    TKSwatchColor(session_, elsewhere, shown);
    EXPECT_EQ(shown[1], 0.0f);
    TKPickCancel(session_);
    EXPECT_EQ(redraws, 2u);
    TKSwatchColor(session_, bound, shown);
    EXPECT_EQ(shown[1], 0.0f);
    TKForgetSwatch(session_, &bound);
    EXPECT_EQ(session_->controls.swatchCount, 0u);
}

} // namespace
