// Loading and saving of the live settings by command: dialogs, steps, boxes, and the folder of the user's presets.
#include "src/support/TKSettingsFiles.h"

#include "src/ASCCDL.h"
#include "src/TincturaFileIO.h"
#include "src/platform/BPFiles.h"
#include "tests/support/TKTestSession.h"

#include <filesystem>
#include <unistd.h>

namespace {

constexpr uint32_t kLoadSettings = 13202, kSaveSettings = 13203, kSavePreset = 13204, kLoadCDL = 13205,
                   kSaveCDL = 13206;

class TKSettingsFilesTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        BPFakeCaptureLog();
        folder_ = testing::TempDir() + "/settings-files-" + std::to_string(getpid());
        std::filesystem::create_directories(folder_);
        setenv("HOME", folder_.c_str(), 1);
        setenv("XDG_CONFIG_HOME", (folder_ + "/config").c_str(), 1);
        Attach();
        MakeSliders();
        windows_.calls.clear();
        gBPFake.log.clear();
    }
    void TearDown() override
    {
        TKSessionTest::TearDown();
        std::filesystem::remove_all(folder_);
    }

    OCSettings& Live() { return session_->liveSettings; }
    std::string Path(const std::string& name) const { return folder_ + "/" + name; }

    std::string Write(const std::string& name, const std::string& text) const
    {
        EXPECT_EQ(BPWriteFile(Path(name).c_str(), text.data(), text.size()), bpNoErr);
        return Path(name);
    }

    std::string Read(const std::string& name) const
    {
        std::vector<uint8_t> bytes;
        EXPECT_EQ(BPReadFile(Path(name).c_str(), 1 << 20, &bytes), bpNoErr) << name;
        return {bytes.begin(), bytes.end()};
    }

    /// A settings file with a gain of 2 in the HSL master, in force.
    std::string WritePreset(const std::string& name)
    {
        OCSettings preset = TKNeutralSettings();
        preset.primaryOn = preset.hslOn = preset.hsl.master.on = 1;
        preset.hsl.master.gain = 2;
        EXPECT_EQ(SaveSettingsFile(Path(name).c_str(), preset), bpNoErr);
        return Path(name);
    }

    std::string folder_;
};

TEST_F(TKSettingsFilesTest, LoadSettingsIsOneStepAndControlsAndPictureFollow)
{
    for (const uint32_t command : {5u, kLoadSettings}) {
        const uint32_t head = session_->undoRing->undoHead, rendered = session_->renderCount;
        gBPFake.fileAnswers = {WritePreset("a.ocpreset")};
        windows_.calls.clear();
        DoMenuCommand(session_, command, nullptr);
        EXPECT_EQ(Live().hsl.master.gain, 2.0f);
        EXPECT_STREQ(gain_.valueText, "2.00");
        EXPECT_EQ(windows_.Count("slider RGB Gain"), 1u);
        EXPECT_EQ(windows_.Count("slider Saturation"), 0u); // its value is the same
        EXPECT_EQ(session_->undoRing->undoHead, head + 1);
        EXPECT_EQ(session_->renderCount, rendered + 1);
        DoMenuCommand(session_, kTKCommandUndo, nullptr);
        EXPECT_EQ(Live().hsl.master.gain, 1.0f);
        DoMenuCommand(session_, kTKCommandRedo, nullptr);
        EXPECT_EQ(Live().hsl.master.gain, 2.0f);
        DoMenuCommand(session_, kTKCommandUndo, nullptr);
    }
}

TEST_F(TKSettingsFilesTest, TheLoadDialogShowsTheseTextsAndIsAnnouncedInTheLog)
{
    DoMenuCommand(session_, kLoadSettings, nullptr);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    const BPFakeFileQuestion& shown = gBPFake.fileQuestions[0];
    EXPECT_EQ(shown.op, bpFakeFileOpen);
    EXPECT_EQ(shown.title, "Load Correction Settings");
    EXPECT_EQ(shown.button, "Load");
    EXPECT_EQ(shown.filter, "Ochrine Settings (*.ocpreset)");
    EXPECT_EQ(shown.types, std::vector<std::string>{".ocpreset Ochrine Settings"});
    EXPECT_NE(gBPFake.log.find("About to call BPGetFileSelectionSingleAsPath\n"), std::string::npos);
}

