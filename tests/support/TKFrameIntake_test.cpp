// The frame of the block and the frames of requests, down to pixels.
#include "src/platform/BPMemory.h"
#include "tests/support/TKTestSession.h"

#include <cmath>
#include <cstring>

namespace {

class TKFrameIntake : public TKSessionTest {
  protected:
    void AttachOnly()
    {
        host_.Make();
        ASSERT_EQ(TKAttachHost(session_), tkAttached);
    }

    [[nodiscard]] bool ShowsFrame(const ScopeSurface& surface, uint32_t frame) const
    {
        if (surface.width != host_.width || surface.height != host_.height) return false;
        for (uint32_t row = 0; row < host_.height; ++row)
            for (uint32_t column = 0; column < host_.width; ++column) {
                const uint32_t wanted = 0xFF000000u | ((10 * frame + column) & 0xFF) << 16 | (row & 0xFF) << 8 | 200;
                if (TKPixelAt(surface, column, row) == wanted) continue;
                ADD_FAILURE() << "pixel " << column << ", " << row << " is " << std::hex
                              << TKPixelAt(surface, column, row) << ", not " << wanted;
                return false;
            }
        return true;
    }
};

TEST_F(TKFrameIntake, AnInlineFrameComesUpOnBothSurfaces)
{
    Attach();
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
    EXPECT_TRUE(ShowsFrame(session_->resultSurface, 1));
    EXPECT_EQ(session_->sourceFrame->pixelFormat, pixFormatRGBYPlanar_Float);
    EXPECT_EQ(session_->renderCount, 1u);
    EXPECT_EQ(session_->splitSurface.width, 8u);
    EXPECT_EQ(session_->splitMask.depth, 1u);
    EXPECT_EQ(session_->secondarySurface.height, 6u);
    EXPECT_EQ(windows_.aspect, 1.0f);
    EXPECT_EQ(windows_.positionText, "00:00:00:00");
    EXPECT_TRUE(TKLogHas(
        {"^^^^^^ hostApp = 'TEST', hostStr = \"TEST\", hostList = \"FXTC\", strstr=0\n", "ProcessImage: 1\n"}));
}

TEST_F(TKFrameIntake, TheGradeIsInTheFirstResult)
{
    host_.Make();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    session_->liveSettings.primaryOn = session_->liveSettings.hslOn = session_->liveSettings.hsl.master.on = 1;
    session_->liveSettings.hsl.master.gain = 0;
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
    EXPECT_EQ(TKPixelAt(session_->resultSurface, 3, 3), 0xFF000000u);
}

// While a control moves, what stands upstream of it is kept; another picture in the same frame must not meet it.
TEST_F(TKFrameIntake, AFrameThatComesAfterADragIsGradedFromItsOwnPixels)
{
    Attach();
    OCSettings& g = session_->liveSettings;
    g.primaryOn = g.hslOn = g.hsl.master.on = g.rgbOn = g.rgb.master.on = 1;
    g.hsl.master.gain = 0.5f;
    for (int i = 0; i < 3; ++i) {
        g.rgb.master.group.gain = 1 + static_cast<float>(i) / 8;
        RecomputeAndRefresh(session_, false);
    }
    EXPECT_EQ(session_->stageCache.step, 8u);
    g.rgb.master.group.gain = 2; // what the other halves
    RecomputeAndRefresh(session_, false);
    EXPECT_TRUE(ShowsFrame(session_->resultSurface, 1));

    for (uint32_t frame : {2u, 3u}) {
        const std::vector<uint8_t> pixels = host_.Frame(frame);
        auto* buffer = static_cast<uint8_t*>(BPAllocate(pixels.size()));
        std::memcpy(buffer, pixels.data(), pixels.size());
        TKTakeFrame(session_, buffer, static_cast<uint32_t>(pixels.size()));
        EXPECT_TRUE(ShowsFrame(session_->resultSurface, frame));
    }
    host_.PaintRows(host_.Pixels(), 0, host_.height, 4);
    g.rgb.master.group.gain = 1.5f;
    RecomputeAndRefresh(session_, false);
    g.rgb.master.group.gain = 2;
    RecomputeAndRefresh(session_, false);
    EXPECT_EQ(session_->stageCache.step, 8u);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_TRUE(ShowsFrame(session_->resultSurface, 4));
}

TEST_F(TKFrameIntake, AChunkedFrameIsTheSameFrame)
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

TEST_F(TKFrameIntake, ASlowHostThatCountsDownBeforeItsLastChunkLosesNothing)
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

TEST_F(TKFrameIntake, AHostThatEndsBetweenChunksFailsTheLoad)
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

TEST_F(TKFrameIntake, AHostThatCannotBeWatchedIsOutwaited)
{
    host_.flags = kTKUIFlagPixelsChunked;
    host_.processID = 0;
    AttachOnly();
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(gBPFake.sleeps.size(), 60u); // ten seconds
}

TEST_F(TKFrameIntake, ChunksThatNeverCompleteTheFrameEnd)
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

TEST_F(TKFrameIntake, AChunkBeyondTheBlockOrTheFrameIsHandled)
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

TEST_F(TKFrameIntake, NoFrameLeavesTheSourceAsItIsAndStillRenders)
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

TEST_F(TKFrameIntake, AnAddressOfAnotherProcessIsRefused)
{
    host_.flags = 0;
    AttachOnly();
    const uint32_t word = 0x1000;
    std::memcpy(host_.Pixels(), &word, 4);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(TKLogCount("Pixels at an address of another process are refused\n"), 1u);
}

TEST_F(TKFrameIntake, AnEmbedderMayHandInAnAddress)
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

TEST_F(TKFrameIntake, ABlockMustHoldItsFrameButNotThePaddingOfTheLastRow)
{
    host_.Make();
    TKUIComm block = *host_.Block();
    const std::vector<uint8_t> frame = host_.Frame(1);
    for (const int missing : {4, 5}) { // of 36 bytes a row, 4 are padding
        const uint64_t byteCount = offsetof(TKUIComm, pixels) + frame.size() - static_cast<uint64_t>(missing);
        uint8_t* bytes = BPFakeMakeBlock(kTKCommBlockName, byteCount);
        std::memcpy(bytes, &block, sizeof block);
        std::memcpy(bytes + offsetof(TKUIComm, pixels), frame.data(), frame.size() - static_cast<size_t>(missing));
        ASSERT_EQ(TKAttachHost(session_), tkAttached);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        EXPECT_EQ(TKLoadFrameFromHost(session_), missing == 4 ? bpNoErr : bpParamErr);
        EXPECT_EQ(TKLogCount("does not fit the host's block"), missing == 4 ? 0u : 1u);
        TKTearDown(session_);
    }
}

TEST_F(TKFrameIntake, HostsOfTheListGetTheirAdjustmentAndOthersDoNot)
{
    struct Case {
        const char *app, *list;
        bool adjusted;
    };
    for (const Case& c : {Case{"FXTC", "FXTC", true}, Case{"FXTC", "AbcdFXTCefgh", true}, Case{"FXTC", "", false},
                          Case{"TEST", "FXTC", false}, Case{"\0\0\0\0", "FXTC", false}, Case{"    ", "FXTC", false},
                          Case{"    ", "a    b", true}, Case{"FX\0\0", "FXTC", true}}) {
        host_ = {};
        AttachOnly();
        std::memcpy(&host_.Block()->hostApp, c.app, 4);
        std::strcpy(session_->prefs.adjustHostPixels, c.list);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
        const uint32_t mode = c.adjusted ? 0x80000002u : 0u;
        EXPECT_EQ(host_.Block()->hostPixelAdjust.adjustMode, mode) << c.app << " in " << c.list;
        EXPECT_EQ(session_->storedPixelAdjust.adjustMode, mode);
        EXPECT_EQ(session_->storedPixelAdjust.adjustWhite, c.adjusted ? 255u : 0u);
        EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1)); // that adjustment is the identity
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameIntake, ARecordOfTheHostActsOnTheFrameOfTheBlockOnly)
{
    host_.Make();
    host_.Block()->hostPixelAdjust = {
        .adjustMode = 0x80000001u, .adjustBlack = 0, .adjustWhite = 510, .adjustGamma = 1, .reserved = {}};
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_NEAR(static_cast<int>(TKPixelAt(session_->sourceSurface, 0, 0) & 0xFF), 100, 1); // half of 200
    ASSERT_EQ(TKCommWindowCreate(session_, TKBlockOf(session_)), bpNoErr);
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    TKLocate(session_, 200);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 3));
}

