// Clips: rates, names, pictures, movies to the frame, writers. Movies are made by the ffmpeg command where one of the
// usual encoders is wanted, otherwise by the writers under test.
#include "host/ClipSequence.h"
#include "host/ClipWriter.h"
#include "host/PictureConvert.h"
#include "src/FBTransfer.h"
#include "tests/host/ClipTest.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace {

using PicturePtr = std::unique_ptr<AVFrame, decltype([](AVFrame* picture) { av_frame_free(&picture); })>;

PicturePtr MakePicture(int width, int height, AVPixelFormat format)
{
    PicturePtr picture(av_frame_alloc());
    picture->width = width;
    picture->height = height;
    picture->format = format;
    EXPECT_EQ(av_frame_get_buffer(picture.get(), 0), 0);
    return picture;
}

template <class Sample> Sample* Row(const PicturePtr& picture, int plane, int row)
{
    return reinterpret_cast<Sample*>(picture->data[plane] + static_cast<ptrdiff_t>(row) * picture->linesize[plane]);
}

/// What a picture becomes as float pixels.
std::vector<float> Floats(const PicturePtr& picture)
{
    PictureConverter converter;
    FBPixelFormat format = pixFormatARGB8;
    EXPECT_TRUE(PictureConverter::FormatFor(picture->format, &format));
    EXPECT_EQ(format, pixFormatRGBA32_Float);
    std::vector<float> pixels(static_cast<size_t>(picture->width) * static_cast<size_t>(picture->height) * 4);
    EXPECT_EQ(converter.ToPixels(picture.get(), format, reinterpret_cast<uint8_t*>(pixels.data()),
                                 static_cast<uint32_t>(picture->width) * 16),
              bpNoErr);
    return pixels;
}

} // namespace

TEST(ClipRate, InHundredthsAndFromText)
{
    EXPECT_EQ(ClipRate100({30000, 1001}), 2997);
    EXPECT_EQ(ClipRate100({24000, 1001}), 2398);
    EXPECT_EQ(ClipRate100({60000, 1001}), 5994);
    EXPECT_EQ(ClipRate100({25, 1}), 2500);
    EXPECT_EQ(ClipRate100({600, 1}), 60000);
    const std::map<std::string, std::pair<int, int>> good = {
        {"25", {25, 1}},          {"23.976", {24000, 1001}},     {"23.98", {24000, 1001}}, {"29.97", {30000, 1001}},
        {"59.94", {60000, 1001}}, {"30000/1001", {30000, 1001}}, {"12.5", {12500, 1000}},  {"24/1", {24, 1}}};
    for (const auto& [text, wanted] : good) {
        ClipRate rate = {0, 0};
        EXPECT_TRUE(ClipParseRate(text, &rate)) << text;
        EXPECT_EQ(std::make_pair(rate.numerator, rate.denominator), wanted) << text;
    }
    for (const char* text :
         {"", "0", "-25", "601", "25fps", "25/0", "/", "1/2", "nan", "inf", "1e9", "25 ", "99999999999/1"}) {
        ClipRate rate = {1, 1};
        EXPECT_FALSE(ClipParseRate(text, &rate)) << text;
    }
}

TEST(ClipRate, DropFrameFollowsTheTimecodeAndElseTheRate)
{
    EXPECT_TRUE(ClipDropsFrames("", {30000, 1001}));
    EXPECT_TRUE(ClipDropsFrames("", {60000, 1001}));
    EXPECT_FALSE(ClipDropsFrames("", {24000, 1001}));
    EXPECT_FALSE(ClipDropsFrames("", {30, 1}));
    EXPECT_FALSE(ClipDropsFrames("01:00:00:00", {30000, 1001}));
    EXPECT_TRUE(ClipDropsFrames("01:00:00;00", {30000, 1001}));
}

