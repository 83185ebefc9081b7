// Frames at an address, and no frame at all.
#include "tests/support/TKIntakeTest.h"

#include <sys/mman.h>

namespace {

class TKFramePointer : public TKIntakeTest {
  protected:
    /// The block of `like`, whose pixels stand at an address.
    void PointAt(const void* pixels, const TKUIComm& like)
    {
        std::memcpy(BPFakeMakeBlock(kTKCommBlockName, kTKUICommBytes + 4), &like, sizeof like);
        host_.Block()->pixelFlags = 0;
        const uint64_t address = reinterpret_cast<uintptr_t>(pixels);
        std::memcpy(host_.Pixels(), &address, sizeof address);
    }

    void Load(bool inProcess)
    {
        session_->hostInProcess = inProcess;
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr) << gBPFake.log;
    }

    /// All planes of the source frame.
    std::vector<uint8_t> SourceBytes() const
    {
        const FBFrame* frame = session_->sourceFrame;
        return {frame->baseAddr, frame->baseAddr + size_t{frame->rowBytes} * frame->height * 4};
    }
};

TEST_F(TKFramePointer, NoFrameLeavesTheSourceAsItIsAndStillRenders)
{
    Attach();
    TKCloseCommBlock(session_);
    host_.flags = 0;
    host_.Make();
    host_.Block()->frameRowBytes = 0; // of no use without pixels
    ASSERT_NE(TKOpenCommBlock(session_), nullptr);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    const uint32_t renders = session_->renderCount;
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
    EXPECT_EQ(session_->renderCount, renders + 1);
}

TEST_F(TKFramePointer, AnAddressOfAnotherProcessIsRefused)
{
    host_.flags = 0;
    AttachOnly();
    const uint32_t word = 0x1000;
    std::memcpy(host_.Pixels(), &word, 4);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(TKLogCount("Pixels at an address of another process are refused\n"), 1u);
}

TEST_F(TKFramePointer, AnEmbedderMayHandInAnAddress)
{
    host_.Make();
    alignas(16) static uint8_t pixels[36 * 6];
    host_.PaintRows(pixels, 0, 6, 3);
    TKUIComm block = *host_.Block();
    BPFakeMakeBlock(kTKCommBlockName, kTKUICommBytes + 4);
    block.pixelFlags = 0;
    std::memcpy(host_.Block(), &block, sizeof block);
    const uint64_t address = reinterpret_cast<uintptr_t>(pixels);
    std::memcpy(host_.Pixels(), &address, sizeof address);
    session_->hostInProcess = true;
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 3));
}

TEST_F(TKFramePointer, AListedHostWithoutAFrameLeavesTheSourceAsItIs)
{
    host_.Make();
    std::memcpy(&host_.Block()->hostApp, "FXTC", 4);
    const TKUIComm block = *host_.Block();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    const std::vector<uint8_t> before = SourceBytes();
    TKCloseCommBlock(session_);
    for (int visit = 0; visit < 2; ++visit) {
        host_.flags = 0;
        host_.Make();
        host_.Block()->hostApp = block.hostApp;
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
        EXPECT_EQ(SourceBytes(), before) << visit;
        // The rule of the list itself holds: the frames that are asked for are adjusted.
        EXPECT_EQ(host_.Block()->hostPixelAdjust.adjustMode, 0x80000002u);
        EXPECT_EQ(session_->storedPixelAdjust.adjustMode, 0x80000002u);
        TKCloseCommBlock(session_);
    }
}

TEST_F(TKFramePointer, ARecordOfTheHostDoesNotActWithoutAFrame)
{
    Attach();
    const std::vector<uint8_t> before = SourceBytes();
    TKCloseCommBlock(session_);
    host_.flags = 0;
    for (int visit = 0; visit < 2; ++visit) {
        host_.Make();
        host_.Block()->hostPixelAdjust = {
            .adjustMode = 0x80000001u, .adjustBlack = 0, .adjustWhite = 510, .adjustGamma = 1, .reserved = {}};
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
        EXPECT_EQ(SourceBytes(), before) << visit;
        TKCloseCommBlock(session_);
    }
}

TEST_F(TKFramePointer, AnyAddressIsTakenHoweverTheFormatsComponentsStand)
{
    struct Case {
        FBPixelFormat format;
        uint32_t rowBytes;
    };
    for (const Case& c : {Case{pixFormatARGB8, 36}, Case{pixFormatBGRA8, 40}, Case{pixFormatARGB16_32K, 66},
                          Case{pixFormatRGBA32_Float, 132}, Case{pixFormatRGB16Planar, 18}})
        for (const uint32_t offset : {0u, 1u, 2u, 3u, 4u, 8u, 15u, 16u}) {
            // What an inline frame of these bytes gives, and what the same bytes at an address give.
            std::vector<uint8_t> bytes(size_t{c.rowBytes} * 6 * 4);
            for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i % 4 == 3 ? 0x3E : i * 7 % 128);
            host_.format = c.format;
            host_.rowBytes = c.rowBytes;
            host_.flags = 0;
            host_.Make();
            host_.Block()->pixelFlags = kTKUIFlagPixelsInline;
            const TKUIComm block = *host_.Block();
            std::memcpy(BPFakeMakeBlock(kTKCommBlockName, sizeof block + bytes.size()), &block, sizeof block);
            std::memcpy(host_.Pixels(), bytes.data(), bytes.size());
            Load(false);
            const std::vector<uint8_t> wanted = SourceBytes();
            TKCloseCommBlock(session_);
            FBDisposeFrameBuffer(session_->sourceFrame);
            session_->sourceFrame = nullptr;

            std::vector<uint8_t> memory(bytes.size() + 32);
            uint8_t* first = memory.data() + (16 - reinterpret_cast<uintptr_t>(memory.data()) % 16) % 16 + offset;
            std::memcpy(first, bytes.data(), bytes.size());
            PointAt(first, block);
            Load(true);
            EXPECT_EQ(SourceBytes(), wanted) << "format " << c.format << ", offset " << offset;
            TearDown();
            SetUp();
        }
}

TEST_F(TKFramePointer, WithoutMemoryForTheStraightCopyTheLoadFails)
{
    std::vector<uint8_t> memory(size_t{132} * 6 + 64);
    host_.format = pixFormatRGBA32_Float;
    host_.rowBytes = 132;
    host_.flags = 0;
    host_.Make();
    const TKUIComm block = *host_.Block();
    PointAt(memory.data() + 1 - reinterpret_cast<uintptr_t>(memory.data()) % 2, block);
    Load(true); // the frames are there from now on
    BPFailAllocation(1);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpMemFullErr);
    BPFailAllocation(0);
}

TEST_F(TKFramePointer, AnAddressWhoseLowWordIsZeroIsOne)
{
    constexpr uintptr_t place = uintptr_t{5} << 32;
    void* pages = mmap(reinterpret_cast<void*>(place), 4096, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (pages != reinterpret_cast<void*>(place)) GTEST_SKIP() << "the place is taken";
    host_.Make();
    host_.PaintRows(static_cast<uint8_t*>(pages), 0, 6, 3);
    const TKUIComm block = *host_.Block();
    PointAt(pages, block);
    Load(true);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 3));
    munmap(pages, 4096);
}

} // namespace
