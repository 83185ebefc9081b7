// What swatches show: colours, the result through the whole correction, and the seven formats of their values.
#include "src/support/TKSwatch.h"

#include "src/OCStages.h"
#include "tests/support/TKTestSession.h"

#include <clocale>
#include <cmath>
#include <random>

namespace {

std::string Row(float r, float g, float b, int32_t format, uint32_t row)
{
    const float rgb[3] = {r, g, b};
    const TKSwatchRow made = TKFormatSwatchRow(rgb, format, row);
    return std::string(made.label) + " " + made.text;
}

std::string Rows(float r, float g, float b, int32_t format)
{
    return Row(r, g, b, format, 0) + ", " + Row(r, g, b, format, 1) + ", " + Row(r, g, b, format, 2);
}

class TKSwatchTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        TKCreateSwatch(&swatch_, &session_->liveSettings, offsetof(OCSettings, secondary[0].sample[0].red), "Source",
                       "source");
    }
    void SetColor(float r, float g, float b)
    {
        session_->liveSettings.secondary[0].sample[0] = {.on = 1, .red = r, .green = g, .blue = b};
    }

    TKSwatch swatch_ = {};
};

TEST(TKSwatchFormats, TheListHasSevenEntries)
{
    EXPECT_STREQ(TKColorFormatList(), "RGB 8-bit|RGB 10-bit|RGB 16-bit|RGB floating point|RGB Percent|HSL|Hex");
}

TEST(TKSwatchFormats, EachFormatHasItsLabelsAndDigits)
{
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorRGB8), "R 0, G 127, B 255");
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorRGB10), "R 0, G 511, B 1023");
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorRGB16), "R 0, G 16384, B 32768");
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorRGBFloat), "R 0.0000, G 0.5000, B 1.0000");
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorRGBPercent), "R 0 %, G 50 %, B 100 %");
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorHSL), "H 210\xC2\xB0, S 100 %, L 50 %");
    EXPECT_EQ(Rows(0, 0.5f, 1, tkColorHex), "R 00, G 7f, B ff");
}

TEST(TKSwatchFormats, AllButFloatingPointAreClamped)
{
    EXPECT_EQ(Rows(-0.5f, 1.5f, 1e30f, tkColorRGB8), "R 0, G 255, B 255");
    EXPECT_EQ(Rows(-0.5f, 1.5f, 1e30f, tkColorRGB10), "R 0, G 1023, B 1023");
    EXPECT_EQ(Rows(-0.5f, 1.5f, 1e30f, tkColorRGB16), "R 0, G 32768, B 32768");
    EXPECT_EQ(Rows(-0.5f, 1.5f, 20, tkColorRGBFloat), "R -0.5000, G 1.5000, B 20.0000");
    EXPECT_EQ(Rows(-0.5f, 1.5f, 1e30f, tkColorRGBPercent), "R 0 %, G 100 %, B 100 %");
    EXPECT_EQ(Rows(-0.5f, 1.5f, 0, tkColorHSL), "H 120\xC2\xB0, S 100 %, L 50 %");
    EXPECT_EQ(Rows(-0.5f, 1.5f, 1e30f, tkColorHex), "R 00, G ff, B ff");
}

TEST(TKSwatchFormats, EveryCodeOfAnIntegerPictureIsShownAsItself)
{
    for (int code = 0; code <= 255; ++code)
        EXPECT_EQ(Row(static_cast<float>(code) / 255.0f, 0, 0, tkColorRGB8, 0), "R " + std::to_string(code));
    for (int code = 0; code <= 1023; ++code)
        EXPECT_EQ(Row(0, static_cast<float>(code) / 1023.0f, 0, tkColorRGB10, 1), "G " + std::to_string(code));
    for (int code = 0; code <= 32768; ++code)
        ASSERT_EQ(Row(0, 0, static_cast<float>(code) / 32768.0f, tkColorRGB16, 2), "B " + std::to_string(code));
}

TEST(TKSwatchFormats, TheLargestNumbersFit)
{
    const std::string text = Row(0, -3.4028234e38f, 0, tkColorRGBFloat, 1);
    EXPECT_EQ(text, "G -340282346638528859811704183484516925440.0000");
}

TEST(TKSwatchFormats, AFormatThatDoesNotExistIs8BitsAndARowTooFarIsEmpty)
{
    EXPECT_EQ(Rows(0, 0.5f, 1, 0), "R 0, G 127, B 255");
    EXPECT_EQ(Rows(0, 0.5f, 1, 8), "R 0, G 127, B 255");
    EXPECT_EQ(Rows(0, 0.5f, 1, -5), "R 0, G 127, B 255");
    const float rgb[3] = {1, 1, 1};
    EXPECT_STREQ(TKFormatSwatchRow(rgb, 1, 3).text, "");
}

TEST(TKSwatchFormats, NumbersDoNotFollowTheLocaleOfTheProcess)
{
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "C.UTF-8"))
        GTEST_SKIP() << "no other locale is installed";
    EXPECT_EQ(Row(0.25f, 0, 0, tkColorRGBFloat, 0), "R 0.2500");
    std::setlocale(LC_ALL, "C");
}

