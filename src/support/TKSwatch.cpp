// Colours of swatches and the text of their values.
#include "src/support/TKSwatch.h"

#include "src/OCStages.h"
#include "src/platform/BPLog.h"
#include "src/support/TKControlTable.h"
#include "src/support/TKSession.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

float Clamped(float value)
{
    return value > 0 ? std::min(value, 1.0f) : 0.0f; // a NaN counts as 0
}

bool HasData(const TKSwatch* swatch)
{
    if (swatch && swatch->dataBase) return true;
    BPDebugLog("nil SwatchVarsH\n");
    return false;
}

void WriteInteger(TKSwatchRow* row, float value, int32_t scale)
{
    char* const end = row->text + sizeof row->text - 1;
    *std::to_chars(row->text, end, static_cast<int32_t>(Clamped(value) * static_cast<float>(scale))).ptr = 0;
}

/// "%1.*f" in the C locale, with something behind it.
void WriteFixed(TKSwatchRow* row, double value, int decimals, const char* unit)
{
    char* const end = row->text + sizeof row->text - 8;
    const std::to_chars_result result = std::to_chars(row->text, end, value, std::chars_format::fixed, decimals);
    char* const at = result.ec == std::errc() ? result.ptr : row->text;
    std::memcpy(at, unit, std::strlen(unit) + 1);
}

void WriteHex(TKSwatchRow* row, float value)
{
    static constexpr char digits[] = "0123456789abcdef";
    const auto byte = static_cast<uint32_t>(Clamped(value) * 255.0f);
    row->text[0] = digits[byte >> 4 & 15];
    row->text[1] = digits[byte & 15];
    row->text[2] = 0;
}

void FormatHSL(TKSwatchRow* row, const float rgb[3], uint32_t index)
{
    uint16_t components[3];
    for (uint32_t i = 0; i < 3; ++i)
        components[i] = static_cast<uint16_t>(std::lround(static_cast<double>(Clamped(rgb[i])) * 65535.0));
    uint32_t hsl[3];
    RGBToHSL(components, hsl);
    if (index == 0)
        WriteFixed(row, hsl[0] * 360.0 / 65536.0, 0, "\xC2\xB0");
    else
        WriteFixed(row, hsl[index] * 100.0 / 65536.0, 0, " %");
}

} // namespace

const char* TKColorFormatList()
{
    return "RGB 8-bit|RGB 10-bit|RGB 16-bit|RGB floating point|RGB Percent|HSL|Hex";
}

void TKCreateSwatch(TKSwatch* swatch, void* base, uint32_t dataOffset, const char* label, const char* objectName)
{
    *swatch = {.dataBase = static_cast<uint8_t*>(base),
               .dataOffset = dataOffset,
               .showsResult = false,
               .showsValues = false,
               .joinedEdges = 0,
               .format = nullptr,
               .label = label,
               .objectName = objectName,
               .redraw = nullptr,
               .window = nullptr};
}

BPStatus TKRegisterSwatch(TKSession* session, TKSwatch* swatch)
{
    if (!HasData(swatch)) return bpParamErr;
    return TKEnterTable(session->controls.swatch, &session->controls.swatchCount, swatch);
}

void TKForgetSwatch(TKSession* session, TKSwatch* swatch)
{
    TKLeaveTable(session->controls.swatch, &session->controls.swatchCount, swatch);
}

void TKRedrawSwatches(TKSession* session)
{
    const TKControls& controls = session->controls;
    for (uint32_t i = 0; i < controls.swatchCount; ++i)
        if (controls.swatch[i]->redraw) controls.swatch[i]->redraw(controls.swatch[i]->window);
}

void TKSwatchColor(const TKSession* session, const TKSwatch& swatch, float rgb[3])
{
    std::fill_n(rgb, 3, 0.0f);
    if (!HasData(&swatch)) return;
    const uint8_t* field = swatch.dataBase + swatch.dataOffset;
    std::memcpy(rgb, field, 3 * sizeof(float));
    const TKPickTarget& pick = session->pick;
    if (pick.triple && pick.sampled) {
        const TKEyedropper& from = *pick.eyedropper;
        const bool linked = from.linkedOffset != kTKNoOffset && field == from.dataBase + from.linkedOffset;
        if (linked || field == from.dataBase + from.dataOffset) std::memcpy(rgb, pick.triple, 3 * sizeof(float));
    }
    if (swatch.showsResult) {
        OCPixel pixel = {.r = rgb[0], .g = rgb[1], .b = rgb[2], .sourceLuma = 0, .weight = {}};
        OCProcessPixel(&pixel, *OCParametersOf(session->engine));
        rgb[0] = pixel.r;
        rgb[1] = pixel.g;
        rgb[2] = pixel.b;
    }
    for (uint32_t i = 0; i < 3; ++i)
        if (std::isnan(rgb[i])) rgb[i] = 0;
}

void TKSwatchFill(const float rgb[3], uint8_t fill[3])
{
    // As pixels go to the screen, so that a swatch and the picture that it came from have one colour.
    for (uint32_t i = 0; i < 3; ++i) fill[i] = static_cast<uint8_t>(Clamped(rgb[i] + kOCDisplayBias) * 255.0f);
}

bool TKSwatchTextIsWhite(const float rgb[3])
{
    return OCLuma(Clamped(rgb[0]), Clamped(rgb[1]), Clamped(rgb[2])) <= 0.5f;
}

TKSwatchRow TKFormatSwatchRow(const float rgb[3], int32_t format, uint32_t row)
{
    TKSwatchRow made = {};
    if (row > 2) return made;
    static constexpr const char* const kRGBLabels[] = {"R", "G", "B"};
    static constexpr const char* const kHSLLabels[] = {"H", "S", "L"};
    made.label = format == tkColorHSL ? kHSLLabels[row] : kRGBLabels[row];
    switch (format) {
    case tkColorRGB10: WriteInteger(&made, rgb[row], 1023); break;
    case tkColorRGB16: WriteInteger(&made, rgb[row], 32768); break;
    case tkColorRGBFloat: WriteFixed(&made, static_cast<double>(rgb[row]), 4, ""); break;
    case tkColorRGBPercent: WriteFixed(&made, static_cast<double>(Clamped(rgb[row]) * 100.0f), 0, " %"); break;
    case tkColorHSL: FormatHSL(&made, rgb, row); break;
    case tkColorHex: WriteHex(&made, rgb[row]); break;
    case tkColorRGB8:
    default: WriteInteger(&made, rgb[row], 255); break;
    }
    return made;
}

void RGBToHSL(const uint16_t rgb[3], uint32_t hsl[3])
{
    const double r = rgb[0] / 65535.0, g = rgb[1] / 65535.0, b = rgb[2] / 65535.0;
    const double high = std::max({r, g, b}), low = std::min({r, g, b});
    const double sum = high + low, chroma = high - low;
    double hue = 0, saturation = 0;
    if (chroma > 0) {
        saturation = sum <= 1 ? chroma / sum : chroma / (2 - sum);
        hue = high == r ? (g - b) / chroma : high == g ? 2 + (b - r) / chroma : 4 + (r - g) / chroma;
        hue /= 6;
        if (hue < 0) hue += 1;
    }
    const double parts[3] = {hue, saturation, sum / 2};
    for (uint32_t i = 0; i < 3; ++i) hsl[i] = static_cast<uint32_t>(std::lround(parts[i] * 65536.0));
    hsl[0] %= 65536;
}
