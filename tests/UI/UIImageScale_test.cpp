// The way of a picture to the screen, against a plain computation of what each shown pixel covers.
#include "src/UI/UIImageScale.h"

#include "tests/ScopesTest.h"

#include <cmath>

namespace {

using Words = std::vector<uint32_t>;

Words Scaled(const ScopeSurface& surface, const TKScaleAxis& across, const TKScaleAxis& down, TKScaleKind kind)
{
    Words words(static_cast<size_t>(across.count) * static_cast<size_t>(down.count) + 8, 0xDEADBEEF);
    TKScaleSurface(surface, across, down, kind, 0, down.count, words.data(), static_cast<size_t>(across.count));
    for (size_t i = words.size() - 8; i < words.size(); ++i) EXPECT_EQ(words[i], 0xDEADBEEFu); // nothing beyond
    words.resize(words.size() - 8);
    return words;
}

int Component(uint32_t word, int channel) // red, green, blue
{
    return static_cast<int>((word >> (16 - 8 * channel)) & 255);
}

int ComponentAt(const Surface& surface, int32_t x, int32_t y, int channel)
{
    const Surface::Pixel pixel = surface.At(x, y);
    return channel == 0 ? pixel.red : channel == 1 ? pixel.green : pixel.blue;
}

/// The mean of what a rectangle of the source covers.
double MeanOf(const Surface& surface, double left, double top, double right, double bottom, int channel)
{
    double sum = 0, area = 0;
    for (auto y = static_cast<int32_t>(top); y < std::ceil(bottom) && y < static_cast<int32_t>(surface.height); ++y)
        for (auto x = static_cast<int32_t>(left); x < std::ceil(right) && x < static_cast<int32_t>(surface.width);
             ++x) {
            const double w = std::min<double>(right, x + 1) - std::max<double>(left, x);
            const double h = std::min<double>(bottom, y + 1) - std::max<double>(top, y);
            sum += w * h * ComponentAt(surface, x, y, channel);
            area += w * h;
        }
    return sum / area;
}

class ImageScale : public ::testing::Test {
  protected:
    ImageScale() : picture_(61, 47) { picture_.FillNoise(random_); }
    Random random_{20};
    Surface picture_;
};

} // namespace

TEST_F(ImageScale, ASmallerPictureIsTheMeanOfWhatItCovers)
{
    for (const int32_t width : {60, 37, 20, 7, 1})
        for (const int32_t height : {46, 30, 11, 1}) {
            const TKScaleAxis across = {0, 61.0 / width, width}, down = {0, 47.0 / height, height};
            // Weights are rounded to 1/256: the more of them, the more that can add up to.
            const double tolerance = 1.5 + 0.05 * (across.step + down.step);
            const Words words = Scaled(picture_, across, down, tkScaleSmooth);
            for (int32_t y = 0; y < height; ++y)
                for (int32_t x = 0; x < width; ++x)
                    for (int channel = 0; channel < 3; ++channel)
                        ASSERT_NEAR(Component(words[static_cast<size_t>(y * width + x)], channel),
                                    MeanOf(picture_, x * across.step, y * down.step, (x + 1) * across.step,
                                           (y + 1) * down.step, channel),
                                    tolerance)
                            << width << " x " << height << " at " << x << ", " << y;
        }
}

TEST_F(ImageScale, AUniformPictureStaysUniformAtEveryScale)
{
    picture_.Fill([](int32_t, int32_t) { return Opaque(255, 128, 1); });
    for (const double step : {0.1, 0.37, 0.99, 1.0, 1.01, 1.9, 2.0, 7.3, 47.0})
        for (const TKScaleKind kind : {tkScaleNearest, tkScaleSmooth}) {
            const TKScaleAxis across = {0.3, step, static_cast<int32_t>(61 / step)};
            const TKScaleAxis down = {0.7, step, std::max(1, static_cast<int32_t>(47 / step))};
            for (const uint32_t word : Scaled(picture_, across, down, kind)) ASSERT_EQ(word, 0xFFFF8001u) << step;
        }
}

