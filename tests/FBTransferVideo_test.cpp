// The transfers of video, alpha and planar formats and the copy of alpha, against values computed here; and which formats
// survive the way through planes.
#include "tests/FBTransferTest.h"

#include <cmath>
#include <cstring>

// In -------------------------------------------------------------------------------------------------------------------

TEST(FBTransferVideo, EightBitVideoKeepsSuperWhiteAndSubBlack)
{
    const uint32_t vuya[] = {Word(9, 16, 128, 128), Word(9, 235, 128, 128), Word(9, 255, 0, 255), Word(0, 0, 255, 0),
                             Word(1, 81, 90, 240)};
    const FramePtr frame = Taken(vuya, sizeof vuya, pixFormatVUYA8, 5);
    for (uint32_t i = 0; i < 5; ++i) {
        const Video v = FromVideo(vuya[i] >> 16 & 255, vuya[i] >> 8 & 255, vuya[i] & 255);
        ExpectPixel(*frame, i, v.r, v.g, v.b, v.y);
    }
    EXPECT_LT(At(*frame, 3, 0, 3), 0.0f);
    EXPECT_GT(At(*frame, 3, 0, 2), 1.0f);
    for (FBPixelFormat format : {pixFormatUYVA8, pixFormatUYVA8R}) {
        const uint32_t uyva[] = {Word(7, 240, 81, 90), Word(0, 16, 235, 128), Word(0, 1, 2, 3)};
        const FramePtr other = Taken(uyva, sizeof uyva, format, 3);
        for (uint32_t i = 0; i < 3; ++i) {
            const Video v = FromVideo(uyva[i] >> 8 & 255, uyva[i] & 255, uyva[i] >> 16 & 255);
            ExpectPixel(*other, i, v.r, v.g, v.b, v.y);
        }
    }
}

TEST(FBTransferVideo, FloatVideoHasNoOffsets)
{
    const float vuya[] = {0.25f, -0.5f, 0.75f, 0.5f};
    const double y = 0.75 * 1.164382815361023;
    const Video v = {0.25 * 1.5960273742675781 + y, y + 0.5 * 0.3917617201805115 - 0.25 * 0.81296875,
                     -0.5 * 2.01723051071167 + y, y};
    ExpectPixel(*Taken(vuya, sizeof vuya, pixFormatVUYA32_Float, 1), 0, v.r, v.g, v.b, v.y);
    // Premultiplied, luma is multiplied too.
    ExpectPixel(*TakenTimesAlpha(vuya, sizeof vuya, pixFormatVUYA32_Float, 1), 0, v.r * 0.5, v.g * 0.5, v.b * 0.5,
                v.y * 0.5);
}

TEST(FBTransferVideo, TenBitPairsShareTheirChroma)
{
    const struct {
        FBPixelFormat format;
        double r, g2, g1, b;
    } matrices[] = {{pixFormatYUYV10_601, 0.0015647299587726593, 0.0007970270235091448, 0.00038407999090850353,
                     0.001977680018171668},
                    {pixFormatYUYV10_709, 0.00175758998375386, 0.0005224599735811353, 0.00020906700228806585,
                     0.0020709799136966467}};
    const uint32_t words[] = {40000u << 16 | 4096, 20000u << 16 | 60160, 1000u << 16 | 64, 65000u << 16 | 65472};
    for (const auto& m : matrices)
        for (bool premultiplied : {false, true}) {
            const FramePtr frame = premultiplied ? TakenTimesAlpha(words, sizeof words, m.format, 4)
                                                 : Taken(words, sizeof words, m.format, 4);
            for (uint32_t i = 0; i < 4; ++i) {
                const double cr = (words[i / 2 * 2] >> 16) - 32768.0, cb = (words[i / 2 * 2 + 1] >> 16) - 32768.0;
                const double luma = (words[i] & 0xFFFF) - 4096.0;
                const double n = luma * 0.0011415500193834305 * 0.015625;
                ExpectPixel(*frame, i, n + cr * m.r * 0.015625, n - cb * m.g1 * 0.015625 - cr * m.g2 * 0.015625,
                            n + cb * m.b * 0.015625, luma / 56064.0);
            }
        }
}

