// Grades through the C interface: bytes and files of both kinds, values by the catalogue, switches, curves, errors.
#include "host/OchrineObjects.h"
#include "src/OCCatalogue.h"
#include "src/TincturaFileIO.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <set>

namespace {

struct GradeRelease {
    void operator()(ochrine_grade* grade) const { ochrine_grade_destroy(grade); }
};
using GradePtr = std::unique_ptr<ochrine_grade, GradeRelease>;

GradePtr MakeGrade()
{
    ochrine_grade* grade = nullptr;
    EXPECT_EQ(ochrine_grade_create(&grade), OCHRINE_OK);
    return GradePtr(grade);
}

bool SameRecord(const OCSettings& a, const OCSettings& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

std::vector<uint8_t> BytesOf(const ochrine_grade* grade, uint32_t kind)
{
    size_t needed = 0;
    EXPECT_EQ(ochrine_grade_to_bytes(grade, kind, nullptr, 0, &needed), OCHRINE_ARGUMENT);
    std::vector<uint8_t> bytes(needed);
    EXPECT_EQ(ochrine_grade_to_bytes(grade, kind, bytes.data(), bytes.size(), nullptr), OCHRINE_OK);
    return bytes;
}

OCSettings AnyGrade(uint32_t seed)
{
    Random random(seed);
    return RandomGrade(random, (1u << toolCount) - 1, reachKnob);
}

std::string PathOf(const char* name)
{
    return std::string(getenv("XDG_RUNTIME_DIR")) + "/" + name;
}

ochrine_value_info Find(const char* key, uint32_t occurrence = 0)
{
    ochrine_value_info info = {};
    EXPECT_EQ(ochrine_value_find(key, occurrence, &info), OCHRINE_OK) << key;
    return info;
}

} // namespace

TEST(OchrineGrade, IsNeutralWhenMadeAndAfterAReset)
{
    OCSettings neutral = {};
    OCResetSettings(&neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
    const GradePtr grade = MakeGrade();
    EXPECT_TRUE(SameRecord(grade->settings, neutral));
    grade->settings = AnyGrade(1);
    EXPECT_EQ(ochrine_grade_reset(grade.get()), OCHRINE_OK);
    EXPECT_TRUE(SameRecord(grade->settings, neutral));
}

TEST(OchrineGrade, CopiesAreWhole)
{
    const GradePtr a = MakeGrade(), b = MakeGrade();
    a->settings = AnyGrade(2);
    EXPECT_EQ(ochrine_grade_copy(b.get(), a.get()), OCHRINE_OK);
    EXPECT_EQ(ochrine_grade_copy(a.get(), a.get()), OCHRINE_OK);
    EXPECT_TRUE(SameRecord(a->settings, b->settings));
}

TEST(OchrineGrade, BytesOfBothKindsComeBack)
{
    for (uint32_t kind : {OCHRINE_RECORD, OCHRINE_PRESET}) {
        const GradePtr grade = MakeGrade(), back = MakeGrade();
        const OCSettings any = AnyGrade(3);
        // A settings file carries the values; what it leaves out is neutral on both sides.
        grade->settings.hsl = any.hsl;
        grade->settings.rgb = any.rgb;
        grade->settings.primaryOn = grade->settings.hslOn = 1;
        grade->settings.rgbCurve[1] = any.rgbCurve[1];
        const std::vector<uint8_t> bytes = BytesOf(grade.get(), kind);
        back->settings = any;
        EXPECT_EQ(ochrine_grade_from_bytes(back.get(), bytes.data(), bytes.size()), OCHRINE_OK);
        EXPECT_EQ(back->settings.primaryOn, 1u);
        EXPECT_EQ(std::memcmp(&back->settings.hsl, &any.hsl, sizeof any.hsl), 0) << kind;
        EXPECT_EQ(std::memcmp(&back->settings.rgb, &any.rgb, sizeof any.rgb), 0) << kind;
        EXPECT_EQ(BytesOf(back.get(), kind), bytes) << kind;
        if (kind == OCHRINE_RECORD) {
            EXPECT_TRUE(SameRecord(back->settings, grade->settings));
            EXPECT_EQ(bytes.size(), OCHRINE_RECORD_BYTES);
        }
    }
}

TEST(OchrineGrade, WhatASettingsFileDoesNotTellIsNeutral)
{
    const GradePtr grade = MakeGrade(), neutral = MakeGrade();
    const std::vector<uint8_t> bytes = BytesOf(grade.get(), OCHRINE_PRESET);
    OCSettingsChunk chunk;
    size_t position = 0;
    ASSERT_TRUE(OCNextSettingsChunk(bytes.data(), bytes.size(), &position, &chunk));
    grade->settings = AnyGrade(6);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), bytes.data(), chunk.position), OCHRINE_OK) << "the header alone";
    EXPECT_TRUE(SameRecord(grade->settings, neutral->settings));
}

