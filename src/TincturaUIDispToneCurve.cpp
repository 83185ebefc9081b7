// The tone curve: a ramp goes down the road that the picture takes, and what comes out is plotted.
#include "src/TincturaUIDisp.h"

#include "src/platform/BPLog.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char* kModule = "TincturaUIDisp";
constexpr double kPadOfHeight = 0.03;
constexpr int32_t kTenths = 10;

float* PlaneOf(const FBFrame& frame, uint32_t plane)
{
    return reinterpret_cast<float*>(frame.baseAddr + size_t{plane} * frame.planeBytes);
}

void FillRamp(const FBFrame& frame)
{
    const float step = 1.0f / static_cast<float>(frame.width - 1);
    for (uint32_t plane = 0; plane < 4; ++plane) {
        float value = 0;
        for (uint32_t i = 0; i < frame.width; ++i, value += step) PlaneOf(frame, plane)[i] = value;
    }
}

void DrawPolyline(ScopePort* port, const ScopeRect& plot, const float* values)
{
    const int32_t last = ScopeWidthOf(plot) - 1;
    for (int32_t i = 0; i <= last; ++i) {
        const double value = values[i] > 0 ? std::min<double>(values[i], 1.0) : 0.0; // no number counts as black
        const int32_t y = plot.top + last - static_cast<int32_t>(std::lround(value * last));
        if (i == 0) ScopeMoveTo(port, plot.left, y);
        ScopeLineTo(port, plot.left + i, y);
    }
}

void DrawCurves(ScopePort* port, const ScopeRect& plot, const FBFrame& frame, const ScopePalette& palette)
{
    const ScopeColor colors[4] = {palette.red, palette.green, palette.blue, palette.luma};
    for (uint32_t plane = 0; plane < 4; ++plane) {
        port->color = colors[plane];
        DrawPolyline(port, plot, PlaneOf(frame, plane));
    }
}

void Measure(ScopePort* port, const ScopeRect& plot, const ScopePalette& palette, bool isResult,
             const ScopeContext& context)
{
    const auto width = static_cast<uint32_t>(ScopeWidthOf(plot));
    FBFrame* framePtr = nullptr;
    FBFrame* dstFramePtr = nullptr;
    // A status says no more than the pointer.
    (void)FBCreateRGBFrameBuffer(width, 1, &framePtr, pixFormatRGBYPlanar_Float);
    BP_ASSERT(framePtr != 0, kModule);
    (void)FBCreateRGBFrameBuffer(width, 1, &dstFramePtr, pixFormatRGBYPlanar_Float);
    BP_ASSERT(dstFramePtr != 0, kModule);
    if (framePtr && dstFramePtr) {
        FillRamp(*framePtr);
        const bool isProcessed = isResult && context.engine;
        if (isProcessed) {
            BPDebugLog("Curve (%d processors): ", static_cast<int>(MPGetProcessorCount()));
            ProcessImage(context.engine, framePtr, dstFramePtr, context.liveSettings, 0, context.taskCount,
                         context.tasks);
        }
        DrawCurves(port, plot, isProcessed ? *dstFramePtr : *framePtr, palette);
    }
    if (framePtr) FBDisposeFrameBuffer(framePtr);
    if (dstFramePtr) FBDisposeFrameBuffer(dstFramePtr);
}

} // namespace

ScopeRect ToneCurvePlot(const ScopeRect& rect)
{
    const auto pad = static_cast<int32_t>(ScopeHeightOf(rect) * kPadOfHeight);
    const ScopeRect inner = ScopeInset(rect, pad);
    const int32_t side = ScopeHeightOf(inner);
    const int32_t left = inner.left + (ScopeWidthOf(inner) - side) / 2;
    return ScopeRectOf(inner.top, left, inner.top + side, left + side);
}

void DrawToneCurve(ScopeSurface* target, const ScopeRect* rect, const ScopeSurface* source, const ScopeContext& context)
{
    const ScopeRect pane = rect ? *rect : ScopeBoundsOf(*target);
    const ScopeRect plot = ToneCurvePlot(pane);
    const int32_t side = ScopeHeightOf(plot);
    if (side < 2 || ScopeWidthOf(plot) != side) return; // no ramp has one step
    ScopePort port = ScopePortOn(target, context.letters);
    port.witness = context.witness;
    if (context.clip) port.clip = ScopeIntersection(port.clip, *context.clip);
    ScopePalette palette;
    PrepareScopePalette(&palette, context.settings.uiSaturation);

    port.color = palette.graticule;
    ScopeFrameRect(&port, plot);
    port.color = palette.minorGraticule;
    const auto rowOf = [&](int32_t tenth) { return plot.top + side * tenth / kTenths; };
    for (int32_t tenth = 1; tenth < kTenths; ++tenth) {
        ScopeMoveTo(&port, plot.left + 1, rowOf(tenth));
        ScopeLineTo(&port, plot.right - 2, rowOf(tenth));
    }
    ScopeSelectFamily(&port, "Arial", "Geneva");
    port.font.bold = true;
    port.font.size = std::min(ScopeHeightOf(pane) / 22, 16);
    port.color = palette.graticule;
    for (int32_t tenth = 0; tenth <= kTenths; tenth += 2) {
        char text[16];
        std::snprintf(text, sizeof text, "%1.1f", (kTenths - tenth) / 10.0);
        ScopeMoveTo(&port, plot.left - 2, rowOf(tenth) + ScopeMetrics(port).ascent / 2);
        ScopeDrawTextRight(&port, text);
    }
    if (source && source->pixels && !context.settings.updateSuspended)
        Measure(&port, plot, palette, source == context.resultSurface, context);
}
