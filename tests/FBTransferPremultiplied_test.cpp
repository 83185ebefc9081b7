// Premultiplied input, against values computed here.
#include "tests/FBTransferTest.h"

TEST(FBTransferPremultiplied, WordsStayWords)
{
    for (uint32_t a = 0; a < 256; ++a)
        for (uint32_t c : {0u, 1u, 77u, 128u, 254u, 255u}) {
            const double unit = a / 255.0;
            const auto rounded = [&](uint32_t v) {
                return static_cast<uint32_t>(std::floor(255.0 * (v / 255.0 * unit) + 0.5));
            };
            const uint32_t argb = Word(a, c, 255 - c, 3);
            const FramePtr first = TakenTimesAlpha(&argb, 4, pixFormatARGB8, 1, pixFormatARGB8);
            EXPECT_EQ(*reinterpret_cast<uint32_t*>(first->baseAddr), Word(a, rounded(c), rounded(255 - c), rounded(3)));
            const uint32_t bgra = Word(c, 255 - c, 3, a);
            const FramePtr second = TakenTimesAlpha(&bgra, 4, pixFormatBGRA8, 1, pixFormatBGRA8);
            EXPECT_EQ(*reinterpret_cast<uint32_t*>(second->baseAddr),
                      Word(rounded(c), rounded(255 - c), rounded(3), a));
        }
}

TEST(FBTransferPremultiplied, NoAlphaGivesNothing)
{
    const uint32_t word = Word(0, 255, 200, 7);
    ExpectPixel(*TakenTimesAlpha(&word, 4, pixFormatARGB8, 1), 0, 0, 0, 0, 0);
}

TEST(FBTransferPremultiplied, WordsBecomePlanesInDouble)
{
    const double a = 100 / 255.0;
    const float r = static_cast<float>(200 / 255.0 * a), g = static_cast<float>(150 / 255.0 * a),
                b = static_cast<float>(7 / 255.0 * a);
    const uint32_t argb = Word(100, 200, 150, 7);
    ExpectPixel(*TakenTimesAlpha(&argb, 4, pixFormatARGB8, 1), 0, static_cast<double>(r), static_cast<double>(g),
                static_cast<double>(b), static_cast<double>(Luma(r, g, b)));
    const uint32_t bgra = Word(7, 150, 200, 100);
    const std::string log = LogOf([&] {
        ExpectPixel(*TakenTimesAlpha(&bgra, 4, pixFormatBGRA8, 1), 0, static_cast<double>(r), static_cast<double>(g),
                    static_cast<double>(b), static_cast<double>(Luma(r, g, b)));
    });
    char expected[160];
    std::snprintf(expected, sizeof expected,
                  "FBTransferPixToFBFramePremultipliedSSE: BGRA8 to RGBYPlanar_Float: inRowPtr = %p\n",
                  static_cast<const void*>(&bgra));
    EXPECT_EQ(log, expected);
}

TEST(FBTransferPremultiplied, SixteenBitsAreClampedTwice)
{
    const uint16_t argb[] = {40000, 65535, 16384, 32768, 8192, 65535, 16384, 32768};
    const FramePtr frame = TakenTimesAlpha(argb, sizeof argb, pixFormatARGB16_32K, 2);
    ExpectPixel(*frame, 0, 1, 0.5, 1, static_cast<double>(Luma(1, 0.5f, 1)));
    const float r = static_cast<float>(65535 / 32768.0 * 0.25);
    ExpectPixel(*frame, 1, static_cast<double>(r), 0.125, 0.25, static_cast<double>(Luma(r, 0.125f, 0.25f)));
}

TEST(FBTransferPremultiplied, FloatsTakeTheFirstAsAlpha)
{
    const float argb[] = {0.5f, 3, -0.25f, 0.75f};
    ExpectPixel(*TakenTimesAlpha(argb, sizeof argb, pixFormatYRGB32_Float, 1), 0, 1.5, -0.125, 0.375,
                static_cast<double>(Luma(1.5f, -0.125f, 0.375f)));
}

TEST(FBTransferPremultiplied, VideoLumaIsLeftAlone)
{
    const uint32_t vuya = Word(51, 200, 90, 200);
    const Video v = FromVideo(200, 90, 200);
    const double a = 51 / 255.0;
    ExpectPixel(*TakenTimesAlpha(&vuya, 4, pixFormatVUYA8, 1), 0, v.r * a, v.g * a, v.b * a, v.y);
    const uint32_t uyva = Word(51, 200, 200, 90);
    for (FBPixelFormat format : {pixFormatUYVA8, pixFormatUYVA8R})
        ExpectPixel(*TakenTimesAlpha(&uyva, 4, format, 1), 0, v.r * a, v.g * a, v.b * a, v.y);
}
