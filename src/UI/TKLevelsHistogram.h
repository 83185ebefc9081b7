// The histogram behind the levels handles: how often each level of one channel occurs in the source picture.
//
// Thread of everything here: main, with the frame at rest.
#pragma once

#include "src/TincturaFrameBuffer.h"

inline constexpr uint32_t kLevelsMostBins = 512;

/// Highlight recovery as the record has it; 0 or less, and a NaN, is none. Where luma is above 1 - 0.4 times a value, it
/// is compressed to half its slope: first by `input`, then once more by `output`.
struct LevelsRecovery {
    float input, output;
};

/// What a histogram is made from, beside the pixels.
struct LevelsHistogramKey {
    const FBFrame* frame;  ///< may be null; only compared
    uint32_t frameVersion; ///< another one for other pixels
    uint32_t width, height;
    uint32_t channel;  ///< 1 master (luma), 2 red, 3 green, 4 blue
    uint32_t binCount; ///< 128, 256 or 512
    LevelsRecovery recovery;
};

struct LevelsHistogram {
    bool made;
    LevelsHistogramKey key;
    uint32_t bin[kLevelsMostBins]; ///< those from key.binCount on are 0
};

/// The pixel routine for FBIterateFrame; `histogram` is a LevelsHistogram with its key filled. 8-bit pixels (32, BGRA)
/// count red, green and blue as they are and luma by the latest luma table; planar floats (203) count each component
/// times 255, rounded, what lies beyond the scale in the first or last bin, a NaN in the first. With 128 bins levels are
/// halved; with 512 they are doubled and the bin above is counted too. Other formats count nothing.
void LevelsPixelCallback(uint8_t* pixel, const FBFrame* frame, void* histogram);

/// Counts the whole frame with the result of LevelsPixelCallback, only faster. Without a frame all bins are 0.
void BuildLevelsHistogram(const FBFrame* frame, LevelsHistogram* histogram);

/// Whether the histogram was made from this.
bool LevelsHistogramIsFor(const LevelsHistogram& histogram, const LevelsHistogramKey& key);

/// Builds the histogram anew when it is another one than it was made for. True when it was built.
bool UpdateLevelsHistogram(const FBFrame* frame, const LevelsHistogramKey& key, LevelsHistogram* histogram);

/// Height in pixels of the column over a bin in a plot of `plotHeight`, at most that: a bin with 2 percent of the pixels
/// reaches the top, with the rule of the histogram display for large pictures.
double LevelsColumnHeight(const LevelsHistogram& histogram, uint32_t bin, int32_t plotHeight);