TEST_F(TKSettingsFilesTest, ACancelledLoadLeavesTheSettingsAndAStepWithoutAChange)
{
    const OCSettings before = Live();
    const uint32_t head = session_->undoRing->undoHead;
    for (const uint32_t command : {kLoadSettings, kLoadCDL}) DoMenuCommand(session_, command, nullptr);
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
    EXPECT_EQ(session_->undoRing->undoHead, head + 2);
    EXPECT_TRUE(gBPFake.alerts.empty());
}

TEST_F(TKSettingsFilesTest, ARefusedFileShowsItsBoxAndChangesNothing)
{
    const OCSettings before = Live();
    gBPFake.fileAnswers = {Write("x.ocpreset", "no settings file")};
    DoMenuCommand(session_, kLoadSettings, nullptr);
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].title, "Ochrine 3 UI");
    EXPECT_EQ(gBPFake.alerts[0].text, "Invalid settings file");
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
}

TEST_F(TKSettingsFilesTest, AFileThatIsGoneIsOnlyLogged)
{
    gBPFake.fileAnswers = {Path("gone.ocpreset")};
    DoMenuCommand(session_, kLoadSettings, nullptr);
    EXPECT_TRUE(gBPFake.alerts.empty());
    EXPECT_NE(gBPFake.log.find("unable to open file, error=-43\n"), std::string::npos);
}

TEST_F(TKSettingsFilesTest, AnOpenEditIsCommittedBeforeALoad)
{
    OpenEdit(session_, &saturation_);
    TKSetEditText(&saturation_, "50");
    // The file tells of the RGB switch alone.
    gBPFake.fileAnswers = {
        Write("rgb.ocpreset", std::string("\0\0\0\2\x11\x22\x33\x44\0\0\0\x10\0\0\0\4\0\0\0\1", 20))};
    DoMenuCommand(session_, kLoadSettings, nullptr);
    EXPECT_EQ(Live().hsl.master.saturation, 50.0f);
    EXPECT_EQ(Live().rgbOn, 1u);
}

TEST_F(TKSettingsFilesTest, SaveSettingsWritesTheLiveRecord)
{
    for (const uint32_t command : {6u, kSaveSettings}) {
        (void)TKSliderDrag(session_, &gain_, 0);
        gBPFake.fileQuestions.clear();
        gBPFake.fileAnswers = {Path("s.ocpreset")};
        const uint32_t head = session_->undoRing->undoHead;
        DoMenuCommand(session_, command, nullptr);
        const std::vector<uint8_t> wanted = SaveSettingsBytes(Live());
        EXPECT_EQ(Read("s.ocpreset"), std::string(wanted.begin(), wanted.end()));
        EXPECT_EQ(session_->undoRing->undoHead, head);
        ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
        const BPFakeFileQuestion& shown = gBPFake.fileQuestions[0];
        EXPECT_EQ(shown.op, bpFakeFileSave);
        EXPECT_EQ(shown.title, "Save Correction Settings As");
        EXPECT_EQ(shown.button, "Save");
        EXPECT_EQ(shown.defaultName, "untitled preset");
        EXPECT_EQ(shown.defaultExtension, "ocpreset");
        EXPECT_EQ(windows_.Count("rescanPresets"), 0u);
    }
}

