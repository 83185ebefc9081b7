// What may go wrong with a journal, and with a block, in the middle of a session.
#include "tests/support/TKRecoveryTest.h"

namespace {

class TKRecoveryFailures : public TKRecoveryTest {};

// --- What may go wrong with the file ----------------------------------------------------------------------------------

TEST_F(TKRecoveryFailures, AnyFailureOfTheFileCostsOneLineAndTheJournalOnly)
{
    for (const BPFakeOp op : {bpFakeStateOpen, bpFakeStateRead, bpFakeStateWrite})
        for (uint32_t call = 1; call <= 4; ++call) {
            gBPFake.failFrom[op] = call;
            Begin();
            Grade(2);
            Grade(2.5);
            Grade(3);
            EXPECT_LE(TKLogCount("No journal is kept of this session, error "), 1u);
            DoMenuCommand(session_, kTKCommandOK, nullptr);
            EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 3.0f);
            EXPECT_TRUE(gBPFake.alerts.empty());
            EXPECT_EQ(gBPFake.openStateFiles, 0u);
            Die();
            gBPFake.stateFiles.clear();
        }
}

TEST_F(TKRecoveryFailures, AReadOnlyHomeCostsTheJournal)
{
    gBPFake.failFrom[bpFakeStateOpen] = 1;
    Begin();
    Grade(2);
    Grade(2.5);
    EXPECT_EQ(TKLogCount("No journal is kept of this session, error "), 1u);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 2.5f);
}

TEST_F(TKRecoveryFailures, AFullDiskKeepsWhatIsThereAlready)
{
    for (const uint64_t room : {uint64_t{0}, uint64_t{100}, sizeof(TKJournalHeader), uint64_t{20000},
                                TKJournalPosition(2), TKJournalPosition(3) - 1, TKJournalPosition(3)}) {
        gBPFake.stateRoom = room;
        Begin();
        Grade(2);
        Grade(2.5);
        Grade(3);
        EXPECT_EQ(TKLogCount("No journal is kept of this session, error "), 1u) << room;
        const uint64_t records = room < TKJournalPosition(2) ? 0 : room < TKJournalPosition(3) ? 1 : 2;
        EXPECT_EQ(JournalGain(), records == 0 ? -1 : records == 1 ? 2.0f : 2.5f) << room;
        if (records == 0) {
            EXPECT_TRUE(gBPFake.stateFiles.empty()) << room;
        }
        Die();
        gBPFake.stateRoom = UINT64_MAX;
        Begin();
        EXPECT_EQ(windows_.questions.size(), records == 0 ? 0u : 1u) << room;
        DoMenuCommand(session_, kTKCommandExit, nullptr);
        Die();
        gBPFake.stateFiles.clear();
    }
}

TEST_F(TKRecoveryFailures, ADiskThatIsNoLongerFullTakesTheJournalAgain)
{
    for (const uint64_t room : {uint64_t{0}, sizeof(TKJournalHeader), TKJournalPosition(2)}) {
        gBPFake.stateRoom = room;
        Begin();
        Grade(2);
        Grade(3);
        const float before = room < TKJournalPosition(2) ? -1.0f : 2.0f;
        EXPECT_EQ(JournalGain(), before) << room;
        const uint32_t writes = gBPFake.calls[bpFakeStateWrite];
        gBPFake.monotonicMs += 2000;
        TKTick(session_);
        EXPECT_EQ(gBPFake.calls[bpFakeStateWrite], writes); // not at each tick
        gBPFake.stateRoom = UINT64_MAX;
        gBPFake.monotonicMs += 2000;
        TKTick(session_);
        EXPECT_EQ(JournalGain(), 3.0f) << room;
        Grade(2.5);
        EXPECT_EQ(JournalGain(), 2.5f) << room;
        EXPECT_EQ(TKLogCount("No journal is kept of this session, error "), 1u) << room;
        EXPECT_EQ(TKLogCount("The journal is kept again\n"), 1u) << room;
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_TRUE(gBPFake.stateFiles.empty());
        Die();
    }
}

TEST_F(TKRecoveryFailures, AJournalThatCannotBeReadNowWaitsForTheNextSession)
{
    Begin();
    Grade(2);
    Die();
    gBPFake.failFrom[bpFakeStateRead] = 1;
    Begin();
    EXPECT_TRUE(windows_.questions.empty());
    Grade(1.5);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(JournalGain(), 2.0f);
    Die();
    Begin();
    EXPECT_EQ(session_->recovery.offered.hsl.master.gain, 2.0f);
}

TEST_F(TKRecoveryFailures, OKAndCancelRemoveAJournalThatCouldNotGrow)
{
    for (const uint32_t command : {uint32_t{kTKCommandOK}, uint32_t{kTKCommandCancel}, uint32_t{kTKCommandExit}}) {
        gBPFake.stateRoom = TKJournalPosition(2);
        Begin();
        Grade(2);
        Grade(3);
        EXPECT_EQ(JournalGain(), 2.0f);
        DoMenuCommand(session_, command, nullptr);
        EXPECT_EQ(gBPFake.stateFiles.size(), command == kTKCommandExit ? 1u : 0u) << command;
        Die();
        gBPFake.stateFiles.clear();
    }
}

