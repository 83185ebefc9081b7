// Writers of picture files: codes and halves bit by bit, and pictures read back by other decoders.
#include "tools/ochrine-render/RenderStill.h"

#include "host/PictureReader.h"
#include "tests/host/ClipTest.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <libdeflate.h>
#include <limits>

namespace {

using FramePtr = std::unique_ptr<FBFrame, decltype([](FBFrame* frame) { FBDisposeFrameBuffer(frame); })>;

/// A frame whose every value differs, from -0.5 to 1.5.
FramePtr MakeFrame(uint32_t width, uint32_t height)
{
    FBFrame* frame = nullptr;
    EXPECT_EQ(FBCreateRGBFrameBuffer(width, height, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
    for (uint32_t plane = 0; plane < 3; ++plane) {
        for (uint32_t row = 0; row < height; ++row) {
            auto* values = reinterpret_cast<float*>(frame->baseAddr + size_t{plane} * frame->planeBytes +
                                                    size_t{row} * frame->rowBytes);
            for (uint32_t x = 0; x < width; ++x) {
                const uint32_t mixed = ((plane * height + row) * width + x) * 2654435761u;
                values[x] = static_cast<float>(mixed >> 8) / 8388608.0f - 0.5f;
            }
        }
    }
    return FramePtr(frame);
}

/// Reads the bytes as a file of its own.
AVFramePtr ReadBack(const PictureBytes& bytes, const char* suffix)
{
    TestFolder folder;
    const std::string path = folder.Path(std::string("x") + suffix);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(const_cast<PictureBytes&>(bytes).Data()),
               static_cast<std::streamsize>(bytes.Size()));
    PictureReader reader(1);
    AVFramePtr picture(av_frame_alloc());
    std::string error;
    EXPECT_EQ(reader.Read(path, picture.get(), &error), bpNoErr) << error;
    return picture;
}

} // namespace

TEST(Halves, EveryHalfIsItself)
{
    for (uint32_t code = 0; code < 65536; ++code) {
        const uint32_t exponent = code >> 10 & 31, fraction = code & 1023;
        double value = std::ldexp(exponent == 0 ? fraction : fraction + 1024,
                                  exponent == 0 ? -24 : static_cast<int>(exponent) - 25);
        if (exponent == 31) value = fraction == 0 ? std::numeric_limits<double>::infinity() : std::nan("");
        const float number = static_cast<float>((code & 0x8000) != 0 ? -value : value);
        uint16_t half = 0;
        HalvesFromFloats(&number, 1, &half);
        if (std::isnan(number)) {
            EXPECT_EQ(half & 0x7c00, 0x7c00);
            EXPECT_NE(half & 1023, 0);
        } else {
            ASSERT_EQ(half, code);
        }
    }
}

TEST(Halves, BetweenTwoTheNearerWinsAndTiesGoToEven)
{
    for (uint32_t code = 0; code < 0x7bff; ++code) {
        const auto valueOf = [](uint32_t c) {
            const uint32_t exponent = c >> 10, fraction = c & 1023;
            return std::ldexp(exponent == 0 ? fraction : fraction + 1024.0,
                              exponent == 0 ? -24 : static_cast<int>(exponent) - 25);
        };
        const double middle = (valueOf(code) + valueOf(code + 1)) / 2; // exact in single
        const float at = static_cast<float>(middle);
        const float cases[3] = {std::nextafter(at, 0.0f), at, std::nextafter(at, 1e9f)};
        uint16_t halves[3] = {};
        HalvesFromFloats(cases, 3, halves);
        ASSERT_EQ(halves[0], code);
        ASSERT_EQ(halves[1], code + (code & 1));
        ASSERT_EQ(halves[2], code + 1);
    }
    const float large[] = {65519.996f, 65520.0f, 1e30f, -65520.0f, std::numeric_limits<float>::infinity()};
    const uint16_t wanted[] = {0x7bff, 0x7c00, 0x7c00, 0xfc00, 0x7c00};
    uint16_t halves[5] = {};
    HalvesFromFloats(large, 5, halves);
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(halves[i], wanted[i]) << large[i];
}

TEST(Codes, AreRoundedAndCut)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float values[] = {0.0f,  1.0f,      2.0f,     -1.0f,         0.5f / 1023.0f, 0.4999f / 1023.0f,
                            1e30f, -infinity, infinity, std::nanf(""), -0.0f};
    const uint16_t wanted[] = {0, 1023, 1023, 0, 1, 0, 1023, 0, 1023, 0, 0};
    uint16_t codes[11] = {};
    CodesFromFloats(values, 11, 1023.0f, codes);
    for (size_t i = 0; i < 11; ++i) EXPECT_EQ(codes[i], wanted[i]) << i;
}

