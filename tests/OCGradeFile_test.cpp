// A grade of any kind: told by what the bytes are.
#include "src/OCGradeFile.h"

#include "src/ASCCDL.h"
#include "src/TincturaFileIO.h"
#include "src/platform/BPFiles.h"
#include "tests/CoreTest.h"
#include "tests/SettingsModel.h"

#include <cstdio>
#include <unistd.h>

namespace {

struct Outcome {
    BPStatus status;
    OCGradeKind kind;
    std::string error;
    OCSettings settings;
};

OCSettings Base()
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    return settings;
}

Outcome Load(const std::vector<uint8_t>& bytes)
{
    Outcome outcome = {.status = bpNoErr, .kind = OCGradeKind::record, .error = "old", .settings = Base()};
    outcome.status =
        OCLoadGradeBytes(bytes.data(), bytes.size(), "it", &outcome.settings, &outcome.kind, &outcome.error);
    return outcome;
}

std::vector<uint8_t> Bytes(std::string_view text)
{
    return {text.begin(), text.end()};
}

TEST(GradeFile, EachKindIsToldByItsContent)
{
    std::mt19937 random(1);
    std::vector<uint32_t> words = RandomWords(random);
    words[0] = kOCSettingsSignature;
    const OCSettings any = SettingsOf(words);
    const auto* raw = reinterpret_cast<const uint8_t*>(&any);

    const Outcome record = Load({raw, raw + sizeof any});
    EXPECT_EQ(record.status, bpNoErr);
    EXPECT_EQ(record.kind, OCGradeKind::record);
    EXPECT_EQ(record.error, "");
    EXPECT_EQ(WordDifference(WordsOf(record.settings), words), "");

    const Outcome preset = Load(SaveSettingsBytes(any));
    EXPECT_EQ(preset.status, bpNoErr);
    EXPECT_EQ(preset.kind, OCGradeKind::settingsFile);
    EXPECT_EQ(SaveSettingsBytes(preset.settings), SaveSettingsBytes(any));
    EXPECT_EQ(preset.settings.videoLevels.videoWhiteLevel, 255); // laid over, not replaced

    OCSettings look = Base();
    look.rgb.master.channel[0].gain = 1.5f;
    for (const char* head : {"", " \r\n\t", "\xEF\xBB\xBF"}) {
        std::string text = ASCCDL_CDLText(look, {.date = "d", .description = "x"});
        if (*head != 0) text = head + text;
        const Outcome list = Load(Bytes(text));
        EXPECT_EQ(list.status, bpNoErr) << list.error;
        EXPECT_EQ(list.kind, OCGradeKind::decisionList);
        EXPECT_EQ(list.settings.rgb.master.channel[0].gain, 1.5f);
    }
}

TEST(GradeFile, WhatHoldsNoGradeIsNamedAndChangesNothing)
{
    OCSettings wrong = Base();
    wrong.signature = 1;
    const auto* raw = reinterpret_cast<const uint8_t*>(&wrong);
    struct {
        std::vector<uint8_t> bytes;
        const char* error;
    } const cases[] = {
        {{}, "it holds no grade"},
        {Bytes("PNG?"), "it holds no grade"},
        {{raw, raw + sizeof wrong}, "it holds no grade"},
        {SettingsFile(4).bytes, "it is a settings file of a version that is not known"},
        {Bytes("<a>"), "it: no well-formed XML"},
        {Bytes("<a>&tilde;</a>"),
         "it: no well-formed XML: &tilde; is no entity of XML; ochrine-settings convert --clean reads it as ~"},
        {Bytes("<a><!-- &tilde; --></a>"), "it: Invalid CDL - Missing ColorDecisionList element"},
        {Bytes("<ColorCorrectionCollection/>"), "it: Invalid CDL - Missing ColorDecisionList element"},
    };
    LogCatch log;
    for (const auto& row : cases) {
        const Outcome outcome = Load(row.bytes);
        EXPECT_EQ(outcome.status, bpInvalidSettingsErr) << row.error;
        EXPECT_EQ(outcome.error, row.error);
        EXPECT_EQ(WordDifference(WordsOf(outcome.settings), WordsOf(Base())), "");
    }
}

TEST(GradeFile, AFileIsReadFromItsPath)
{
    const std::string path = testing::TempDir() + "/grade-" + std::to_string(getpid());
    OCSettings settings = Base();
    OCGradeKind kind;
    std::string error;
    EXPECT_EQ(OCLoadGradeFile(path.c_str(), &settings, &kind, &error), bpFileNotFoundErr);
    EXPECT_EQ(error, "there is no file " + path);
    EXPECT_EQ(OCLoadGradeFile("/", &settings, &kind, &error), bpIsFolderErr);
    EXPECT_EQ(error, "/ cannot be read");
    settings.primaryOn = 7;
    ASSERT_EQ(SaveSettingsFile(path.c_str(), settings), bpNoErr);
    settings = Base();
    EXPECT_EQ(OCLoadGradeFile(path.c_str(), &settings, &kind, &error), bpNoErr);
    EXPECT_EQ(settings.primaryOn, 7u);
    std::remove(path.c_str());
}

} // namespace
