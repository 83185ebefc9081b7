// The preferences record and its store.
#include "src/support/TKPreferences.h"

#include "src/platform/fake/BPFake.h"

#include <cmath>
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
        PrefsRead(prefs_.get(), platform_);
        return *prefs_;
    }

    BPPlatform platform_ = {};
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
    EXPECT_EQ(prefs_->autoLumaTrim, 0.001f);
    EXPECT_EQ(PrefsWrite(*prefs_, platform_), bpPermissionErr);
    EXPECT_EQ(gBPFake.log, "");
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