TEST(OchrineGrade, PresetBytesAreThoseOfTheApplication)
{
    const GradePtr grade = MakeGrade();
    grade->settings = AnyGrade(4);
    EXPECT_EQ(BytesOf(grade.get(), OCHRINE_PRESET), SaveSettingsBytes(grade->settings));
}

TEST(OchrineGrade, BytesThatAreNoGradeAreRefusedAndLeaveIt)
{
    const GradePtr grade = MakeGrade();
    grade->settings = AnyGrade(5);
    const OCSettings before = grade->settings;
    std::vector<uint8_t> record = BytesOf(grade.get(), OCHRINE_RECORD);
    record.push_back(0);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), record.data(), record.size()), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), record.data(), record.size() - 2), OCHRINE_NO_GRADE);
    record[0] ^= 1;
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), record.data(), OCHRINE_RECORD_BYTES), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), nullptr, 0), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), record.data(), 3), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), nullptr, 5), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_from_bytes(grade.get(), record.data(), SIZE_MAX), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_from_bytes(nullptr, record.data(), 3), OCHRINE_ARGUMENT);
    EXPECT_TRUE(SameRecord(grade->settings, before));
}

TEST(OchrineGrade, TooLittleRoomWritesNothingAndTellsHowMuchIsNeeded)
{
    const GradePtr grade = MakeGrade();
    std::vector<uint8_t> bytes(OCHRINE_RECORD_BYTES, 7);
    size_t needed = 0;
    EXPECT_EQ(ochrine_grade_to_bytes(grade.get(), OCHRINE_RECORD, bytes.data(), bytes.size() - 1, &needed),
              OCHRINE_ARGUMENT);
    EXPECT_EQ(needed, OCHRINE_RECORD_BYTES);
    for (uint8_t byte : bytes) ASSERT_EQ(byte, 7);
    EXPECT_EQ(ochrine_grade_to_bytes(grade.get(), 2, bytes.data(), bytes.size(), &needed), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_to_bytes(nullptr, OCHRINE_RECORD, bytes.data(), bytes.size(), &needed), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_to_bytes(grade.get(), OCHRINE_RECORD, nullptr, 5, &needed), OCHRINE_ARGUMENT);
}

TEST(OchrineGrade, FilesOfBothKindsAreRecognised)
{
    for (uint32_t kind : {OCHRINE_RECORD, OCHRINE_PRESET}) {
        const GradePtr grade = MakeGrade(), back = MakeGrade();
        grade->settings.rgbOn = 1;
        grade->settings.rgb.master.group.gain = 1.25f;
        const std::string path = PathOf(kind == OCHRINE_RECORD ? "grade.ocgrade" : "grade.ocpreset");
        ASSERT_EQ(ochrine_grade_save(grade.get(), path.c_str(), kind), OCHRINE_OK);
        ASSERT_EQ(ochrine_grade_load(back.get(), path.c_str()), OCHRINE_OK);
        EXPECT_EQ(back->settings.rgb.master.group.gain, 1.25f);
        std::remove(path.c_str());
    }
}

TEST(OchrineGrade, FilesThatCannotBeReadOrWrittenSayWhy)
{
    const GradePtr grade = MakeGrade();
    const OCSettings before = grade->settings;
    EXPECT_EQ(ochrine_grade_load(grade.get(), PathOf("gone.ocgrade").c_str()), OCHRINE_NO_FILE);
    EXPECT_EQ(ochrine_grade_load(grade.get(), ""), OCHRINE_NO_FILE);
    EXPECT_EQ(ochrine_grade_load(grade.get(), "/"), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_load(grade.get(), "/dev/null"), OCHRINE_NO_GRADE);
    EXPECT_EQ(ochrine_grade_load(grade.get(), nullptr), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_load(nullptr, "x"), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_save(grade.get(), PathOf("no/folder/x").c_str(), OCHRINE_RECORD), OCHRINE_NO_FILE);
    EXPECT_EQ(ochrine_grade_save(grade.get(), PathOf("x").c_str(), 9), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_save(grade.get(), nullptr, OCHRINE_RECORD), OCHRINE_ARGUMENT);
    EXPECT_TRUE(SameRecord(grade->settings, before));
}

