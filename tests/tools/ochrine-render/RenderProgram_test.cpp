// The program with pictures: every format against the engine's own pixels, threads, parts, what is there already.
#include "host/GradeFile.h"
#include "src/TincturaFileIO.h"
#include "tests/tools/ochrine-render/RenderTest.h"
#include "tools/ochrine-render/RenderStill.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace {

class RenderProgram : public RenderTest {};

std::vector<uint16_t> Words(const std::vector<uint8_t>& bytes)
{
    std::vector<uint16_t> words(bytes.size() / 2);
    std::memcpy(words.data(), bytes.data(), words.size() * 2);
    return words;
}

std::vector<float> Floats(const std::vector<uint8_t>& bytes)
{
    std::vector<float> values(bytes.size() / 4);
    std::memcpy(values.data(), bytes.data(), values.size() * 4);
    return values;
}

/// The nearest code, computed the long way.
long Code(float value, double top)
{
    const float scaled = std::min(std::max(value * static_cast<float>(top), 0.0f), static_cast<float>(top));
    return static_cast<long>(scaled + 0.5f);
}

/// The nearest half: the interval between neighbours follows from the exponent.
float NearestHalf(float value)
{
    int exponent = 0;
    std::frexp(value, &exponent);
    const double step = std::ldexp(1.0, std::max(exponent - 11, -24));
    return static_cast<float>(std::nearbyint(static_cast<double>(value) / step) * step);
}

constexpr size_t kWidth = 67, kHeight = 35, kPixels = kWidth * kHeight;

} // namespace

TEST_F(RenderProgram, FloatEXRHoldsTheEnginesPixelsToTheBit)
{
    MakePictures(7, 9);
    for (const char* words : {"--format exr-float", "--format exr-float --compression none"}) {
        ASSERT_EQ(Run(std::string(words) + " src_%04d.png out_%04d.exr").exit, 0);
        for (int32_t i = 0; i < 3; ++i) {
            const std::vector<float> wanted = Graded("src_%04d.png", i, TestGrade());
            const std::vector<float> read = Floats(Decoded("out_000" + std::to_string(7 + i) + ".exr", "gbrpf32le"));
            ASSERT_EQ(read.size(), 3 * kPixels);
            const size_t planeOf[3] = {2, 0, 1};
            for (size_t plane = 0; plane < 3; ++plane) {
                EXPECT_EQ(
                    std::memcmp(read.data() + planeOf[plane] * kPixels, wanted.data() + plane * kPixels, kPixels * 4),
                    0)
                    << words << " frame " << i << " plane " << plane;
            }
        }
        const std::vector<float> graded = Graded("src_%04d.png", 0, TestGrade());
        EXPECT_LT(*std::min_element(graded.begin(), graded.end()), 0.0f); // what lies beyond the range is there
        EXPECT_GT(*std::max_element(graded.begin(), graded.end()), 1.0f);
    }
}

TEST_F(RenderProgram, HalfEXRHoldsTheNearestHalves)
{
    MakePictures(0, 0);
    ASSERT_EQ(Run("src_0000.png out.exr").exit, 0);
    const std::vector<float> wanted = Graded("src_0000.png", 0, TestGrade());
    const std::vector<float> read = Floats(Decoded("out.exr", "gbrpf32le"));
    ASSERT_EQ(read.size(), 3 * kPixels);
    const size_t planeOf[3] = {2, 0, 1};
    for (size_t plane = 0; plane < 3; ++plane) {
        for (size_t i = 0; i < kPixels; ++i) {
            ASSERT_EQ(read[planeOf[plane] * kPixels + i], NearestHalf(wanted[plane * kPixels + i]))
                << plane << " " << i;
        }
    }
}

