// The table of colour match and the values in it.
#include "src/OCColorMatch.h"

#include "src/OCStages.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>

namespace {

constexpr char kHSLPopup[] = "H + S + L|Hue|Saturation|Luminance|H + S|H + L|S + L";
constexpr char kRGBPopup[] = "R + G + B|Master|Red|Green|Blue|R + G|R + B|G + B";
constexpr char kCMYPopup[] = "C + M + Y|Master|Cyan|Magenta|Yellow|C + M|C + Y|M + Y";
constexpr char kYCbCrPopup[] = "Y + Cb + Cr|Master|Y|Cb|Cr|Y + Cb|Y + Cr|Cb + Cr";

constexpr uint32_t Entries(std::initializer_list<uint32_t> list)
{
    uint32_t mask = 0;
    for (uint32_t entry : list) mask |= 1u << entry;
    return mask;
}

// One of three, and in two of the pairs.
constexpr uint32_t kHue = Entries({1, 2, 5, 6}), kSaturation = Entries({1, 3, 5, 7}),
                   kLuminance = Entries({1, 4, 6, 7});
constexpr uint32_t kMaster = Entries({2});
constexpr uint32_t kFirst = Entries({1, 3, 6, 7}), kSecond = Entries({1, 4, 6, 8}), kThird = Entries({1, 5, 7, 8});

#define AT(field) static_cast<uint32_t>(offsetof(OCSettings, field))

constexpr OCMatchRow Float(uint32_t entries, OCMatchValue value, uint32_t offset, uint32_t toolMask)
{
    return {.entries = entries,
            .value = value,
            .offset = offset,
            .count = 1,
            .stride = 0,
            .toolMask = toolMask,
            .curveMask = 0};
}

constexpr OCMatchRow SixFloats(uint32_t entries, OCMatchValue value, uint32_t offset)
{
    return {.entries = entries,
            .value = value,
            .offset = offset,
            .count = kOCSecondaryCount,
            .stride = sizeof(OCSecondary),
            .toolMask = kOCResetSecondary * ((1u << kOCSecondaryCount) - 1),
            .curveMask = 0};
}

constexpr OCMatchRow Point(uint32_t entries, OCMatchValue value, uint32_t curve)
{
    return {.entries = entries,
            .value = value,
            .offset = static_cast<uint32_t>(AT(rgbCurve) + curve * sizeof(HCurve)),
            .count = 1,
            .stride = 0,
            .toolMask = 0,
            .curveMask = kOCResetRGBCurve << curve};
}

constexpr OCMatchRow kHSLRows[] = {
    Float(kHue, ocMatchHue, AT(hsl.master.hue), kOCResetHSL),
    Float(kSaturation, ocMatchSaturation, AT(hsl.master.saturation), kOCResetHSL),
    Float(kLuminance, ocMatchLuma, AT(hsl.master.gain), kOCResetHSL),
};
constexpr OCMatchRow kRGBRows[] = {
    Float(kMaster, ocMatchLuma, AT(rgb.master.group.gain), kOCResetRGB),
    Float(kFirst, ocMatchRed, AT(rgb.master.channel[0].gain), kOCResetRGB),
    Float(kSecond, ocMatchGreen, AT(rgb.master.channel[1].gain), kOCResetRGB),
    Float(kThird, ocMatchBlue, AT(rgb.master.channel[2].gain), kOCResetRGB),
};
constexpr OCMatchRow kCMYRows[] = {
    Float(kMaster, ocMatchLuma, AT(cmy.master.group.gain), kOCResetCMY),
    Float(kFirst, ocMatchCyan, AT(cmy.master.channel[0].gain), kOCResetCMY),
    Float(kSecond, ocMatchMagenta, AT(cmy.master.channel[1].gain), kOCResetCMY),
    Float(kThird, ocMatchYellow, AT(cmy.master.channel[2].gain), kOCResetCMY),
};
constexpr OCMatchRow kYCbCrRows[] = {
    Float(kMaster, ocMatchLuma, AT(ycbcr.master.group.gain), kOCResetYCbCr),
    Float(kFirst, ocMatchLuma, AT(ycbcr.master.channel[0].gain), kOCResetYCbCr),
    Float(kSecond, ocMatchCb, AT(ycbcr.master.channel[1].gain), kOCResetYCbCr),
    Float(kThird, ocMatchCr, AT(ycbcr.master.channel[2].gain), kOCResetYCbCr),
};
constexpr OCMatchRow kCurveRows[] = {
    Point(kMaster, ocMatchLumaPoint, 0),
    Point(kFirst, ocMatchRedPoint, 1),
    Point(kSecond, ocMatchGreenPoint, 2),
    Point(kThird, ocMatchBluePoint, 3),
};
constexpr OCMatchRow kSecondaryRows[] = {
    SixFloats(kHue, ocMatchHue, AT(secondary[0].hue)),
    SixFloats(kSaturation, ocMatchSaturation, AT(secondary[0].saturation)),
};
#undef AT

constexpr OCMatchPaneRow kPanes[] = {
    {.pane = ocMatchHSL, .popup = kHSLPopup, .entryCount = 7, .rows = kHSLRows},
    {.pane = ocMatchHueOffsets, .popup = kHSLPopup, .entryCount = 7, .rows = {}},
    {.pane = ocMatchRGB, .popup = kRGBPopup, .entryCount = 8, .rows = kRGBRows},
    {.pane = ocMatchCMY, .popup = kCMYPopup, .entryCount = 8, .rows = kCMYRows},
    {.pane = ocMatchYCbCr, .popup = kYCbCrPopup, .entryCount = 8, .rows = kYCbCrRows},
    {.pane = ocMatchCurves, .popup = kRGBPopup, .entryCount = 8, .rows = kCurveRows},
    // Deliberate: the list of the HSL pane, though a secondary has no luminance to match: its entry 4 writes nothing.
    {.pane = ocMatchSecondary, .popup = kHSLPopup, .entryCount = 7, .rows = kSecondaryRows},
};

constexpr bool PanesAreSound()
{
    for (uint32_t i = 0; i < ocMatchPaneCount; ++i) {
        if (kPanes[i].pane != i) return false;
        uint32_t entries = 1;
        for (const char* c = kPanes[i].popup; *c; ++c) entries += *c == '|';
        if (entries != kPanes[i].entryCount) return false;
        for (const OCMatchRow& row : kPanes[i].rows) {
            const size_t bytes = row.value >= ocMatchLumaPoint ? sizeof(HCurve) : sizeof(float);
            if (row.entries >> (entries + 1) || row.entries & 1 || row.count == 0) return false;
            if (row.offset + (row.count - 1) * size_t{row.stride} + bytes > sizeof(OCSettings)) return false;
        }
    }
    return true;
}
static_assert(std::size(kPanes) == ocMatchPaneCount && PanesAreSound());

/// A colour as the formulas want it.
struct Color {
    float r, g, b, y, u, v, cb, cr;
};

Color ColorOf(const float rgb[3])
{
    const float r = rgb[0], g = rgb[1], b = rgb[2];
    return {.r = r,
            .g = g,
            .b = b,
            .y = OCLuma(r, g, b),
            .u = -0.147407f * r - 0.289391f * g + 0.436798f * b,
            .v = 0.614777f * r - 0.514799f * g - 0.099978f * b,
            .cb = -0.168736f * r - 0.331264f * g + 0.5f * b,
            .cr = 0.5f * r - 0.418688f * g - 0.081312f * b};
}

float SaturationOf(const Color& c)
{
    const float mx = std::max({c.r, c.g, c.b}), mn = std::min({c.r, c.g, c.b});
    return mx == 0 ? 0.0f : (mx - mn) / mx;
}

/// In double, rounded once.
float HueBetween(const Color& source, const Color& target)
{
    const double from = std::atan2(static_cast<double>(source.u), static_cast<double>(source.v));
    const double to = std::atan2(static_cast<double>(target.u), static_cast<double>(target.v));
    return static_cast<float>((from - to) / 0.01745329);
}

/// The value of a row that is not a point.
float ValueOf(OCMatchValue value, const Color& source, const Color& target)
{
    const float red = target.r / source.r, green = target.g / source.g, blue = target.b / source.b;
    // Gains of cyan, magenta and yellow act on two channels each; this factor makes their products the ratios again.
    const float fold = std::sqrt(1 / (red * green * blue));
    switch (value) {
    case ocMatchHue: return HueBetween(source, target);
    case ocMatchSaturation: return SaturationOf(target) * 100 / SaturationOf(source);
    case ocMatchLuma: return target.y / source.y;
    case ocMatchRed: return red;
    case ocMatchGreen: return green;
    case ocMatchBlue: return blue;
    case ocMatchCb: return target.cb / source.cb;
    case ocMatchCr: return target.cr / source.cr;
    case ocMatchCyan: return blue * green * fold;
    case ocMatchMagenta: return blue * red * fold;
    case ocMatchYellow: return green * red * fold;
    case ocMatchLumaPoint:
    case ocMatchRedPoint:
    case ocMatchGreenPoint:
    case ocMatchBluePoint: break;
    }
    return 0;
}

/// The coordinate that a point takes from a colour.
float CoordinateOf(OCMatchValue value, const Color& color)
{
    if (value == ocMatchLumaPoint) return color.y;
    return value == ocMatchRedPoint ? color.r : value == ocMatchGreenPoint ? color.g : color.b;
}

} // namespace

