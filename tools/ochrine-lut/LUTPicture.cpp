// The test picture, and the same picture through the pipeline.
#include "tools/ochrine-lut/LUTTool.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr uint32_t kRamp = 1024, kHues = 24, kHueSteps = 256, kSpread = 40000;

void Add(LUTPicture* picture, float red, float green, float blue)
{
    const float rgb[3] = {red, green, blue};
    for (int plane = 0; plane < 3; ++plane) picture->plane[plane].push_back(std::clamp(rgb[plane], 0.0f, 1.0f));
}

/// A fully saturated hue, 0 to 1 round the circle.
void HueOf(float hue, float rgb[3])
{
    for (int channel = 0; channel < 3; ++channel) {
        const float place = std::fmod(hue * 6 + static_cast<float>((6 - channel * 2) % 6), 6.0f);
        rgb[channel] = std::clamp(std::fabs(place - 3) - 1, 0.0f, 1.0f);
    }
}

/// Part of the sequence that fills a cube evenly: the fractions of multiples of three irrational numbers.
float Spread(uint32_t index, double step)
{
    const double value = (index + 0.5) * step;
    return static_cast<float>(value - std::floor(value));
}

} // namespace

LUTPicture LUTTestPicture()
{
    LUTPicture picture;
    for (uint32_t i = 0; i < kRamp; ++i) {
        const float gray = static_cast<float>(i) / (kRamp - 1);
        Add(&picture, gray, gray, gray);
    }
    for (uint32_t h = 0; h < kHues; ++h) {
        float hue[3];
        HueOf(static_cast<float>(h) / kHues, hue);
        for (uint32_t i = 0; i < kHueSteps; ++i) {
            const float part = static_cast<float>(i) / (kHueSteps - 1);
            Add(&picture, hue[0] * part, hue[1] * part, hue[2] * part);                               // to black
            Add(&picture, 1 - (1 - hue[0]) * part, 1 - (1 - hue[1]) * part, 1 - (1 - hue[2]) * part); // to white
            const float gray = part, weak = 0.25f * part * (1 - part) * 4;                            // weak colours
            Add(&picture, gray + weak * (hue[0] - 0.5f), gray + weak * (hue[1] - 0.5f), gray + weak * (hue[2] - 0.5f));
        }
    }
    // Powers of the number that solves x^4 = x + 1.
    for (uint32_t i = 0; i < kSpread; ++i)
        Add(&picture, Spread(i, 0.8191725133961645), Spread(i, 0.6710436067037893), Spread(i, 0.5497004779019703));
    return picture;
}

LUTPicture LUTThroughPipeline(OCEngine* engine, const OCSettings& grade, const LUTPicture& picture)
{
    LUTPicture graded;
    const size_t count = picture.plane[0].size();
    FBFrame *source = nullptr, *result = nullptr;
    if (FBCreateRGBFrameBuffer(static_cast<uint32_t>(count), 1, &source, pixFormatRGBYPlanar_Float) == bpNoErr &&
        FBCreateRGBFrameBuffer(static_cast<uint32_t>(count), 1, &result, pixFormatRGBYPlanar_Float) == bpNoErr) {
        for (uint32_t plane = 0; plane < 3; ++plane)
            std::memcpy(source->baseAddr + size_t{plane} * source->planeBytes, picture.plane[plane].data(),
                        count * sizeof(float));
        OCUpdateParameters(engine, &grade);
        OCProcessImageBand(engine, source, result, &grade, 0, 0);
        for (uint32_t plane = 0; plane < 3; ++plane) {
            const auto* const first =
                reinterpret_cast<const float*>(result->baseAddr + size_t{plane} * result->planeBytes);
            graded.plane[plane].assign(first, first + count);
        }
    }
    if (source) FBDisposeFrameBuffer(source);
    if (result) FBDisposeFrameBuffer(result);
    return graded;
}
