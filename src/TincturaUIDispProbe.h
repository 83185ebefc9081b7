// The probe and the ghost of the displays: where one pixel of the picture lies in them, and another picture's trace behind
// the live one. Both come after a display was drawn; without them nothing of it changes.
#pragma once

#include "src/TincturaUIDispCombo.h"

/// A pixel of the picture in view.
struct ScopeProbe {
    double across;                   ///< of the picture's width, 0 to 1
    uint8_t alpha, red, green, blue; ///< as the surface holds it
};

struct ScopeProbeMark {
    int32_t x, y;
};
inline constexpr int32_t kScopeProbeMarkLimit = 16;

/// The places of a pixel's trace in a display drawn into `rect`: one a waveform or a channel of it (that with the
/// chroma's envelope is marked at its luma), one in the vectorscope, one a row of the histograms, in its middle; none in
/// the tone curve. Returns their number, at most kScopeProbeMarkLimit. Those of waveforms and vectorscope are found by
/// drawing a picture of that one colour, so that every setting of the display counts; those of histograms follow from
/// their layout, for which the context must have the letters that the display is drawn with.
int32_t ScopeFindProbe(const ScopeRect& rect, int32_t display, const ScopeProbe& probe, const ScopeContext& context,
                       ScopeProbeMark marks[kScopeProbeMarkLimit]);

/// Where one colour lights a display: the columns of its trace, from the display's own corner, and its middle row.
struct ScopeProbeSpan {
    int32_t left, right; ///< inside
    int32_t y;
};

/// What was found last in each quadrant, or in the first for a display alone, and for what: a pane that is painted again
/// while colour, display, size and settings are the same draws nothing. All zero: nothing yet.
struct ScopeProbeMemory {
    struct Found {
        bool isKnown;
        int32_t width, height, display;
        uint8_t pixel[4];
        ScopeSettings settings;
        int32_t count;
        ScopeProbeSpan spans[kScopeProbeMarkLimit];
    } found[kScopeQuadrantCount];
};

/// The same for everything that an analysis pane of this size shows.
///
/// memory   of earlier calls, brought up to date; null: every call draws
inline constexpr int32_t kScopePaneMarkLimit = kScopeQuadrantCount * kScopeProbeMarkLimit;
int32_t ScopeFindProbes(uint32_t width, uint32_t height, const ScopeSelection& selection, const ScopeProbe& probe,
                        const ScopeContext& context, ScopeProbeMark marks[kScopePaneMarkLimit],
                        ScopeProbeMemory* memory = nullptr);

/// Lays another picture's displays, dimmed, behind what the target holds: brighter pixels stay. Nothing happens without
/// a picture or without memory.
void DrawScopeGhost(ScopeSurface* target, const ScopeSelection& selection, const ScopeSurface* picture,
                    const ScopeContext& context);