TEST_F(ImageScale, NearestShowsThePixelThatAPickThereReads)
{
    ImagePaneVars pane = {};
    TKCreateImagePane(&pane);
    TKSetPaneFrame(&pane, {.x = 0, .y = 0, .width = 133, .height = 101});
    TKSetPaneSurface(&pane, &picture_, 1.1f);
    for (int step = 1; step < kTKZoomStepCount; ++step) {
        (void)TKZoomPane(&pane, true, 40 + step, 50);
        const TKPaneScale scale = TKScaleOfPane(pane);
        ASSERT_EQ(scale.kind, tkScaleNearest);
        const Words words = Scaled(picture_, scale.across, scale.down, scale.kind);
        const TKImageRect shown = TKShownRect(pane);
        for (int32_t y = 0; y < shown.height; ++y)
            for (int32_t x = 0; x < shown.width; ++x) {
                const TKPicturePoint point = TKPicturePointQuietly(pane, shown.x + x, shown.y + y);
                const uint32_t word = words[static_cast<size_t>(y * shown.width + x)];
                ASSERT_EQ(Component(word, 0), picture_.At(point.x, point.y).red) << step << ": " << x << ", " << y;
                ASSERT_EQ(Component(word, 2), picture_.At(point.x, point.y).blue) << step << ": " << x << ", " << y;
            }
    }
}

TEST_F(ImageScale, TheFitSizeIsSmoothACloserViewShowsPixels)
{
    ImagePaneVars pane = {};
    TKCreateImagePane(&pane);
    TKSetPaneFrame(&pane, {.x = 0, .y = 0, .width = 30, .height = 30});
    TKSetPaneSurface(&pane, &picture_, 1);
    EXPECT_EQ(TKScaleOfPane(pane).kind, tkScaleSmooth);
    (void)TKZoomPane(&pane, true, 10, 10); // still smaller than the picture
    EXPECT_EQ(TKScaleOfPane(pane).kind, tkScaleSmooth);
    TKSetPaneFrame(&pane, {.x = 0, .y = 0, .width = 300, .height = 300});
    EXPECT_EQ(TKScaleOfPane(pane).kind, tkScaleNearest);
    pane.zoom = 1;
    EXPECT_EQ(TKScaleOfPane(pane).kind, tkScaleSmooth); // larger than the picture, and nobody asked for pixels
    TKSetPaneFrame(&pane, {.x = 0, .y = 0, .width = 65, .height = 51});
    EXPECT_EQ(TKScaleOfPane(pane).kind, tkScaleNearest); // pixel by pixel
}

TEST_F(ImageScale, BandsOfRowsMakeTheWholePicture)
{
    const TKScaleAxis across = {1.5, 1.7, 33}, down = {0.25, 1.3, 35};
    for (const TKScaleKind kind : {tkScaleNearest, tkScaleSmooth}) {
        const Words whole = Scaled(picture_, across, down, kind);
        Words banded(whole.size());
        for (int32_t row = 0; row < down.count; row += 8)
            TKScaleSurface(picture_, across, down, kind, row, std::min(row + 8, down.count), banded.data(), 33);
        EXPECT_EQ(whole, banded);
    }
}

TEST_F(ImageScale, AnyNumberOfTasksMakesTheWholePicture)
{
    const TKScaleAxis across = {1.5, 1.7, 33};
    for (const int32_t rows : {0, 1, 2, 5, 35})
        for (const TKScaleKind kind : {tkScaleNearest, tkScaleSmooth})
            for (const uint32_t wanted : {1u, 2u, 3u, 7u}) {
                const TKScaleAxis down = {0.25, 1.3, rows};
                const Words whole = Scaled(picture_, across, down, kind);
                const Workers pool(wanted);
                Words shared(whole.size());
                TKScaleSurfaceShared(picture_, across, down, kind, shared.data(), 33, pool.count, pool.tasks);
                EXPECT_EQ(whole, shared) << rows << " rows, " << wanted << " tasks";
            }
}

