// The start of a process, and the tick.
#include "tests/support/TKTestSession.h"

namespace {

class TKStartupTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        windows_.onBuild = [this](TKSession*) { MakeSliders(); };
    }
    uint32_t Status() const { return host_.Block()->status; }
};

TEST_F(TKStartupTest, EverythingComesUpInItsOrder)
{
    host_.Make();
    host_.Block()->settings.hsl.master.gain = 0;
    host_.Block()->settings.hsl.master.on = host_.Block()->settings.hslOn = host_.Block()->settings.primaryOn = 1;
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    EXPECT_TRUE(TKLogHas({"main 1\n", "main 2\n", "main 3\n", "main 4\n", "path = /", "Initialize exit\n", "main 5\n",
                          "main 6\n", "^^^^^^ hostApp", "ProcessImage: 1\n"}));
    const std::vector<std::string> splash = {"0 ",
                                             "3 4 processors found",
                                             "5 Loading image",
                                             "1 Initializing interface",
                                             "2 Loading Gallery",
                                             "6 Initializing control surface"};
    EXPECT_EQ(windows_.splash, splash);
    EXPECT_EQ(gBPFake.sleeps, std::vector<uint32_t>{500}); // 30 ticks
    EXPECT_EQ(gBPFake.allowedForeground, std::vector<uint32_t>{kHostProcess});
    EXPECT_EQ(session_->palette.grey[kTKGreyWindow].red, 9860);
    EXPECT_TRUE(session_->interfaceReady);
    EXPECT_EQ(windows_.timerMs, 10u);
    EXPECT_EQ(session_->undoRing->undoAvailable, 0u);
    EXPECT_EQ(session_->undoRing->undoHead, 0u);
    EXPECT_EQ(session_->undoRing->undoSlotCount, 21u);
    EXPECT_EQ(Status(), kTKUIStatusUIRunning);
    // The grade of the host is on the controls and in the first picture, and is no undo step.
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 0.0f);
    EXPECT_STREQ(gain_.valueText, "0.00");
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 3, 3), 0xFF000000u);
    EXPECT_FALSE(TKUndoStepBack(session_));
    // The window comes before the splash goes.
    const auto at = [this](const char* name) {
        return std::find(windows_.calls.begin(), windows_.calls.end(), name) - windows_.calls.begin();
    };
    EXPECT_LT(at("showSplash"), at("buildMainWindow"));
    EXPECT_LT(at("buildMainWindow"), at("showMainWindow"));
    EXPECT_LT(at("showMainWindow"), at("hideSplash"));
    EXPECT_STREQ(host_.Block()->commWindowName, gBPFake.channelName.c_str());
}

TEST_F(TKStartupTest, SettingsWithoutTheSignatureAreReset)
{
    host_.Make();
    host_.Block()->settings.signature = 1;
    host_.Block()->settings.hsl.master.gain = 5;
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    EXPECT_EQ(session_->liveSettings.signature, kOCSettingsSignature);
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 1.0f);
}

TEST_F(TKStartupTest, WithoutAHostItEndsNormally)
{
    EXPECT_EQ(TKStartUp(session_), tkStartEnded);
    EXPECT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(windows_.Count("showSplash"), 0u);
    EXPECT_EQ(gBPFake.blocks.size(), 0u);
}

TEST_F(TKStartupTest, AProcessorWithoutSSEEndsItBeforeAHostIsLookedFor)
{
    gBPFake.processorSuffices = false;
    ASSERT_EQ(StartUp(), tkStartEnded);
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].severity, bpStop);
    EXPECT_EQ(
        gBPFake.alerts[0].text,
        "Ochrine 3 requires a processor with the SSE instruction set, and that SSE be enabled and not emulated. In "
        "general this means an Intel Pentium III or AMD Athlon XP processor or better.");
    EXPECT_EQ(gBPFake.calls[bpFakeSharedOpen], 0u);
    EXPECT_EQ(TKLogCount("Initialize exit\n"), 0u);
}