TEST_F(TKSettingsFilesTest, ASaveIntoTheFolderOfTheUsersPresetsRebuildsTheGallery)
{
    ASSERT_EQ(TKUserPresetFolder(), Path("Documents/Ochrine Presets"));
    ASSERT_TRUE(BPMakeFolder(TKUserPresetFolder()));
    gBPFake.fileAnswers = {TKUserPresetFolder() + "/mine.ocpreset"};
    DoMenuCommand(session_, kSaveSettings, nullptr);
    EXPECT_EQ(windows_.Count("rescanPresets"), 1u);
    ASSERT_TRUE(BPMakeFolder(TKUserPresetFolder() + "/below"));
    gBPFake.fileAnswers = {TKUserPresetFolder() + "/below/mine.ocpreset"};
    DoMenuCommand(session_, kSaveSettings, nullptr);
    EXPECT_EQ(windows_.Count("rescanPresets"), 1u);
}

TEST_F(TKSettingsFilesTest, ASaveThatFailsIsLoggedWithItsPath)
{
    gBPFake.fileAnswers = {Path("no/s.ocpreset")};
    DoMenuCommand(session_, kSaveSettings, nullptr);
    EXPECT_NE(gBPFake.log.find("unable to open file \"" + Path("no/s.ocpreset") + "\", err=-43\n"), std::string::npos);
    EXPECT_TRUE(gBPFake.alerts.empty());
}

TEST_F(TKSettingsFilesTest, AUserPresetGetsItsNameFromTheUserAndItsExtensionFromUs)
{
    gBPFake.fileAnswers = {"Warm night"};
    DoMenuCommand(session_, kSavePreset, nullptr);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(gBPFake.fileQuestions[0].op, bpFakeAskName);
    EXPECT_EQ(gBPFake.fileQuestions[0].title, "User Preset Name");
    EXPECT_EQ(gBPFake.fileQuestions[0].defaultName, "Saved Settings");
    EXPECT_EQ(Read("Documents/Ochrine Presets/Warm night.ocpreset").size(), 33720u);
    EXPECT_EQ(windows_.Count("rescanPresets"), 1u);
    gBPFake.fileAnswers = {"Cold.ocpreset"};
    DoMenuCommand(session_, kSavePreset, nullptr);
    EXPECT_EQ(Read("Documents/Ochrine Presets/Cold.ocpreset").size(), 33720u);
}

TEST_F(TKSettingsFilesTest, TheNameWindowOpensWhereItWasLeftCancelledOrNot)
{
    EXPECT_EQ(session_->prefs.userPresetNameWindowH, -1);
    gBPFake.nameWindowH = 640;
    gBPFake.nameWindowV = 48;
    DoMenuCommand(session_, kSavePreset, nullptr); // cancelled
    EXPECT_EQ(session_->prefs.userPresetNameWindowH, 640);
    EXPECT_EQ(session_->prefs.userPresetNameWindowV, 48);
    gBPFake.nameWindowH = 7;
    gBPFake.fileAnswers = {"Warm night"};
    DoMenuCommand(session_, kSavePreset, nullptr);
    EXPECT_EQ(session_->prefs.userPresetNameWindowH, 7);
    ASSERT_EQ(gBPFake.fileQuestions.size(), 2u);
    EXPECT_EQ(gBPFake.fileQuestions[0].h, -1);
    EXPECT_EQ(gBPFake.fileQuestions[0].v, -1);
    EXPECT_EQ(gBPFake.fileQuestions[1].h, 640);
    EXPECT_EQ(gBPFake.fileQuestions[1].v, 48);
}

TEST_F(TKSettingsFilesTest, AnEmptyPresetNameEndsTheCommandAndANameOutsideTheFolderBeeps)
{
    gBPFake.fileAnswers = {""};
    DoMenuCommand(session_, kSavePreset, nullptr);
    EXPECT_EQ(gBPFake.beeps, 0u);
    EXPECT_TRUE(std::filesystem::is_directory(TKUserPresetFolder())); // made before the question
    for (const char* name : {"../../evil", "/tmp/evil", "a/b", "..", ".hidden"}) {
        gBPFake.beeps = 0;
        gBPFake.fileAnswers = {name};
        DoMenuCommand(session_, kSavePreset, nullptr);
        EXPECT_EQ(gBPFake.beeps, 1u) << name;
    }
    EXPECT_TRUE(std::filesystem::is_empty(TKUserPresetFolder()));
    EXPECT_EQ(windows_.Count("rescanPresets"), 0u);
}

