// Display surfaces. Sizes are computed in 64 bits and bounded before memory is asked for.
#include "src/ScopeSurface.h"

#include "src/platform/BPMemory.h"

#include <cstring>

namespace {

BPStatus Create(uint32_t width, uint32_t height, uint32_t depth, ScopeSurface* surface)
{
    *surface = {};
    if (width == 0 || height == 0 || width > kScopeSurfaceSideLimit || height > kScopeSurfaceSideLimit)
        return bpParamErr;
    if (uint64_t{width} * height > kScopeSurfacePixelLimit) return bpParamErr;

    const uint64_t rowBytes = ((uint64_t{width} * depth + 7) / 8 + 15) / 16 * 16;
    auto* pixels = static_cast<uint8_t*>(BPAllocate(rowBytes * height));
    if (!pixels) return bpMemFullErr;
    *surface = {.width = width,
                .height = height,
                .rowBytes = static_cast<uint32_t>(rowBytes),
                .depth = depth,
                .pixels = pixels,
                .owned = true};
    return bpNoErr;
}

} // namespace

BPStatus ScopeSurfaceCreate(uint32_t width, uint32_t height, ScopeSurface* surface)
{
    return Create(width, height, 32, surface);
}

BPStatus ScopeSurfaceCreateMask(uint32_t width, uint32_t height, ScopeSurface* surface)
{
    return Create(width, height, 1, surface);
}

void ScopeSurfaceDispose(ScopeSurface* surface)
{
    if (surface->owned) BPFree(surface->pixels);
    *surface = {};
}

void ScopeSurfaceClear(ScopeSurface* surface)
{
    if (surface->pixels) std::memset(surface->pixels, 0, size_t{surface->rowBytes} * surface->height);
}
