// Letters as boxes: texts whose place and size can be seen, without a font.
#pragma once

#include "src/ScopeDraw.h"

#include <cstring>

template <void (*paint)(ScopePort* port, const ScopeRect& box)> ScopeLetters ScopeBoxes()
{
    return {.context = nullptr,
            .hasFamily = [](void*, const char*) { return true; },
            .metrics =
                [](void*, const ScopeFont& font) {
                    return ScopeFontMetrics{font.size * 3 / 4, font.size / 4};
                },
            .width = [](void*, const ScopeFont& font,
                        const char* text) { return static_cast<int32_t>(std::strlen(text)) * font.size / 2; },
            .draw =
                [](void*, const ScopeSurface& surface, const ScopeRect& clip, const ScopeFont& font, ScopeColor color,
                   int32_t x, int32_t baseline, const char* text) {
                    ScopeSurface copy = surface;
                    ScopePort port = ScopePortOn(&copy, nullptr);
                    port.clip = clip;
                    port.color = color;
                    const int32_t width = static_cast<int32_t>(std::strlen(text)) * font.size / 2;
                    paint(&port, ScopeRectOf(baseline - font.size * 3 / 4, x, baseline, x + width));
                }};
}
