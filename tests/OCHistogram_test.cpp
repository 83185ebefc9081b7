// Counting pixels: every format and bin count, the ends of the scale, the fast road against the pixel routine.
#include "src/OCHistogram.h"

#include "src/OCLumaTable.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

struct Histogram {
    HistogramSet set = {};
    explicit Histogram(uint32_t binCount) { EXPECT_EQ(OCCreateHistogram(binCount, &set), bpNoErr); }
    ~Histogram() { OCDisposeHistogram(&set); }
    Histogram(const Histogram&) = delete;
    Histogram& operator=(const Histogram&) = delete;
};

/// The four arrays of a histogram one after the other.
std::vector<uint32_t> BinsOf(const HistogramSet& set)
{
    std::vector<uint32_t> all;
    for (const uint32_t* bins : {set.lumaBins, set.redBins, set.greenBins, set.blueBins})
        all.insert(all.end(), bins, bins + set.binCount);
    return all;
}

/// The rule once more: a real number to a code by the nearest whole number, halves upward.
int ModelCode(float value)
{
    if (std::isnan(value)) return 0;
    int code = 0;
    while (code < 255 && value * 255.0f >= static_cast<float>(code) + 0.5f) ++code;
    return code;
}

/// The codes of a frame's pixels as FBIterateFrame visits them, by another way of reading.
std::vector<std::array<int, 3>> ModelCodes(const FBFrame& frame)
{
    std::vector<std::array<int, 3>> codes;
    for (uint32_t row = 0; row < frame.height; ++row)
        for (uint32_t column = 0; column < frame.width; ++column) {
            std::array<int, 3> code = {};
            for (uint32_t c = 0; c < 3; ++c) {
                const uint8_t* start = frame.baseAddr + row * frame.rowBytes;
                if (frame.pixelFormat == pixFormatRGBYPlanar_Float)
                    code[c] = ModelCode(At(frame, c, row, column));
                else if (frame.pixelFormat == pixFormatYRGB32_Float)
                    code[c] = ModelCode(reinterpret_cast<const float*>(start)[column + c]);
                else
                    code[c] = start[column * 4 + 2 - c]; // in memory blue, green, red
            }
            codes.push_back(code);
        }
    return codes;
}

std::vector<uint32_t> ModelBins(const FBFrame& frame, uint32_t binCount, const std::array<double, 3>& weights)
{
    std::vector<uint32_t> all(binCount * 4);
    for (const auto& code : ModelCodes(frame)) {
        int luma = 0;
        for (uint32_t c = 0; c < 3; ++c) luma += static_cast<int>(std::lround(code[c] * weights[c]));
        for (uint32_t array = 0; array < 4; ++array) {
            const auto value = static_cast<uint32_t>(array == 0 ? luma : code[array - 1]);
            uint32_t* bins = &all[array * binCount];
            if (binCount == 128) ++bins[value / 2];
            if (binCount == 256) ++bins[value];
            if (binCount == 512) ++bins[value * 2], ++bins[value * 2 + 1];
        }
    }
    return all;
}

void FillFrame(const FBFrame& frame, Random& random)
{
    if (frame.pixelFormat == pixFormatARGB8) {
        for (size_t i = 0; i < size_t{frame.rowBytes} * frame.height; ++i)
            frame.baseAddr[i] = static_cast<uint8_t>(random());
        return;
    }
    auto* floats = reinterpret_cast<float*>(frame.baseAddr);
    for (size_t i = 0; i < size_t{frame.planeBytes} * frame.planeCount / 4; ++i) floats[i] = RandomSignal(random);
}

constexpr std::array<double, 3> k709 = {0.2126, 0.7152, 0.0722};

} // namespace

TEST(OCHistogram, IsOneZeroedBlockOf4096BytesInTheOrderLumaRedGreenBlue)
{
    Histogram h(256);
    EXPECT_EQ(h.set.binCount, 256u);
    EXPECT_EQ(h.set.lastBin, 255u);
    EXPECT_EQ(h.set.redBins - h.set.lumaBins, 256);
    EXPECT_EQ(h.set.greenBins - h.set.redBins, 256);
    EXPECT_EQ(h.set.blueBins - h.set.greenBins, 256);
    for (uint32_t i = 0; i < 1024; ++i) EXPECT_EQ(h.set.lumaBins[i], 0u);
}

