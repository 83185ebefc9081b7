// Frame copies: straight, converted, scaled; and the resampler behind them.
#include "src/FBCopy.h"

#include "src/FBResample.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cmath>
#include <cstring>

namespace {

void FillPlanes(const FBFrame& frame, float (*value)(uint32_t plane, uint32_t row, uint32_t column))
{
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < frame.height; ++row)
            for (uint32_t column = 0; column < frame.width; ++column)
                At(frame, plane, row, column) = value(plane, row, column);
}

std::string Copied(const FBFrame& source, const FBFrame& destination)
{
    LogCatch log;
    FBCopyFrameBuffer(&source, &destination, 1, nullptr);
    return log.Text();
}

} // namespace

TEST(FBCopy, EqualFramesAreCopiedWithTheirPadding)
{
    const FramePtr source = MakeFrame(5, 3);
    const FramePtr destination = MakeFrame(5, 3);
    for (uint32_t i = 0; i < source->planeBytes * 4; ++i) source->baseAddr[i] = static_cast<uint8_t>(i * 7 + 1);
    EXPECT_EQ(Copied(*source, *destination), "");
    EXPECT_EQ(std::memcmp(source->baseAddr, destination->baseAddr, size_t{source->planeBytes} * 4), 0);
}

TEST(FBCopy, AnotherFormatOfEqualSizeIsATransfer)
{
    const FramePtr source = MakeFrame(6, 9);
    FillPlanes(*source, [](uint32_t plane, uint32_t row, uint32_t column) {
        return static_cast<float>(plane * 50 + row * 8 + column) / 255.0f;
    });
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatBGRA8, pixFormatRGBA32_Float}) {
        const FramePtr copy = MakeFrame(6, 9, format);
        const FramePtr expected = MakeFrame(6, 9, format);
        EXPECT_EQ(Copied(*source, *copy), "");
        FBTransferFBFrameToPixSSE(source.get(), nullptr, expected->baseAddr, expected->rowBytes, format);
        EXPECT_EQ(std::memcmp(copy->baseAddr, expected->baseAddr, copy->planeBytes), 0) << format;
        MPTask* pool = nullptr;
        const uint32_t tasks = MPStartTaskCount(&pool, 3);
        std::memset(copy->baseAddr, 0, copy->planeBytes);
        FBCopyFrameBuffer(source.get(), copy.get(), tasks, pool);
        EXPECT_EQ(std::memcmp(copy->baseAddr, expected->baseAddr, copy->planeBytes), 0) << format;
        MPDisposeTasks(tasks, &pool);
    }
}

TEST(FBCopy, AFrameWhoseRowsAreTooShortForItsFormatIsFilledRowByRow)
{
    // Frames of these formats have rows of four bytes a pixel: half of the pixels, or a quarter, find room.
    const FramePtr source = MakeFrame(16, 12);
    FillPlanes(*source, [](uint32_t plane, uint32_t row, uint32_t column) {
        return static_cast<float>(plane * 50 + row * 16 + column) / 500.0f;
    });
    for (const auto& [format, pixelBytes] : {std::pair{pixFormatARGB16_32K, 8u}, {pixFormatVUYA32_Float, 16u}}) {
        const FramePtr copy = MakeFrame(16, 12, format);
        std::vector<uint8_t> pixels(size_t{16} * 12 * pixelBytes);
        FBTransferFBFrameToPixSSE(source.get(), nullptr, pixels.data(), 16 * pixelBytes, format);
        for (uint32_t wanted : {1u, 3u}) {
            MPTask* pool = nullptr;
            const uint32_t tasks = MPStartTaskCount(&pool, wanted);
            std::memset(copy->baseAddr, 0x5C, size_t{copy->planeBytes} * copy->planeCount);
            FBCopyFrameBuffer(source.get(), copy.get(), tasks, pool);
            MPDisposeTasks(tasks, &pool);
            for (uint32_t row = 0; row < 12; ++row)
                EXPECT_EQ(std::memcmp(copy->baseAddr + row * 64, &pixels[size_t{row} * 16 * pixelBytes], 64), 0) << row;
            for (uint32_t i = copy->planeBytes; i < copy->planeBytes * 4; ++i)
                ASSERT_EQ(copy->baseAddr[i], 0x5C) << format << ", " << wanted << " tasks, byte " << i;
        }
    }
}

