// What the levels histogram counts, when it counts, and how high its columns stand.
#include "src/UI/TKLevelsHistogram.h"

#include "src/OCLumaTable.h"
#include "tests/CoreTest.h"

#include <cstring>
#include <limits>
#include <numeric>

namespace {

LevelsHistogramKey KeyOf(const FBFrame* frame, uint32_t channel, uint32_t binCount, LevelsRecovery recovery = {})
{
    return {.frame = frame,
            .frameVersion = 1,
            .width = frame ? frame->width : 0,
            .height = frame ? frame->height : 0,
            .channel = channel,
            .binCount = binCount,
            .recovery = recovery};
}

LevelsHistogram Built(const FBFrame* frame, uint32_t channel, uint32_t binCount, LevelsRecovery recovery = {})
{
    LevelsHistogram histogram = {};
    EXPECT_TRUE(UpdateLevelsHistogram(frame, KeyOf(frame, channel, binCount, recovery), &histogram));
    return histogram;
}

/// One pixel whose four planes are all `value`.
FramePtr Pixel(float value)
{
    FramePtr frame = MakeFrame(1, 1);
    for (uint32_t plane = 0; plane < 4; ++plane) At(*frame, plane, 0, 0) = value;
    return frame;
}

FramePtr Noise(uint32_t width, uint32_t height, uint32_t seed)
{
    Random random(seed);
    FramePtr frame = MakeFrame(width, height);
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < height; ++row)
            for (uint32_t column = 0; column < width; ++column)
                At(*frame, plane, row, column) = Between(random, -0.3f, 1.4f);
    return frame;
}

uint32_t OnlyBin(const LevelsHistogram& histogram)
{
    uint32_t found = kLevelsMostBins;
    for (uint32_t i = 0; i < kLevelsMostBins; ++i)
        if (histogram.bin[i] != 0) {
            EXPECT_EQ(found, kLevelsMostBins) << i;
            found = i;
        }
    return found;
}

} // namespace

TEST(LevelsHistogram, FloatsCountTimes255Rounded)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    const std::pair<float, uint32_t> cases[] = {{0, 0},         {1, 255},        {0.5f, 128},     {0.1f, 26},
                                                {-3, 0},        {1.7f, 255},     {nan, 0},        {infinity, 255},
                                                {-infinity, 0}, {0.4f / 255, 0}, {0.6f / 255, 1}, {254.6f / 255, 255}};
    for (const auto& [value, bin] : cases)
        for (uint32_t channel = 1; channel <= 4; ++channel)
            EXPECT_EQ(OnlyBin(Built(Pixel(value).get(), channel, 256)), bin) << value << " channel " << channel;
}

TEST(LevelsHistogram, MasterCountsLumaAndTheOthersTheirChannel)
{
    FramePtr frame = MakeFrame(1, 1);
    const float values[] = {10.0f / 255, 20.0f / 255, 30.0f / 255, 40.0f / 255};
    for (uint32_t plane = 0; plane < 4; ++plane) At(*frame, plane, 0, 0) = values[plane];
    EXPECT_EQ(OnlyBin(Built(frame.get(), 1, 256)), 40u);
    EXPECT_EQ(OnlyBin(Built(frame.get(), 2, 256)), 10u);
    EXPECT_EQ(OnlyBin(Built(frame.get(), 3, 256)), 20u);
    EXPECT_EQ(OnlyBin(Built(frame.get(), 4, 256)), 30u);
}

TEST(LevelsHistogram, With128BinsLevelsAreHalvedAndWith512TheBinAboveCountsToo)
{
    const FramePtr frame = Pixel(101.0f / 255);
    EXPECT_EQ(OnlyBin(Built(frame.get(), 1, 128)), 50u);
    const LevelsHistogram wide = Built(frame.get(), 1, 512);
    EXPECT_EQ(wide.bin[202], 1u);
    EXPECT_EQ(wide.bin[203], 1u);
    EXPECT_EQ(std::accumulate(std::begin(wide.bin), std::end(wide.bin), 0u), 2u);
    EXPECT_EQ(Built(Pixel(1).get(), 1, 512).bin[511], 1u);
    EXPECT_EQ(Built(Pixel(1).get(), 1, 128).bin[127], 1u);
}

