// Color decision lists before a judge: OpenColorIO reads what we save and computes what we compute.
//
// Slope, offset and power stand in one stage of the engine, in the same order as in the definition of the list, so the
// pictures agree. Saturation acts before that stage here and after it there, and weighs luma by another matrix: its
// number travels, its picture agrees for greys.
#include "src/ASCCDL.h"

#include "src/MPTasks.h"
#include "src/platform/BPFiles.h"
#include "tests/CoreTest.h"

#include <OpenColorIO/OpenColorIO.h>

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace ocio = OCIO_NAMESPACE;

namespace {

OCSettings Neutral()
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    return settings;
}

struct Pixel {
    float rgb[3];
};

/// Grid points of a colour cube from 0 to 1.
std::vector<Pixel> Cube(int size)
{
    std::vector<Pixel> pixels;
    const auto level = [size](int i) { return static_cast<float>(i) / static_cast<float>(size - 1); };
    for (int r = 0; r < size; ++r)
        for (int g = 0; g < size; ++g)
            for (int b = 0; b < size; ++b) pixels.push_back({{level(r), level(g), level(b)}});
    return pixels;
}

std::vector<Pixel> ByEngine(const OCSettings& settings, const std::vector<Pixel>& pixels)
{
    const EnginePtr engine = MakeEngine();
    const auto width = static_cast<uint32_t>(pixels.size());
    const FramePtr source = MakeFrame(width, 1), result = MakeFrame(width, 1);
    for (uint32_t i = 0; i < width; ++i)
        for (uint32_t plane = 0; plane < 3; ++plane) At(*source, plane, 0, i) = pixels[i].rgb[plane];
    OCUpdateParameters(engine.get(), &settings);
    ProcessImage(engine.get(), source.get(), result.get(), &settings, 0, 1, nullptr);
    std::vector<Pixel> graded = pixels;
    for (uint32_t i = 0; i < width; ++i)
        for (uint32_t plane = 0; plane < 3; ++plane) graded[i].rgb[plane] = At(*result, plane, 0, i);
    return graded;
}

class ASCCDLJudge : public testing::Test {
  protected:
    std::string path = testing::TempDir() + "/judge-" + std::to_string(getpid()) + ".cdl";
    void TearDown() override { std::remove(path.c_str()); }

    ocio::CDLTransformRcPtr Read()
    {
        ocio::ClearAllCaches(); // it keeps files by their names
        ocio::SetLoggingLevel(ocio::LOGGING_LEVEL_NONE);
        return ocio::CDLTransform::CreateFromFile(path.c_str(), "");
    }

    std::vector<Pixel> ByJudge(const std::vector<Pixel>& pixels)
    {
        const ocio::CDLTransformRcPtr transform = Read();
        transform->setStyle(ocio::CDL_NO_CLAMP);
        const auto processor =
            ocio::Config::CreateRaw()->getProcessor(transform)->getOptimizedCPUProcessor(ocio::OPTIMIZATION_LOSSLESS);
        std::vector<Pixel> graded = pixels;
        for (Pixel& pixel : graded) processor->applyRGB(pixel.rgb);
        return graded;
    }
};

OCSettings RandomPrimary(Random& random)
{
    OCSettings settings = Neutral();
    settings.rgbOn = settings.rgb.master.on = 1;
    for (OCTriple& channel : settings.rgb.master.channel)
        channel = {.gain = Between(random, 0.6f, 1.4f),
                   .gamma = Between(random, 0.6f, 1.8f),
                   .pedestal = Between(random, 0, 0.2f)};
    return settings;
}

TEST_F(ASCCDLJudge, ItReadsTheNumbersThatWeSave)
{
    Random random(1);
    for (int round = 0; round < 20; ++round) {
        OCSettings settings = RandomPrimary(random);
        settings.rgb.master.group = {
            .gain = Between(random, 0.5f, 2), .gamma = Between(random, 0.5f, 2), .pedestal = 0.1f};
        settings.hsl.master.gain = Between(random, 0.5f, 2);
        settings.hsl.master.saturation = Between(random, 0, 200);
        ASSERT_EQ(ASCCDL_SaveCDLFile(settings, path.c_str(),
                                     {.date = "d", .clipPath = "/a & b/\xC3\xBC.mov", .description = "judge & co.cdl"}),
                  bpNoErr);
        const ASCCDLValues values = ASCCDL_ValuesOf(settings);
        const ocio::CDLTransformRcPtr transform = Read();
        double sop[9];
        transform->getSOP(sop);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(sop[i], values.slope[i], 0.000051);
            EXPECT_NEAR(sop[3 + i], values.offset[i], 0.000051);
            EXPECT_NEAR(sop[6 + i], values.power[i], 0.000051);
        }
        EXPECT_NEAR(transform->getSat(), values.saturation, 0.00000051);
        EXPECT_STREQ(transform->getFirstSOPDescription(), "judge & co.cdl");
    }
}

TEST_F(ASCCDLJudge, SlopeOffsetAndPowerGiveTheSamePicture)
{
    Random random(2);
    const std::vector<Pixel> pixels = Cube(13);
    double worst = 0;
    for (int round = 0; round < 12; ++round) {
        const OCSettings settings = RandomPrimary(random);
        ASSERT_EQ(ASCCDL_SaveCDLFile(settings, path.c_str(), {.date = "d", .description = "x"}), bpNoErr);
        // The engine gets the numbers from the list too: four decimals are what travels.
        OCSettings loaded = Neutral();
        ASSERT_EQ(ASCCDL_LoadCDLFileFromRef(path.c_str(), &loaded), ASCCDLProblem::none);
        const std::vector<Pixel> ours = ByEngine(loaded, pixels), theirs = ByJudge(pixels);
        for (size_t i = 0; i < pixels.size(); ++i)
            for (int c = 0; c < 3; ++c) {
                // Above 1 the engine goes on in a straight line.
                if (theirs[i].rgb[c] > 1 || ours[i].rgb[c] > 1) continue;
                worst = std::max(worst, std::fabs(double{ours[i].rgb[c]} - double{theirs[i].rgb[c]}));
            }
    }
    RecordProperty("worst", std::to_string(worst));
    printf("largest difference between the pictures: %g\n", worst);
    EXPECT_LT(worst, 0.0005);
    EXPECT_GT(worst, 0.0); // two programs, not one
}

TEST_F(ASCCDLJudge, SaturationLeavesGreysAloneInBoth)
{
    OCSettings settings = Neutral();
    settings.primaryOn = settings.hslOn = settings.hsl.master.on = 1;
    settings.hsl.master.saturation = 40;
    ASSERT_EQ(ASCCDL_SaveCDLFile(settings, path.c_str(), {.date = "d", .description = "x"}), bpNoErr);
    std::vector<Pixel> greys;
    for (int i = 0; i <= 20; ++i) {
        const float level = static_cast<float>(i) / 20;
        greys.push_back({{level, level, level}});
    }
    const std::vector<Pixel> ours = ByEngine(settings, greys), theirs = ByJudge(greys);
    for (size_t i = 0; i < greys.size(); ++i)
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(ours[i].rgb[c], greys[i].rgb[c], 1e-5);
            EXPECT_NEAR(theirs[i].rgb[c], greys[i].rgb[c], 1e-5);
        }
}

} // namespace
