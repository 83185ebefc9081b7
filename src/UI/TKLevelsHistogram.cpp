// Counting the source picture for the levels control.
#include "src/UI/TKLevelsHistogram.h"

#include "src/OCLumaTable.h"
#include "src/TincturaUIDisp.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

enum : uint32_t { master = 1, red = 2, green = 3, blue = 4 };
constexpr float kRecoveryReach = 0.4f;

template <class Value> Value ReadAt(const uint8_t* address)
{
    Value value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

/// Without branches, so that the compiler does several at a time. A NaN gives 0.
int32_t CodeOf(float value)
{
    const float rounded = value * 255.0f + 0.5f;
    const float atLeast = rounded >= 1 ? rounded : 0;
    return static_cast<int32_t>(atLeast >= 255 ? 255 : atLeast);
}

/// What a pixel of this luma is multiplied by; no luma is above a threshold of infinity. Likewise without branches.
float RecoveryFactor(float luma, float threshold)
{
    const float eased = (luma - threshold) * 0.5f + threshold;
    const bool above = luma > threshold;
    const float numerator = above ? eased : 1, denominator = above ? luma : 1;
    return numerator / denominator;
}

float ThresholdOf(float amount)
{
    return amount > 0 ? 1 - kRecoveryReach * amount : std::numeric_limits<float>::infinity();
}

/// Neighbours of one row, done together.
constexpr uint32_t kChunk = 256;

struct Chunk {
    float luma[kChunk], value[kChunk];
    int32_t code[kChunk];
};

void Recover(Chunk* chunk, float amount)
{
    const float threshold = ThresholdOf(amount);
    for (uint32_t i = 0; i < kChunk; ++i) {
        const float factor = RecoveryFactor(chunk->luma[i], threshold);
        chunk->luma[i] *= factor;
        chunk->value[i] *= factor;
    }
}

size_t PlaneOf(uint32_t channel)
{
    return channel == master ? 3 : channel - red;
}

uint32_t WordCode(uint32_t word, bool alphaFirst, uint32_t channel, const uint8_t* table)
{
    const uint32_t r = word >> (alphaFirst ? 16 : 8) & 255, g = word >> (alphaFirst ? 8 : 16) & 255,
                   b = word >> (alphaFirst ? 0 : 24) & 255;
    switch (channel) {
    case red: return r;
    case green: return g;
    case blue: return b;
    default: return std::min<uint32_t>(uint32_t{table[r]} + table[256 + g] + table[512 + b], 255);
    }
}

/// Adds pixels of one level.
void Add(LevelsHistogram* histogram, uint32_t code, uint32_t count)
{
    switch (histogram->key.binCount) {
    case 128: histogram->bin[code / 2] += count; break;
    case 512:
        histogram->bin[2 * code] += count;
        histogram->bin[2 * code + 1] += count;
        break;
    default: histogram->bin[code] += count;
    }
}

bool IsCounted(FBPixelFormat format)
{
    return format == pixFormatRGBYPlanar_Float || format == pixFormatARGB8 || format == pixFormatBGRA8;
}

/// Counts of all levels, in two sets so that neighbours of one level do not wait for each other.
struct Tally {
    uint32_t count[2][256];
};

void CountWords(const FBFrame& frame, uint32_t channel, Tally* tally)
{
    const uint8_t* table = GetCurrentLumaTable();
    const bool alphaFirst = frame.pixelFormat == pixFormatARGB8;
    for (uint32_t row = 0; row < frame.height; ++row) {
        const uint8_t* pixel = frame.baseAddr + size_t{row} * frame.rowBytes;
        for (uint32_t column = 0; column < frame.width; ++column, pixel += 4)
            ++tally->count[column & 1][WordCode(ReadAt<uint32_t>(pixel), alphaFirst, channel, table)];
    }
}

void CountPlanes(const FBFrame& frame, const LevelsHistogramKey& key, Tally* tally)
{
    const bool recovers = key.recovery.input > 0 || key.recovery.output > 0;
    Chunk chunk = {};
    for (uint32_t row = 0; row < frame.height; ++row) {
        const uint8_t* pixel = frame.baseAddr + size_t{row} * frame.rowBytes;
        for (uint32_t done = 0; done < frame.width; done += kChunk) {
            const uint32_t count = std::min(kChunk, frame.width - done);
            const uint8_t* from = pixel + size_t{done} * sizeof(float);
            std::memcpy(chunk.value, from + PlaneOf(key.channel) * frame.planeBytes, count * sizeof(float));
            if (recovers) {
                std::memcpy(chunk.luma, from + size_t{3} * frame.planeBytes, count * sizeof(float));
                if (key.recovery.input > 0) Recover(&chunk, key.recovery.input);
                if (key.recovery.output > 0) Recover(&chunk, key.recovery.output);
            }
            for (uint32_t i = 0; i < kChunk; ++i) chunk.code[i] = CodeOf(chunk.value[i]);
            for (uint32_t i = 0; i < count; ++i) ++tally->count[i & 1][chunk.code[i]];
        }
    }
}

bool SameKey(const LevelsHistogramKey& a, const LevelsHistogramKey& b)
{
    const auto same = [](float left, float right) { return left == right || (left != left && right != right); };
    return a.frame == b.frame && a.frameVersion == b.frameVersion && a.width == b.width && a.height == b.height &&
           a.channel == b.channel && a.binCount == b.binCount && same(a.recovery.input, b.recovery.input) &&
           same(a.recovery.output, b.recovery.output);
}

} // namespace

