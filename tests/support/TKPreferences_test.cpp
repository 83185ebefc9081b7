// The preferences record and its store.
#include "src/support/TKPreferences.h"

#include "src/platform/fake/BPFake.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

class TKPreferencesTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        BPFakeReset();
        BPFakeCaptureLog();
        BPFillFakePlatform(&platform_);
    }
    void TearDown() override
    {
        EXPECT_EQ(gBPFake.openStores, 0u);
        BPFakeReset();
    }

    BPFakeStore& Store() { return gBPFake.stores[kTKPreferencesStore]; }
    void PutNumber(const char* name, uint32_t number)
    {
        Store()[name] = {.kind = bpFakeNumber, .number = number, .text = {}, .block = {}};
    }
    void PutText(const char* name, const char* text)
    {
        Store()[name] = {.kind = bpFakeString, .number = 0, .text = text, .block = {}};
    }
    void PutBlock(const char* name, size_t byteCount, uint8_t value)
    {
        Store()[name] = {.kind = bpFakeBlob, .number = 0, .text = {}, .block = std::vector<uint8_t>(byteCount, value)};
    }
    TKPreferences& Read()
    {
        status_ = PrefsRead(prefs_.get(), platform_);
        return *prefs_;
    }

    BPPlatform platform_ = {};
    BPStatus status_ = bpNoErr; // of the last Read
    std::unique_ptr<TKPreferences> prefs_ = std::make_unique<TKPreferences>();
};

TEST_F(TKPreferencesTest, AnEmptyStoreIsFilledWithTheDefaults)
{
    TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.undoDepth, 20u);
    EXPECT_EQ(prefs.undoPopupIndex, 5u);
    EXPECT_EQ(prefs.videoRangeIndex, 1u);
    EXPECT_EQ(prefs.uiBrightness, 22282u);
    EXPECT_EQ(prefs.uiSaturation, 26214u);
    EXPECT_EQ(prefs.uiTimeoutDuration, 10u);
    EXPECT_EQ(prefs.comboLowerLeft, 10u);
    EXPECT_EQ(prefs.preferencesWindowH, -1);
    EXPECT_STREQ(prefs.adjustHostPixels, "FXTC");
    EXPECT_EQ(prefs.externalPreviewDevice, 0x4E6F4E45u);
    EXPECT_EQ(prefs.primaryLUT[256 + 77], 77);
    EXPECT_EQ(prefs.galleryColWidth[3], 132u);

    EXPECT_EQ(Store()["Undo Depth"].number, 20u);
    EXPECT_EQ(Store()["Video System"].text, "NTSC");
    EXPECT_EQ(Store()["Preferences Version"].number, 1u);
    EXPECT_EQ(Store()["Adjust Host Pixels"].text, "FXTC");
    EXPECT_EQ(Store()["Clip Info Window V Pos"].number, 0xFFFFFFFFu);
    // Three kinds of values are not written back.
    EXPECT_EQ(Store().count("Auto Luma Trim"), 0u);
    EXPECT_EQ(Store().count("Primary LUT"), 0u);
    EXPECT_EQ(Store().count("Saved Settings 1"), 0u);
    EXPECT_EQ(prefs.autoLumaTrim, 0.0f);
    // All others are.
    uint32_t written = 0;
    for (const TKPreferenceRow& row : TKPreferenceRows())
        if (row.kind != tkPrefFloatText && row.kind != tkPrefTable && row.kind != tkPrefSlot) {
            EXPECT_EQ(Store().count(row.name), 1u) << row.name;
            ++written;
        }
    EXPECT_EQ(Store().size(), written);
}

TEST_F(TKPreferencesTest, EveryNumberRowIsReadFromItsNameAndWrittenToIt)
{
    uint32_t next = 1000;
    for (const TKPreferenceRow& row : TKPreferenceRows())
        if (row.kind == tkPrefNumber) PutNumber(row.name, std::strcmp(row.name, "Undo Depth") == 0 ? 50 : ++next);
    TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.undoDepth, 50u);
    EXPECT_EQ(prefs.undoPopupIndex, 6u);
    EXPECT_EQ(prefs.toolTipsEnable, 1001u);
    const BPFakeStore before = Store();
    Store().clear();
    ASSERT_EQ(PrefsWrite(prefs, platform_), bpNoErr);
    for (const auto& [name, value] : before)
        if (value.kind == bpFakeNumber) {
            EXPECT_EQ(Store()[name].number, value.number) << name;
        }
}

