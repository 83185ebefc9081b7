// The strip's pixels.
#include "src/support/TKToneStrip.h"

#include "src/OCStages.h"
#include "src/support/TKSession.h"
#include "src/support/TKSwatch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

void FillRow(uint8_t* from, uint32_t count, const float rgb[3])
{
    uint8_t pixel[4] = {255, 0, 0, 0};
    TKSwatchFill(rgb, pixel + 1);
    for (uint32_t i = 0; i < count; ++i) std::copy_n(pixel, 4, from + size_t{i} * 4);
}

void DrawToneStrip(TKSession* session, const TKUserDraw*, ScopeSurface* surface)
{
    const uint32_t middle = surface->width / 2;
    for (uint32_t row = 0; row < surface->height; ++row) {
        float grey, result[3];
        TKToneAt(session, row, surface->height, &grey, result);
        const float source[3] = {grey, grey, grey};
        uint8_t* at = surface->pixels + size_t{row} * surface->rowBytes;
        FillRow(at, middle, source);
        FillRow(at + size_t{middle} * 4, surface->width - middle, result);
    }
}

/// Black, middle grey and white as the grade makes them, in 8 bits.
void TellTones(TKSession* session, const TKUserDraw*, char* text, uint32_t length)
{
    uint8_t tone[3][3];
    for (uint32_t i = 0; i < 3; ++i) {
        float grey, result[3];
        TKToneAt(session, 2 - i, 3, &grey, result);
        TKSwatchFill(result, tone[i]);
    }
    std::snprintf(text, length, "black %d %d %d, gray %d %d %d, white %d %d %d", tone[0][0], tone[0][1], tone[0][2],
                  tone[1][0], tone[1][1], tone[1][2], tone[2][0], tone[2][1], tone[2][2]);
}

} // namespace

void TKCreateToneStrip(TKUserDraw* control, const char* objectName)
{
    TKCreateUserDraw(control, DrawToneStrip, nullptr, "Tone Strip", objectName);
    control->textProc = TellTones;
    control->paintsBackground = true;
}

void TKToneAt(const TKSession* session, uint32_t row, uint32_t height, float* grey, float result[3])
{
    const uint32_t last = std::max(height, 2u) - 1;
    *grey = static_cast<float>(last - std::min(row, last)) / static_cast<float>(last);
    OCPixel pixel = {.r = *grey, .g = *grey, .b = *grey, .sourceLuma = 0, .weight = {}};
    OCProcessPixel(&pixel, *OCParametersOf(session->engine));
    const float made[3] = {pixel.r, pixel.g, pixel.b};
    for (uint32_t i = 0; i < 3; ++i) result[i] = std::isnan(made[i]) ? 0.0f : made[i];
}