TEST_F(TKSettingsFilesTest, LoadingAListIsOneStepInAll)
{
    const uint32_t head = session_->undoRing->undoHead;
    gBPFake.fileAnswers = {Write("a.cdl", "<ColorDecisionList><ColorCorrection><SOPNode><Slope>2 1 1</Slope></SOPNode>"
                                          "<SatNode><Saturation>0.5</Saturation></SatNode></ColorCorrection>"
                                          "</ColorDecisionList>")};
    DoMenuCommand(session_, kLoadCDL, nullptr);
    EXPECT_EQ(Live().rgb.master.channel[0].gain, 2.0f);
    EXPECT_EQ(Live().hsl.master.saturation, 50.0f);
    EXPECT_EQ(windows_.Count("slider Saturation"), 1u);
    EXPECT_EQ(session_->undoRing->undoHead, head + 1);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().rgb.master.channel[0].gain, 1.0f);
    EXPECT_EQ(Live().hsl.master.saturation, 100.0f);
    const BPFakeFileQuestion& shown = gBPFake.fileQuestions.at(0);
    EXPECT_EQ(shown.title, "Load ASC CDL");
    EXPECT_EQ(shown.button, "Load");
    EXPECT_EQ(shown.filter, "Color Decision List (*.cdl)");
    EXPECT_EQ(shown.types,
              (std::vector<std::string>{".xml Color Decision List (.xml)", ".cdl Color Decision List (.cdl)",
                                        ".ccc Color Decision List (.ccc)", ".* All Documents"}));
}

TEST_F(TKSettingsFilesTest, AListThatLacksAnElementIsToldAndOneThatIsNoXMLIsNot)
{
    const OCSettings before = Live();
    gBPFake.fileAnswers = {Write("a.cdl", "<ColorDecisionList><ColorCorrection/></ColorDecisionList>"),
                           Write("b.cdl", "x")};
    DoMenuCommand(session_, kLoadCDL, nullptr);
    ASSERT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(gBPFake.alerts[0].title, "Ochrine 3 UI");
    EXPECT_EQ(gBPFake.alerts[0].text, "Invalid CDL - Missing SOPNode element");
    DoMenuCommand(session_, kLoadCDL, nullptr);
    EXPECT_EQ(gBPFake.alerts.size(), 1u);
    EXPECT_EQ(std::memcmp(&Live(), &before, sizeof before), 0);
}

TEST_F(TKSettingsFilesTest, TheLoadedListsPathIsGivenAfterASuccessAlone)
{
    std::string path = "old";
    OCSettings settings = TKNeutralSettings();
    gBPFake.fileAnswers = {Write("b.cdl", "x"), Write("a.cdl", "<ColorDecisionList><ColorCorrection><SOPNode/>"
                                                               "</ColorCorrection></ColorDecisionList>")};
    EXPECT_FALSE(ASCCDL_LoadDialog(session_, &settings, &path));
    EXPECT_EQ(path, "old");
    EXPECT_TRUE(ASCCDL_LoadDialog(session_, &settings, &path));
    EXPECT_EQ(path, Path("a.cdl"));
}