TEST(FBCopy, AnotherFormatWithoutATransferIsLogged)
{
    const FramePtr source = MakeFrame(6, 9, pixFormatRGBA32_Float);
    const FramePtr destination = MakeFrame(6, 9);
    std::memset(destination->baseAddr, 0x21, size_t{destination->planeBytes} * 4);
    EXPECT_EQ(Copied(*source, *destination),
              "FBTransferFBFrameToPixSSE: unsuppported output pixel format 203, input format 202\n");
    for (uint32_t i = 0; i < destination->planeBytes * 4; ++i) ASSERT_EQ(destination->baseAddr[i], 0x21);
}

TEST(FBCopy, AnotherSizeAndFormatIsNotOffered)
{
    const FramePtr source = MakeFrame(8, 8);
    const FramePtr destination = MakeFrame(4, 4, pixFormatARGB8);
    std::memset(destination->baseAddr, 0x21, destination->planeBytes);
    EXPECT_EQ(Copied(*source, *destination), "FBCopyFrameBuffer: unsuppported mixed pixel formats (scaled)\n");
    EXPECT_EQ(destination->baseAddr[0], 0x21);
}

TEST(FBCopy, OtherFormatsAreNotScaled)
{
    const FramePtr source = MakeFrame(8, 8, pixFormatRGBY16_32K);
    const FramePtr destination = MakeFrame(4, 4, pixFormatRGBY16_32K);
    EXPECT_EQ(Copied(*source, *destination), "FBCopyFrameBuffer: unsuppported pixel format 205 '' in scaling\n");
    const FramePtr video = MakeFrame(8, 8, pixFormatUYVA8);
    const FramePtr small = MakeFrame(4, 8, pixFormatUYVA8);
    EXPECT_EQ(Copied(*video, *small), "FBCopyFrameBuffer: unsuppported pixel format 1983131704 'v408' in scaling\n");
}

TEST(FBCopy, AConstantPictureStaysConstant)
{
    const FramePtr source = MakeFrame(37, 23);
    FillPlanes(*source, [](uint32_t plane, uint32_t, uint32_t) { return 0.25f + 0.3f * static_cast<float>(plane); });
    for (const auto& [width, height] : {std::pair{11u, 7u}, {37u, 50u}, {100u, 80u}, {1u, 1u}, {640u, 3u}}) {
        const FramePtr scaled = MakeFrame(width, height);
        EXPECT_EQ(Copied(*source, *scaled), "");
        for (uint32_t plane = 0; plane < 4; ++plane)
            for (uint32_t row = 0; row < height; ++row)
                for (uint32_t column = 0; column < width; ++column)
                    ASSERT_NEAR(At(*scaled, plane, row, column), 0.25f + 0.3f * static_cast<float>(plane), 2e-6)
                        << width << " x " << height << " at " << plane << ", " << row << ", " << column;
    }
}

