// Attaching, re-attaching, the frame request and byte swapping, with a scripted host.
#include "tests/support/TKTestSession.h"

#include <random>

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

// --- Frame requests ---------------------------------------------------------------------------------------------------

TEST_F(TKCallback, TheCommWindowHasANameOfItsOwnInTheBlock)
{
    Attach();
    EXPECT_EQ(std::strncmp(session_->commWindowName, "Comm", 4), 0);
    EXPECT_STREQ(host_.Block()->commWindowName, session_->commWindowName);
    EXPECT_EQ(gBPFake.channelName, session_->commWindowName);
    TKCommWindowClose(session_);
    EXPECT_EQ(gBPFake.channelName, "");
    TKCommWindowClose(session_);
}

TEST_F(TKCallback, ACommWindowWithoutABlockIsAnAssertion)
{
    EXPECT_EQ(TKCommWindowCreate(session_, nullptr), bpNoErr);
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("Assert (TKUICP != 0) failed. [TincturaCallbackWin: 69]"),
              std::string::npos);
    EXPECT_EQ(session_->frameChannel.handle, 0u);
}

TEST_F(TKCallback, ACommWindowThatCannotListenIsAParameterError)
{
    host_.Make();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    gBPFake.failFrom[bpFakeChannelListen] = 1;
    EXPECT_EQ(TKCommWindowCreate(session_, TKBlockOf(session_)), bpParamErr);
}

TEST_F(TKCallback, ATitleThatIsTakenIsDrawnAnew)
{
    for (const uint32_t freeFrom : {2u, 5u, 6u}) {
        host_.Make();
        ASSERT_EQ(TKAttachHost(session_), tkAttached);
        gBPFake.channelName = "of another application";
        static uint32_t freed;
        static std::vector<std::string> titles;
        freed = freeFrom;
        titles.clear();
        gBPFake.onCall = [](void* context, BPFakeOp op) {
            if (op != bpFakeChannelListen) return;
            titles.emplace_back(static_cast<TKTestHost*>(context)->Block()->commWindowName);
            if (titles.size() == freed) gBPFake.channelName.clear();
        };
        EXPECT_EQ(TKCommWindowCreate(session_, TKBlockOf(session_)), freeFrom <= 5 ? bpNoErr : bpParamErr);
        EXPECT_EQ(titles.size(), std::min(freeFrom, 5u));
        for (size_t i = 1; i < titles.size(); ++i) EXPECT_NE(titles[i], titles[i - 1]);
        if (freeFrom <= 5) {
            EXPECT_STREQ(host_.Block()->commWindowName, gBPFake.channelName.c_str());
        }
        EXPECT_EQ(session_->frameChannel.handle != 0, freeFrom <= 5);
        gBPFake.onCall = nullptr;
        TearDown();
        SetUp();
    }
}

TEST_F(TKCallback, ARequestBringsTheFrameAndReleasesTheHostLast)
{
    Attach();
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    host_.Block()->frameTime = 300;
    std::memset(host_.Block()->commWindowName, 0, 64);
    gBPFake.journal.clear();
    gBPFake.sleeps.clear();
    host_.statusSeen.clear();
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(byteCount, host_.FrameBytes());
    EXPECT_EQ(std::memcmp(buffer, host_.Frame(4).data(), byteCount), 0);
    EXPECT_EQ(gBPFake.sleeps, std::vector<uint32_t>{15});
    EXPECT_EQ(host_.statusSeen, std::vector<uint32_t>{kTKUIStatusRequestFrame});
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    EXPECT_STREQ(host_.Block()->commWindowName, session_->commWindowName);
    EXPECT_EQ(gBPFake.journal.back(), bpFakeChannelRelease);
    EXPECT_TRUE(TKLogHas({"CommWindowEventProc: returning pixel buffer of 216 bytes at 0x"}));
    EXPECT_EQ(session_->receivedFrame, nullptr);
    BPFree(buffer);
}

