// Drawing of the curve editor's plot.
#include "src/support/TKCurvePainter.h"

#include "src/MPTasks.h"
#include "src/OCStages.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int32_t kEighths = 8;
constexpr uint16_t kMajorGrid = 40000, kMinorGrid = 24000; // 16-bit greys
constexpr ScopeColor kDark = {20000, 20000, 20000};        // of reference lines
constexpr float kRampTop = 0.24f;                          // the gradient stays behind the curve
constexpr float kHueLightness = 0.16f, kHueSaturation = 0.55f;
constexpr int32_t kPointSide = 7; // of a control point's square
constexpr int32_t kCurvePen = 2;
constexpr double kShortestPiece = 2; // pixels; many short pieces would only thicken the line

ScopeColor Grey(uint16_t level)
{
    return {level, level, level};
}

double Number(float value)
{
    return std::isfinite(value) ? static_cast<double>(value) : 0.0;
}

/// From plot units to pixels of the surface.
struct Scale {
    double width, height; // less 1

    double X(double x) const { return std::clamp(x, -8.0, 8.0) * width; }
    double Y(double y) const { return (1 - std::clamp(y, -8.0, 8.0)) * height; }
};

Scale ScaleOf(const ScopeSurface& surface)
{
    return {static_cast<double>(surface.width) - 1, static_cast<double>(surface.height) - 1};
}

void Line(ScopePort* port, ScopeColor color, double x0, double y0, double x1, double y1)
{
    port->color = color;
    ScopeMoveTo(port, static_cast<int32_t>(std::lround(x0)), static_cast<int32_t>(std::lround(y0)));
    ScopeLineTo(port, static_cast<int32_t>(std::lround(x1)), static_cast<int32_t>(std::lround(y1)));
}

void DrawGrid(ScopePort* port, const Scale& scale)
{
    for (int32_t i = 1; i < kEighths; ++i) {
        const ScopeColor color = Grey(i == kEighths / 2 ? kMajorGrid : kMinorGrid);
        const double part = i / static_cast<double>(kEighths);
        Line(port, color, scale.X(part), 0, scale.X(part), scale.height);
        Line(port, color, 0, scale.Y(part), scale.width, scale.Y(part));
    }
}

/// What a neutral curve would look like: the diagonal; over the hues segments along the top and the bottom, and red in
/// the middle.
void DrawReference(ScopePort* port, const Scale& scale, int32_t channel, const ScopePalette& palette)
{
    if (channel != kTKCurveHSLChannel) {
        DrawAntialiasedLine(port, ScopeRampOf(Grey(kMinorGrid)), 0, scale.height, scale.width, 0);
        return;
    }
    for (const double y : {0.0, scale.height}) {
        Line(port, palette.minorGraticule, 0, y, scale.X(0.5), y);
        Line(port, kDark, scale.X(0.5), y, scale.width, y);
    }
    Line(port, palette.red, scale.X(0.5), 0, scale.X(0.5), scale.height);
}

void DrawCurve(ScopePort* port, const Scale& scale, const std::vector<TKPlotPoint>& line, ScopeColor color,
               int32_t penPixels)
{
    const ScopeColorRamp ramp = ScopeRampOf(color);
    if (line.empty()) return;
    double fromX = scale.X(Number(line[0].x)), fromY = scale.Y(Number(line[0].y));
    for (size_t i = 1; i < line.size(); ++i) {
        const double x = scale.X(Number(line[i].x)), y = scale.Y(Number(line[i].y));
        const bool isLast = i + 1 == line.size();
        if (!isLast && std::hypot(x - fromX, y - fromY) < kShortestPiece) continue;
        // A pixel keeps the brightest of its passes: half a pixel apart they make one even line.
        const bool isFlat = std::abs(x - fromX) >= std::abs(y - fromY);
        for (int32_t half = 1 - penPixels; half < penPixels; ++half) {
            const double dx = isFlat ? 0 : half / 2.0, dy = isFlat ? half / 2.0 : 0;
            DrawAntialiasedLine(port, ramp, fromX + dx, fromY + dy, x + dx, y + dy);
        }
        fromX = x;
        fromY = y;
    }
}

void DrawPoint(ScopePort* port, const Scale& scale, const CurveVars& vars, int32_t index, ScopeColor color,
               int32_t pixels)
{
    const int32_t side = kPointSide * pixels, half = side / 2;
    // At the edges the square stays whole, inside the plot.
    const double mostX = std::max(scale.width - half, half + 0.0), mostY = std::max(scale.height - half, half + 0.0);
    const auto x =
        static_cast<int32_t>(std::lround(std::clamp(scale.X(Number(vars.pointX[index])), half + 0.0, mostX)));
    const auto y =
        static_cast<int32_t>(std::lround(std::clamp(scale.Y(Number(vars.pointY[index])), half + 0.0, mostY)));
    const ScopeRect square = ScopeRectOf(y - half, x - half, y - half + side, x - half + side);
    const bool isSelected = index == vars.selectedPoint, isHovered = index == vars.hoverPoint;
    port->color = isSelected || isHovered ? Grey(0xFFFF) : color;
    ScopePaintRect(port, square);
    if (isSelected) return;
    port->color = Grey(0);
    ScopePaintRect(port, ScopeInset(square, pixels));
}

/// Levels of the gradient at a place of 0 to 1.
struct Levels {
    float rgb[3];
};

