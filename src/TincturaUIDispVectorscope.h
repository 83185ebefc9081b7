// The vectorscope from the inside: scale, targets, and the trace kernels. For the display, its tests and its benchmarks.
#pragma once

#include "src/ScopeLines.h"
#include "src/TincturaUIDisp.h"

inline constexpr double kVectorscopeRadius = 180; ///< of the graticule's circle, in graticule units

struct VectorscopeScale {
    int32_t width, height;
    int64_t gainX, gainY; ///< 16.16 pixels for one code of chroma
    int64_t unitX, unitY; ///< 16.16 pixels for one graticule unit
};

/// False when the scope has no area or the levels would divide by zero.
bool VectorscopeScaleOf(const VectorscopeParams& params, VectorscopeScale* scale);

inline constexpr int32_t kVectorscopeBarCount = 6; ///< magenta, red, yellow, green, cyan, blue

/// A square target, in pixels from the scope's upper left corner.
struct VectorscopeBar {
    int64_t x, y;         ///< centre
    int64_t halfX, halfY; ///< size
};

/// The target of a bar, 0 to 5 in the order above, by the matrix of the parameters.
VectorscopeBar VectorscopeBarOf(const VectorscopeParams& params, const VectorscopeScale& scale, int32_t bar);

inline constexpr int32_t kVectorscopeRungs = 6;

struct VectorscopeTrace {
    ScopeSurface target;
    ScopeRect clip; ///< inside the target and the scope
    int32_t left, top, width, height;
    const uint8_t* source;
    int64_t sourceRowBytes, sourceWidth;
    bool alphaFirst;
    ScopeLines lines;
    int64_t columnStep;
    int64_t zoom, gainX, gainY;
    const uint8_t* gamma;
    const int32_t* chroma;
    uint32_t rung[kVectorscopeRungs]; ///< pixel words, brightest first
};

/// What the trace of these parameters reads; false when there is none to draw.
bool VectorscopeTraceOf(const VectorscopeParams& params, const ScopeRect& clip, VectorscopeTrace* trace);

void DrawVectorscopeTraceScalar(const VectorscopeTrace& trace);
/// The same bytes, faster; the lines are shared by the tasks (null: none). `first` is what has to be drawn before; it
/// runs on the calling thread while workers count hits already.   Thread: main.
void DrawVectorscopeTrace(const VectorscopeTrace& trace, uint32_t taskCount, MPTask* tasks, const MPErrand& first = {});

/// The rung that replaces a pixel with this blue byte when it is hit.
int32_t VectorscopeRung(uint8_t blue);

/// Spreads equal chroma over neighbouring pixels. Pairs: row, column.
inline constexpr int64_t kVectorscopeJitter[14] = {0x2D73, 0x840C, 0x15D2, 0xCD96, 0x48AF, 0x133A, 0xD89D,
                                                   0x386E, 0xACE6, 0xBAA9, 0x2D44, 0x87A8, 0x7996, 0xD0CA};

/// Draws the graticule into the port, whose clip lies inside the scope; (left, top) is the scope's corner.
void DrawVectorscopeGraticule(ScopePort* port, const VectorscopeParams& params, const VectorscopeScale& scale,
                              int32_t left, int32_t top);