TEST_F(TKSettingsFilesTest, ASavedListNamesTheFileAndTheClipWhenThereIsOne)
{
    Live().rgb.master.channel[0].gain = 1.5f;
    gBPFake.fileAnswers = {Path("my look.cdl"), Path("two.cdl")};
    host_.Block()->clipCount = 1;
    std::snprintf(host_.Block()->clipList[0].path, sizeof TKClipRecord::path, "/media/a & b.mov");
    DoMenuCommand(session_, kSaveCDL, nullptr);
    const std::string text = Read("my look.cdl");
    EXPECT_NE(text.find("<Description>my look.cdl</Description>\n"), std::string::npos);
    EXPECT_NE(text.find("\t\t<MediaRef ref=\"/media/a &amp; b.mov\"/>\n"), std::string::npos);
    EXPECT_NE(text.find("<Slope>1.5000 1.0000 1.0000</Slope>\n"), std::string::npos);
    EXPECT_NE(text.find("-Sep-2001 "), std::string::npos); // by the fake clock
    const BPFakeFileQuestion& shown = gBPFake.fileQuestions.at(0);
    EXPECT_EQ(shown.title, "Save ASC CDL");
    EXPECT_EQ(shown.button, "Save");
    EXPECT_EQ(shown.filter, "Color Decision Lists (*.cdl)");
    EXPECT_EQ(shown.types, std::vector<std::string>{".cdl Color Decision List"});
    EXPECT_EQ(shown.defaultName, "Untitled ASC CDL");
    EXPECT_EQ(shown.defaultExtension, "cdl");

    host_.Block()->clipCount = 2;
    DoMenuCommand(session_, kSaveCDL, nullptr);
    EXPECT_EQ(Read("two.cdl").find("MediaRef"), std::string::npos);
}

TEST_F(TKSettingsFilesTest, AHostileListOfClipsIsHarmless)
{
    for (const int32_t count : {0, -1, 201, INT32_MAX}) {
        gBPFake.fileAnswers = {Path("h.cdl")};
        host_.Block()->clipCount = count;
        DoMenuCommand(session_, kSaveCDL, nullptr);
        EXPECT_EQ(Read("h.cdl").find("MediaRef"), std::string::npos) << count;
    }
    gBPFake.fileAnswers = {Path("h.cdl")};
    host_.Block()->clipCount = 1;
    std::memset(host_.Block()->clipList[0].path, 'x', sizeof TKClipRecord::path); // without an end
    DoMenuCommand(session_, kSaveCDL, nullptr);
    EXPECT_NE(Read("h.cdl").find("ref=\"" + std::string(260, 'x') + "\""), std::string::npos);
}

TEST_F(TKSettingsFilesTest, AnOpenEditIsAStepOfItsOwnBeforeAPresetIsApplied)
{
    const uint32_t head = session_->undoRing->undoHead;
    OpenEdit(session_, &saturation_);
    TKSetEditText(&saturation_, "50");
    EXPECT_EQ(TKApplySettingsFile(session_, WritePreset("a.ocpreset").c_str()), bpNoErr);
    EXPECT_EQ(session_->controls.openSlider, nullptr);
    EXPECT_EQ(session_->undoRing->undoHead, head + 2);
    EXPECT_EQ(Live().hsl.master.saturation, 100.0f);
    DoMenuCommand(session_, kTKCommandUndo, nullptr);
    EXPECT_EQ(Live().hsl.master.saturation, 50.0f);
    EXPECT_EQ(Live().hsl.master.gain, 1.0f);
}

TEST_F(TKSettingsFilesTest, APresetIsAppliedAsOneStepAndAFailureIsNone)
{
    const uint32_t head = session_->undoRing->undoHead;
    EXPECT_EQ(TKApplySettingsFile(session_, Path("gone").c_str()), bpFileNotFoundErr);
    EXPECT_EQ(TKApplySettingsFile(session_, Write("x", "?").c_str()), bpInvalidSettingsErr);
    EXPECT_EQ(session_->undoRing->undoHead, head);
    EXPECT_EQ(TKApplySettingsFile(session_, WritePreset("a.ocpreset").c_str()), bpNoErr);
    EXPECT_EQ(session_->undoRing->undoHead, head + 1);
    EXPECT_EQ(Live().hsl.master.gain, 2.0f);
    EXPECT_STREQ(gain_.valueText, "2.00");
}

} // namespace