TEST(RGBToHSL, FullColoursStandAtSixths)
{
    const struct {
        uint16_t rgb[3];
        uint32_t hsl[3];
    } cases[] = {
        {{65535, 0, 0}, {0, 65536, 32768}},         {{65535, 65535, 0}, {10923, 65536, 32768}},
        {{0, 65535, 0}, {21845, 65536, 32768}},     {{0, 65535, 65535}, {32768, 65536, 32768}},
        {{0, 0, 65535}, {43691, 65536, 32768}},     {{65535, 0, 65535}, {54613, 65536, 32768}},
        {{65535, 32768, 32768}, {0, 65536, 49152}}, {{65535, 0, 1}, {65535 + 1 - 65536, 65536, 32768}},
    };
    for (const auto& c : cases) {
        uint32_t hsl[3];
        RGBToHSL(c.rgb, hsl);
        for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(hsl[i], c.hsl[i]) << c.rgb[0] << " " << c.rgb[1] << " " << i;
    }
}

TEST(RGBToHSL, GreysHaveNeitherHueNorSaturation)
{
    for (uint32_t grey = 0; grey <= 65535; grey += 257) {
        const auto g = static_cast<uint16_t>(grey);
        const uint16_t rgb[3] = {g, g, g};
        uint32_t hsl[3];
        RGBToHSL(rgb, hsl);
        EXPECT_EQ(hsl[0], 0u);
        EXPECT_EQ(hsl[1], 0u);
        EXPECT_NEAR(hsl[2], grey * 65536.0 / 65535.0, 0.51);
    }
}

TEST(RGBToHSL, AnyColourStaysInsideTheScaleAndComesBack)
{
    std::mt19937 random(11);
    for (int run = 0; run < 20000; ++run) {
        uint16_t rgb[3];
        for (uint16_t& component : rgb) component = static_cast<uint16_t>(random());
        uint32_t hsl[3];
        RGBToHSL(rgb, hsl);
        ASSERT_LT(hsl[0], 65536u);
        ASSERT_LE(hsl[1], 65536u);
        ASSERT_LE(hsl[2], 65536u);
        // Back by the definition: chroma and the hexcone's sawtooth.
        const double h = hsl[0] / 65536.0 * 6, s = hsl[1] / 65536.0, l = hsl[2] / 65536.0;
        const double chroma = s * (1 - std::abs(2 * l - 1)), x = chroma * (1 - std::abs(std::fmod(h, 2.0) - 1));
        const double low = l - chroma / 2;
        const double sextant[6][3] = {{chroma, x, 0}, {x, chroma, 0}, {0, chroma, x},
                                      {0, x, chroma}, {x, 0, chroma}, {chroma, 0, x}};
        for (uint32_t i = 0; i < 3; ++i)
            ASSERT_NEAR(low + sextant[static_cast<int>(h)][i], rgb[i] / 65535.0, 4e-4) << run;
    }
}

TEST(TKSwatchPaint, TextIsWhiteUpToALumaOfOneHalf)
{
    const struct {
        float rgb[3];
        bool white;
    } cases[] = {
        {{0, 0, 0}, true},     {{1, 1, 1}, false}, {{0.5f, 0.5f, 0.5f}, true}, {{0.51f, 0.51f, 0.51f}, false},
        {{1, 0, 0}, true},     {{0, 1, 0}, false}, {{0, 0, 1}, true},          {{1, 0, 1}, true},
        {{0, 0.85f, 0}, true}, {{9, 0, 0}, true}, // clamped before
    };
    for (const auto& c : cases) EXPECT_EQ(TKSwatchTextIsWhite(c.rgb), c.white) << c.rgb[0] << " " << c.rgb[1];
}

TEST(TKSwatchPaint, TheFillIsWhatTheDisplayShows)
{
    for (int code = 0; code <= 255; ++code) {
        const float rgb[3] = {static_cast<float>(code) / 255.0f, -1, 7};
        uint8_t fill[3];
        TKSwatchFill(rgb, fill);
        EXPECT_EQ(fill[0], code);
        EXPECT_EQ(fill[1], 0);
        EXPECT_EQ(fill[2], 255);
    }
}

TEST_F(TKSwatchTest, ASourceSwatchShowsTheFieldUnclamped)
{
    SetColor(-0.25f, 0.5f, 3);
    float rgb[3];
    TKSwatchColor(session_, swatch_, rgb);
    EXPECT_EQ(rgb[0], -0.25f);
    EXPECT_EQ(rgb[1], 0.5f);
    EXPECT_EQ(rgb[2], 3.0f);
}

