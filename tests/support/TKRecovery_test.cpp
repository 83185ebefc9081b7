// Sessions that end badly, and the sessions after them.
#include "tests/support/TKTestSession.h"

#include <cstring>

namespace {

class TKRecoveryTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        windows_.onBuild = [this](TKSession*) { MakeSliders(); };
    }

    void MakeHost(float gain = 1)
    {
        host_.Make();
        std::strcpy(host_.Block()->clipList[0].path, "/clips/a.mov");
        host_.Block()->clipCount = 1;
        host_.Block()->settings.hsl.master.gain = gain;
    }

    void Begin(float gain = 1)
    {
        MakeHost(gain);
        ASSERT_EQ(TKStartUp(session_), tkStartRun);
        TKTick(session_);
    }

    /// A drag to the gain and the release of the button.
    void Grade(double gain)
    {
        (void)TKSliderDrag(session_, &gain_, static_cast<int32_t>(gain * 65536));
        session_->controls.lastTouched = nullptr;
        TKTick(session_);
    }

    /// The process is killed: what it held is released by the system, and a new one stands there.
    void Die()
    {
        const auto files = gBPFake.stateFiles;
        TKDisposeSession(session_);
        session_ = nullptr;
        gBPFake.channelName.clear();
        gBPFake.blocks.clear();
        const TKTestHost host = host_;
        BPFakeReset();
        SetUp();
        host_ = host;
        gBPFake.stateFiles = files;
    }

    uint32_t Status() const { return host_.Block()->status; }

    std::string JournalName()
    {
        TKJournalClip clip;
        MakeHost();
        TKJournalClipOf(host_.Block(), &clip);
        gBPFake.blocks.clear();
        char name[64];
        TKJournalName(clip, name, sizeof name);
        return name;
    }

    /// Gain of the newest record, or -1.
    static float JournalGain()
    {
        if (gBPFake.stateFiles.size() != 1) return -1;
        const std::vector<uint8_t>& bytes = gBPFake.stateFiles.begin()->second;
        TKJournalHeader header;
        TKJournalContent content;
        if (bytes.size() < sizeof header) return -1;
        std::memcpy(&header, bytes.data(), sizeof header);
        if (TKJournalRead(bytes.data(), bytes.size(), header.clip, &content) != bpNoErr) return -1;
        return content.settings.hsl.master.gain;
    }
};

TEST_F(TKRecoveryTest, ASessionWithoutAChangeTouchesNoFile)
{
    Begin();
    for (int i = 0; i < 20; ++i) TKTick(session_);
    EXPECT_TRUE(gBPFake.stateFiles.empty());
    EXPECT_EQ(gBPFake.calls[bpFakeStateOpen], 1u); // one look for an older one
    EXPECT_TRUE(windows_.questions.empty());
    DoMenuCommand(session_, kTKCommandExit, nullptr);
    EXPECT_TRUE(gBPFake.stateFiles.empty());
}

TEST_F(TKRecoveryTest, TheAttachItselfOpensNoFile)
{
    MakeHost();
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    EXPECT_EQ(gBPFake.calls[bpFakeStateOpen], 0u);
}

TEST_F(TKRecoveryTest, EachFinishedChangeIsOneRecord)
{
    Begin();
    for (int step = 1; step <= 5; ++step) {
        Grade(1 + step * 0.25);
        EXPECT_EQ(gBPFake.calls[bpFakeStateWrite], 1u + static_cast<uint32_t>(step)); // and the header
        EXPECT_EQ(JournalGain(), 1 + static_cast<float>(step) * 0.25f);
        for (int i = 0; i < 5; ++i) TKTick(session_);
        EXPECT_EQ(session_->recovery.sequence, static_cast<uint32_t>(step));
    }
    DoMenuCommand(session_, kTKCommandUndo, nullptr); // undo is a change as any other
    TKTick(session_);
    EXPECT_EQ(JournalGain(), 2.0f);
    DoMenuCommand(session_, kTKCommandResetAll, nullptr);
    TKTick(session_);
    EXPECT_EQ(JournalGain(), 1.0f);
}

