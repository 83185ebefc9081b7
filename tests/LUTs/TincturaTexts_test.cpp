// The texts of all targets, byte for byte, against texts that were written down by hand: a cube of two points an axis
// and no grade, so that every value is the lowest or the highest; then the rows of the grids in use.
#include "tests/LUTs/LUTTest.h"

namespace {

constexpr OCLUTParameters kSmall = {.cubeIntervals = 1, .inBits = 10, .outBits = 12};

template <class Write> std::string Small(Write write, const char* fileName)
{
    LogCatch quiet;
    Bake bake(NeutralGrade(), fileName);
    std::string text = "left over";
    EXPECT_EQ(write(bake.job, kSmall, &text), bpNoErr);
    return text;
}

std::string SmallAutodesk(OCAutodeskVariant variant)
{
    return Small([variant](const OCLUTJob& job, const OCLUTParameters& parameters,
                           std::string* text) { return OCWriteAutodeskLUT(job, parameters, variant, text); },
                 "x.3dl");
}

constexpr char kTwelveBitRows[] = "   0    0    0\n"
                                  "   0    0 4095\n"
                                  "   0 4095    0\n"
                                  "   0 4095 4095\n"
                                  "4095    0    0\n"
                                  "4095    0 4095\n"
                                  "4095 4095    0\n"
                                  "4095 4095 4095\n";
constexpr char kSixteenBitRows[] = "   0     0     0     0\n"
                                   "   1     0     0 65535\n"
                                   "   2     0 65535     0\n"
                                   "   3     0 65535 65535\n"
                                   "   4 65535     0     0\n"
                                   "   5 65535     0 65535\n"
                                   "   6 65535 65535     0\n"
                                   "   7 65535 65535 65535\n";
constexpr char kVideoRows[] = "  64   64   64\n"
                              "  64   64  940\n"
                              "  64  940   64\n"
                              "  64  940  940\n"
                              " 940   64   64\n"
                              " 940   64  940\n"
                              " 940  940   64\n"
                              " 940  940  940\n";

} // namespace

TEST(LUTTexts, Academy)
{
    EXPECT_EQ(Small(OCWriteAcademyLUT, "day & \"night\".lut"),
              std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<ProcessList xmlns=\"urn:NATAS:ASC:LUT:v0.95\" id=\"day &amp; &quot;night&quot;.lut\" "
                          "name=\"\">\n"
                          "\t<Description>\n"
                          "\t\tLUT Creator:\tBrindlepath Ochrine v3.0.9(286)\n"
                          "\t</Description>\n"
                          "\t<InputDescriptor>\n"
                          "\t\tRec709 primaries and gamma. Black at 0, white at 1023.\n"
                          "\t</InputDescriptor>\n"
                          "\t<OutputDescriptor>\n"
                          "\t\tRec709 primaries and gamma. Black at 0, white at 4095.\n"
                          "\t</OutputDescriptor>\n"
                          "\t<LUT3D id=\"\" name=\"\" interpolation=\"trilinear\" inBitDepth=\"10i\" "
                          "outBitDepth=\"12i\">\n"
                          "\t\t<Description>\n"
                          "\t\t</Description>\n"
                          "\t\t<Array dim=\"2 2 2 3\">\n") +
                  kTwelveBitRows +
                  "\t\t</Array>\n"
                  "\t</LUT3D>\n"
                  "</ProcessList>\n");
}

TEST(LUTTexts, Lustre)
{
    EXPECT_EQ(SmallAutodesk(autodeskLustre), std::string("#LUT created by Brindlepath Ochrine 3 3.0.9(286)\n"
                                                         "# 3 columns rgb\n"
                                                         "# 8 rows\n"
                                                         "# input [0..1023]\n"
                                                         "# output [0..4095]\n"
                                                         "\n"
                                                         "0 1023 \n"
                                                         "\n") +
                                                 kTwelveBitRows);
}

