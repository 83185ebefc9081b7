// Color decision lists: the bytes of a saved list, what loading takes out of friendly and hostile ones, and the log.
#include "src/ASCCDL.h"

#include "src/platform/BPFiles.h"
#include "tests/CoreTest.h"
#include "tests/SettingsModel.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

OCSettings Neutral()
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    return settings;
}

std::string List(const std::string& correction)
{
    return "<ColorDecisionList><ColorDecision><ColorCorrection>" + correction +
           "</ColorCorrection></ColorDecision></ColorDecisionList>";
}

std::string SOP(const std::string& inner)
{
    return List("<SOPNode>" + inner + "</SOPNode>");
}

ASCCDLProblem Load(const std::string& text, OCSettings* settings)
{
    return ASCCDL_LoadCDL(text.data(), text.size(), "test.cdl", settings);
}

TEST(ASCCDL, AListIsWrittenByteForByte)
{
    OCSettings settings = Neutral();
    settings.rgb.master.channel[0] = {.gain = 1.25f, .gamma = 2, .pedestal = 0.125f};
    settings.rgb.master.group = {.gain = 2, .gamma = 1, .pedestal = 0.25f};
    settings.hsl.master.gain = 0.5f;
    settings.hsl.master.gamma = 4;
    settings.hsl.master.pedestal = -0.0625f;
    settings.hsl.master.saturation = 87.5f;
    const ASCCDLLabels labels = {.date = "02-Jan-2006 15:04:05",
                                 .clipPath = "/media/R&D/a \"b\" ~ <clip>.mov",
                                 .description = "My ~ look & 100%s.cdl",
                                 .number = 41};
    EXPECT_EQ(ASCCDL_CDLText(settings, labels),
              "<!-- Creator: Brindlepath Ochrine v3.0.9(286)   -->\n"
              "<!-- Date:    02-Jan-2006 15:04:05         -->\n"
              "<ColorDecisionList xmlns=\"urn:ASC:CDL:v1.01\">\n"
              "\t<ColorDecision>\n"
              "\t\t<MediaRef ref=\"/media/R&amp;D/a &quot;b&quot; ~ &lt;clip&gt;.mov\"/>\n"
              "\t\t<ColorCorrection ref=\"urn:BrindlepathOC:cdl:cc00000041\">\n"
              "\t\t\t<SOPNode>\n"
              "\t\t\t\t<Description>My &tilde; look &amp; 100%s.cdl</Description>\n"
              "\t\t\t\t<Slope>1.2500 1.0000 1.0000</Slope>\n"
              "\t\t\t\t<Offset>0.3125 0.1875 0.1875</Offset>\n"
              "\t\t\t\t<Power>0.1250 0.2500 0.2500</Power>\n"
              "\t\t\t</SOPNode>\n"
              "\t\t\t<SatNode>\n"
              "\t\t\t\t<Saturation>0.875000</Saturation>\n"
              "\t\t\t</SatNode>\n"
              "\t\t</ColorCorrection>\n"
              "\t</ColorDecision>\n"
              "</ColorDecisionList>\n");
}

TEST(ASCCDL, WithoutASourceClipThereIsNoMediaRef)
{
    for (const char* path : {static_cast<const char*>(nullptr), ""}) {
        const std::string text = ASCCDL_CDLText(Neutral(), {.date = "d", .clipPath = path, .description = nullptr});
        EXPECT_EQ(text.find("MediaRef"), std::string::npos);
        EXPECT_NE(text.find("<Description></Description>\n"), std::string::npos);
        EXPECT_NE(text.find("\t\t<ColorCorrection ref=\"urn:BrindlepathOC:cdl:cc00000000\">\n"), std::string::npos);
    }
}

TEST(ASCCDL, TheNumbersAreFoldedInDoubles)
{
    OCSettings settings = Neutral();
    // In floats 16777216 + 1 would lose the 1.
    settings.rgb.master.channel[1].pedestal = 16777216;
    settings.rgb.master.group.pedestal = 1;
    settings.rgb.master.channel[2].gain = 1e30f;
    settings.rgb.master.group.gain = 1e30f;
    settings.rgb.master.channel[0].gamma = 0;
    const ASCCDLValues values = ASCCDL_ValuesOf(settings);
    EXPECT_EQ(values.offset[1], 16777217.0);
    EXPECT_GT(values.slope[2], 1e59);
    EXPECT_EQ(values.power[0], INFINITY);
    const std::string text = ASCCDL_CDLText(settings, {.date = "d", .description = "x"});
    EXPECT_NE(text.find("<Power>inf 1.0000 1.0000</Power>"), std::string::npos);
    EXPECT_NE(text.find("<Offset>1.0000 16777217.0000 1.0000</Offset>"), std::string::npos);
}