TEST_F(TKStartupTest, TheClipsOfTheHostGoToTheGalleryOnceAndUnderTheirLabel)
{
    struct Case {
        int32_t count;
        size_t shown;
    };
    for (const Case& c : {Case{0, 0}, Case{1, 1}, Case{199, 199}, Case{200, 200}, Case{201, 200}, Case{250, 200},
                          Case{INT32_MAX, 200}, Case{-1, 0}, Case{INT32_MIN, 0}}) {
        host_.Make();
        for (uint32_t i = 0; i < kTKUIClipLimit; ++i)
            std::snprintf(host_.Block()->clipList[i].path, 260, "/clips/%u.mov", i);
        host_.Block()->clipCount = c.count;
        ASSERT_EQ(TKStartUp(session_), tkStartRun);
        EXPECT_EQ(windows_.clips.size(), c.shown) << c.count;
        if (c.shown > 1) {
            EXPECT_EQ(windows_.clips[0], "Project footage /clips/0.mov");
            EXPECT_EQ(windows_.clips.back(), "Project footage /clips/" + std::to_string(c.shown - 1) + ".mov");
        }
        EXPECT_EQ(TKLogCount("Assert (clipCount >= 0) failed."), c.count < 0 ? 1u : 0u) << c.count;
        DoMenuCommand(session_, kTKCommandCancel, nullptr);
        host_.Make();
        host_.Block()->clipCount = 3;
        TKTick(session_); // the next visit adds none
        ASSERT_NE(TKBlockOf(session_), nullptr);
        EXPECT_EQ(windows_.clips.size(), c.shown) << c.count;
        TearDown();
        SetUp();
    }
}

TEST_F(TKStartupTest, AnEmptyPathIsNoClipAndOneWithoutAnEndIsCutAtItsField)
{
    host_.Make();
    host_.Block()->clipCount = 3;
    std::strcpy(host_.Block()->clipList[0].path, "/a");
    std::memset(&host_.Block()->clipList[2], 'x', sizeof(TKClipRecord)); // and beyond
    ASSERT_EQ(TKStartUp(session_), tkStartRun);
    const std::vector<std::string> wanted = {"Project footage /a", "Project footage " + std::string(260, 'x')};
    EXPECT_EQ(windows_.clips, wanted);
}

TEST_F(TKStartupTest, ShiftAndControlGiveTheDefaultsAndASecondOfPause)
{
    gBPFake.stores[kTKPreferencesStore]["Undo Depth"] = {.kind = bpFakeNumber, .number = 5, .text = {}, .block = {}};
    gBPFake.modifierWord = bpShiftKey | bpControlKey | bpCapsLock;
    ASSERT_EQ(StartUp(), tkStartRun);
    EXPECT_EQ(session_->prefs.undoDepth, 20u);
    EXPECT_EQ(gBPFake.sleeps, (std::vector<uint32_t>{1000, 500}));
    EXPECT_EQ(gBPFake.calls[bpFakeStoreOpen], 0u);
    DoMenuCommand(session_, kTKCommandExit, nullptr);
    EXPECT_EQ(gBPFake.stores[kTKPreferencesStore]["Undo Depth"].number, 20u);
}

TEST_F(TKStartupTest, AStoreThatCouldNotBeReadIsNotOverwrittenByDefaults)
{
    for (const BPFakeOp op : {bpFakeStoreOpen, bpFakeReadNumber, bpFakeReadString, bpFakeReadBlock})
        for (const bool byHost : {false, true}) {
            gBPFake.stores[kTKPreferencesStore]["Undo Depth"] = {
                .kind = bpFakeNumber, .number = 5, .text = {}, .block = {}};
            gBPFake.failCall[op] = 1;
            gBPFake.failStatus[op] = bpFileBusyErr;
            ASSERT_EQ(StartUp(), tkStartRun);
            EXPECT_TRUE(session_->prefsUnread);
            session_->prefs.undoDepth = 7;
            if (byHost)
                TKDetachAndQuit(session_);
            else
                DoMenuCommand(session_, kTKCommandExit, nullptr);
            EXPECT_EQ(gBPFake.stores[kTKPreferencesStore]["Undo Depth"].number, 5u) << op << byHost;
            EXPECT_EQ(TKLogCount("The preferences could not be read at the start and are left as they are\n"), 1u);
            TearDown();
            SetUp();
            host_ = {};
        }
}

