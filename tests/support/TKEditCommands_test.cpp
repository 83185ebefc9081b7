// The clipboard, undo by command, slots and the state of the menus.
#include "tests/support/TKControlsTest.h"

namespace {

using TKEditCommands = TKControlsTest;

// The clipboard ---------------------------------------------------------------------------------------------------------

TEST_F(TKEditCommands, PasteTakesTheClipboardAndStoresNothingAfterIt)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    DoMenuCommand(session_, kTKCommandCopy, nullptr); // gain 0
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    const uint32_t rendered = session_->renderCount;
    windows_.calls.clear();
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    EXPECT_EQ(session_->renderCount, rendered + 1);
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    EXPECT_EQ(windows_.Count("slider Saturation"), 1u); // all of them
    const TKUndoRing* ring = session_->undoRing;
    EXPECT_EQ(ring->undoHead, 3u);
    EXPECT_NE(std::memcmp(&ring->undoRecords[3], &Live(), sizeof(OCSettings)), 0); // no state after it
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    // A redo of the paste brings back what the slot held before: here what the ring was filled with.
    const OCSettings older = ring->undoRecords[3];
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    EXPECT_EQ(std::memcmp(&Live(), &older, sizeof older), 0);
}

TEST_F(TKEditCommands, AnEditAfterAPasteKeepsThePastedStateForItsUndo)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    (void)TKSliderDrag(session_, &saturation_, 0);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    EXPECT_EQ(Live().hsl.master.saturation, 100.0f);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
}

TEST_F(TKEditCommands, ADragThatIsHeldWhileAPasteComesDoesNotStoreIntoItsSlot)
{
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    gBPFake.mouseButtonDown = true;
    (void)TKSliderDrag(session_, &gain_, 0);
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    const OCSettings slot = session_->undoRing->undoRecords[session_->undoRing->undoHead];
    gBPFake.mouseButtonDown = false;
    TKTick(session_);
    EXPECT_EQ(std::memcmp(&slot, &session_->undoRing->undoRecords[session_->undoRing->undoHead], sizeof slot), 0);
}

TEST_F(TKEditCommands, APasteCommitsAnOpenEditFirst)
{
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
}

TEST_F(TKEditCommands, ForeignClipboardBlocksAreLeftAloneWithoutAWord)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    const OCSettings before = Live();
    const uint32_t head = session_->undoRing->undoHead;
    const OCSettings sound = TKNeutralSettings();
    const auto* bytes = reinterpret_cast<const uint8_t*>(&sound);
    windows_.calls.clear();
    const auto expectNothing = [&](const char* what) {
        DoMenuCommand(session_, kTKCommandPaste, nullptr);
        EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0) << what;
        EXPECT_EQ(session_->undoRing->undoHead, head) << what;
        EXPECT_TRUE(windows_.calls.empty()) << what;
        EXPECT_TRUE(gBPFake.alerts.empty()) << what;
    };
    expectNothing("an empty clipboard");
    for (const size_t size : {size_t{0}, size_t{4}, size_t{33552}, size_t{33555}, size_t{33557}, size_t{1} << 20}) {
        gBPFake.clipboardFormat = kTKSettingsFormat;
        gBPFake.clipboard.assign(size, 0x32);
        if (size >= sizeof sound) std::memcpy(gBPFake.clipboard.data(), bytes, sizeof sound);
        expectNothing(std::to_string(size).c_str());
    }
    gBPFake.clipboard.assign(bytes, bytes + sizeof sound);
    gBPFake.clipboardFormat = "text/plain";
    expectNothing("another format");
    gBPFake.clipboardFormat = kTKSettingsFormat;
    gBPFake.clipboard[0] ^= 1;
    expectNothing("a wrong signature");
    std::reverse(gBPFake.clipboard.begin(), gBPFake.clipboard.begin() + 4);
    gBPFake.clipboard[3] ^= 1;
    expectNothing("the other byte order");
    gBPFake.clipboard.assign(bytes, bytes + sizeof sound);
    gBPFake.failFrom[bpFakeClipboardGet] = gBPFake.calls[bpFakeClipboardGet] + 1;
    expectNothing("a clipboard that cannot be opened");
    gBPFake.failFrom[bpFakeClipboardGet] = 0;
    BPFailAllocation(1);
    expectNothing("no memory for the block");
    BPFailAllocation(0);
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f); // the sound one
}

TEST_F(TKEditCommands, ACopyThatFailsLeavesTheClipboardEmpty)
{
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    gBPFake.failFrom[bpFakeClipboardPut] = gBPFake.calls[bpFakeClipboardPut] + 1;
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    EXPECT_FALSE(TKCommandIsEnabled(session_, kTKCommandPaste));
    EXPECT_TRUE(gBPFake.clipboard.empty());
    EXPECT_TRUE(gBPFake.alerts.empty());
}

TEST_F(TKEditCommands, PasteWantsAPicture)
{
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    EXPECT_TRUE(TKCommandIsEnabled(session_, kTKCommandPaste));
    FBFrame* frame = std::exchange(session_->sourceFrame, nullptr);
    EXPECT_FALSE(TKCommandIsEnabled(session_, kTKCommandPaste));
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    EXPECT_EQ(session_->undoRing->undoHead, 0u);
    session_->sourceFrame = frame;
}

// Undo ------------------------------------------------------------------------------------------------------------------

