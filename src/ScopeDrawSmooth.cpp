// Anti-aliased primitives. A line is a capsule half a pixel thick around the segment: a pixel is covered by 1 less its
// distance from the segment. Arcs and ellipses are chains of short segments.
#include "src/ScopeDraw.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace {

constexpr double kReach = 1 << 20;     // beyond any clip; keeps loops and conversions bounded
constexpr double kSegmentPixels = 3.0; // of an arc: off by less than a hundredth of a pixel from radius 110 on
constexpr double kMaxSegments = 4096.0;

/// Keeps the brighter of each component.
void Lighten(uint8_t* pixel, ScopeColor color)
{
    pixel[0] = 0xFF;
    pixel[1] = std::max(pixel[1], static_cast<uint8_t>(color.red >> 8));
    pixel[2] = std::max(pixel[2], static_cast<uint8_t>(color.green >> 8));
    pixel[3] = std::max(pixel[3], static_cast<uint8_t>(color.blue >> 8));
}

struct Segment {
    double x0, y0, x1, y1;
};

double DistanceSquared(const Segment& s, double x, double y, double perLength)
{
    const double dx = s.x1 - s.x0, dy = s.y1 - s.y0;
    const double along = std::clamp(((x - s.x0) * dx + (y - s.y0) * dy) * perLength, 0.0, 1.0);
    const double offX = x - (s.x0 + along * dx), offY = y - (s.y0 + along * dy);
    return offX * offX + offY * offY;
}

/// Walks the pixels along the longer side of the segment and the few across it that it can reach.
void Cover(const ScopePort& port, const ScopeRect& limits, const ScopeColorRamp& ramp, const Segment& s)
{
    const bool steep = std::fabs(s.y1 - s.y0) > std::fabs(s.x1 - s.x0);
    const double a0 = steep ? s.y0 : s.x0, a1 = steep ? s.y1 : s.x1;
    const double b0 = steep ? s.x0 : s.y0, b1 = steep ? s.x1 : s.y1;
    const double length = (s.x1 - s.x0) * (s.x1 - s.x0) + (s.y1 - s.y0) * (s.y1 - s.y0);
    const double perLength = length > 0 ? 1 / length : 0.0;
    const double slope = a1 != a0 ? (b1 - b0) / (a1 - a0) : 0.0;
    const double low = std::min(a0, a1), high = std::max(a0, a1);
    const int32_t mostA = (steep ? limits.bottom : limits.right) - 1, leastA = steep ? limits.top : limits.left;
    const int32_t mostB = (steep ? limits.right : limits.bottom) - 1, leastB = steep ? limits.left : limits.top;
    const int32_t firstA = std::max(leastA, static_cast<int32_t>(std::floor(low)) - 1);
    const int32_t lastA = std::min(mostA, static_cast<int32_t>(std::ceil(high)) + 1);
    for (int32_t a = firstA; a <= lastA; ++a) {
        const double middle = b0 + slope * (std::clamp<double>(a, low, high) - a0);
        const int32_t firstB = std::max(leastB, static_cast<int32_t>(std::floor(middle)) - 1);
        const int32_t lastB = std::min(mostB, static_cast<int32_t>(std::ceil(middle)) + 1);
        for (int32_t b = firstB; b <= lastB; ++b) {
            const int32_t x = steep ? b : a, y = steep ? a : b;
            const double distance = DistanceSquared(s, x, y, perLength);
            if (distance >= 1.0) continue;
            const auto entry = static_cast<size_t>(std::sqrt(distance) * 255.0 + 0.5);
            Lighten(port.surface->pixels + static_cast<size_t>(y) * port.surface->rowBytes + static_cast<size_t>(x) * 4,
                    ramp.entry[std::min<size_t>(entry, 255)]);
        }
    }
}

bool InReach(double value)
{
    return std::fabs(value) <= kReach; // false for a NaN
}

bool Limits(const ScopePort& port, ScopeRect* limits)
{
    if (!port.surface) return false;
    *limits = ScopeIntersection(port.clip, ScopeBoundsOf(*port.surface));
    return limits->right > limits->left;
}

void Tell(const ScopePort& port, ScopeMarkKind kind, ScopeColor color, const Segment& s, double angle0, double angle1)
{
    if (!port.witness) return;
    port.witness->saw(port.witness->context, {.kind = kind,
                                              .color = color,
                                              .x0 = s.x0,
                                              .y0 = s.y0,
                                              .x1 = s.x1,
                                              .y1 = s.y1,
                                              .angle0 = angle0,
                                              .angle1 = angle1,
                                              .text = nullptr,
                                              .font = {},
                                              .rightAligned = false});
}

} // namespace

ScopeColorRamp ScopeRampOf(ScopeColor color)
{
    ScopeColorRamp ramp;
    for (int n = 0; n < 256; ++n)
        ramp.entry[n] = {static_cast<uint16_t>(color.red - n * (color.red >> 8)),
                         static_cast<uint16_t>(color.green - n * (color.green >> 8)),
                         static_cast<uint16_t>(color.blue - n * (color.blue >> 8))};
    return ramp;
}

void DrawAntialiasedLine(ScopePort* port, const ScopeColorRamp& ramp, double x0, double y0, double x1, double y1)
{
    if (!InReach(x0) || !InReach(y0) || !InReach(x1) || !InReach(y1)) return;
    const Segment s = {x0, y0, x1, y1};
    Tell(*port, scopeMarkSmoothLine, ramp.entry[0], s, 0, 0);
    ScopeRect limits;
    if (Limits(*port, &limits)) Cover(*port, limits, ramp, s);
}

void DrawAntialiasedArc(ScopePort* port, const ScopeColorRamp& ramp, double centerX, double centerY, double radiusX,
                        double radiusY, double fromDegrees, double toDegrees)
{
    if (!InReach(centerX) || !InReach(centerY) || !InReach(radiusX) || !InReach(radiusY) || !InReach(fromDegrees) ||
        !InReach(toDegrees))
        return;
    Tell(*port, scopeMarkSmoothArc, ramp.entry[0], {centerX, centerY, radiusX, radiusY}, fromDegrees, toDegrees);
    ScopeRect limits;
    if (!Limits(*port, &limits)) return;
    const double from = fromDegrees * std::numbers::pi / 180.0;
    const double span = (toDegrees - fromDegrees) * std::numbers::pi / 180.0;
    const double length = std::fabs(span) * std::max(std::fabs(radiusX), std::fabs(radiusY));
    const double count = std::clamp(std::ceil(length / kSegmentPixels), 1.0, kMaxSegments);
    double x = centerX + radiusX * std::cos(from), y = centerY - radiusY * std::sin(from);
    for (double i = 1; i <= count; ++i) {
        const double angle = from + span * i / count;
        const double nextX = centerX + radiusX * std::cos(angle), nextY = centerY - radiusY * std::sin(angle);
        Cover(*port, limits, ramp, {x, y, nextX, nextY});
        x = nextX;
        y = nextY;
    }
}

void DrawAntialiasedEllipse(ScopePort* port, const ScopeColorRamp& ramp, double centerX, double centerY, double radiusX,
                            double radiusY)
{
    DrawAntialiasedArc(port, ramp, centerX, centerY, radiusX, radiusY, 0, 360);
}