Levels LevelsAt(int32_t channel, float part)
{
    Levels levels = {{part * kRampTop, part * kRampTop, part * kRampTop}};
    if (channel == kTKCurveHSLChannel) {
        const float hue = part < 0.5f ? part + 0.5f : part - 0.5f; // red stands in the middle
        OCHSLToRGB({.h = hue, .s = kHueSaturation, .l = kHueLightness}, levels.rgb);
    } else if (channel >= 1 && channel <= 3) {
        for (int32_t i = 0; i < 3; ++i)
            if (i != channel - 1) levels.rgb[i] = 0;
    }
    return levels;
}

float* RowOf(const FBFrame& frame, uint32_t plane, uint32_t row)
{
    return reinterpret_cast<float*>(frame.baseAddr + size_t{frame.planeBytes} * plane + size_t{frame.rowBytes} * row);
}

} // namespace

const TKSplineWeights* TKSplineTable()
{
    static const std::array<TKSplineWeights, kTKSplineSteps> table = [] {
        std::array<TKSplineWeights, kTKSplineSteps> made;
        for (int32_t i = 0; i < kTKSplineSteps; ++i) {
            const double t = i / static_cast<double>(kTKSplineSteps), t2 = t * t, t3 = t2 * t;
            made[static_cast<size_t>(i)] = {
                {static_cast<float>(-0.5 * t + t2 - 0.5 * t3), static_cast<float>(1 - 2.5 * t2 + 1.5 * t3),
                 static_cast<float>(0.5 * t + 2 * t2 - 1.5 * t3), static_cast<float>(-0.5 * t2 + 0.5 * t3)}};
        }
        return made;
    }();
    return table.data();
}

std::vector<TKPlotPoint> TKCurveLine(const CurveVars& vars)
{
    std::vector<TKPlotPoint> line;
    if (TKCurveIsReadOnly(vars) && vars.curve) {
        for (uint32_t i = 0; i < kOCCurveSampleCount; ++i)
            line.push_back({static_cast<float>(i) / (kOCCurveSampleCount - 1), vars.curve->points.samples[i]});
        return line;
    }
    const int32_t count = TKCurvePointCount(vars);
    if (count == 0) { // what the engine makes of it
        if (vars.pointCount && !TKCurveIsReadOnly(vars)) line = {{0, 0}, {1, 1}};
        return line;
    }
    const float* const x = vars.pointX;
    const float* const y = vars.pointY;
    line.push_back({0, y[0]});
    line.push_back({x[0], y[0]});
    if (count >= 3) {
        const TKSplineWeights* const table = TKSplineTable();
        for (int32_t k = 0; k + 1 < count; ++k) {
            const int32_t at[4] = {std::max(k - 1, 0), k, k + 1, std::min(k + 2, count - 1)};
            for (int32_t i = 0; i < kTKSplineSteps; ++i) {
                TKPlotPoint point = {0, 0};
                for (int32_t p = 0; p < 4; ++p) {
                    point.x += table[i].w[p] * x[at[p]];
                    point.y += table[i].w[p] * y[at[p]];
                }
                point.y = std::clamp(point.y, 0.0f, 1.0f); // as the engine's table
                line.push_back(point);
            }
        }
    }
    line.push_back({x[count - 1], y[count - 1]});
    line.push_back({1, y[count - 1]});
    return line;
}

ScopeColor TKCurveColor(int32_t channel, const ScopePalette& palette)
{
    switch (channel) {
    case 1: return palette.red;
    case 2: return palette.green;
    case 3: return palette.blue;
    default: return palette.text; // a grey that is seen on every gradient
    }
}

void TKPrepareCurveGradient(CurveVars* vars, uint32_t width, uint32_t height)
{
    FBFrame*& frame = vars->gradientSource;
    if (frame && frame->width == width && frame->height == height) return;
    if (frame) FBDisposeFrameBuffer(frame);
    frame = nullptr;
    if (FBCreateRGBFrameBuffer(width, height, &frame, pixFormatRGBYPlanar_Float) != bpNoErr) return;
    for (uint32_t column = 0; column < width; ++column) {
        const float part = width > 1 ? static_cast<float>(column) / static_cast<float>(width - 1) : 0.0f;
        const Levels levels = LevelsAt(vars->channel, part);
        for (uint32_t plane = 0; plane < 3; ++plane)
            for (uint32_t row = 0; row < height; ++row) RowOf(*frame, plane, row)[column] = levels.rgb[plane];
    }
}

void TKPaintCurvePlot(ScopeSurface* surface, CurveVars* vars, const ScopePalette& palette, int32_t scale)
{
    ScopeSurfaceClear(surface);
    if (!surface->pixels) return;
    TKPrepareCurveGradient(vars, surface->width, surface->height);
    if (vars->gradientSource)
        FBTransferFBFrameToPix(vars->gradientSource, nullptr, surface->pixels, surface->rowBytes, pixFormatBGRA8, 1,
                               nullptr);
    ScopePort port = ScopePortOn(surface, nullptr);
    const Scale to = ScaleOf(*surface);
    DrawGrid(&port, to);
    DrawReference(&port, to, vars->channel, palette);
    const ScopeColor color = TKCurveColor(vars->channel, palette);
    DrawCurve(&port, to, TKCurveLine(*vars), color, kCurvePen * scale);
    for (int32_t i = 0; i < TKCurvePointCount(*vars); ++i) DrawPoint(&port, to, *vars, i, color, scale);
}