TEST_F(TKPreferencesTest, WriteReadWriteIsStable)
{
    TKPreferences& prefs = Read();
    prefs.autoLumaTrim = 0.25f;
    prefs.externalPreviewFrameRate = 23.976f;
    prefs.savedSettings[2].used = 1;
    prefs.savedSettings[2].settings.signature = kOCSettingsSignature;
    std::strcpy(prefs.controlSurfaceIP, "10.0.0.7");
    std::memset(prefs.secondaryLUT, 9, sizeof prefs.secondaryLUT);
    ASSERT_EQ(PrefsWrite(prefs, platform_), bpNoErr);
    const BPFakeStore first = Store();
    EXPECT_EQ(Store()["External Preview Frame Rate"].number, 23u);
    EXPECT_EQ(Store()["Auto Luma Trim"].text, "0.250000");
    EXPECT_EQ(Store()["Saved Settings 3"].block.size(), sizeof(OCSettings));
    EXPECT_EQ(Store().count("Saved Settings 1"), 0u);
    EXPECT_EQ(Store().size(), TKPreferenceRows().size() - 7);
    EXPECT_EQ(gBPFake.log, "Saving window position = -1, -1, selected tab -1\n");

    TKPreferences& again = Read();
    EXPECT_EQ(again.autoLumaTrim, 0.25f);
    EXPECT_EQ(again.externalPreviewFrameRate, 23.0f);
    EXPECT_EQ(again.savedSettings[2].used, 1u);
    EXPECT_EQ(again.savedSettings[0].used, 0u);
    EXPECT_EQ(again.secondaryLUT[700], 9);
    EXPECT_STREQ(again.controlSurfaceIP, "10.0.0.7");
    ASSERT_EQ(PrefsWrite(again, platform_), bpNoErr);
    EXPECT_EQ(Store(), first);
}

TEST_F(TKPreferencesTest, AnUndoDepthThatIsNotOfferedReadsAsTwenty)
{
    PutNumber("Undo Depth", 7);
    TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.undoDepth, 20u);
    EXPECT_EQ(prefs.undoPopupIndex, 5u);
    EXPECT_EQ(Store()["Undo Depth"].number, 7u); // until it is written at the end
    ASSERT_EQ(PrefsWrite(prefs, platform_), bpNoErr);
    EXPECT_EQ(Store()["Undo Depth"].number, 20u);
    const uint32_t depths[] = {0, 1, 5, 10, 20, 50, 99};
    for (uint32_t i = 0; i < 7; ++i) {
        PutNumber("Undo Depth", depths[i]);
        EXPECT_EQ(Read().undoPopupIndex, i + 1);
        EXPECT_EQ(prefs_->undoDepth, depths[i]);
    }
}

TEST_F(TKPreferencesTest, TheVideoSystemIsAName)
{
    struct Name {
        const char *stored, *comesBack;
        uint32_t code;
    };
    for (const Name& name : {Name{"NTSC", "NTSC", 1}, Name{"PAL", "PAL", 2}, Name{"709", "709", 3},
                             Name{"ATSC", "709", 3}, Name{"240M", "240M", 4}}) {
        PutText("Video System", name.stored);
        TKPreferences& prefs = Read();
        EXPECT_EQ(prefs.videoSystem, name.code) << name.stored;
        ASSERT_EQ(PrefsWrite(prefs, platform_), bpNoErr);
        EXPECT_EQ(Store()["Video System"].text, name.comesBack);
    }
    prefs_->videoSystem = 5; // no name: what is stored stays
    ASSERT_EQ(PrefsWrite(*prefs_, platform_), bpNoErr);
    EXPECT_EQ(Store()["Video System"].text, "240M");
    PutText("Video System", "SECAM");
    EXPECT_EQ(Read().videoSystem, 1u);
}

TEST_F(TKPreferencesTest, ASlotOfAnotherSizeStaysUnused)
{
    PutBlock("Saved Settings 1", 33552, 1);
    PutBlock("Saved Settings 2", 33560, 1);
    PutBlock("Saved Settings 8", 33556, 5);
    TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.savedSettings[0].used, 0u);
    EXPECT_EQ(prefs.savedSettings[1].used, 0u);
    EXPECT_EQ(prefs.savedSettings[7].used, 1u);
    EXPECT_EQ(prefs.savedSettings[7].settings.tail[1], 0x05050505u);
}