TEST(ASCCDL, LoadingChangesTheChannelsTheSaturationAndTheirSwitchesAndNothingElse)
{
    std::mt19937 random(1);
    const std::vector<uint32_t> before = RandomWords(random);
    OCSettings settings = SettingsOf(before);
    ASSERT_EQ(Load(List("<SOPNode><Slope>1 2 3</Slope><Offset>-0.5 0 0.5</Offset><Power>1 2 4</Power></SOPNode>"
                        "<SatNode><Saturation>0.75</Saturation></SatNode>"),
                   &settings),
              ASCCDLProblem::none);
    OCSettings wanted = SettingsOf(before);
    wanted.rgbOn = wanted.rgb.master.on = wanted.hsl.master.on = wanted.primaryOn = wanted.hslOn = 1;
    wanted.rgb.master.channel[0] = {.gain = 1, .gamma = 1, .pedestal = -0.5f};
    wanted.rgb.master.channel[1] = {.gain = 2, .gamma = 0.5f, .pedestal = 0};
    wanted.rgb.master.channel[2] = {.gain = 3, .gamma = 0.25f, .pedestal = 0.5f};
    wanted.hsl.master.saturation = 75;
    EXPECT_EQ(WordDifference(WordsOf(settings), WordsOf(wanted)), "");
}

TEST(ASCCDL, AnSOPNodeWithOnlyASlopeChangesOnlyTheGainsYetSetsBothSwitches)
{
    std::mt19937 random(2);
    const std::vector<uint32_t> before = RandomWords(random);
    OCSettings settings = SettingsOf(before), wanted = SettingsOf(before);
    ASSERT_EQ(Load(SOP("<Slope>1 2 3</Slope>"), &settings), ASCCDLProblem::none);
    for (int i = 0; i < 3; ++i) wanted.rgb.master.channel[i].gain = static_cast<float>(i + 1);
    wanted.rgbOn = wanted.rgb.master.on = 1;
    EXPECT_EQ(WordDifference(WordsOf(settings), WordsOf(wanted)), "");
}

TEST(ASCCDL, AnEmptySOPNodeSetsBothSwitchesAlone)
{
    OCSettings settings = Neutral(), wanted = Neutral();
    ASSERT_EQ(Load(SOP("<Slope/><Offset></Offset><Power><![CDATA[1 2 3]]></Power>"), &settings), ASCCDLProblem::none);
    wanted.rgbOn = wanted.rgb.master.on = 1;
    EXPECT_EQ(WordDifference(WordsOf(settings), WordsOf(wanted)), "");
}

TEST(ASCCDL, AListWithoutASatNodeChangesNoHSLField)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load(SOP("<Slope>1 1 1</Slope>"), &settings), ASCCDLProblem::none);
    EXPECT_EQ(settings.hsl.master.saturation, 100.0f);
    EXPECT_EQ(settings.primaryOn | settings.hslOn | settings.hsl.master.on, 0u);
}

TEST(ASCCDL, ASatNodeWithoutASaturationIsGrey)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load(List("<SOPNode/><SatNode/>"), &settings), ASCCDLProblem::none);
    EXPECT_EQ(settings.hsl.master.saturation, 0.0f);
    EXPECT_EQ(settings.primaryOn & settings.hslOn & settings.hsl.master.on, 1u);
}

TEST(ASCCDL, ATextWithTooFewNumbersTakesTheRestFromTheElementBeforeIt)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load(SOP("<Power>2</Power><Offset>7 8 x</Offset><Slope>3 4</Slope>"), &settings), ASCCDLProblem::none);
    const OCTriple* channel = settings.rgb.master.channel;
    // Slope, offset, power, whatever the order in the file.
    EXPECT_EQ(channel[0].gain, 3.0f);
    EXPECT_EQ(channel[1].gain, 4.0f);
    EXPECT_EQ(channel[2].gain, 0.0f); // the buffer starts at 0
    EXPECT_EQ(channel[0].pedestal, 7.0f);
    EXPECT_EQ(channel[1].pedestal, 8.0f);
    EXPECT_EQ(channel[2].pedestal, 0.0f);
    EXPECT_EQ(channel[0].gamma, 0.5f);
    EXPECT_EQ(channel[1].gamma, 0.125f);
    EXPECT_EQ(channel[2].gamma, INFINITY);
}

