// Planes of a graded frame to pictures for an encoder.
#include "host/PictureConvert.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

const float* PlaneRow(const FBFrame& frame, uint32_t plane, uint32_t row)
{
    return reinterpret_cast<const float*>(frame.baseAddr + size_t{plane} * frame.planeBytes +
                                          size_t{row} * frame.rowBytes);
}

uint8_t* PictureRow(AVFrame* picture, int plane, uint32_t row)
{
    return picture->data[plane] + static_cast<ptrdiff_t>(row) * picture->linesize[plane];
}

/// Rounds and cuts; a NaN becomes `low`.
uint16_t Code(float value, float low, float high)
{
    if (!(value > low)) return static_cast<uint16_t>(low);
    return static_cast<uint16_t>(std::min(value, high) + 0.5f);
}

/// NaN and infinities would spread through the chroma filter.
float Tame(float value)
{
    return value >= -16.0f ? std::min(value, 16.0f) : (value < 0.0f ? -16.0f : 0.0f);
}

} // namespace

void PictureFromFrame422(const FBFrame& frame, ClipMatrix matrix, bool isChromaHalved, AVFrame* picture)
{
    const LumaWeights weights = WeightsOf(matrix);
    const float wr = static_cast<float>(weights.red);
    const float wb = static_cast<float>(weights.blue);
    const float wg = static_cast<float>(1.0 - weights.red - weights.blue);
    const float toCr = static_cast<float>(0.5 / (1.0 - weights.red));
    const float toCb = static_cast<float>(0.5 / (1.0 - weights.blue));
    const uint32_t width = frame.width;
    std::vector<float> cb(width), cr(width);
    for (uint32_t row = 0; row < frame.height; ++row) {
        const float* red = PlaneRow(frame, 0, row);
        const float* green = PlaneRow(frame, 1, row);
        const float* blue = PlaneRow(frame, 2, row);
        auto* luma = reinterpret_cast<uint16_t*>(PictureRow(picture, 0, row));
        for (uint32_t x = 0; x < width; ++x) {
            const float r = Tame(red[x]);
            const float g = Tame(green[x]);
            const float b = Tame(blue[x]);
            const float y = wr * r + wg * g + wb * b;
            luma[x] = Code(64.0f + 876.0f * y, 4.0f, 1019.0f);
            cb[x] = (b - y) * toCb;
            cr[x] = (r - y) * toCr;
        }
        auto* outCb = reinterpret_cast<uint16_t*>(PictureRow(picture, 1, row));
        auto* outCr = reinterpret_cast<uint16_t*>(PictureRow(picture, 2, row));
        const auto halve = [width, isChromaHalved](const std::vector<float>& line, uint32_t x) {
            if (isChromaHalved) return line[x];
            const uint32_t last = width - 1;
            const float near = line[x < 1 ? 0 : x - 1] + line[std::min(x + 1, last)];
            const float far = line[x < 3 ? 0 : x - 3] + line[std::min(x + 3, last)];
            return 0.5f * line[x] + 0.28125f * near - 0.03125f * far;
        };
        for (uint32_t x = 0; x < width; x += 2) {
            const float u = halve(cb, x);
            const float v = halve(cr, x);
            outCb[x / 2] = Code(512.0f + 896.0f * u, 4.0f, 1019.0f);
            outCr[x / 2] = Code(512.0f + 896.0f * v, 4.0f, 1019.0f);
        }
    }
}

void PictureFromFrame444(const FBFrame& frame, ClipMatrix matrix, const float* alpha, AVFrame* picture)
{
    const LumaWeights weights = WeightsOf(matrix);
    const float wr = static_cast<float>(weights.red);
    const float wb = static_cast<float>(weights.blue);
    const float wg = static_cast<float>(1.0 - weights.red - weights.blue);
    const float toCr = static_cast<float>(0.5 / (1.0 - weights.red));
    const float toCb = static_cast<float>(0.5 / (1.0 - weights.blue));
    const uint32_t width = frame.width;
    for (uint32_t row = 0; row < frame.height; ++row) {
        const float* red = PlaneRow(frame, 0, row);
        const float* green = PlaneRow(frame, 1, row);
        const float* blue = PlaneRow(frame, 2, row);
        auto* luma = reinterpret_cast<uint16_t*>(PictureRow(picture, 0, row));
        auto* cb = reinterpret_cast<uint16_t*>(PictureRow(picture, 1, row));
        auto* cr = reinterpret_cast<uint16_t*>(PictureRow(picture, 2, row));
        for (uint32_t x = 0; x < width; ++x) {
            const float r = Tame(red[x]);
            const float g = Tame(green[x]);
            const float b = Tame(blue[x]);
            const float y = wr * r + wg * g + wb * b;
            luma[x] = Code(64.0f + 876.0f * y, 4.0f, 1019.0f);
            cb[x] = Code(512.0f + 896.0f * ((b - y) * toCb), 4.0f, 1019.0f);
            cr[x] = Code(512.0f + 896.0f * ((r - y) * toCr), 4.0f, 1019.0f);
        }
        if (alpha == nullptr) continue;
        auto* out = reinterpret_cast<uint16_t*>(PictureRow(picture, 3, row));
        for (uint32_t x = 0; x < width; ++x) out[x] = Code(alpha[size_t{row} * width + x] * 1023.0f, 0.0f, 1023.0f);
    }
}

void PictureFromFrame48(const FBFrame& frame, AVFrame* picture)
{
    for (uint32_t row = 0; row < frame.height; ++row) {
        uint8_t* out = PictureRow(picture, 0, row);
        const float* planes[3] = {PlaneRow(frame, 0, row), PlaneRow(frame, 1, row), PlaneRow(frame, 2, row)};
        for (uint32_t x = 0; x < frame.width; ++x) {
            for (const float* plane : planes) {
                const uint16_t code = Code(plane[x] * 65535.0f, 0.0f, 65535.0f);
                *out++ = static_cast<uint8_t>(code >> 8);
                *out++ = static_cast<uint8_t>(code & 255);
            }
        }
    }
}

void PictureFromFrameFloat(const FBFrame& frame, AVFrame* picture)
{
    constexpr uint32_t planeOf[3] = {1, 2, 0}; // G, B, R
    for (int plane = 0; plane < 3; ++plane) {
        for (uint32_t row = 0; row < frame.height; ++row) {
            std::memcpy(PictureRow(picture, plane, row), PlaneRow(frame, planeOf[plane], row),
                        size_t{frame.width} * sizeof(float));
        }
    }
}