TEST_F(TKStartupTest, AStoreThatWasReadOrIsNotThereYetIsWrittenAtTheEnd)
{
    for (const bool there : {false, true}) {
        if (there) gBPFake.stores[kTKPreferencesStore]["Undo Depth"].number = 5;
        ASSERT_EQ(StartUp(), tkStartRun);
        EXPECT_FALSE(session_->prefsUnread);
        session_->prefs.undoDepth = 7;
        DoMenuCommand(session_, kTKCommandExit, nullptr);
        EXPECT_EQ(gBPFake.stores[kTKPreferencesStore]["Undo Depth"].number, 7u);
        TearDown();
        SetUp();
        host_ = {};
    }
}

TEST_F(TKStartupTest, ShiftAndControlReplaceEvenAStoreThatCannotBeRead)
{
    gBPFake.failCall[bpFakeReadNumber] = 1;
    gBPFake.modifierWord = bpShiftKey | bpControlKey;
    ASSERT_EQ(StartUp(), tkStartRun);
    EXPECT_FALSE(session_->prefsUnread);
    DoMenuCommand(session_, kTKCommandExit, nullptr);
    EXPECT_EQ(gBPFake.stores[kTKPreferencesStore]["Undo Depth"].number, 20u);
}

TEST_F(TKStartupTest, AnyStoredNumberGivesATabThatThereIs)
{
    struct Case {
        uint32_t stored;
        int32_t settings, picture;
    };
    for (const Case& c : {Case{1, 0, tkImageResult}, Case{9, 8, tkImageLumaRanges}, Case{0, 0, tkImageResult},
                          Case{10, 8, tkImageLumaRanges}, Case{0x7FFFFFFF, 8, tkImageLumaRanges},
                          Case{0x80000000, 8, tkImageLumaRanges}, Case{0x80000001, 0, tkImageResult},
                          Case{0xFFFFFFFF, 0, tkImageResult}}) {
        for (const char* name : {"Settings Pane Default", "Right Pane Default"})
            gBPFake.stores[kTKPreferencesStore][name] = {
                .kind = bpFakeNumber, .number = c.stored, .text = {}, .block = {}};
        ASSERT_EQ(StartUp(), tkStartRun);
        EXPECT_EQ(session_->settingsTab, c.settings) << c.stored;
        EXPECT_EQ(session_->imagePaneMode, c.picture) << c.stored;
        TearDown();
        SetUp();
        host_ = {};
    }
}

TEST_F(TKStartupTest, OneOfTheKeysIsNotEnough)
{
    gBPFake.stores[kTKPreferencesStore]["Undo Depth"] = {.kind = bpFakeNumber, .number = 5, .text = {}, .block = {}};
    gBPFake.modifierWord = bpShiftKey | bpAltKey;
    ASSERT_EQ(StartUp(), tkStartRun);
    EXPECT_EQ(session_->prefs.undoDepth, 5u);
    EXPECT_EQ(session_->undoRing->undoSlotCount, 6u);
}

