// What the tests of the vectorscope share: a scope on a pane, and the place of a colour in it.
#pragma once

#include "src/TincturaUIDispVectorscope.h"
#include "tests/ScopesTest.h"

#include <cmath>
#include <numbers>

struct Scope {
    ScopeRect bounds = {.top = 0, .left = 0, .bottom = 480, .right = 640};
    VectorscopeParams params = {};

    Scope()
    {
        params.sourceWidth = 720;
        params.sourceHeight = 486;
        params.flags = vectorscopeAlphaFirst;
        params.zoom = 1;
        params.whiteLevel = 255;
        params.calibration75 = 1;
        params.uiSaturation = 0x10000;
        params.bounds = &bounds;
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    VectorscopeScale Scale()
    {
        VectorscopeScale scale = {};
        EXPECT_TRUE(VectorscopeScaleOf(params, &scale));
        return scale;
    }
    void Read(const Surface& source)
    {
        params.sourcePixels = source.pixels;
        params.sourceWidth = static_cast<int32_t>(source.width);
        params.sourceHeight = static_cast<int32_t>(source.height);
        params.sourceRowBytes = static_cast<int32_t>(source.rowBytes);
        params.flags |= vectorscopeTrace;
    }
    void Draw(Surface* target, const Surface* source, const ScopeContext& context)
    {
        params.target = target;
        if (source) Read(*source);
        DrawVectorscope(params, context);
    }
    /// The trace alone, on what the target holds.
    void Trace(Surface* target, const Surface& source, bool fast)
    {
        params.target = target;
        Read(source);
        VectorscopeTrace trace;
        ASSERT_TRUE(VectorscopeTraceOf(params, bounds, &trace));
        if (fast)
            DrawVectorscopeTrace(trace, 1, nullptr);
        else
            DrawVectorscopeTraceScalar(trace);
    }
};

/// Mean place of what a one-coloured picture lights: units right of and above the centre.
struct Place {
    double right, up;
    int32_t hits;
    double Angle() const
    {
        const double degrees = std::atan2(up, right) * 180 / std::numbers::pi;
        return degrees < 0 ? degrees + 360 : degrees;
    }
    double Radius() const { return std::hypot(right, up); }
};

/// The trace alone, on black.
inline Place PlaceOf(Scope* scope, Surface::Pixel color)
{
    Surface source(64, 64), target(640, 480);
    source.Fill([=](int32_t, int32_t) { return color; });
    scope->Trace(&target, source, true);
    const VectorscopeScale s = scope->Scale();
    Place place = {};
    for (int32_t y = 0; y < 480; ++y)
        for (int32_t x = 0; x < 640; ++x) {
            if (target.At(x, y) == Surface::Pixel{}) continue;
            place.right += x - 320;
            place.up += 240 - y;
            ++place.hits;
        }
    if (place.hits == 0) return place;
    place.right = place.right / place.hits * 65536 / static_cast<double>(s.unitX);
    place.up = place.up / place.hits * 65536 / static_cast<double>(s.unitY);
    return place;
}

/// Of the bars magenta, red, yellow, green, cyan, blue.
inline constexpr int32_t kBars[] = {4, 5, 1, 3, 2, 6};
