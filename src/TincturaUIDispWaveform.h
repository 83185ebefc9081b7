// Waveform monitors from the inside: scale, layout, and the trace kernels. For the displays, their tests and their
// benchmarks.
#pragma once

#include "src/ScopeLines.h"
#include "src/TincturaUIDisp.h"

/// Levels to rows. Levels are code values plus codeOffset: the height above the bottom graticule line, in codes.
struct WaveformScale {
    int64_t irePerCode; ///< 16.16
    int64_t zeroCode;   ///< at 0 IRE
    int64_t span;       ///< codes in 100 IRE
    int64_t lowIre, highIre, ireRange;
    int64_t codeOffset;
    int64_t traceHeight;   ///< pixels
    int64_t marginY;       ///< pixels
    int64_t pixelsPerCode; ///< 16.16
};

/// False when the levels or a height in pixels cannot be scaled without a division by zero.
bool WaveformScaleOf(const WaveformParams& params, int32_t height, WaveformScale* scale);

inline constexpr int32_t kWaveformPanelLimit = 4;

/// Columns, counted from the left of the bounds.
struct WaveformLayout {
    int32_t margin; ///< for labels; the plot starts here
    int32_t panelCount;
    int32_t panelWidth;
    int32_t panelLeft[kWaveformPanelLimit]; ///< from the plot's left
    int64_t xStep;                          ///< 16.16 source pixels a column
    int64_t columnCount;                    ///< of one panel
    int64_t graticuleRight;                 ///< last column of the lines
};

/// False when there is no room, no source width, or the mode is unknown.
bool WaveformLayoutOf(const WaveformParams& params, int32_t width, WaveformLayout* layout);

/// What a hit adds to red, green and blue, and where each stops.
struct WaveformInk {
    uint8_t increment[3], ceiling[3];
};

/// Everything that a trace kernel reads.
struct WaveformTrace {
    ScopeSurface target;
    ScopeRect clip; ///< inside the target
    const uint8_t* source;
    int64_t sourceRowBytes;
    bool alphaFirst;
    ScopeLines lines;
    int64_t xStep, columnCount;
    int32_t mode;
    bool envelope;     ///< of chroma; in mode 1
    bool pictureColor; ///< of luma in modes 1 and 2
    int64_t bottomRow; ///< of level 0
    int64_t pixelsPerCode;
    int64_t codeOffset;
    int64_t maxCode;                           ///< level of the plot's top
    int64_t panelColumn[kWaveformPanelLimit];  ///< target column of each panel's first
    WaveformInk panelInk[kWaveformPanelLimit]; ///< in the order of the traces: luma or Y R G B or the three channels
    uint32_t envelopeWord;
    const uint8_t* luma;
    const int32_t* chroma;
    const uint8_t* magnitude;
};

/// What the trace of these parameters reads; false when there is none to draw.
bool WaveformTraceOf(const WaveformParams& params, const ScopeRect& clip, WaveformTrace* trace);

/// Sample by sample, as a monitor's beam goes.
void DrawWaveformTraceScalar(const WaveformTrace& trace);
/// The same bytes, faster; the columns are shared by the tasks (null: none).   Thread: main.
void DrawWaveformTrace(const WaveformTrace& trace, uint32_t taskCount, MPTask* tasks);

/// The fast kernel's additive clamp by name of its instruction set, for tests: adds counts[i] times the increment to
/// pixel i of `count` pixels where counts[i] is not 0, each channel up to its ceiling.
struct WaveformLightKernel {
    const char* name;
    void (*run)(uint8_t* pixels, const uint16_t* counts, size_t count, const uint8_t increment[3],
                const uint8_t ceiling[3]);
};
std::span<const WaveformLightKernel> WaveformLightKernels();
