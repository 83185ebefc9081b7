// Movies and sequences read back to the frame, in any order; renders compared with the engine.
#include "host/ClipWriter.h"
#include "host/GradeFile.h"
#include "host/HostRender.h"
#include "host/SampleScene.h"
#include "src/MPTasks.h"
#include "tests/host/ClipTest.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

std::unique_ptr<ClipSource> Open(const std::string& path, ClipOptions options = {})
{
    std::string error;
    std::unique_ptr<ClipSource> clip = OpenClip(path, options, &error);
    EXPECT_NE(clip, nullptr) << error;
    return clip;
}

struct MovieCase {
    const char* name;
    const char* file;
    const char* words; ///< encoder and its options
};

void PrintTo(const MovieCase& movie, std::ostream* out)
{
    *out << movie.name;
}

OCSettings SomeGrade()
{
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    grade.primaryOn = grade.hslOn = grade.hsl.master.on = 1;
    grade.hsl.master.saturation = 140;
    grade.hsl.master.contrast = 12;
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.group.gamma = 1.2f;
    grade.rgb.master.channel[0].gain = 1.1f;
    return grade;
}

/// Renders a clip and says whether that worked.
testing::AssertionResult Render(ClipSource* clip, const OCSettings& grade, const std::string& path, int threads = 1)
{
    std::string error;
    std::unique_ptr<ClipWriter> writer = MakeClipWriter(path, clip->Info(), threads, &error);
    if (!writer) return testing::AssertionFailure() << error;
    HostRenderResult result = {};
    if (RenderClip(clip, grade, writer.get(), threads, nullptr, nullptr, &result, &error) != bpNoErr) {
        return testing::AssertionFailure() << error;
    }
    if (writer->Finish() != bpNoErr) return testing::AssertionFailure() << writer->Error();
    return testing::AssertionSuccess();
}

size_t FilesIn(const std::string& folder)
{
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
    return count;
}

} // namespace

class Movie : public testing::TestWithParam<MovieCase> {};

