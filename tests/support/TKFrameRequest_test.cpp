// Asking the host for another frame, and all that may come instead of it.
#include "tests/support/TKTestSession.h"

namespace {

class TKFrameRequest : public TKSessionTest {};

TEST_F(TKFrameRequest, TheCommWindowHasANameOfItsOwnInTheBlock)
{
    Attach();
    EXPECT_EQ(std::strncmp(session_->commWindowName, "Comm", 4), 0);
    EXPECT_STREQ(host_.Block()->commWindowName, session_->commWindowName);
    EXPECT_EQ(gBPFake.channelName, session_->commWindowName);
    TKCommWindowClose(session_);
    EXPECT_EQ(gBPFake.channelName, "");
    TKCommWindowClose(session_);
}

TEST_F(TKFrameRequest, ACommWindowWithoutABlockIsAnAssertion)
{
    EXPECT_EQ(TKCommWindowCreate(session_, nullptr), bpNoErr);
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_NE(gBPFake.reports[0].text.find("Assert (TKUICP != 0) failed. [TincturaCallbackWin: 69]"),
              std::string::npos);
    EXPECT_EQ(session_->frameChannel.handle, 0u);
}

TEST_F(TKFrameRequest, ACommWindowThatCannotListenIsAParameterError)
{
    host_.Make();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    gBPFake.failFrom[bpFakeChannelListen] = 1;
    EXPECT_EQ(TKCommWindowCreate(session_, TKBlockOf(session_)), bpParamErr);
}

TEST_F(TKFrameRequest, ATitleThatIsTakenIsDrawnAnew)
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

TEST_F(TKFrameRequest, ARequestBringsTheFrameAndReleasesTheHostLast)
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

TEST_F(TKFrameRequest, StatusIsThreeBeforeTheConnectionEnds)
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

TEST_F(TKFrameRequest, WithoutAHostProcessNothingIsAsked)
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

TEST_F(TKFrameRequest, StatusElevenGivesNoFrame)
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

TEST_F(TKFrameRequest, AHostThatDiesWhileAFrameIsAwaitedEndsTheRequest)
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

TEST_F(TKFrameRequest, AFrameSentJustBeforeTheHostDiedIsTaken)
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

TEST_F(TKFrameRequest, OtherMessagesAndStatusesLeaveTheRequestPending)
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

TEST_F(TKFrameRequest, ASecondFrameReplacesTheFirst)
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

TEST_F(TKFrameRequest, AnOldAnswerIsNoAnswer)
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

TEST_F(TKFrameRequest, AnAnswerThatCannotBeUsedLeavesTheRequestPending)
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

TEST_F(TKFrameRequest, AFrameThatIsLongerThanNeededIsTaken)
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

TEST_F(TKFrameRequest, AnUnusableAnswerLeavesTheGoodOneBeforeItAlone)
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

TEST_F(TKFrameRequest, WithoutMemoryForTheAnswerTheNextOneIsAwaited)
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

TEST_F(TKFrameRequest, GeometryThatTurnsBadAfterTheAttachAsksForNothing)
{
    Attach();
    host_.Block()->frameRowBytes = 0;
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_TRUE(host_.statusSeen.empty());
}

TEST_F(TKFrameRequest, AHostThatGaveOnlyTheHighHalfIsServedAsAnyOther)
{
    host_.processID = 0;
    host_.Make();
    host_.Block()->hostProcessHigh = 7;
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    ASSERT_EQ(TKCommWindowCreate(session_, TKBlockOf(session_)), bpNoErr);
    host_.serve = [](TKTestHost* host) {
        if (gBPFake.sleeps.size() == 100) host->SendFrames(); // a slow one
    };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    BPFree(buffer);
    // Nobody could tell that it has ended: half a minute, and the request counts as refused.
    host_.serve = nullptr;
    gBPFake.sleeps.clear();
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(gBPFake.sleeps.size(), 2000u);
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    // And nobody waits for it a second time, until a host comes anew.
    gBPFake.sleeps.clear();
    host_.statusSeen.clear();
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_TRUE(gBPFake.sleeps.empty());
    EXPECT_TRUE(host_.statusSeen.empty());
    TKTearDown(session_);
    host_.Make();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    EXPECT_FALSE(session_->hostIsSilent);
}

TEST_F(TKFrameRequest, AHostThatLivesAndIsSilentIsAwaitedUntilTheEndIsAskedFor)
{
    Attach();
    gBPFake.sleeps.clear();
    host_.serve = [](TKTestHost*) { gBPFake.endRequested = gBPFake.sleeps.size() == 4000; };
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    EXPECT_EQ(OCCB_GetClipFrame(session_, &buffer, &byteCount), bpNoErr);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(gBPFake.sleeps.size(), 4000u); // a minute
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
    EXPECT_EQ(TKLogCount("kTKUIStatusRequestFailed"), 0u);
}

} // namespace
