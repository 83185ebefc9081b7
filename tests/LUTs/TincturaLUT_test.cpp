// The sampler, and the pieces that several targets share.
#include "tests/LUTs/LUTTest.h"

#include "src/LUTs/TincturaLUTFloats.h"
#include "src/platform/BPMemory.h"

#include <cmath>

namespace {

OCLUTGrid GridOf(uint32_t intervals, OCLUTOrder order = lutBlueFastest, OCLUTAxis axis = lutRunningSum)
{
    return {.cubeIntervals = intervals, .order = order, .axis = axis, .logName = "Test", .source = "TincturaTest"};
}

struct Cube : OCLUTCube {
    Cube(Bake& bake, const OCLUTGrid& grid) { EXPECT_EQ(OCSampleLUTCube(bake.job, grid, this), bpNoErr); }
    ~Cube() { OCDisposeLUTCube(this); }
    Cube(const Cube&) = delete;
    Cube& operator=(const Cube&) = delete;
};

} // namespace

TEST(LUTSampler, BlueChangesFastestAndRedSlowest)
{
    LogCatch quiet;
    Bake bake(NeutralGrade());
    const Cube cube(bake, GridOf(2));
    ASSERT_EQ(cube.points, 3u);
    ASSERT_EQ(cube.count, 27u);
    const float axis[] = {0, 0.5f, 1};
    for (uint32_t i = 0; i < 27; ++i) {
        EXPECT_EQ(cube.plane[0][i], axis[i / 9]) << i;
        EXPECT_EQ(cube.plane[1][i], axis[i / 3 % 3]) << i;
        EXPECT_EQ(cube.plane[2][i], axis[i % 3]) << i;
    }
}

TEST(LUTSampler, InTheOtherOrderRedChangesFastest)
{
    LogCatch quiet;
    Bake bake(NeutralGrade());
    const Cube cube(bake, GridOf(1, lutRedFastest));
    for (uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(cube.plane[0][i], static_cast<float>(i & 1)) << i;
        EXPECT_EQ(cube.plane[1][i], static_cast<float>(i >> 1 & 1)) << i;
        EXPECT_EQ(cube.plane[2][i], static_cast<float>(i >> 2)) << i;
    }
}

TEST(LUTSampler, TheAxisIsARunningSumThatMayMissOneByARounding)
{
    LogCatch quiet;
    Bake bake(NeutralGrade());
    for (const uint32_t intervals : {15u, 16u, 10u, 49u}) {
        const Cube cube(bake, GridOf(intervals));
        const auto step = static_cast<float>(1.0 / intervals);
        float value = 0;
        for (uint32_t i = 0; i <= intervals; ++i) {
            EXPECT_EQ(cube.plane[2][i], value) << intervals << " intervals, point " << i;
            value = static_cast<float>(double{value} + double{step});
        }
    }
    const Cube tenths(bake, GridOf(10));
    EXPECT_NE(tenths.plane[2][10], 1.0f); // the sum of ten single tenths
    EXPECT_NEAR(tenths.plane[2][10], 1.0f, 1e-6f);
    const Cube quotients(bake, GridOf(10, lutBlueFastest, lutQuotient));
    EXPECT_EQ(quotients.plane[2][10], 1.0f);
}

TEST(LUTSampler, HoldsWhatTheEngineMakesOfEachPoint)
{
    LogCatch quiet;
    Random random(17);
    for (int round = 0; round < 6; ++round) {
        OCSettings grade = RandomGrade(random, (1u << toolCount) - 1, reachKnob);
        Bake bake(grade);
        const Cube cube(bake, GridOf(4));
        for (uint32_t i = 0; i < cube.count; ++i) {
            const float in[3] = {static_cast<float>(i / 25) / 4, static_cast<float>(i / 5 % 5) / 4,
                                 static_cast<float>(i % 5) / 4};
            float out[3];
            bake.Grade(in, out);
            for (uint32_t plane = 0; plane < 3; ++plane)
                EXPECT_TRUE(SameFloat(cube.plane[plane][i], out[plane])) << round << ", point " << i;
        }
    }
}

TEST(LUTSampler, LogsTheTargetWithTheTaskCount)
{
    Bake bake(NeutralGrade());
    LogCatch log;
    {
        const Cube cube(bake, GridOf(1));
    }
    EXPECT_TRUE(log.Text().starts_with("Test LUT (1 processors): ")) << log.Text();
    EXPECT_NE(log.Text().find("ProcessImage: 1\n"), std::string::npos) << log.Text();
}

TEST(LUTSampler, UpdatesTheEngineToTheGradeOfTheJob)
{
    LogCatch quiet;
    Bake bake(WarmGrade());
    const OCSettings neutral = NeutralGrade();
    OCUpdateParameters(bake.job.engine, &neutral);
    const Cube cube(bake, GridOf(1));
    EXPECT_TRUE(OCParametersOf(bake.job.engine)->rgbMasterOn);
    EXPECT_NE(cube.plane[0][7], 1.0f);
}

TEST(LUTSampler, AMissingFrameIsAnAssertionWithTheWritersName)
{
    Bake bake(NeutralGrade());
    OCUpdateParameters(bake.job.engine, bake.job.settings);
    for (uint64_t request = 1; request <= 4; ++request) {
        LogCatch log;
        std::string text = "left over";
        BPFailAllocation(request);
        const BPStatus err = OCWriteScratchLUT(bake.job, {16, 10, 12}, &text);
        BPFailAllocation(0);
        EXPECT_EQ(err, bpMemFullErr) << request;
        EXPECT_EQ(text, "") << request;
        const char* const expression = request <= 2 ? "framePtr != 0" : "dstFramePtr != 0";
        ASSERT_EQ(log.reports.size(), 1u) << request;
        EXPECT_NE(log.reports[0].find(std::string("Assert (") + expression + ") failed. [TincturaScratch: "),
                  std::string::npos)
            << log.reports[0];
    }
}

