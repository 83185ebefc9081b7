// Geometry and last conversion of the image pane.
#include "src/UI/UIImagePane.h"

#include <algorithm>
#include <cmath>
#include <cstring>

TKImageRect TKFitPicture(uint32_t pictureWidth, uint32_t pictureHeight, float pixelAspect, int32_t areaWidth,
                         int32_t areaHeight)
{
    if (pictureWidth == 0 || pictureHeight == 0 || areaWidth <= 0 || areaHeight <= 0) return {};
    const double aspect = std::isfinite(pixelAspect) && pixelAspect > 0 ? static_cast<double>(pixelAspect) : 1.0;
    const double shownWidth = pictureWidth * aspect;
    const double scale = std::min(areaWidth / shownWidth, areaHeight / static_cast<double>(pictureHeight));
    TKImageRect rect = {};
    rect.width = std::clamp(static_cast<int32_t>(std::lround(shownWidth * scale)), 1, areaWidth);
    rect.height = std::clamp(static_cast<int32_t>(std::lround(pictureHeight * scale)), 1, areaHeight);
    rect.x = (areaWidth - rect.width) / 2;
    rect.y = (areaHeight - rect.height) / 2;
    return rect;
}

void TKSurfaceToWords(const ScopeSurface& surface, uint32_t* words, size_t rowWords)
{
    for (uint32_t row = 0; row < surface.height; ++row) {
        const uint8_t* in = surface.pixels + size_t{row} * surface.rowBytes;
        uint32_t* out = words + row * rowWords;
        for (uint32_t column = 0; column < surface.width; ++column) {
            uint32_t word; // in memory alpha, red, green, blue
            std::memcpy(&word, in + size_t{column} * 4, sizeof word);
            out[column] = __builtin_bswap32(word) | 0xFF000000u;
        }
    }
}