TEST(LUTTexts, FlameSmokeAndHDLinkProHaveNoHead)
{
    const std::string expected = std::string("0 1023 \n\n") + kTwelveBitRows;
    EXPECT_EQ(SmallAutodesk(autodeskFlame), expected);
    EXPECT_EQ(SmallAutodesk(autodeskSmoke), expected);
    EXPECT_EQ(SmallAutodesk(autodeskHDLinkPro), expected);
}

TEST(LUTTexts, GenericAutodesk)
{
    const std::string expected = std::string("#Do not edit\n"
                                             "# LUT created by Brindlepath Ochrine 3 3.0.9(286)\n"
                                             "\n"
                                             "3DMESH\n"
                                             "Mesh 4 12\n"
                                             "0 1023 \n"
                                             "\n") +
                                 kTwelveBitRows;
    EXPECT_EQ(SmallAutodesk(autodeskGeneric), expected);
    EXPECT_EQ(SmallAutodesk(static_cast<OCAutodeskVariant>(0)), expected);
    EXPECT_EQ(SmallAutodesk(static_cast<OCAutodeskVariant>(8)), expected);
}

TEST(LUTTexts, OldAutodeskHasAHeadWithoutShaperLine)
{
    EXPECT_EQ(SmallAutodesk(autodeskPre30), std::string("3DMESH\nMesh 4 12\n") + kTwelveBitRows);
}

TEST(LUTTexts, TheSeventhAutodeskVariantHasRowsOnly)
{
    EXPECT_EQ(SmallAutodesk(autodeskRows), kTwelveBitRows);
}

TEST(LUTTexts, CinetalAndPogle)
{
    for (const bool pogle : {false, true}) {
        const std::string type = pogle ? "Pogle MegaGamma file" : "MegaGamma file";
        const std::string name = pogle ? "p.m3d" : "c.a3d";
        EXPECT_EQ(Small(pogle ? OCWritePogleLUT : OCWriteCinetalLUT, name.c_str()),
                  "#HEADER\n"
                  "#filename:\t" +
                      name +
                      "\n"
                      "#type:\t\t" +
                      type +
                      "\n"
                      "#format:\t1.00\n"
                      "#created:\t02-Jan-2006 15:04:05\n"
                      "#owner:\t\tBrindlepath Ochrine 3 v3.0.9(286)\n"
                      "#title:\t\t" +
                      name +
                      "\n"
                      "#END\n"
                      "\n"
                      "channel 3d\n"
                      "in 8\n"
                      "out 65536\n"
                      "\n"
                      "format lut\n"
                      "\n"
                      "values  red  green  blue\n" +
                      kSixteenBitRows);
    }
}

TEST(LUTTexts, LUTherAndPanavisionGDP)
{
    for (const bool panavision : {false, true}) {
        EXPECT_EQ(Small(panavision ? OCWritePanavisionGDPLUT : OCWriteLUTherLUT, "x.txt"),
                  std::string("# channels: c3\n"
                              "# entries = 8\n"
                              "# \n"
                              "# Creator:  Brindlepath Ochrine 3\n"
                              "# Version:  3.0.9(286)\n"
                              "# Platform: Windows\n"
                              "# Target:   ") +
                      (panavision ? "Panavision GDP" : "Thomson LUTher") +
                      "\n"
                      "# Date:     02-Jan-2006 15:04:05\n"
                      "# \n" +
                      kVideoRows);
    }
}

TEST(LUTTexts, Scratch)
{
    EXPECT_EQ(Small(OCWriteScratchLUT, "x.lut"), "0 1023 \n"
                                                 "   0      0      0\n"
                                                 "   0      0   1023\n"
                                                 "   0   1023      0\n"
                                                 "   0   1023   1023\n"
                                                 "1023      0      0\n"
                                                 "1023      0   1023\n"
                                                 "1023   1023      0\n"
                                                 "1023   1023   1023\n");
}

