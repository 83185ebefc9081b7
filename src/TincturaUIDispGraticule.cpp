// The vectorscope's graticule: circle, cross, I and Q, targets, labels.
#include "src/TincturaUIDispVectorscope.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace {

constexpr ScopeColor kMajor = {0xCE00, 0x6300, 0}, kMinor = {0x9800, 0x4900, 0};
constexpr int32_t kUnitNumerator = 0x4B7D; // 16.16 pixels for a unit of a scope 160 by 120

/// In the order of the bars: magenta, red, yellow, green, cyan, blue.
struct PolarTarget {
    double magnitude, angle, tolerance; ///< of the radius, degrees with R-Y up, percent
};
constexpr PolarTarget kPolarTargets[] = {{0.82, 61, 30},  {0.88, 103, 30}, {0.62, 167, 25},
                                         {0.82, 241, 30}, {0.88, 283, 30}, {0.62, 347, 25}};

enum class Half { none, less, more };

/// A colour's name. The angle is taken with y down, so that a negative one points up; the pen lies at the radius in
/// units, less or more half the text's height.
struct ColorLabel {
    const char* text;
    double angle, radius;
    Half half;
    double angleHD, radiusHD; ///< for the other matrices
    Half halfHD;
    bool rightAligned;
};
constexpr ColorLabel kLabels[] = {
    {"Mg", -52.5, 142, Half::less, -51.5, 154, Half::less, false},
    {"R", -98, 128, Half::none, -102, 144, Half::none, true},
    {"Yl", -158, 113, Half::none, -168.5, 129, Half::none, false},
    {"G", -235, 142, Half::more, -240, 147, Half::more, true},
    {"Cy", -287, 136, Half::less, -285, 149, Half::less, true},
    {"B", -347, 129, Half::none, -350, 125, Half::none, false},
};

constexpr bool kBarHas[kVectorscopeBarCount][3] = {{true, false, true},  {true, false, false}, {true, true, false},
                                                   {false, true, false}, {false, true, true},  {false, false, true}};

constexpr const char* kMatrixNames[kOCMatrixCount] = {"601", "709", "240M"};

double Radians(double degrees)
{
    return degrees * std::numbers::pi / 180.0;
}

/// The scope in a port: units to pixels.
struct Plot {
    ScopePort* port;
    const VectorscopeScale& scale;
    double centerX, centerY;
    ScopeColorRamp major, minor;

    double UnitX() const { return static_cast<double>(scale.unitX) / 65536.0; }
    double UnitY() const { return static_cast<double>(scale.unitY) / 65536.0; }
    int32_t PixelsX(int64_t units) const { return static_cast<int32_t>((scale.unitX * units + 0x8000) >> 16); }
    int32_t PixelsY(int64_t units) const { return static_cast<int32_t>((scale.unitY * units + 0x8000) >> 16); }

    /// Part of the circle of `radius` units, angles with R-Y up.
    void Arc(const ScopeColorRamp& ramp, double radius, double from, double to) const
    {
        DrawAntialiasedArc(port, ramp, centerX, centerY, radius * UnitX(), radius * UnitY(), from, to);
    }
    /// From one radius to another at one angle with R-Y up.
    void Radial(const ScopeColorRamp& ramp, double angle, double from, double to) const
    {
        const double x = std::cos(Radians(angle)) * UnitX(), y = -std::sin(Radians(angle)) * UnitY();
        DrawAntialiasedLine(port, ramp, centerX + from * x, centerY + from * y, centerX + to * x, centerY + to * y);
    }
};