TEST_F(TKStartupTest, TheSmallestScreenPassesAndOnePixelLessDoesNot)
{
    gBPFake.screens = {{.left = -1024, .top = 0, .right = 0, .bottom = 768}};
    ASSERT_EQ(StartUp(), tkStartRun);
    for (const BPRect& screen : {BPRect{0, 0, 1023, 768}, BPRect{0, 0, 1024, 767}, BPRect{0, 0, 0, 0},
                                 BPRect{INT32_MIN, 0, INT32_MIN + 3, 4000}}) {
        TearDown();
        SetUp();
        host_ = {};
        gBPFake.screens = {screen};
        ASSERT_EQ(StartUp(), tkStartFailed);
        ASSERT_EQ(gBPFake.alerts.size(), 1u);
        EXPECT_EQ(gBPFake.alerts[0].title, "Insufficient Screen Resolution");
        EXPECT_EQ(gBPFake.alerts[0].text, "Ochrine requires a minimum screen size of 1024 x 768.");
        EXPECT_EQ(TKFinish(session_), 0);
        EXPECT_EQ(gBPFake.alerts.size(), 1u); // no other message follows
        EXPECT_EQ(Status(), kTKUIStatusUIDone);
    }
}

TEST_F(TKStartupTest, AFrameThatCannotBeTakenFailsTheStart)
{
    host_.Make();
    host_.Block()->frameHeight = 0xFFFFFFFF;
    ASSERT_EQ(TKStartUp(session_), tkStartFailed);
    EXPECT_EQ(TKFinish(session_), bpParamErr);
    EXPECT_TRUE(TKLogHas({"BP Ochrine UI failed, error -50\n"}));
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].text, "Unable to start user interface.");
    EXPECT_EQ(gBPFake.alerts[0].severity, bpStop);
    EXPECT_EQ(Status(), kTKUIStatusUIDone);
    EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName));
}

TEST_F(TKStartupTest, AWindowThatCannotBeBuiltFailsTheStart)
{
    windows_.buildResult = bpMemFullErr;
    ASSERT_EQ(StartUp(), tkStartFailed);
    EXPECT_EQ(TKFinish(session_), bpMemFullErr);
    EXPECT_EQ(Status(), kTKUIStatusUIDone);
}

TEST_F(TKStartupTest, EveryFailedAllocationEndsInTheReportOrDoesNoHarm)
{
    uint64_t requests = 0;
    for (uint64_t fail = 1;; ++fail) {
        host_ = {};
        host_.Make();
        BPFailAllocation(fail);
        const TKStartResult result = TKStartUp(session_);
        requests = BPAllocationCount();
        BPFailAllocation(0);
        if (result == tkStartRun) DoMenuCommand(session_, kTKCommandExit, nullptr);
        const int32_t code = TKFinish(session_);
        EXPECT_EQ(code, result == tkStartRun ? 0 : bpMemFullErr) << fail;
        EXPECT_EQ(Status(), kTKUIStatusUIDone) << fail;
        EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName)) << fail;
        EXPECT_EQ(session_->sourceFrame, nullptr);
        EXPECT_EQ(session_->resultSurface.pixels, nullptr);
        TearDown();
        SetUp();
        if (requests < fail) break;
    }
    EXPECT_GT(requests, 8u);
}

// --- Tick -------------------------------------------------------------------------------------------------------------

TEST_F(TKStartupTest, TheFirstTickOfEachVisitRefreshesTheSourceOnce)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    for (int visit = 0; visit < 3; ++visit) {
        windows_.calls.clear();
        TKTick(session_);
        EXPECT_EQ(windows_.Count("refreshSource"), 1u) << visit;
        EXPECT_EQ(session_->tickCount, 1u);
        for (int i = 0; i < 20; ++i) TKTick(session_);
        EXPECT_EQ(windows_.Count("refreshSource"), 1u) << visit;
        DoMenuCommand(session_, kTKCommandCancel, nullptr);
        gBPFake.blocks.erase(kTKCommBlockName);
        TKTick(session_);
        host_.Make();
        TKTick(session_); // attaches
        ASSERT_NE(TKBlockOf(session_), nullptr);
    }
}