TEST_F(TKFrameIntake, TheSurfacesFollowTheSizeAndStayWhenItStays)
{
    Attach();
    const uint8_t* pixels = session_->resultSurface.pixels;
    const FBFrame* frame = session_->sourceFrame;
    host_.Block()->pixelAspect = 1.5f;
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(session_->resultSurface.pixels, pixels);
    EXPECT_EQ(windows_.aspect, 1.5f);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_EQ(session_->sourceFrame, frame);

    TKCloseCommBlock(session_);
    host_.width = 5;
    host_.height = 9;
    host_.Make();
    ASSERT_NE(TKOpenCommBlock(session_), nullptr);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(session_->resultSurface.width, 5u);
    EXPECT_EQ(session_->splitMask.height, 9u);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
    EXPECT_TRUE(ShowsFrame(session_->resultSurface, 1));
}

TEST_F(TKFrameIntake, AnAspectThatIsNoneCountsAsOne)
{
    AttachOnly();
    for (const float aspect : {0.0f, -1.0f, NAN, INFINITY, -INFINITY, 1e-30f, 1e30f}) {
        host_.Block()->pixelAspect = aspect;
        windows_.aspect = 0;
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        EXPECT_EQ(windows_.aspect, 1.0f) << aspect;
    }
}

TEST_F(TKFrameIntake, ASizeThatChangesBetweenTheStepsIsRefused)
{
    AttachOnly();
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    host_.Block()->frameHeight = 5;
    EXPECT_EQ(TKLoadFrameFromHost(session_), bpParamErr);
    EXPECT_EQ(session_->sourceFrame, nullptr);
}