TEST(ClipSequence, ReadsPatterns)
{
    SequenceName name;
    ASSERT_TRUE(SequenceFromPattern("a/b/shot_%04d.png", &name));
    EXPECT_EQ(SequencePath(name, 7), "a/b/shot_0007.png");
    EXPECT_EQ(SequencePath(name, 12345), "a/b/shot_12345.png");
    ASSERT_TRUE(SequenceFromPattern("100%%_%d", &name));
    EXPECT_EQ(SequencePath(name, 7), "100%_7");
    for (const char* bad : {"plain.png", "two_%d_%d.png", "%s.png", "%4d.png", "%0d.png", "%019d.png", "%", "a%04",
                            "a%d/b.png", "%n%d", "%-04d"}) {
        EXPECT_FALSE(SequenceFromPattern(bad, &name)) << bad;
    }
}

TEST(ClipSequence, CutsFileNamesAtTheirLastNumber)
{
    SequenceName name;
    ASSERT_TRUE(SequenceFromFile("x/take2_0031.exr", &name));
    EXPECT_EQ(name.prefix, "take2_");
    EXPECT_EQ(name.number, 31u);
    EXPECT_EQ(name.digits, 4u);
    EXPECT_EQ(name.suffix, ".exr");
    ASSERT_TRUE(SequenceFromFile("f12", &name));
    EXPECT_EQ(name.number, 12u);
    EXPECT_FALSE(SequenceFromFile("photo.jpg", &name));
    EXPECT_FALSE(SequenceFromFile("1234567890123456789.png", &name));
}

TEST(ClipSequence, FindsTheUnbrokenRow)
{
    TestFolder folder;
    for (const char* file : {"a_08.x", "a_09.x", "a_10.x", "a_12.x", "a_007.x", "b_11.x", "a_11.y", "a_11.x.bak"}) {
        std::ofstream(folder.Path(file)) << "x";
    }
    SequenceName name;
    uint64_t first = 0;
    ASSERT_TRUE(SequenceFromFile(folder.Path("a_09.x"), &name));
    EXPECT_EQ(SequenceFiles(name, false, &first),
              (std::vector<std::string>{folder.Path("a_08.x"), folder.Path("a_09.x"), folder.Path("a_10.x")}));
    EXPECT_EQ(first, 8u);
    ASSERT_TRUE(SequenceFromPattern(folder.Path("a_%02d.x"), &name));
    EXPECT_EQ(SequenceFiles(name, true, &first).size(), 3u);
    ASSERT_TRUE(SequenceFromFile(folder.Path("a_12.x"), &name));
    EXPECT_EQ(SequenceFiles(name, false, &first).size(), 1u);
    ASSERT_TRUE(SequenceFromPattern(folder.Path("none_%02d.x"), &name));
    EXPECT_TRUE(SequenceFiles(name, true, &first).empty());
}

TEST(PictureIn, TenBitsKeepWhatLiesBeyondWhite)
{
    PicturePtr picture = MakePicture(4, 2, AV_PIX_FMT_YUV422P10LE);
    picture->colorspace = AVCOL_SPC_BT709;
    picture->color_range = AVCOL_RANGE_MPEG;
    const uint16_t luma[4] = {64, 940, 1019, 4};
    for (int row = 0; row < 2; ++row) {
        std::memcpy(Row<uint16_t>(picture, 0, row), luma, sizeof(luma));
        for (int x = 0; x < 2; ++x) Row<uint16_t>(picture, 1, row)[x] = Row<uint16_t>(picture, 2, row)[x] = 512;
    }
    const std::vector<float> pixels = Floats(picture);
    const float wanted[4] = {0.0f, 1.0f, 955.0f / 876.0f, -60.0f / 876.0f};
    for (size_t x = 0; x < 4; ++x) {
        for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(pixels[x * 4 + c], wanted[x], 2e-6f) << x << " " << c;
        EXPECT_EQ(pixels[x * 4 + 3], 1.0f);
    }
}

