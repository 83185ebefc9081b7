// Colours as drawing calls take them, and the muting that every scope and the palette share.
#pragma once

#include <cstdint>

/// 16 bits a component.
struct ScopeColor {
    uint16_t red, green, blue;
};

/// Mutes a colour: each component becomes factor times itself plus (1 - factor) times its luma (0.299, 0.587, 0.114),
/// rounded and clamped to 0..65535. `factor` is 16.16.   Thread: any.
ScopeColor DesaturateColor(ScopeColor color, uint32_t factor);

/// The luma of a colour with the same three weights, as a grey of 16 bits.
uint16_t ScopeGreyOf(ScopeColor color);

/// A pixel of a ScopeSurface read as a little-endian word, from the high bytes of the components. Alpha is the lowest
/// byte, as in memory.
constexpr uint32_t ScopeWordOf(ScopeColor color, uint8_t alpha = 0xFF)
{
    return uint32_t{alpha} | (uint32_t{color.red} >> 8) << 8 | (uint32_t{color.green} >> 8) << 16 |
           (uint32_t{color.blue} >> 8) << 24;
}