std::span<const OCMatchPaneRow> OCMatchPanes()
{
    return kPanes;
}

OCMatchGroups OCMatchColors(OCSettings* settings, OCMatchPane pane, uint32_t entry, const float source[3],
                            const float target[3])
{
    OCMatchGroups groups = {};
    if (static_cast<uint32_t>(pane) >= ocMatchPaneCount) return groups;
    const OCMatchPaneRow& table = kPanes[pane];
    if (entry < 1 || entry > table.entryCount) return groups;
    const Color from = ColorOf(source), to = ColorOf(target);
    for (const OCMatchRow& row : table.rows) {
        if (!(row.entries >> entry & 1)) continue;
        auto* place = reinterpret_cast<uint8_t*>(settings) + row.offset;
        if (row.value >= ocMatchLumaPoint) {
            auto* curve = reinterpret_cast<HCurve*>(place);
            if (!OCAddCurvePoint(curve, CoordinateOf(row.value, from), CoordinateOf(row.value, to))) continue;
        } else {
            const float value = ValueOf(row.value, from, to);
            for (uint32_t i = 0; i < row.count; ++i) std::memcpy(place + size_t{i} * row.stride, &value, sizeof value);
        }
        groups.toolMask |= row.toolMask;
        groups.curveMask |= row.curveMask;
    }
    return groups;
}

