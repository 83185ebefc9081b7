// The ends of a session: OK, Cancel, Exit, the resident state, the tear-down.
#include "tests/support/TKTestSession.h"

namespace {

class TKSessionEnd : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        windows_.onBuild = [this](TKSession*) { MakeSliders(); };
    }
    uint32_t Status() const { return host_.Block()->status; }
};

TEST_F(TKSessionEnd, OKGivesTheGradeBackAndStaysResident)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    OpenEdit(session_, &saturation_);
    TKSetEditText(&saturation_, "50");
    TKTogglePlay(session_, TKActiveTransport(session_));
    windows_.calls.clear();
    gBPFake.sleeps.clear();
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(Status(), kTKUIStatusUIDone);
    EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 2.0f);
    EXPECT_EQ(host_.Block()->settings.hsl.master.saturation, 50.0f); // the open edit is part of the grade
    EXPECT_EQ(TKBlockOf(session_), nullptr);
    EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName));
    EXPECT_EQ(gBPFake.sleeps, std::vector<uint32_t>{1666}); // 100 ticks
    EXPECT_FALSE(windows_.menus);
    EXPECT_FALSE(TKIsPlaying(session_));
    EXPECT_EQ(windows_.Count("hideMainWindow"), 1u);
    EXPECT_EQ(windows_.Count("restoreForeground"), 1u);
    EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
    EXPECT_EQ(session_->uiDeadline, gBPFake.wallSeconds - 1.666 + 600);
    EXPECT_TRUE(TKLogHas({">>>>>>>>>>>>>>>>>>>>>>>> UI: OK was clicked\n"}));
    // A second OK cannot happen.
    windows_.calls.clear();
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    DoMenuCommand(session_, kTKCommandCancel, nullptr);
    EXPECT_TRUE(windows_.calls.empty());
    EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName));
}

TEST_F(TKSessionEnd, CancelLeavesTheSettingsOfTheHost)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    gBPFake.sleeps.clear();
    const uint32_t opened = gBPFake.calls[bpFakeStoreOpen];
    DoMenuCommand(session_, kTKCommandCancel, nullptr);
    const OCSettings neutral = TKNeutralSettings();
    EXPECT_EQ(std::memcmp(&host_.Block()->settings, &neutral, sizeof neutral), 0);
    EXPECT_EQ(Status(), kTKUIStatusUIDone);
    EXPECT_TRUE(gBPFake.sleeps.empty());
    EXPECT_TRUE(TKLogHas({">>>>>>>>>>>>>>>>>>>>>>>> UI: Cancel was clicked\n"}));
    EXPECT_EQ(gBPFake.calls[bpFakeStoreOpen], opened); // preferences are written when it quits, not before
}

TEST_F(TKSessionEnd, ExitAndClosingTheWindowQuitInSpiteOfTheTimeOut)
{
    for (const bool byWindow : {false, true}) {
        ASSERT_EQ(StartUp(), tkStartRun);
        (void)TKSliderDrag(session_, &gain_, 2 * 65536);
        windows_.calls.clear();
        if (byWindow)
            EXPECT_FALSE(TKMainWindowClose(session_));
        else
            DoMenuCommand(session_, kTKCommandExit, nullptr);
        EXPECT_EQ(Status(), kTKUIStatusUIDone);
        EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 1.0f);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
        EXPECT_EQ(windows_.Count("hideMainWindow"), 0u);
        EXPECT_EQ(TKLogCount("Saving window position"), 1u);
        EXPECT_FALSE(windows_.loopEnded);
        EXPECT_TRUE(TKMainWindowClose(session_));
        EXPECT_TRUE(windows_.loopEnded);
        EXPECT_EQ(TKFinish(session_), 0);
        EXPECT_TRUE(gBPFake.alerts.empty());
        EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName));
        EXPECT_EQ(gBPFake.blocks.count(kTKUIBlockName), 0u);
        EXPECT_EQ(gBPFake.channelName, "");
        host_ = {};
        TearDown();
        SetUp();
    }
}