TEST(ASCCDL, APowerOfZeroGivesAnInfiniteGamma)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load(SOP("<Power>0 -0 nan</Power>"), &settings), ASCCDLProblem::none);
    EXPECT_EQ(settings.rgb.master.channel[0].gamma, INFINITY);
    EXPECT_EQ(settings.rgb.master.channel[1].gamma, -INFINITY);
    EXPECT_TRUE(std::isnan(settings.rgb.master.channel[2].gamma));
}

TEST(ASCCDL, NamesMatchInAnyLetterCaseAndPrefix)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(
        Load("<a:colordecisionlist xmlns:a='urn:ASC:CDL:v1.2'><a:COLORCORRECTION><a:sopnode><a:slope>2 2 2</a:slope>"
             "</a:sopnode><a:satNODE><a:saturation>2</a:saturation></a:satNODE></a:COLORCORRECTION>"
             "</a:colordecisionlist>",
             &settings),
        ASCCDLProblem::none);
    EXPECT_EQ(settings.rgb.master.channel[2].gain, 2.0f);
    EXPECT_EQ(settings.hsl.master.saturation, 200.0f);
}

TEST(ASCCDL, ElementsAreFoundAtAnyDepth)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load("<x><ColorDecisionList><y><ColorCorrection><z><SOPNode><w><Slope>5 5 5</Slope></w></SOPNode></z>"
                   "</ColorCorrection></y></ColorDecisionList></x>",
                   &settings),
              ASCCDLProblem::none);
    EXPECT_EQ(settings.rgb.master.channel[0].gain, 5.0f);
}

TEST(ASCCDL, OnlyTheFirstCorrectionOfAListIsRead)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(
        Load("<ColorDecisionList><ColorCorrection><SOPNode><Slope>1 1 1</Slope></SOPNode></ColorCorrection>"
             "<ColorCorrection><SOPNode><Slope>9 9 9</Slope></SOPNode><SatNode><Saturation>9</Saturation></SatNode>"
             "</ColorCorrection></ColorDecisionList>",
             &settings),
        ASCCDLProblem::none);
    EXPECT_EQ(settings.rgb.master.channel[0].gain, 1.0f);
    EXPECT_EQ(settings.hslOn, 0u);
    // The first counts even when only the second has what is sought.
    EXPECT_EQ(Load("<ColorDecisionList><ColorCorrection/><ColorCorrection><SOPNode/></ColorCorrection>"
                   "</ColorDecisionList>",
                   &settings),
              ASCCDLProblem::noSOPNode);
}

TEST(ASCCDL, AMissingElementIsNamedAndNothingChanges)
{
    struct {
        const char* text;
        ASCCDLProblem problem;
        const char* told;
    } const cases[] = {
        {"<ColorCorrectionCollection><ColorCorrection><SOPNode/></ColorCorrection></ColorCorrectionCollection>",
         ASCCDLProblem::noColorDecisionList, "Invalid CDL - Missing ColorDecisionList element"},
        {"<ColorCorrection><SOPNode/></ColorCorrection>", ASCCDLProblem::noColorDecisionList,
         "Invalid CDL - Missing ColorDecisionList element"},
        {"<ColorDecisionList><SOPNode/></ColorDecisionList>", ASCCDLProblem::noColorCorrection,
         "Invalid CDL - Missing ColorCorrection element"},
        {"<ColorDecisionList><ColorCorrection><SatNode><Saturation>2</Saturation></SatNode></ColorCorrection>"
         "</ColorDecisionList>",
         ASCCDLProblem::noSOPNode, "Invalid CDL - Missing SOPNode element"},
    };
    std::mt19937 random(3);
    const std::vector<uint32_t> before = RandomWords(random);
    for (const auto& row : cases) {
        OCSettings settings = SettingsOf(before);
        EXPECT_EQ(Load(row.text, &settings), row.problem) << row.text;
        EXPECT_STREQ(ASCCDL_ProblemText(row.problem), row.told);
        EXPECT_EQ(WordDifference(WordsOf(settings), before), "");
    }
    EXPECT_EQ(ASCCDL_ProblemText(ASCCDLProblem::none), nullptr);
    EXPECT_EQ(ASCCDL_ProblemText(ASCCDLProblem::noDocument), nullptr);
}