OCMatchGroups OCMatchColorsAt(OCSettings* settings, OCMatchPane pane, uint32_t entry, uint32_t sourceOffset,
                              uint32_t targetOffset)
{
    float source[3], target[3];
    constexpr uint32_t last = sizeof(OCSettings) - sizeof source;
    if (sourceOffset > last || targetOffset > last) return {};
    const auto* record = reinterpret_cast<const uint8_t*>(settings);
    std::memcpy(source, record + sourceOffset, sizeof source);
    std::memcpy(target, record + targetOffset, sizeof target);
    return OCMatchColors(settings, pane, entry, source, target);
}

bool OCAddCurvePoint(HCurve* curve, float x, float y)
{
    if (curve->curveKind & 1 || !std::isfinite(x) || !std::isfinite(y)) return false;
    HCurvePoints& points = curve->points.xy;
    if (points.pointCount < 0 || points.pointCount >= static_cast<int32_t>(kOCCurvePointLimit)) return false;
    const auto count = static_cast<uint32_t>(points.pointCount);
    uint32_t place = 0;
    while (place < count && !(points.x[place] > x)) ++place;
    for (uint32_t i = count; i > place; --i) {
        points.x[i] = points.x[i - 1];
        points.y[i] = points.y[i - 1];
    }
    points.x[place] = x;
    points.y[place] = y;
    ++points.pointCount;
    return true;
}