TEST_F(TKPreferencesTest, TheVideoRangeFollowsTheLevelsOnlyFromZero)
{
    struct Levels {
        uint32_t minimum, maximum, black, white, index;
    };
    for (const Levels& levels :
         {Levels{0, 255, 16, 235, 2}, Levels{0, 255, 0, 255, 1}, Levels{0, 255, 16, 234, 1},
          Levels{0, 1023, 64, 940, 4}, Levels{0, 1023, 0, 1023, 3}, Levels{16, 1023, 64, 940, 1}}) {
        PutNumber("Video Min Level", levels.minimum);
        PutNumber("Video Max Level", levels.maximum);
        PutNumber("Video Black Level", levels.black);
        PutNumber("Video White Level", levels.white);
        EXPECT_EQ(Read().videoRangeIndex, levels.index) << levels.minimum << " " << levels.maximum;
    }
}

TEST_F(TKPreferencesTest, AStandardDefinitionMonitorWins)
{
    const BPRect primary = {0, 0, 1920, 1080}, large = {1920, 0, 3840, 1080};
    const BPRect small = {0, 0, 720, 576}, wide = {0, 0, 721, 576};
    gBPFake.screens = {primary};
    EXPECT_EQ(Read().secondaryPreviewMonitor, 0u);
    Store().clear();
    gBPFake.screens = {primary, large, large};
    EXPECT_EQ(Read().secondaryPreviewMonitor, 1u);
    Store().clear();
    gBPFake.screens = {primary, large, wide, small};
    EXPECT_EQ(Read().secondaryPreviewMonitor, 3u);
}

TEST_F(TKPreferencesTest, AStoreThatCannotBeOpenedLeavesTheDefaultsAndAnError)
{
    gBPFake.failFrom[bpFakeStoreOpen] = 1;
    gBPFake.failStatus[bpFakeStoreOpen] = bpPermissionErr;
    EXPECT_EQ(Read().undoDepth, 20u);
    EXPECT_EQ(status_, bpPermissionErr);
    EXPECT_EQ(prefs_->autoLumaTrim, 0.001f);
    EXPECT_EQ(PrefsWrite(*prefs_, platform_), bpPermissionErr);
    EXPECT_EQ(gBPFake.log, "PrefsRead: the store cannot be opened, error -54; the defaults are in force\n"
                           "PrefsWrite: nothing was stored, error -54; the store keeps what it held\n");
}

TEST_F(TKPreferencesTest, AStoreThatCanOnlyBeReadIsRead)
{
    PutNumber("Undo Depth", 50);
    PutNumber("UI Timeout Duration", 3);
    gBPFake.failFrom[bpFakeBegin] = 1;
    gBPFake.failStatus[bpFakeBegin] = bpPermissionErr;
    const TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.undoDepth, 50u);
    EXPECT_EQ(prefs.uiTimeoutDuration, 3u);
    EXPECT_EQ(prefs.uiBrightness, 22282u);
    EXPECT_EQ(Store().size(), 2u); // nothing written back
    EXPECT_EQ(gBPFake.calls[bpFakeWriteNumber], 0u);
    EXPECT_EQ(status_, bpNoErr);
    EXPECT_EQ(gBPFake.log, "PrefsRead: missing values cannot be stored, error -54\n");
    EXPECT_EQ(PrefsWrite(prefs, platform_), bpPermissionErr);
    EXPECT_EQ(Store().size(), 2u);
}

TEST_F(TKPreferencesTest, AStoreThatFailsInTheMiddleEndsTheReadingAtOnce)
{
    for (const TKPreferenceRow& row : TKPreferenceRows())
        if (row.kind == tkPrefNumber) PutNumber(row.name, 5);
    gBPFake.failFrom[bpFakeReadNumber] = 6;
    gBPFake.failStatus[bpFakeReadNumber] = bpFileBusyErr;
    const TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.toolTipsEnable, 5u);
    EXPECT_EQ(prefs.undoDepth, 5u);
    EXPECT_EQ(prefs.undoPopupIndex, 3u); // derived from what was read
    EXPECT_EQ(prefs.multiprocessorEnable, 5u);
    EXPECT_EQ(prefs.uiTimeoutEnable, 1u); // the sixth number
    EXPECT_EQ(prefs.uiBrightness, 22282u);
    EXPECT_EQ(gBPFake.calls[bpFakeReadNumber], 6u);
    EXPECT_EQ(status_, bpFileBusyErr);
    EXPECT_EQ(gBPFake.log,
              "PrefsRead: \"UI Timeout Enable\" cannot be read, error -47; what follows has its default\n");
}