TEST_F(RenderProgram, CodesOfDPXAndPNGAreTheNearestOnes)
{
    MakePictures(0, 0);
    const std::vector<float> wanted = Graded("src_0000.png", 0, TestGrade());
    struct Case {
        const char *format, *file, *decodeAs;
        double top;
        bool isPlanar;
    };
    for (const Case& c :
         {Case{"dpx10", "out10.dpx", "gbrp10le", 1023, true}, Case{"dpx16", "out16.dpx", "rgb48le", 65535, false},
          Case{"png16", "out16.png", "rgb48le", 65535, false}, Case{"png8", "out8.png", "rgb24", 255, false}}) {
        ASSERT_EQ(Run(std::string("--format ") + c.format + " src_0000.png " + c.file).exit, 0);
        const std::vector<uint8_t> bytes = Decoded(c.file, c.decodeAs);
        std::vector<uint16_t> read = Words(bytes);
        if (c.top == 255) read.assign(bytes.begin(), bytes.end());
        ASSERT_EQ(read.size(), 3 * kPixels) << c.format;
        const size_t planeOf[3] = {2, 0, 1};
        for (size_t plane = 0; plane < 3; ++plane) {
            for (size_t i = 0; i < kPixels; ++i) {
                const uint16_t code = c.isPlanar ? read[planeOf[plane] * kPixels + i] : read[i * 3 + plane];
                ASSERT_EQ(code, Code(wanted[plane * kPixels + i], c.top)) << c.format << " " << plane << " " << i;
            }
        }
    }
}

TEST_F(RenderProgram, RawFilesArePlanesOfFloats)
{
    MakePictures(0, 0);
    ASSERT_EQ(Run("src_0000.png out.raw").exit, 0);
    const std::vector<float> wanted = Graded("src_0000.png", 0, TestGrade());
    const std::vector<uint8_t> bytes = BytesOf(folder_.Path("out.raw"));
    ASSERT_EQ(bytes.size(), 3 * kPixels * 4);
    EXPECT_EQ(std::memcmp(bytes.data(), wanted.data(), bytes.size()), 0);
}

TEST_F(RenderProgram, PicturesOfEightBitsGoTheWayOfTheHost)
{
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=61x33 -frames:v 1 -pix_fmt rgb24 " + folder_.Path("src.png")));
    ASSERT_EQ(Run("src.png out.raw").exit, 0);
    const std::vector<float> wanted = Graded("src.png", 0, TestGrade());
    const std::vector<uint8_t> bytes = BytesOf(folder_.Path("out.raw"));
    ASSERT_EQ(bytes.size(), wanted.size() * 4);
    EXPECT_EQ(std::memcmp(bytes.data(), wanted.data(), bytes.size()), 0);
}

TEST_F(RenderProgram, AnyThreadCountGivesTheSameBytes)
{
    MakePictures(1, 7);
    for (const char* suffix : {"exr", "dpx", "png", "raw"}) {
        std::vector<std::vector<uint8_t>> first;
        for (const int threads : {1, 2, 3, 16}) {
            ASSERT_EQ(Run("--threads " + std::to_string(threads) + " src_%04d.png out_%04d." + suffix).exit, 0);
            for (size_t i = 0; i < 7; ++i) {
                const std::vector<uint8_t> bytes =
                    BytesOf(folder_.Path("out_000" + std::to_string(i + 1) + "." + suffix));
                ASSERT_FALSE(bytes.empty());
                if (threads == 1) first.push_back(bytes);
                EXPECT_EQ(bytes, first[i]) << suffix << " frame " << i << " with " << threads << " threads";
            }
        }
    }
    // A still is cut into bands, and they must not show either.
    MakePictures(50, 50, "131x97");
    for (const char* suffix : {"exr", "dpx", "png"}) {
        ASSERT_EQ(Run(std::string("--threads 1 src_0050.png one.") + suffix).exit, 0);
        ASSERT_EQ(Run(std::string("--threads 5 src_0050.png five.") + suffix).exit, 0);
        EXPECT_EQ(BytesOf(folder_.Path(std::string("one.") + suffix)),
                  BytesOf(folder_.Path(std::string("five.") + suffix)));
    }
}

TEST_F(RenderProgram, PartsMakeTheWhole)
{
    MakePictures(1, 7);
    ASSERT_EQ(Run("src_%04d.png whole_%04d.png").exit, 0);
    for (const char* part : {"1/3", "2/3", "3/3"}) {
        ASSERT_EQ(Run(std::string("--chunk ") + part + " src_%04d.png part_%04d.png").exit, 0);
    }
    EXPECT_EQ(Files("part").size(), 7u);
    for (int i = 1; i <= 7; ++i) {
        const std::string number = "_000" + std::to_string(i) + ".png";
        EXPECT_EQ(BytesOf(folder_.Path("part" + number)), BytesOf(folder_.Path("whole" + number)));
    }
    // More parts than frames: each frame once, some parts without any.
    for (int part = 1; part <= 9; ++part) {
        ASSERT_EQ(Run("--chunk " + std::to_string(part) + "/9 src_%04d.png many_%04d.png").exit, 0);
    }
    EXPECT_EQ(Files("many").size(), 7u);
}