TEST_F(TKFrameIntake, AShapeIsTakenOrRefusedByItself)
{
    struct Case {
        uint32_t width, height, rowBytes;
        FBPixelFormat format;
        uint64_t byteCount; // 0: refused
    };
    const auto none = static_cast<FBPixelFormat>(77);
    host_.Make();
    for (const Case& c : {Case{8, 6, 32, pixFormatARGB8, 192},
                          Case{8, 6, 36, pixFormatARGB8, 212},
                          Case{8, 6, 31, pixFormatARGB8, 0},
                          Case{8, 6, 33, pixFormatARGB8, 0},
                          Case{8, 6, 34, pixFormatBGRA8, 0},
                          Case{8, 6, 66, pixFormatARGB16_32K, 394},
                          Case{8, 6, 65, pixFormatARGB16_32K, 0},
                          Case{8, 6, 130, pixFormatRGBA32_Float, 0},
                          Case{8, 6, 132, pixFormatYRGB32_Float, 788},
                          Case{0, 6, 32, pixFormatARGB8, 0},
                          Case{8, 0, 32, pixFormatARGB8, 0},
                          Case{8, 6, 0, pixFormatARGB8, 0},
                          Case{8, 6, 32, none, 0},
                          Case{65536, 1, 1u << 20, pixFormatARGB8, 0},
                          Case{65535, 2049, 1u << 20, pixFormatARGB8, 0},
                          Case{65535, 2048, 0xFFFFFFFC, pixFormatARGB8, 0},
                          Case{8, 1, 0x80000004, pixFormatARGB8, 0},
                          Case{8, 1, 0x80000000, pixFormatARGB8, 32},
                          Case{8, 2, 0x40000004, pixFormatARGB8, 0},
                          Case{8, 2, 0x40000000, pixFormatARGB8, 0x40000020},
                          Case{8, 1, 0x2AAAAAAC, pixFormatRGB16Planar, 0},
                          Case{8, 1, 0x20000004, pixFormatRGBYPlanar_Float, 0},
                          Case{0x40000001, 1, 4, pixFormatARGB8, 0}}) {
        TKUIComm* block = host_.Block();
        block->frameWidth = c.width;
        block->frameHeight = c.height;
        block->frameRowBytes = c.rowBytes;
        block->framePixelFormat = static_cast<uint32_t>(c.format);
        gBPFake.log.clear();
        TKFrameShape shape;
        EXPECT_EQ(TKReadFrameShape(block, &shape), c.byteCount ? bpNoErr : bpParamErr)
            << c.width << " x " << c.height << ", " << c.rowBytes << ", " << c.format;
        EXPECT_EQ(shape.byteCount, c.byteCount);
        EXPECT_EQ(TKLogCount(" is refused\n"), c.byteCount ? 0u : 1u);
    }
}