TEST(ASCCDL, WhatIsNoXMLIsLoggedAndChangesNothing)
{
    LogCatch log;
    OCSettings settings = Neutral();
    EXPECT_EQ(Load("<ColorDecisionList>", &settings), ASCCDLProblem::noDocument);
    EXPECT_NE(log.Text().find("ASCCDL_LoadCDLFileFromRef: BPXML2_ReadXMLDocIntoMemoryFSRef returned NULL\n"),
              std::string::npos);
    EXPECT_EQ(WordDifference(WordsOf(settings), WordsOf(Neutral())), "");
}

TEST(ASCCDL, ADescriptionIsLoggedWhateverItHolds)
{
    LogCatch log;
    OCSettings settings = Neutral();
    ASSERT_EQ(Load(SOP("<Description>a %s %n %d</Description>"), &settings), ASCCDLProblem::none);
    EXPECT_EQ(log.Text(), "Description = \"a %s %n %d\"\n");
    ASSERT_EQ(Load(SOP("<Description>" + std::string(100000, '%') + "</Description>"), &settings), ASCCDLProblem::none);
    EXPECT_LT(log.Text().size(), 5000u);
    EXPECT_EQ(log.Text().back(), '\n');
}

TEST(ASCCDL, AnEntityOfTheDocumentIsText)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load("<!DOCTYPE x [<!ENTITY n '4 5 6'>]>" + SOP("<Slope>&n;</Slope>"), &settings), ASCCDLProblem::none);
    EXPECT_EQ(settings.rgb.master.channel[2].gain, 6.0f);
}

TEST(ASCCDL, ALoadAndASaveGiveTheSameNumbersWhenTheRestIsNeutral)
{
    OCSettings settings = Neutral();
    ASSERT_EQ(Load(SOP("<Slope>1.1000 0.9500 1.0250</Slope><Offset>-0.0200 0.0000 0.0310</Offset>"
                       "<Power>1.2000 0.8000 1.0000</Power>"),
                   &settings),
              ASCCDLProblem::none);
    const std::string text = ASCCDL_CDLText(settings, {.date = "d", .description = "x"});
    for (const char* line : {"<Slope>1.1000 0.9500 1.0250</Slope>", "<Offset>-0.0200 0.0000 0.0310</Offset>",
                             "<Power>1.2000 0.8000 1.0000</Power>", "<Saturation>1.000000</Saturation>"})
        EXPECT_NE(text.find(line), std::string::npos) << text;
}

TEST(ASCCDL, WriteReadWriteIsStable)
{
    std::mt19937 random(4);
    for (int round = 0; round < 200; ++round) {
        OCSettings settings = Neutral();
        for (OCTriple& channel : settings.rgb.master.channel)
            channel = {
                .gain = Between(random, 0, 3), .gamma = Between(random, 0.2f, 5), .pedestal = Between(random, -1, 1)};
        settings.hsl.master.saturation = Between(random, 0, 300);
        const ASCCDLLabels labels = {.date = "d", .description = "x"};
        const std::string first = ASCCDL_CDLText(settings, labels);
        OCSettings loaded = Neutral();
        ASSERT_EQ(Load(first, &loaded), ASCCDLProblem::none);
        EXPECT_EQ(ASCCDL_CDLText(loaded, labels), first);
    }
}

TEST(ASCCDL, TwoSavesInOneRunCountFromZero)
{
    const std::string path = testing::TempDir() + "/cdl-" + std::to_string(getpid()) + ".cdl";
    const auto saved = [&] {
        std::vector<uint8_t> bytes;
        EXPECT_EQ(ASCCDL_SaveCDLFile(Neutral(), path.c_str(), {.date = "d", .description = "x", .number = 77}),
                  bpNoErr);
        EXPECT_EQ(BPReadFile(path.c_str(), 1 << 20, &bytes), bpNoErr);
        return std::string(bytes.begin(), bytes.end());
    };
    EXPECT_NE(saved().find("cdl:cc00000000\""), std::string::npos);
    LogCatch log; // a file that cannot be made ends the save silently, and does not count
    EXPECT_EQ(ASCCDL_SaveCDLFile(Neutral(), (path + ".no/x.cdl").c_str(), {.date = "d"}), bpFileNotFoundErr);
    EXPECT_EQ(log.Text(), "");
    EXPECT_NE(saved().find("cdl:cc00000001\""), std::string::npos);

    OCSettings settings = Neutral();
    EXPECT_EQ(ASCCDL_LoadCDLFileFromRef(path.c_str(), &settings), ASCCDLProblem::none);
    std::remove(path.c_str());
    EXPECT_EQ(ASCCDL_LoadCDLFileFromRef(path.c_str(), &settings), ASCCDLProblem::noDocument);
}

} // namespace