TEST(LUTTexts, ScratchKeepsTenBitsWhateverTheParametersSay)
{
    LogCatch quiet;
    Bake bake(NeutralGrade());
    std::string text;
    EXPECT_EQ(OCWriteScratchLUT(bake.job, {.cubeIntervals = 2, .inBits = 8, .outBits = 16}, &text), bpNoErr);
    EXPECT_EQ(Lines(text)[0], "0 512 1023 ");
    EXPECT_EQ(Lines(text)[1 + 13], " 512    512    512");
}

TEST(LUTTexts, Truelight)
{
    EXPECT_EQ(Small(OCWriteTruelightLUT, "x.cube"), "# Truelight Cube v2.0\n"
                                                    "# iDims          3\n"
                                                    "# oDims          3\n"
                                                    "# width          2 2 2\n"
                                                    "\n"
                                                    "# Cube\n"
                                                    "0.000000   0.000000   0.000000\n"
                                                    "1.000000   0.000000   0.000000\n"
                                                    "0.000000   1.000000   0.000000\n"
                                                    "1.000000   1.000000   0.000000\n"
                                                    "0.000000   0.000000   1.000000\n"
                                                    "1.000000   0.000000   1.000000\n"
                                                    "0.000000   1.000000   1.000000\n"
                                                    "1.000000   1.000000   1.000000\n"
                                                    "\n"
                                                    "# end\n");
}

TEST(LUTTexts, TruelightNeverHoldsValuesBack)
{
    OCSettings grade = NeutralGrade();
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[0].gain = 2.5f;
    grade.rgb.master.channel[1].pedestal = -0.75f;
    Bake bake(grade);
    const std::string text = bake.Write("truelight");
    const auto lines = Lines(text);
    ASSERT_EQ(lines.size(), 6u + 4096 + 2);
    EXPECT_EQ(lines[6], "0.000000   -0.750000   0.000000");
    const auto rows = Rows(text, 3);
    ASSERT_EQ(rows.size(), 4096u);
    EXPECT_NEAR(rows.back()[0], 2.5, 2e-6);
}

TEST(LUTTexts, TruelightOfNoGradeEndsAtOneWithinRounding)
{
    Bake bake(NeutralGrade());
    const auto rows = Rows(bake.Write("truelight"), 3);
    ASSERT_EQ(rows.size(), 4096u);
    for (const double value : rows.back()) EXPECT_NEAR(value, 1.0, 2e-6);
    EXPECT_GT(rows[1][0], 0.0); // red changes fastest
    EXPECT_EQ(rows[1][2], 0.0);
}

TEST(LUTTexts, EveryAutodeskExportHasAShaperOfSeventeenValues)
{
    Bake bake(NeutralGrade());
    for (const char* name : {"lustre", "flame", "smoke", "generic", "hdlink"}) {
        const std::string text = bake.Write(name);
        const std::string shaper =
            "0 64 128 192 256 320 384 448 512 576 640 704 768 832 896 960 1023 \n\n   0    0    0\n";
        const size_t at = text.find(shaper);
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_TRUE(at == 0 || text[at - 1] == '\n') << name;
        EXPECT_EQ(Rows(text, 3).size(), 4913u) << name;
    }
}

TEST(LUTTexts, NoGradeGivesAcademyTheWholeRange)
{
    Bake bake(NeutralGrade());
    const auto rows = Rows(bake.Write("academy"), 3);
    ASSERT_EQ(rows.size(), 4913u);
    EXPECT_EQ(rows.front(), (std::vector<double>{0, 0, 0}));
    for (const double value : rows.back()) EXPECT_GE(value, 4094);
    EXPECT_EQ(rows[1], (std::vector<double>{0, 0, 256})); // 255.94 + 0.5
}

