// A display surface: a 32-bit off-screen raster, four bytes a pixel in memory order alpha, red, green, blue.
//
// The pictures of the panes and the scopes are drawn into surfaces; a widget only shows one. A mask is the same record
// with one bit a pixel.
#pragma once

#include "src/platform/BPStatus.h"

struct ScopeSurface {
    uint32_t width;    ///< pixels
    uint32_t height;   ///< rows
    uint32_t rowBytes; ///< between the starts of two rows; a multiple of 16, so that groups of four pixels fit
    uint32_t depth;    ///< bits a pixel: 32, or 1 for a mask
    uint8_t* pixels;   ///< row 0; null when there is no surface
    bool owned;        ///< the memory belongs to this record
};

/// The largest side of a surface and the largest number of its pixels.
inline constexpr uint32_t kScopeSurfaceSideLimit = 65535;
inline constexpr uint64_t kScopeSurfacePixelLimit = uint64_t{1} << 27;

/// Makes a zeroed surface of 32 bits a pixel.
///
/// width, height   in pixels, both at least 1
/// surface         what it held is not released; after a failure it holds nothing (all zero)
///
/// Returns bpNoErr, bpParamErr for a size of 0 or beyond the limits, or bpMemFullErr.   Thread: any, own record.
BPStatus ScopeSurfaceCreate(uint32_t width, uint32_t height, ScopeSurface* surface);

/// The same with one bit a pixel, the leftmost pixel in the highest bit of a byte.
BPStatus ScopeSurfaceCreateMask(uint32_t width, uint32_t height, ScopeSurface* surface);

/// Releases the memory, when it belongs to the surface, and clears the record. An empty record is left alone.
void ScopeSurfaceDispose(ScopeSurface* surface);

/// Makes every byte of the surface zero. An empty record is left alone.
void ScopeSurfaceClear(ScopeSurface* surface);