TEST(StillEXR, EverySizeIsReadBackToTheBit)
{
    for (const uint32_t width : {1u, 2u, 3u, 5u, 64u, 67u}) {
        for (const uint32_t height : {1u, 15u, 16u, 17u, 33u}) {
            const FramePtr frame = MakeFrame(width, height);
            std::vector<float> alpha(size_t{width} * height);
            for (size_t i = 0; i < alpha.size(); ++i) alpha[i] = static_cast<float>(i) / 7.0f;
            for (const bool isZipped : {false, true}) {
                for (const bool hasAlpha : {false, true}) {
                    PictureBytes bytes;
                    ASSERT_EQ(EncodeEXR({.frame = frame.get(), .alpha = hasAlpha ? alpha.data() : nullptr}, {}, false,
                                        isZipped, 2, &bytes),
                              bpNoErr);
                    const AVFramePtr picture = ReadBack(bytes, ".exr");
                    ASSERT_EQ(picture->format, hasAlpha ? AV_PIX_FMT_GBRAPF32LE : AV_PIX_FMT_GBRPF32LE);
                    ASSERT_EQ(picture->width, static_cast<int>(width));
                    const uint32_t planeOf[3] = {2, 0, 1};
                    for (uint32_t row = 0; row < height; ++row) {
                        for (uint32_t plane = 0; plane < 3; ++plane) {
                            const uint8_t* wanted =
                                frame->baseAddr + size_t{plane} * frame->planeBytes + size_t{row} * frame->rowBytes;
                            const uint32_t at = planeOf[plane];
                            ASSERT_EQ(
                                std::memcmp(picture->data[at] + static_cast<ptrdiff_t>(row) * picture->linesize[at],
                                            wanted, size_t{width} * 4),
                                0)
                                << width << " x " << height << " row " << row << " plane " << plane;
                        }
                        if (!hasAlpha) continue;
                        ASSERT_EQ(std::memcmp(picture->data[3] + static_cast<ptrdiff_t>(row) * picture->linesize[3],
                                              alpha.data() + size_t{row} * width, size_t{width} * 4),
                                  0);
                    }
                }
            }
        }
    }
}

TEST(StillPNG, TextsAspectAndProfileAreThere)
{
    const FramePtr frame = MakeFrame(19, 7);
    PictureNotes notes;
    notes.pixelAspect = 2.0;
    notes.timecode = "10:00:00:00";
    notes.texts = {{"Author", "me"}, {"Title", "Bl\xc3\xa4tter"}, {"", "no key"}, {std::string(200, 'k'), "long key"}};
    notes.iccProfile.assign(300, 7);
    PictureBytes bytes;
    ASSERT_EQ(EncodePNG({.frame = frame.get()}, notes, 16, 1, &bytes), bpNoErr);
    const AVFramePtr picture = ReadBack(bytes, ".png");
    EXPECT_EQ(av_cmp_q(picture->sample_aspect_ratio, {2, 1}), 0);
    PictureNotes read;
    NotesFromPicture(*picture, {}, &read);
    const auto text = [&](const std::string& key) {
        for (const auto& [name, value] : read.texts) {
            if (name == key) return value;
        }
        return std::string();
    };
    EXPECT_EQ(text("Author"), "me");
    EXPECT_EQ(text("timecode"), "10:00:00:00");
    const std::string whole(reinterpret_cast<const char*>(bytes.Data()), bytes.Size());
    EXPECT_NE(whole.find("iTXtTitle"), std::string::npos);
    EXPECT_EQ(whole.find("kkkk"), std::string::npos);
    EXPECT_EQ(read.iccProfile, notes.iccProfile);
}

