// Preview tables of the outputs: menus, choices, what is kept, what pixels go through.
#include "src/support/TKPreviewLUTs.h"
#include "tests/support/TKTestSession.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

class TKPreviewLUTsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        char name[] = "/tmp/previews-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder_ = name;
    }
    void TearDown() override
    {
        std::filesystem::remove_all(folder_);
        TKSessionTest::TearDown();
    }
    TKPreferences& Prefs() { return session_->prefs; }

    /// A file; its path becomes the answer of the next dialog.
    std::string Answer(const std::string& name, const std::string& content)
    {
        const std::string path = folder_ + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        gBPFake.fileAnswers.push_back(path);
        return path;
    }
    static std::string Ramp(int step)
    {
        std::string text = "LUT: 3 256\n";
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < 256; ++i) text += std::to_string(i / step) + "\n";
        return text;
    }
    std::string folder_{};
};

TEST_F(TKPreviewLUTsTest, ADefaultRecordHasTheIdentityAtPosition50)
{
    for (uint32_t i = 0; i < tkPreviewOutputCount; ++i) {
        const auto output = static_cast<TKPreviewOutput>(i);
        EXPECT_EQ(TKPreviewIndex(Prefs(), output), 50u);
        EXPECT_FALSE(TKPreviewIsOn(Prefs(), output));
    }
}

TEST_F(TKPreviewLUTsTest, EachOutputHasItsOwnCommandsAndItsOwnCheck)
{
    ASSERT_TRUE(TKSelectPreviewLUT(session_, tkPreviewSecondary, preview709));
    const uint32_t bases[] = {14500, 14600, 14700};
    const uint32_t positions[] = {50, 51, 52, 53, 54, 56};
    for (uint32_t output = 0; output < 3; ++output) {
        const auto items = TKPreviewMenu(Prefs(), static_cast<TKPreviewOutput>(output));
        for (size_t i = 0; i < items.size(); ++i) {
            EXPECT_EQ(items[i].command, bases[output] + positions[i]);
            EXPECT_EQ(items[i].checked, i == (output == 1 ? 2u : 0u)) << output << " " << i;
        }
        EXPECT_STREQ(items[3].text, "SMPTE 240M Gamma");
        EXPECT_STREQ(items[5].text, "Other...");
    }
}

TEST_F(TKPreviewLUTsTest, AChoiceIsKeptPerOutputAndDrawnAgain)
{
    windows_.calls.clear();
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14554));
    EXPECT_EQ(Prefs().primaryLUTIndex, 54u);
    EXPECT_EQ(Prefs().primaryLUT[0], 255);
    EXPECT_EQ(Prefs().primaryLUT[767], 0);
    EXPECT_EQ(Prefs().secondaryLUTIndex, 50u);
    EXPECT_EQ(Prefs().externalLUTIndex, 50u);
    EXPECT_TRUE(TKPreviewIsOn(Prefs(), tkPreviewPrimary));
    EXPECT_FALSE(TKPreviewIsOn(Prefs(), tkPreviewExternal));
    EXPECT_GE(windows_.calls.size(), 1u);
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14752));
    EXPECT_EQ(Prefs().externalLUTIndex, 52u);
    EXPECT_EQ(Prefs().externalLUT[128], 180);
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14550));
    EXPECT_FALSE(TKPreviewIsOn(Prefs(), tkPreviewPrimary));
    EXPECT_EQ(Prefs().primaryLUTIndex, 50u); // served by 55, kept as 50
}

TEST_F(TKPreviewLUTsTest, TheStandInOfNoneIsKeptAsNone)
{
    for (uint32_t output = 0; output < tkPreviewOutputCount; ++output) {
        ASSERT_TRUE(TKSelectPreviewCommand(session_, 14554 + 100 * output));
        ASSERT_TRUE(TKSelectPreviewCommand(session_, 14555 + 100 * output));
        const auto items = TKPreviewMenu(Prefs(), static_cast<TKPreviewOutput>(output));
        EXPECT_EQ(TKPreviewIndex(Prefs(), static_cast<TKPreviewOutput>(output)), 50u);
        EXPECT_FALSE(TKPreviewIsOn(Prefs(), static_cast<TKPreviewOutput>(output)));
        EXPECT_TRUE(items[0].checked);
    }
}

TEST_F(TKPreviewLUTsTest, NumbersOfNoTableDoNothing)
{
    const TKPreferences before = Prefs();
    windows_.calls.clear();
    for (const uint32_t command : {0u, 14500u, 14501u, 14549u, 14557u, 14558u, 14601u, 14700u, 14758u, 14801u})
        EXPECT_FALSE(TKSelectPreviewCommand(session_, command)) << command;
    EXPECT_EQ(std::memcmp(&before, &Prefs(), sizeof before), 0);
    EXPECT_TRUE(windows_.calls.empty());
    EXPECT_TRUE(gBPFake.fileQuestions.empty());
}