TEST(LevelsHistogram, BytesCountAsTheyAreAndLumaByTheTable)
{
    const uint8_t* table = GetLumaTable(ocMatrix601);
    for (const FBPixelFormat format : {pixFormatARGB8, pixFormatBGRA8}) {
        const FramePtr frame = MakeFrame(1, 1, format);
        const uint32_t word = format == pixFormatARGB8 ? 0xFF102030 : 0x302010FF;
        std::memcpy(frame->baseAddr, &word, sizeof word);
        EXPECT_EQ(OnlyBin(Built(frame.get(), 2, 256)), 0x10u);
        EXPECT_EQ(OnlyBin(Built(frame.get(), 3, 256)), 0x20u);
        EXPECT_EQ(OnlyBin(Built(frame.get(), 4, 256)), 0x30u);
        EXPECT_EQ(OnlyBin(Built(frame.get(), 1, 256)), uint32_t{table[0x10]} + table[256 + 0x20] + table[512 + 0x30]);
    }
    GetLumaTable(ocMatrix709);
}

TEST(LevelsHistogram, HighlightRecoveryCompressesWhatIsAboveItsThreshold)
{
    // A recovery of 0.5 has its threshold at 0.8; above it luma rises by half.
    EXPECT_EQ(OnlyBin(Built(Pixel(1).get(), 1, 256, {0.5f, 0})), 230u);    // 0.9
    EXPECT_EQ(OnlyBin(Built(Pixel(1.2f).get(), 1, 256, {0.5f, 0})), 255u); // 1.0
    EXPECT_EQ(OnlyBin(Built(Pixel(0.8f).get(), 1, 256, {0.5f, 0})), 204u);
    EXPECT_EQ(OnlyBin(Built(Pixel(0.5f).get(), 1, 256, {0.5f, 0})), 128u);
    EXPECT_EQ(OnlyBin(Built(Pixel(1).get(), 1, 256, {1, 0})), 204u); // threshold 0.6
    // Luma decides, all channels are multiplied.
    FramePtr frame = Pixel(1);
    At(*frame, 0, 0, 0) = 0.5f;
    EXPECT_EQ(OnlyBin(Built(frame.get(), 2, 256, {0.5f, 0})), 115u); // 0.45
}

TEST(LevelsHistogram, ASecondRecoveryActsOnWhatTheFirstLeft)
{
    EXPECT_EQ(OnlyBin(Built(Pixel(1).get(), 1, 256, {0, 0.5f})), 230u);
    EXPECT_EQ(OnlyBin(Built(Pixel(1).get(), 1, 256, {0.5f, 0.5f})), 217u); // 0.9, then 0.85
    EXPECT_EQ(OnlyBin(Built(Pixel(1).get(), 1, 256, {1, 0.5f})), 204u);    // 0.8 is not above the second threshold
}

TEST(LevelsHistogram, ARecoveryOfNothingOrNoNumberIsNone)
{
    for (const float amount : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN()})
        EXPECT_EQ(OnlyBin(Built(Pixel(0.95f).get(), 1, 256, {amount, amount})), 242u);
}

TEST(LevelsHistogram, TheFastCountEqualsThePixelRoutine)
{
    Random random(11);
    for (const FBPixelFormat format : {pixFormatRGBYPlanar_Float, pixFormatARGB8, pixFormatBGRA8})
        for (const uint32_t width : {1u, 2u, 7u, 64u, 131u, 256u, 257u, 700u}) {
            const FramePtr frame =
                format == pixFormatRGBYPlanar_Float ? Noise(width, 9, width) : MakeFrame(width, 9, format);
            if (format != pixFormatRGBYPlanar_Float)
                for (uint32_t i = 0; i < frame->rowBytes * 9; ++i) frame->baseAddr[i] = static_cast<uint8_t>(random());
            for (uint32_t channel = 1; channel <= 4; ++channel)
                for (const uint32_t binCount : {128u, 256u, 512u})
                    for (const LevelsRecovery recovery : {LevelsRecovery{}, {0.7f, 0}, {0.4f, 0.9f}}) {
                        const LevelsHistogram fast = Built(frame.get(), channel, binCount, recovery);
                        LevelsHistogram slow = {};
                        slow.key = fast.key;
                        FBIterateFrame(frame.get(), LevelsPixelCallback, &slow);
                        ASSERT_EQ(std::memcmp(fast.bin, slow.bin, sizeof fast.bin), 0)
                            << width << " channel " << channel << " bins " << binCount;
                    }
        }
}