/// A polar target with its inner box and the corners of its tolerance.
void DrawTargetBox(const Plot& plot, const PolarTarget& target)
{
    constexpr double R = kVectorscopeRadius;
    const double m = target.magnitude, a = target.angle;
    const double h = target.tolerance / 200, t = target.tolerance / 300;
    plot.Arc(plot.major, m * R, a - 3, a + 3);
    plot.Arc(plot.minor, (m - 0.045) * R, a - 3, a + 3);
    plot.Arc(plot.minor, (m + 0.045) * R, a - 3, a + 3);
    plot.Radial(plot.major, a, (m - 0.045) * R, (m + 0.045) * R);
    plot.Radial(plot.minor, a - 3, (m - 0.045) * R, (m + 0.045) * R);
    plot.Radial(plot.minor, a + 3.2, (m - 0.045) * R, (m + 0.045) * R);

    const bool closes = m + h < 1.0; // else the corner lies outside the circle and ends at it
    plot.Arc(plot.minor, (m - h) * R, a - 10, a - 7);
    plot.Arc(plot.minor, (m - h) * R, a + 7, a + 10);
    if (closes) {
        plot.Arc(plot.minor, (m + h) * R, a - 10, a - 7);
        plot.Arc(plot.minor, (m + h) * R, a + 7, a + 10);
    }
    for (const double side : {a - 10, a + 10}) {
        plot.Radial(plot.minor, side, (m - t) * R, (m - h) * R);
        plot.Radial(plot.minor, side, (m + t) * R, closes ? (m + h) * R : R);
    }
}

/// A square target.
void DrawBarBox(const Plot& plot, const VectorscopeBar& bar, int32_t left, int32_t top)
{
    const auto whole = [](int64_t value) { return static_cast<int32_t>(std::clamp<int64_t>(value, -65536, 65536)); };
    // Both edges lie half a size off the centre's pixel.
    ScopeFrameRect(plot.port, ScopeRectOf(top + whole(bar.y - bar.halfY), left + whole(bar.x - bar.halfX),
                                          top + whole(bar.y + bar.halfY + 1), left + whole(bar.x + bar.halfX + 1)));
}

void DrawCross(const Plot& plot, int32_t x, int32_t y)
{
    constexpr int32_t kSegments[][2] = {{-195, -85}, {-10, 10}, {85, 195}};
    for (const auto& s : kSegments) {
        ScopeMoveTo(plot.port, x + plot.PixelsX(s[0]), y);
        ScopeLineTo(plot.port, x + plot.PixelsX(s[1]), y);
        ScopeMoveTo(plot.port, x, y + plot.PixelsY(s[0]));
        ScopeLineTo(plot.port, x, y + plot.PixelsY(s[1]));
    }
}

void DrawLabels(const Plot& plot, bool isHD, int32_t x, int32_t y)
{
    ScopePort* port = plot.port;
    ScopeMoveTo(port, x + plot.PixelsX(185), y - ScopeMetrics(*port).descent);
    ScopeDrawText(port, "B-Y ");
    ScopeMoveTo(port, x + plot.PixelsX(5), y - plot.PixelsY(183));
    ScopeDrawText(port, "R-Y ");
    const double half = port->font.size / 2.0;
    for (const ColorLabel& label : kLabels) {
        const double angle = Radians(isHD ? label.angleHD : label.angle);
        const Half part = isHD ? label.halfHD : label.half;
        double radius = isHD ? label.radiusHD : label.radius;
        if (part == Half::less) radius -= half;
        if (part == Half::more) radius += half;
        ScopeMoveTo(port, static_cast<int32_t>(std::lround(plot.centerX + radius * plot.UnitX() * std::cos(angle))),
                    static_cast<int32_t>(std::lround(plot.centerY + radius * plot.UnitY() * std::sin(angle))));
        if (label.rightAligned)
            ScopeDrawTextRight(port, label.text);
        else
            ScopeDrawText(port, label.text);
    }
}

void DrawCaption(ScopePort* port, const VectorscopeParams& params, const VectorscopeScale& scale, int32_t left,
                 int32_t top)
{
    const int32_t matrix = params.matrix >= 0 && params.matrix < kOCMatrixCount ? params.matrix : ocMatrix709;
    char text[48];
    std::snprintf(text, sizeof text, "%s %ldx %s", kMatrixNames[matrix], static_cast<long>(params.zoom),
                  params.calibration75 == 1 ? "75%" : "100%");
    port->font.size = std::min(scale.height / 28, 13);
    port->font.italic = true;
    ScopeMoveTo(port, left + scale.width - 5, top + scale.height - ScopeMetrics(*port).descent);
    ScopeDrawTextRight(port, text);
}

} // namespace

