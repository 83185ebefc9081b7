// The commands around tables: dialogs, what is written, what is loaded, what stays silent.
#include "src/OCPreviewLUT.h"
#include "src/support/TKLUTCommands.h"
#include "tests/support/TKTestSession.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

class TKLUTCommandsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        char name[] = "/tmp/exports-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder_ = name;
        gBPFake.fileQuestions.clear();
    }
    void TearDown() override
    {
        std::filesystem::remove_all(folder_);
        TKSessionTest::TearDown();
    }
    OCSettings& Live() { return session_->liveSettings; }
    std::string Path(const char* name) const { return folder_ + "/" + name; }
    std::string Content(const char* name) const
    {
        std::ifstream file(Path(name), std::ios::binary);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }
    void Answer(const char* name, const std::string& content)
    {
        std::ofstream(Path(name), std::ios::binary) << content;
        gBPFake.fileAnswers.push_back(Path(name));
    }
    std::string folder_{};
};

TEST_F(TKLUTCommandsTest, EveryExportAsksInItsOwnWordsAndWritesItsOwnTable)
{
    Live().rgbOn = Live().rgb.master.on = 1;
    Live().rgb.master.channel[0].gain = 0.5f;
    for (size_t i = 0; i < kOCLUTMenuTargets; ++i) {
        const OCLUTTarget& target = OCLUTTargets()[i];
        const std::string name = std::string("t") + std::to_string(i) + "." + target.extension;
        gBPFake.fileAnswers.push_back(Path(name.c_str()));
        DoMenuCommand(session_, target.command, nullptr);
        ASSERT_EQ(gBPFake.fileQuestions.size(), i + 1) << target.name;
        const BPFakeFileQuestion& question = gBPFake.fileQuestions.back();
        EXPECT_EQ(question.op, bpFakeFileSave);
        EXPECT_EQ(question.title, target.title);
        EXPECT_EQ(question.defaultName, target.defaultName);
        EXPECT_EQ(question.defaultExtension, target.extension);
        EXPECT_EQ(question.filter, target.filterText);

        const OCLUTJob job = {.engine = session_->engine,
                              .settings = &Live(),
                              .taskCount = 1,
                              .tasks = nullptr,
                              .fileName = name.c_str(),
                              .wallSeconds = gBPFake.wallSeconds};
        std::string expected;
        ASSERT_EQ(target.write(job, target.parameters, &expected), bpNoErr);
        EXPECT_EQ(Content(name.c_str()), expected) << target.name;
    }
}

TEST_F(TKLUTCommandsTest, AnExportCommitsAnOpenEditFirst)
{
    OpenEdit(session_, &redGain_);
    TKSetEditText(&redGain_, "0.5");
    gBPFake.fileAnswers.push_back(Path("x.3dl"));
    DoMenuCommand(session_, 14902, nullptr);
    EXPECT_EQ(Live().rgb.highlights.channel[0].gain, 0.5f);
    EXPECT_NE(Content("x.3dl"), "");
}

TEST_F(TKLUTCommandsTest, ACancelledDialogAndAFileThatCannotBeMadeStaySilent)
{
    const OCLUTTarget& target = *OCLUTTargetOfName("lustre");
    EXPECT_EQ(TKExportLUT(session_, target), bpNoErr);
    gBPFake.fileAnswers.push_back("/nowhere/x.3dl");
    EXPECT_EQ(TKExportLUT(session_, target), bpNoErr);
    EXPECT_TRUE(gBPFake.alerts.empty());
}

TEST_F(TKLUTCommandsTest, AnExportLeavesGradePictureAndUndoAlone)
{
    const OCSettings before = Live();
    const uint32_t steps = session_->undoRing->undoHead, renders = session_->renderCount;
    gBPFake.fileAnswers.push_back(Path("x.lut"));
    DoMenuCommand(session_, 14113, nullptr);
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, steps);
    EXPECT_EQ(session_->renderCount, renders);
}