TEST_F(TKPreferencesTest, AFullDiskKeepsTheStoreAndIsTold)
{
    ASSERT_EQ(PrefsWrite(Read(), platform_), bpNoErr);
    const BPFakeStore before = Store();
    TKPreferences changed = *prefs_;
    changed.undoDepth = 99;
    changed.savedSettings[0].used = 1;
    for (const BPFakeOp op : {bpFakeWriteNumber, bpFakeWriteString, bpFakeWriteBlock, bpFakeCommit, bpFakeBegin}) {
        gBPFake.log.clear();
        gBPFake.failStatus[op] = bpDiskFullErr;
        gBPFake.failFrom[op] = gBPFake.calls[op] + 2;
        if (op == bpFakeCommit || op == bpFakeBegin) gBPFake.failFrom[op] = gBPFake.calls[op] + 1;
        EXPECT_EQ(PrefsWrite(changed, platform_), bpDiskFullErr) << op;
        gBPFake.failFrom[op] = 0;
        EXPECT_EQ(Store(), before) << op;
        EXPECT_NE(gBPFake.log.find("PrefsWrite: nothing was stored, error -34; the store keeps what it held\n"),
                  std::string::npos)
            << op;
    }
    EXPECT_EQ(PrefsWrite(changed, platform_), bpNoErr);
    EXPECT_EQ(Store()["Undo Depth"].number, 99u);
}

TEST_F(TKPreferencesTest, TheTemporaryFolderEndsInASeparator)
{
    const char* const kept = std::getenv("TMPDIR");
    const std::string before = kept ? kept : "";
    const std::string longest(257, 'd');
    struct Folder {
        std::string named, expected;
    };
    for (const Folder& folder :
         {Folder{"/var/tmp", "/var/tmp/"}, Folder{"/var/tmp/", "/var/tmp/"}, Folder{"", "/tmp/"},
          Folder{"relative", "/tmp/"}, Folder{"/" + longest, "/" + longest + "/"}, Folder{"/" + longest + "d", "/tmp/"},
          Folder{"/" + std::string(5000, 'd'), "/tmp/"}, Folder{"/", "/"}}) {
        setenv("TMPDIR", folder.named.c_str(), 1);
        PrefsSetDefaults(prefs_.get(), platform_);
        EXPECT_EQ(prefs_->rapidPreviewCachePath, folder.expected);
    }
    unsetenv("TMPDIR");
    PrefsSetDefaults(prefs_.get(), platform_);
    EXPECT_STREQ(prefs_->rapidPreviewCachePath, "/tmp/");
    if (kept) setenv("TMPDIR", before.c_str(), 1);
}

TEST_F(TKPreferencesTest, OddNumbersInTheTrimAreZeroAndItsTextFollowsTheCLocale)
{
    for (const char* text : {"nan", "inf", "-inf", "1e39", "", "x", ","}) {
        PutText("Auto Luma Trim", text);
        EXPECT_EQ(Read().autoLumaTrim, 0.0f) << text;
    }
    PutText("Auto Luma Trim", " \t+0.125rest");
    EXPECT_EQ(Read().autoLumaTrim, 0.125f);
    prefs_->autoLumaTrim = 3.4e38f;
    ASSERT_EQ(PrefsWrite(*prefs_, platform_), bpNoErr);
    EXPECT_EQ(Read().autoLumaTrim, 3.4e38f);
    prefs_->autoLumaTrim = 0.001f;
    ASSERT_EQ(PrefsWrite(*prefs_, platform_), bpNoErr);
    EXPECT_EQ(Store()["Auto Luma Trim"].text, "0.001000");
}