TEST_F(TKFrameIntake, AComparisonFrameOfTheSameSizeFollowsTheSourceAndAnotherGoes)
{
    Attach();
    ASSERT_EQ(FBCreateRGBFrameBuffer(8, 6, &session_->comparisonFrame, pixFormatRGBYPlanar_Float), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    ASSERT_NE(session_->comparisonFrame, nullptr);
    const FBFrame* source = session_->sourceFrame;
    const FBFrame* copy = session_->comparisonFrame;
    EXPECT_EQ(std::memcmp(source->baseAddr, copy->baseAddr, size_t{source->rowBytes} * source->height), 0);
    TKCloseCommBlock(session_);
    host_.width = 5;
    host_.Make();
    ASSERT_NE(TKOpenCommBlock(session_), nullptr);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    EXPECT_EQ(session_->comparisonFrame, nullptr);
}

TEST_F(TKFrameIntake, ABlockOfTheOtherByteOrderComesUpAlikeInlineAndInChunks)
{
    for (const uint32_t rows : {0u, 2u, 6u}) {
        host_ = {};
        host_.flags = rows ? kTKUIFlagPixelsChunked : kTKUIFlagPixelsInline;
        host_.chunkRows = rows;
        host_.Make();
        host_.Block()->settings.hsl.master.gain = 2;
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        // From here on the host is a big-endian machine: it sees everything turned.
        const auto turn = [this](uint64_t pixelBytes) {
            const bool before = session_->hostSwapped;
            session_->hostSwapped = true;
            TKSwapCommBlock(session_, host_.Block());
            TKSwapPixels(session_, host_.Pixels(), pixelBytes);
            session_->hostSwapped = before;
        };
        turn(rows ? host_.Block()->chunkBytes : host_.FrameBytes());
        ASSERT_EQ(host_.Block()->version, kTKUIVersionSwapped);
        host_.serve = [&turn](TKTestHost* host) {
            if (host->Block()->status != 0x05000000) return;
            turn(0); // the host's own view
            host->SendChunks();
            turn(host->Block()->chunkBytes);
        };
        ASSERT_EQ(TKAdoptBlock(session_), tkAttached);
        EXPECT_TRUE(session_->hostSwapped);
        EXPECT_EQ(session_->hostProcessID, kHostProcess);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr) << rows;
        EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1)) << rows;
        EXPECT_TRUE(TKTakeSettingsFromBlock(session_));
        EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
        EXPECT_EQ(host_.Block()->frameRate100, 2400);
        if (rows) {
            EXPECT_EQ(host_.Block()->pixelFlags, 0u);
            EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
            EXPECT_EQ(gBPFake.sleeps.size(), 6 / rows - 1);
        }
        // The grade goes back in the host's order, and the last word too.
        session_->prefs.uiTimeoutEnable = 0;
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_EQ(host_.Block()->status, uint32_t{kTKUIStatusUIDone} << 24);
        EXPECT_EQ(host_.Block()->settings.signature, __builtin_bswap32(kOCSettingsSignature));
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameIntake, ABlockOfTheOtherByteOrderAndAnUnknownVersionIsAMismatch)
{
    for (const uint32_t version : {6u, 0x06000000u, 0x08000000u, 0u}) {
        host_ = {};
        host_.Make();
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        host_.Block()->version = version;
        EXPECT_EQ(TKAdoptBlock(session_), tkVersionMismatch);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIFailed);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_TRUE(gBPFake.alerts.empty()); // no dialog
        char line[200];
        std::snprintf(line, sizeof line,
                      "Wrong TKUIComm structure version; received 0x%x, expected 0x7; Mis-matched plug-in and UI "
                      "versions?\n",
                      version);
        EXPECT_TRUE(TKLogHas({"Ochrine 3 UI: (", line}));
        TearDown();
        SetUp();
    }
}

// --- Frames of requests -----------------------------------------------------------------------------------------------

TEST_F(TKFrameIntake, ATakenFrameComesUpGraded)
{
    Attach();
    host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    TKLocate(session_, 500);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 6));
    EXPECT_TRUE(ShowsFrame(session_->resultSurface, 6));
    EXPECT_EQ(windows_.positionText, "00:00:00:05");
}