TEST(LUTTexts, LUTherBlackIs64WhiteIs940AndOnlySuperWhiteReaches1019)
{
    Bake neutral(NeutralGrade());
    const auto rows = Rows(neutral.Write("luther"), 3);
    ASSERT_EQ(rows.size(), 4913u);
    EXPECT_EQ(rows.front(), (std::vector<double>{64, 64, 64}));
    EXPECT_EQ(rows.back(), (std::vector<double>{940, 940, 940}));
    OCSettings grade = NeutralGrade();
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[2].gain = 3;
    Bake bright(grade);
    EXPECT_EQ(Rows(bright.Write("luther"), 3).back(), (std::vector<double>{940, 940, 1019}));
}

TEST(LUTTexts, IndexesOfCinetalGrowBeyondTheirFourPlaces)
{
    Bake bake(NeutralGrade());
    const std::string text = bake.Write("cinetal");
    EXPECT_NE(text.find("\n4912 65535 65535 65535\n"), std::string::npos);
    EXPECT_EQ(Rows(text, 4).size(), 4913u);
    EXPECT_TRUE(text.find("in 4913\nout 65536\n") != std::string::npos);
}

TEST(LUTTexts, Cube)
{
    EXPECT_EQ(Small(OCWriteCubeLUT, "a \"b\".cube"), "# Created by Brindlepath Ochrine 3 3.0.9(286)\n"
                                                     "TITLE \"a 'b'.cube\"\n"
                                                     "\n"
                                                     "LUT_3D_SIZE 2\n"
                                                     "DOMAIN_MIN 0.0 0.0 0.0\n"
                                                     "DOMAIN_MAX 1.0 1.0 1.0\n"
                                                     "\n"
                                                     "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 1\n");
}

TEST(LUTTexts, CLF)
{
    EXPECT_EQ(Small(OCWriteCLF, "a<b.clf"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<ProcessList id=\"a&lt;b.clf\" name=\"a&lt;b.clf\" compCLFversion=\"3\">\n"
              "\t<Description>LUT Creator: Brindlepath Ochrine v3.0.9(286)</Description>\n"
              "\t<LUT3D interpolation=\"trilinear\" inBitDepth=\"32f\" outBitDepth=\"32f\">\n"
              "\t\t<Array dim=\"2 2 2 3\">\n"
              "0 0 0\n0 0 1\n0 1 0\n0 1 1\n1 0 0\n1 0 1\n1 1 0\n1 1 1\n"
              "\t\t</Array>\n"
              "\t</LUT3D>\n"
              "</ProcessList>\n");
}

TEST(LUTTexts, LineEndsAreLineFeedsInEveryTarget)
{
    Bake bake(WarmGrade());
    for (const OCLUTTarget& target : OCLUTTargets()) {
        const std::string text = bake.Write(target);
        EXPECT_EQ(text.find('\r'), std::string::npos) << target.name;
        EXPECT_EQ(text.back(), '\n') << target.name;
    }
}

TEST(LUTTexts, EveryTargetLogsItsOwnLine)
{
    const std::pair<const char*, const char*> rows[] = {
        {"academy", "Academy"},    {"lustre", "Lustre"},   {"flame", "Lustre"},    {"smoke", "Lustre"},
        {"generic", "Lustre"},     {"cinetal", "Cinetal"}, {"hdlink", "Lustre"},   {"luther", "LUTher"},
        {"panavision", "PanaGDP"}, {"pogle", "Pogle"},     {"scratch", "Scratch"}, {"truelight", "Truelight"}};
    Bake bake(NeutralGrade());
    for (const auto& [name, word] : rows) {
        LogCatch log;
        std::string text;
        const OCLUTTarget& target = *OCLUTTargetOfName(name);
        EXPECT_EQ(target.write(bake.job, target.parameters, &text), bpNoErr);
        EXPECT_TRUE(log.Text().starts_with(std::string(word) + " LUT (1 processors): ")) << log.Text();
    }
}