TEST_F(RenderProgram, FramesCountAsTheFilesDo)
{
    MakePictures(98, 103);
    ASSERT_EQ(Run("--frames 99-101 src_%04d.png a_%d.png").exit, 0);
    EXPECT_EQ(Files("a_"), (std::vector<std::string>{"a_100.png", "a_101.png", "a_99.png"}));
    ASSERT_EQ(Run("--frame 103 src_####.png single.png").exit, 0);
    ASSERT_EQ(Run("src_0103.png still.png").exit, 0); // one file is a still, whatever stands beside it
    EXPECT_EQ(BytesOf(folder_.Path("single.png")), BytesOf(folder_.Path("still.png")));
    ASSERT_EQ(Run("--frames 100-103 --chunk 2/2 src_####.png b.#####.png").exit, 0);
    EXPECT_EQ(Files("b"), (std::vector<std::string>{"b.00102.png", "b.00103.png"}));
}

TEST_F(RenderProgram, ExistingFilesAreLeftAloneWhenAsked)
{
    MakePictures(1, 4);
    ASSERT_EQ(Run("src_%04d.png out_%04d.png").exit, 0);
    const std::vector<uint8_t> third = BytesOf(folder_.Path("out_0003.png"));
    std::filesystem::remove(folder_.Path("out_0003.png"));
    WriteBytes(folder_.Path("out_0001.png"), "kept", 4);
    WriteBytes(folder_.Path("out_0002.png"), "", 0); // an empty file is no output
    const CommandResult result = Run("--json --skip-existing src_%04d.png out_%04d.png");
    EXPECT_EQ(result.exit, 0);
    EXPECT_NE(result.said.find("\"rendered\": 2, \"existing\": 2"), std::string::npos) << result.said;
    EXPECT_EQ(TextOf(folder_.Path("out_0001.png")), "kept");
    EXPECT_GT(BytesOf(folder_.Path("out_0002.png")).size(), 4u);
    EXPECT_EQ(BytesOf(folder_.Path("out_0003.png")), third);
    ASSERT_EQ(Run("src_%04d.png out_%04d.png").exit, 0); // and replaced when not asked
    EXPECT_GT(BytesOf(folder_.Path("out_0001.png")).size(), 4u);
}

TEST_F(RenderProgram, ProgressIsLinesOrObjectsOrNothing)
{
    MakePictures(1, 3);
    EXPECT_EQ(Run("src_%04d.png o_%04d.png").said, "PROGRESS 1/3\nPROGRESS 2/3\nPROGRESS 3/3\n");
    EXPECT_EQ(Run("--progress none src_%04d.png o_%04d.png").said, "");
    EXPECT_NE(Run("--progress bar src_%04d.png o_%04d.png").said.find("3 of 3 frames"), std::string::npos);
    WriteBytes(folder_.Path("said.json"), nullptr, 0);
    const CommandResult json = Run("--json --stats src_%04d.png 'o\"\\_%04d.png'");
    WriteBytes(folder_.Path("said.json"), json.said.data(), json.said.size());
    const std::string events = OutputOf("python3 -c \"import json\nfor line in open('" + folder_.Path("said.json") +
                                        "'): print(json.loads(line)['event'])\"");
    EXPECT_EQ(events.substr(0, 6), "begin\n");
    EXPECT_NE(events.find("progress\nend\n"), std::string::npos) << json.said;
}