TEST_F(TKSessionEnd, OKQuitsWithoutTimeOutOrHostProcess)
{
    for (const bool timeOut : {false, true}) {
        host_.processID = timeOut ? 0 : kHostProcess;
        ASSERT_EQ(StartUp(), tkStartRun);
        session_->prefs.uiTimeoutEnable = timeOut;
        (void)TKSliderDrag(session_, &gain_, 2 * 65536);
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_EQ(Status(), kTKUIStatusUIDone);
        EXPECT_EQ(host_.Block()->settings.hsl.master.gain, 2.0f);
        EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
        EXPECT_EQ(TKLogCount("was clicked"), 0u);
        host_ = {};
        TearDown();
        SetUp();
    }
}

TEST_F(TKSessionEnd, AHostThatNeverCallsAgainEndsTheResidentApplicationInTime)
{
    gBPFake.stores[kTKPreferencesStore]["UI Timeout Duration"] = {
        .kind = bpFakeNumber, .number = 1, .text = {}, .block = {}};
    ASSERT_EQ(StartUp(), tkStartRun);
    DoMenuCommand(session_, kTKCommandCancel, nullptr);
    gBPFake.blocks.erase(kTKCommBlockName);
    windows_.calls.clear();
    const double start = gBPFake.wallSeconds;
    while (windows_.Count("closeMainWindow") == 0 && gBPFake.wallSeconds < start + 100) {
        gBPFake.wallSeconds += 0.01;
        TKTick(session_);
    }
    EXPECT_NEAR(gBPFake.wallSeconds - start, 60, 0.02);
}

TEST_F(TKSessionEnd, AHostThatDiesEndsItOnTheNextTick)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    gBPFake.blocks.erase(kTKCommBlockName);
    TKTick(session_);
    EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
    gBPFake.alive[kHostProcess] = false;
    TKTick(session_);
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
    EXPECT_TRUE(TKMainWindowClose(session_));
}

TEST_F(TKSessionEnd, ADeadlineOfNoMinutesQuitsOnTheFirstTickWithoutABlock)
{
    gBPFake.stores[kTKPreferencesStore]["UI Timeout Duration"] = {
        .kind = bpFakeNumber, .number = 0, .text = {}, .block = {}};
    ASSERT_EQ(StartUp(), tkStartRun);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    gBPFake.blocks.erase(kTKCommBlockName);
    TKTick(session_);
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
}

TEST_F(TKSessionEnd, TheSecondVisitFindsFramesAndUndoAsTheyWere)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    const FBFrame* source = session_->sourceFrame;
    const TKUndoRing* ring = session_->undoRing;
    host_.Make();
    host_.Block()->settings = session_->liveSettings;
    TKTick(session_);
    ASSERT_NE(TKBlockOf(session_), nullptr);
    EXPECT_EQ(session_->sourceFrame, source);
    EXPECT_EQ(session_->undoRing, ring);
    EXPECT_EQ(ring->undoAvailable, 1u);
    EXPECT_TRUE(TKSliderDrag(session_, &gain_, 65536).opensUndo); // a gesture of this visit is a step of its own
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 0, 3), 0xFF0A03C8u);
}

TEST_F(TKSessionEnd, AHostThatDiesWhileAttachedEndsTheApplicationAfterOK)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    gBPFake.alive[kHostProcess] = false;
    TKStepFrames(session_, 1); // answered by nobody, and does not hang
    EXPECT_EQ(TKLogCount("host returned kTKUIStatusRequestFailed\n"), 0u);
    DoMenuCommand(session_, kTKCommandOK, nullptr);
    EXPECT_EQ(host_.Block()->settings.signature, kOCSettingsSignature);
    gBPFake.blocks.erase(kTKCommBlockName);
    TKTick(session_);
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
}