TEST_F(TKLUTCommandsTest, ThePreviewLUTHas4096Entries)
{
    gBPFake.fileAnswers.push_back(Path("p.lut"));
    DoMenuCommand(session_, 14108, nullptr);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(gBPFake.fileQuestions[0].title, "Save Preview LUT");
    EXPECT_EQ(gBPFake.fileQuestions[0].button, "Save");
    EXPECT_EQ(gBPFake.fileQuestions[0].filter, "LUT Files (*.lut)");
    EXPECT_EQ(gBPFake.fileQuestions[0].defaultName, "LUT_Untitled_OC_Preview");
    EXPECT_EQ(gBPFake.fileQuestions[0].defaultExtension, "lut");
    const std::string text = Content("p.lut");
    EXPECT_NE(text.find("\nLUT: 3 4096\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("      4095\n"));
    EXPECT_EQ(TKSavePreviewLUT(session_), bpNoErr); // cancelled
    gBPFake.fileAnswers.push_back("/nowhere/p.lut");
    EXPECT_EQ(TKSavePreviewLUT(session_), bpOpenErr);
}

TEST_F(TKLUTCommandsTest, MenuNumbersChooseThePreviewTables)
{
    DoMenuCommand(session_, 14554, nullptr);
    EXPECT_EQ(session_->prefs.primaryLUTIndex, 54u);
    DoMenuCommand(session_, 14651, nullptr);
    EXPECT_EQ(session_->prefs.secondaryLUTIndex, 51u);
    DoMenuCommand(session_, 14753, nullptr);
    EXPECT_EQ(session_->prefs.externalLUTIndex, 53u);
    DoMenuCommand(session_, 14501, nullptr);
    EXPECT_EQ(session_->prefs.primaryLUTIndex, 54u);
}

TEST_F(TKLUTCommandsTest, LoadedCurvesAreOneUndoStep)
{
    const uint32_t steps = session_->undoRing->undoHead;
    BPFakeCaptureLog();
    std::string text = "LUT: 3 1024\n";
    for (int i = 0; i < 3 * 1024; ++i) text += std::to_string(1023 - i % 1024) + "\n";
    Answer("c.lut", text);
    DoMenuCommand(session_, 7, nullptr);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(gBPFake.fileQuestions[0].title, "Load Curve");
    EXPECT_EQ(gBPFake.fileQuestions[0].button, "Load");
    EXPECT_EQ(gBPFake.fileQuestions[0].types,
              (std::vector<std::string>{".acv Curve Files", ".amp Arbitrary Map Files", ".txt Quantel iQ LUT Files",
                                        ".lut Discreet LUT Files"}));
    EXPECT_EQ(Live().rgbCurve[1].curveKind & 1, 1u);
    EXPECT_EQ(Live().curvesOn, 1u);
    EXPECT_EQ(session_->undoRing->undoHead, steps + 1);
    EXPECT_NE(gBPFake.log.find("selection returned 0\n"), std::string::npos);
    EXPECT_NE(gBPFake.log.find("Leaving CVLoadCurrentCurves\n"), std::string::npos);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().rgbCurve[1].curveKind & 1, 0u);
    EXPECT_EQ(Live().curvesOn, 0u);
}

TEST_F(TKLUTCommandsTest, WhatIsNoCurveFileMakesAStepWithoutAChange)
{
    const OCSettings before = Live();
    const uint32_t steps = session_->undoRing->undoHead;
    BPFakeCaptureLog();
    DoMenuCommand(session_, 7, nullptr); // cancelled
    EXPECT_EQ(session_->undoRing->undoHead, steps + 1);
    EXPECT_NE(gBPFake.log.find("selection returned -128\n"), std::string::npos);
    EXPECT_NE(gBPFake.log.find("Leaving CVLoadCurrentCurves\n"), std::string::npos);
    Answer("c.txt", "table a 1\n");
    DoMenuCommand(session_, 7, nullptr);
    Answer("c.acv", "\x01\x02\x03\x04");
    DoMenuCommand(session_, 7, nullptr);
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].text, "LUT file is of unsupported type.");
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, steps + 3);
    for (int i = 0; i < 3; ++i) DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(std::memcmp(&before, &Live(), sizeof before), 0);
}

TEST_F(TKLUTCommandsTest, CurvesAreSavedUnlessAllAreLoadedTables)
{
    gBPFake.fileAnswers.push_back(Path("c.acv"));
    DoMenuCommand(session_, 8, nullptr);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(gBPFake.fileQuestions[0].title, "Save Curve");
    EXPECT_EQ(gBPFake.fileQuestions[0].filter, "Curves (*.acv)");
    EXPECT_EQ(gBPFake.fileQuestions[0].defaultName, "Untitled Curve");
    EXPECT_EQ(gBPFake.fileQuestions[0].defaultExtension, "acv");
    EXPECT_EQ(Content("c.acv").size(), 4u + 5 * 10);
    for (const int table : {0, 1, 2}) Live().rgbCurve[table].curveKind = 1;
    HCurvePoints& blue = Live().rgbCurve[3].points.xy;
    blue.pointCount = 3;
    blue.x[1] = blue.y[1] = 0.2f;
    blue.x[2] = blue.y[2] = 1;
    gBPFake.fileAnswers.push_back(Path("b.acv"));
    DoMenuCommand(session_, 8, nullptr);
    EXPECT_EQ(Content("b.acv").size(), 4u + 3 * 10 + 14 + 10); // the tables as straight lines
    Live().rgbCurve[3].curveKind = 1;
    gBPFake.fileAnswers.push_back(Path("d.acv"));
    DoMenuCommand(session_, 8, nullptr);
    EXPECT_EQ(gBPFake.fileQuestions.size(), 2u);
    EXPECT_FALSE(std::filesystem::exists(Path("d.acv")));
}

} // namespace