TEST_F(TKPreviewLUTsTest, OtherAsksForAFileOfFourKinds)
{
    Answer("half.lut", Ramp(2));
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14656));
    ASSERT_EQ(gBPFake.fileQuestions.size(), 1u);
    EXPECT_EQ(gBPFake.fileQuestions[0].title, "Load LUT");
    EXPECT_EQ(gBPFake.fileQuestions[0].button, "Load");
    EXPECT_EQ(gBPFake.fileQuestions[0].types,
              (std::vector<std::string>{".lut Ochrine Preview LUT Files", ".amp Arbitrary Map Files",
                                        ".txt Quantel iQ 1D LUT Files", ".lut Autodesk 1D LUT Files"}));
    EXPECT_EQ(Prefs().secondaryLUTIndex, 56u);
    EXPECT_EQ(Prefs().secondaryLUT[200], 100);
    EXPECT_TRUE(TKPreviewMenu(Prefs(), tkPreviewSecondary)[5].checked);
}

TEST_F(TKPreviewLUTsTest, TheEndOfTheNameDecidesTheReader)
{
    Answer("map.AMP", std::string(256, '\x07'));
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14556));
    EXPECT_EQ(Prefs().primaryLUT[300], 7);
    std::string quantel = "table a 2\ngmax 255\ngsize 256\nr g b\n";
    for (int i = 0; i < 256; ++i) quantel += "9 8 " + std::to_string(i) + "\n";
    Answer("q.txt", quantel);
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14556));
    EXPECT_EQ(Prefs().primaryLUT[300], 8);
    Answer("noname", Ramp(1));
    EXPECT_TRUE(TKSelectPreviewCommand(session_, 14556));
    EXPECT_EQ(Prefs().primaryLUT[300], 44);
}

TEST_F(TKPreviewLUTsTest, WhatDoesNotLoadChangesNothingAndIsShown)
{
    ASSERT_TRUE(TKSelectPreviewCommand(session_, 14554));
    const TKPreferences before = Prefs();
    EXPECT_FALSE(TKSelectPreviewCommand(session_, 14556)); // cancelled
    EXPECT_TRUE(gBPFake.alerts.empty());
    Answer("short.lut", "LUT: 3 256\n1\n");
    EXPECT_FALSE(TKSelectPreviewCommand(session_, 14556));
    Answer("few.lut", "LUT: 2 256\n1\n");
    EXPECT_FALSE(TKSelectPreviewCommand(session_, 14556));
    Answer("type.txt", "table a 1\n");
    EXPECT_FALSE(TKSelectPreviewCommand(session_, 14556));
    gBPFake.fileAnswers.push_back(folder_ + "/gone.lut");
    EXPECT_FALSE(TKSelectPreviewCommand(session_, 14556));
    ASSERT_EQ(gBPFake.alerts.size(), 4u);
    for (const BPFakeShownAlert& alert : gBPFake.alerts) EXPECT_EQ(alert.title, "Ochrine 3 UI");
    EXPECT_EQ(gBPFake.alerts[0].text, kOCLUTTooShort);
    EXPECT_EQ(gBPFake.alerts[1].text, kOCLUTTooFewChannels);
    EXPECT_EQ(gBPFake.alerts[2].text, "LUT file is of unsupported type.");
    EXPECT_EQ(gBPFake.alerts[3].text, "Error encountered while reading LUT file.");
    EXPECT_EQ(std::memcmp(&before, &Prefs(), sizeof before), 0);
}

TEST_F(TKPreviewLUTsTest, ThePreferenceReloadsOnlyOutputsAtPosition50)
{
    std::memset(Prefs().primaryLUT, 3, 768);
    std::memset(Prefs().secondaryLUT, 3, 768);
    std::memset(Prefs().externalLUT, 3, 768);
    Prefs().secondaryLUTIndex = 56;
    for (const uint32_t traditional : {1u, 0u}) {
        std::memset(Prefs().primaryLUT, 3, 768);
        Prefs().useOldStyleGamma = traditional;
        EXPECT_TRUE(TKReloadPreviewNone(&Prefs()));
        EXPECT_TRUE(OCPreviewIsIdentity(Prefs().primaryLUT));
    }
    EXPECT_EQ(Prefs().secondaryLUT[9], 3);
    EXPECT_EQ(Prefs().externalLUT[9], 3); // that of the external output is left alone
    EXPECT_FALSE(TKReloadPreviewNone(&Prefs()));
}

TEST_F(TKPreviewLUTsTest, PixelsGoThroughTheTableOfTheirOutput)
{
    uint8_t pixels[32] = {};
    for (uint8_t i = 0; i < 32; ++i) pixels[i] = static_cast<uint8_t>(i * 8);
    uint8_t untouched[32];
    std::memcpy(untouched, pixels, sizeof pixels);
    TKApplyPreviewLUT(session_, tkPreviewPrimary, pixels, 4, 2, 16, pixFormatBGRA8);
    EXPECT_EQ(std::memcmp(pixels, untouched, sizeof pixels), 0);
    ASSERT_TRUE(TKSelectPreviewCommand(session_, 14554));
    TKApplyPreviewLUT(session_, tkPreviewSecondary, pixels, 4, 2, 16, pixFormatBGRA8);
    EXPECT_EQ(std::memcmp(pixels, untouched, sizeof pixels), 0);
    TKApplyPreviewLUT(session_, tkPreviewPrimary, pixels, 4, 2, 16, pixFormatBGRA8);
    for (uint32_t i = 0; i < 32; ++i) EXPECT_EQ(pixels[i], i % 4 == 0 ? i * 8 : 255 - i * 8) << i; // alpha stays
}

} // namespace
