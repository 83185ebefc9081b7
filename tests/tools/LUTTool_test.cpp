// The parts of ochrine-lut: interpolation, reading back, differences, tools of a grade.
#include "tests/CoreTest.h"
#include "tools/ochrine-lut/LUTTool.h"

#include <cmath>

namespace {

/// A table whose points hold a function of their place.
template <class Function> LUTTable TableOf(uint32_t points, OCLUTOrder order, Function function)
{
    LUTTable table = {.points = points, .order = order};
    for (uint32_t i = 0; i < points; ++i)
        for (uint32_t j = 0; j < points; ++j)
            for (uint32_t k = 0; k < points; ++k) {
                const auto at = [points](uint32_t n) { return static_cast<float>(n) / static_cast<float>(points - 1); };
                float rgb[3];
                if (order == lutBlueFastest) {
                    function(at(i), at(j), at(k), rgb);
                } else {
                    function(at(k), at(j), at(i), rgb);
                }
                table.rgb.insert(table.rgb.end(), rgb, rgb + 3);
            }
    return table;
}

void Linear(float r, float g, float b, float out[3])
{
    out[0] = 0.1f + 0.5f * r + 0.2f * g;
    out[1] = g - 0.25f * b;
    out[2] = b;
}

void Product(float r, float g, float b, float out[3])
{
    out[0] = r * g * b;
    out[1] = r * g;
    out[2] = b;
}

} // namespace

TEST(LUTLookup, FindsEveryPointAndEveryLinearFunctionExactly)
{
    Random random(3);
    for (const OCLUTOrder order : {lutBlueFastest, lutRedFastest})
        for (const LUTInterpolation interpolation : {lutTrilinear, lutTetrahedral}) {
            const LUTTable table = TableOf(5, order, Linear);
            for (int i = 0; i < 500; ++i) {
                const float in[3] = {Between(random, 0, 1), Between(random, 0, 1),
                                     i % 7 == 0 ? 1.0f : Between(random, 0, 1)};
                float wanted[3], seen[3];
                Linear(in[0], in[1], in[2], wanted);
                LUTLookup(table, interpolation, in, seen);
                for (int c = 0; c < 3; ++c) EXPECT_NEAR(seen[c], wanted[c], 1e-6f) << order << interpolation;
            }
        }
}

TEST(LUTLookup, TrilinearWeighsEightCornersAndTetrahedralWalksAlongAnEdge)
{
    const LUTTable table = TableOf(2, lutBlueFastest, Product);
    const float in[3] = {0.5f, 0.25f, 0.75f};
    float seen[3];
    LUTLookup(table, lutTrilinear, in, seen);
    EXPECT_FLOAT_EQ(seen[0], 0.5f * 0.25f * 0.75f);
    EXPECT_FLOAT_EQ(seen[1], 0.125f);
    LUTLookup(table, lutTetrahedral, in, seen);
    EXPECT_FLOAT_EQ(seen[0], 0.25f); // the least of the three
    EXPECT_FLOAT_EQ(seen[1], 0.25f); // the lesser of two
    EXPECT_FLOAT_EQ(seen[2], 0.75f);
}

TEST(LUTLookup, HoldsInputsAtTheEndsOfTheTable)
{
    const LUTTable table = TableOf(3, lutRedFastest, Linear);
    const float inside[3] = {1, 0, 0}, outside[3] = {7.5f, -3, NAN};
    float wanted[3], seen[3];
    LUTLookup(table, lutTrilinear, inside, wanted);
    LUTLookup(table, lutTrilinear, outside, seen);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(seen[c], wanted[c]);
}

TEST(LUTReadTable, FindsTheRowsOfEveryTargetAndNothingElse)
{
    LogCatch quiet;
    const EnginePtr engine = MakeEngine();
    const OCSettings grade = NeutralGrade();
    const OCLUTJob job = {engine.get(), &grade, 1, nullptr, "1 2 3", 0};
    for (const OCLUTTarget& target : OCLUTTargets()) {
        std::string text;
        ASSERT_EQ(target.write(job, target.parameters, &text), bpNoErr);
        LUTTable table;
        const uint32_t points = target.parameters.cubeIntervals + 1;
        ASSERT_TRUE(LUTReadTable(text, target, points, &table)) << target.name;
        const float in[3] = {0.3f, 0.6f, 0.9f};
        float out[3];
        LUTLookup(table, lutTrilinear, in, out);
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(out[c], in[c], 1e-3f) << target.name;
        text.resize(text.rfind('\n', text.size() / 2));
        EXPECT_FALSE(LUTReadTable(text, target, points, &table)) << target.name;
    }
}

TEST(LUTMeasure, TellsTheLargestTheMeanAndThe99thOfAHundred)
{
    const LUTTable table = TableOf(2, lutBlueFastest, [](float r, float g, float b, float out[3]) {
        out[0] = r;
        out[1] = g;
        out[2] = b;
    });
    LUTPicture in, graded;
    for (int i = 0; i < 200; ++i)
        for (int plane = 0; plane < 3; ++plane) {
            in.plane[plane].push_back(0.5f);
            graded.plane[plane].push_back(i == 0 ? 1.5f : i < 6 ? 0.75f : 0.5f);
        }
    const OCLUTEncoding floats = {0, 0, 0}, tenBits = {1023, 0, 1023};
    const LUTError error = LUTMeasure(table, lutTrilinear, floats, in, graded);
    EXPECT_DOUBLE_EQ(error.max, 1.0);
    EXPECT_DOUBLE_EQ(error.p99, 0.25); // of 600 values 18 differ, and 6 lie above the place
    EXPECT_DOUBLE_EQ(error.mean, (3 * 1.0 + 15 * 0.25) / 600);
    EXPECT_EQ(error.outside, 0.0);
    EXPECT_DOUBLE_EQ(LUTMeasure(table, lutTrilinear, tenBits, in, graded).outside, 1 / 200.0);
}

