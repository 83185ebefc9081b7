// Attaching and re-attaching, with a scripted host.
#include "tests/support/TKTestSession.h"

namespace {

constexpr char kNoData[] =
    "No data passed to UI. This application is meant to be called by other applications, not run directly.";

class TKCallback : public TKSessionTest {
  protected:
    void ExpectNoHost()
    {
        EXPECT_EQ(TKAttachHost(session_), tkNoHost);
        ASSERT_EQ(gBPFake.alerts.size(), 1u);
        EXPECT_EQ(gBPFake.alerts[0].severity, bpStop);
        EXPECT_EQ(gBPFake.alerts[0].text, kNoData);
        EXPECT_EQ(TKLogCount("Ochrine 3 UI: ("), 1u);
        EXPECT_EQ(TKLogCount("No data passed to UI.\n"), 1u);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_EQ(gBPFake.openMappings, 0u);
    }

    /// Attached, then gone resident by Cancel, with the host's name still there or not.
    void GoResident(bool hostLeavesBlock)
    {
        Attach();
        session_->prefs.uiTimeoutEnable = 1;
        DoMenuCommand(session_, kTKCommandCancel, nullptr);
        ASSERT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIDone);
        if (!hostLeavesBlock) gBPFake.blocks.erase(kTKCommBlockName);
        windows_.calls.clear();
        gBPFake.log.clear();
    }
};

TEST_F(TKCallback, WithoutAHostTheUserIsToldAndNoBlockIsMade)
{
    ExpectNoHost();
    EXPECT_TRUE(gBPFake.blocks.empty());
    EXPECT_EQ(gBPFake.calls[bpFakeSharedCreate], 0u);
}

TEST_F(TKCallback, ABlockOfAnotherVersionGivesTheSameWords)
{
    host_.Make();
    host_.Block()->version = 6;
    ExpectNoHost();
    EXPECT_TRUE(TKLogHas({"sig/ver failed; tried wait\n", "sig/ver = 4f436333 ('3cCO') / 6; should be 4f436333 / 7\n",
                          "initializing = 1\n", "returning NULL\n"}));
    EXPECT_EQ(gBPFake.sleeps, std::vector<uint32_t>{50});
    EXPECT_EQ(host_.Block()->status, kTKUIStatusDataReady);
    EXPECT_FALSE(session_->hostPresent);
}

TEST_F(TKCallback, AShortBlockIsNoBlock)
{
    BPFakeMakeBlock(kTKCommBlockName, kTKUICommBytes - 1);
    ExpectNoHost();
}

TEST_F(TKCallback, AHostThatWritesItsHeaderWhileWeWaitIsAccepted)
{
    host_.Make();
    host_.Block()->signature = 0;
    host_.Block()->version = 0;
    host_.serve = [](TKTestHost* host) {
        host->Block()->signature = kTKUISignature;
        host->Block()->version = kTKUIVersion;
    };
    EXPECT_EQ(TKAttachHost(session_), tkAttached);
    EXPECT_TRUE(TKLogHas({"sig/ver failed; tried wait\n"}));
    EXPECT_EQ(TKLogCount("returning NULL"), 0u);
}

TEST_F(TKCallback, AttachingStoresRunningTheProcessAndTheAnnouncement)
{
    host_.Make();
    host_.Block()->hostProcessHigh = 3;
    gBPFake.log.clear();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    EXPECT_TRUE(session_->hostPresent);
    EXPECT_EQ(session_->hostProcessID, kHostProcess);
    EXPECT_EQ(session_->hostProcessHigh, 3u);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    ASSERT_EQ(gBPFake.blocks.count(kTKUIBlockName), 1u);
    UIBlock announced;
    std::memcpy(&announced, gBPFake.blocks[kTKUIBlockName].bytes.get(), sizeof announced);
    EXPECT_EQ(announced.processID, gBPFake.currentId);
    EXPECT_EQ(gBPFake.log, "");
}

TEST_F(TKCallback, AnAnnouncementOfADeadApplicationIsTakenOver)
{
    host_.Make();
    BPFakeMakeBlock(kTKUIBlockName, 8)[4] = 77;
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    UIBlock announced;
    std::memcpy(&announced, gBPFake.blocks[kTKUIBlockName].bytes.get(), sizeof announced);
    EXPECT_EQ(announced.processID, gBPFake.currentId);
    TKTearDown(session_);
    EXPECT_EQ(gBPFake.blocks.count(kTKUIBlockName), 0u);
}

