// What the transfers say of formats that they do not serve, and where they are silent.
#include "tests/FBTransferTest.h"

#include <cstring>

TEST(FBTransferMessages, StraightInput)
{
    const struct {
        FBPixelFormat from, to;
        const char* line;
    } cases[] = {
        {pixFormat422YpCbCr10, kPlanar, "called with unsupported pixel format pixFormat422YpCbCr10\n"},
        {pixFormatARGB64, kPlanar, "called with unsupported pixel format pixFormatARGB64\n"},
        {pixFormatRGBY16_32K, kPlanar, "unsuppported input pixel format 205, output format 203\n"},
        {pixFormatABGR8, kPlanar, "unsuppported input pixel format 206, output format 203\n"},
        {pixFormatARGB8, pixFormatUYVA8,
         "unsuppported output pixel format 1983131704 ('v408') for pixFormatARGB8 input\n"},
        {pixFormatBGRA8, pixFormatRGBY16_32K, "unsuppported output pixel format 205 ('') for pixFormatBGRA8 input\n"},
        {pixFormatARGB16_32K, pixFormatBGRA8,
         "unsuppported output pixel format 1111970369 for pixFormatARGB16_32K input\n"},
        {pixFormatYRGB32_Float, pixFormatARGB8,
         "unsuppported output pixel format 32 for pixFormatYRGB32_Float input\n"},
        {pixFormatBGRY32_Float, pixFormatARGB8,
         "unsuppported output pixel format 32 for pixFormatYRGB32_Float input\n"},
        {pixFormatRGBA32_Float, pixFormatARGB8,
         "unsuppported output pixel format 32 for pixFormatRGBA32_Float input\n"},
        {pixFormatA8, kPlanar, "unsuppported output pixel format 203 for pixFormatA8 input\n"},
        {pixFormatRGB16Planar, pixFormatBGRA8,
         "unsuppported output pixel format 1111970369 for pixFormatRGB16Planar input\n"},
        {pixFormatAYUV32_Float_r4fl, pixFormatBGRA8,
         "unsuppported output pixel format 1111970369 for pixFormatAYUV32_Float_r4fl input\n"},
    };
    const std::vector<uint8_t> pixels(4096, 9);
    for (const auto& c : cases) {
        const FramePtr frame = MakeFrame(4, 1, c.to);
        std::memset(frame->baseAddr, 0x33, 64);
        EXPECT_EQ(LogOf([&] { FBTransferPixToFBFrameSSE(pixels.data(), 64, 64, c.from, frame.get()); }),
                  std::string("FBTransferPixToFBFrameSSE: ") + c.line);
        for (int i = 0; i < 64; ++i) ASSERT_EQ(frame->baseAddr[i], 0x33);
    }
}

TEST(FBTransferMessages, SilentInputsTouchNothing)
{
    const std::vector<uint8_t> pixels(4096, 9);
    std::vector<std::pair<FBPixelFormat, FBPixelFormat>> cases = {{pixFormatAYUV32_Float_r4fl, pixFormatYRGB32_Float},
                                                                  {pixFormatAYUV32_Float_r4fl, kPlanar},
                                                                  {pixFormatAYUV32_Float_r4fl, pixFormatRGBY16_32K}};
    for (FBPixelFormat from : {pixFormatVUYA8, pixFormatVUYA32_Float, pixFormatYUYV10_601, pixFormatYUYV10_709,
                               pixFormatUYVA8, pixFormatUYVA8R})
        for (FBPixelFormat to : {pixFormatARGB8, pixFormatBGRA8, pixFormatRGBA32_Float, pixFormatA32_Float})
            cases.emplace_back(from, to);
    for (const auto& pair : cases) {
        const FBPixelFormat from = pair.first, to = pair.second;
        const FramePtr frame = MakeFrame(4, 1, to);
        std::memset(frame->baseAddr, 0x33, 64);
        EXPECT_EQ(LogOf([&] { FBTransferPixToFBFrameSSE(pixels.data(), 64, 64, from, frame.get()); }), "");
        for (int i = 0; i < 64; ++i) ASSERT_EQ(frame->baseAddr[i], 0x33) << from << " to " << to;
    }
}