TEST(FBTransferVideo, AnOddWidthOfPairsWritesOnePixelOfPadding)
{
    const uint32_t words[] = {32768u << 16 | 4096, 32768u << 16 | 60160};
    const FramePtr frame = Taken(words, sizeof words, pixFormatYUYV10_601, 1);
    EXPECT_EQ(At(*frame, 3, 0, 0), 0.0f);
    EXPECT_EQ(At(*frame, 3, 0, 1), 1.0f);
    EXPECT_EQ(At(*frame, 3, 0, 2), 0.0f); // the row's other padding stays
}

TEST(FBTransferVideo, AnOddWidthOfPairsLeavesTheNextRowAloneWhereThereIsNoPadding)
{
    const uint32_t words[] = {40000u << 16 | 4096, 20000u << 16 | 60160};
    std::vector<float> planes(4 * 2 + 4, 7.0f); // rows of one pixel, a guard behind the planes
    FBFrame frame = {};
    frame.width = 1;
    frame.height = 1;
    frame.rowBytes = 4;
    frame.planeBytes = 8;
    frame.pixelFormat = kPlanar;
    frame.baseAddr = reinterpret_cast<uint8_t*>(planes.data());
    const FramePtr expected = Taken(words, sizeof words, pixFormatYUYV10_709, 1);
    FBTransferPixToFBFrameSSE(words, sizeof words, 0, pixFormatYUYV10_709, &frame);
    for (uint32_t plane = 0; plane < 4; ++plane) {
        EXPECT_EQ(planes[plane * 2], At(*expected, plane, 0, 0));
        EXPECT_EQ(planes[plane * 2 + 1], 7.0f) << "plane " << plane;
    }
}

TEST(FBTransferVideo, BGRYFloatsAreTurnedAround)
{
    const float bgry[] = {0.1f, 2.5f, -0.25f, 0.5f};
    ExpectPixel(*Taken(bgry, sizeof bgry, pixFormatBGRY32_Float, 1), 0, -0.25, 2.5, static_cast<double>(0.1f),
                static_cast<double>(Luma(-0.25f, 2.5f, 0.1f)));
    ExpectPixel(*TakenTimesAlpha(bgry, sizeof bgry, pixFormatBGRY32_Float, 1), 0, -0.125, 1.25,
                static_cast<double>(0.05f), static_cast<double>(Luma(-0.125f, 1.25f, 0.05f)));
}

