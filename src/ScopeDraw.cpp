// The pen, rectangles and texts of a port.
#include "src/ScopeDraw.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

/// Coordinates beyond this are as good as at it: every clip ends earlier, and no loop is long.
constexpr int32_t kFar = 1 << 17;

int32_t Near(int32_t coordinate)
{
    return std::clamp(coordinate, -kFar, kFar);
}

int16_t ToShort(int32_t coordinate)
{
    return static_cast<int16_t>(
        std::clamp<int32_t>(coordinate, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max()));
}

void Tell(const ScopePort& port, const ScopeMark& mark)
{
    if (port.witness) port.witness->saw(port.witness->context, mark);
}

ScopeRect Limits(const ScopePort& port)
{
    return port.surface ? ScopeIntersection(port.clip, ScopeBoundsOf(*port.surface)) : ScopeRect{};
}

/// Fills the part of columns [left, right) and rows [top, bottom) that lies inside the limits.
void Fill(const ScopePort& port, const ScopeRect& limits, int32_t top, int32_t left, int32_t bottom, int32_t right)
{
    top = std::max<int32_t>(top, limits.top);
    left = std::max<int32_t>(left, limits.left);
    bottom = std::min<int32_t>(bottom, limits.bottom);
    right = std::min<int32_t>(right, limits.right);
    if (top >= bottom || left >= right) return;
    const uint32_t word = ScopeWordOf(port.color);
    const auto rowAt = [&](int32_t row) {
        return port.surface->pixels + static_cast<size_t>(row) * port.surface->rowBytes + static_cast<size_t>(left) * 4;
    };
    constexpr int32_t kNarrow = 8; // less is not worth calls
    if (right - left < kNarrow) {
        for (int32_t row = top; row < bottom; ++row)
            for (int32_t i = 0; i < right - left; ++i)
                std::memcpy(rowAt(row) + static_cast<size_t>(i) * 4, &word, sizeof word);
        return;
    }
    uint8_t* pixel = rowAt(top);
    for (int32_t column = left; column < right; ++column, pixel += 4) std::memcpy(pixel, &word, sizeof word);
    for (int32_t row = top + 1; row < bottom; ++row)
        std::memcpy(rowAt(row), rowAt(top), static_cast<size_t>(right - left) * 4);
}

ScopeMark MarkOf(const ScopePort& port, ScopeMarkKind kind, int32_t x0, int32_t y0, int32_t x1, int32_t y1)
{
    return {.kind = kind,
            .color = port.color,
            .x0 = static_cast<double>(x0),
            .y0 = static_cast<double>(y0),
            .x1 = static_cast<double>(x1),
            .y1 = static_cast<double>(y1),
            .angle0 = 0,
            .angle1 = 0,
            .text = nullptr,
            .font = {},
            .rightAligned = false};
}

/// A sloping line: one dot of the pen's size for each step along the longer side.
void Slope(const ScopePort& port, const ScopeRect& limits, int32_t x, int32_t y, int32_t endX, int32_t endY)
{
    const int64_t width = std::abs(endX - x), height = std::abs(endY - y);
    const int32_t stepX = endX < x ? -1 : 1, stepY = endY < y ? -1 : 1;
    int64_t error = width - height;
    // Whole lines far outside cost nothing; the rest is bounded by the clip's reach.
    if (std::max(x, endX) + port.penSize <= limits.left || std::min(x, endX) >= limits.right) return;
    if (std::max(y, endY) + port.penSize <= limits.top || std::min(y, endY) >= limits.bottom) return;
    for (;;) {
        Fill(port, limits, y, x, y + port.penSize, x + port.penSize);
        if (x == endX && y == endY) return;
        const int64_t twice = 2 * error;
        if (twice > -height) {
            error -= height;
            x += stepX;
        }
        if (twice < width) {
            error += width;
            y += stepY;
        }
    }
}

void DrawLetters(ScopePort* port, const char* text, bool rightAligned)
{
    const int32_t width = ScopeTextWidth(*port, text);
    if (rightAligned) port->penX -= width;
    ScopeMark mark = MarkOf(*port, scopeMarkText, port->penX, port->penY, port->penX + width, port->penY);
    mark.text = text;
    mark.font = port->font;
    mark.rightAligned = rightAligned;
    Tell(*port, mark);
    const ScopeRect limits = Limits(*port);
    if (port->letters && limits.right > limits.left)
        port->letters->draw(port->letters->context, *port->surface, limits, port->font, port->color, port->penX,
                            port->penY, text);
    port->penX += width;
}

} // namespace

ScopeRect ScopeRectOf(int32_t top, int32_t left, int32_t bottom, int32_t right)
{
    return {.top = ToShort(top), .left = ToShort(left), .bottom = ToShort(bottom), .right = ToShort(right)};
}

ScopeRect ScopeIntersection(const ScopeRect& a, const ScopeRect& b)
{
    const ScopeRect both = {.top = std::max(a.top, b.top),
                            .left = std::max(a.left, b.left),
                            .bottom = std::min(a.bottom, b.bottom),
                            .right = std::min(a.right, b.right)};
    return both.top < both.bottom && both.left < both.right ? both : ScopeRect{};
}

