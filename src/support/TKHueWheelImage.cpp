// Painting of the wheel's background, pixel by pixel.
#include "src/support/TKHueWheelImage.h"

#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kOne = 32768.0;                // of a fraction of 15 bits
constexpr double kRimGrey = 128.50196078431372; // what the rim runs towards, on the same scale
constexpr int32_t kCentreMark = 5;              // side of the square
constexpr int32_t kTickLength = 8;
constexpr int32_t kMainColours = 6;

/// A fraction of 15 bits: what lies between two steps is cut.
double Fraction(double value)
{
    return std::floor(value * kOne) / kOne;
}

double HueChannel(double m1, double m2, double hue)
{
    hue -= std::floor(hue);
    if (hue * 6 < 1) return m1 + (m2 - m1) * hue * 6;
    if (hue * 2 < 1) return m2;
    if (hue * 3 < 2) return m1 + (m2 - m1) * (2.0 / 3 - hue) * 6;
    return m1;
}

struct Channels {
    double channel[3]; // red, green, blue, 0 to 1
};

Channels FromHSL(double hue, double saturation, double lightness)
{
    const double m2 = lightness <= 0.5 ? lightness * (1 + saturation) : lightness + saturation - lightness * saturation;
    const double m1 = 2 * lightness - m2;
    return {{HueChannel(m1, m2, hue + 1.0 / 3), HueChannel(m1, m2, hue), HueChannel(m1, m2, hue - 1.0 / 3)}};
}

void PutPixel(const ScopeSurface& surface, int32_t column, int32_t row, ScopeColor color)
{
    if (column < 0 || row < 0) return;
    if (column >= static_cast<int32_t>(surface.width) || row >= static_cast<int32_t>(surface.height)) return;
    const uint32_t word = ScopeWordOf(color);
    uint8_t* pixel = surface.pixels + size_t{surface.rowBytes} * static_cast<uint32_t>(row) +
                     4 * size_t{static_cast<uint32_t>(column)};
    std::memcpy(pixel, &word, sizeof word);
}

bool Fits(const ScopeSurface& image, uint32_t imageSaturation, uint32_t side, uint32_t uiSaturation)
{
    return image.pixels && image.width == side && imageSaturation == uiSaturation;
}

void LetGo(TKWheelImage* image)
{
    if (--image->users > 0) return;
    ScopeSurfaceDispose(&image->surface);
    BPFree(image);
}

} // namespace

ScopeColor TKHueWheelColor(int32_t x, int32_t y, int32_t radius)
{
    const double distance = std::hypot(x, y);
    const double part = distance / radius;
    const double degrees = std::atan2(y, x) * 180.0 / kPi;
    double hue = (360.0 - (degrees + kTKWheelTurn)) / 360.0;
    hue -= std::floor(hue); // it runs past 1
    const Channels color = FromHSL(Fraction(hue), Fraction(part * 0.6 + 0.4), Fraction((1 - part) * 0.45 + 0.5));
    const double rim = std::clamp(distance - (radius - 1), 0.0, 1.0);
    uint16_t word[3];
    for (int i = 0; i < 3; ++i) {
        const double level = color.channel[i] * kOne * (1 - rim) + rim * kRimGrey;
        word[i] = static_cast<uint16_t>(std::clamp(std::floor(level) * 2 - 2, 0.0, 65535.0));
    }
    return {word[0], word[1], word[2]};
}

void TKPaintHueWheel(ScopeSurface* target, int32_t radius, int32_t scale, uint32_t uiSaturation)
{
    ScopeSurfaceClear(target);
    const ScopeSurface& surface = *target;
    if (!surface.pixels || radius <= 0) return;
    const auto centre = static_cast<int32_t>(surface.width / 2);
    const auto rows = static_cast<int32_t>(surface.height), columns = static_cast<int32_t>(surface.width);
    for (int32_t row = 0; row < rows; ++row)
        for (int32_t column = 0; column < columns; ++column) {
            const int32_t x = column - centre, y = row - centre;
            if (int64_t{x} * x + int64_t{y} * y > int64_t{radius} * radius) continue;
            PutPixel(surface, column, row, DesaturateColor(TKHueWheelColor(x, y, radius), uiSaturation));
        }

    constexpr ScopeColor black = {0, 0, 0};
    const int32_t half = kCentreMark * scale / 2; // an odd side: the mark has a middle
    for (int32_t row = -half; row <= half; ++row)
        for (int32_t column = -half; column <= half; ++column) PutPixel(surface, centre + column, centre + row, black);
    for (int32_t colour = 0; colour < kMainColours; ++colour) {
        // The hue of a place is the full circle less its angle and the wheel's turn.
        const double radians = (360.0 - 60.0 * colour - kTKWheelTurn) * kPi / 180.0;
        for (int32_t step = 0; step <= 2 * kTickLength * scale; ++step) {
            const double length = radius - step / 2.0;
            if (length < 0) break;
            PutPixel(surface, centre + static_cast<int32_t>(std::trunc(std::cos(radians) * length)),
                     centre + static_cast<int32_t>(std::trunc(std::sin(radians) * length)), black);
        }
    }
}

BPStatus TKPrepareHueWheelImage(TKSession* session, HueOffsetVars* vars, double scale)
{
    const auto side = static_cast<uint32_t>(std::max(std::lround(ScopeWidthOf(vars->wheelRect) * scale), 1L));
    const uint32_t uiSaturation = session->prefs.uiSaturation;
    if (Fits(vars->wheelImage, vars->imageSaturation, side, uiSaturation)) return bpNoErr;
    TKReleaseHueWheelImage(vars);
    vars->imageSaturation = uiSaturation;
    TKWheelImage* shared = session->controls.wheelImage;
    if (!shared || !Fits(shared->surface, shared->saturation, side, uiSaturation)) {
        ScopeSurface image = {};
        if (BPStatus err = ScopeSurfaceCreate(side, side, &image); err != bpNoErr) return err;
        TKPaintHueWheel(&image, static_cast<int32_t>(std::lround(vars->radius * scale)),
                        static_cast<int32_t>(std::max(std::lround(scale), 1L)), uiSaturation);
        const bool isShared = !shared || shared->saturation == uiSaturation;
        auto* fresh = isShared ? static_cast<TKWheelImage*>(BPAllocate(sizeof(TKWheelImage))) : nullptr;
        if (!fresh) {
            vars->wheelImage = image;
            return bpNoErr;
        }
        *fresh = {.surface = image, .saturation = uiSaturation, .users = 1};
        TKForgetWheelImage(session);
        session->controls.wheelImage = shared = fresh;
    }
    ++shared->users;
    vars->shared = shared;
    vars->wheelImage = shared->surface;
    vars->wheelImage.owned = false;
    return bpNoErr;
}

void TKReleaseHueWheelImage(HueOffsetVars* vars)
{
    if (vars->shared) {
        LetGo(vars->shared);
        vars->wheelImage = {};
    } else {
        ScopeSurfaceDispose(&vars->wheelImage);
    }
    vars->shared = nullptr;
}

void TKForgetWheelImage(TKSession* session)
{
    if (session->controls.wheelImage) LetGo(session->controls.wheelImage);
    session->controls.wheelImage = nullptr;
}