TEST(FBTransferVideo, AlphaBytesBecomeFloatsAndStayInTheirMemory)
{
    const uint8_t alpha[] = {0, 51, 102, 153, 204, 255, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    const FramePtr frame = MakeFrame(5, 1, pixFormatA32_Float);
    std::memset(frame->baseAddr, 0x77, frame->planeBytes + 32);
    FBTransferPixToFBFrameSSE(alpha, sizeof alpha, 0, pixFormatA8, frame.get());
    for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(At(*frame, 0, 0, i), static_cast<float>(alpha[i] / 255.0));
    EXPECT_EQ(frame->baseAddr[frame->planeBytes], 0x77);
}

TEST(FBTransferVideo, PlanesOf16BitsComeInEachInItsWay)
{
    const uint16_t planes[3][2] = {{65535, 0x1234}, {65535, 0x8000}, {65535, 0x00FF}};
    const auto in = [&](FBPixelFormat to) { return Taken(planes, 4, pixFormatRGB16Planar, 2, to); };
    const FramePtr words = in(pixFormatARGB8);
    EXPECT_EQ(reinterpret_cast<uint32_t*>(words->baseAddr)[0], 0x00FFFFFFu);
    EXPECT_EQ(reinterpret_cast<uint32_t*>(words->baseAddr)[1], 0x00128000u);
    const FramePtr rgba = in(pixFormatRGBA32_Float);
    EXPECT_EQ(reinterpret_cast<float*>(rgba->baseAddr)[0], 1.0f);
    EXPECT_EQ(reinterpret_cast<float*>(rgba->baseAddr)[3], 1.0f);
    EXPECT_EQ(reinterpret_cast<float*>(rgba->baseAddr)[4], static_cast<float>(0x1234 / 65535.0));
    // Integer words of 0 or 1, luma first.
    const FramePtr yrgb = in(pixFormatYRGB32_Float);
    const int32_t expected[] = {1, 1, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(yrgb->baseAddr, expected, sizeof expected), 0);
    const float r = static_cast<float>(0x1234 / 65535.0), g = static_cast<float>(0x8000 / 65535.0),
                b = static_cast<float>(0x00FF / 65535.0);
    ExpectPixel(*in(kPlanar), 1, static_cast<double>(r), static_cast<double>(g), static_cast<double>(b),
                static_cast<double>(Luma(r, g, b)));
}

TEST(FBTransferVideo, FloatAYUVBecomesWordsClampedOnAllFourSides)
{
    const float center = 128.0f / 255.0f;
    const float pixels[] = {1,  0.5f,   center, center,        2,    2, center, center, -1,
                            -1, center, center, std::nanf(""), 0.5f, 1, 0};
    const FramePtr frame = Taken(pixels, sizeof pixels, pixFormatAYUV32_Float_r4fl, 4, pixFormatARGB8);
    const auto* words = reinterpret_cast<uint32_t*>(frame->baseAddr);
    const auto expected = [](double a, double y, double u, double v) {
        const auto byte = [](double x) { return static_cast<uint32_t>((x > 0 ? std::min(x, 1.0) : 0.0) * 255.0); };
        u = (u - 0.501960813999176) * 1.1383929252624512;
        v = (v - 0.501960813999176) * 1.1383929252624512;
        y *= 1.1643835306167603;
        return Word(byte(a), byte(v * 1.5748000144958496 + y),
                    byte(y - u * 0.18732400238513947 - v * 0.46812400221824646), byte(u * 1.8555999994277954 + y));
    };
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(words[i], expected(static_cast<double>(pixels[i * 4]), static_cast<double>(pixels[i * 4 + 1]),
                                     static_cast<double>(pixels[i * 4 + 2]), static_cast<double>(pixels[i * 4 + 3])))
            << i;
}

TEST(FBTransferVideo, WordsBecome16BitsWithALumaThatWraps)
{
    const uint32_t word = Word(9, 200, 100, 50);
    const FramePtr frame = Taken(&word, 4, pixFormatARGB8, 1, pixFormatRGBY16_32K);
    const auto* values = reinterpret_cast<uint16_t*>(frame->baseAddr);
    EXPECT_EQ(values[0], 25700);
    EXPECT_EQ(values[1], 12850);
    EXPECT_EQ(values[2], 6425);
    const double sum = 0.5870000123977661 * 12850 + 0.29899999499320984 * 25700 + 0.11400000005960464 * 6425;
    EXPECT_EQ(values[3], static_cast<uint16_t>(static_cast<uint32_t>(sum * 32768.0)));
}

// Out ------------------------------------------------------------------------------------------------------------------

TEST(FBTransferVideo, BlackAndWhiteLeaveAtTheirVideoLevels)
{
    const FramePtr frame = Planes({{0, 0, 0}, {1, 1, 1}, {9, 9, 9}, {-9, -9, -9}, {std::nanf(""), 0, 0}});
    const std::vector<uint32_t> words = Out<uint32_t>(*frame, pixFormatVUYA8, 5);
    EXPECT_EQ(words[0], Word(255, 16, 128, 128));
    EXPECT_EQ(words[1] >> 16, Word(0, 0, 255, 235));
    EXPECT_EQ(words[2] >> 16 & 255, 254u);
    EXPECT_EQ(words[3] >> 16 & 255, 1u);
    EXPECT_EQ(words[4], Word(255, 0, 0, 0)); // what is no number counts as 0
}

TEST(FBTransferVideo, FloatVideoLeavesWithoutScale)
{
    const std::vector<float> out = Out<float>(*Planes({{0.5f, 0.25f, 1.5f}}), pixFormatVUYA32_Float, 4);
    EXPECT_EQ(out[0], 0.439214825630188f * 0.5f - 0.36778905987739563f * 0.25f - 0.07142578065395355f * 1.5f);
    EXPECT_EQ(out[1], -0.1482226550579071f * 0.5f - 0.29099220037460327f * 0.25f + 0.439214825630188f * 1.5f);
    EXPECT_EQ(out[2], 0.09790624678134918f * 1.5f + 0.5041289329528809f * 0.25f + 0.25678905844688416f * 0.5f);
    EXPECT_EQ(out[3], 1.0f);
}

TEST(FBTransferVideo, EveryVideoSumIsTheOneTold)
{
    // Independent of the code's tables: each sum as it is written, single by single.
    constexpr uint32_t width = 512;
    FramePtr frame = MakeFrame(width, 1);
    Random random(11);
    for (uint32_t c = 0; c < 3; ++c)
        for (uint32_t i = 0; i < width; ++i) At(*frame, c, 0, i) = Between(random, -0.4f, 1.4f);
    const auto held = [](float v, float low, float high) {
        return static_cast<uint32_t>(v < low ? low : v > high ? high : v);
    };
    const std::vector<uint32_t> bytes = Out<uint32_t>(*frame, pixFormatVUYA8, width);
    const std::vector<float> floats = Out<float>(*frame, pixFormatVUYA32_Float, width * 4);
    const std::vector<uint32_t> sd = Out<uint32_t>(*frame, pixFormatYUYV10_601, width);
    const std::vector<uint32_t> hd = Out<uint32_t>(*frame, pixFormatYUYV10_709, width);
    for (uint32_t i = 0; i < width; ++i) {
        float r = At(*frame, 0, 0, i), g = At(*frame, 1, 0, i), b = At(*frame, 2, 0, i);
        const float y = 0.09790624678134918f * b + 0.5041289329528809f * g + 0.25678905844688416f * r;
        const float cb = -0.1482226550579071f * r - 0.29099220037460327f * g + 0.439214825630188f * b;
        const float cr = 0.439214825630188f * r - 0.36778905987739563f * g - 0.07142578065395355f * b;
        ASSERT_EQ(bytes[i], Word(255, held(y * 255.0f + 16.0f, 1, 254), held(cb * 255.0f + 128.0f, 1, 254),
                                 held(cr * 255.0f + 128.0f, 1, 254)))
            << i;
        const float expected[] = {cr, cb, y, 1};
        for (uint32_t k = 0; k < 4; ++k) ASSERT_EQ(floats[i * 4 + k], expected[k]) << i;
        r = r > 1 ? 1 : r; // at most 1, but below 0 as they are
        g = g > 1 ? 1 : g;
        b = b > 1 ? 1 : b;
        const uint32_t sdLuma = held(6391.2958984375f * b + 32909.566f * g + 16763.13671875f * r + 4096.0f, 1, 65472);
        const uint32_t hdLuma = held(4047.8208f * b + 40096.973f * g + 11919.206f * r + 4096.0f, 1, 65472);
        ASSERT_EQ(sd[i] & 0xFFFF, sdLuma) << i;
        ASSERT_EQ(hd[i] & 0xFFFF, hdLuma) << i;
        if (i % 2) continue;
        ASSERT_EQ(sd[i] >> 16, held(28672.0f * r - 24009.244f * g - 4662.7554f * b + 32768.0f, 1, 65472)) << i;
        ASSERT_EQ(sd[i + 1] >> 16, held(-9675.997f * r - 18996.002f * g + 28672.0f * b + 32768.0f, 1, 65472)) << i;
        ASSERT_EQ(hd[i] >> 16, held(28672.0f * r - 26042.95f * g - 2629.0503f * b + 32768.0f, 1, 65472)) << i;
        ASSERT_EQ(hd[i + 1] >> 16, held(-6570.0166f * r - 22101.982f * g + 28672.0f * b + 32768.0f, 1, 65472)) << i;
    }
}

TEST(FBTransferVideo, PairsTakeTheChromaOfTheEvenPixel)
{
    const FramePtr frame = Planes({{0, 0, 0}, {1, 1, 1}, {1, 0, 0}, {0, 0, 0}});
    const std::vector<uint32_t> out = Out<uint32_t>(*frame, pixFormatYUYV10_601, 4);
    EXPECT_EQ(out[0], 32768u << 16 | 4096u);
    EXPECT_EQ(out[1] >> 16, 32768u);
    EXPECT_NEAR(out[1] & 0xFFFF, 60160, 1);
    EXPECT_EQ(out[2] >> 16, 28672u + 32768u); // Cr of red
    EXPECT_EQ(out[2] & 0xFFFF, static_cast<uint32_t>(16763.13671875f + 4096.0f));
    EXPECT_EQ(out[3] >> 16, static_cast<uint32_t>(-9675.997f + 32768.0f));
    const std::vector<uint32_t> hd = Out<uint32_t>(*frame, pixFormatYUYV10_709, 4);
    EXPECT_EQ(hd[2] & 0xFFFF, static_cast<uint32_t>(11919.206f + 4096.0f));
    EXPECT_EQ(hd[3] >> 16, static_cast<uint32_t>(-6570.0166f + 32768.0f));
}

TEST(FBTransferVideo, AnOddWidthOfPairsReadsItsPartnerFromThePadding)
{
    const FramePtr frame = Planes({{1, 1, 1}});
    At(*frame, 0, 0, 1) = At(*frame, 1, 0, 1) = At(*frame, 2, 0, 1) = 1;
    std::vector<uint32_t> out(4, 0xABABABABu);
    FBTransferFBFrameToPixSSE(frame.get(), nullptr, out.data(), 8, pixFormatYUYV10_601);
    EXPECT_NEAR(out[1] & 0xFFFF, 60160, 1);
    out.assign(4, 0xABABABABu);
    FBTransferFBFrameToPixSSE(frame.get(), nullptr, out.data(), 4, pixFormatYUYV10_601); // no room for the partner
    EXPECT_EQ(out[1], 0xABABABABu);
}

TEST(FBTransferVideo, OtherWordOrdersAndFloats)
{
    const FramePtr frame = Planes({{1, 0.5f, 0}});
    EXPECT_EQ(Out<uint32_t>(*frame, pixFormatABGR8, 1)[0], Word(255, 0, 127, 255));
    const std::vector<float> bgr = Out<float>(*frame, pixFormatBGRY32_Float, 4);
    EXPECT_EQ(bgr, (std::vector<float>{0, 0.5f, 1, 1}));
}

TEST(FBTransferVideo, AlphaLeavesInGroupsTurnedAround)
{
    const FramePtr frame = MakeFrame(8, 1, pixFormatA32_Float);
    for (uint32_t i = 0; i < 8; ++i) At(*frame, 0, 0, i) = static_cast<float>(i * 10) / 255.0f;
    const std::vector<uint8_t> out = Out<uint8_t>(*frame, pixFormatA8, 8);
    EXPECT_EQ(out, (std::vector<uint8_t>{30, 20, 10, 0, 70, 60, 50, 40}));
}

TEST(FBTransferVideo, SixteenBitFramesLeaveAsWords)
{
    const FramePtr frame = MakeFrame(2, 1, pixFormatRGBY16_32K);
    const uint16_t pixels[] = {25700, 12850, 6425, 9, 65535, 65535, 65535, 9};
    std::memcpy(frame->baseAddr, pixels, sizeof pixels);
    const std::vector<uint32_t> out = Out<uint32_t>(*frame, pixFormatARGB8, 2);
    EXPECT_EQ(out[0], Word(0, 200, 100, 50));
    const uint32_t top = static_cast<uint32_t>(std::floor(65535 / 128.5 + 0.5)) & 255;
    EXPECT_EQ(out[1], Word(0, top, top, top));
}

TEST(FBTransferVideo, VideoOutputsReadFromTheFirstPixelWhateverTheRectangle)
{
    const FramePtr frame = MakeFrame(16, 4);
    for (uint32_t row = 0; row < 4; ++row)
        for (uint32_t i = 0; i < 16; ++i)
            for (uint32_t c = 0; c < 3; ++c) At(*frame, c, row, i) = static_cast<float>(row * 16 + i) / 64.0f;
    const FBRect rect = {.top = 1, .left = 3, .bottom = 3, .right = 7};
    for (FBPixelFormat to : {pixFormatABGR8, pixFormatVUYA8, pixFormatYUYV10_601, pixFormatYUYV10_709}) {
        std::vector<uint32_t> cut(8), whole(64);
        FBTransferFBFrameToPixSSE(frame.get(), &rect, cut.data(), 16, to);
        FBTransferFBFrameToPixSSE(frame.get(), nullptr, whole.data(), 64, to);
        for (size_t row = 0; row < 2; ++row)
            for (size_t i = 0; i < 4; ++i) EXPECT_EQ(cut[row * 4 + i], whole[row * 16 + i]) << to;
    }
    std::vector<uint32_t> cut(8), whole(64); // the others read from its corner
    FBTransferFBFrameToPixSSE(frame.get(), &rect, cut.data(), 16, pixFormatARGB8);
    FBTransferFBFrameToPixSSE(frame.get(), nullptr, whole.data(), 64, pixFormatARGB8);
    EXPECT_EQ(cut[5], whole[2 * 16 + 4]);
}

// Alpha ----------------------------------------------------------------------------------------------------------------

TEST(FBTransferAlpha, OnlyAlphaIsCopied)
{
    const struct {
        FBPixelFormat format;
        size_t pixelBytes, offset, size;
    } places[] = {{pixFormatARGB8, 4, 3, 1},         {pixFormatVUYA8, 4, 3, 1},
                  {pixFormatBGRA8, 4, 0, 1},         {pixFormatARGB16_32K, 8, 0, 2},
                  {pixFormatYRGB32_Float, 16, 0, 4}, {pixFormatVUYA32_Float, 16, 12, 4},
                  {pixFormatBGRY32_Float, 16, 12, 4}};
    for (const auto& place : places) {
        std::vector<uint8_t> source(place.pixelBytes * 6 + 4), destination(source.size(), 0xEE);
        for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i + 1);
        const auto rowBytes = static_cast<uint32_t>(place.pixelBytes * 3);
        FBTransferPixAlphaToPixAlphaWork(source.data(), rowBytes, destination.data(), rowBytes, 2, 2, place.format);
        for (size_t i = 0; i < source.size(); ++i) {
            const size_t row = i / rowBytes, pixel = i % rowBytes / place.pixelBytes, byte = i % place.pixelBytes;
            const bool copied = row < 2 && pixel < 2 && byte >= place.offset && byte < place.offset + place.size;
            EXPECT_EQ(destination[i], copied ? source[i] : 0xEE) << place.format << " byte " << i;
        }
    }
}