TEST(StillPNG, PartsMakeOneStreamAndAnyNumberOfThreadsTheSameFile)
{
    for (const auto& [width, height] :
         {std::pair{1u, 1u}, {19u, 1u}, {1u, 63u}, {7u, 64u}, {7u, 65u}, {640u, 131u}, {4001u, 3u}}) {
        const FramePtr frame = MakeFrame(width, height);
        PictureBytes one, many;
        ASSERT_EQ(EncodePNG({.frame = frame.get()}, {}, 16, 1, &one), bpNoErr);
        ASSERT_EQ(EncodePNG({.frame = frame.get()}, {}, 16, 3, &many), bpNoErr);
        ASSERT_EQ(one.Size(), many.Size());
        ASSERT_EQ(std::memcmp(one.Data(), many.Data(), one.Size()), 0) << width << " x " << height;
        // Signature, IHDR, then IDAT; this unpacker minds the sum, which readers of pictures may not.
        uint32_t size = 0;
        std::memcpy(&size, one.Data() + 33, 4);
        ASSERT_EQ(std::memcmp(one.Data() + 37, "IDAT", 4), 0);
        std::vector<uint8_t> rows((size_t{width} * 6 + 1) * height);
        libdeflate_decompressor* unpacker = libdeflate_alloc_decompressor();
        size_t got = 0;
        EXPECT_EQ(libdeflate_zlib_decompress(unpacker, one.Data() + 41, __builtin_bswap32(size), rows.data(),
                                             rows.size(), &got),
                  LIBDEFLATE_SUCCESS)
            << width << " x " << height;
        libdeflate_free_decompressor(unpacker);
        EXPECT_EQ(got, rows.size());
        const AVFramePtr picture = ReadBack(one, ".png");
        ASSERT_EQ(picture->height, static_cast<int>(height));
        const auto* last = reinterpret_cast<const float*>(frame->baseAddr + size_t{height - 1} * frame->rowBytes);
        const double red = std::clamp(static_cast<double>(last[width - 1]), 0.0, 1.0) * 65535;
        const uint8_t* pixel =
            picture->data[0] + static_cast<ptrdiff_t>(height - 1) * picture->linesize[0] + (width - 1) * 6;
        EXPECT_NEAR(pixel[0] * 256 + pixel[1], red, 0.5 + 1e-3) << width << " x " << height;
    }
}

TEST(StillDPX, TheHeaderTellsWhatAReaderNeeds)
{
    const FramePtr frame = MakeFrame(5, 3);
    PictureNotes notes;
    notes.timecode = "01:02:03:04";
    notes.rate = {24, 1};
    PictureBytes bytes;
    ASSERT_EQ(EncodeDPX({.frame = frame.get()}, notes, 10, 1, &bytes), bpNoErr);
    ASSERT_EQ(bytes.Size(), 2048u + 5 * 3 * 4);
    const auto word = [&](size_t offset) {
        uint32_t value = 0;
        std::memcpy(&value, bytes.Data() + offset, 4);
        return __builtin_bswap32(value);
    };
    EXPECT_EQ(word(0), 0x53445058u);
    EXPECT_EQ(word(4), 2048u);
    EXPECT_EQ(word(16), bytes.Size());
    EXPECT_EQ(word(772), 5u);
    EXPECT_EQ(word(776), 3u);
    EXPECT_EQ(bytes.Data()[800], 50);
    EXPECT_EQ(bytes.Data()[803], 10);
    EXPECT_EQ(word(808), 2048u);
    EXPECT_EQ(word(1920), 0x01020304u);
    EXPECT_EQ(std::bit_cast<float>(word(1940)), 24.0f);
    const AVFramePtr picture = ReadBack(bytes, ".dpx");
    EXPECT_EQ(picture->format, AV_PIX_FMT_GBRP10LE);
}
