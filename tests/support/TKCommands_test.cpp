// Commands, accelerators, keys and slots.
#include "tests/support/TKTestSession.h"

namespace {

class TKCommandsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        windows_.calls.clear();
    }
    OCSettings& Live() { return session_->liveSettings; }
};

TEST_F(TKCommandsTest, ResetAllIsOneStepAndCommitsAnOpenEditFirst)
{
    (void)TKSliderDrag(session_, &saturation_, 0);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_EQ(session_->undoRing->undoHead, 3u);
    const OCSettings neutral = TKNeutralSettings();
    EXPECT_EQ(std::memcmp(&Live(), &neutral, sizeof neutral), 0);
    EXPECT_STREQ(gain_.valueText, "1.00");
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF0A03C8u);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    EXPECT_EQ(Live().hsl.master.saturation, 0.0f);
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
}

TEST_F(TKCommandsTest, AGroupIsResetByTheMasksOfItsButton)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    (void)TKSliderDrag(session_, &redGain_, 0);
    windows_.calls.clear();
    const TKCommandSource source = {.toolMask = kOCResetHSL, .curveMask = 0};
    DoMenuCommand(session_, kTKCommandResetGroup, &source);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(Live().hsl.master.on, 0u);
    EXPECT_EQ(Live().hslOn, 1u);
    EXPECT_EQ(Live().rgb.highlights.channel[0].gain, 0.0f);
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    EXPECT_EQ(windows_.Count("slider Red Gain"), 0u);
    const uint32_t steps = session_->undoRing->undoHead;
    DoMenuCommand(session_, kTKCommandResetGroup, nullptr);
    EXPECT_EQ(session_->undoRing->undoHead, steps);
}

TEST_F(TKCommandsTest, AResetWithoutMemoryForTheCopyRedrawsEverything)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    windows_.calls.clear();
    BPFailAllocation(1);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    BPFailAllocation(0);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(windows_.Count("slider Saturation"), 1u);
}

TEST_F(TKCommandsTest, CutAndCopyPutTheSettingsOnTheClipboardAndLeaveThem)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    for (const uint32_t command : {kTKCommandCut, kTKCommandCopy}) {
        gBPFake.clipboard.clear();
        const OCSettings before = Live();
        DoMenuCommand(session_, command, nullptr);
        EXPECT_EQ(gBPFake.clipboardFormat, "org.brindlepath.OC3SettingsFormat");
        ASSERT_EQ(gBPFake.clipboard.size(), sizeof(OCSettings));
        EXPECT_EQ(std::memcmp(gBPFake.clipboard.data(), &before, sizeof before), 0);
        EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    }
}

TEST_F(TKCommandsTest, NumbersWithoutACommandDoNothing)
{
    const OCSettings before = Live();
    const uint32_t head = session_->undoRing->undoHead;
    std::vector<uint32_t> numbers = {0, 1, 2, 9, 13, 16, 100, 13100, 59000, 59010, 0xFFFFFFFF};
    for (const TKCommandRange& range : TKSilentCommands())
        for (uint32_t id = range.first; id <= range.last; ++id) numbers.push_back(id);
    windows_.calls.clear();
    for (const uint32_t id : numbers) DoMenuCommand(session_, id, nullptr);
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, head);
    EXPECT_TRUE(windows_.calls.empty());
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
}

TEST_F(TKCommandsTest, AcceleratorsWantTheirModifiersExactly)
{
    constexpr uint32_t all = bpShiftKey | bpControlKey | bpAltKey;
    EXPECT_EQ(TKAcceleratorCommand('Q', bpControlKey), 59003u);
    EXPECT_EQ(TKAcceleratorCommand('Z', bpControlKey), 59004u);
    EXPECT_EQ(TKAcceleratorCommand('Z', bpControlKey | bpCapsLock), 59004u);
    EXPECT_EQ(TKAcceleratorCommand('Z', bpControlKey | bpShiftKey), 59005u);
    EXPECT_EQ(TKAcceleratorCommand('Z', 0), 0u);
    EXPECT_EQ(TKAcceleratorCommand('Z', all), 0u);
    EXPECT_EQ(TKAcceleratorCommand('X', bpControlKey), 59006u);
    EXPECT_EQ(TKAcceleratorCommand('C', bpControlKey), 59007u);
    EXPECT_EQ(TKAcceleratorCommand('V', bpControlKey), 59008u);
    EXPECT_EQ(TKAcceleratorCommand('R', all), 13201u);
    EXPECT_EQ(TKAcceleratorCommand('L', all), 13202u);
    EXPECT_EQ(TKAcceleratorCommand('S', all), 13203u);
    EXPECT_EQ(TKAcceleratorCommand('P', all), 13204u);
    EXPECT_EQ(TKAcceleratorCommand('R', bpControlKey | bpAltKey), 13304u);
    EXPECT_EQ(TKAcceleratorCommand('1', bpControlKey), 13101u);
    EXPECT_EQ(TKAcceleratorCommand('2', bpControlKey), 13102u);
    EXPECT_EQ(TKAcceleratorCommand(kTKKeyF1, 0), 13601u);
    EXPECT_EQ(TKAccelerators().size(), 14u);
}

