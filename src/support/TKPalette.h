// The colours of the interface: 41 greys scaled by the preference "UI Brightness", and 13 accents muted by
// "UI Saturation".
#pragma once

#include "src/ScopeColor.h"

using TKColor = ScopeColor;

inline constexpr uint32_t kTKGreyCount = 41;
inline constexpr uint32_t kTKAccentCount = 13;

enum : uint32_t {
    kTKGreyDialog = 0, ///< background of small dialogs
    kTKGreyPanel = 18, ///< decides whether texts are inverted
    kTKGreyText = 28,
    kTKGreyWindow = 40, ///< background of the window
};

struct TKPalette {
    TKColor grey[kTKGreyCount];
    TKColor accent[kTKAccentCount];
};

/// Fills the greys. `uiBrightness` is a 16.16 factor. Entries 19, 20, 28, 29, 37 and 38 are inverted when entry 18 comes
/// out dark, so that text stays readable.   Thread: any, own record.
void PrepareUIPalette(TKPalette* palette, uint32_t uiBrightness);

/// Fills the accents. `uiSaturation` is a 16.16 factor.
void PrepareAccentTable(TKPalette* palette, uint32_t uiSaturation);

/// A colour as 0x00BBGGRR, from the high bytes of its components.
constexpr uint32_t TKColorRef(TKColor color)
{
    return static_cast<uint32_t>(color.red >> 8) | static_cast<uint32_t>(color.green >> 8) << 8 |
           static_cast<uint32_t>(color.blue >> 8) << 16;
}
