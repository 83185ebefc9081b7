// Tables before judges: OpenColorIO and ffmpeg read what we write, and their picture is compared with the engine's, at
// the points of the grid and between them.
//
// OpenColorIO has no reader for Cinetal, Scratch, LUTher, Panavision and Academy under their own names. Cinetal is Pogle
// with another word in its head and Scratch is a Flame table of 10 bits; they are handed over as such. The others are
// compared by their rows (TincturaTexts_test.cpp).
#include "src/OCPreviewLUT.h"
#include "src/platform/BPFiles.h"
#include "tests/LUTs/LUTTest.h"

#include <OpenColorIO/OpenColorIO.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace ocio = OCIO_NAMESPACE;

namespace {

struct Pixel {
    float rgb[3];
};
using Pixels = std::vector<Pixel>;

/// All points of a grid of n points an axis.
Pixels Grid(uint32_t n)
{
    Pixels pixels;
    const auto level = [n](uint32_t i) { return static_cast<float>(i) / static_cast<float>(n - 1); };
    for (uint32_t r = 0; r < n; ++r)
        for (uint32_t g = 0; g < n; ++g)
            for (uint32_t b = 0; b < n; ++b) pixels.push_back({{level(r), level(g), level(b)}});
    return pixels;
}

Pixels Between(uint32_t count)
{
    Random random(11);
    Pixels pixels(count);
    for (Pixel& pixel : pixels)
        for (float& value : pixel.rgb) value = ::Between(random, 0, 1);
    return pixels;
}

Pixels ByEngine(Bake& bake, const Pixels& in)
{
    Pixels out = in;
    for (size_t i = 0; i < in.size(); ++i) bake.Grade(in[i].rgb, out[i].rgb);
    return out;
}

double Worst(const Pixels& a, const Pixels& b)
{
    double worst = 0;
    for (size_t i = 0; i < a.size(); ++i)
        for (int c = 0; c < 3; ++c) {
            const double difference = std::fabs(double{a[i].rgb[c]} - double{b[i].rgb[c]});
            worst = std::isnan(difference) ? INFINITY : std::max(worst, difference);
        }
    return worst;
}

/// A folder of this test's own.
class LUTJudge : public testing::Test {
  protected:
    std::string folder{};
    void SetUp() override
    {
        char name[] = "/tmp/judge-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string File(const std::string& name, const std::string& text)
    {
        const std::string path = folder + "/" + name;
        EXPECT_EQ(BPWriteFile(path.c_str(), text.data(), text.size()), bpNoErr);
        return path;
    }

    static Pixels ByOpenColorIO(const std::string& path, const Pixels& in,
                                ocio::Interpolation interpolation = ocio::INTERP_LINEAR)
    {
        ocio::ClearAllCaches(); // it keeps files by their names
        ocio::SetLoggingLevel(ocio::LOGGING_LEVEL_NONE);
        const ocio::FileTransformRcPtr transform = ocio::FileTransform::Create();
        transform->setSrc(path.c_str());
        transform->setInterpolation(interpolation);
        const auto processor =
            ocio::Config::CreateRaw()->getProcessor(transform)->getOptimizedCPUProcessor(ocio::OPTIMIZATION_LOSSLESS);
        Pixels out = in;
        for (Pixel& pixel : out) processor->applyRGB(pixel.rgb);
        return out;
    }

    /// Empty when ffmpeg did not answer.
    Pixels ByFfmpeg(const std::string& path, const Pixels& in, const char* interpolation)
    {
        const std::string source = folder + "/in.raw", result = folder + "/out.raw";
        const size_t count = in.size();
        {
            std::ofstream file(source, std::ios::binary);
            for (const int plane : {1, 2, 0}) // green, blue, red
                for (const Pixel& pixel : in)
                    file.write(reinterpret_cast<const char*>(&pixel.rgb[plane]), sizeof(float));
        }
        const std::string command =
            "ffmpeg -hide_banner -loglevel error -nostdin -y -f rawvideo -pix_fmt gbrpf32le -s " +
            std::to_string(count) + "x1 -i " + source + " -vf lut3d=file=" + path + ":interp=" + interpolation +
            " -f rawvideo -pix_fmt gbrpf32le " + result;
        if (std::system(command.c_str()) != 0) return {};
        std::ifstream file(result, std::ios::binary);
        Pixels out(count);
        for (const int plane : {1, 2, 0})
            for (Pixel& pixel : out) file.read(reinterpret_cast<char*>(&pixel.rgb[plane]), sizeof(float));
        return file ? out : Pixels();
    }
};

struct JudgedTarget {
    const char* name;      ///< of the target
    const char* extension; ///< under which the judge reads it
    uint32_t gridPoints;
    double step; ///< of the codes; half of it is rounding
};

constexpr JudgedTarget kJudged[] = {
    {"lustre", "3dl", 17, 1.0 / 4095},   {"flame", "3dl", 17, 1.0 / 4095},  {"smoke", "3dl", 17, 1.0 / 4095},
    {"generic", "3dl", 17, 1.0 / 4095},  {"hdlink", "3dl", 17, 1.0 / 4095}, {"scratch", "3dl", 17, 1.0 / 1023},
    {"cinetal", "m3d", 17, 1.0 / 65535}, {"pogle", "m3d", 17, 1.0 / 65535}, {"truelight", "cub", 16, 2e-6},
    {"cube", "cube", 33, 1e-7},          {"clf", "clf", 33, 1e-7},
};

/// How far a table of this grid may be from the warm grade between its points; its gammas bend most near black.
constexpr double kBetween17 = 0.002, kBetween33 = 0.0005;

} // namespace

TEST_F(LUTJudge, OpenColorIOFindsTheEngineAtTheGridPoints)
{
    Bake bake(WarmGrade(), "table");
    for (const JudgedTarget& row : kJudged) {
        const std::string path = File(std::string(row.name) + "." + row.extension, bake.Write(row.name));
        const Pixels in = Grid(row.gridPoints);
        const double worst = Worst(ByOpenColorIO(path, in), ByEngine(bake, in));
        printf("%-10s at the grid points: largest difference %.8f\n", row.name, worst);
        EXPECT_LE(worst, 0.51 * row.step + 1e-6) << row.name;
    }
}

TEST_F(LUTJudge, OpenColorIOStaysNearTheEngineBetweenTheGridPoints)
{
    Bake bake(WarmGrade(), "table");
    const Pixels in = Between(5000), graded = ByEngine(bake, in);
    for (const JudgedTarget& row : kJudged) {
        const std::string path = File(std::string(row.name) + "." + row.extension, bake.Write(row.name));
        const double linear = Worst(ByOpenColorIO(path, in), graded);
        const double tetrahedral = Worst(ByOpenColorIO(path, in, ocio::INTERP_TETRAHEDRAL), graded);
        printf("%-10s between them: trilinear %.6f, tetrahedral %.6f\n", row.name, linear, tetrahedral);
        const double allowed = row.gridPoints == 33 ? kBetween33 : kBetween17;
        EXPECT_LE(linear, allowed) << row.name;
        EXPECT_LE(tetrahedral, allowed) << row.name;
    }
}

TEST_F(LUTJudge, OpenColorIOReadsCubesOfEverySize)
{
    Bake bake(WarmGrade(), "table");
    for (const char* const name : {"cube", "clf"})
        for (const uint32_t points : {2u, 17u, 65u}) {
            std::string text;
            {
                LogCatch quiet;
                const OCLUTParameters parameters = {.cubeIntervals = points - 1, .inBits = 10, .outBits = 12};
                ASSERT_EQ(OCLUTTargetOfName(name)->write(bake.job, parameters, &text), bpNoErr);
            }
            const std::string path = File(std::to_string(points) + "." + name, text);
            const Pixels in = Grid(points > 17 ? 5 : points);
            EXPECT_LE(Worst(ByOpenColorIO(path, in), ByEngine(bake, in)), 1e-6) << name << " " << points;
        }
}

TEST_F(LUTJudge, OpenColorIOFindsCurvesSecondariesAndLimiterInTheTable)
{
    OCSettings grade = WarmGrade();
    grade.curvesOn = grade.rgbCurvesOn = 1;
    grade.rgbCurve[0] = CurveOf({{0, 0}, {0.3f, 0.2f}, {0.7f, 0.8f}, {1, 1}});
    grade.secondaryOn = grade.secondaryInUse = 1;
    grade.secondary[0].on = 1;
    grade.secondary[0].lumatol = 0.2f;
    grade.secondary[0].chromatol = 0.3f;
    grade.secondary[0].softness = 0.3f;
    grade.secondary[0].sample[0] = {.on = 1, .red = 0.7f, .green = 0.5f, .blue = 0.4f};
    grade.secondary[0].hue = 40;
    grade.limiter_enable = 1;
    Bake bake(grade, "table");
    const Pixels in = Grid(33);
    EXPECT_LE(Worst(ByOpenColorIO(File("x.cube", bake.Write("cube")), in), ByEngine(bake, in)), 1e-6);
    EXPECT_LE(Worst(ByOpenColorIO(File("x.clf", bake.Write("clf")), in), ByEngine(bake, in)), 1e-6);
}

TEST_F(LUTJudge, OpenColorIOReadsASavedPreviewLUT)
{
    Bake bake(WarmGrade());
    std::string text;
    {
        LogCatch quiet;
        ASSERT_EQ(
            OCWritePreviewLUT(bake.job.engine, bake.job.settings, 4096, {kTestWallSeconds, 6, 1}, 1, nullptr, &text),
            bpNoErr);
    }
    Pixels in;
    for (int i = 0; i < 4096; ++i) {
        const float gray = static_cast<float>(i) / 4095;
        in.push_back({{gray, gray, gray}});
    }
    const std::string path = File("preview.lut", text);
    const double worst = Worst(ByOpenColorIO(path, in), ByEngine(bake, in));
    printf("preview LUT: largest difference %.8f\n", worst);
    EXPECT_LE(worst, 0.51 / 4095 + 1e-6);
}

TEST_F(LUTJudge, AWrongTableIsSeen)
{
    OCSettings other = WarmGrade();
    other.rgb.master.channel[1].gain += 0.01f;
    Bake bake(WarmGrade(), "table"), wrong(other, "table");
    const Pixels in = Grid(17);
    EXPECT_GT(Worst(ByOpenColorIO(File("x.3dl", wrong.Write("lustre")), in), ByEngine(bake, in)), 0.005);
}

TEST_F(LUTJudge, FfmpegReadsCubesAndFlameTables)
{
    if (std::system("ffmpeg -hide_banner -loglevel error -version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "ffmpeg is not installed: it judges no table in this run";
    Bake bake(WarmGrade(), "table");
    const Pixels grid = Grid(17), between = Between(5000);
    struct Row {
        const char *name, *file;
        double step;
    };
    // It divides codes of .3dl tables by 4096.
    for (const Row& row : {Row{"cube", "a.cube", 1e-6}, Row{"smoke", "b.3dl", 1.0 / 4096 + 0.51 / 4095}}) {
        const std::string path = File(row.file, bake.Write(row.name));
        for (const char* const interpolation : {"trilinear", "tetrahedral"}) {
            const Pixels atGrid = ByFfmpeg(path, grid, interpolation), off = ByFfmpeg(path, between, interpolation);
            ASSERT_EQ(atGrid.size(), grid.size()) << row.name;
            ASSERT_EQ(off.size(), between.size()) << row.name;
            const double worst = Worst(atGrid, ByEngine(bake, grid)), worstOff = Worst(off, ByEngine(bake, between));
            printf("ffmpeg, %s, %s: at the grid points %.7f, between %.6f\n", row.name, interpolation, worst, worstOff);
            EXPECT_LE(worst, row.step + 1e-6) << row.name;
            EXPECT_LE(worstOff, kBetween17) << row.name;
        }
    }
}
