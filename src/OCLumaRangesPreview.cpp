// From the engine's greys to a surface.
#include "src/OCLumaRangesPreview.h"

#include <cstring>

namespace {

/// Puts alpha in front of the three equal components, where a surface has it.
void MoveAlphaFirst(const ScopeSurface& surface)
{
    for (uint32_t row = 0; row < surface.height; ++row) {
        uint8_t* pixel = surface.pixels + size_t{row} * surface.rowBytes;
        for (uint32_t column = 0; column < surface.width; ++column, pixel += 4) {
            uint32_t word;
            std::memcpy(&word, pixel, sizeof word);
            word = word << 8 | word >> 24;
            std::memcpy(pixel, &word, sizeof word);
        }
    }
}

} // namespace

bool LumaRangesPreview(const OCEngine* engine, const FBFrame* source, const ScopeSurface& surface, uint32_t taskCount,
                       MPTask* tasks)
{
    if (!source || source->pixelFormat != pixFormatRGBYPlanar_Float || !surface.pixels) return false;
    if (surface.depth != 32 || surface.width != source->width || surface.height != source->height) return false;
    // Only format 32 follows the transfer; its words have alpha at the other end.
    const bool transferred = OCParametersOf(engine)->transferOn;
    OCRenderLumaRanges(engine, source, surface.pixels, surface.rowBytes, transferred ? pixFormatARGB8 : pixFormatBGRA8,
                       taskCount, tasks);
    if (transferred) MoveAlphaFirst(surface);
    return true;
}