TEST_F(TKRecoveryTest, ADragIsSavedOnceASecondAndWhenItEnds)
{
    Begin();
    gBPFake.mouseButtonDown = true;
    for (int i = 0; i < 300; ++i) { // three seconds
        (void)TKSliderDrag(session_, &gain_, 65536 + i * 100);
        gBPFake.monotonicMs += 10;
        TKTick(session_);
    }
    EXPECT_GE(session_->recovery.sequence, 2u);
    EXPECT_LE(session_->recovery.sequence, 4u);
    gBPFake.mouseButtonDown = false;
    TKTick(session_);
    EXPECT_EQ(JournalGain(), session_->liveSettings.hsl.master.gain);
}

TEST_F(TKRecoveryTest, TheFileIsBounded)
{
    Begin();
    for (int step = 0; step < 100; ++step) Grade(1 + step * 0.01);
    EXPECT_EQ(gBPFake.stateFiles.begin()->second.size(), size_t{kTKJournalBytes});
    EXPECT_EQ(gBPFake.statePruned, std::vector<std::string>{".ocjournal 63"});
    EXPECT_NEAR(JournalGain(), 1.99, 1.0 / 65536);
}

TEST_F(TKRecoveryTest, OKAndCancelRemoveTheJournal)
{
    for (const uint32_t command : {uint32_t{kTKCommandOK}, uint32_t{kTKCommandCancel}})
        for (const bool resident : {true, false}) {
            Begin();
            session_->prefs.uiTimeoutEnable = resident;
            Grade(2);
            EXPECT_EQ(JournalGain(), 2.0f);
            DoMenuCommand(session_, command, nullptr);
            EXPECT_TRUE(gBPFake.stateFiles.empty()) << command << resident;
            EXPECT_EQ(Status(), kTKUIStatusUIDone);
            Die();
            Begin();
            EXPECT_TRUE(windows_.questions.empty());
            Die();
        }
}

TEST_F(TKRecoveryTest, OKGivesTheGradeToTheHostBeforeTheJournalGoes)
{
    Begin();
    Grade(2);
    static uint32_t statusAtDiscard;
    statusAtDiscard = 0;
    gBPFake.onCall = [](void* context, BPFakeOp op) {
        if (op == bpFakeStateDiscard) statusAtDiscard = static_cast<TKTestHost*>(context)->Block()->status;
    };
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(statusAtDiscard, kTKUIStatusUIDone);
}

TEST_F(TKRecoveryTest, AKilledSessionIsOfferedToTheNextOne)
{
    Begin();
    Grade(2);
    Die();
    windows_.answers = {true};
    Begin();
    ASSERT_EQ(windows_.questions, std::vector<std::string>{"Recover the grade of a.mov?"});
    EXPECT_NE(windows_.questionDetail.find("ended without OK or Cancel"), std::string::npos);
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
    EXPECT_STREQ(gain_.valueText, "2.00");
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF1406FFu); // the picture follows
    EXPECT_EQ(session_->undoRing->undoAvailable, 1u);                 // it is one step
    EXPECT_TRUE(TKUndoStepBack(session_));
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 1.0f);
    EXPECT_TRUE(TKUndoStepForward(session_));
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 2.0f);
    EXPECT_TRUE(gBPFake.stateFiles.empty());
}

TEST_F(TKRecoveryTest, ARecoveredGradeStaysSafeUntilItsOwnEnd)
{
    Begin();
    Grade(2);
    Die();
    windows_.answers = {true};
    Begin();
    Die(); // killed again, at once
    windows_.answers = {true};
    Begin();
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
    Grade(2.5);
    Die();
    Begin();
    EXPECT_EQ(windows_.questions.size(), 1u);
    EXPECT_EQ(session_->recovery.offered.hsl.master.gain, 2.5f);
}

TEST_F(TKRecoveryTest, ADeclinedGradeIsNotOfferedAgain)
{
    Begin();
    Grade(2);
    Die();
    windows_.answers = {false};
    Begin();
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 1.0f);
    EXPECT_TRUE(gBPFake.stateFiles.empty());
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u);
    Grade(1.5);
    EXPECT_EQ(JournalGain(), 1.5f);
    Die();
    Begin();
    EXPECT_EQ(session_->recovery.offered.hsl.master.gain, 1.5f);
}