ScopeRect ScopeBoundsOf(const ScopeSurface& surface)
{
    if (!surface.pixels) return {};
    return ScopeRectOf(0, 0, static_cast<int32_t>(std::min<uint32_t>(surface.height, kScopeSurfaceSideLimit)),
                       static_cast<int32_t>(std::min<uint32_t>(surface.width, kScopeSurfaceSideLimit)));
}

ScopeRect ScopeInset(const ScopeRect& rect, int32_t distance)
{
    distance = Near(distance);
    ScopeRect inner =
        ScopeRectOf(rect.top + distance, rect.left + distance, rect.bottom - distance, rect.right - distance);
    if (inner.right < inner.left) inner.left = inner.right = ToShort((rect.left + rect.right) / 2);
    if (inner.bottom < inner.top) inner.top = inner.bottom = ToShort((rect.top + rect.bottom) / 2);
    return inner;
}

ScopePort ScopePortOn(ScopeSurface* surface, const ScopeLetters* letters)
{
    return {.surface = surface,
            .clip = ScopeBoundsOf(*surface),
            .color = {},
            .penX = 0,
            .penY = 0,
            .penSize = 1,
            .font = {.family = "", .size = 0, .bold = false, .italic = false},
            .letters = letters,
            .witness = nullptr};
}

void ScopeMoveTo(ScopePort* port, int32_t x, int32_t y)
{
    port->penX = Near(x);
    port->penY = Near(y);
}

void ScopeLineTo(ScopePort* port, int32_t x, int32_t y)
{
    x = Near(x);
    y = Near(y);
    const int32_t fromX = port->penX, fromY = port->penY;
    Tell(*port, MarkOf(*port, scopeMarkLine, fromX, fromY, x, y));
    ScopeMoveTo(port, x, y);
    const ScopeRect limits = Limits(*port);
    if (limits.right <= limits.left) return;
    if (x == fromX || y == fromY)
        Fill(*port, limits, std::min(y, fromY), std::min(x, fromX), std::max(y, fromY) + port->penSize,
             std::max(x, fromX) + port->penSize);
    else
        Slope(*port, limits, fromX, fromY, x, y);
}

void ScopeDrawBars(ScopePort* port, int32_t left, int32_t bottom, const int32_t* tops, int32_t count)
{
    if (port->witness)
        for (int32_t i = 0; i < count; ++i)
            if (tops[i] <= bottom) Tell(*port, MarkOf(*port, scopeMarkLine, left + i, bottom, left + i, tops[i]));
    const ScopeRect limits = Limits(*port);
    const int32_t first = std::max(0, limits.left - left), end = std::min(count, limits.right - left);
    if (first >= end) return;
    const uint32_t word = ScopeWordOf(port->color);
    const int32_t top = std::max<int32_t>(*std::min_element(tops + first, tops + end), limits.top);
    const int32_t last = std::min<int32_t>(bottom, limits.bottom - 1);
    // Row by row: pixels of a column lie too far apart for a cache.
    for (int32_t row = top; row <= last; ++row) {
        uint8_t* pixel = port->surface->pixels + static_cast<size_t>(row) * port->surface->rowBytes +
                         static_cast<size_t>(left + first) * 4;
        for (int32_t i = first; i < end; ++i, pixel += 4) {
            uint32_t have;
            std::memcpy(&have, pixel, sizeof have);
            have = tops[i] <= row ? word : have;
            std::memcpy(pixel, &have, sizeof have);
        }
    }
}

void ScopePaintRect(ScopePort* port, const ScopeRect& rect)
{
    Tell(*port, MarkOf(*port, scopeMarkPaint, rect.left, rect.top, rect.right, rect.bottom));
    Fill(*port, Limits(*port), rect.top, rect.left, rect.bottom, rect.right);
}

void ScopeFrameRect(ScopePort* port, const ScopeRect& rect)
{
    Tell(*port, MarkOf(*port, scopeMarkFrame, rect.left, rect.top, rect.right, rect.bottom));
    if (rect.right <= rect.left || rect.bottom <= rect.top) return;
    const ScopeRect limits = Limits(*port);
    const int32_t wide = std::min(port->penSize, ScopeWidthOf(rect)),
                  high = std::min(port->penSize, ScopeHeightOf(rect));
    Fill(*port, limits, rect.top, rect.left, rect.top + high, rect.right);
    Fill(*port, limits, rect.bottom - high, rect.left, rect.bottom, rect.right);
    Fill(*port, limits, rect.top, rect.left, rect.bottom, rect.left + wide);
    Fill(*port, limits, rect.top, rect.right - wide, rect.bottom, rect.right);
}

void ScopeSelectFamily(ScopePort* port, const char* family, const char* fallback)
{
    const bool has = !port->letters || port->letters->hasFamily(port->letters->context, family);
    port->font.family = has ? family : fallback;
}

ScopeFontMetrics ScopeMetrics(const ScopePort& port)
{
    if (!port.letters) return {};
    return port.letters->metrics(port.letters->context, port.font);
}

int32_t ScopeTextWidth(const ScopePort& port, const char* text)
{
    return port.letters ? port.letters->width(port.letters->context, port.font, text) : 0;
}

void ScopeDrawText(ScopePort* port, const char* text)
{
    DrawLetters(port, text, false);
}

void ScopeDrawTextRight(ScopePort* port, const char* text)
{
    DrawLetters(port, text, true);
}
