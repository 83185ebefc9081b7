// Automatic corrections: levels from the histogram of a frame.
#include "src/OCAutoCorrections.h"

#include "src/OCHistogram.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr uint32_t kChannels = 3;
constexpr float kNeutralGray = 0.5f;

/// A histogram of the frame, released at the end. `counted` is false when there is none, or nothing in it.
struct FrameHistogram {
    HistogramSet set = {};
    bool counted = false;

    explicit FrameHistogram(const FBFrame* frame)
    {
        if (OCCreateHistogram(kOCHistogramBins, &set) != bpNoErr) return;
        OCCountFrame(frame, &set);
        counted = OCMeasureBins(set.redBins, set.binCount).total != 0;
    }
    ~FrameHistogram() { OCDisposeHistogram(&set); }
    FrameHistogram(const FrameHistogram&) = delete;
    FrameHistogram& operator=(const FrameHistogram&) = delete;

    const uint32_t* Channel(uint32_t channel) const
    {
        return channel == 0 ? set.redBins : channel == 1 ? set.greenBins : set.blueBins;
    }
};

/// Pixels of a share of the frame, cut to a whole number.
uint64_t TrimCount(const FBFrame& frame, double share)
{
    const double count = static_cast<double>(uint64_t{frame.width} * frame.height) * share;
    if (!(count >= 1)) return 0; // a NaN too
    return count < 1e18 ? static_cast<uint64_t>(count) : UINT64_MAX;
}

void SetEnds(OCLevelsBlock* block, const uint32_t* bins, uint64_t count)
{
    const OCTrim trim = OCTrimBins(bins, kOCHistogramBins, count);
    block->inblackpt = static_cast<float>(trim.blackBin / 255.0);
    block->inwhitept = static_cast<float>(trim.whiteBin / 255.0);
}

/// The exponent that a gray point stands for.
float ExponentOf(const OCLevelsBlock& block)
{
    const float g = (block.ingraypt - block.inblackpt) / (block.inwhitept - block.inblackpt);
    if (g < 0.5f) return 1 / (10 * (0.5f - g) + 1);
    if (!(g > 0.5f)) return 1;
    const float d = 1 - 2 * (g - 0.5f);
    return d == 0 ? 1000000.0f : 1 / d;
}

/// The position between black and white, 0 to 1, that stands for an exponent.
float GrayOf(float exponent)
{
    if (exponent > 1) return 1 - 1 / (2 * exponent);
    if (exponent < 1) return (6 - 1 / exponent) / 10;
    return kNeutralGray;
}

/// What each channel's exponent is divided by: the largest mean over its own. All 1 when no mean is the largest.
void RatiosOf(const float (&mean)[kChannels], float (&ratio)[kChannels])
{
    for (float& r : ratio) r = 1;
    for (uint32_t c = 0; c < kChannels; ++c) {
        const float first = mean[(c + 1) % kChannels], second = mean[(c + 2) % kChannels];
        if (!(mean[c] > first && mean[c] > second)) continue;
        ratio[(c + 1) % kChannels] = mean[c] / first;
        ratio[(c + 2) % kChannels] = mean[c] / second;
    }
}

} // namespace

OCTrim OCTrimBins(const uint32_t* bins, uint32_t binCount, uint64_t count)
{
    OCTrim trim = {.blackBin = 0, .whiteBin = binCount - 1};
    for (uint64_t sum = bins[0]; sum < count && trim.blackBin + 1 < binCount;) sum += bins[++trim.blackBin];
    for (uint64_t sum = bins[binCount - 1]; sum < count && trim.whiteBin > 0;) sum += bins[--trim.whiteBin];
    return trim;
}

bool OCAutoExposure(const FBFrame* frame, OCSettings* settings, float autoLumaTrim)
{
    const FrameHistogram histogram(frame);
    if (!histogram.counted) return false;
    SetEnds(&settings->levels[0], histogram.set.lumaBins, TrimCount(*frame, static_cast<double>(autoLumaTrim)));
    return true;
}

bool OCAutoColor(const FBFrame* frame, OCSettings* settings)
{
    const FrameHistogram histogram(frame);
    if (!histogram.counted) return false;
    for (uint32_t c = 0; c < kChannels; ++c) {
        SetEnds(&settings->levels[c + 1], histogram.Channel(c), TrimCount(*frame, kOCColorTrim));
        settings->levels[c + 1].ingraypt = kNeutralGray;
    }
    return true;
}

bool OCBalanceGamma(const FBFrame* frame, OCSettings* settings)
{
    const FrameHistogram histogram(frame);
    if (!histogram.counted) return false;
    float mean[kChannels], ratio[kChannels];
    for (uint32_t c = 0; c < kChannels; ++c) {
        const OCBinStatistics bins = OCMeasureBins(histogram.Channel(c), kOCHistogramBins);
        mean[c] = static_cast<float>(bins.mean) / 255.0f;
    }
    RatiosOf(mean, ratio);
    for (uint32_t c = 0; c < kChannels; ++c) {
        OCLevelsBlock& block = settings->levels[c + 1];
        const float gray = GrayOf(ExponentOf(block) / ratio[c]);
        block.ingraypt = (block.inwhitept - block.inblackpt) * gray + block.inblackpt;
    }
    return true;
}

uint32_t OCRunAutoExposure(const FBFrame* frame, OCSettings* settings, float autoLumaTrim)
{
    return OCAutoExposure(frame, settings, autoLumaTrim) ? kOCResetLevels : 0;
}

uint32_t OCRunAutoColor(const FBFrame* frame, OCSettings* settings)
{
    OCLevelsBlock before[kChannels];
    std::copy_n(settings->levels + 1, kChannels, before);
    if (!OCAutoColor(frame, settings)) return 0; // it sets the gray points too
    if (!OCBalanceGamma(frame, settings)) {
        std::copy_n(before, kChannels, settings->levels + 1);
        return 0;
    }
    return kOCResetLevels << 1 | kOCResetLevels << 2 | kOCResetLevels << 3;
}