TEST_F(TKRecoveryTest, ExitAndALostHostKeepTheJournalAndTheLastChange)
{
    for (const bool exit : {true, false}) {
        Begin();
        Grade(2);
        (void)TKSliderDrag(session_, &gain_, 3 * 65536); // no tick after it
        OpenEdit(session_, &saturation_);
        TKSetEditText(&saturation_, "50");
        if (exit)
            DoMenuCommand(session_, kTKCommandExit, nullptr);
        else
            TKFinish(session_);
        EXPECT_EQ(JournalGain(), 3.0f);
        Die();
        windows_.answers = {true};
        Begin();
        EXPECT_EQ(session_->liveSettings.hsl.master.gain, 3.0f);
        if (exit) {
            EXPECT_EQ(session_->liveSettings.hsl.master.saturation, 50.0f);
        }
        DoMenuCommand(session_, kTKCommandCancel, nullptr);
        Die();
    }
}

TEST_F(TKRecoveryTest, OKIntoADeadHostKeepsTheJournal)
{
    struct Case {
        bool diesAfterwards, removesItsBlock, kept;
    };
    for (const Case& c : {Case{false, false, true}, Case{true, false, true}, Case{true, true, false}}) {
        Begin();
        Grade(2);
        if (!c.diesAfterwards) gBPFake.alive[kHostProcess] = false;
        static bool removes;
        removes = c.removesItsBlock;
        host_.serve = [](TKTestHost*) { // in the wait after 4
            gBPFake.alive[kHostProcess] = false;
            if (removes) gBPFake.blocks.erase(kTKCommBlockName);
        };
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_EQ(gBPFake.stateFiles.size(), c.kept ? 1u : 0u);
        host_.serve = nullptr;
        Die();
        gBPFake.stateFiles.clear();
    }
}

TEST_F(TKRecoveryTest, OKIntoABlockThatWasJustTakenBackKeepsTheJournal)
{
    for (const bool resident : {true, false}) {
        Begin();
        Grade(2);
        session_->prefs.uiTimeoutEnable = resident;
        windows_.calls.clear();
        const std::shared_ptr<uint8_t> bytes = gBPFake.blocks[kTKCommBlockName].bytes;
        gBPFake.blocks.erase(kTKCommBlockName); // no tick has seen it
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_EQ(JournalGain(), 2.0f);
        ASSERT_EQ(gBPFake.alerts.size(), 1u);
        EXPECT_EQ(gBPFake.alerts[0].text.find("The host has ended this session"), 0u);
        EXPECT_NE(gBPFake.alerts[0].text.find("The grade is kept"), std::string::npos);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
        float gain = 0;
        std::memcpy(&gain, bytes.get() + offsetof(TKUIComm, settings) + offsetof(OCSettings, hsl.master.gain), 4);
        EXPECT_EQ(gain, 1.0f); // nothing was stored
        Die();
        Begin();
        EXPECT_EQ(windows_.questions.size(), 1u);
        Die();
        gBPFake.stateFiles.clear();
    }
}

TEST_F(TKRecoveryTest, AGradeThatTheHostHasAlreadyIsNotOffered)
{
    Begin();
    Grade(2);
    const OCSettings grade = session_->liveSettings;
    Die();
    MakeHost();
    host_.Block()->settings = grade; // it got there after all
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    TKTick(session_);
    EXPECT_TRUE(windows_.questions.empty());
    EXPECT_TRUE(gBPFake.stateFiles.empty());
}

TEST_F(TKRecoveryTest, AnotherClipIsNotAsked)
{
    Begin();
    Grade(2);
    Die();
    MakeHost();
    std::strcpy(host_.Block()->clipList[0].path, "/clips/b.mov");
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    TKTick(session_);
    EXPECT_TRUE(windows_.questions.empty());
    EXPECT_EQ(JournalGain(), 2.0f);
    Die();
    Begin();
    EXPECT_EQ(windows_.questions.size(), 1u);
}

TEST_F(TKRecoveryTest, AClipWithoutANameIsOfferedAsThisClip)
{
    host_.Make();
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    TKTick(session_);
    Grade(2);
    Die();
    host_.Make();
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    TKTick(session_);
    EXPECT_EQ(windows_.questions, std::vector<std::string>{"Recover the grade of this clip?"});
}