TEST_F(TKRecoveryFailures, HostileContentsAreRefusedAndReplaced)
{
    const std::string name = JournalName();
    for (const size_t size :
         {size_t{0}, size_t{10}, size_t{5000}, size_t{kTKJournalBytes}, size_t{kTKJournalBytes} * 3}) {
        gBPFake.stateFiles[name].assign(size, 0x5A);
        Begin();
        EXPECT_TRUE(windows_.questions.empty()) << size;
        EXPECT_EQ(TKLogCount("is damaged and is dropped\n"), 1u) << size;
        Grade(2);
        EXPECT_EQ(JournalGain(), 2.0f) << size;
        EXPECT_LE(gBPFake.stateFiles[name].size(), size_t{kTKJournalBytes});
        Die();
    }
}

TEST_F(TKRecoveryFailures, AJournalThatAnotherApplicationHoldsIsWaitedForAWhile)
{
    Begin();
    Grade(2);
    Die();
    gBPFake.stateHeldElsewhere = JournalName();
    Begin();
    for (int i = 0; i < 20; ++i) TKTick(session_);
    EXPECT_TRUE(windows_.questions.empty());
    gBPFake.stateHeldElsewhere.clear(); // it has ended
    TKTick(session_);
    EXPECT_EQ(windows_.questions.size(), 1u);
    Die();
    gBPFake.stateHeldElsewhere = JournalName();
    Begin();
    Grade(1.5);
    for (int i = 0; i < 300; ++i) TKTick(session_);
    EXPECT_EQ(TKLogCount("No journal is kept of this session, error "), 1u);
    EXPECT_EQ(JournalGain(), 2.0f); // untouched
}

TEST_F(TKRecoveryFailures, WithoutMemoryTheSessionGoesOn)
{
    for (uint64_t fail = 1; fail <= 6; ++fail) {
        Begin();
        BPFailAllocation(fail);
        Grade(2);
        Grade(2.5);
        BPFailAllocation(0);
        EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.5f);
        Die();
        gBPFake.stateFiles.clear();
    }
    Begin();
    Grade(2);
    for (uint64_t fail = 1; fail <= 4; ++fail) {
        Die();
        MakeHost();
        ASSERT_EQ(TKStartUp(session_), tkStartRun);
        BPFailAllocation(fail);
        TKTick(session_);
        BPFailAllocation(0);
        EXPECT_EQ(JournalGain(), 2.0f) << fail; // never dropped for want of memory
    }
}

// --- A host that takes its block back ---------------------------------------------------------------------------------

TEST_F(TKRecoveryFailures, AHostThatUnlinksOrCutsItsBlockEndsTheSessionWithAMessage)
{
    for (const bool unlinks : {true, false})
        for (const bool graded : {true, false}) {
            Begin();
            if (graded) Grade(2);
            TKTogglePlay(session_, TKActiveTransport(session_));
            windows_.calls.clear();
            const std::shared_ptr<uint8_t> bytes = gBPFake.blocks[kTKCommBlockName].bytes;
            if (unlinks)
                gBPFake.blocks.erase(kTKCommBlockName);
            else
                gBPFake.blocks[kTKCommBlockName].byteCount = 4096;
            TKTick(session_);
            ASSERT_EQ(gBPFake.alerts.size(), 1u);
            EXPECT_EQ(gBPFake.alerts[0].severity, bpStop);
            EXPECT_EQ(gBPFake.alerts[0].text.find("The host has ended this session"), 0u);
            EXPECT_EQ(gBPFake.alerts[0].text.find("The grade is kept") != std::string::npos, graded);
            EXPECT_EQ(TKBlockOf(session_), nullptr);
            EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
            EXPECT_FALSE(TKIsPlaying(session_));
            EXPECT_EQ(JournalGain(), graded ? 2.0f : -1.0f);
            uint32_t status;
            std::memcpy(&status, bytes.get() + offsetof(TKUIComm, status), 4);
            EXPECT_EQ(status, kTKUIStatusUIDone); // for a host that still looks
            TKTick(session_);                     // another host would find nobody now
            EXPECT_EQ(gBPFake.alerts.size(), 1u);
            EXPECT_TRUE(TKMainWindowClose(session_));
            EXPECT_EQ(TKFinish(session_), 0);
            Die();
            Begin();
            EXPECT_EQ(windows_.questions.size(), graded ? 1u : 0u);
            DoMenuCommand(session_, kTKCommandExit, nullptr);
            Die();
            gBPFake.stateFiles.clear();
        }
}

TEST_F(TKRecoveryFailures, ABlockThatGoesWhileAFrameIsAwaitedEndsTheWait)
{
    Begin();
    Grade(2);
    gBPFake.sleeps.clear();
    host_.serve = [](TKTestHost*) {
        if (gBPFake.sleeps.size() == 3) gBPFake.blocks.erase(kTKCommBlockName);
    };
    TKLocate(session_, 500);
    EXPECT_EQ(gBPFake.sleeps.size(), 3u);
    TKTick(session_);
    EXPECT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(JournalGain(), 2.0f);
}

TEST_F(TKRecoveryFailures, AChangeJustBeforeAFrameRequestIsSavedBeforeTheWait)
{
    Begin();
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    static float gainInTheWait;
    gainInTheWait = -1;
    host_.serve = [](TKTestHost* host) {
        gainInTheWait = JournalGain();
        host->SendFrames();
    };
    TKLocate(session_, 500);
    EXPECT_EQ(gainInTheWait, 2.0f);
}

} // namespace