TEST(LUTSampler, GridsThatAreNoneAreRefused)
{
    LogCatch quiet;
    Bake bake(NeutralGrade());
    OCLUTCube cube;
    EXPECT_EQ(OCSampleLUTCube(bake.job, GridOf(0), &cube), bpParamErr);
    EXPECT_EQ(OCSampleLUTCube(bake.job, GridOf(kOCLUTIntervalLimit + 1), &cube), bpParamErr);
    EXPECT_EQ(cube.frame, nullptr);
    std::string text;
    EXPECT_EQ(OCWriteAcademyLUT(bake.job, {16, 17, 12}, &text), bpParamErr);
    EXPECT_EQ(OCWriteAutodeskLUT(bake.job, {16, 10, 17}, autodeskLustre, &text), bpParamErr);
}

TEST(LUTCode, RoundsHalvesUpAndStaysInsideTheRange)
{
    EXPECT_EQ(OCLUTCode(0.5f, 4095, 0, 4095), 2048u);  // 2047.5 + 0.5
    EXPECT_EQ(OCLUTCode(0.25f, 4095, 0, 4095), 1024u); // 1023.75
    EXPECT_EQ(OCLUTCode(0.0f, 4095, 0, 4095), 0u);
    EXPECT_EQ(OCLUTCode(-0.2f, 4095, 0, 4095), 0u);
    EXPECT_EQ(OCLUTCode(1.0f, 4095, 0, 4095), 4095u);
    EXPECT_EQ(OCLUTCode(7.0f, 4095, 0, 4095), 4095u);
    EXPECT_EQ(OCLUTCode(0.0f, 876, 64, 1019), 64u);
    EXPECT_EQ(OCLUTCode(1.0f, 876, 64, 1019), 940u);
    EXPECT_EQ(OCLUTCode(1.09f, 876, 64, 1019), 1019u); // 1018.84 + 0.5
    EXPECT_EQ(OCLUTCode(1.2f, 876, 64, 1019), 1019u);
    EXPECT_EQ(OCLUTCode(-0.05f, 876, 64, 1019), 20u);  // 20.2
    EXPECT_EQ(OCLUTCode(-0.0736f, 876, 64, 1019), 0u); // -0.47 + 0.5
    EXPECT_EQ(OCLUTCode(NAN, 4095, 0, 4095), 0u);
    EXPECT_EQ(OCLUTCode(INFINITY, 4095, 0, 4095), 4095u);
    EXPECT_EQ(OCLUTCode(-INFINITY, 4095, 0, 4095), 0u);
}

TEST(LUTCode, IsComputedInDouble)
{
    // 65535 times this value plus a half lies just below a whole number; single precision would round it up.
    const float value = 0x1.388038p-1f;
    EXPECT_EQ(OCLUTCode(value, 65535, 0, 65535), 39999u);
    EXPECT_EQ(std::floor(value * 65535.0f + 0.5f), 40000.0f);
}

TEST(LUTShaper, OfSeventeenPointsEndsWith1023AndABlank)
{
    std::string text;
    OCAppendShaper(&text, 10, 16);
    EXPECT_EQ(text, "0 64 128 192 256 320 384 448 512 576 640 704 768 832 896 960 1023 ");
}

TEST(LUTShaper, StopsWhereAWholeStepPassesTheRange)
{
    std::string text;
    OCAppendShaper(&text, 10, 15); // steps of 68: 15 of them make 1020
    EXPECT_EQ(text, "0 68 136 204 272 340 408 476 544 612 680 748 816 884 952 1020 ");
    text.clear();
    OCAppendShaper(&text, 2, 8); // more points than codes
    EXPECT_EQ(text, "");
}

TEST(LUTText, NumbersWiderThanTheirPlaceAreWrittenWhole)
{
    std::string text;
    OCAppendPadded(&text, 7, 4);
    OCAppendPadded(&text, 123456, 4);
    OCAppendPadded(&text, 4294967295u, 0);
    EXPECT_EQ(text, "   71234564294967295");
}

TEST(LUTText, FileNamesStayInTheirLine)
{
    EXPECT_EQ(OCLUTFileNameText("Gr\xC3\xBCn & \"x\".a3d"), "Gr\xC3\xBCn & \"x\".a3d");
    EXPECT_EQ(OCLUTFileNameText("a\nb\tc\x7F.a3d"), "a_b_c_.a3d");
    EXPECT_EQ(OCLUTFileNameText("\xFFx"), "\xEF\xBF\xBDx");
    EXPECT_EQ(OCLUTAttribute("&<>\"~"), "&amp;&lt;&gt;&quot;~");
    EXPECT_EQ(OCLUTAttribute("&&&&"), "&amp;&amp;&amp;&amp;");
}

TEST(LUTFloats, ValuesThatAreNoNumbersOrTooLargeAreReplaced)
{
    EXPECT_EQ(OCLUTFloat(NAN), 0.0f);
    EXPECT_EQ(OCLUTFloat(INFINITY), 65504.0f);
    EXPECT_EQ(OCLUTFloat(-1e30f), -65504.0f);
    EXPECT_EQ(OCLUTFloat(-0.25f), -0.25f);
}