TEST_F(TKSessionEnd, AScanIsStoppedAndAwaited)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    session_->updateFlag = 1;
    gBPFake.sleeps.clear();
    static TKSession* session;
    session = session_;
    host_.serve = [](TKTestHost*) {
        if (session->abortScan && gBPFake.sleeps.size() % 2 == 0) session->updateFlag = 0;
    };
    DoMenuCommand(session_, kTKCommandExit, nullptr);
    EXPECT_TRUE(TKLogHas({"kHICommandQuit: detected update\n", "kHICommandQuit: waiting\n", "kHICommandQuit: waiting\n",
                          "kHICommandQuit: wait complete, update flag = 0\n"}));
    EXPECT_EQ(gBPFake.sleeps, (std::vector<uint32_t>{500, 500}));
    session_->updateFlag = 1;
    (void)TKFinish(session_);
    EXPECT_TRUE(TKLogHas({"\ndetected update\nwaiting\nwaiting\nwait complete, update flag = 0\n"}));
}

TEST_F(TKSessionEnd, TheTearDownTellsAHostThatIsStillAttached)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    EXPECT_EQ(TKFinish(session_), 0);
    EXPECT_EQ(Status(), kTKUIStatusUIDone);
    EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName));
    EXPECT_FALSE(session_->interfaceReady);
    TKTearDown(session_); // a second time does no harm
}

TEST_F(TKSessionEnd, ThePoolOfThePreferenceRendersTheSamePicture)
{
    gBPFake.stores[kTKPreferencesStore]["Multiprocessor Enable"].number = 1;
    host_.width = 64;
    host_.height = 48;
    host_.rowBytes = 256;
    ASSERT_EQ(StartUp(), tkStartRun);
    for (uint32_t row = 0; row < 48; ++row)
        for (uint32_t column = 0; column < 64; ++column)
            ASSERT_EQ(TKPixelAt(session_->resultSurface, column, row), 0xFF0000C8u | (10 + column) << 16 | row << 8);
    EXPECT_EQ(TKFinish(session_), 0);
    EXPECT_EQ(session_->tasks, nullptr);
}

TEST_F(TKSessionEnd, AHostThatGaveOnlyTheHighHalfGoesResidentForOneTick)
{
    host_.processID = 0;
    host_.Make();
    host_.Block()->hostProcessHigh = 7;
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    DoMenuCommand(session_, kTKCommandCancel, nullptr);
    EXPECT_EQ(windows_.Count("hideMainWindow"), 1u); // one of the two halves is not 0
    EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
    gBPFake.blocks.erase(kTKCommBlockName);
    TKTick(session_);
    EXPECT_GE(windows_.Count("closeMainWindow"), 1u); // nobody could tell when it is gone
}

TEST_F(TKSessionEnd, OKInTheQuitPathWaitsForItsHostAsLongAsItMatters)
{
    struct Case {
        size_t removedAt, diesAt; // sleeps; 0 never
        size_t least, most;
    };
    for (const Case& c : {Case{3, 0, 3, 3}, Case{0, 5, 5, 5}, Case{0, 0, 160, 170}}) {
        ASSERT_EQ(StartUp(), tkStartRun);
        session_->prefs.uiTimeoutEnable = 0;
        gBPFake.sleeps.clear();
        static Case now;
        now = c;
        host_.serve = [](TKTestHost*) {
            if (gBPFake.sleeps.size() == now.removedAt) gBPFake.blocks.erase(kTKCommBlockName);
            if (gBPFake.sleeps.size() == now.diesAt) gBPFake.alive[kHostProcess] = false;
        };
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_GE(gBPFake.sleeps.size(), c.least);
        EXPECT_LE(gBPFake.sleeps.size(), c.most);
        EXPECT_EQ(windows_.Count("hideMainWindow"), 1u);
        EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
        host_ = {};
        TearDown();
        SetUp();
    }
    // Cancel and Exit give nothing back, and wait for nobody.
    for (const uint32_t command : {uint32_t{kTKCommandCancel}, uint32_t{kTKCommandExit}}) {
        ASSERT_EQ(StartUp(), tkStartRun);
        session_->prefs.uiTimeoutEnable = 0;
        gBPFake.sleeps.clear();
        DoMenuCommand(session_, command, nullptr);
        EXPECT_TRUE(gBPFake.sleeps.empty());
        host_ = {};
        TearDown();
        SetUp();
    }
}

} // namespace