TEST_P(Movie, GivesEveryFrameInAnyOrder)
{
    TestFolder folder;
    const std::string path = folder.Path(GetParam().file);
    ASSERT_TRUE(RunFFmpeg(std::string("-f lavfi -i color=black:s=192x32:r=30000/1001 -frames:v 90 -vf \"") +
                          kPaintNumbers + "\" " + GetParam().words + " " + path));
    std::unique_ptr<ClipSource> clip = Open(path);
    ASSERT_NE(clip, nullptr);
    const ClipInfo& info = clip->Info();
    EXPECT_EQ(info.width, 192u);
    EXPECT_EQ(info.height, 32u);
    EXPECT_EQ(info.frameCount, 90);
    EXPECT_EQ(info.pixelFormat, pixFormatARGB8);
    std::vector<int32_t> order = {0, 1, 2, 50, 49, 48, 89, 88, 0, 89, 44, 45, 46, 7};
    std::minstd_rand random(5);
    for (int i = 0; i < 30; ++i) order.push_back(static_cast<int32_t>(random() % 90));
    for (int32_t number : order) {
        ASSERT_EQ(PaintedNumber(info, ReadFrame(clip.get(), number)), number);
    }
    for (int32_t number = 0; number < 90; ++number) {
        ASSERT_EQ(PaintedNumber(info, ReadFrame(clip.get(), number)), number);
    }
    EXPECT_TRUE(ReadFrame(clip.get(), 90).empty());
    EXPECT_TRUE(ReadFrame(clip.get(), -1).empty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Movie,
    testing::Values(MovieCase{"h264", "a.mp4", "-c:v libx264 -pix_fmt yuv420p -bf 3 -g 24 -crf 10"},
                    MovieCase{"h264OpenGroups", "a.mov",
                              "-c:v libx264 -pix_fmt yuv420p -bf 3 -g 15 -x264-params open-gop=1 -crf 10"},
                    MovieCase{"h264OneKey", "a.mkv", "-c:v libx264 -pix_fmt yuv420p -bf 2 -g 500 -crf 10"},
                    MovieCase{"transport", "a.ts", "-c:v libx264 -pix_fmt yuv420p -bf 3 -g 20 -crf 10"},
                    MovieCase{"mpeg2", "a.mpg", "-c:v mpeg2video -pix_fmt yuv420p -bf 2 -g 12 -q:v 2"},
                    MovieCase{"mjpegAvi", "a.avi", "-c:v mjpeg -pix_fmt yuvj420p -q:v 2"},
                    MovieCase{"h264Avi", "b.avi", "-c:v libx264 -pix_fmt yuv420p -bf 2 -g 24 -crf 10"},
                    MovieCase{"pngMov", "b.mov", "-c:v png -pix_fmt rgb24"},
                    MovieCase{"rawStream", "a.264", "-c:v libx264 -pix_fmt yuv420p -bf 0 -g 24 -crf 10"},
                    MovieCase{"vp9", "a.webm",
                              "-c:v libvpx-vp9 -pix_fmt yuv420p -deadline realtime -cpu-used 8 -crf 20 -b:v 0"}),
    [](const testing::TestParamInfo<MovieCase>& movie) { return std::string(movie.param.name); });

TEST(MovieClip, TellsRateAspectAndTimecode)
{
    TestFolder folder;
    const std::string drop = folder.Path("drop.mov");
    ASSERT_TRUE(
        RunFFmpeg("-f lavfi -i testsrc=s=64x48:r=30000/1001 -frames:v 5 -vf setsar=8/9 -c:v prores_ks -timecode "
                  "'01:00:00;00' " +
                  drop));
    std::unique_ptr<ClipSource> clip = Open(drop);
    ASSERT_NE(clip, nullptr);
    EXPECT_EQ(ClipRate100(clip->Info().rate), 2997);
    EXPECT_TRUE(clip->Info().dropFrame);
    EXPECT_EQ(clip->Info().timecode, "01:00:00;00");
    EXPECT_NEAR(clip->Info().pixelAspect, 8.0 / 9.0, 1e-6);
    EXPECT_EQ(clip->Info().pixelFormat, pixFormatRGBA32_Float);
    EXPECT_EQ(clip->Info().rowBytes, 64u * 16);
}

TEST(MovieClip, IsTurnedAsTheFileAsks)
{
    TestFolder folder;
    const std::string upright = folder.Path("upright.mov");
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=s=64x48:r=25 -frames:v 2 -c:v png -pix_fmt rgb24 " + upright));
    for (const std::string& angle : {std::string("90"), std::string("180"), std::string("270")}) {
        const std::string turned = folder.Path(angle + ".mov"), judged = folder.Path(angle + ".raw");
        ASSERT_TRUE(RunFFmpeg("-i " + upright + " -c copy -metadata:s:v:0 rotate=" + angle + " " + turned));
        ASSERT_TRUE(
            RunFFmpeg("-i " + turned + " -vf 'select=eq(n\\,1)' -frames:v 1 -pix_fmt bgra -f rawvideo " + judged));
        std::unique_ptr<ClipSource> clip = Open(turned);
        ASSERT_NE(clip, nullptr);
        EXPECT_EQ(clip->Info().width, angle == "180" ? 64u : 48u);
        EXPECT_EQ(clip->Info().height, angle == "180" ? 48u : 64u);
        const std::vector<uint8_t> pixels = ReadFrame(clip.get(), 1);
        std::ifstream file(judged, std::ios::binary);
        const std::vector<char> wanted((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        ASSERT_EQ(wanted.size(), pixels.size());
        EXPECT_EQ(std::memcmp(wanted.data(), pixels.data(), pixels.size()), 0) << angle;
    }
}

TEST(MovieClip, EightBitColoursAgreeWithTheCommand)
{
    TestFolder folder;
    const std::string path = folder.Path("a.mp4"), judged = folder.Path("a.raw");
    ASSERT_TRUE(
        RunFFmpeg("-f lavfi -i testsrc2=s=128x720:r=25 -frames:v 1 -vf scale=out_color_matrix=bt709 -colorspace bt709 "
                  "-c:v libx264 -qp 0 -pix_fmt yuv444p " +
                  path));
    ASSERT_TRUE(RunFFmpeg("-i " + path +
                          " -vf scale=in_color_matrix=bt709:flags=accurate_rnd+full_chroma_int -pix_fmt bgra "
                          "-f rawvideo " +
                          judged));
    std::unique_ptr<ClipSource> clip = Open(path);
    ASSERT_NE(clip, nullptr);
    const std::vector<uint8_t> pixels = ReadFrame(clip.get(), 0);
    std::ifstream file(judged, std::ios::binary);
    const std::vector<char> wanted((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    ASSERT_EQ(wanted.size(), pixels.size());
    int worst = 0;
    for (size_t i = 0; i < pixels.size(); ++i)
        worst = std::max(worst, std::abs(pixels[i] - static_cast<uint8_t>(wanted[i])));
    EXPECT_LE(worst, 1);
}

TEST(MovieClip, ATruncatedFileGivesWhatIsThere)
{
    TestFolder folder;
    const std::string path = folder.Path("a.ts");
    ASSERT_TRUE(RunFFmpeg(std::string("-f lavfi -i color=black:s=192x32:r=25 -frames:v 60 -vf \"") + kPaintNumbers +
                          "\" -c:v libx264 -pix_fmt yuv420p -g 10 -crf 10 " + path));
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
    std::unique_ptr<ClipSource> clip = Open(path);
    ASSERT_NE(clip, nullptr);
    EXPECT_GT(clip->Info().frameCount, 5);
    EXPECT_LT(clip->Info().frameCount, 60);
    EXPECT_EQ(PaintedNumber(clip->Info(), ReadFrame(clip.get(), 3)), 3);
    EXPECT_FALSE(ReadFrame(clip.get(), clip->Info().frameCount - 1).empty());
}

TEST(SequenceClip, GivesEveryFileOfTheRow)
{
    TestFolder folder;
    ASSERT_TRUE(RunFFmpeg(std::string("-f lavfi -i color=black:s=192x32 -frames:v 12 -vf \"") + kPaintNumbers +
                          "\" -start_number 97 " + folder.Path("shot_%04d.png")));
    ClipOptions options;
    options.sequenceRate = {24000, 1001};
    for (const char* name : {"shot_%04d.png", "shot_0099.png"}) {
        std::unique_ptr<ClipSource> clip = Open(folder.Path(name), options);
        ASSERT_NE(clip, nullptr);
        EXPECT_EQ(clip->Info().frameCount, 12);
        EXPECT_EQ(clip->Info().firstNumber, 97u);
        EXPECT_EQ(clip->Info().name, "shot");
        EXPECT_EQ(ClipRate100(clip->Info().rate), 2398);
        for (int32_t number : {0, 11, 5, 5, 1})
            EXPECT_EQ(PaintedNumber(clip->Info(), ReadFrame(clip.get(), number)), number);
    }
    // One of another size is refused, its neighbours are not.
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i color=black:s=64x32 -frames:v 1 " + folder.Path("shot_0100.png")));
    std::unique_ptr<ClipSource> clip = Open(folder.Path("shot_0097.png"), options);
    ASSERT_NE(clip, nullptr);
    EXPECT_TRUE(ReadFrame(clip.get(), 3).empty());
    EXPECT_EQ(PaintedNumber(clip->Info(), ReadFrame(clip.get(), 4)), 4);
}

TEST(SequenceClip, AStillIsAClipOfOneFrame)
{
    TestFolder folder;
    for (const char* name : {"still.jpg", "still 100%.tga", "still_%03d.tga", "still.webp", "still.dpx", "a_7.png"}) {
        const std::string path = folder.Path(name);
        // The command takes a percent sign for a pattern.
        const std::string plain = folder.Path("made" + std::filesystem::path(name).extension().string());
        ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc=s=64x48 -frames:v 1 " + plain)) << name;
        std::filesystem::rename(plain, path);
        std::unique_ptr<ClipSource> clip = Open(path);
        ASSERT_NE(clip, nullptr) << name;
        EXPECT_EQ(clip->Info().frameCount, 1) << name;
        EXPECT_EQ(clip->Info().width, 64u) << name;
        EXPECT_FALSE(ReadFrame(clip.get(), 0).empty()) << name;
    }
}

TEST(Render, ExrIsTheEnginesOwnResultBitForBit)
{
    TestFolder folder;
    std::unique_ptr<ClipSource> clip = MakeCountingClip(67, 41, 3);
    const OCSettings grade = SomeGrade();
    ASSERT_TRUE(Render(clip.get(), grade, folder.Path("out_%03d.exr"), 3));
    EXPECT_EQ(FilesIn(folder.path), 3u);

    OCEngine* engine = nullptr;
    ASSERT_EQ(OCCreateEngine(&engine), bpNoErr);
    OCUpdateParameters(engine, &grade);
    FBFrame *source = nullptr, *wanted = nullptr;
    ASSERT_EQ(FBCreateRGBFrameBuffer(67, 41, &source, pixFormatRGBYPlanar_Float), bpNoErr);
    ASSERT_EQ(FBCreateRGBFrameBuffer(67, 41, &wanted, pixFormatRGBYPlanar_Float), bpNoErr);
    std::unique_ptr<ClipSource> written = Open(folder.Path("out_%03d.exr"));
    ASSERT_NE(written, nullptr);
    ASSERT_EQ(written->Info().pixelFormat, pixFormatRGBA32_Float);
    int different = 0;
    for (int32_t number = 0; number < 3; ++number) {
        const std::vector<uint8_t> in = ReadFrame(clip.get(), number);
        FBTransferPixToFBFrame(in.data(), 67 * 16, 0, pixFormatRGBA32_Float, source, 1, nullptr);
        ProcessImage(engine, source, wanted, &grade, 0, 1, nullptr);
        const std::vector<uint8_t> out = ReadFrame(written.get(), number);
        ASSERT_EQ(out.size(), in.size());
        different += std::memcmp(in.data(), out.data(), in.size()) != 0 ? 1 : 0;
        for (uint32_t row = 0; row < 41; ++row) {
            for (uint32_t x = 0; x < 67; ++x) {
                for (uint32_t c = 0; c < 3; ++c) {
                    const uint8_t* a = out.data() + (row * 67 + x) * 16 + c * 4;
                    const uint8_t* b = wanted->baseAddr + c * wanted->planeBytes + row * wanted->rowBytes + x * 4;
                    ASSERT_EQ(std::memcmp(a, b, 4), 0) << "frame " << number << " row " << row << " column " << x;
                }
            }
        }
    }
    EXPECT_EQ(different, 3); // the grade did something
    FBDisposeFrameBuffer(source);
    FBDisposeFrameBuffer(wanted);
    OCDisposeEngine(engine);
}

TEST(Render, MovieKeepsSizeRateTimecodeAndColours)
{
    TestFolder folder;
    const std::string in = folder.Path("in.mov"), out = folder.Path("out.mov");
    ASSERT_TRUE(
        RunFFmpeg("-f lavfi -i smptehdbars=s=130x98:r=30000/1001 -frames:v 7 -c:v prores_ks -profile:v 3 -timecode "
                  "'10:11:12;13' -vf setparams=colorspace=bt709:color_primaries=bt709 " +
                  in));
    std::unique_ptr<ClipSource> clip = Open(in);
    ASSERT_NE(clip, nullptr);
    OCSettings neutral = {};
    OCResetSettings(&neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
    ASSERT_TRUE(Render(clip.get(), neutral, out, 2));
    EXPECT_EQ(FilesIn(folder.path), 2u);
    std::unique_ptr<ClipSource> back = Open(out);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->Info().frameCount, 7);
    EXPECT_EQ(back->Info().width, 130u);
    EXPECT_EQ(back->Info().height, 98u);
    EXPECT_EQ(back->Info().timecode, "10:11:12;13");
    EXPECT_EQ(ClipRate100(back->Info().rate), 2997);
    EXPECT_EQ(clip->Info().matrix, ClipMatrix::rec709); // though a picture of 98 rows would be 601
    EXPECT_EQ(back->Info().matrix, ClipMatrix::rec709);
    // A second pass through the encoder changes little: the mean stays below a step of ten bits.
    const std::vector<uint8_t> a = ReadFrame(clip.get(), 6), b = ReadFrame(back.get(), 6);
    ASSERT_EQ(a.size(), b.size());
    double sum = 0;
    for (size_t i = 0; i < a.size(); i += 4) {
        float x = 0, y = 0;
        std::memcpy(&x, &a[i], 4);
        std::memcpy(&y, &b[i], 4);
        sum += std::abs(x - y);
    }
    EXPECT_LT(sum / (static_cast<double>(a.size()) / 4), 1.0 / 1023);
}

TEST(Render, PngHasSixteenBits)
{
    TestFolder folder;
    std::unique_ptr<ClipSource> clip = MakeCountingClip(31, 9, 1);
    OCSettings neutral = {};
    OCResetSettings(&neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
    ASSERT_TRUE(Render(clip.get(), neutral, folder.Path("one.png")));
    std::unique_ptr<ClipSource> back = Open(folder.Path("one.png"));
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->Info().pixelFormat, pixFormatRGBA32_Float);
    const std::vector<uint8_t> a = ReadFrame(clip.get(), 0), b = ReadFrame(back.get(), 0);
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); i += 4) {
        if (i % 16 == 12) continue; // alpha
        float x = 0, y = 0;
        std::memcpy(&x, &a[i], 4);
        std::memcpy(&y, &b[i], 4);
        ASSERT_NEAR(y, std::min(std::max(x, 0.0f), 1.0f), 0.6f / 65535) << i;
    }
}

TEST(Render, LeavesNothingBehindWhenItFails)
{
    TestFolder folder;
    std::unique_ptr<ClipSource> clip = MakeCountingClip(64, 32, 5);
    const OCSettings grade = SomeGrade();
    std::string error;
    for (const char* name : {"out.mov", "out_%03d.exr", "out.png"}) {
        std::unique_ptr<ClipWriter> writer = MakeClipWriter(folder.Path(name), clip->Info(), 1, &error);
        ASSERT_NE(writer, nullptr) << error;
        HostRenderResult result = {};
        static int left = 0;
        left = 2;
        ASSERT_EQ(RenderClip(
                      clip.get(), grade, writer.get(), 1, nullptr, [] { return left-- == 0; }, &result, &error),
                  bpNoErr);
        EXPECT_TRUE(result.wasInterrupted);
        EXPECT_EQ(result.framesDone, 2);
        writer.reset();
        EXPECT_EQ(FilesIn(folder.path), 0u) << name;
    }
    EXPECT_EQ(MakeClipWriter("/nonexistent/out.mov", clip->Info(), 1, &error), nullptr);
    EXPECT_EQ(MakeClipWriter(folder.Path("out.avi"), clip->Info(), 1, &error), nullptr);
}

TEST(Render, NeverReplacesItsOwnSource)
{
    TestFolder folder;
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc=s=64x48 -frames:v 3 " + folder.Path("a_%02d.png")));
    std::unique_ptr<ClipSource> clip = Open(folder.Path("a_01.png"));
    ASSERT_NE(clip, nullptr);
    std::string error;
    EXPECT_EQ(MakeClipWriter(folder.Path("a_%02d.png"), clip->Info(), 1, &error), nullptr);
    EXPECT_NE(error.find("replace"), std::string::npos);
    EXPECT_NE(MakeClipWriter(folder.Path("b_%02d.png"), clip->Info(), 1, &error), nullptr);
}

TEST(GradeFile, IsTheRecordAndNothingElse)
{
    TestFolder folder;
    const OCSettings grade = SomeGrade();
    ASSERT_EQ(WriteGradeFile(folder.Path("a.ocgrade"), grade), bpNoErr);
    EXPECT_EQ(std::filesystem::file_size(folder.Path("a.ocgrade")), 33556u);
    OCSettings back = {};
    std::string error;
    ASSERT_EQ(ReadGradeFile(folder.Path("a.ocgrade"), &back, &error), bpNoErr);
    EXPECT_EQ(std::memcmp(&back, &grade, sizeof(grade)), 0);

    std::vector<uint8_t> bytes(sizeof(grade) + 1);
    std::memcpy(bytes.data(), &grade, sizeof(grade));
    OCSettings kept = back;
    EXPECT_EQ(GradeFromBytes(bytes.data(), bytes.size(), &kept), bpInvalidSettingsErr);
    EXPECT_EQ(GradeFromBytes(bytes.data(), bytes.size() - 2, &kept), bpInvalidSettingsErr);
    EXPECT_EQ(GradeFromBytes(bytes.data(), 0, &kept), bpInvalidSettingsErr);
    EXPECT_EQ(GradeFromBytes(nullptr, sizeof(grade), &kept), bpInvalidSettingsErr);
    std::swap(bytes[0], bytes[3]);
    EXPECT_EQ(GradeFromBytes(bytes.data(), sizeof(grade), &kept), bpInvalidSettingsErr);
    EXPECT_EQ(std::memcmp(&back, &kept, sizeof(grade)), 0);
    EXPECT_EQ(ReadGradeFile(folder.Path("none"), &kept, &error), bpFileNotFoundErr);
    std::ofstream(folder.Path("large")) << std::string(100000, 'x');
    EXPECT_EQ(ReadGradeFile(folder.Path("large"), &kept, &error), bpInvalidSettingsErr);
    EXPECT_EQ(WriteGradeFile("/nonexistent/x", grade) == bpNoErr, false);
}

TEST(SampleScene, HasWhatFootageHas)
{
    std::unique_ptr<ClipSource> scene = MakeSampleScene(480, 270, 2);
    ASSERT_EQ(scene->Info().frameCount, 50);
    ASSERT_EQ(scene->Info().pixelFormat, pixFormatRGBA32_Float);
    const auto frame = [&](int32_t number) {
        const std::vector<uint8_t> bytes = ReadFrame(scene.get(), number);
        std::vector<float> values(bytes.size() / 4);
        std::memcpy(values.data(), bytes.data(), bytes.size());
        return values;
    };
    const std::vector<float> first = frame(0), last = frame(49);
    size_t above = 0, dark = 0, skin = 0, green = 0, blue = 0;
    double change = 0;
    for (size_t i = 0; i < first.size(); i += 4) {
        const float r = first[i], g = first[i + 1], b = first[i + 2];
        ASSERT_TRUE(std::isfinite(r) && std::isfinite(g) && std::isfinite(b));
        ASSERT_EQ(first[i + 3], 1.0f);
        above += r > 1.2f && g > 1.1f ? 1 : 0;
        dark += std::max({r, g, b}) < 0.25f ? 1 : 0;
        skin += r > 0.5f && r > g * 1.15f && g > b * 1.02f && g > r * 0.55f && b > 0.25f ? 1 : 0;
        green += g > r * 1.15f && g > b * 1.25f ? 1 : 0;
        blue += b > r * 1.25f && b > 0.45f ? 1 : 0;
        change += std::abs(first[i + 1] - last[i + 1]);
    }
    const size_t pixels = first.size() / 4;
    EXPECT_GT(above, pixels / 400);
    EXPECT_GT(dark, pixels / 40);
    EXPECT_GT(skin, pixels / 200);
    EXPECT_GT(green, pixels / 8);
    EXPECT_GT(blue, pixels / 20);
    EXPECT_GT(change / static_cast<double>(pixels), 0.01);
    // Grain: even where nothing moves, neighbouring frames differ.
    EXPECT_NE(frame(20), frame(21));
    EXPECT_TRUE(ReadFrame(scene.get(), 50).empty());
}

TEST(SampleScene, IsTheSameOnEveryRunAndInAnyOrder)
{
    std::unique_ptr<ClipSource> a = MakeSampleScene(320, 180, 1), b = MakeSampleScene(320, 180, 3);
    for (int32_t number : {7, 31}) (void)ReadFrame(b.get(), number);
    for (int32_t number : {0, 31, 7, 49}) EXPECT_EQ(ReadFrame(a.get(), number), ReadFrame(b.get(), number)) << number;
}