TEST(OchrineGrade, WithoutMemoryThereIsNone)
{
    ochrine_grade* grade = reinterpret_cast<ochrine_grade*>(8);
    BPFailAllocation(1);
    EXPECT_EQ(ochrine_grade_create(&grade), OCHRINE_NO_MEMORY);
    BPFailAllocation(0);
    EXPECT_EQ(grade, nullptr);
    EXPECT_EQ(ochrine_grade_create(nullptr), OCHRINE_ARGUMENT);
    ochrine_grade_destroy(nullptr);
}

TEST(OchrineValues, TheCatalogueIsWalkedInItsOrder)
{
    const auto rows = OCParameterKeys();
    ASSERT_EQ(ochrine_value_count(), 318u);
    std::set<uint32_t> offsets;
    std::set<std::pair<std::string, uint32_t>> names;
    ochrine_value_info info;
    for (uint32_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(ochrine_value_at(i, &info), OCHRINE_OK);
        EXPECT_STREQ(info.key, rows[i].key);
        EXPECT_EQ(info.offset, rows[i].offset);
        EXPECT_TRUE(offsets.insert(info.offset).second) << "an offset is unique";
        EXPECT_TRUE(names.insert({info.key, info.occurrence}).second) << "so are key and occurrence";
        EXPECT_EQ(Find(info.key, info.occurrence).offset, info.offset);
    }
    EXPECT_EQ(ochrine_value_at(318, &info), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_value_at(0, nullptr), OCHRINE_ARGUMENT);
}

TEST(OchrineValues, ThePedestalOfAGroupIsTheSecondOfItsKey)
{
    EXPECT_EQ(Find("rgb_master_gain", 0).offset, 180u);
    EXPECT_EQ(Find("rgb_master_gain", 1).offset, 188u);
    ochrine_value_info info;
    EXPECT_EQ(ochrine_value_find("rgb_master_gain", 2, &info), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_value_find("rgb_master_gamma", 1, &info), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_value_find("", 0, &info), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_value_find("RGB_MASTER_GAIN", 0, &info), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_value_find(nullptr, 0, &info), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_value_find("rgb_master_gain", 0, nullptr), OCHRINE_ARGUMENT);
}

TEST(OchrineValues, TypesFollowTheRecord)
{
    uint32_t integers = 0, switches = 0;
    for (uint32_t i = 0; i < ochrine_value_count(); ++i) {
        ochrine_value_info info;
        ASSERT_EQ(ochrine_value_at(i, &info), OCHRINE_OK);
        integers += info.type == OCHRINE_INTEGER;
        switches += info.type == OCHRINE_SWITCH;
    }
    EXPECT_EQ(integers, 4u + 6u + 2u); // wheels of the ranges and the secondaries, method and system
    EXPECT_EQ(switches, 6u + 6u + 3u); // previews and inversions, limiter, its preview and soft clip
    EXPECT_EQ(Find("limiter_softclip_enable").type, static_cast<uint32_t>(OCHRINE_SWITCH));
    EXPECT_EQ(Find("limiter_clip_method").type, static_cast<uint32_t>(OCHRINE_INTEGER));
    EXPECT_EQ(Find("limiter_softclip_knee").type, static_cast<uint32_t>(OCHRINE_FLOAT));
}