TEST(FBTransferMessages, PremultipliedInput)
{
    const struct {
        FBPixelFormat from, to;
        const char* line;
    } cases[] = {
        {pixFormat422YpCbCr10, kPlanar, "called with unsupported pixel format pixFormat422YpCbCr10\n"},
        {pixFormatARGB64, kPlanar, "called with unsupported pixel format pixFormatARGB64\n"},
        {pixFormatRGBA32_Float, kPlanar, "called with unsupported pixel format '' (202)\n"},
        {pixFormatAYUV32_Float_r4fl, kPlanar, "called with unsupported pixel format 'r4fl' (1916036716)\n"},
        {pixFormatARGB8, pixFormatBGRA8,
         "unsupported output pixel format 42475241 ('BGRA') for input format pixFormatARGB8\n"},
        {pixFormatBGRA8, pixFormatARGB8, "unsupported output pixel format 20 ('') for input format pixFormatBGRA8\n"},
        {pixFormatARGB16_32K, pixFormatARGB8,
         "unsupported output pixel format 20 ('') for input format pixFormatARGB16_32K\n"},
        {pixFormatYRGB32_Float, pixFormatARGB8,
         "unsupported output pixel format 20 ('') for input format pixFormatYRGB32_Float\n"},
        {pixFormatBGRY32_Float, pixFormatARGB8,
         "unsupported output pixel format 20 ('') for input format pixFormatBGRY32_Float\n"},
        {pixFormatVUYA8, pixFormatARGB8, "unsupported output pixel format 20 ('') for input format pixFormatVUYA8\n"},
        {pixFormatUYVA8, pixFormatARGB8, "unsupported output pixel format 20 ('') for input format pixFormatUYVA8\n"},
        {pixFormatUYVA8R, pixFormatARGB8, "unsupported output pixel format 20 ('') for input format pixFormatUYVA8R\n"},
        {pixFormatYUYV10_601, pixFormatARGB8,
         "unsupported output pixel format 20 ('') for input format pixFormatYUYV10_601\n"},
        {pixFormatYUYV10_709, pixFormatARGB8,
         "unsupported output pixel format 20 ('') for input format pixFormatYUYV10_709\n"},
    };
    const std::vector<uint8_t> pixels(4096, 9);
    for (const auto& c : cases) {
        const FramePtr frame = MakeFrame(4, 1, c.to);
        std::memset(frame->baseAddr, 0x33, 64);
        EXPECT_EQ(LogOf([&] { FBTransferPixToFBFramePremultipliedSSE(pixels.data(), 64, c.from, frame.get()); }),
                  std::string("FBTransferPixToFBFramePremultipliedSSE: ") + c.line);
        for (int i = 0; i < 64; ++i) ASSERT_EQ(frame->baseAddr[i], 0x33);
    }
    const FramePtr frame = MakeFrame(4, 1, pixFormatARGB8);
    EXPECT_EQ(
        LogOf([&] { FBTransferPixToFBFramePremultipliedSSE(pixels.data(), 64, pixFormatVUYA32_Float, frame.get()); }),
        "");
}

TEST(FBTransferMessages, Output)
{
    const struct {
        FBPixelFormat from, to;
        const char* line;
    } cases[] = {
        {kPlanar, pixFormatUYVA8, "called with unsupported pixel format pixFormatUYVA8\n"},
        {kPlanar, pixFormatUYVA8R, "called with unsupported pixel format pixFormatUYVA8R\n"},
        {kPlanar, pixFormat422YpCbCr10, "called with unsupported pixel format pixFormat422YpCbCr10\n"},
        {kPlanar, pixFormatARGB64, "called with unsupported pixel format pixFormatARGB64\n"},
        {kPlanar, pixFormatRGBY16_32K, "unsuppported output pixel format 205, input format 203\n"},
        {kPlanar, pixFormatAYUV32_Float_r4fl, "unsuppported output pixel format 1916036716, input format 203\n"},
        {pixFormatRGBA32_Float, pixFormatBGRA8, "unsuppported input pixel format 202 for pixFormatBGRA8 output\n"},
        {pixFormatBGRA8, pixFormatARGB8, "unsuppported input pixel format for pixFormatARGB8 output\n"},
        {pixFormatARGB8, pixFormatARGB16_32K, "unsuppported input pixel format for pixFormatARGB16_32K output\n"},
        {pixFormatARGB8, pixFormatYRGB32_Float, "unsuppported input pixel format for pixFormatYRGB32_Float output\n"},
        {pixFormatBGRA8, pixFormatRGBA32_Float, "unsuppported input pixel format for pixFormatRGBA32_Float output\n"},
        {pixFormatARGB8, pixFormatBGRY32_Float, "unsuppported input pixel format for pixFormatBGRY32_Float output\n"},
        {kPlanar, pixFormatA8, "unsuppported input pixel format for pixFormatA8 output\n"},
        // Said nothing:
        {pixFormatYRGB32_Float, pixFormatARGB16_32K, nullptr},
        {pixFormatYRGB32_Float, pixFormatYRGB32_Float, nullptr},
        {pixFormatYRGB32_Float, pixFormatBGRY32_Float, nullptr},
        {pixFormatYRGB32_Float, pixFormatBGRA8, nullptr},
        {pixFormatRGBY16_32K, pixFormatARGB16_32K, nullptr},
        {pixFormatRGBY16_32K, pixFormatYRGB32_Float, nullptr},
        {pixFormatRGBY16_32K, pixFormatBGRY32_Float, nullptr},
        {pixFormatRGBY16_32K, pixFormatBGRA8, nullptr},
        {pixFormatRGBY16_32K, pixFormatRGBA32_Float, nullptr},
        {pixFormatARGB8, pixFormatABGR8, nullptr},
        {pixFormatARGB8, pixFormatVUYA8, nullptr},
        {pixFormatRGBA32_Float, pixFormatVUYA32_Float, nullptr},
        {pixFormatBGRA8, pixFormatYUYV10_601, nullptr},
        {pixFormatA32_Float, pixFormatYUYV10_709, nullptr},
    };
    for (const auto& c : cases) {
        const FramePtr frame = MakeFrame(4, 1, c.from);
        std::vector<uint8_t> out(256, 0x44);
        EXPECT_EQ(LogOf([&] { FBTransferFBFrameToPixSSE(frame.get(), nullptr, out.data(), 64, c.to); }),
                  c.line ? std::string("FBTransferFBFrameToPixSSE: ") + c.line : std::string());
        EXPECT_EQ(out, std::vector<uint8_t>(256, 0x44)) << c.from << " to " << c.to;
    }
}