TEST_F(ImageScale, WhatLiesOutsideCountsAsTheBorder)
{
    const TKScaleAxis across = {-10, 1, 81}, down = {-10, 1, 67};
    for (const TKScaleKind kind : {tkScaleNearest, tkScaleSmooth}) {
        const Words words = Scaled(picture_, across, down, kind);
        EXPECT_EQ(Component(words.front(), 1), picture_.At(0, 0).green);
        EXPECT_EQ(Component(words.back(), 1), picture_.At(60, 46).green);
    }
}

TEST_F(ImageScale, NothingIsWrittenWithoutAPictureOrWithoutRows)
{
    uint32_t word = 7;
    const ScopeSurface none = {};
    TKScaleSurface(none, {0, 1, 1}, {0, 1, 1}, tkScaleSmooth, 0, 1, &word, 1);
    TKScaleSurface(picture_, {0, 1, 0}, {0, 1, 1}, tkScaleSmooth, 0, 1, &word, 1);
    TKScaleSurface(picture_, {0, 1, 1}, {0, 1, 1}, tkScaleNearest, 1, 1, &word, 1);
    EXPECT_EQ(word, 7u);
}

TEST(UIImageScale, ACloserViewShowsInEachPlaceThePixelThatAPickThereReadsAtEveryAspect)
{
    ScopeSurface surface = {};
    ASSERT_EQ(ScopeSurfaceCreate(96, 54, &surface), bpNoErr);
    for (uint32_t y = 0; y < surface.height; ++y)
        for (uint32_t x = 0; x < surface.width; ++x) {
            uint8_t* pixel = surface.pixels + size_t{y} * surface.rowBytes + size_t{x} * 4; // alpha, red, green, blue
            pixel[1] = static_cast<uint8_t>(x & 255);
            pixel[2] = static_cast<uint8_t>((x >> 8) | (y >> 8) << 4);
            pixel[3] = static_cast<uint8_t>(y & 255);
        }
    int32_t compared = 0;
    for (const float aspect : {1.0f, 0.9f, 0.9091f, 1.0667f, 1.2121f, 1.4587f, 2.0f})
        for (int32_t step = 1; step < kTKZoomStepCount; ++step)
            for (const double pan : {0.0, 7.0, 11.1, 1e9}) {
                ImagePaneVars pane;
                TKCreateImagePane(&pane);
                TKSetPaneSurface(&pane, &surface, aspect);
                pane.zoom = kTKZoomSteps[step];
                pane.panX = pane.panY = pan;
                // Five shown pixels a column at the fit size: many places lie exactly on the borders of columns.
                TKSetPaneFrame(&pane, {.x = 0, .y = 0, .width = 484, .height = 604});
                const TKPaneScale scale = TKScaleOfPane(pane);
                if (scale.kind != tkScaleNearest) continue;
                const TKImageRect shown = TKShownRect(pane);
                const Words words = Scaled(surface, scale.across, scale.down, scale.kind);
                for (int32_t i = 0; i < shown.width * shown.height; i += i < shown.width ? 1 : shown.width + 1) {
                    const TKPicturePoint point =
                        TKPicturePointQuietly(pane, shown.x + i % shown.width, shown.y + i / shown.width);
                    const uint32_t word = words[static_cast<size_t>(i)];
                    ASSERT_EQ(Component(word, 0) | (Component(word, 1) & 15) << 8, point.x) << aspect << ", " << i;
                    ASSERT_EQ(Component(word, 2) | Component(word, 1) >> 4 << 8, point.y) << aspect << ", " << i;
                    ++compared;
                }
            }
    EXPECT_GT(compared, 50000);
    ScopeSurfaceDispose(&surface);
}
