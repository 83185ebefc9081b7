// Counting the source picture for the levels control.
#include "src/UI/TKLevelsHistogram.h"

#include "src/OCLumaTable.h"
#include "src/TincturaUIDisp.h"

#include <algorithm>
#include <cstring>

namespace {

enum : uint32_t { master = 1, red = 2, green = 3, blue = 4 };
constexpr float kRecoveryReach = 0.4f;

template <class Value> Value ReadAt(const uint8_t* address)
{
    Value value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

uint32_t CodeOf(float value)
{
    const float rounded = value * 255.0f + 0.5f;
    if (!(rounded >= 1)) return 0; // a NaN too
    return rounded >= 255 ? 255 : static_cast<uint32_t>(rounded);
}

/// What a pixel of this luma is multiplied by.
float RecoveryFactor(float luma, float amount)
{
    if (!(amount > 0)) return 1;
    const float threshold = 1 - kRecoveryReach * amount;
    return luma > threshold ? ((luma - threshold) * 0.5f + threshold) / luma : 1;
}

uint32_t PlanarCode(const uint8_t* pixel, const FBFrame& frame, const LevelsHistogramKey& key)
{
    float luma = ReadAt<float>(pixel + size_t{3} * frame.planeBytes);
    float value = key.channel == master ? luma : ReadAt<float>(pixel + (key.channel - red) * size_t{frame.planeBytes});
    for (const float amount : {key.recovery.input, key.recovery.output}) {
        const float factor = RecoveryFactor(luma, amount);
        luma *= factor;
        value *= factor;
    }
    return CodeOf(value);
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

/// Counts levels and spreads them over the bins at the end. Neighbours count apart: equal ones do not wait for each
/// other.
template <class CodeAt> void Tally(const FBFrame& frame, LevelsHistogram* histogram, CodeAt codeAt)
{
    uint32_t count[2][256] = {};
    for (uint32_t row = 0; row < frame.height; ++row) {
        const uint8_t* pixel = frame.baseAddr + size_t{row} * frame.rowBytes;
        for (uint32_t column = 0; column < frame.width; ++column, pixel += 4) ++count[column & 1][codeAt(pixel)];
    }
    for (uint32_t code = 0; code < 256; ++code) Add(histogram, code, count[0][code] + count[1][code]);
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
    const uint32_t code = frame->pixelFormat == pixFormatRGBYPlanar_Float
                              ? PlanarCode(pixel, *frame, key)
                              : WordCode(ReadAt<uint32_t>(pixel), frame->pixelFormat == pixFormatARGB8, key.channel,
                                         GetCurrentLumaTable());
    Add(counted, code, 1);
}

void BuildLevelsHistogram(const FBFrame* frame, LevelsHistogram* histogram)
{
    std::fill_n(histogram->bin, kLevelsMostBins, 0u);
    if (!frame || !frame->baseAddr || !IsCounted(frame->pixelFormat)) return;
    const LevelsHistogramKey& key = histogram->key;
    if (frame->pixelFormat != pixFormatRGBYPlanar_Float) {
        const bool alphaFirst = frame->pixelFormat == pixFormatARGB8;
        Tally(*frame, histogram, [alphaFirst, channel = key.channel, table = GetCurrentLumaTable()](const uint8_t* p) {
            return WordCode(ReadAt<uint32_t>(p), alphaFirst, channel, table);
        });
    } else if (key.recovery.input > 0 || key.recovery.output > 0) {
        Tally(*frame, histogram, [frame, key](const uint8_t* p) { return PlanarCode(p, *frame, key); });
    } else {
        const size_t plane = key.channel == master ? 3 : key.channel - red;
        Tally(*frame, histogram,
              [offset = plane * frame->planeBytes](const uint8_t* p) { return CodeOf(ReadAt<float>(p + offset)); });
    }
}

bool UpdateLevelsHistogram(const FBFrame* frame, const LevelsHistogramKey& key, LevelsHistogram* histogram)
{
    if (histogram->made && SameKey(histogram->key, key)) return false;
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