TEST(PictureIn, UsesTheMatrixOfThePicture)
{
    struct Case {
        AVColorSpace space;
        double red, blue;
    };
    for (const Case& c : {Case{AVCOL_SPC_BT709, 0.2126, 0.0722}, Case{AVCOL_SPC_SMPTE170M, 0.299, 0.114},
                          Case{AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593}, Case{AVCOL_SPC_SMPTE240M, 0.212, 0.087},
                          Case{AVCOL_SPC_UNSPECIFIED, 0.299, 0.114}}) {
        PicturePtr picture = MakePicture(2, 2, AV_PIX_FMT_YUV444P12LE);
        picture->colorspace = c.space;
        picture->color_range = AVCOL_RANGE_MPEG;
        const double rgb[3] = {0.8, 0.3, 0.1};
        const double y = c.red * rgb[0] + (1 - c.red - c.blue) * rgb[1] + c.blue * rgb[2];
        for (int row = 0; row < 2; ++row) {
            for (int x = 0; x < 2; ++x) {
                Row<uint16_t>(picture, 0, row)[x] = static_cast<uint16_t>(std::lround(256 + 3504 * y));
                Row<uint16_t>(picture, 1, row)[x] =
                    static_cast<uint16_t>(std::lround(2048 + 3584 * (rgb[2] - y) / (2 * (1 - c.blue))));
                Row<uint16_t>(picture, 2, row)[x] =
                    static_cast<uint16_t>(std::lround(2048 + 3584 * (rgb[0] - y) / (2 * (1 - c.red))));
            }
        }
        const std::vector<float> pixels = Floats(picture);
        for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(pixels[i], rgb[i], 6e-4) << static_cast<int>(c.space) << " " << i;
    }
}

TEST(PictureIn, FullRangeIsFull)
{
    PicturePtr picture = MakePicture(2, 2, AV_PIX_FMT_YUV444P10LE);
    picture->color_range = AVCOL_RANGE_JPEG;
    for (int row = 0; row < 2; ++row) {
        Row<uint16_t>(picture, 0, row)[0] = 1023;
        Row<uint16_t>(picture, 0, row)[1] = 0;
        for (int x = 0; x < 2; ++x) Row<uint16_t>(picture, 1, row)[x] = Row<uint16_t>(picture, 2, row)[x] = 512;
    }
    const std::vector<float> pixels = Floats(picture);
    EXPECT_NEAR(pixels[0], 1.0f, 1e-6f);
    EXPECT_NEAR(pixels[4], 0.0f, 1e-6f);
}

TEST(PictureIn, ChromaIsInterpolatedFromItsPlace)
{
    // 4:2:0: samples on even columns, between the rows. A vertical and horizontal ramp stays a ramp inside.
    PicturePtr picture = MakePicture(16, 8, AV_PIX_FMT_YUV420P16LE);
    picture->colorspace = AVCOL_SPC_BT709;
    picture->color_range = AVCOL_RANGE_JPEG;
    for (int row = 0; row < 8; ++row) {
        for (int x = 0; x < 16; ++x) Row<uint16_t>(picture, 0, row)[x] = 30000;
    }
    for (int row = 0; row < 4; ++row) {
        for (int x = 0; x < 8; ++x) {
            Row<uint16_t>(picture, 1, row)[x] = 32768;
            Row<uint16_t>(picture, 2, row)[x] = static_cast<uint16_t>(32768 + 1000 * x + 4000 * row);
        }
    }
    const std::vector<float> pixels = Floats(picture);
    for (int row = 1; row < 7; ++row) {
        for (int x = 2; x < 12; ++x) {
            const double cr = (1000.0 * x / 2 + 4000.0 * ((row + 0.5) / 2 - 0.5)) / 65535;
            EXPECT_NEAR(pixels[static_cast<size_t>(row * 16 + x) * 4], 30000.0 / 65535 + 1.5748 * cr, 2e-5)
                << row << " " << x;
        }
    }
}

