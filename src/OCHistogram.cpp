// Counting pixels.
#include "src/OCHistogram.h"

#include "src/OCLumaTable.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstring>

namespace {

/// A pixel in steps of 0 to 255.
struct Codes {
    uint32_t red, green, blue;
};

uint32_t CodeOf(float value)
{
    const float rounded = value * 255.0f + 0.5f;
    if (!(rounded >= 1)) return 0; // a NaN too
    return rounded >= 255 ? 255 : static_cast<uint32_t>(rounded);
}

float FloatAt(const uint8_t* address)
{
    float value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

Codes CodesOfPlanes(const uint8_t* pixel, size_t planeBytes)
{
    return {.red = CodeOf(FloatAt(pixel)),
            .green = CodeOf(FloatAt(pixel + planeBytes)),
            .blue = CodeOf(FloatAt(pixel + 2 * planeBytes))};
}

Codes CodesOfWord(const uint8_t* pixel)
{
    uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    return {.red = word >> 16 & 255, .green = word >> 8 & 255, .blue = word & 255};
}

uint32_t LumaOf(const Codes& codes, const uint8_t* table)
{
    return uint32_t{table[codes.red]} + table[256 + codes.green] + table[512 + codes.blue];
}

/// Counts a value of 0 to 255.
void Count(uint32_t* bins, uint32_t value, const HistogramSet& histogram)
{
    if (!bins) return;
    if (histogram.binCount == 128) value /= 2;
    if (histogram.binCount == 512) {
        value *= 2;
        ++bins[std::min(value + 1, histogram.lastBin)];
    }
    ++bins[std::min(value, histogram.lastBin)];
}

void CountPixel(const Codes& codes, const uint8_t* table, const HistogramSet& histogram)
{
    Count(histogram.lumaBins, LumaOf(codes, table), histogram);
    Count(histogram.redBins, codes.red, histogram);
    Count(histogram.greenBins, codes.green, histogram);
    Count(histogram.blueBins, codes.blue, histogram);
}

/// The bytes from one channel to the next of a float format.
size_t ChannelStep(const FBFrame& frame)
{
    return frame.pixelFormat == pixFormatRGBYPlanar_Float ? frame.planeBytes : sizeof(float);
}

/// Counts of all values of one frame, in two sets so that neighbours of one colour do not wait for each other.
struct Tally {
    uint32_t count[2][4][256]; ///< luma, red, green, blue
};

template <class CodesAt> void TallyFrame(const FBFrame& frame, Tally* tally, CodesAt codesAt)
{
    const uint8_t* table = GetCurrentLumaTable();
    for (uint32_t row = 0; row < frame.height; ++row) {
        const uint8_t* pixel = frame.baseAddr + size_t{row} * frame.rowBytes;
        for (uint32_t column = 0; column < frame.width; ++column, pixel += 4) {
            const Codes codes = codesAt(pixel);
            auto& count = tally->count[column & 1];
            ++count[0][LumaOf(codes, table)];
            ++count[1][codes.red];
            ++count[2][codes.green];
            ++count[3][codes.blue];
        }
    }
}

/// Adds a tally to the bins that each value falls into.
void Spread(const Tally& tally, const HistogramSet& histogram)
{
    uint32_t* const arrays[4] = {histogram.lumaBins, histogram.redBins, histogram.greenBins, histogram.blueBins};
    for (uint32_t array = 0; array < 4; ++array) {
        if (!arrays[array]) continue;
        for (uint32_t value = 0; value < 256; ++value) {
            const uint32_t count = tally.count[0][array][value] + tally.count[1][array][value];
            const uint32_t bin = histogram.binCount == 128 ? value / 2 : histogram.binCount == 512 ? value * 2 : value;
            arrays[array][std::min(bin, histogram.lastBin)] += count;
            if (histogram.binCount == 512) arrays[array][std::min(bin + 1, histogram.lastBin)] += count;
        }
    }
}

} // namespace

BPStatus OCCreateHistogram(uint32_t binCount, HistogramSet* histogram)
{
    *histogram = {};
    auto* block = static_cast<uint32_t*>(BPAllocate(size_t{binCount} * 4 * sizeof(uint32_t)));
    if (!block) return bpMemFullErr;
    *histogram = {.binCount = binCount,
                  .lastBin = binCount - 1,
                  .lumaBins = block,
                  .redBins = block + binCount,
                  .greenBins = block + size_t{binCount} * 2,
                  .blueBins = block + size_t{binCount} * 3};
    return bpNoErr;
}

void OCDisposeHistogram(HistogramSet* histogram)
{
    BPFree(histogram->lumaBins);
    *histogram = {};
}

void HistogramEQPixelCallback(uint8_t* pixel, const FBFrame* frame, void* histogram)
{
    const auto& set = *static_cast<const HistogramSet*>(histogram);
    switch (static_cast<int32_t>(frame->pixelFormat)) {
    case pixFormatRGBYPlanar_Float:
    case pixFormatYRGB32_Float:
        CountPixel(CodesOfPlanes(pixel, ChannelStep(*frame)), GetCurrentLumaTable(), set);
        break;
    case pixFormatARGB8: CountPixel(CodesOfWord(pixel), GetCurrentLumaTable(), set); break;
    default:
        BPDebugLog("HistogramEQPixelCallback: Unsupported frame buffer pixel format %x\n",
                   static_cast<unsigned>(frame->pixelFormat));
    }
}

void OCCountFrame(const FBFrame* frame, HistogramSet* histogram)
{
    Tally tally = {};
    if (frame->pixelFormat == pixFormatRGBYPlanar_Float || frame->pixelFormat == pixFormatYRGB32_Float) {
        TallyFrame(*frame, &tally,
                   [step = ChannelStep(*frame)](const uint8_t* pixel) { return CodesOfPlanes(pixel, step); });
    } else if (frame->pixelFormat == pixFormatARGB8) {
        TallyFrame(*frame, &tally, CodesOfWord);
    } else {
        FBIterateFrame(frame, HistogramEQPixelCallback, histogram); // says what it thinks of the format
        return;
    }
    Spread(tally, *histogram);
}

OCBinStatistics OCMeasureBins(const uint32_t* bins, uint32_t binCount)
{
    OCBinStatistics result = {};
    uint64_t sum = 0;
    for (uint32_t bin = 0; bin < binCount; ++bin) {
        if (bins[bin] == 0) continue;
        if (result.total == 0) result.lowest = bin;
        result.highest = bin;
        result.total += bins[bin];
        sum += uint64_t{bin} * bins[bin];
    }
    if (result.total != 0) result.mean = static_cast<uint32_t>(sum / result.total);
    return result;
}