TEST(FBCopy, ALinearRampStaysLinearInsideAndDoesNotShift)
{
    const FramePtr source = MakeFrame(64, 48);
    FillPlanes(*source, [](uint32_t plane, uint32_t row, uint32_t column) {
        return 0.1f * static_cast<float>(plane) + 0.01f * static_cast<float>(column) + 0.02f * static_cast<float>(row);
    });
    for (const auto& [width, height] : {std::pair{128u, 96u}, {64u, 96u}, {100u, 71u}, {32u, 24u}}) {
        const FramePtr scaled = MakeFrame(width, height);
        EXPECT_EQ(Copied(*source, *scaled), "");
        for (uint32_t plane = 0; plane < 4; ++plane) // luma and alpha as well
            for (uint32_t row = height / 4; row < height * 3 / 4; ++row)
                for (uint32_t column = width / 4; column < width * 3 / 4; ++column) {
                    // The edges of both pictures coincide.
                    const double x = (column + 0.5) * 64 / width - 0.5, y = (row + 0.5) * 48 / height - 0.5;
                    ASSERT_NEAR(static_cast<double>(At(*scaled, plane, row, column)), 0.1 * plane + 0.01 * x + 0.02 * y,
                                1e-5)
                        << width << " x " << height;
                }
    }
}

TEST(FBCopy, EnlargingFollowsCatmullRom)
{
    const FramePtr source = MakeFrame(16, 1);
    for (uint32_t i = 0; i < 16; ++i) At(*source, 0, 0, i) = i == 8 ? 1.0f : 0.0f;
    const FramePtr scaled = MakeFrame(64, 1);
    EXPECT_EQ(Copied(*source, *scaled), "");
    const auto weight = [](double t) {
        t = std::fabs(t);
        return t < 1 ? 1.5 * t * t * t - 2.5 * t * t + 1 : t < 2 ? -0.5 * t * t * t + 2.5 * t * t - 4 * t + 2 : 0.0;
    };
    for (uint32_t i = 0; i < 64; ++i)
        EXPECT_NEAR(static_cast<double>(At(*scaled, 0, 0, i)), weight((i + 0.5) / 4 - 0.5 - 8), 1e-5) << i;
}

TEST(FBCopy, AllFourChannelsOfInterleavedPicturesAreScaled)
{
    for (FBPixelFormat format : {pixFormatYRGB32_Float, pixFormatRGBA32_Float, pixFormatBGRY32_Float}) {
        const FramePtr source = MakeFrame(12, 12, format);
        const FramePtr scaled = MakeFrame(31, 19, format);
        for (uint32_t row = 0; row < 12; ++row)
            for (uint32_t i = 0; i < 48; ++i)
                reinterpret_cast<float*>(source->baseAddr + row * source->rowBytes)[i] =
                    static_cast<float>(i % 4) + 0.5f;
        EXPECT_EQ(Copied(*source, *scaled), "");
        for (uint32_t row = 0; row < 19; ++row)
            for (uint32_t i = 0; i < 31 * 4; ++i)
                ASSERT_NEAR(reinterpret_cast<float*>(scaled->baseAddr + row * scaled->rowBytes)[i],
                            static_cast<float>(i % 4) + 0.5f, 1e-5);
    }
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatBGRA8}) {
        const FramePtr source = MakeFrame(12, 12, format);
        const FramePtr scaled = MakeFrame(31, 19, format);
        for (uint32_t row = 0; row < 12; ++row)
            for (uint32_t i = 0; i < 48; ++i)
                source->baseAddr[row * source->rowBytes + i] = static_cast<uint8_t>(40 + 60 * (i % 4));
        EXPECT_EQ(Copied(*source, *scaled), "");
        for (uint32_t row = 0; row < 19; ++row)
            for (uint32_t i = 0; i < 31 * 4; ++i)
                ASSERT_EQ(scaled->baseAddr[row * scaled->rowBytes + i], 40 + 60 * (i % 4));
    }
}

TEST(FBCopy, OnlyTheRowsOfThePictureAreWritten)
{
    const FramePtr source = MakeFrame(40, 30);
    const FramePtr scaled = MakeFrame(17, 11);
    std::memset(scaled->baseAddr, 0x6B, size_t{scaled->planeBytes} * 4 + 64);
    EXPECT_EQ(Copied(*source, *scaled), "");
    for (size_t i = 0; i < 64; ++i) EXPECT_EQ(scaled->baseAddr[size_t{scaled->planeBytes} * 4 + i], 0x6B);
}

