// Geometry of the split line, its mask, and the compositor.
#include "src/TincturaUIDispSplit.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

struct Point {
    float x, y;
};

bool IsInside(Point p)
{
    return p.x >= 0 && p.x <= 1 && p.y >= 0 && p.y <= 1;
}

bool IsOnBorder(Point p)
{
    return IsInside(p) && (p.x == 0 || p.x == 1 || p.y == 0 || p.y == 1);
}

/// Narrows the interval of t in which from + t * step lies in 0 to 1. False when nothing is left.
bool ClipTo(double from, double step, double* first, double* last)
{
    if (step == 0) return from >= 0 && from <= 1;
    const double a = (0 - from) / step, b = (1 - from) / step;
    *first = std::max(*first, std::min(a, b));
    *last = std::min(*last, std::max(a, b));
    return *first <= *last;
}

float Clamped(double value)
{
    return static_cast<float>(std::clamp(value, 0.0, 1.0));
}

/// Above 0 on the side of the first picture.
double SideOf(const ScopeSplitLine& line, Point p)
{
    return (static_cast<double>(line.x2) - static_cast<double>(line.x1)) *
               (static_cast<double>(p.y) - static_cast<double>(line.y1)) -
           (static_cast<double>(line.y2) - static_cast<double>(line.y1)) *
               (static_cast<double>(p.x) - static_cast<double>(line.x1));
}

/// Bits of a row from column `first` up to `end`.
void SetBits(uint8_t* row, uint32_t first, uint32_t end)
{
    for (uint32_t column = first; column < end;) {
        if (column % 8 == 0 && end - column >= 8) {
            row[column / 8] = 0xFF;
            column += 8;
        } else {
            row[column / 8] = static_cast<uint8_t>(row[column / 8] | (0x80u >> (column % 8)));
            ++column;
        }
    }
}

uint32_t ColumnAt(double fraction, uint32_t width)
{
    // The first column whose middle is not left of the place.
    return static_cast<uint32_t>(std::clamp(std::ceil(fraction * width - 0.5), 0.0, static_cast<double>(width)));
}

void CopyPixels(uint8_t* to, const uint8_t* from, uint32_t first, uint32_t end)
{
    if (first >= end) return;
    std::memcpy(to + size_t{first} * 4, from + size_t{first} * 4, size_t{end - first} * 4);
}

/// Copies the pixels of a row whose bits are set; `width` of them at most.
void CopyMasked(uint8_t* to, const uint8_t* from, const uint8_t* bits, uint32_t width)
{
    uint32_t runStart = 0;
    bool inRun = false;
    for (uint32_t column = 0; column < width;) {
        const uint8_t byte = bits[column / 8];
        const bool whole = column % 8 == 0 && width - column >= 8 && (byte == 0 || byte == 0xFF);
        const bool set = whole ? byte != 0 : ((byte >> (7 - column % 8)) & 1) != 0;
        if (set && !inRun) runStart = column;
        if (!set && inRun) CopyPixels(to, from, runStart, column);
        inRun = set;
        column += whole ? 8 : 1;
    }
    if (inRun) CopyPixels(to, from, runStart, width);
}

void MakeOpaque(uint8_t* row, uint32_t width)
{
    for (uint32_t column = 0; column < width; ++column) row[size_t{column} * 4] = 0xFF;
}

} // namespace

ScopeSplitLine ScopeDefaultSplitLine()
{
    return {.x1 = 0.5f, .y1 = 0, .x2 = 0.5f, .y2 = 1};
}