TEST(PictureIn, FloatPlanesAreCopiedWhole)
{
    for (AVPixelFormat kind :
         {AV_PIX_FMT_GBRPF32LE, AV_PIX_FMT_GBRAPF32LE, AV_PIX_FMT_GBRPF32BE, AV_PIX_FMT_GRAYF32LE}) {
        PicturePtr picture = MakePicture(67, 3, kind);
        const int planes = av_pix_fmt_desc_get(kind)->nb_components;
        for (int plane = 0; plane < planes; ++plane) {
            for (int row = 0; row < 3; ++row) {
                for (int x = 0; x < 67; ++x) {
                    const float value = static_cast<float>(plane * 1000 + row * 100 + x) * 0.37f - 20.0f;
                    uint32_t word = 0;
                    std::memcpy(&word, &value, 4);
                    Row<uint32_t>(picture, plane, row)[x] =
                        kind == AV_PIX_FMT_GBRPF32BE ? __builtin_bswap32(word) : word;
                }
            }
        }
        const std::vector<float> pixels = Floats(picture);
        const int planeOf[3] = {2, 0, 1};
        for (int row = 0; row < 3; ++row) {
            for (int x = 0; x < 67; ++x) {
                for (int c = 0; c < 3; ++c) {
                    const int plane = planes == 1 ? 0 : planeOf[c];
                    const float wanted = static_cast<float>(plane * 1000 + row * 100 + x) * 0.37f - 20.0f;
                    ASSERT_EQ(pixels[static_cast<size_t>(row * 67 + x) * 4 + static_cast<size_t>(c)], wanted)
                        << av_get_pix_fmt_name(kind) << " row " << row << " column " << x << " channel " << c;
                }
            }
        }
    }
}

TEST(PictureIn, SixteenBitColoursAreFractionsOfTheHighestCode)
{
    for (AVPixelFormat kind : {AV_PIX_FMT_RGB48LE, AV_PIX_FMT_RGB48BE, AV_PIX_FMT_RGBA64LE}) {
        PicturePtr picture = MakePicture(3, 1, kind);
        const int step = kind == AV_PIX_FMT_RGBA64LE ? 4 : 3;
        for (int i = 0; i < 3 * step; ++i) {
            const uint16_t code = static_cast<uint16_t>(i * 5000 + 535);
            Row<uint16_t>(picture, 0, 0)[i] = kind == AV_PIX_FMT_RGB48BE ? __builtin_bswap16(code) : code;
        }
        const std::vector<float> pixels = Floats(picture);
        for (int x = 0; x < 3; ++x) {
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(pixels[static_cast<size_t>(x * 4 + c)],
                          static_cast<float>((x * step + c) * 5000 + 535) / 65535.0f);
            }
        }
    }
    PicturePtr grey = MakePicture(2, 1, AV_PIX_FMT_GRAY10LE);
    Row<uint16_t>(grey, 0, 0)[0] = 1023;
    Row<uint16_t>(grey, 0, 0)[1] = 512;
    const std::vector<float> pixels = Floats(grey);
    EXPECT_EQ(pixels[0], 1.0f);
    EXPECT_EQ(pixels[6], 512.0f / 1023.0f);
}

TEST(PictureIn, EightBitsBecomeWords)
{
    PicturePtr picture = MakePicture(3, 2, AV_PIX_FMT_RGBA);
    for (int row = 0; row < 2; ++row) {
        for (int i = 0; i < 12; ++i) Row<uint8_t>(picture, 0, row)[i] = static_cast<uint8_t>(row * 100 + i * 7);
    }
    FBPixelFormat format = pixFormatRGBA32_Float;
    ASSERT_TRUE(PictureConverter::FormatFor(AV_PIX_FMT_RGBA, &format));
    ASSERT_EQ(format, pixFormatARGB8);
    PictureConverter converter;
    uint8_t pixels[24] = {};
    ASSERT_EQ(converter.ToPixels(picture.get(), format, pixels, 12), bpNoErr);
    for (int row = 0; row < 2; ++row) {
        for (int x = 0; x < 3; ++x) {
            const uint8_t* rgb = Row<uint8_t>(picture, 0, row) + x * 4;
            const uint8_t* word = pixels + row * 12 + x * 4;
            EXPECT_EQ(word[0], rgb[2]);
            EXPECT_EQ(word[1], rgb[1]);
            EXPECT_EQ(word[2], rgb[0]);
            EXPECT_EQ(word[3], 255);
        }
    }
    EXPECT_FALSE(PictureConverter::FormatFor(AV_PIX_FMT_VAAPI, &format));
    EXPECT_FALSE(PictureConverter::FormatFor(-1, &format));
}