TEST_F(TKCallback, StatusIsThreeBeforeTheConnectionEnds)
{
    Attach();
    static uint32_t statusAtRelease;
    statusAtRelease = 0;
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    gBPFake.onCall = [](void* context, BPFakeOp op) {
        if (op == bpFakeChannelRelease) statusAtRelease = static_cast<TKTestHost*>(context)->Block()->status;
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    (void)OCCB_GetClipFrame(session_, &buffer, &byteCount);
    EXPECT_EQ(statusAtRelease, kTKUIStatusUIRunning);
    BPFree(buffer);
}

TEST_F(TKCallback, WithoutAHostProcessNothingIsAsked)
{
    host_.processID = 0;
    Attach();
    uint8_t* buffer = reinterpret_cast<uint8_t*>(8);
    uint32_t byteCount = 5;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(byteCount, 0u);
    EXPECT_TRUE(host_.statusSeen.empty());
}

TEST_F(TKCallback, StatusElevenGivesNoFrame)
{
    Attach();
    host_.serve = [](TKTestHost* host) {
        if (host->Block()->status == kTKUIStatusRequestFrame) host->Block()->status = kTKUIStatusRequestFailed;
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(TKLogCount("OCCB_GetClipFrame: host returned kTKUIStatusRequestFailed\n"), 1u);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
}

TEST_F(TKCallback, AHostThatDiesWhileAFrameIsAwaitedEndsTheRequest)
{
    for (const bool reaped : {false, true}) {
        Attach();
        gBPFake.sleeps.clear();
        static bool reap;
        reap = reaped;
        host_.serve = [](TKTestHost*) {
            if (gBPFake.sleeps.size() < 4) return;
            if (reap)
                gBPFake.alive.erase(kHostProcess);
            else
                gBPFake.alive[kHostProcess] = false;
        };
        uint8_t* buffer = nullptr;
        uint32_t byteCount = 0;
        EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
        EXPECT_EQ(buffer, nullptr);
        EXPECT_EQ(gBPFake.sleeps.size(), 4u);
        EXPECT_EQ(TKLogCount("kTKUIStatusRequestFailed\n"), 0u); // it said nothing of the kind
        host_ = {};
        TearDown();
        SetUp();
    }
}

TEST_F(TKCallback, AFrameSentJustBeforeTheHostDiedIsTaken)
{
    Attach();
    host_.serve = [](TKTestHost* host) {
        host->SendFrames();
        gBPFake.alive[kHostProcess] = false;
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_NE(buffer, nullptr);
    BPFree(buffer);
}

TEST_F(TKCallback, OtherMessagesAndStatusesLeaveTheRequestPending)
{
    Attach();
    gBPFake.sleeps.clear();
    host_.serve = [](TKTestHost* host) {
        const uint8_t byte = 1;
        const uint32_t strange[] = {0, 1, 2, 4, 5, 6, 7, 8, 10, 12, 0xFFFFFFFF};
        if (gBPFake.sleeps.size() <= std::size(strange)) {
            BPFakeQueueMessage(8, &byte, 1);
            host->Block()->status = strange[gBPFake.sleeps.size() - 1];
        } else {
            host->Block()->status = kTKUIStatusRequestFrame;
            host->SendFrames();
        }
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(gBPFake.sleeps.size(), 12u);
    BPFree(buffer);
}

TEST_F(TKCallback, ASecondFrameReplacesTheFirst)
{
    Attach();
    host_.serve = [](TKTestHost* host) {
        if (!gBPFake.messages.empty()) return;
        const std::vector<uint8_t> first = host->Frame(50), second = host->Frame(60);
        BPFakeQueueMessage(9, first.data(), static_cast<uint32_t>(first.size()));
        BPFakeQueueMessage(9, second.data(), static_cast<uint32_t>(second.size()));
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(std::memcmp(buffer, host_.Frame(60).data(), byteCount), 0);
    EXPECT_EQ(TKLogCount("CommWindowEventProc: returning pixel buffer"), 2u);
    BPFree(buffer);
}

TEST_F(TKCallback, AnOldAnswerIsNoAnswer)
{
    Attach();
    const std::vector<uint8_t> old = host_.Frame(99);
    BPFakeQueueMessage(9, old.data(), static_cast<uint32_t>(old.size()));
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(std::memcmp(buffer, host_.Frame(1).data(), byteCount), 0);
    BPFree(buffer);
}

TEST_F(TKCallback, AnAnswerThatCannotBeUsedLeavesTheRequestPending)
{
    constexpr uint32_t spare = 1u << 20;
    struct Case {
        uint32_t byteCount, claimed; // claimed 216 with other bytes: the message lies
        bool rightAnswerFollows;
    };
    for (const Case& c : {Case{212 + spare + 1, 212 + spare + 1, true}, Case{212 + spare + 1, 212 + spare + 1, false},
                          Case{211, 211, true}, Case{211, 211, false}, Case{20, 216, true}, Case{20, 216, false}}) {
        Attach();
        gBPFake.sleeps.clear();
        static Case now;
        now = c;
        host_.serve = [](TKTestHost* host) {
            if (gBPFake.sleeps.size() == 2)
                gBPFake.messages.push_back(
                    {.dataWord = 9, .byteCount = now.claimed, .bytes = std::vector<uint8_t>(now.byteCount)});
            if (gBPFake.sleeps.size() < 5) return;
            if (now.rightAnswerFollows)
                host->SendFrames();
            else
                host->Block()->status = kTKUIStatusRequestFailed;
        };
        uint8_t* buffer = nullptr;
        uint32_t byteCount = 0;
        EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
        EXPECT_EQ(buffer != nullptr, c.rightAnswerFollows) << c.byteCount;
        EXPECT_EQ(byteCount, c.rightAnswerFollows ? 216u : 0u);
        EXPECT_EQ(gBPFake.sleeps.size(), 5u);
        EXPECT_EQ(TKLogCount("kTKUIStatusRequestFailed\n"), c.rightAnswerFollows ? 0u : 1u);
        EXPECT_EQ(TKLogCount(" does not fit the clip's frames\n"), 1u);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
        BPFree(buffer);
        host_ = {};
        TearDown();
        SetUp();
    }
}

TEST_F(TKCallback, AFrameThatIsLongerThanNeededIsTaken)
{
    for (const uint32_t size : {212u, 213u, 216u, 252u, 212u + (1u << 20)}) {
        Attach();
        static uint32_t byteCount;
        byteCount = size;
        host_.serve = [](TKTestHost* host) {
            std::vector<uint8_t> bytes = host->Frame(7);
            bytes.resize(byteCount);
            BPFakeQueueMessage(9, bytes.data(), byteCount);
        };
        uint8_t* buffer = nullptr;
        uint32_t taken = 0;
        EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &taken), bpNoErr);
        ASSERT_NE(buffer, nullptr) << size;
        EXPECT_EQ(taken, size);
        EXPECT_EQ(std::memcmp(buffer, host_.Frame(7).data(), 212), 0);
        BPFree(buffer);
        host_ = {};
        TearDown();
        SetUp();
    }
}

TEST_F(TKCallback, AnUnusableAnswerLeavesTheGoodOneBeforeItAlone)
{
    Attach();
    host_.serve = [](TKTestHost* host) {
        const std::vector<uint8_t> good = host->Frame(50);
        BPFakeQueueMessage(9, good.data(), static_cast<uint32_t>(good.size()));
        BPFakeQueueMessage(9, good.data(), 100);
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(byteCount, 216u);
    BPFree(buffer);
}

TEST_F(TKCallback, WithoutMemoryForTheAnswerTheNextOneIsAwaited)
{
    Attach();
    gBPFake.sleeps.clear();
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    BPFailAllocation(1);
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    BPFailAllocation(0);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(gBPFake.sleeps.size(), 2u);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    BPFree(buffer);
}

TEST_F(TKCallback, GeometryThatTurnsBadAfterTheAttachAsksForNothing)
{
    Attach();
    host_.Block()->frameRowBytes = 0;
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_TRUE(host_.statusSeen.empty());
}

// --- Byte order -------------------------------------------------------------------------------------------------------

TEST_F(TKCallback, SwappingDoesNothingForANativeHost)
{
    host_.Make();
    const TKUIComm before = *host_.Block();
    TKSwapCommBlock(session_, host_.Block());
    EXPECT_EQ(std::memcmp(&before, host_.Block(), sizeof before), 0);
    uint8_t pixels[] = {1, 2, 3, 4};
    TKSwapPixels(session_, pixels, 4);
    EXPECT_EQ(pixels[0], 1);
}

TEST_F(TKCallback, SwappingReversesExactlyTheListedFields)
{
    host_.Make();
    auto* bytes = reinterpret_cast<uint8_t*>(host_.Block());
    std::mt19937 random(7);
    for (uint32_t i = 0; i < kTKUICommBytes; ++i) bytes[i] = static_cast<uint8_t>(random());
    const std::vector<uint8_t> before(bytes, bytes + kTKUICommBytes);
    std::vector<uint8_t> wanted = before;
    const auto word = [&](uint32_t at) { std::reverse(wanted.begin() + at, wanted.begin() + at + 4); };
    for (const uint32_t at : {0u, 4u, 8u, 12u, 16u, 24u, 52848u, 52852u, 52916u, 52920u, 52924u, 52928u}) word(at);
    for (const uint32_t at : {32u, 34u}) std::swap(wanted[at], wanted[at + 1]);
    for (uint32_t i = 0; i < 200; ++i) word(48 + i * 264 + 260);
    for (uint32_t at = 52860; at <= 52888; at += 4) word(at);
    for (uint32_t at = 52896; at <= 52904; at += 4) word(at);
    for (uint32_t i = 0; i < 8; ++i) word(53008 + i * 4);
    for (uint32_t i = 0; i < 8389; ++i) word(53044 + i * 4);

    session_->hostSwapped = true;
    TKSwapCommBlock(session_, host_.Block());
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + kTKUICommBytes), wanted);
    TKSwapCommBlock(session_, host_.Block());
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + kTKUICommBytes), before);
    TKSwapCommBlock(session_, nullptr);
}

TEST_F(TKCallback, PixelsAreSwappedWordByWordAndTheTailStays)
{
    session_->hostSwapped = true;
    uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    TKSwapPixels(session_, pixels, 10);
    const uint8_t wanted[] = {4, 3, 2, 1, 8, 7, 6, 5, 9, 10};
    EXPECT_EQ(std::memcmp(pixels, wanted, 10), 0);
    TKSwapPixels(session_, pixels, 3);
    EXPECT_EQ(pixels[0], 4);
    TKSwapPixels(session_, nullptr, 8);
}

} // namespace