TEST(OchrineValues, EveryValueIsReadAndWrittenAtItsPlaceAlone)
{
    for (uint32_t i = 0; i < ochrine_value_count(); ++i) {
        const GradePtr grade = MakeGrade();
        const OCSettings before = grade->settings;
        ochrine_value_info info;
        ASSERT_EQ(ochrine_value_at(i, &info), OCHRINE_OK);
        double value = 0;
        ASSERT_EQ(ochrine_grade_get(grade.get(), info.offset, &value), OCHRINE_OK);
        const double wanted = info.type == OCHRINE_SWITCH ? 1 - value : info.type == OCHRINE_INTEGER ? -7 : 0.8125;
        ASSERT_EQ(ochrine_grade_set(grade.get(), info.offset, wanted), OCHRINE_OK) << info.key;
        ASSERT_EQ(ochrine_grade_get(grade.get(), info.offset, &value), OCHRINE_OK);
        EXPECT_EQ(value, wanted) << info.key;
        OCSettings after = grade->settings;
        uint32_t word;
        ASSERT_EQ(ochrine_grade_get_word(grade.get(), info.offset, &word), OCHRINE_OK);
        const float single = 0.8125f;
        EXPECT_TRUE(info.type != OCHRINE_FLOAT || std::memcmp(&word, &single, 4) == 0);
        std::memcpy(reinterpret_cast<uint8_t*>(&after) + info.offset,
                    reinterpret_cast<const uint8_t*>(&before) + info.offset, 4);
        EXPECT_TRUE(SameRecord(before, after)) << info.key;
    }
}

TEST(OchrineValues, NumbersThatDoNotFitAreRefused)
{
    const GradePtr grade = MakeGrade();
    const OCSettings before = grade->settings;
    const double nan = std::nan(""), inf = HUGE_VAL;
    const uint32_t single = Find("hsl_master_gain").offset, whole = Find("limiter_system").offset,
                   flag = Find("limiter_enable").offset;
    for (double bad : {nan, inf, -inf, 1e39, -1e39})
        EXPECT_EQ(ochrine_grade_set(grade.get(), single, bad), OCHRINE_ARGUMENT) << bad;
    for (double bad : {nan, inf, 0.5, 2147483648.0, -2147483649.0})
        EXPECT_EQ(ochrine_grade_set(grade.get(), whole, bad), OCHRINE_ARGUMENT) << bad;
    for (double bad : {nan, inf}) EXPECT_EQ(ochrine_grade_set(grade.get(), flag, bad), OCHRINE_ARGUMENT);
    EXPECT_TRUE(SameRecord(grade->settings, before));
    EXPECT_EQ(ochrine_grade_set(grade.get(), whole, -2147483648.0), OCHRINE_OK);
    EXPECT_EQ(ochrine_grade_set(grade.get(), flag, -0.25), OCHRINE_OK);
    EXPECT_EQ(grade->settings.limiter_enable, 1u);
    EXPECT_EQ(grade->settings.limiter.limiter_system, INT32_MIN);
}

TEST(OchrineValues, OffsetsThatNoRowHasAreRefused)
{
    const GradePtr grade = MakeGrade();
    double value = 5;
    for (uint32_t offset : {0u, 4u, 12u, 17u, 1036u, 33553u, 33556u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ochrine_grade_get(grade.get(), offset, &value), OCHRINE_NO_VALUE) << offset;
        EXPECT_EQ(ochrine_grade_set(grade.get(), offset, 1), OCHRINE_NO_VALUE) << offset;
        EXPECT_EQ(ochrine_grade_switch(grade.get(), offset, 1), OCHRINE_NO_VALUE) << offset;
    }
    EXPECT_EQ(value, 5);
    EXPECT_EQ(ochrine_grade_get(nullptr, 16, &value), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_get(grade.get(), 16, nullptr), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set(nullptr, 16, 1), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_switch(nullptr, 16, 1), OCHRINE_ARGUMENT);
}

TEST(OchrineValues, AKeyIsEnoughForTheFirstRowThatBearsIt)
{
    const GradePtr grade = MakeGrade();
    double value = 0;
    EXPECT_EQ(ochrine_grade_set_key(grade.get(), "cmy_shadows_gain", 1.5), OCHRINE_OK);
    EXPECT_EQ(grade->settings.cmy.shadows.group.gain, 1.5f);
    EXPECT_EQ(ochrine_grade_get_key(grade.get(), "cmy_shadows_gain", &value), OCHRINE_OK);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(ochrine_grade_set_key(grade.get(), "gone", 1), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_grade_get_key(grade.get(), "gone", &value), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_grade_set_key(nullptr, "gone", 1), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set_key(grade.get(), nullptr, 1), OCHRINE_ARGUMENT);
}

