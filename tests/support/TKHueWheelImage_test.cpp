// The wheel's background, pixel by pixel against the formula, written down here a second time.
#include "src/support/TKHueWheelImage.h"

#include "tests/support/TKTestSession.h"

#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;

/// Sextants of the hue circle, in another way than the painter's.
void HSLToRGB(double h, double s, double l, double rgb[3])
{
    const double chroma = (1 - std::fabs(2 * l - 1)) * s, sextant = h * 6;
    const double second = chroma * (1 - std::fabs(std::fmod(sextant, 2) - 1)), low = l - chroma / 2;
    const int order[6][3] = {{2, 1, 0}, {1, 2, 0}, {0, 2, 1}, {0, 1, 2}, {1, 0, 2}, {2, 0, 1}};
    const double part[3] = {0, second, chroma};
    for (int i = 0; i < 3; ++i) rgb[i] = low + part[order[static_cast<int>(sextant) % 6][i]];
}

/// Bytes red, green, blue of a pixel by the formula.
void Expected(int x, int y, int radius, uint32_t saturation, double rgb[3])
{
    const double d = std::hypot(x, y), part = d / radius;
    double hue = (360 - (std::atan2(y, x) * 180 / kPi + 103)) / 360;
    if (hue >= 1) hue -= 1;
    HSLToRGB(hue, part * 0.6 + 0.4, (1 - part) * 0.45 + 0.5, rgb);
    const double t = d > radius - 1 ? d - (radius - 1) : 0;
    double word[3];
    for (int i = 0; i < 3; ++i) word[i] = std::max(2 * (rgb[i] * 32768 * (1 - t) + t * 128.50196078431372) - 2, 0.0);
    const double y601 = 0.299 * word[0] + 0.587 * word[1] + 0.114 * word[2], f = saturation / 65536.0;
    for (int i = 0; i < 3; ++i) rgb[i] = (f * word[i] + (1 - f) * y601) / 256;
}

bool IsMark(int x, int y, int radius)
{
    if (std::abs(x) <= 2 && std::abs(y) <= 2) return true;
    const double d = std::hypot(x, y);
    if (d < radius - 10) return false;
    for (int colour = 0; colour < 6; ++colour) {
        const double radians = (360 - 60 * colour - 103) * kPi / 180;
        if (std::fabs(x * std::sin(radians) - y * std::cos(radians)) < 1.5 &&
            x * std::cos(radians) + y * std::sin(radians) > 0)
            return true;
    }
    return false;
}

class TKHueWheelImageTest : public TKSessionTest {};

TEST_F(TKHueWheelImageTest, EveryPixelIsThatOfTheFormula)
{
    for (const uint32_t saturation : {65536u, 32768u, 0u})
        for (const uint32_t side : {31u, 64u, 158u}) {
            ScopeSurface surface = {};
            ASSERT_EQ(ScopeSurfaceCreate(side, side, &surface), bpNoErr);
            const int radius = static_cast<int>(side) / 2 - 5, centre = static_cast<int>(side) / 2;
            TKPaintHueWheel(&surface, radius, 1, saturation);
            for (uint32_t row = 0; row < side; ++row)
                for (uint32_t column = 0; column < side; ++column) {
                    const int x = static_cast<int>(column) - centre, y = static_cast<int>(row) - centre;
                    const uint32_t pixel = TKPixelAt(surface, column, row);
                    if (std::hypot(x, y) > radius) {
                        ASSERT_EQ(pixel, 0u) << x << ", " << y;
                        continue;
                    }
                    if (IsMark(x, y, radius)) continue;
                    double rgb[3];
                    Expected(x, y, radius, saturation, rgb);
                    EXPECT_EQ(pixel >> 24, 0xFFu);
                    for (int i = 0; i < 3; ++i) {
                        const int byte = static_cast<int>(pixel >> (16 - 8 * i) & 0xFF);
                        ASSERT_LE(std::fabs(byte + 0.5 - rgb[i]), 0.75) << x << ", " << y << " of " << radius;
                    }
                }
            ScopeSurfaceDispose(&surface);
        }
}

TEST_F(TKHueWheelImageTest, AColourOfTheRimByHand)
{
    // Straight right the angle is 103 degrees: hue 257/360, half way out saturation 0.7 and lightness 0.725.
    double rgb[3];
    HSLToRGB(257.0 / 360, 0.7, 0.725, rgb);
    const ScopeColor color = TKHueWheelColor(50, 0, 100);
    EXPECT_NEAR(color.red, rgb[0] * 65536 - 2, 16);
    EXPECT_NEAR(color.green, rgb[1] * 65536 - 2, 16);
    EXPECT_NEAR(color.blue, rgb[2] * 65536 - 2, 16);
    const ScopeColor rim = TKHueWheelColor(100, 0, 100); // runs to the grey: (128 doubled less 2)
    EXPECT_EQ(rim.red, 254);
    EXPECT_EQ(rim.green, 254);
    EXPECT_EQ(rim.blue, 254);
}

