// The luma range display: which of the three ranges a pixel belongs to, as one of three greys.
#include "src/OCEngine.h"

#include <cstring>

namespace {

struct Greys {
    uint32_t light, middle, black;
};

float Unit(float value)
{
    return value > 0 ? (value < 1 ? value : 1) : 0;
}

} // namespace

void OCRenderLumaRangesBand(const OCEngine* engine, const FBFrame* source, void* destination, uint32_t rowBytes,
                            FBPixelFormat format)
{
    if (source->pixelFormat != pixFormatRGBYPlanar_Float) return;
    if (format != pixFormatARGB8 && format != pixFormatBGRA8) return;
    const OCProcessParams& params = *OCParametersOf(engine);
    const bool isARGB = format == pixFormatARGB8;
    const Greys greys = isARGB ? Greys{0xFFEBEBEB, 0xFF7D7D7D, 0xFF000000} : Greys{0xEBEBEBFF, 0x7D7D7DFF, 0x000000FF};
    const bool transferred = isARGB && params.transferOn; // only this format follows the source transfer
    for (uint32_t row = 0; row < source->height; ++row) {
        const auto* luma = reinterpret_cast<const float*>(source->baseAddr + size_t{3} * source->planeBytes +
                                                          size_t{row} * source->rowBytes);
        auto* pixel = static_cast<uint8_t*>(destination) + size_t{row} * rowBytes;
        for (uint32_t column = 0; column < source->width; ++column, pixel += 4) {
            auto index = static_cast<uint32_t>(Unit(luma[column]) * 16384.0f);
            if (transferred) index = static_cast<uint32_t>(Unit(params.transferForward.entry[index]) * 16384.0f);
            const float s = params.weight[ocShadows][index];
            const float m = params.weight[ocMidtones][index];
            const float h = params.weight[ocHighlights][index];
            uint32_t grey = greys.middle;
            if (h > m && h > s)
                grey = greys.light;
            else if (!(m >= h && m > s) && s > h)
                grey = greys.black;
            std::memcpy(pixel, &grey, sizeof grey);
        }
    }
}