TEST(FBTransferAlpha, RowsThatAreTooShortAreNotLeft)
{
    const std::vector<uint8_t> source(5 * 16 * 2, 1);
    for (FBPixelFormat format : {pixFormatARGB8, pixFormatARGB16_32K, pixFormatYRGB32_Float, pixFormatBGRY32_Float}) {
        std::vector<uint8_t> destination(source.size(), 0xEE);
        FBTransferPixAlphaToPixAlphaWork(source.data(), 80, destination.data(), 18, 5, 2, format);
        for (size_t i = 36; i < destination.size(); ++i) ASSERT_EQ(destination[i], 0xEE) << format << " byte " << i;
    }
}

TEST(FBTransferAlpha, OtherFormatsSaySo)
{
    uint8_t a[16] = {1}, b[16] = {2};
    EXPECT_EQ(LogOf([&] { FBTransferPixAlphaToPixAlphaWork(a, 16, b, 16, 1, 1, pixFormatUYVA8); }),
              "FBTransferPixAlphaToPixAlphaWork: Unsupported pixel format 'v408' (1983131704)\n");
    EXPECT_EQ(LogOf([&] { FBTransferPixAlphaToPixAlphaWork(a, 16, b, 16, 1, 1, kPlanar); }),
              "FBTransferPixAlphaToPixAlphaWork: Unsupported pixel format '' (203)\n");
    EXPECT_EQ(b[0], 2);
}

