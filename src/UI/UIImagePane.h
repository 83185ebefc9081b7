// The image pane without its window: where a picture lies in a pane, and which pixel is under a point.
#pragma once

#include "src/ScopeSurface.h"

#include <cstddef>

struct TKImageRect {
    int32_t x, y, width, height; ///< device pixels
};

/// The largest rectangle with the picture's shape inside an area of this size, centred. `pixelAspect` is the width of a
/// pixel over its height. Empty for an empty picture or area.
TKImageRect TKFitPicture(uint32_t pictureWidth, uint32_t pictureHeight, float pixelAspect, int32_t areaWidth,
                         int32_t areaHeight);

/// Writes a surface as 32-bit words 0xFFRRGGBB, rowWords apart: what window systems want. Alpha is shown as opaque.
/// Thread: any, own rows.
void TKSurfaceToWords(const ScopeSurface& surface, uint32_t* words, size_t rowWords);