TEST_F(TKCommandsTest, TransportKeysWorkWithoutModifiersOnly)
{
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    const auto time = [this] { return host_.Block()->frameTime; };
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyRight, 0));
    EXPECT_EQ(time(), 100);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyRight, bpCapsLock));
    EXPECT_EQ(time(), 200);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyLeft, 0));
    EXPECT_EQ(time(), 100);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyEnd, 0));
    EXPECT_EQ(time(), 900);
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyHome, 0));
    EXPECT_EQ(time(), 0);
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0)); // carried out, but it goes on
    EXPECT_TRUE(TKIsPlaying(session_));
    EXPECT_FALSE(TKKeyDown(session_, kTKKeySpace, 0));
    EXPECT_FALSE(TKIsPlaying(session_));
    for (const uint32_t modifier : {uint32_t{bpShiftKey}, uint32_t{bpAltKey}, uint32_t{bpControlKey}})
        for (const uint32_t key : {kTKKeySpace, kTKKeyEnd, kTKKeyHome, kTKKeyLeft, kTKKeyRight}) {
            EXPECT_FALSE(TKKeyDown(session_, key, modifier));
            EXPECT_EQ(time(), 0);
            EXPECT_FALSE(TKIsPlaying(session_));
        }
}

TEST_F(TKCommandsTest, KeysAreLeftAloneWithoutATransportAndInFullScreen)
{
    session_->fullScreenPreview = true;
    EXPECT_FALSE(TKKeyDown(session_, kTKKeyEnd, 0));
    session_->fullScreenPreview = false;
    session_->transport[kTKTransportLeft].visible = false;
    EXPECT_FALSE(TKKeyDown(session_, kTKKeyEnd, 0));
    EXPECT_EQ(host_.Block()->frameTime, 0);
    session_->transport[kTKTransportLeft].visible = true;
    for (const uint32_t key : {0u, 13u, 31u, 33u, 38u, 40u, 65u, 111u, 120u, 0xFFFFFFFFu})
        EXPECT_FALSE(TKKeyDown(session_, key, 0)) << key;
}

TEST_F(TKCommandsTest, SlotsStoreWithShiftAndRecallWithout)
{
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyF1 + 2, 0)); // empty: it beeps
    EXPECT_EQ(gBPFake.beeps, 1u);
    EXPECT_EQ(session_->lastSlot, 0u);
    (void)TKSliderDrag(session_, &gain_, 0);
    session_->settingsTab = 7;
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyF1 + 2, bpShiftKey));
    EXPECT_EQ(session_->prefs.savedSettings[2].used, 1u);
    EXPECT_EQ(session_->lastSlot, 3u);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    const uint32_t steps = session_->undoRing->undoHead;
    EXPECT_TRUE(TKKeyDown(session_, kTKKeyF1 + 2, 0));
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    EXPECT_STREQ(gain_.valueText, "0.00");
    EXPECT_EQ(session_->undoRing->undoHead, steps + 1);
    EXPECT_EQ(gBPFake.beeps, 1u);
    EXPECT_FALSE(TKKeyDown(session_, kTKKeyF1 + 2, bpControlKey));
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    for (const uint32_t slot : {0u, 9u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(SlotStoreOrRecall(session_, slot, true));
        EXPECT_FALSE(SlotStoreOrRecall(session_, slot, false));
    }
    EXPECT_TRUE(SlotStoreOrRecall(session_, 8, true));
}

TEST_F(TKCommandsTest, TheMenuFollowsTheRingAndTheClipboard)
{
    TKMenuState state = UpdateMenuState(session_);
    EXPECT_FALSE(state.undo || state.redo || state.paste);
    EXPECT_TRUE(state.cut && state.copy && state.clear);
    (void)TKSliderDrag(session_, &gain_, 0);
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    state = UpdateMenuState(session_);
    EXPECT_TRUE(state.undo && state.paste && !state.redo);
    TKUndoStepBack(session_);
    state = UpdateMenuState(session_);
    EXPECT_TRUE(!state.undo && state.redo);
}

} // namespace