/// Every value with its kind and its default, as the store has them after a first run and a first end.
TEST_F(TKPreferencesTest, EveryValueOfTheTableHasItsNameKindAndDefault)
{
    struct Value {
        const char* name;
        BPFakeKind kind;
        uint32_t number;
        const char* text;
    };
    constexpr uint32_t kMinusOne = 0xFFFFFFFF;
    constexpr Value kValues[] = {
        {"Preferences Version", bpFakeNumber, 1, ""},
        {"Tool Tips Enable", bpFakeNumber, 1, ""},
        {"Undo Depth", bpFakeNumber, 20, ""},
        {"Beaconline Enable", bpFakeNumber, 1, ""},
        {"Multiprocessor Enable", bpFakeNumber, 1, ""},
        {"UI Timeout Enable", bpFakeNumber, 1, ""},
        {"UI Timeout Duration", bpFakeNumber, 10, ""},
        {"Limiter Default", bpFakeNumber, 0, ""},
        {"Left Pane Default", bpFakeNumber, 1, ""},
        {"Right Pane Default", bpFakeNumber, 1, ""},
        {"Settings Pane Default", bpFakeNumber, 1, ""},
        {"UI Brightness", bpFakeNumber, 22282, ""},
        {"UI Saturation", bpFakeNumber, 26214, ""},
        {"Secondary Preview Monitor", bpFakeNumber, 0, ""},
        {"External Preview Device", bpFakeNumber, 0x4E6F4E45, ""},
        {"External Preview Mode", bpFakeNumber, 0x4E6F4E45, ""},
        {"External Preview Codec", bpFakeNumber, 0, ""},
        {"External Preview Width", bpFakeNumber, 0, ""},
        {"External Preview Height", bpFakeNumber, 0, ""},
        {"External Preview Frame Rate", bpFakeNumber, 0, ""},
        {"External Preview Pixel Format", bpFakeNumber, 0, ""},
        {"WFM Color", bpFakeNumber, 0, ""},
        {"WFM Units mV", bpFakeNumber, 0, ""},
        {"VS Calibration 100 Percent", bpFakeNumber, 0, ""},
        {"Video System", bpFakeString, 0, "NTSC"},
        {"Video Black Level", bpFakeNumber, 0, ""},
        {"Video White Level", bpFakeNumber, 255, ""},
        {"Video Min Level", bpFakeNumber, 0, ""},
        {"Video Max Level", bpFakeNumber, 255, ""},
        {"Video Black Setup Present", bpFakeNumber, 0, ""},
        {"Gallery Col Width 0", bpFakeNumber, 140, ""},
        {"Gallery Col Width 1", bpFakeNumber, 85, ""},
        {"Gallery Col Width 2", bpFakeNumber, 110, ""},
        {"Gallery Col Width 3", bpFakeNumber, 132, ""},
        {"Gallery Col Width 4", bpFakeNumber, 170, ""},
        {"Gallery Col Width 5", bpFakeNumber, 0, ""},
        {"Gallery Col ID 0", bpFakeNumber, 0, ""},
        {"Gallery Col ID 1", bpFakeNumber, 1, ""},
        {"Gallery Col ID 2", bpFakeNumber, 2, ""},
        {"Gallery Col ID 3", bpFakeNumber, 3, ""},
        {"Gallery Col ID 4", bpFakeNumber, 4, ""},
        {"Gallery Col ID 5", bpFakeNumber, 5, ""},
        {"Gallery Sort Col", bpFakeNumber, 0, ""},
        {"Gallery Sort Order", bpFakeNumber, 1, ""},
        {"Combo Upper Left", bpFakeNumber, 1, ""},
        {"Combo Upper Right", bpFakeNumber, 8, ""},
        {"Combo Lower Left", bpFakeNumber, 10, ""},
        {"Combo Lower Right", bpFakeNumber, 9, ""},
        {"Use Old Style Gamma", bpFakeNumber, 0, ""},
        {"Auto Luma Trim", bpFakeString, 0, "0.000000"}, // a first run has none
        {"Primary LUT", bpFakeBlob, 768, ""},
        {"Secondary LUT", bpFakeBlob, 768, ""},
        {"External LUT", bpFakeBlob, 768, ""},
        {"Primary LUT Index", bpFakeNumber, 50, ""},
        {"Secondary LUT Index", bpFakeNumber, 50, ""},
        {"External LUT Index", bpFakeNumber, 50, ""},
        {"Control Surface Mode", bpFakeNumber, 1, ""},
        {"Control Surface Interface", bpFakeNumber, 2, ""},
        {"Control Surface IP", bpFakeString, 0, "192.168.1.100"},
        {"Control Surface Port", bpFakeNumber, 23, ""},
        {"Rapid Preview Cache Path", bpFakeString, 0, "/tmp/"},
        {"Preview Image Scaling", bpFakeNumber, 3, ""},
        {"Preview Aspect Ratio Conversion", bpFakeNumber, 1, ""},
        {"Clip Info Window V Pos", bpFakeNumber, kMinusOne, ""},
        {"Clip Info Window H Pos", bpFakeNumber, kMinusOne, ""},
        {"Marker Edit Window V Pos", bpFakeNumber, kMinusOne, ""},
        {"Marker Edit Window H Pos", bpFakeNumber, kMinusOne, ""},
        {"User Preset Name Window V Pos", bpFakeNumber, kMinusOne, ""},
        {"User Preset Name Window H Pos", bpFakeNumber, kMinusOne, ""},
        {"Adjust Host Pixels", bpFakeString, 0, "FXTC"},
        {"Preferences Window Selected Tab", bpFakeNumber, kMinusOne, ""},
        {"Preferences Window H Pos", bpFakeNumber, kMinusOne, ""},
        {"Preferences Window V Pos", bpFakeNumber, kMinusOne, ""},
        {"Control Surface Definition Window H Pos", bpFakeNumber, kMinusOne, ""},
        {"Control Surface Definition Window V Pos", bpFakeNumber, kMinusOne, ""},
    };
    unsetenv("TMPDIR");
    ASSERT_EQ(PrefsWrite(Read(), platform_), bpNoErr);
    EXPECT_EQ(Store().size(), std::size(kValues));
    for (const Value& value : kValues) {
        ASSERT_EQ(Store().count(value.name), 1u) << value.name;
        const BPFakeValue& stored = Store()[value.name];
        EXPECT_EQ(stored.kind, value.kind) << value.name;
        if (value.kind == bpFakeNumber) {
            EXPECT_EQ(stored.number, value.number) << value.name;
        }
        if (value.kind == bpFakeString) {
            EXPECT_EQ(stored.text, value.text) << value.name;
        }
        if (value.kind == bpFakeBlob) {
            EXPECT_EQ(stored.block.size(), value.number) << value.name;
        }
    }
    // The rows stand in this order, the eight slots behind them.
    const std::span<const TKPreferenceRow> rows = TKPreferenceRows();
    ASSERT_EQ(rows.size(), std::size(kValues) + kTKSlotCount);
    for (size_t i = 0; i < std::size(kValues); ++i) EXPECT_STREQ(rows[i].name, kValues[i].name);
    for (uint32_t slot = 1; slot <= kTKSlotCount; ++slot)
        EXPECT_EQ(rows[std::size(kValues) + slot - 1].name, "Saved Settings " + std::to_string(slot));
}