ScopeSplitLine ComputeSplitEnds(const ScopeSplitLine& line)
{
    for (const float value : {line.x1, line.y1, line.x2, line.y2})
        if (!std::isfinite(value)) return ScopeDefaultSplitLine();
    if (line.x1 < 0 && line.x2 < 0) return {0, 0, 0, 1};
    if (line.x1 > 1 && line.x2 > 1) return {1, 0, 1, 1};
    if (line.y1 < 0 && line.y2 < 0) return {0, 0, 1, 0};
    if (line.y1 > 1 && line.y2 > 1) return {0, 1, 1, 1};
    if (IsOnBorder({line.x1, line.y1}) && IsOnBorder({line.x2, line.y2})) return line;

    const double x = static_cast<double>(line.x1), y = static_cast<double>(line.y1);
    const double stepX = static_cast<double>(line.x2) - x, stepY = static_cast<double>(line.y2) - y;
    double first = -HUGE_VAL, last = HUGE_VAL;
    const bool crosses =
        (stepX != 0 || stepY != 0) && ClipTo(x, stepX, &first, &last) && ClipTo(y, stepY, &first, &last);
    if (!crosses) return {Clamped(x), Clamped(y), Clamped(x + stepX), Clamped(y + stepY)};
    return {Clamped(x + first * stepX), Clamped(y + first * stepY), Clamped(x + last * stepX),
            Clamped(y + last * stepY)};
}

ScopeSplitPolygon ScopeSplitPolygonOf(const ScopeSplitLine& ends)
{
    constexpr Point corners[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    const bool isPoint = ends.x1 == ends.x2 && ends.y1 == ends.y2; // no line: the second picture alone
    ScopeSplitPolygon polygon = {};
    const auto add = [&polygon](Point p) {
        if (polygon.count == 6) return;
        polygon.x[polygon.count] = p.x;
        polygon.y[polygon.count++] = p.y;
    };
    for (int i = 0; i < 4; ++i) {
        const Point here = corners[i], next = corners[(i + 1) % 4];
        const double a = isPoint ? -1 : SideOf(ends, here), b = isPoint ? -1 : SideOf(ends, next);
        if (a <= 0) add(here);
        if ((a < 0 && b > 0) || (a > 0 && b < 0)) {
            const double t = a / (a - b);
            add({static_cast<float>(static_cast<double>(here.x) + t * static_cast<double>(next.x - here.x)),
                 static_cast<float>(static_cast<double>(here.y) + t * static_cast<double>(next.y - here.y))});
        }
    }
    if (polygon.count < 3) polygon.count = 0;
    return polygon;
}

void ScopeFillMask(ScopeSurface* mask, const ScopeSplitPolygon& polygon)
{
    if (!mask->pixels || mask->depth != 1) return;
    ScopeSurfaceClear(mask);
    if (polygon.count == 0) return;
    for (uint32_t row = 0; row < mask->height; ++row) {
        const double y = (row + 0.5) / mask->height;
        double left = HUGE_VAL, right = -HUGE_VAL;
        for (int i = 0; i < polygon.count; ++i) {
            const int n = (i + 1) % polygon.count;
            const double y0 = static_cast<double>(polygon.y[i]), y1 = static_cast<double>(polygon.y[n]);
            if (y0 == y1 || y < std::min(y0, y1) || y > std::max(y0, y1)) continue;
            const double x0 = static_cast<double>(polygon.x[i]), x1 = static_cast<double>(polygon.x[n]);
            const double x = x0 + (x1 - x0) * (y - y0) / (y1 - y0);
            left = std::min(left, x);
            right = std::max(right, x);
        }
        if (left < right)
            SetBits(mask->pixels + size_t{row} * mask->rowBytes, ColumnAt(left, mask->width),
                    ColumnAt(right, mask->width));
    }
}

void DrawSplitView(ScopeSurface* target, const ScopeSurface* first, const ScopeSurface* second,
                   const ScopeSurface& mask)
{
    if (!target->pixels) return;
    for (uint32_t row = 0; row < target->height; ++row) {
        uint8_t* out = target->pixels + size_t{row} * target->rowBytes;
        const bool hasFirst = first && first->pixels && row < first->height;
        const uint32_t firstWidth = hasFirst ? std::min(first->width, target->width) : 0;
        if (hasFirst) CopyPixels(out, first->pixels + size_t{row} * first->rowBytes, 0, firstWidth);
        if (firstWidth < target->width)
            std::memset(out + size_t{firstWidth} * 4, kScopeMissingGrey, size_t{target->width - firstWidth} * 4);
        if (second && second->pixels && row < second->height && mask.pixels && row < mask.height)
            CopyMasked(out, second->pixels + size_t{row} * second->rowBytes, mask.pixels + size_t{row} * mask.rowBytes,
                       std::min({second->width, target->width, mask.width}));
        MakeOpaque(out, target->width);
    }
}