bool VectorscopeScaleOf(const VectorscopeParams& params, VectorscopeScale* scale)
{
    VectorscopeScale s = {};
    s.width = ScopeWidthOf(*params.bounds);
    s.height = ScopeHeightOf(*params.bounds);
    const int64_t range = int64_t{params.whiteLevel} - params.blackLevel;
    if (s.width < 1 || s.height < 1 || range == 0) return false;
    const int64_t gain = (params.calibration75 == 1 ? 0x644259 : 0x4B3183) / range;
    s.gainX = gain * s.width / 160;
    s.gainY = gain * s.height / 120;
    s.unitX = int64_t{s.width} * kUnitNumerator / 160;
    s.unitY = int64_t{s.height} * kUnitNumerator / 120;
    *scale = s;
    return true;
}

VectorscopeBar VectorscopeBarOf(const VectorscopeParams& params, const VectorscopeScale& scale, int32_t bar)
{
    const int32_t* c = GetChromaTable(params.matrix);
    const int64_t range = int64_t{params.whiteLevel} - params.blackLevel;
    const int64_t level = std::clamp<int64_t>(params.calibration75 == 1 ? range * 3 / 4 : range, 0, 255);
    const int64_t red = kBarHas[bar][0] ? level : 0, green = kBarHas[bar][1] ? level : 0,
                  blue = kBarHas[bar][2] ? level : 0;
    const int64_t by = int64_t{c[512 + blue]} - c[256 + green] - c[red];
    const int64_t ry = int64_t{c[768 + red]} - c[1280 + blue] - c[1024 + green];
    const auto pixels = [](int64_t value, int64_t gain) { return (((value * gain + 0x8000) >> 16) + 0x8000) >> 16; };
    const int64_t half = (range + 1) * 65536 / 64;
    return {.x = pixels(by, scale.gainX) + scale.width / 2 * scale.unitY / scale.unitX,
            .y = pixels(-ry, scale.gainY) + scale.height / 2,
            .halfX = pixels(half, scale.gainX),
            .halfY = pixels(half, scale.gainY)};
}

void DrawVectorscopeGraticule(ScopePort* port, const VectorscopeParams& params, const VectorscopeScale& scale,
                              int32_t left, int32_t top)
{
    const auto saturation = static_cast<uint32_t>(std::max(params.uiSaturation, 0));
    const ScopeColor major = DesaturateColor(kMajor, saturation);
    const int32_t x = left + scale.width / 2, y = top + scale.height / 2;
    const Plot plot = {.port = port,
                       .scale = scale,
                       .centerX = static_cast<double>(x),
                       .centerY = static_cast<double>(y),
                       .major = ScopeRampOf(major),
                       .minor = ScopeRampOf(DesaturateColor(kMinor, saturation))};
    port->color = {};
    ScopePaintRect(port, ScopeRectOf(top, left, top + scale.height, left + scale.width));
    DrawAntialiasedEllipse(port, plot.major, plot.centerX, plot.centerY, plot.PixelsX(360) / 2.0,
                           plot.PixelsY(360) / 2.0);
    port->color = major;
    DrawCross(plot, x, y);
    for (const double angle : {-33.0, 57.0, 147.0, 237.0}) plot.Radial(plot.major, -angle, 75, 195); // y down
    if (params.matrix == ocMatrix601)
        for (const PolarTarget& target : kPolarTargets) DrawTargetBox(plot, target);
    else
        for (int32_t bar = 0; bar < kVectorscopeBarCount; ++bar)
            DrawBarBox(plot, VectorscopeBarOf(params, scale, bar), left, top);

    ScopeSelectFamily(port, "Arial", "Geneva");
    port->font.bold = true;
    port->font.italic = false;
    port->font.size = std::min(scale.height / 22, 16);
    DrawLabels(plot, params.matrix != ocMatrix601, x, y);
    DrawCaption(port, params, scale, left, top);
}