TEST(LevelsHistogram, ItIsCountedAnewOnlyWhenSomethingIsDifferent)
{
    const FramePtr frame = Noise(16, 4, 1), other = Noise(16, 4, 2);
    const LevelsHistogramKey key = KeyOf(frame.get(), 1, 256);
    LevelsHistogram histogram = {};
    EXPECT_TRUE(UpdateLevelsHistogram(frame.get(), key, &histogram));
    EXPECT_FALSE(UpdateLevelsHistogram(frame.get(), key, &histogram));
    const auto differs = [&](auto change) {
        LevelsHistogramKey changed = key;
        change(&changed);
        EXPECT_TRUE(UpdateLevelsHistogram(frame.get(), changed, &histogram));
        EXPECT_TRUE(UpdateLevelsHistogram(frame.get(), key, &histogram));
    };
    differs([&](LevelsHistogramKey* k) { k->frame = other.get(); });
    differs([](LevelsHistogramKey* k) { ++k->frameVersion; });
    differs([](LevelsHistogramKey* k) { k->width = 15; });
    differs([](LevelsHistogramKey* k) { k->height = 3; });
    differs([](LevelsHistogramKey* k) { k->channel = 2; });
    differs([](LevelsHistogramKey* k) { k->binCount = 512; });
    differs([](LevelsHistogramKey* k) { k->recovery.input = 0.5f; });
    differs([](LevelsHistogramKey* k) { k->recovery.output = 0.5f; });
    LevelsHistogramKey strange = key;
    strange.recovery.input = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(UpdateLevelsHistogram(frame.get(), strange, &histogram));
    EXPECT_FALSE(UpdateLevelsHistogram(frame.get(), strange, &histogram)); // a NaN is not another one each time
}

TEST(LevelsHistogram, WithoutAFrameItIsEmptyAndSaysNothing)
{
    LogCatch log;
    for (const uint32_t binCount : {128u, 256u, 512u}) EXPECT_EQ(OnlyBin(Built(nullptr, 1, binCount)), kLevelsMostBins);
    EXPECT_EQ(log.Text(), "");
}

TEST(LevelsHistogram, OfAFormatThatNobodyCountsItIsEmptyAndSaysSo)
{
    LogCatch log;
    EXPECT_EQ(OnlyBin(Built(MakeFrame(4, 4, pixFormatRGBA32_Float).get(), 1, 256)), kLevelsMostBins);
    EXPECT_EQ(log.Text(), "FBIterateFrame: Unsupported frame buffer pixel format ca\n");
}

TEST(LevelsHistogram, ABinWithTwoPercentOfThePixelsReachesTheTop)
{
    LevelsHistogram histogram = {};
    histogram.key = {.frame = nullptr,
                     .frameVersion = 0,
                     .width = 100,
                     .height = 100,
                     .channel = 1,
                     .binCount = 256,
                     .recovery = {}};
    histogram.bin[3] = 200;
    histogram.bin[4] = 100;
    histogram.bin[5] = 5000;
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 3, 80), 80);
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 4, 80), 40);
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 5, 80), 80); // clipped
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 6, 80), 0);
    histogram.key.binCount = 128; // twice the pixels a bin: twice the scale
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 3, 80), 40);
    histogram.key.binCount = 256;
    histogram.key.width = 1000; // a wide picture: half
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 4, 80), 8);
    histogram.key.height = 1000;
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 3, 80), 3.2);
    histogram.key.width = 1920;
    histogram.key.height = 1080;
    histogram.bin[7] = 1920 * 1080 / 200; // half a percent
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 7, 80), 80);
    histogram.bin[7] /= 2;
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 7, 80), 40);
    histogram.key.width = histogram.key.height = 2; // at least 50
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 4, 80), 80);
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, kLevelsMostBins, 80), 0);
    EXPECT_DOUBLE_EQ(LevelsColumnHeight(histogram, 3, 0), 0);
}
