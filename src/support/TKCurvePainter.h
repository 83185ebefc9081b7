// What the curve editor shows: grid, curve and points, drawn into a surface in its own pixels.
#pragma once

#include "src/TincturaUIDisp.h"
#include "src/support/TKCurveEditor.h"

#include <vector>

inline constexpr int32_t kTKSplineSteps = 1000;

/// Weights of the four neighbouring points at t = i / kTKSplineSteps, between the middle two.
struct TKSplineWeights {
    float w[4];
};
/// kTKSplineSteps rows, made once.   Thread: main.
const TKSplineWeights* TKSplineTable();

/// The line of the curve from the left edge to the right one, in plot units: the table of samples, or the spline through
/// the points with flat ends. A curve without points gives nothing.
std::vector<TKPlotPoint> TKCurveLine(const CurveVars& vars);

/// The colour of the curve: red, green and blue by channel, grey for others.
ScopeColor TKCurveColor(int32_t channel, const ScopePalette& palette);

/// Makes the gradient under a plot of a size, when the editor has none of that size: the channel's ramp, or the axis of
/// hues. Without memory there is none, and the plot stays black.   Thread: main.
void TKPrepareCurveGradient(CurveVars* vars, uint32_t width, uint32_t height);

/// Draws the whole plot. The surface is the plot; `scale` is its pixels for one of the control's, at least 1.
/// Thread: main.
void TKPaintCurvePlot(ScopeSurface* surface, CurveVars* vars, const ScopePalette& palette, int32_t scale);
