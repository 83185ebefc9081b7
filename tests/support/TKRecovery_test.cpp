// Sessions that end badly, and the sessions after them.
#include "tests/support/TKRecoveryTest.h"

namespace {

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
        size_t diesAt; // sleeps after 4; 0 before OK
        bool removesItsBlock, kept;
    };
    for (const bool resident : {true, false})
        for (const Case& c : {Case{0, false, true}, Case{1, false, true}, Case{1, true, false}, Case{7, false, true}}) {
            if (resident && c.diesAt > 1) continue; // it sleeps once, and long
            Begin();
            session_->prefs.uiTimeoutEnable = resident;
            Grade(2);
            gBPFake.sleeps.clear();
            if (c.diesAt == 0) gBPFake.alive[kHostProcess] = false;
            static Case now;
            now = c;
            host_.serve = [](TKTestHost*) {
                if (gBPFake.sleeps.size() < now.diesAt) return;
                gBPFake.alive[kHostProcess] = false;
                if (now.removesItsBlock) gBPFake.blocks.erase(kTKCommBlockName);
            };
            DoMenuCommand(session_, kTKCommandOK, nullptr);
            EXPECT_EQ(gBPFake.stateFiles.size(), c.kept ? 1u : 0u) << resident << " " << c.diesAt;
            EXPECT_EQ(TKLogCount("The host ended before it took the grade\n"), c.kept ? 1u : 0u);
            host_.serve = nullptr;
            Die();
            gBPFake.stateFiles.clear();
        }
}

TEST_F(TKRecoveryTest, OKForAHostThatGaveOnlyTheHighHalfRemovesTheJournal)
{
    for (const bool resident : {true, false}) {
        MakeHost();
        host_.Block()->hostProcessID = 0;
        host_.Block()->hostProcessHigh = 7;
        ASSERT_EQ(TKStartUp(session_), tkStartRun);
        TKTick(session_);
        session_->prefs.uiTimeoutEnable = resident;
        Grade(2);
        EXPECT_EQ(JournalGain(), 2.0f);
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_TRUE(gBPFake.stateFiles.empty());
        Die();
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

TEST_F(TKRecoveryTest, AListOfSeveralClipsDoesNotOfferTheGradeOfAnotherOne)
{
    // A host that lists its whole project: what differs between two of its clips is not the list.
    const auto project = [this](uint32_t frames, uint32_t start) {
        MakeHost();
        std::strcpy(host_.Block()->clipList[1].path, "/clips/b.mov");
        host_.Block()->clipCount = 2;
        host_.Block()->frameTimeMax = static_cast<int32_t>(frames - 1) * host_.Block()->frameStep;
        host_.Block()->startFrame = static_cast<uint16_t>(start);
        EXPECT_EQ(TKStartUp(session_), tkStartRun);
        TKTick(session_);
    };
    project(10, 0);
    Grade(2);
    Die();
    for (const auto& [frames, start] : {std::pair{11u, 0u}, std::pair{10u, 86u}}) {
        project(frames, start);
        EXPECT_TRUE(windows_.questions.empty());
        Die();
    }
    Begin(); // the first of the list, alone
    EXPECT_TRUE(windows_.questions.empty());
    Die();
    project(10, 0);
    EXPECT_EQ(windows_.questions, std::vector<std::string>{"Recover the grade of this clip?"});
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

} // namespace