void LevelsPixelCallback(uint8_t* pixel, const FBFrame* frame, void* histogram)
{
    auto* counted = static_cast<LevelsHistogram*>(histogram);
    if (!IsCounted(frame->pixelFormat)) return;
    const LevelsHistogramKey& key = counted->key;
    if (frame->pixelFormat != pixFormatRGBYPlanar_Float) {
        const bool alphaFirst = frame->pixelFormat == pixFormatARGB8;
        Add(counted, WordCode(ReadAt<uint32_t>(pixel), alphaFirst, key.channel, GetCurrentLumaTable()), 1);
        return;
    }
    float luma = ReadAt<float>(pixel + size_t{3} * frame->planeBytes);
    float value = ReadAt<float>(pixel + PlaneOf(key.channel) * frame->planeBytes);
    for (const float amount : {key.recovery.input, key.recovery.output}) {
        const float factor = RecoveryFactor(luma, ThresholdOf(amount));
        luma *= factor;
        value *= factor;
    }
    Add(counted, static_cast<uint32_t>(CodeOf(value)), 1);
}

void BuildLevelsHistogram(const FBFrame* frame, LevelsHistogram* histogram)
{
    std::fill_n(histogram->bin, kLevelsMostBins, 0u);
    if (!frame || !frame->baseAddr) return;
    if (!IsCounted(frame->pixelFormat)) {
        FBIterateFrame(frame, LevelsPixelCallback, histogram); // says what it thinks of the format
        return;
    }
    Tally tally = {};
    if (frame->pixelFormat == pixFormatRGBYPlanar_Float)
        CountPlanes(*frame, histogram->key, &tally);
    else
        CountWords(*frame, histogram->key.channel, &tally);
    for (uint32_t code = 0; code < 256; ++code) Add(histogram, code, tally.count[0][code] + tally.count[1][code]);
}

bool LevelsHistogramIsFor(const LevelsHistogram& histogram, const LevelsHistogramKey& key)
{
    return histogram.made && SameKey(histogram.key, key);
}

bool UpdateLevelsHistogram(const FBFrame* frame, const LevelsHistogramKey& key, LevelsHistogram* histogram)
{
    if (LevelsHistogramIsFor(*histogram, key)) return false;
    histogram->made = true;
    histogram->key = key;
    BuildLevelsHistogram(frame, histogram);
    return true;
}

double LevelsColumnHeight(const LevelsHistogram& histogram, uint32_t bin, int32_t plotHeight)
{
    if (bin >= kLevelsMostBins || plotHeight <= 0) return 0;
    // The rule counts the two rows of an outline, which stands outside this plot.
    const double scale =
        HistogramScale(histogram.key.width, histogram.key.height, plotHeight + 2, histogram.key.binCount == 128);
    return std::min(histogram.bin[bin] * scale, static_cast<double>(plotHeight));
}