TEST_F(TKEditCommands, UndoThrowsAnOpenEditAwayWithoutAStep)
{
    (void)TKSliderDrag(session_, &saturation_, 0);
    OpenEdit(session_, &gain_);
    TKSetEditText(&gain_, "2");
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(Live().hsl.master.saturation, 100.0f);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(session_->undoRing->undoTop, 1u);
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    EXPECT_EQ(Live().hsl.master.saturation, 0.0f);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
}

TEST_F(TKEditCommands, WithoutMemoryForTheCopyUndoRedrawsEveryControl)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    windows_.calls.clear();
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(windows_.Count("slider Saturation"), 0u); // only what differs
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
    windows_.calls.clear();
    BPFailAllocation(1);
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    BPFailAllocation(0);
    EXPECT_EQ(windows_.Count("slider Saturation"), 1u);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
}

TEST_F(TKEditCommands, UndoRendersEvenWithCapsLockOn)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    gBPFake.modifierWord = bpCapsLock;
    const uint32_t rendered = session_->renderCount;
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(session_->renderCount, rendered + 1);
}

TEST_F(TKEditCommands, WithoutARingUndoAndRedoAreOffAndEditsWork)
{
    UndoDispose(std::exchange(session_->undoRing, nullptr));
    (void)TKSliderDrag(session_, &gain_, 0);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    DoMenuCommand(session_, kTKCommandCopy, nullptr);
    DoMenuCommand(session_, kTKCommandPaste, nullptr);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 1, true));
    EXPECT_TRUE(SlotStoreOrRecall(session_, 1, false));
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_FALSE(UpdateMenuState(session_).undo);
    EXPECT_FALSE(UpdateMenuState(session_).redo);
}

TEST_F(TKEditCommands, WithCapsLockAResetStoresItsValuesAndOneUpdateFollows)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    gBPFake.modifierWord = bpCapsLock;
    const uint32_t rendered = session_->renderCount;
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    (void)TKSliderDrag(session_, &saturation_, 0);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    EXPECT_EQ(session_->renderCount, rendered);
    TKTick(session_);
    EXPECT_EQ(session_->renderCount, rendered);
    gBPFake.modifierWord = 0;
    TKTick(session_);
    TKTick(session_);
    EXPECT_EQ(session_->renderCount, rendered + 1);
}

// Slots -----------------------------------------------------------------------------------------------------------------

TEST_F(TKEditCommands, SlotsStoreWithShiftAndRecallWithout)
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
    EXPECT_EQ(session_->lastSlot, 8u);
}

TEST_F(TKEditCommands, ARecalledSlotIsStoredAfterItsChangeUnlikeAPaste)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 5, true));
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 5, false));
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
    DoMenuCommand(session_, kTKCommandRedo, nullptr);
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
}

TEST_F(TKEditCommands, ASlotWithoutASettingsRecordInItIsNotRecalled)
{
    TKSavedSlot& slot = session_->prefs.savedSettings[3];
    slot.used = 1; // as a damaged store may give it
    std::memset(&slot.settings, 0x5A, sizeof slot.settings);
    const OCSettings before = Live();
    EXPECT_FALSE(SlotStoreOrRecall(session_, 4, false));
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, 0u);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 4, true)); // needs no confirmation
    EXPECT_TRUE(SlotStoreOrRecall(session_, 4, false));
}

TEST_F(TKEditCommands, SlotsLiveInTheStoreBetweenSessions)
{
    (void)TKSliderDrag(session_, &gain_, 0);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 8, true));
    ASSERT_EQ(PrefsWrite(session_->prefs, platform_), bpNoErr);
    session_->prefs.savedSettings[7] = {};
    (void)PrefsRead(&session_->prefs, platform_);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    EXPECT_TRUE(SlotStoreOrRecall(session_, 8, false));
    EXPECT_EQ(Live().hsl.master.gain, 0.0f);
    EXPECT_FALSE(SlotStoreOrRecall(session_, 7, false));
}

// Menu state ------------------------------------------------------------------------------------------------------------

TEST_F(TKEditCommands, TheMenuFollowsTheRingAndTheClipboard)
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

TEST_F(TKEditCommands, ThePreviewListsWantTheirMonitorAndTheirDevice)
{
    EXPECT_FALSE(UpdateMenuState(session_).secondaryLUT);
    EXPECT_FALSE(UpdateMenuState(session_).externalLUT);
    session_->prefs.secondaryPreviewMonitor = 1;
    session_->secondaryPaneExists = true;
    EXPECT_EQ(UpdateMenuState(session_).secondaryLUT, session_->secondarySurface.pixels != nullptr);
    if (!session_->secondarySurface.pixels) {
        ASSERT_EQ(ScopeSurfaceCreate(4, 4, &session_->secondarySurface), bpNoErr);
    }
    EXPECT_TRUE(UpdateMenuState(session_).secondaryLUT);
    session_->secondaryPaneExists = false;
    EXPECT_FALSE(UpdateMenuState(session_).secondaryLUT);
    session_->externalDeviceOpen = true;
    for (const auto& [device, enabled] :
         {std::pair{kTKDeviceNone, false}, std::pair{kTKDeviceBeaconline, false}, std::pair{0x636F6D70u, true}}) {
        session_->prefs.externalPreviewDevice = device;
        EXPECT_EQ(UpdateMenuState(session_).externalLUT, enabled);
    }
    session_->externalDeviceOpen = false;
    EXPECT_FALSE(UpdateMenuState(session_).externalLUT);
}

} // namespace
