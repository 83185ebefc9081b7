// Histograms of a frame: how many pixels have each value of luma, red, green and blue.
#pragma once

#include "src/TincturaFrameBuffer.h"

/// Counters of one picture. Any of the arrays may be null: it is not counted then.
struct HistogramSet {
    uint32_t binCount; ///< 256; 128 with two values a bin, 512 with two bins a value; displays have 768 and 1024 too
    uint32_t lastBin;  ///< binCount - 1
    uint32_t* lumaBins;
    uint32_t* redBins;
    uint32_t* greenBins;
    uint32_t* blueBins;
};

inline constexpr uint32_t kOCHistogramBins = 256;

/// Makes four zeroed arrays in one block, in the order luma, red, green, blue.
///
/// binCount    1 or more
/// histogram   receives the record, to be released with OCDisposeHistogram; all zero after a failure
///
/// Returns bpNoErr, or bpMemFullErr.   Thread: any, own record.
BPStatus OCCreateHistogram(uint32_t binCount, HistogramSet* histogram);

/// Releases the arrays and clears the record. A record without arrays is left alone.
void OCDisposeHistogram(HistogramSet* histogram);

/// The pixel routine for FBIterateFrame; `histogram` is a HistogramSet. Formats 203, 201 and 32 are counted, any other
/// writes a line to the log.
///
/// Floats are multiplied by 255 and rounded; what lies beyond the scale counts in the first or last bin, and so does a
/// NaN in the first. Luma is the sum of three entries of the latest luma table, whatever the frame's own luma plane
/// holds. With 128 bins all values are halved; with 512 they are doubled and the bin above is counted too.
/// Thread: main.
void HistogramEQPixelCallback(uint8_t* pixel, const FBFrame* frame, void* histogram);

/// Counts every pixel that FBIterateFrame visits, with the result of HistogramEQPixelCallback, only faster.
/// Thread: main.
void OCCountFrame(const FBFrame* frame, HistogramSet* histogram);

/// What one array tells. Without a counted pixel all is 0.
struct OCBinStatistics {
    uint64_t total;           ///< counted pixels
    uint32_t mean;            ///< of the bins, each as often as it was counted; cut to a whole number
    uint32_t lowest, highest; ///< non-empty bins
};
OCBinStatistics OCMeasureBins(const uint32_t* bins, uint32_t binCount);