TEST(FBCopy, WithoutScratchTheFailureIsPrintedAndTheNextPlaneTried)
{
    const FramePtr source = MakeFrame(40, 30);
    const FramePtr scaled = MakeFrame(17, 11);
    FBReleaseCopyScratch();
    BPFailAllocation(1); // the first plane finds no memory, the second does
    testing::internal::CaptureStdout();
    EXPECT_EQ(Copied(*source, *scaled), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ippiResizeSqrPixel_32f_C1R in Ochrine FBCopyFrameBuffer failed with -108\n");
    BPFailAllocation(0);
    const struct {
        FBPixelFormat format;
        const char* routine;
    } others[] = {{pixFormatARGB8, "ippiResizeSqrPixel_8u_C4R"}, {pixFormatRGBA32_Float, "ippiResizeSqrPixel_32f_C4R"}};
    for (const auto& other : others) {
        const FramePtr from = MakeFrame(40, 30, other.format);
        const FramePtr to = MakeFrame(17, 11, other.format);
        FBReleaseCopyScratch();
        BPFailAllocation(1);
        testing::internal::CaptureStdout();
        EXPECT_EQ(Copied(*from, *to), "");
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string(other.routine) + " in Ochrine FBCopyFrameBuffer failed with -108\n");
        BPFailAllocation(0);
    }
}

TEST(FBCopy, TheScratchBlockOnlyGrows)
{
    const FramePtr source = MakeFrame(400, 300);
    const FramePtr scaled = MakeFrame(170, 110);
    const FramePtr small = MakeFrame(200, 150);
    FBReleaseCopyScratch();
    EXPECT_EQ(Copied(*source, *scaled), "");
    BPFailAllocation(0);
    EXPECT_EQ(Copied(*small, *scaled), "");
    EXPECT_EQ(Copied(*source, *scaled), "");
    EXPECT_EQ(BPAllocationCount(), 0u);
    FBReleaseCopyScratch();
}

TEST(FBResample, RegionsOutsideThePictureAreRefused)
{
    std::vector<uint8_t> pixels(64 * 64 * 4), out(64 * 64 * 4);
    const FBRegion whole = {.x = 0, .y = 0, .width = 16, .height = 16};
    const size_t scratchBytes = FBResampleScratchBytes(fbSample32f1, whole, whole, fbResampleCubic);
    auto* scratch = static_cast<uint8_t*>(BPAllocate(scratchBytes));
    FBResampleCall call = {.source = pixels.data(),
                           .sourceWidth = 16,
                           .sourceHeight = 16,
                           .sourceRowBytes = 64,
                           .sourceRegion = whole,
                           .destination = out.data(),
                           .destinationRowBytes = 64,
                           .destinationRegion = whole,
                           .xFactor = 1,
                           .yFactor = 1,
                           .xShift = 0,
                           .yShift = 0,
                           .method = fbResampleCubic,
                           .scratch = scratch,
                           .scratchBytes = scratchBytes};
    EXPECT_EQ(FBResample(fbSample32f1, call), 0);
    for (const FBRegion& bad :
         {FBRegion{1, 0, 16, 16}, {0, 1, 16, 16}, {-1, 0, 4, 4}, {0, 0, 0, 4}, {0, 0, 4, 0}, {0, 0, 100000, 4}}) {
        FBResampleCall refused = call;
        refused.sourceRegion = bad;
        EXPECT_NE(FBResample(fbSample32f1, refused), 0);
    }
    call.scratchBytes = scratchBytes - 1;
    EXPECT_EQ(FBResample(fbSample32f1, call), bpMemFullErr);
    call.scratchBytes = scratchBytes;
    call.xFactor = 0;
    EXPECT_NE(FBResample(fbSample32f1, call), 0);
    BPFree(scratch);
}