TEST(OchrineValues, WithItsSwitchesOnEveryValueSurvivesTheNeutralising)
{
    for (uint32_t i = 0; i < ochrine_value_count(); ++i) {
        const GradePtr grade = MakeGrade();
        ochrine_value_info info;
        ASSERT_EQ(ochrine_value_at(i, &info), OCHRINE_OK);
        if (info.type == OCHRINE_INTEGER && std::strstr(info.key, "wheel")) continue; // kept by every reset
        ASSERT_EQ(ochrine_grade_set(grade.get(), info.offset, info.type == OCHRINE_FLOAT ? 0.8125 : 1), OCHRINE_OK);
        uint32_t wanted = 0, seen = 0;
        ASSERT_EQ(ochrine_grade_get_word(grade.get(), info.offset, &wanted), OCHRINE_OK);
        const bool isSwitch = std::strcmp(info.key, "limiter_enable") == 0; // a switch itself, and no reset clears it
        ochrine_grade idle = *grade;
        OCNeutraliseSettings(&idle.settings);
        ASSERT_EQ(ochrine_grade_get_word(&idle, info.offset, &seen), OCHRINE_OK);
        // The default of the video system is the 1 that stands there.
        const bool isDefault = std::strcmp(info.key, "limiter_system") == 0;
        EXPECT_TRUE(isSwitch || isDefault || seen != wanted) << info.key;

        ASSERT_EQ(ochrine_grade_switch(grade.get(), info.offset, 1), OCHRINE_OK) << info.key;
        ochrine_grade active = *grade;
        OCNeutraliseSettings(&active.settings);
        ASSERT_EQ(ochrine_grade_get_word(&active, info.offset, &seen), OCHRINE_OK);
        EXPECT_EQ(seen, wanted) << info.key;

        if (isSwitch) continue;
        ASSERT_EQ(ochrine_grade_switch(grade.get(), info.offset, 0), OCHRINE_OK) << info.key;
        OCNeutraliseSettings(&grade->settings);
        ASSERT_EQ(ochrine_grade_get_word(grade.get(), info.offset, &seen), OCHRINE_OK);
        EXPECT_TRUE(isDefault || seen != wanted) << info.key;
    }
}

TEST(OchrineValues, ASwitchOffLeavesThoseAbove)
{
    const GradePtr grade = MakeGrade();
    const uint32_t offset = Find("hsl_midtones_hue").offset;
    ASSERT_EQ(ochrine_grade_switch(grade.get(), offset, 7), OCHRINE_OK);
    EXPECT_EQ(grade->settings.hsl.midtones.on, 1u);
    EXPECT_EQ(grade->settings.hslOn, 1u);
    EXPECT_EQ(grade->settings.primaryOn, 1u);
    EXPECT_EQ(grade->settings.hsl.master.on, 0u);
    ASSERT_EQ(ochrine_grade_switch(grade.get(), offset, 0), OCHRINE_OK);
    EXPECT_EQ(grade->settings.hsl.midtones.on, 0u);
    EXPECT_EQ(grade->settings.hslOn, 1u);
}

TEST(OchrineValues, WordsCoverTheWholeRecordAndNothingElse)
{
    const GradePtr grade = MakeGrade();
    uint32_t word = 0;
    EXPECT_EQ(ochrine_grade_get_word(grade.get(), 0, &word), OCHRINE_OK);
    EXPECT_EQ(word, kOCSettingsSignature);
    EXPECT_EQ(ochrine_grade_set_word(grade.get(), 33552, 77), OCHRINE_OK);
    EXPECT_EQ(grade->settings.tail[1], 77u);
    EXPECT_EQ(ochrine_grade_set_word(grade.get(), 33556, 77), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_grade_get_word(grade.get(), 33556, &word), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_grade_set_word(grade.get(), 0xFFFFFFFC, 77), OCHRINE_NO_VALUE);
    EXPECT_EQ(ochrine_grade_set_word(grade.get(), 33554, 77), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_get_word(grade.get(), 2, &word), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set_word(grade.get(), 0, 77), OCHRINE_ARGUMENT) << "a grade keeps its signature";
    EXPECT_EQ(ochrine_grade_set_word(nullptr, 4, 1), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_get_word(grade.get(), 4, nullptr), OCHRINE_ARGUMENT);
}