TEST_F(TKHueWheelImageTest, TheCentreIsMarkedAndTheSixColoursHaveTicks)
{
    ScopeSurface surface = {};
    ASSERT_EQ(ScopeSurfaceCreate(158, 158, &surface), bpNoErr);
    TKPaintHueWheel(&surface, 74, 1, 65536);
    int black = 0;
    for (uint32_t row = 74; row <= 84; ++row)
        for (uint32_t column = 74; column <= 84; ++column) black += TKPixelAt(surface, column, row) == 0xFF000000u;
    EXPECT_EQ(black, 25);
    for (uint32_t row = 77; row <= 81; ++row)
        for (uint32_t column = 77; column <= 81; ++column) EXPECT_EQ(TKPixelAt(surface, column, row), 0xFF000000u);
    for (int colour = 0; colour < 6; ++colour) {
        const double radians = (360 - 60 * colour - 103) * kPi / 180;
        for (int length = 66; length <= 74; ++length)
            EXPECT_EQ(TKPixelAt(surface, static_cast<uint32_t>(79 + static_cast<int>(std::cos(radians) * length)),
                                static_cast<uint32_t>(79 + static_cast<int>(std::sin(radians) * length))),
                      0xFF000000u)
                << colour << " at " << length;
        EXPECT_NE(TKPixelAt(surface, static_cast<uint32_t>(79 + static_cast<int>(std::cos(radians) * 60)),
                            static_cast<uint32_t>(79 + static_cast<int>(std::sin(radians) * 60))),
                  0xFF000000u);
    }
    ScopeSurfaceDispose(&surface);
}

TEST_F(TKHueWheelImageTest, AWheelWithoutRadiusIsTransparent)
{
    ScopeSurface surface = {};
    ASSERT_EQ(ScopeSurfaceCreate(8, 8, &surface), bpNoErr);
    surface.pixels[5] = 7;
    TKPaintHueWheel(&surface, 0, 1, 65536);
    for (uint32_t i = 0; i < 8; ++i) EXPECT_EQ(TKPixelAt(surface, i, i), 0u);
    ScopeSurfaceDispose(&surface);
    TKPaintHueWheel(&surface, 5, 1, 65536); // nothing to draw on
}

TEST_F(TKHueWheelImageTest, WheelsShareOneImageUntilTheSaturationChanges)
{
    Attach();
    session_->prefs.uiSaturation = 65536;
    HueOffsetVars wheel[3] = {};
    for (HueOffsetVars& w : wheel) {
        TKPlaceHueOffset(&w, ScopeRectOf(0, 0, 100, 100));
        ASSERT_EQ(TKPrepareHueWheelImage(session_, &w, 1), bpNoErr);
        EXPECT_EQ(w.wheelImage.pixels, session_->controls.wheelImage->surface.pixels);
        EXPECT_FALSE(w.wheelImage.owned);
    }
    session_->prefs.uiSaturation = 30000;
    ASSERT_EQ(TKPrepareHueWheelImage(session_, &wheel[0], 1), bpNoErr);
    EXPECT_TRUE(wheel[0].wheelImage.owned);
    EXPECT_EQ(wheel[0].imageSaturation, 30000u);
    EXPECT_EQ(wheel[1].wheelImage.pixels, session_->controls.wheelImage->surface.pixels);
    const uint8_t* made = wheel[0].wheelImage.pixels;
    ASSERT_EQ(TKPrepareHueWheelImage(session_, &wheel[0], 1), bpNoErr);
    EXPECT_EQ(wheel[0].wheelImage.pixels, made); // not made again
    session_->prefs.uiSaturation = 65536;
    ASSERT_EQ(TKPrepareHueWheelImage(session_, &wheel[0], 1), bpNoErr);
    EXPECT_EQ(wheel[0].wheelImage.pixels, session_->controls.wheelImage->surface.pixels);
    ASSERT_EQ(TKPrepareHueWheelImage(session_, &wheel[2], 1.5), bpNoErr); // another size is an image of its own
    EXPECT_EQ(wheel[2].wheelImage.width, 144u);
    EXPECT_NE(wheel[2].wheelImage.pixels, wheel[0].wheelImage.pixels);
    for (HueOffsetVars& w : wheel) TKDisposeHueOffset(&w);
}

TEST_F(TKHueWheelImageTest, WheelsThatGrowTogetherPaintOnceForEachSize)
{
    Attach();
    HueOffsetVars wheel[4] = {};
    for (int side = 100; side < 140; side += 8) {
        for (HueOffsetVars& w : wheel) {
            TKPlaceHueOffset(&w, ScopeRectOf(0, 0, side, side));
            ASSERT_EQ(TKPrepareHueWheelImage(session_, &w, 1), bpNoErr);
            EXPECT_EQ(w.wheelImage.width, static_cast<uint32_t>(side - 4));
            EXPECT_EQ(w.wheelImage.pixels, session_->controls.wheelImage->surface.pixels) << side;
        }
        EXPECT_EQ(session_->controls.wheelImage->users, 5u); // the four, and the session
    }
    TKPlaceHueOffset(&wheel[0], ScopeRectOf(0, 0, 60, 60));
    ASSERT_EQ(TKPrepareHueWheelImage(session_, &wheel[0], 1), bpNoErr);
    EXPECT_EQ(wheel[1].wheelImage.width, 128u); // still there for those who show it
    EXPECT_EQ(TKPixelAt(wheel[1].wheelImage, 64, 64), 0xFF000000u);
    EXPECT_EQ(wheel[1].shared->users, 3u);
    for (HueOffsetVars& w : wheel) TKDisposeHueOffset(&w);
    EXPECT_EQ(session_->controls.wheelImage->users, 1u);
}

TEST_F(TKHueWheelImageTest, WithoutMemoryThereIsNoImage)
{
    Attach();
    HueOffsetVars wheel = {};
    TKPlaceHueOffset(&wheel, ScopeRectOf(0, 0, 100, 100));
    BPFailAllocation(1);
    EXPECT_EQ(TKPrepareHueWheelImage(session_, &wheel, 1), bpMemFullErr);
    BPFailAllocation(0);
    EXPECT_EQ(wheel.wheelImage.pixels, nullptr);
    EXPECT_EQ(TKPrepareHueWheelImage(session_, &wheel, 1), bpNoErr);
    TKDisposeHueOffset(&wheel);
}

} // namespace
