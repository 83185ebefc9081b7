// Blocks of hosts that mean no good: extreme fields, random bytes, fields that change while they are read.
#include "tests/support/TKTestSession.h"

#include <random>

namespace {

/// A smaller limit of waits, and a host that stores something at each of them and dies in the end.
class TKHostileTest : public TKSessionTest {
  protected:
    static void Disturb(TKTestHost* host)
    {
        static uint32_t turn;
        const uint32_t statuses[] = {6, 9, 6, 1, 6, 0, 11};
        if (gBPFake.blocks.count(kTKCommBlockName)) host->Block()->status = statuses[turn++ % std::size(statuses)];
        if (gBPFake.sleeps.size() % 16 == 15) gBPFake.alive[kHostProcess] = false;
    }

    /// Everything that a block is asked for in a life of the application. False when its frame is refused.
    bool LiveWithTheBlock()
    {
        gBPFake.alive[kHostProcess] = true;
        gBPFake.sleeps.clear();
        if (!TKOpenCommBlock(session_)) return false;
        session_->hostProcessID = kHostProcess;
        const bool taken = TKPrepareFrameWorlds(session_) == bpNoErr && TKLoadFrameFromHost(session_) == bpNoErr;
        if (taken) {
            (void)TKTakeSettingsFromBlock(session_);
            UpdateAllControls(session_, &session_->liveSettings, kOCResetAll, kOCResetAll, nullptr, true);
            RecomputeAndRefresh(session_, true);
            TKStepFrames(session_, 1);
            TKGoToLastFrame(session_);
            TKUpdatePositionText(session_);
            session_->transport[0].running = true;
            TKTick(session_);
            TKStopPlayback(session_);
        }
        TKCloseCommBlock(session_);
        return taken;
    }
};

TEST_F(TKHostileTest, EverySizeFieldAtItsExtremesIsRefusedOrTaken)
{
    const uint32_t extremes[] = {0,          1,          2,          3,          8,          32,         36,
                                 37,         0x7FFF,     0x8000,     0xFFFF,     0x10000,    0x7FFFFFFF, 0x80000000,
                                 0x80000001, 0xFFFFFFFC, 0xFFFFFFFE, 0xFFFFFFFF, 0x40000000, 0x20000001};
    const size_t fields[] = {offsetof(TKUIComm, frameWidth),    offsetof(TKUIComm, frameHeight),
                             offsetof(TKUIComm, frameRowBytes), offsetof(TKUIComm, framePixelFormat),
                             offsetof(TKUIComm, chunkBytes),    offsetof(TKUIComm, bytesRemaining),
                             offsetof(TKUIComm, pixelFlags)};
    MakeSliders();
    host_.serve = Disturb;
    uint32_t taken = 0, refused = 0;
    for (const uint32_t flags : {uint32_t{kTKUIFlagPixelsInline}, uint32_t{kTKUIFlagPixelsChunked}, 0u})
        for (const size_t first : fields)
            for (const uint32_t a : extremes)
                for (const size_t second : {offsetof(TKUIComm, frameRowBytes), offsetof(TKUIComm, frameHeight)})
                    for (const uint32_t b : {0u, 1u, 6u, 36u, 0xFFFFFFFFu}) {
                        host_.flags = flags;
                        host_.Make();
                        auto* bytes = reinterpret_cast<uint8_t*>(host_.Block());
                        std::memcpy(bytes + second, &b, 4);
                        std::memcpy(bytes + first, &a, 4);
                        if (host_.Block()->frameWidth > 4096 || host_.Block()->frameHeight > 4096)
                            if (uint64_t{host_.Block()->frameWidth} * host_.Block()->frameHeight < 1u << 27)
                                continue; // sound, only large: the memory of such frames is no subject here
                        ++(LiveWithTheBlock() ? taken : refused);
                    }
    EXPECT_GT(taken, 100u);
    EXPECT_GT(refused, 1000u);
}

TEST_F(TKHostileTest, RandomBlocksNeverCrashHangOrReadBeyond)
{
    MakeSliders();
    host_.serve = Disturb;
    std::mt19937 random(12345);
    uint32_t loaded = 0;
    for (int run = 0; run < 1500; ++run) {
        host_.flags = static_cast<uint32_t>(run % 3);
        host_.Make();
        auto* bytes = reinterpret_cast<uint8_t*>(host_.Block());
        // All of it random, or a few words of a sound block.
        if (run % 5 == 0)
            for (uint32_t i = 8; i < kTKUICommBytes; ++i) bytes[i] = static_cast<uint8_t>(random());
        else
            for (int i = 0; i < 6; ++i) {
                const uint32_t starts[] = {8, 52848, 52848, 52860, 52860, 53008};
                const uint32_t at = starts[random() % 6] + 4 * static_cast<uint32_t>(random() % 22);
                const auto value = static_cast<uint32_t>(random() % 4 == 0 ? random() : random() % 64);
                std::memcpy(bytes + at, &value, 4);
            }
        host_.Block()->frameWidth %= 600; // memory for monsters is no subject here
        host_.Block()->frameHeight %= 600;
        loaded += LiveWithTheBlock();
    }
    EXPECT_GT(loaded, 100u);
}

TEST_F(TKHostileTest, FieldsThatChangeAtEveryLookAreReadOnce)
{
    MakeSliders();
    // The host writes at every operation of the platform, the only moments that a test has between two looks.
    gBPFake.onCall = [](void* context, BPFakeOp) {
        static std::mt19937 random(99);
        auto* host = static_cast<TKTestHost*>(context);
        if (!gBPFake.blocks.count(kTKCommBlockName) || random() % 3 != 0) return;
        TKUIComm* block = host->Block();
        uint32_t* fields[] = {&block->frameWidth, &block->frameHeight, &block->frameRowBytes, &block->chunkBytes,
                              &block->pixelFlags};
        const uint32_t values[] = {0, 1, 2, 3, 6, 8, 36, 37, 600, 0xFFFF};
        *fields[random() % std::size(fields)] = values[random() % std::size(values)];
    };
    host_.serve = [](TKTestHost* host) {
        if (host->Block()->status == kTKUIStatusChunkConsumed) host->Block()->status = kTKUIStatusChunkReady;
        if (host->Block()->status == kTKUIStatusRequestFrame) {
            std::vector<uint8_t> frame(gBPFake.sleeps.size() % 300);
            BPFakeQueueMessage(9, frame.data(), static_cast<uint32_t>(frame.size()));
        }
        if (gBPFake.sleeps.size() > 40) gBPFake.alive[kHostProcess] = false;
    };
    uint32_t taken = 0;
    for (int run = 0; run < 400; ++run) {
        host_.flags = run % 2 ? kTKUIFlagPixelsChunked : kTKUIFlagPixelsInline;
        host_.Make();
        taken += LiveWithTheBlock();
    }
    EXPECT_GT(taken, 10u);
}

TEST_F(TKHostileTest, ABlockThatIsCutShortAtAnySizeIsRefusedOrFits)
{
    host_.Make();
    const TKUIComm block = *host_.Block();
    for (uint64_t byteCount = kTKUICommBytes - 8; byteCount <= offsetof(TKUIComm, pixels) + 216 + 4; ++byteCount) {
        uint8_t* bytes = BPFakeMakeBlock(kTKCommBlockName, byteCount);
        std::memcpy(bytes, &block, std::min<uint64_t>(byteCount, sizeof block));
        const bool mapped = TKOpenCommBlock(session_) != nullptr;
        EXPECT_EQ(mapped, byteCount >= kTKUICommBytes) << byteCount;
        if (!mapped) continue;
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        const bool fits = byteCount >= offsetof(TKUIComm, pixels) + 212;
        EXPECT_EQ(TKLoadFrameFromHost(session_), fits ? bpNoErr : bpParamErr) << byteCount;
        TKCloseCommBlock(session_);
    }
}

TEST_F(TKHostileTest, MoreClipsThanThereAreRecordsDoNoHarm)
{
    host_.serve = Disturb;
    for (const int32_t count : {250, -1, INT32_MAX, INT32_MIN}) {
        host_.Make();
        host_.Block()->clipCount = count;
        EXPECT_TRUE(LiveWithTheBlock());
    }
}

TEST_F(TKHostileTest, AttachAndLoadSurviveEachFailedAllocation)
{
    for (const uint32_t flags : {uint32_t{kTKUIFlagPixelsInline}, uint32_t{kTKUIFlagPixelsChunked}}) {
        for (uint64_t fail = 1;; ++fail) {
            host_ = {};
            host_.flags = flags;
            host_.serve = [](TKTestHost* host) { host->SendChunks(); };
            host_.Make();
            BPFailAllocation(fail);
            ASSERT_EQ(TKAttachHost(session_), tkAttached);
            BPStatus err = TKPrepareFrameWorlds(session_);
            if (err == bpNoErr) err = TKLoadFrameFromHost(session_);
            const bool failed = BPAllocationCount() >= fail;
            BPFailAllocation(0);
            if (err != bpNoErr) {
                EXPECT_EQ(err, bpMemFullErr) << fail;
                host_.Make(); // the next host is served as if nothing had been
                TKCloseCommBlock(session_);
                ASSERT_NE(TKOpenCommBlock(session_), nullptr);
                EXPECT_EQ(TKPrepareFrameWorlds(session_), bpNoErr) << fail;
                EXPECT_EQ(TKLoadFrameFromHost(session_), bpNoErr) << fail;
            }
            TearDown();
            SetUp();
            if (!failed) {
                EXPECT_GT(fail, 6u);
                break;
            }
        }
    }
}

} // namespace
