// Waveform samples a line of columns at a time: for the fast trace, its tests and its benchmarks.
#pragma once

#include "src/TincturaUIDispWaveform.h"

inline constexpr int64_t kWaveformTile = 32; ///< columns that go sample by sample together

/// The luma of a table's three channels without the table: (red * factor[0] + half >> bits) and so on, summed.
struct WaveformLumaFactors {
    uint32_t factor[3];
};

/// False when a channel's entries are no rounded multiples; the factors give each entry exactly otherwise.
bool WaveformLumaFactorsOf(const uint8_t* table, WaveformLumaFactors* factors);

/// Luma codes of pixels with alpha first. Both arrays have room for `count` rounded up to kWaveformTile.
void WaveformLumaOfPixels(const uint8_t* pixels, size_t count, const WaveformLumaFactors& factors, uint16_t* luma);

inline constexpr int64_t kWaveformGuards = 4;       // rows of a tile above and below the clip, and for hits elsewhere
inline constexpr int64_t kWaveformTileRows = 4096;  // at most, guards included
inline constexpr int64_t kWaveformMagnitudes = 226; // lengths of chroma, from 0
inline constexpr int64_t kWaveformLumaBits = 22;    // of the luma factors
inline constexpr uint32_t kWaveformChromaBias = 1u << 26;
inline constexpr uint8_t kWaveformEnvelopeBelow = 0x60;
inline constexpr uint32_t kWaveformPictureCeiling = 235;
inline constexpr uint32_t kWaveformPictureStop = 0xFF | kWaveformPictureCeiling * 0x01010100;
inline constexpr size_t kWaveformLightBytes = 256 * kWaveformTile * 2 * sizeof(uint32_t); // of a tile

/// What a luma code does to its two pixels, the upper first; four bytes each, alpha, red, green, blue.
struct alignas(64) WaveformCodeLight {
    uint16_t weight[8]; ///< of half a sample's bytes, in 65536ths
    uint16_t whole[8];  ///< all bits where the weight is 1
    uint8_t light[8];   ///< added to both; in the picture's colours only alpha
    uint8_t ceiling[8];
    int32_t upper; ///< row of the tile
};

/// The traces that go sample by sample, as every worker reads them: luma in the picture's colours, and the Y/C display
/// with its envelope. Made once a draw; large.
struct WaveformSamples {
    WaveformLumaFactors factors;
    bool picture, envelope;
    int64_t height, stride;                     ///< rows of the clip and of a tile
    int32_t highRow[256 + kWaveformMagnitudes]; ///< the envelope's first row, by luma plus magnitude
    int32_t lowRow[256 + kWaveformMagnitudes];  ///< its last, by luma less magnitude, from the lowest
    uint64_t chroma[3][256];                    ///< B-Y low and R-Y high, both biased
    WaveformCodeLight code[256];
};

/// One column of a tile. Rows count from one above the clip.
struct WaveformTileColumn {
    uint32_t* rows;
    int32_t cleanTop, cleanBottom; ///< no row of these is dirty; none when top is above bottom
    uint64_t dirty[kWaveformTileRows / 64];
};

/// The columns of a tile that lie inside the clip.
struct WaveformTilePlace {
    int64_t x, count;              ///< of the target
    int32_t offset[kWaveformTile]; ///< of each column's sample, from the start of a line
};

/// The samples of a tile's columns. The first column's rows are the tile's memory; in the Y/C display every column has
/// its own part of it.
void WaveformPlotTile(const WaveformTrace& trace, const WaveformSamples& samples, const WaveformTilePlace& place,
                      WaveformTileColumn* columns);

/// The bytes that WaveformSamples takes, and the bytes that each worker needs beside it. Both are multiples of 64.
size_t WaveformSamplesBytes();
size_t WaveformTileBytes(const WaveformTrace& trace);

/// Fills the record. False when the trace is none of these or too high for it; nothing is drawn then.
bool WaveformSamplesOf(const WaveformTrace& trace, WaveformSamples* samples);

/// Draws columns [first, end) of the luma panel; `first` is a multiple of kWaveformTile. Others may draw other columns
/// at the same time.
///
/// work   WaveformTileBytes of memory on a 64-byte boundary, of this caller alone
void WaveformPlotSamples(const WaveformTrace& trace, const WaveformSamples& samples, int64_t first, int64_t end,
                         void* work);