TEST_F(TKPreferencesTest, ValuesOfWrongKindsAndLongTextsDoNoHarm)
{
    PutText("Undo Depth", "twenty");
    PutNumber("Video System", 3);
    PutNumber("Primary LUT", 3);
    PutText("Saved Settings 1", "x");
    PutBlock("Secondary LUT", 5000, 3);
    PutBlock("External LUT", 2, 3);
    PutText("Control Surface IP", std::string(5000, 'i').c_str());
    PutText("Adjust Host Pixels", "");
    PutText("Auto Luma Trim", "  +1e400 nonsense");
    TKPreferences& prefs = Read();
    EXPECT_EQ(prefs.undoDepth, 20u);
    EXPECT_EQ(prefs.videoSystem, 1u);
    EXPECT_EQ(std::strlen(prefs.controlSurfaceIP), 127u);
    EXPECT_STREQ(prefs.adjustHostPixels, "");
    EXPECT_EQ(prefs.externalLUT[1], 3);
    EXPECT_EQ(prefs.externalLUT[2], 2);
    EXPECT_EQ(prefs.secondaryLUT[767], 3);
    EXPECT_EQ(prefs.primaryLUTIndex, 50u); // the neighbour of the tables
    EXPECT_EQ(prefs.savedSettings[0].used, 0u);
}

TEST_F(TKPreferencesTest, TheVideoLevelsGoToTheLastFieldsOfTheSettings)
{
    TKPreferences& prefs = Read();
    prefs.videoBlackLevel = 16;
    prefs.videoWhiteLevel = 235;
    prefs.videoSystem = 4;
    prefs.videoBlackSetupPresent = 1;
    OCSettings settings = {};
    EXPECT_TRUE(PrefsApplyVideoLevels(prefs, &settings));
    EXPECT_EQ(settings.videoLevels.videoBlackLevel, 16);
    EXPECT_EQ(settings.videoLevels.videoWhiteLevel, 235);
    EXPECT_EQ(settings.videoLevels.videoMaxLevel, 255);
    EXPECT_EQ(settings.videoLevels.videoSetupPresent, 1);
    EXPECT_EQ(settings.videoLevels.videoSystem, 4);
    EXPECT_FALSE(PrefsApplyVideoLevels(prefs, &settings));
}

} // namespace