TEST(OCHistogram, WithoutMemoryThereIsNone)
{
    HistogramSet set = {
        .binCount = 9, .lastBin = 9, .lumaBins = nullptr, .redBins = {}, .greenBins = {}, .blueBins = {}};
    BPFailAllocation(1);
    EXPECT_EQ(OCCreateHistogram(256, &set), bpMemFullErr);
    BPFailAllocation(0);
    EXPECT_EQ(set.binCount, 0u);
    EXPECT_EQ(set.lumaBins, nullptr);
    OCDisposeHistogram(&set);
}

TEST(OCHistogram, CountsEveryFormatWithEveryBinCount)
{
    (void)GetLumaTable(ocMatrix709);
    Random random(31);
    for (FBPixelFormat format : {pixFormatRGBYPlanar_Float, pixFormatYRGB32_Float, pixFormatARGB8})
        for (uint32_t binCount : {128u, 256u, 512u})
            for (uint32_t width : {1u, 2u, 5u, 16u, 67u}) {
                const FramePtr frame = MakeFrame(width, 7, format);
                FillFrame(*frame, random);
                Histogram h(binCount);
                FBIterateFrame(frame.get(), HistogramEQPixelCallback, &h.set);
                EXPECT_EQ(BinsOf(h.set), ModelBins(*frame, binCount, k709))
                    << format << ' ' << binCount << ' ' << width;
                Histogram fast(binCount);
                OCCountFrame(frame.get(), &fast.set);
                EXPECT_EQ(BinsOf(fast.set), BinsOf(h.set)) << format << ' ' << binCount << ' ' << width;
            }
}

TEST(OCHistogram, FloatsAreRoundedAndTheEndsHoldWhatLiesBeyond)
{
    const struct {
        float value;
        uint32_t bin;
    } rows[] = {{0, 0},
                {-0.0f, 0},
                {1, 255},
                {0.5f, 128}, // 127.5 rounds upward
                {0.25f, 64},
                {0.4f / 255, 0},
                {0.6f / 255, 1},
                {254.4f / 255, 254},
                {-3, 0},
                {2, 255},
                {1e30f, 255},
                {-1e30f, 0},
                {kInfinity, 255},
                {-kInfinity, 0},
                {kNaN, 0},
                {-kNaN, 0},
                {std::numeric_limits<float>::denorm_min(), 0}};
    for (const auto& row : rows) {
        const FramePtr frame = MakeFrame(1, 1);
        for (uint32_t plane = 0; plane < 4; ++plane) At(*frame, plane, 0, 0) = plane == 1 ? row.value : 0.1f;
        Histogram h(256);
        HistogramEQPixelCallback(frame->baseAddr, frame.get(), &h.set);
        EXPECT_EQ(h.set.greenBins[row.bin], 1u) << row.value;
        EXPECT_EQ(h.set.redBins[26], 1u);
    }
}

TEST(OCHistogram, LumaComesFromTheLatestTableNotFromTheLumaPlane)
{
    const FramePtr frame = MakeFrame(1, 1);
    At(*frame, 0, 0, 0) = 1; // red alone
    At(*frame, 3, 0, 0) = 0.9f;
    const uint32_t expected[3] = {76, 54, 54};
    for (int32_t matrix = 0; matrix < 3; ++matrix) {
        (void)GetLumaTable(matrix);
        Histogram h(256);
        FBIterateFrame(frame.get(), HistogramEQPixelCallback, &h.set);
        EXPECT_EQ(h.set.lumaBins[expected[matrix]], 1u) << matrix;
    }
    (void)GetLumaTable(ocMatrix709);
}

TEST(OCHistogram, AFrameOfInterleavedFloatsIsWalkedByItsFirstQuarter)
{
    // Four pixels, sixteen floats: the walk visits floats 0 to 3 and takes the two behind each as green and blue.
    const FramePtr frame = MakeFrame(4, 1, pixFormatYRGB32_Float);
    auto* floats = reinterpret_cast<float*>(frame->baseAddr);
    for (int i = 0; i < 16; ++i) floats[i] = static_cast<float>(i * 10) / 255;
    Histogram h(256);
    FBIterateFrame(frame.get(), HistogramEQPixelCallback, &h.set);
    for (uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(h.set.redBins[i * 10], 1u);
        EXPECT_EQ(h.set.greenBins[(i + 1) * 10], 1u);
        EXPECT_EQ(h.set.blueBins[(i + 2) * 10], 1u);
    }
    EXPECT_EQ(h.set.redBins[40], 0u);
}