// Round trips ----------------------------------------------------------------------------------------------------------

TEST(FBTransferRoundTrip, WhatSurvivesTheWayThroughPlanes)
{
    // 8-bit words: every value, but alpha comes back as 255.
    std::vector<uint32_t> words(256), back(256);
    for (uint32_t i = 0; i < 256; ++i) words[i] = Word(255, i, 255 - i, i * 7 & 255);
    FBTransferFBFrameToPixSSE(Taken(words.data(), 1024, pixFormatARGB8, 256).get(), nullptr, back.data(), 1024,
                              pixFormatARGB8);
    EXPECT_EQ(words, back);
    for (uint32_t i = 0; i < 256; ++i) words[i] = Word(i, 255 - i, i * 7 & 255, 255);
    FBTransferFBFrameToPixSSE(Taken(words.data(), 1024, pixFormatBGRA8, 256).get(), nullptr, back.data(), 1024,
                              pixFormatBGRA8);
    EXPECT_EQ(words, back);
    // 16-bit words: 0 to 32,768; above is clamped.
    constexpr uint32_t count = 32769;
    std::vector<uint16_t> deep(count * 4), deepBack(count * 4);
    for (uint32_t i = 0; i < count; ++i) {
        const uint16_t pixel[] = {0x7FFF, static_cast<uint16_t>(i), static_cast<uint16_t>(32768 - i),
                                  static_cast<uint16_t>(i / 2)};
        std::memcpy(&deep[i * 4], pixel, 8);
    }
    FBTransferFBFrameToPixSSE(Taken(deep.data(), count * 8, pixFormatARGB16_32K, count).get(), nullptr, deepBack.data(),
                              count * 8, pixFormatARGB16_32K);
    EXPECT_EQ(deep, deepBack);
    // Floats: every bit pattern of colour; the fourth value becomes 1.
    const std::vector<float> hard = HardValues();
    const struct {
        FBPixelFormat format;
        size_t other;
    } floats[] = {{pixFormatYRGB32_Float, 0}, {pixFormatRGBA32_Float, 3}, {pixFormatBGRY32_Float, 3}};
    for (const auto& f : floats) {
        std::vector<float> in(hard.size() * 4, 1.0f), out(hard.size() * 4);
        for (size_t i = 0; i < hard.size(); ++i)
            for (size_t c = 0; c < 4; ++c)
                if (c != f.other) in[i * 4 + c] = hard[(i + c) % hard.size()];
        const auto rowBytes = static_cast<uint32_t>(in.size() * 4);
        FBTransferFBFrameToPixSSE(Taken(in.data(), rowBytes, f.format, static_cast<uint32_t>(hard.size())).get(),
                                  nullptr, out.data(), rowBytes, f.format);
        EXPECT_EQ(std::memcmp(in.data(), out.data(), rowBytes), 0) << f.format;
    }
}

TEST(FBTransferRoundTrip, TenBitPairsOfGreyComeBackWithinOneCode)
{
    for (const auto format : {pixFormatYUYV10_601, pixFormatYUYV10_709}) {
        std::vector<uint32_t> in(2 * 877), out(in.size());
        for (uint32_t i = 0; i < in.size(); ++i) in[i] = 32768u << 16 | (64 + i / 2) << 6; // 64 to 940
        const auto width = static_cast<uint32_t>(in.size());
        FBTransferFBFrameToPixSSE(Taken(in.data(), width * 4, format, width).get(), nullptr, out.data(), width * 4,
                                  format);
        for (size_t i = 0; i < in.size(); ++i) {
            EXPECT_NEAR(in[i] & 0xFFFF, out[i] & 0xFFFF, 64) << i;
            EXPECT_NEAR(in[i] >> 16, out[i] >> 16, 64) << i;
        }
    }
}
