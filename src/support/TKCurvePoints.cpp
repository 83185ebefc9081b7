// Black, white and gray points of the curves.
#include "src/support/TKCurvePoints.h"

#include "src/support/TKCommands.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int32_t kPointLimit = kOCCurvePointLimit;

/// The points of a curve, checked: at least two of them.
struct Points {
    int32_t* count;
    float* x;
    float* y;
};

/// Components from 0 to 1.
struct Sample {
    float channel[3];
};

Sample SampleOf(const float rgb[3])
{
    Sample sample;
    for (int i = 0; i < 3; ++i) sample.channel[i] = std::isfinite(rgb[i]) ? std::clamp(rgb[i], 0.0f, 1.0f) : 0.0f;
    return sample;
}

float MiddleOf(const Sample& sample)
{
    float sorted[3] = {sample.channel[0], sample.channel[1], sample.channel[2]};
    std::sort(sorted, sorted + 3);
    return sorted[1];
}

bool IsTable(const HCurve& curve)
{
    return curve.curveKind & kTKCurveReadOnly;
}

/// The points of a curve. One with fewer than two is straightened first.
Points PointsOf(HCurve* curve)
{
    HCurvePoints& xy = curve->points.xy;
    xy.pointCount = std::clamp(xy.pointCount, 0, kPointLimit);
    if (xy.pointCount < 2) {
        xy.pointCount = 2;
        xy.x[0] = xy.y[0] = 0;
        xy.x[1] = xy.y[1] = 1;
    }
    return {&xy.pointCount, xy.x, xy.y};
}

float Between(const Points& points, int32_t index, float x)
{
    const float low = index > 0 ? points.x[index - 1] + kTKCurveGap : 0.0f;
    const float high = index + 1 < *points.count ? points.x[index + 1] - kTKCurveGap : 1.0f;
    return low <= high ? std::clamp(x, low, high) : points.x[index];
}

void Place(const Points& points, int32_t index, float x, float y)
{
    points.x[index] = Between(points, index, x);
    points.y[index] = y;
}

/// The point between first and last that is nearest in x, or -1.
int32_t NearestInside(const Points& points, float x)
{
    int32_t nearest = -1;
    for (int32_t i = 1; i + 1 < *points.count; ++i)
        if (nearest < 0 || std::abs(points.x[i] - x) < std::abs(points.x[nearest] - x)) nearest = i;
    return nearest;
}

void PlaceGray(const Points& points, float x, float y)
{
    const int32_t nearest = NearestInside(points, x);
    const bool isFull = *points.count >= kPointLimit;
    if (nearest >= 0 && (isFull || std::abs(points.x[nearest] - x) <= kTKCurveReach)) {
        Place(points, nearest, x, y);
        return;
    }
    int32_t at = 1; // it stays between the ends
    while (at + 1 < *points.count && !(points.x[at] > x)) ++at;
    std::copy_backward(points.x + at, points.x + *points.count, points.x + *points.count + 1);
    std::copy_backward(points.y + at, points.y + *points.count, points.y + *points.count + 1);
    ++*points.count;
    points.x[at] = x;
    Place(points, at, x, y);
}

/// Changes the three curves as one undo step; `place` receives the points, the component and its channel.
template <class PlacePoint> TKEffect ChangeCurves(TKSession* session, PlacePoint place)
{
    HCurve* const curves = &session->liveSettings.rgbCurve[1];
    if (std::all_of(curves, curves + 3, IsTable)) return {};
    (void)CommitOpenEdit(session, true);
    TKChangeAsOneStep(session, [&](OCSettings*) {
        for (uint32_t channel = 0; channel < 3; ++channel) {
            if (IsTable(curves[channel])) continue;
            place(PointsOf(&curves[channel]), channel);
            MarkSectionActive(session, static_cast<TKSectionID>(tkSectionCurveRed + channel), true, true);
        }
    });
    const bool opened = session->undoRing && session->undoRing->undoSlotCount != 0;
    return {.changed = true, .opensUndo = opened, .rerenders = true};
}

} // namespace

TKEffect SetBlackPoint(TKSession* session, const float rgb[3])
{
    const Sample sample = SampleOf(rgb);
    return ChangeCurves(session,
                        [&](const Points& points, uint32_t channel) { Place(points, 0, sample.channel[channel], 0); });
}

TKEffect SetWhitePoint(TKSession* session, const float rgb[3])
{
    const Sample sample = SampleOf(rgb);
    return ChangeCurves(session, [&](const Points& points, uint32_t channel) {
        Place(points, *points.count - 1, sample.channel[channel], 1);
    });
}

TKEffect SetGrayPoint(TKSession* session, const float rgb[3])
{
    const Sample sample = SampleOf(rgb);
    const float middle = MiddleOf(sample);
    return ChangeCurves(
        session, [&](const Points& points, uint32_t channel) { PlaceGray(points, sample.channel[channel], middle); });
}

void TKInitCurveEyedropper(TKCurveEyedropper* record, TKCurvePointKind kind, const char* objectName)
{
    struct Row {
        const char* label;
        TKCursor cursor;
        uint32_t toolTip;
        TKEyedropperProc proc;
    };
    static constexpr Row kRows[] = {
        {"Black Point", tkCursorBlackPoint, 15,
         [](TKSession* session, TKEyedropper*, const float rgb[3]) { (void)SetBlackPoint(session, rgb); }},
        {"Gray Point", tkCursorGrayPoint, 16,
         [](TKSession* session, TKEyedropper*, const float rgb[3]) { (void)SetGrayPoint(session, rgb); }},
        {"White Point", tkCursorWhitePoint, 17,
         [](TKSession* session, TKEyedropper*, const float rgb[3]) { (void)SetWhitePoint(session, rgb); }},
    };
    const Row& row = kRows[kind];
    *record = {};
    TKCreateEyedropper(&record->eyedropper, record->picked, 0, tkSectionNone, row.label, objectName);
    record->eyedropper.cursor = row.cursor;
    record->eyedropper.opensUndo = false; // the procedure opens its own step, and renders
    record->eyedropper.repaint = false;
    record->eyedropper.pickProc = row.proc;
    record->toolTip = row.toolTip;
}
