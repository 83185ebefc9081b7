// The frame of the block and the frames of requests, down to pixels.
#include "src/platform/BPMemory.h"
#include "tests/support/TKIntakeTest.h"

#include <cmath>
#include <cstring>

namespace {

class TKFrameIntake : public TKIntakeTest {};

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

TEST_F(TKFrameIntake, AReferencePictureStaysForAClipOfItsSizeAndGoesWithAnother)
{
    Attach();
    ASSERT_EQ(ScopeSurfaceCreate(8, 6, &session_->views.referenceSurface), bpNoErr);
    const uint8_t* pixels = session_->views.referenceSurface.pixels;
    TKCloseCommBlock(session_);
    host_.Make();
    ASSERT_NE(TKOpenCommBlock(session_), nullptr);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(session_->views.referenceSurface.pixels, pixels);
    TKCloseCommBlock(session_);
    host_.height = 9;
    host_.Make();
    ASSERT_NE(TKOpenCommBlock(session_), nullptr);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    EXPECT_EQ(session_->views.referenceSurface.pixels, nullptr);
    EXPECT_EQ(TKSurfaceOfMode(session_, tkImageReference), nullptr);
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
        SelectImageDisplay(session_, tkImageResult);
        EXPECT_EQ(session_->renderCount, renders + 1);
        EXPECT_TRUE(ShowsFrame(session_->resultSurface, 6));
        SelectImageDisplay(session_, tkImageResult);
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