TEST_F(TKSwatchTest, AResultSwatchGoesThroughTheWholeCorrectionAsThePixelsDo)
{
    (void)TKSliderDrag(session_, &gain_, 2 * 65536);
    (void)TKSliderDrag(session_, &saturation_, 150 * 65536);
    (void)TKSliderDrag(session_, &redGain_, 100000);
    swatch_.showsResult = true;
    std::mt19937 random(5);
    std::uniform_real_distribution<float> value(-0.2f, 1.3f);
    for (int run = 0; run < 200; ++run) {
        SetColor(value(random), value(random), value(random));
        float shown[3], planes[2][4] = {};
        TKSwatchColor(session_, swatch_, shown);
        std::memcpy(planes[0], &session_->liveSettings.secondary[0].sample[0].red, 12);
        FBFrame* from = nullptr;
        FBFrame* to = nullptr;
        ASSERT_EQ(FBCreateRGBFrameBuffer(1, 1, &from, pixFormatRGBYPlanar_Float), bpNoErr);
        ASSERT_EQ(FBCreateRGBFrameBuffer(1, 1, &to, pixFormatRGBYPlanar_Float), bpNoErr);
        for (uint32_t plane = 0; plane < 3; ++plane)
            std::memcpy(static_cast<uint8_t*>(from->baseAddr) + plane * from->planeBytes, &planes[0][plane], 4);
        OCProcessImageBand(session_->engine, from, to, nullptr, 0, 0);
        for (uint32_t plane = 0; plane < 3; ++plane) {
            std::memcpy(&planes[1][plane], static_cast<uint8_t*>(to->baseAddr) + plane * to->planeBytes, 4);
            ASSERT_EQ(shown[plane], planes[1][plane]) << run << " " << plane;
        }
        FBDisposeFrameBuffer(from);
        FBDisposeFrameBuffer(to);
    }
}

TEST_F(TKSwatchTest, AnInfiniteColourIsFilledAsThePictureShowsItAndNoNumberIsZero)
{
    SetColor(NAN, INFINITY, -INFINITY);
    for (const bool result : {false, true}) {
        swatch_.showsResult = result;
        float rgb[3];
        TKSwatchColor(session_, swatch_, rgb);
        for (float component : rgb) EXPECT_FALSE(std::isnan(component)) << result;
    }
    swatch_.showsResult = false;
    float rgb[3];
    uint8_t fill[3];
    TKSwatchColor(session_, swatch_, rgb);
    TKSwatchFill(rgb, fill);
    EXPECT_EQ(fill[0], 0);
    EXPECT_EQ(fill[1], 255);
    EXPECT_EQ(fill[2], 0);
    EXPECT_EQ(Rows(rgb[0], rgb[1], rgb[2], tkColorRGBFloat), "R 0.0000, G inf, B -inf");
    for (int32_t format = tkColorRGB8; format <= tkColorHex; ++format) {
        if (format == tkColorRGBFloat) continue;
        EXPECT_EQ(Rows(rgb[0], rgb[1], rgb[2], format), Rows(0, 1, 0, format)) << format;
    }
}

TEST_F(TKSwatchTest, ASwatchWithoutDataIsLogged)
{
    swatch_.dataBase = nullptr;
    float rgb[3] = {1, 1, 1};
    TKSwatchColor(session_, swatch_, rgb);
    EXPECT_EQ(rgb[0], 0.0f);
    EXPECT_EQ(TKLogCount("nil SwatchVarsH\n"), 1u);
    EXPECT_EQ(TKRegisterSwatch(session_, &swatch_), bpParamErr);
    EXPECT_EQ(TKRegisterSwatch(session_, nullptr), bpParamErr);
    EXPECT_EQ(TKLogCount("nil SwatchVarsH\n"), 3u);
}

TEST_F(TKSwatchTest, EveryRenderAndEveryUpdateOfTheControlsRedrawsSwatches)
{
    static uint32_t redraws;
    redraws = 0;
    swatch_.redraw = [](void*) { ++redraws; };
    ASSERT_EQ(TKRegisterSwatch(session_, &swatch_), bpNoErr);
    (void)TKSliderDrag(session_, &gain_, 70000);
    EXPECT_EQ(redraws, 1u);
    UpdateAllControls(session_, &session_->liveSettings, kOCResetAll, kOCResetAll, nullptr, false);
    EXPECT_EQ(redraws, 2u);
    TKForgetSwatch(session_, &swatch_);
    (void)TKSliderDrag(session_, &gain_, 80000);
    EXPECT_EQ(redraws, 2u);
}

TEST_F(TKSwatchTest, TheTableHasAnEnd)
{
    std::vector<TKSwatch> many(kTKSwatchLimit + 1, swatch_);
    for (uint32_t i = 0; i < kTKSwatchLimit; ++i) ASSERT_EQ(TKRegisterSwatch(session_, &many[i]), bpNoErr);
    EXPECT_EQ(TKRegisterSwatch(session_, &many[kTKSwatchLimit]), bpMemFullErr);
    TKForgetSwatch(session_, &many[kTKSwatchLimit]); // not in it
    TKForgetSwatch(session_, &many[3]);
    EXPECT_EQ(session_->controls.swatchCount, kTKSwatchLimit - 1);
    EXPECT_EQ(session_->controls.swatch[3], &many[4]);
}

} // namespace