TEST_F(TKStartupTest, ATickDoesItsWorkInItsOrder)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    gBPFake.mouseButtonDown = true;
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    gBPFake.mouseButtonDown = false;
    session_->updateSuspended = true; // by a caps lock that is off by now
    session_->pendingCursor = 7;
    TKTogglePlay(session_, TKActiveTransport(session_));
    windows_.calls.clear();
    TKTick(session_);
    std::vector<std::string> seen;
    for (const std::string& call : windows_.calls)
        if (call == "refreshSource" || call == "refreshResult" || call.starts_with("cursor")) seen.push_back(call);
    // The source of the first tick; the update after caps lock; the cursor; the played frame, source before result.
    const std::vector<std::string> wanted = {"refreshSource", "refreshResult", "cursor 7", "refreshSource",
                                             "refreshResult"};
    EXPECT_EQ(seen, wanted);
    EXPECT_EQ(session_->tickCount, 1u);
    EXPECT_EQ(windows_.positionText, "00:00:00:01");
}

TEST_F(TKStartupTest, ATickOutOfABoxOfATickDoesNothing)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    static TKSession* session;
    static std::vector<uint64_t> counts;
    session = session_;
    counts.clear();
    gBPFake.onCall = [](void*, BPFakeOp op) {
        if (op != bpFakeAlert) return;
        for (int i = 0; i < 3; ++i) TKTick(session); // the timer, while the box stands there
        counts.push_back(session->tickCount);
    };
    const uint64_t before = session_->tickCount;
    gBPFake.blocks.erase(kTKCommBlockName);
    TKTick(session_); // tells that the host took its block back
    gBPFake.onCall = nullptr;
    EXPECT_EQ(counts, std::vector<uint64_t>{before + 1});
    TKTick(session_); // and ticks go on afterwards
    EXPECT_EQ(session_->tickCount, before + 2);
}

TEST_F(TKStartupTest, ThePendingCursorIsSetOnce)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    session_->pendingCursor = 500;
    TKTick(session_);
    TKTick(session_);
    session_->pendingCursor = 500;
    TKTick(session_);
    EXPECT_EQ(windows_.Count("cursor 500"), 1u);
    EXPECT_EQ(session_->pendingCursor, 0u);
}

TEST_F(TKStartupTest, AFrameThatNobodyAskedForIsTakenOffTheChannel)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    const std::vector<uint8_t> frame = host_.Frame(2);
    BPFakeQueueMessage(9, frame.data(), static_cast<uint32_t>(frame.size()));
    TKTick(session_);
    EXPECT_TRUE(gBPFake.messages.empty());
    EXPECT_EQ(session_->receivedFrame, nullptr);
}

TEST_F(TKStartupTest, LeavingTheFrontStopsPlaybackOnceTheInterfaceIsReady)
{
    ASSERT_EQ(StartUp(), tkStartRun);
    TKTogglePlay(session_, TKActiveTransport(session_));
    TKApplicationActivated(session_, true);
    EXPECT_TRUE(TKIsPlaying(session_));
    session_->interfaceReady = false;
    TKApplicationActivated(session_, false);
    EXPECT_TRUE(TKIsPlaying(session_));
    session_->interfaceReady = true;
    TKApplicationActivated(session_, false);
    EXPECT_FALSE(TKIsPlaying(session_));
}

TEST(TKSplash, StepsHaveTheirTexts)
{
    struct Case {
        uint32_t step, processors;
        const char* text;
    };
    for (const Case& c :
         {Case{0, 4, ""}, Case{1, 4, "Initializing interface"}, Case{2, 4, "Loading Gallery"},
          Case{3, 0, "0 processor found"}, Case{3, 1, "1 processor found"}, Case{3, 2, "2 processors found"},
          Case{4, 4, "Starting Beaconline"}, Case{5, 4, "Loading image"}, Case{6, 4, "Initializing control surface"},
          Case{7, 4, ""}, Case{8, 4, ""}, Case{900, 4, ""}}) {
        char text[64];
        TKSplashText(c.step, c.processors, text, sizeof text);
        EXPECT_STREQ(text, c.text);
    }
}

} // namespace