TEST_F(TKFrameIntake, ModesThatShowNoResultRenderNoneUntilOneIsShown)
{
    for (const int32_t mode : {tkImageSource, tkImageLumaRanges}) {
        Attach();
        host_.serve = [](TKTestHost* host) { host->SendFrames(); };
        session_->imagePaneMode = mode;
        const uint32_t renders = session_->renderCount;
        TKLocate(session_, 500);
        EXPECT_EQ(session_->renderCount, renders);
        EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 6));
        EXPECT_TRUE(ShowsFrame(session_->resultSurface, 1));
        TKSetImagePaneMode(session_, tkImageResult);
        EXPECT_EQ(session_->renderCount, renders + 1);
        EXPECT_TRUE(ShowsFrame(session_->resultSurface, 6));
        TKSetImagePaneMode(session_, tkImageResult);
        EXPECT_EQ(session_->renderCount, renders + 1);
        host_ = {};
        TearDown();
        SetUp();
    }
}

TEST_F(TKFrameIntake, AFailedRequestKeepsThePictureButShowsTheNewPosition)
{
    Attach();
    host_.serve = [](TKTestHost* host) {
        if (host->Block()->status == kTKUIStatusRequestFrame) host->Block()->status = kTKUIStatusRequestFailed;
    };
    TKLocate(session_, 500);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
    EXPECT_EQ(host_.Block()->frameTime, 500);
    EXPECT_EQ(windows_.positionText, "00:00:00:05");
}

TEST_F(TKFrameIntake, AFrameThatIsTooShortKeepsThePicture)
{
    Attach();
    gBPFake.sleeps.clear();
    host_.serve = [](TKTestHost* host) {
        const std::vector<uint8_t> frame = host->Frame(9);
        if (gBPFake.sleeps.size() == 1) BPFakeQueueMessage(9, frame.data(), static_cast<uint32_t>(frame.size() - 5));
        if (gBPFake.sleeps.size() == 4) host->Block()->status = kTKUIStatusRequestFailed;
    };
    TKLocate(session_, 500);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
    EXPECT_EQ(TKLogCount("A frame of 211 bytes does not fit the clip's frames\n"), 1u);
    EXPECT_EQ(gBPFake.sleeps.size(), 4u); // the wait went on
    EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
}

TEST_F(TKFrameIntake, GeometryThatChangesWhileAFrameIsAwaitedIsNotUsed)
{
    Attach();
    host_.serve = [](TKTestHost* host) {
        host->SendFrames();
        host->Block()->frameWidth = 1u << 15;
        host->Block()->frameRowBytes = 1u << 20;
    };
    TKLocate(session_, 500);
    EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1));
}

TEST_F(TKFrameIntake, EveryOtherFormatOfAHostComesUpToo)
{
    struct Case {
        FBPixelFormat format;
        uint32_t pixelBytes;
        void (*write)(uint8_t* pixel);
    };
    const Case cases[] = {
        {pixFormatBGRA8, 4,
         [](uint8_t* p) {
             const uint8_t bytes[] = {255, 51, 102, 204};
             std::memcpy(p, bytes, 4);
         }},
        {pixFormatARGB16_32K, 8,
         [](uint8_t* p) {
             const uint16_t words[] = {32768, 6554, 13108, 26215};
             std::memcpy(p, words, 8);
         }},
        {pixFormatYRGB32_Float, 16,
         [](uint8_t* p) {
             const float floats[] = {1, 0.2f, 0.4f, 0.8f};
             std::memcpy(p, floats, 16);
         }},
        {pixFormatRGBA32_Float, 16,
         [](uint8_t* p) {
             const float floats[] = {0.2f, 0.4f, 0.8f, 1};
             std::memcpy(p, floats, 16);
         }},
    };
    for (const Case& c : cases) {
        host_ = {};
        host_.format = c.format;
        host_.rowBytes = 8 * c.pixelBytes + 16;
        host_.Make();
        for (uint32_t row = 0; row < host_.height; ++row)
            for (uint32_t column = 0; column < host_.width; ++column)
                c.write(host_.Pixels() + row * host_.rowBytes + column * c.pixelBytes);
        ASSERT_EQ(TKAttachHost(session_), tkAttached);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr) << c.format;
        EXPECT_EQ(TKPixelAt(session_->resultSurface, 7, 5), 0xFF3366CCu) << c.format;
        TearDown();
        SetUp();
    }
}

} // namespace