TEST_F(TKRecoveryTest, TheQuestionComesAfterTheWindowAndHoldsNobodyUp)
{
    Begin();
    Grade(2);
    Die();
    Begin();
    const auto at = [this](const char* name) {
        return std::find(windows_.calls.begin(), windows_.calls.end(), name) - windows_.calls.begin();
    };
    EXPECT_LT(at("hideSplash"), at("askRecovery"));
    // Frames are served while it is open.
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    TKLocate(session_, 500);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    EXPECT_EQ(windows_.positionText, "00:00:00:05");
    for (int i = 0; i < 10; ++i) TKTick(session_);
    EXPECT_EQ(windows_.questions.size(), 1u);
    TKRecoveryAnswer(session_, true);
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
    TKRecoveryAnswer(session_, false); // there is no question any more
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
    EXPECT_EQ(JournalGain(), 2.0f);
}

TEST_F(TKRecoveryTest, AnUnansweredQuestionIsPutAgainWhateverEndsTheSession)
{
    Begin();
    Grade(2);
    for (const int way : {0, 1, 2, 3, 4}) {
        Die();
        Begin();
        ASSERT_EQ(windows_.questions.size(), 1u) << way;
        if (way == 0) DoMenuCommand(session_, kTKCommandOK, nullptr);
        if (way == 1) DoMenuCommand(session_, kTKCommandCancel, nullptr);
        if (way == 2) DoMenuCommand(session_, kTKCommandExit, nullptr);
        if (way == 3) gBPFake.blocks.erase(kTKCommBlockName); // the host takes its block away
        if (way == 3) TKTick(session_);
        EXPECT_EQ(windows_.Count("withdrawRecovery"), way == 4 ? 0u : 1u) << way;
        EXPECT_EQ(JournalGain(), 2.0f) << way;
        TKRecoveryAnswer(session_, true); // too late
        if (way < 4) {
            EXPECT_EQ(session_->liveSettings.hsl.master.gain, 1.0f);
        }
    }
}

TEST_F(TKRecoveryTest, AResidentApplicationKeepsAJournalOfEachVisit)
{
    Begin();
    Grade(2);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_TRUE(gBPFake.stateFiles.empty());
    MakeHost(2);
    TKTick(session_);
    ASSERT_NE(TKBlockOf(session_), nullptr);
    EXPECT_TRUE(windows_.questions.empty());
    Grade(2.5);
    EXPECT_EQ(JournalGain(), 2.5f);
    Die();
    Begin(2);
    EXPECT_EQ(session_->recovery.offered.hsl.master.gain, 2.5f);
}

// --- What may go wrong with the file ----------------------------------------------------------------------------------

TEST_F(TKRecoveryTest, AnyFailureOfTheFileCostsOneLineAndTheJournalOnly)
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

TEST_F(TKRecoveryTest, AReadOnlyHomeCostsTheJournal)
{
    gBPFake.failFrom[bpFakeStateOpen] = 1;
    Begin();
    Grade(2);
    Grade(2.5);
    EXPECT_EQ(TKLogCount("No journal is kept of this session, error "), 1u);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 2.5f);
}

TEST_F(TKRecoveryTest, AFullDiskKeepsWhatIsThereAlready)
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

TEST_F(TKRecoveryTest, ADiskThatIsNoLongerFullTakesTheJournalAgain)
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

TEST_F(TKRecoveryTest, AJournalThatCannotBeReadNowWaitsForTheNextSession)
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

TEST_F(TKRecoveryTest, OKAndCancelRemoveAJournalThatCouldNotGrow)
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

TEST_F(TKRecoveryTest, HostileContentsAreRefusedAndReplaced)
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

TEST_F(TKRecoveryTest, AJournalThatAnotherApplicationHoldsIsWaitedForAWhile)
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

TEST_F(TKRecoveryTest, WithoutMemoryTheSessionGoesOn)
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

TEST_F(TKRecoveryTest, AHostThatUnlinksOrCutsItsBlockEndsTheSessionWithAMessage)
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

TEST_F(TKRecoveryTest, ABlockThatGoesWhileAFrameIsAwaitedEndsTheWait)
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

TEST_F(TKRecoveryTest, AChangeJustBeforeAFrameRequestIsSavedBeforeTheWait)
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