TEST_F(RenderProgram, ASettingsFileGradesAsItsRecord)
{
    MakePictures(1, 1);
    ASSERT_EQ(SaveSettingsFile(folder_.Path("test.ocpreset").c_str(), TestGrade()), bpNoErr);
    ASSERT_EQ(Run("src_0001.png record.exr").exit, 0);
    ASSERT_EQ(Run("--grade test.ocpreset src_0001.png preset.exr").exit, 0);
    EXPECT_EQ(BytesOf(folder_.Path("record.exr")), BytesOf(folder_.Path("preset.exr")));
    OCSettings neutral = {};
    OCResetSettings(&neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
    ASSERT_EQ(WriteGradeFile(folder_.Path("neutral.ocgrade"), neutral), bpNoErr);
    ASSERT_EQ(Run("--grade neutral.ocgrade src_0001.png neutral.png").exit, 0);
    EXPECT_EQ(Decoded("neutral.png", "rgb48le"), Decoded("src_0001.png", "rgb48le"));
    EXPECT_NE(BytesOf(folder_.Path("neutral.png")).size(), 0u);
}

TEST_F(RenderProgram, AColourDecisionListGradesAsTheControlsThatItSets)
{
    MakePictures(1, 1);
    const std::string list = "<ColorDecisionList><ColorDecision><ColorCorrection><SOPNode><Slope>1.25 1 0.5</Slope>"
                             "<Offset>0.125 0 -0.25</Offset><Power>1 1 1</Power></SOPNode><SatNode>"
                             "<Saturation>0.5</Saturation></SatNode></ColorCorrection></ColorDecision>"
                             "</ColorDecisionList>";
    WriteBytes(folder_.Path("look.cdl"), list.data(), list.size());
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    grade.rgbOn = grade.rgb.master.on = grade.primaryOn = grade.hslOn = grade.hsl.master.on = 1;
    grade.rgb.master.channel[0].gain = 1.25f;
    grade.rgb.master.channel[2].gain = 0.5f;
    grade.rgb.master.channel[0].pedestal = 0.125f;
    grade.rgb.master.channel[2].pedestal = -0.25f;
    grade.hsl.master.saturation = 50.0f;
    ASSERT_EQ(Run("--grade look.cdl src_0001.png out.raw").exit, 0);
    const std::vector<float> wanted = Graded("src_0001.png", 0, grade);
    const std::vector<uint8_t> bytes = BytesOf(folder_.Path("out.raw"));
    ASSERT_EQ(bytes.size(), wanted.size() * 4);
    EXPECT_EQ(std::memcmp(bytes.data(), wanted.data(), bytes.size()), 0);
    EXPECT_EQ(Run("--grade nonsense.cdl src_0001.png x.raw").exit, 3);
}

TEST_F(RenderProgram, TransparencyIsKeptOrDropped)
{
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=66x34 -frames:v 1 -vf format=gbrap16le,geq=r=X*900:g=Y*900:b=9000:"
                          "a='X*Y*29' -pix_fmt rgba64be " +
                          folder_.Path("src.png")));
    const std::vector<uint16_t> source = Words(Decoded("src.png", "rgba64le"));
    ASSERT_EQ(Run("src.png kept.png").exit, 0);
    ASSERT_EQ(Run("--format dpx16 src.png kept.dpx").exit, 0);
    ASSERT_EQ(Run("--format exr-float src.png kept.exr").exit, 0);
    ASSERT_EQ(Run("--format prores4444 src.png kept.mov").exit, 0);
    ASSERT_EQ(Run("--alpha drop src.png dropped.png").exit, 0);
    for (const char* file : {"kept.png", "kept.dpx"}) {
        const std::vector<uint16_t> read = Words(Decoded(file, "rgba64le"));
        ASSERT_EQ(read.size(), source.size());
        for (size_t i = 3; i < read.size(); i += 4) ASSERT_EQ(read[i], source[i]) << file << " " << i / 4;
    }
    const std::vector<float> exr = Floats(Decoded("kept.exr", "gbrapf32le"));
    const size_t pixels = 66 * 34;
    ASSERT_EQ(exr.size(), 4 * pixels);
    for (size_t i = 0; i < pixels; ++i)
        ASSERT_EQ(exr[3 * pixels + i], static_cast<float>(source[4 * i + 3]) / 65535.0f);
    const std::vector<uint16_t> movie = Words(Decoded("kept.mov", "yuva444p16le"));
    ASSERT_EQ(movie.size(), 4 * pixels);
    for (size_t i = 0; i < pixels; ++i) ASSERT_NEAR(movie[3 * pixels + i], source[4 * i + 3], 80) << i;
    EXPECT_EQ(OutputOf("ffprobe -v error -show_entries stream=pix_fmt -of csv=p=0 " + folder_.Path("dropped.png")),
              "rgb48be\n");
}

