// A frame that comes in pieces.
#include "tests/support/TKIntakeTest.h"

namespace {

class TKFrameChunks : public TKIntakeTest {};

TEST_F(TKFrameChunks, AChunkedFrameIsTheSameFrame)
{
    for (const uint32_t rows : {1u, 2u, 4u, 5u, 6u, 7u}) {
        host_ = {};
        host_.flags = kTKUIFlagPixelsChunked | kTKUIFlagPixelsInline; // the second bit wins
        host_.chunkRows = rows;
        host_.serve = [](TKTestHost* host) { host->SendChunks(); };
        AttachOnly();
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr) << rows;
        EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1)) << rows;
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
        EXPECT_EQ(host_.Block()->pixelFlags, uint32_t{kTKUIFlagPixelsInline});
        const uint32_t chunks = (6 + rows - 1) / rows;
        EXPECT_EQ(gBPFake.sleeps.size(), chunks - 1) << rows;
        for (const uint32_t ms : gBPFake.sleeps) EXPECT_EQ(ms, 166u); // 10 ticks
        EXPECT_TRUE(
            TKLogHas({"After swap, bytes remaining = " + std::to_string(rows >= 6 ? 0 : (6 - rows) * 36) + "\n"}));
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameChunks, ASlowHostThatCountsDownBeforeItsLastChunkLosesNothing)
{
    host_.flags = kTKUIFlagPixelsChunked;
    host_.chunkRows = 3;
    host_.serve = [](TKTestHost* host) {
        TKUIComm* block = host->Block();
        if (gBPFake.sleeps.size() == 1) block->bytesRemaining = 0; // ahead of the chunk
        if (gBPFake.sleeps.size() == 3) {
            block->bytesRemaining = 108;
            host->SendChunks();
        }
    };
    AttachOnly();
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
}

TEST_F(TKFrameChunks, AHostThatEndsBetweenChunksFailsTheLoad)
{
    for (const int way : {0, 1, 2}) {
        host_ = {};
        host_.flags = kTKUIFlagPixelsChunked;
        static int how;
        how = way;
        host_.serve = [](TKTestHost* host) {
            if (gBPFake.sleeps.size() < 2) return;
            if (how == 0) gBPFake.alive[kHostProcess] = false;
            if (how == 1) host->Block()->status = kTKUIStatusRequestFailed;
            if (how == 2) gBPFake.alive.erase(kHostProcess);
        };
        AttachOnly();
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
        EXPECT_EQ(gBPFake.sleeps.size(), 2u);
        EXPECT_EQ(TKLogCount("The host ended before its frame was complete\n"), 1u);
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameChunks, AHostMayCountTheChunkThatLiesThereAndClearTheCountOnceItIsTaken)
{
    for (const uint32_t rows : {6u, 3u}) {
        host_ = {};
        host_.flags = kTKUIFlagPixelsChunked;
        host_.chunkRows = rows;
        host_.serve = [](TKTestHost* host) {
            if (host->Block()->status == kTKUIStatusChunkConsumed && host->chunkRows == 6)
                host->Block()->bytesRemaining = 0;
            else if (host->Block()->status == kTKUIStatusChunkConsumed && host->Block()->bytesRemaining == 36 * 6) {
                host->Block()->bytesRemaining = 36 * 3;
                host->Block()->status = kTKUIStatusChunkReady;
            } else if (host->Block()->status == kTKUIStatusChunkConsumed)
                host->Block()->bytesRemaining = 0;
        };
        AttachOnly();
        host_.Block()->bytesRemaining = 36 * 6;
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        EXPECT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
        EXPECT_EQ(gBPFake.sleeps.size(), rows == 6 ? 1u : 2u);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
        EXPECT_EQ(host_.Block()->pixelFlags & kTKUIFlagPixelsChunked, 0u);
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameChunks, AHostThatCannotBeWatchedIsOutwaited)
{
    host_.flags = kTKUIFlagPixelsChunked;
    host_.processID = 0;
    AttachOnly();
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(gBPFake.sleeps.size(), 60u); // ten seconds
}

TEST_F(TKFrameChunks, ChunksThatNeverCompleteTheFrameEnd)
{
    host_.flags = kTKUIFlagPixelsChunked;
    host_.serve = [](TKTestHost* host) { // endless chunks of nothing
        host->Block()->chunkBytes = 0;
        host->Block()->bytesRemaining = 1;
        host->Block()->status = kTKUIStatusChunkReady;
    };
    AttachOnly();
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_LE(gBPFake.sleeps.size(), 80u);
}

TEST_F(TKFrameChunks, AChunkBeyondTheBlockOrTheFrameIsHandled)
{
    struct Case {
        uint32_t chunkBytes, chunkRows;
        BPStatus status;
    };
    // Six rows fit the frame; more are clamped to what is left, and then have to fit the block.
    for (const Case& c : {Case{0xFFFFFFFF, 6, bpNoErr}, Case{0xFFFFFFFF, 2, bpParamErr}, Case{36 * 7, 6, bpNoErr},
                          Case{36 * 3, 2, bpParamErr}, Case{36 * 2 + 35, 2, bpNoErr}}) {
        host_ = {};
        host_.flags = kTKUIFlagPixelsChunked;
        host_.chunkRows = c.chunkRows;
        AttachOnly();
        host_.Block()->chunkBytes = c.chunkBytes;
        host_.Block()->bytesRemaining = 0;
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        EXPECT_EQ(TKLoadFrameFromHost(session_), c.status) << c.chunkBytes << " of " << c.chunkRows;
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameChunks, AHostThatGaveOnlyTheHighHalfIsOutwaitedToo)
{
    host_.flags = kTKUIFlagPixelsChunked;
    host_.processID = 0;
    host_.Make();
    host_.Block()->hostProcessHigh = 7;
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(gBPFake.sleeps.size(), 60u);
}

TEST_F(TKFrameChunks, TheEndMayBeAskedForBetweenTwoChunks)
{
    host_.flags = kTKUIFlagPixelsChunked;
    host_.serve = [](TKTestHost*) { gBPFake.endRequested = gBPFake.sleeps.size() == 300; };
    AttachOnly();
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(gBPFake.sleeps.size(), 300u); // until then the host had all the time that it wanted
}

} // namespace