TEST_F(TKCallback, WithoutAnAnnouncementItGoesOn)
{
    host_.Make();
    gBPFake.failFrom[bpFakeSharedCreate] = 1;
    EXPECT_EQ(TKAttachHost(session_), tkAttached);
    EXPECT_EQ(session_->uiBlock.address, nullptr);
}

TEST_F(TKCallback, AVersionThatChangesAfterTheOpeningIsAMismatch)
{
    host_.Make();
    // The last look at the header is that of the opening; the host overwrites it before the next one.
    gBPFake.onCall = [](void* context, BPFakeOp op) {
        auto* host = static_cast<TKTestHost*>(context);
        if (op == bpFakeSleepMs) host->Block()->version = kTKUIVersion;
    };
    host_.Block()->version = 8;
    EXPECT_EQ(TKAttachHost(session_), tkAttached); // it came right within the wait
    EXPECT_EQ(TKLogCount("Wrong TKUIComm"), 0u);
}

// --- Re-attach --------------------------------------------------------------------------------------------------------

TEST_F(TKCallback, AResidentApplicationWaitsForStatusOne)
{
    GoResident(true);
    const uint32_t opens = gBPFake.calls[bpFakeSharedOpen];
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(gBPFake.calls[bpFakeSharedOpen], opens + 3);
    EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName)); // looked at, never written
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIDone);
    EXPECT_TRUE(windows_.calls.empty());

    host_.Make();
    host_.Block()->hostProcessID = 501;
    gBPFake.alive[501] = true;
    EXPECT_TRUE(TKReattachHost(session_));
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    EXPECT_EQ(session_->hostProcessID, 501u);
    EXPECT_EQ(session_->tickCount, 0u);
    EXPECT_TRUE(windows_.menus);
    EXPECT_EQ(windows_.Count("showMainWindow"), 1u);
    EXPECT_EQ(windows_.Count("raiseMainWindow"), 1u);
}

TEST_F(TKCallback, AReattachTakesTheSettingsSilently)
{
    GoResident(false);
    MakeSliders();
    host_.Make();
    host_.Block()->settings.hsl.master.gain = 2;
    host_.Block()->settings.hsl.master.on = 1;
    const uint32_t head = session_->undoRing->undoHead;
    ASSERT_TRUE(TKReattachHost(session_));
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
    EXPECT_STREQ(gain_.valueText, "2.00");
    EXPECT_EQ(session_->undoRing->undoHead, head);
    EXPECT_EQ(std::memcmp(&session_->liveSettings, &host_.Block()->settings, sizeof(OCSettings)), 0);
}

TEST_F(TKCallback, AReattachWithoutTheSignatureResets)
{
    GoResident(false);
    session_->liveSettings.hsl.master.gain = 2;
    host_.Make();
    host_.Block()->settings.signature = 0x10323412;
    host_.Block()->settings.hsl.master.gain = 3;
    ASSERT_TRUE(TKReattachHost(session_));
    EXPECT_EQ(session_->liveSettings.hsl.master.gain, 1.0f);
}

TEST_F(TKCallback, TheSameSettingsTouchNoControl)
{
    GoResident(false);
    MakeSliders();
    host_.Make();
    host_.Block()->settings = session_->liveSettings;
    ASSERT_TRUE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("slider RGB Gain"), 0u);
}

TEST_F(TKCallback, ADeadHostEndsTheResidentApplicationOnTheNextLook)
{
    GoResident(false);
    gBPFake.alive[kHostProcess] = false;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
    EXPECT_EQ(TKLogCount("Saving window position = "), 1u);
}

TEST_F(TKCallback, BothReasonsOnOneLookAreTolerated)
{
    GoResident(false);
    gBPFake.alive.erase(kHostProcess);
    gBPFake.wallSeconds = session_->uiDeadline + 1;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 2u);
    EXPECT_FALSE(TKReattachHost(session_));
}

TEST_F(TKCallback, TheBlockOfAKilledHostDoesNotKeepTheApplication)
{
    GoResident(true); // the block is still there, with status 4
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
    gBPFake.alive[kHostProcess] = false;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
}