TEST_F(RenderProgram, AttributesAndTimecodesOfEXRAreCarried)
{
    MakePictures(0, 0);
    const uint8_t owner[] = {'m', 'e'};
    PictureNotes notes;
    notes.attributes = {{"owner", "string", {owner, owner + 2}},
                        {"cam/a-name-of-more-than-31-letters", "int", {1, 2, 3, 4}}};
    notes.timecode = "01:02:03:04";
    notes.rate = {24000, 1001};
    notes.pixelAspect = 2.0;
    FBFrame* frame = nullptr;
    ASSERT_EQ(FBCreateRGBFrameBuffer(64, 32, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
    PictureBytes bytes;
    ASSERT_EQ(EncodeEXR({.frame = frame}, notes, true, true, 1, &bytes), bpNoErr);
    FBDisposeFrameBuffer(frame);
    WriteBytes(folder_.Path("src_e_0010.exr"), bytes.Data(), bytes.Size());
    WriteBytes(folder_.Path("src_e_0011.exr"), bytes.Data(), bytes.Size());
    ASSERT_EQ(Run("src_e_%04d.exr out_%04d.exr").exit, 0);
    const std::vector<uint8_t> written = BytesOf(folder_.Path("out_0011.exr"));
    PictureNotes read;
    NotesFromEXR(written.data(), written.size(), &read);
    EXPECT_EQ(read.timecode, "01:02:03:04"); // its own
    EXPECT_EQ(read.rate.numerator, 24000);
    ASSERT_GE(read.attributes.size(), 2u);
    bool hasOwner = false, hasLong = false;
    for (const EXRAttribute& attribute : read.attributes) {
        hasOwner = hasOwner || (attribute.name == "owner" && attribute.value == notes.attributes[0].value);
        hasLong = hasLong || (attribute.name == notes.attributes[1].name && attribute.type == "int");
    }
    EXPECT_TRUE(hasOwner && hasLong);
    // A movie of it starts there, at that rate.
    ASSERT_EQ(Run("src_e_%04d.exr out.mov").exit, 0);
    const std::string probe = OutputOf("ffprobe -v error -show_streams " + folder_.Path("out.mov"));
    EXPECT_NE(probe.find("TAG:timecode=01:02:03:04"), std::string::npos) << probe;
    EXPECT_NE(probe.find("r_frame_rate=24000/1001"), std::string::npos);
    EXPECT_NE(probe.find("sample_aspect_ratio=2:1"), std::string::npos);
}

TEST_F(RenderProgram, DPXCarriesTimecodeAndWhatItsSourceTold)
{
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=64x32:rate=25 -frames:v 3 -c:v prores_ks -timecode 09:59:59:24 " +
                          folder_.Path("src.mov")));
    ASSERT_EQ(Run("src.mov src_d_%04d.dpx").exit, 0);
    std::vector<uint8_t> dpx = BytesOf(folder_.Path("src_d_0001.dpx"));
    ASSERT_GT(dpx.size(), 2048u);
    std::memcpy(dpx.data() + 200 - 40, "a creator", 10);
    std::memcpy(dpx.data() + 1556, "a scanner", 10);
    WriteBytes(folder_.Path("src_d_0001.dpx"), dpx.data(), dpx.size());
    ASSERT_EQ(Run("src_d_%04d.dpx out_%04d.dpx").exit, 0);
    const std::string probe = OutputOf("ffprobe -v error -show_frames " + folder_.Path("out_0001.dpx"));
    EXPECT_NE(probe.find("timecode=10:00:00:00"), std::string::npos) << probe;
    EXPECT_NE(probe.find("a creator"), std::string::npos);
    EXPECT_NE(probe.find("a scanner"), std::string::npos);
}

TEST_F(RenderProgram, NeedsNoWindowSystem)
{
    const std::string needed = OutputOf(std::string("readelf -d ") + std::getenv("OC_RENDER_PROGRAM"));
    EXPECT_NE(needed.find("libavcodec"), std::string::npos);
    for (const char* library : {"Qt", "libX11", "libxcb", "wayland"}) {
        EXPECT_EQ(needed.find(library), std::string::npos) << library;
    }
    MakePictures(0, 0);
    EXPECT_EQ(Run("src_0000.png out.png", "env -u DISPLAY -u WAYLAND_DISPLAY -u XDG_RUNTIME_DIR -u HOME").exit, 0);
}