TEST(PictureOut, FloatsToTenBitsAndBack)
{
    // A picture without detail comes back from 4:2:2 as it went in, to a step of ten bits, and above white too.
    FBFrame* frame = nullptr;
    ASSERT_EQ(FBCreateRGBFrameBuffer(9, 3, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
    const float rgb[3] = {1.05f, 0.4f, 0.2f};
    for (uint32_t plane = 0; plane < 3; ++plane) {
        for (uint32_t row = 0; row < 3; ++row) {
            float* line = reinterpret_cast<float*>(frame->baseAddr + plane * frame->planeBytes + row * frame->rowBytes);
            for (uint32_t x = 0; x < 9; ++x) line[x] = rgb[plane];
        }
    }
    for (ClipMatrix matrix : {ClipMatrix::rec601, ClipMatrix::rec709, ClipMatrix::rec2020, ClipMatrix::smpte240}) {
        PicturePtr picture = MakePicture(9, 3, AV_PIX_FMT_YUV422P10LE);
        PictureFromFrame422(*frame, matrix, false, picture.get());
        picture->color_range = AVCOL_RANGE_MPEG;
        picture->colorspace = matrix == ClipMatrix::rec601    ? AVCOL_SPC_SMPTE170M
                              : matrix == ClipMatrix::rec709  ? AVCOL_SPC_BT709
                              : matrix == ClipMatrix::rec2020 ? AVCOL_SPC_BT2020_NCL
                                                              : AVCOL_SPC_SMPTE240M;
        const std::vector<float> pixels = Floats(picture);
        for (size_t i = 0; i < 27; ++i) {
            for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(pixels[i * 4 + c], rgb[c], 2.5f / 876) << i << " " << c;
        }
    }
    // Values that are none, and values far away, stay inside the legal codes.
    float* line = reinterpret_cast<float*>(frame->baseAddr);
    line[0] = NAN;
    line[1] = INFINITY;
    line[2] = -INFINITY;
    line[3] = 1e30f;
    PicturePtr picture = MakePicture(9, 3, AV_PIX_FMT_YUV422P10LE);
    PictureFromFrame422(*frame, ClipMatrix::rec709, false, picture.get());
    for (int x = 0; x < 9; ++x) {
        EXPECT_GE(Row<uint16_t>(picture, 0, 0)[x], 4);
        EXPECT_LE(Row<uint16_t>(picture, 0, 0)[x], 1019);
    }
    PicturePtr words = MakePicture(9, 3, AV_PIX_FMT_RGB48BE);
    PictureFromFrame48(*frame, words.get());
    const uint8_t* bytes = Row<uint8_t>(words, 0, 0);
    EXPECT_EQ(bytes[0] << 8 | bytes[1], 0);     // NaN
    EXPECT_EQ(bytes[6] << 8 | bytes[7], 65535); // infinity
    EXPECT_EQ(bytes[2] << 8 | bytes[3], std::lround(0.4f * 65535));
    FBDisposeFrameBuffer(frame);
}

TEST(PictureOut, HalvedChromaPassesThroughUnchanged)
{
    PicturePtr in = MakePicture(24, 4, AV_PIX_FMT_YUV422P10LE), out = MakePicture(24, 4, AV_PIX_FMT_YUV422P10LE);
    in->colorspace = AVCOL_SPC_BT709;
    in->color_range = AVCOL_RANGE_MPEG;
    for (int row = 0; row < 4; ++row) {
        for (int plane = 0; plane < 3; ++plane) {
            for (int x = 0; x < (plane == 0 ? 24 : 12); ++x) {
                Row<uint16_t>(in, plane, row)[x] = static_cast<uint16_t>(4 + (x * 397 + plane * 131 + row * 61) % 1016);
            }
        }
    }
    const std::vector<float> pixels = Floats(in);
    FBFrame* frame = nullptr;
    ASSERT_EQ(FBCreateRGBFrameBuffer(24, 4, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
    FBTransferPixToFBFrameSSE(pixels.data(), 24 * 16, 0, pixFormatRGBA32_Float, frame);
    PictureFromFrame422(*frame, ClipMatrix::rec709, true, out.get());
    for (int row = 0; row < 4; ++row) {
        for (int plane = 0; plane < 3; ++plane) {
            for (int x = 0; x < (plane == 0 ? 24 : 12); ++x) {
                ASSERT_EQ(Row<uint16_t>(out, plane, row)[x], Row<uint16_t>(in, plane, row)[x])
                    << plane << " " << row << " " << x;
            }
        }
    }
    FBDisposeFrameBuffer(frame);
}

TEST(ClipWriter, NamesItsFiles)
{
    EXPECT_EQ(OutputFiles("a/b.mov", OutputKind::movie, 3, 7), (std::vector<std::string>{"a/b.mov"}));
    EXPECT_EQ(OutputFiles("a/b_%03d.png", OutputKind::png, 2, 9),
              (std::vector<std::string>{"a/b_009.png", "a/b_010.png"}));
    EXPECT_EQ(OutputFiles("b.exr", OutputKind::exr, 1, 0), (std::vector<std::string>{"b.exr"}));
    EXPECT_EQ(OutputFiles("b.exr", OutputKind::exr, 2, 0), (std::vector<std::string>{"b_0000.exr", "b_0001.exr"}));
    OutputKind kind = OutputKind::png;
    EXPECT_TRUE(OutputKindOf("x.MOV", &kind));
    EXPECT_EQ(kind, OutputKind::movie);
    for (const char* name : {"x.mp4", "x", "mov", "x.png.txt", ""}) EXPECT_FALSE(OutputKindOf(name, &kind)) << name;
}

TEST(ClipOpen, RefusesWhatIsNoClip)
{
    TestFolder folder;
    std::ofstream(folder.Path("noise.mov")) << "this is no movie, however its name ends";
    std::ofstream(folder.Path("empty.mov"));
    std::ofstream(folder.Path("list.m3u8")) << "#EXTM3U\n#EXTINF:1,\nhttp://localhost:1/x.ts\n";
    std::ofstream(folder.Path("concat.txt")) << "ffconcat version 1.0\nfile /etc/passwd\n";
    std::string error;
    for (const std::string& path :
         {folder.Path("noise.mov"), folder.Path("empty.mov"), folder.Path("list.m3u8"), folder.Path("concat.txt"),
          folder.Path("missing.mov"), folder.Path("missing_%04d.png"), folder.Path(""), std::string("/dev/null")}) {
        EXPECT_EQ(OpenClip(path, {}, &error), nullptr) << path;
        EXPECT_FALSE(error.empty()) << path;
    }
}

TEST(ClipOpen, NeverReachesOutOfTheMachine)
{
    // A playlist in the disguise of a clip names a server; nobody may call it.
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(listen(server, 4), 0);
    ASSERT_EQ(getsockname(server, reinterpret_cast<sockaddr*>(&address), &length), 0);
    TestFolder folder;
    const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/x.ts";
    std::ofstream(folder.Path("list.m3u8")) << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n"
                                            << url << "\n#EXT-X-ENDLIST\n";
    std::string error;
    EXPECT_EQ(OpenClip(folder.Path("list.m3u8"), {}, &error), nullptr);
    EXPECT_EQ(accept(server, nullptr, nullptr), -1) << "somebody called";
    close(server);
}