TEST_F(TKCallback, TheBlockOfAnotherDeadHostCountsAsNoBlock)
{
    for (const bool known : {true, false}) { // dead but not reaped yet, or gone
        GoResident(false);
        host_.Make();
        host_.Block()->hostProcessID = 501;
        host_.Block()->status = kTKUIStatusUIRunning;
        gBPFake.alive[501] = true;
        gBPFake.wallSeconds = session_->uiDeadline + 1;
        EXPECT_FALSE(TKReattachHost(session_));
        EXPECT_EQ(windows_.Count("closeMainWindow"), 0u); // it is in a session with somebody else
        if (known)
            gBPFake.alive[501] = false;
        else
            gBPFake.alive.erase(501);
        gBPFake.wallSeconds = session_->uiDeadline - 1;
        EXPECT_FALSE(TKReattachHost(session_));
        EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
        gBPFake.wallSeconds = session_->uiDeadline;
        EXPECT_FALSE(TKReattachHost(session_));
        EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        TearDown();
        SetUp();
    }
}

TEST_F(TKCallback, AReadyBlockOfADeadHostRaisesNoWindow)
{
    GoResident(false);
    host_.Make();
    host_.Block()->hostProcessID = 501;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_TRUE(windows_.calls.empty());
    EXPECT_EQ(host_.Block()->status, kTKUIStatusDataReady);
    gBPFake.alive[501] = true;
    EXPECT_TRUE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("showMainWindow"), 1u);
}

TEST_F(TKCallback, ADragOfTheLastVisitDoesNotGoOnInTheNext)
{
    GoResident(false);
    session_->controls.undoPending = true;
    session_->controls.updatePending = true;
    session_->updateSuspended = true;
    host_.Make();
    ASSERT_TRUE(TKReattachHost(session_));
    EXPECT_FALSE(session_->controls.undoPending);
    EXPECT_FALSE(session_->controls.updatePending);
    EXPECT_FALSE(session_->updateSuspended);
}

TEST_F(TKCallback, AHostThatComesAfterTheRequestToCloseFindsNobody)
{
    GoResident(false);
    gBPFake.alive[kHostProcess] = false;
    EXPECT_FALSE(TKReattachHost(session_)); // the window is asked to close
    gBPFake.alive[kHostProcess] = true;
    host_.Make(); // the next host is there before the close is
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(host_.Block()->status, static_cast<uint32_t>(kTKUIStatusDataReady));
}

TEST_F(TKCallback, TheDeadlineEndsTheResidentApplication)
{
    GoResident(false);
    gBPFake.wallSeconds = session_->uiDeadline - 0.5;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
    gBPFake.wallSeconds = session_->uiDeadline;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
}

TEST_F(TKCallback, AHostWithoutAProcessNumberIsTakenAsGone)
{
    GoResident(false);
    session_->hostProcessID = 0;
    session_->hostProcessHigh = 9;
    EXPECT_FALSE(TKReattachHost(session_));
    EXPECT_EQ(windows_.Count("closeMainWindow"), 1u);
}

TEST_F(TKCallback, AnUnusableFrameOnReattachGivesStatusTwoAndItStaysResident)
{
    for (const bool surfaces : {true, false}) {
        host_ = {};
        GoResident(false);
        host_.Make();
        if (surfaces)
            host_.Block()->frameWidth = 0;
        else
            host_.Block()->frameRowBytes = 0;
        EXPECT_FALSE(TKReattachHost(session_));
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIFailed);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_EQ(windows_.Count("closeMainWindow"), 0u);
        EXPECT_EQ(TKLogCount(" is refused\n"), 1u);
        EXPECT_FALSE(TKReattachHost(session_)); // status 2 is not 1: looked at and left
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIFailed);
        TearDown();
        SetUp();
    }
}

TEST_F(TKCallback, AReattachWithoutMemoryStaysResidentAtEveryAllocation)
{
    // Other sizes than before, so that everything has to be made anew.
    for (uint64_t fail = 1;; ++fail) {
        host_ = {};
        GoResident(false);
        host_.width = 16;
        host_.height = 10;
        host_.rowBytes = 64;
        host_.Make();
        BPFailAllocation(fail);
        const bool attached = TKReattachHost(session_);
        const bool failed = BPAllocationCount() >= fail;
        BPFailAllocation(0);
        if (!failed) {
            EXPECT_TRUE(attached);
            EXPECT_GT(fail, 6u);
            break;
        }
        if (!attached) {
            EXPECT_EQ(host_.Block()->status, kTKUIStatusUIFailed) << fail;
            EXPECT_EQ(TKBlockOf(session_), nullptr) << fail;
        }
        // Whatever failed, the next visit succeeds.
        if (!attached) {
            host_.Make();
            EXPECT_TRUE(TKReattachHost(session_)) << fail;
        }
        TearDown();
        SetUp();
    }
}

} // namespace