TEST(LUTMeasure, ANumberAndNoneDifferWithoutEndAndTwoOfNoneDoNot)
{
    const float values[] = {0.5f, INFINITY, NAN};
    for (const float inTable : values)
        for (const float inPipeline : values) {
            const LUTTable table = {
                .points = 2, .order = lutBlueFastest, .rgb = std::vector<float>(2 * 2 * 2 * 3, inTable)};
            LUTPicture in, graded;
            for (int plane = 0; plane < 3; ++plane) {
                in.plane[plane] = {0.5f};
                graded.plane[plane] = {inPipeline};
            }
            const LUTError error = LUTMeasure(table, lutTrilinear, {0, 0, 0}, in, graded);
            const bool alike = inTable == inPipeline || (std::isnan(inTable) && std::isnan(inPipeline));
            EXPECT_EQ(error.max, alike ? 0 : INFINITY) << inTable << " " << inPipeline;
            EXPECT_EQ(error.mean, error.max);
            EXPECT_EQ(LUTIsFinite(table, graded), std::isfinite(inTable) && std::isfinite(inPipeline));
        }
}

TEST(LUTTestPicture, IsAlwaysTheSameAndBetweenBlackAndWhite)
{
    const LUTPicture picture = LUTTestPicture(), again = LUTTestPicture();
    ASSERT_GT(picture.plane[0].size(), 50000u);
    float low[3] = {1, 1, 1}, high[3] = {};
    for (int plane = 0; plane < 3; ++plane) {
        ASSERT_EQ(picture.plane[plane], again.plane[plane]);
        for (const float value : picture.plane[plane]) {
            low[plane] = std::min(low[plane], value);
            high[plane] = std::max(high[plane], value);
        }
        EXPECT_EQ(low[plane], 0.0f);
        EXPECT_EQ(high[plane], 1.0f);
    }
}

TEST(LUTTestPicture, HasColoursInEveryPartOfTheCube)
{
    const LUTPicture picture = LUTTestPicture();
    std::vector<int> cells(16 * 16 * 16);
    for (size_t i = 0; i < picture.plane[0].size(); ++i) {
        size_t cell = 0;
        for (int plane = 0; plane < 3; ++plane)
            cell = cell * 16 + static_cast<size_t>(std::min(picture.plane[plane][i] * 16, 15.0f));
        ++cells[cell];
    }
    for (size_t cell = 0; cell < cells.size(); ++cell) EXPECT_GT(cells[cell], 0) << cell;
}

TEST(LUTGradeTools, ToolsThatAreSwitchedOffAreNotNamed)
{
    OCSettings grade = NeutralGrade();
    EXPECT_TRUE(LUTToolsOf(grade).empty());
    grade.rgb.master.on = 1; // its pane is off
    grade.secondary[2].on = 1;
    EXPECT_TRUE(LUTToolsOf(grade).empty());
    grade.rgbOn = grade.secondaryOn = 1;
    const auto tools = LUTToolsOf(grade);
    ASSERT_EQ(tools.size(), 2u);
    EXPECT_EQ(tools[0].name, "RGB master");
    EXPECT_EQ(tools[1].name, "Secondary C");
}

TEST(LUTGradeTools, EachStandsAloneInItsOwnGrade)
{
    Random random(9);
    OCSettings grade = RandomGrade(random, (1u << toolCount) - 1, reachKnob);
    grade.secondaryOn = grade.secondaryInUse = grade.limiter_enable = 1;
    for (OCSecondary& secondary : grade.secondary) secondary.on = 1;
    const auto tools = LUTToolsOf(grade);
    EXPECT_GE(tools.size(), 18u);
    for (const LUTGradeTool& tool : tools) {
        for (const LUTGradeTool& left : LUTToolsOf(tool.alone)) {
            // The pane of Levels stays on, without effect, under the recovery that lives on it.
            EXPECT_TRUE(left.name == tool.name || left.name == "Levels") << tool.name << " with " << left.name;
        }
    }
}

TEST(LUTGradeTools, RecoveryWithoutLevelsMasterActsAboveWhiteAlone)
{
    OCSettings grade = NeutralGrade();
    grade.levelsOn = 1;
    grade.inputControls_highlight_recovery = 0.5f;
    EXPECT_EQ(LUTToolsOf(grade)[0].remark, "cannot be carried: it only changes what is brighter than white");
    const EnginePtr engine = MakeEngine();
    LUTPicture picture = LUTTestPicture();
    LogCatch quiet;
    const LUTPicture graded = LUTThroughPipeline(engine.get(), grade, picture);
    for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(graded.plane[plane], picture.plane[plane]);
    grade.levels[0].on = 1;
    EXPECT_EQ(LUTToolsOf(grade)[0].remark, "above white it cannot be carried");
    EXPECT_NE(LUTThroughPipeline(engine.get(), grade, picture).plane[0], picture.plane[0]);
}
