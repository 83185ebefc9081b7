// Automatic corrections: levels from the histogram of a frame.
//
// They write values into the grade and nothing else: switches stay as they are, and recording the state for undo,
// showing the values and rendering is the caller's. Values are what the formulas give: a denominator of 0 is not
// guarded, so an infinite value or a NaN may stand in the record, which the engine bears. Frames are counted in formats
// 203, 201 and 32. A histogram that cannot be allocated, or that counts no pixel, leaves the grade as it is.
#pragma once

#include "src/OCSettings.h"
#include "src/TincturaFrameBuffer.h"

/// The share of the darkest and brightest pixels that Auto Color gives up in each channel.
inline constexpr double kOCColorTrim = 0.0007;

/// Sets `inblackpt` and `inwhitept` of the Levels master block to the ends of the luma histogram. The gray point stays.
///
/// frame          the source frame
/// autoLumaTrim   share of pixels given up at each end, the preference "Auto Luma Trim"; a NaN or less than 0 counts as 0
///
/// Returns false when nothing could be counted: the settings are as they were.   Thread: main.
bool OCAutoExposure(const FBFrame* frame, OCSettings* settings, float autoLumaTrim);

/// Sets `inblackpt` and `inwhitept` of the red, green and blue block to the ends of the channel's histogram, and
/// `ingraypt` to 0.5. Returns false when nothing could be counted: the settings are as they were.   Thread: main.
bool OCAutoColor(const FBFrame* frame, OCSettings* settings);

/// Moves `ingraypt` of the red, green and blue block so that the channels' means meet the largest one. When the two
/// largest means are equal the exponents stay. Returns false when nothing could be counted: the settings are as they were.
/// Thread: main.
bool OCBalanceGamma(const FBFrame* frame, OCSettings* settings);

/// The command "Auto Exposure" without undo, controls and picture: OCAutoExposure. Returns the tool mask of the groups
/// that were written, for UpdateAllControls; 0 when nothing could be counted, and nothing was written.   Thread: main.
uint32_t OCRunAutoExposure(const FBFrame* frame, OCSettings* settings, float autoLumaTrim);

/// The command "Auto Color", likewise: the three gray points to 0.5, OCAutoColor, OCBalanceGamma.   Thread: main.
uint32_t OCRunAutoColor(const FBFrame* frame, OCSettings* settings);

/// The ends of a histogram: the first bin from below, and the first from above, at which the cumulative count reaches
/// `count`. A count that is never reached ends at the far side.
struct OCTrim {
    uint32_t blackBin, whiteBin;
};
OCTrim OCTrimBins(const uint32_t* bins, uint32_t binCount, uint64_t count);