TEST(OCHistogram, With128BinsNeighboursShareABin)
{
    const FramePtr frame = MakeFrame(2, 1, pixFormatARGB8);
    const uint32_t words[2] = {0xFF0A0B0C, 0xFF0B0A0D}; // red 10 and 11, green 11 and 10, blue 12 and 13
    std::memcpy(frame->baseAddr, words, sizeof words);
    Histogram h(128);
    FBIterateFrame(frame.get(), HistogramEQPixelCallback, &h.set);
    EXPECT_EQ(h.set.redBins[5], 2u);
    EXPECT_EQ(h.set.greenBins[5], 2u);
    EXPECT_EQ(h.set.blueBins[6], 2u);
}

TEST(OCHistogram, With512BinsTheBinAboveIsCountedToo)
{
    const FramePtr frame = MakeFrame(1, 1, pixFormatARGB8);
    const uint32_t word = 0x00FF0064; // red 255, green 0, blue 100
    std::memcpy(frame->baseAddr, &word, sizeof word);
    Histogram h(512);
    FBIterateFrame(frame.get(), HistogramEQPixelCallback, &h.set);
    EXPECT_EQ(h.set.redBins[510] + h.set.redBins[511], 2u);
    EXPECT_EQ(h.set.greenBins[0] + h.set.greenBins[1], 2u);
    EXPECT_EQ(h.set.blueBins[200] + h.set.blueBins[201], 2u);
    EXPECT_EQ(OCMeasureBins(h.set.redBins, 512).total, 2u);
}

TEST(OCHistogram, ArraysThatAreNotThereAreNotCounted)
{
    const FramePtr frame = MakeFrame(3, 3);
    Histogram h(256);
    HistogramSet green = h.set;
    green.lumaBins = green.redBins = green.blueBins = nullptr;
    FBIterateFrame(frame.get(), HistogramEQPixelCallback, &green);
    OCCountFrame(frame.get(), &green);
    EXPECT_EQ(h.set.greenBins[0], 18u);
    EXPECT_EQ(h.set.lumaBins[0] + h.set.redBins[0] + h.set.blueBins[0], 0u);
}

TEST(OCHistogram, OtherFormatsAreLoggedAndNotCounted)
{
    const FramePtr bgra = MakeFrame(1, 1, pixFormatBGRA8), alpha = MakeFrame(1, 1, pixFormatA8);
    Histogram h(256);
    {
        LogCatch log;
        FBIterateFrame(bgra.get(), HistogramEQPixelCallback, &h.set);
        EXPECT_EQ(log.Text(), "HistogramEQPixelCallback: Unsupported frame buffer pixel format 42475241\n");
    }
    {
        LogCatch log;
        HistogramEQPixelCallback(alpha->baseAddr, alpha.get(), &h.set);
        EXPECT_EQ(log.Text(), "HistogramEQPixelCallback: Unsupported frame buffer pixel format d8\n");
    }
    {
        LogCatch log;
        OCCountFrame(bgra.get(), &h.set);
        OCCountFrame(alpha.get(), &h.set);
        EXPECT_EQ(log.Text(), "HistogramEQPixelCallback: Unsupported frame buffer pixel format 42475241\n"
                              "FBIterateFrame: Unsupported frame buffer pixel format d8\n");
    }
    for (uint32_t bin : BinsOf(h.set)) EXPECT_EQ(bin, 0u);
}

TEST(OCHistogram, TheMeanIsCutAndTheEndsAreTheNonEmptyBins)
{
    uint32_t bins[256] = {};
    EXPECT_EQ(OCMeasureBins(bins, 256).total, 0u);
    EXPECT_EQ(OCMeasureBins(bins, 256).mean, 0u);
    bins[10] = 1;
    bins[13] = 1;
    bins[200] = 1;
    const OCBinStatistics s = OCMeasureBins(bins, 256);
    EXPECT_EQ(s.total, 3u);
    EXPECT_EQ(s.mean, 74u); // 223 / 3
    EXPECT_EQ(s.lowest, 10u);
    EXPECT_EQ(s.highest, 200u);
    bins[255] = UINT32_MAX; // the sum does not fit 32 bits
    EXPECT_EQ(OCMeasureBins(bins, 256).mean, 254u);
}
