// What the tests of waveform monitors share: a monitor on a pane, its lines, the rows that light fell on.
#pragma once

#include "src/TincturaUIDispWaveform.h"
#include "tests/ScopesTest.h"

#include <vector>

inline constexpr uint32_t kPAL = 2, kHD709 = 3, k240M = 4;

/// A monitor's parameters on a 640 x 480 pane, full range, PAL, IRE.
struct Monitor {
    ScopeRect bounds = {.top = 0, .left = 0, .bottom = 480, .right = 640};
    WaveformParams params = {};

    Monitor()
    {
        params.sourceWidth = 720;
        params.sourceHeight = 486;
        params.flags = waveformAlphaFirst | waveformIRE;
        params.mode = waveformSingle;
        params.videoSystem = 2;
        params.whiteLevel = 255;
        params.penSize = 1;
        params.traceGain = 0x10000;
        params.uiSaturation = 0x10000;
    }
    WaveformScale Scale(int32_t height = 480)
    {
        WaveformScale scale = {};
        EXPECT_TRUE(WaveformScaleOf(params, height, &scale));
        return scale;
    }
    WaveformLayout Layout(int32_t width = 640)
    {
        WaveformLayout layout = {};
        EXPECT_TRUE(WaveformLayoutOf(params, width, &layout));
        return layout;
    }
    /// Draws on a surface as large as the bounds.
    void Draw(Surface* target, const Surface* source, const ScopeContext& context)
    {
        params.target = target;
        params.bounds = &bounds;
        if (source) {
            params.sourcePixels = (*source).pixels;
            params.sourceWidth = static_cast<int32_t>((*source).width);
            params.sourceHeight = static_cast<int32_t>((*source).height);
            params.sourceRowBytes = static_cast<int32_t>((*source).rowBytes);
            params.flags |= waveformTrace;
        }
        DrawWaveformMonitor(params, context);
    }
    int64_t RowOf(int64_t level)
    {
        const WaveformScale s = Scale(ScopeHeightOf(bounds));
        return bounds.bottom - s.marginY - (level * s.pixelsPerCode >> 16);
    }
};

/// Horizontal lines in order: row, from, to.
struct Line {
    double y, from, to;
    ScopeColor color;
};
inline std::vector<Line> LinesOf(const Recorder& recorder)
{
    std::vector<Line> lines;
    for (const SeenMark& seen : recorder.Of(scopeMarkLine)) {
        EXPECT_EQ(seen.mark.y0, seen.mark.y1);
        lines.push_back({seen.mark.y0, seen.mark.x0, seen.mark.x1, seen.mark.color});
    }
    return lines;
}

inline bool IsGraticule(Surface::Pixel pixel, ScopeColor color)
{
    return pixel == Opaque(static_cast<uint8_t>(color.red >> 8), static_cast<uint8_t>(color.green >> 8),
                           static_cast<uint8_t>(color.blue >> 8));
}

/// The rows of a column that the trace has touched: anything but black and the graticule's orange. The surface's trace
/// is drawn without letters.
inline std::vector<int32_t> LitRows(const Surface& surface, int32_t x, ScopeColor major, ScopeColor minor)
{
    std::vector<int32_t> rows;
    for (int32_t y = 0; y < static_cast<int32_t>(surface.height); ++y) {
        const Surface::Pixel pixel = surface.At(x, y);
        if (pixel == Opaque(0, 0, 0) || IsGraticule(pixel, major) || IsGraticule(pixel, minor)) continue;
        rows.push_back(y);
    }
    return rows;
}