TEST(OchrineCurves, AreSetByPoints)
{
    const float x[3] = {0, 0.5f, 1}, y[3] = {0.1f, 0.6f, 0.9f};
    for (uint32_t curve = 0; curve < 7; ++curve) {
        const GradePtr grade = MakeGrade();
        OCSettings expected = grade->settings;
        ASSERT_EQ(ochrine_grade_set_curve(grade.get(), curve, 3, x, y), OCHRINE_OK);
        HCurve& wanted = curve < 4 ? expected.rgbCurve[curve] : expected.hslCurve[curve - 4];
        wanted.points.xy.pointCount = 3;
        std::memcpy(wanted.points.xy.x, x, sizeof x);
        std::memcpy(wanted.points.xy.y, y, sizeof y);
        EXPECT_TRUE(SameRecord(grade->settings, expected)) << curve;
        ASSERT_EQ(ochrine_grade_switch_curve(grade.get(), curve, 1), OCHRINE_OK);
        EXPECT_EQ(grade->settings.curvesOn, 1u);
        EXPECT_EQ(grade->settings.rgbCurvesOn, curve < 4 ? 1u : 0u);
        EXPECT_EQ(grade->settings.hslCurvesOn, curve < 4 ? 0u : 1u);
        ASSERT_EQ(ochrine_grade_switch_curve(grade.get(), curve, 0), OCHRINE_OK);
        EXPECT_EQ(grade->settings.rgbCurvesOn + grade->settings.hslCurvesOn, 0u);
        EXPECT_EQ(grade->settings.curvesOn, 1u);
    }
}

TEST(OchrineCurves, PointsThatMakeNoCurveAreRefused)
{
    const GradePtr grade = MakeGrade();
    const OCSettings before = grade->settings;
    const float nan = std::nanf("");
    const float good[17] = {}, falling[2] = {0.5f, 0.4f}, high[2] = {0, 1.5f}, low[2] = {-0.1f, 1}, bad[2] = {0, nan};
    for (uint32_t count : {0u, 17u, 0xFFFFFFFFu})
        EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 0, count, good, good), OCHRINE_ARGUMENT) << count;
    for (const float* x : {falling, high, low, bad})
        EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 0, 2, x, good), OCHRINE_ARGUMENT);
    for (const float* y : {high, low, bad})
        EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 0, 2, good, y), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 7, 2, good, good), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set_curve(nullptr, 0, 2, good, good), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 0, 2, nullptr, good), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 0, 2, good, nullptr), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_switch_curve(grade.get(), 7, 1), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_grade_switch_curve(nullptr, 0, 1), OCHRINE_ARGUMENT);
    EXPECT_TRUE(SameRecord(grade->settings, before));
    EXPECT_EQ(ochrine_grade_set_curve(grade.get(), 0, 16, good, good), OCHRINE_OK) << "equal x are allowed";
}

TEST(OchrineLibrary, EveryErrorHasATextOfItsOwn)
{
    std::set<std::string> texts;
    const ochrine_result errors[] = {OCHRINE_OK,         OCHRINE_DISK_FULL, OCHRINE_NO_FILE,  OCHRINE_ARGUMENT,
                                     OCHRINE_PERMISSION, OCHRINE_NO_MEMORY, OCHRINE_NO_VALUE, OCHRINE_FORMAT,
                                     OCHRINE_OVERLAP,    OCHRINE_NO_GRADE,  OCHRINE_OTHER,    12345};
    for (ochrine_result error : errors) EXPECT_TRUE(texts.insert(ochrine_error_text(error)).second) << error;
    EXPECT_NE(ochrine_error_text(INT32_MIN), nullptr);
}

TEST(OchrineLibrary, StatusesBecomeErrors)
{
    EXPECT_EQ(ResultOf(bpNoErr), OCHRINE_OK);
    EXPECT_EQ(ResultOf(bpMemFullErr), OCHRINE_NO_MEMORY);
    EXPECT_EQ(ResultOf(bpBadMagicErr), OCHRINE_NO_GRADE);
    EXPECT_EQ(ResultOf(bpFileBusyErr), OCHRINE_OTHER);
    EXPECT_EQ(ResultOf(bpPermissionErr), OCHRINE_PERMISSION);
}

TEST(OchrineLibrary, TellsItsVersions)
{
    EXPECT_EQ(ochrine_interface(), OCHRINE_INTERFACE);
    EXPECT_STREQ(ochrine_version(), "3.0.9");
}
