// The grade record: what a reset writes and keeps, and which switches leave a tool without effect. Offsets and values
// stand here as numbers, not as fields, so that the record itself is on trial.
#include "tests/CoreTest.h"

#include <bit>
#include <cstring>

namespace {

struct Write {
    uint32_t offset;
    uint32_t word;
};
using Writes = std::vector<Write>;

uint32_t Bits(float value)
{
    return std::bit_cast<uint32_t>(value);
}

Writes HSLWrites(uint32_t block)
{
    const uint32_t at = 12 + 40 * block;
    Writes writes = {{at, 0}};
    const float values[] = {0, 100, 0, 0, 0, 0.5f, 1, 1, 0};
    for (uint32_t i = 0; i < 9; ++i) writes.push_back({at + 4 + 4 * i, Bits(values[i])});
    return writes;
}

Writes ChannelWrites(uint32_t first, uint32_t block)
{
    const uint32_t at = first + 52 * block;
    Writes writes = {{at, 0}};
    for (uint32_t i = 0; i < 12; ++i) writes.push_back({at + 4 + 4 * i, Bits(i % 3 == 2 ? 0.0f : 1.0f)});
    return writes;
}

Writes HueOffsetWrites()
{
    Writes writes = {{808, 0}, {812, 0}};
    for (uint32_t triple = 0; triple < 4; ++triple) {
        writes.push_back({816 + 12 * triple + 4, 0});
        writes.push_back({816 + 12 * triple + 8, 0});
    }
    return writes;
}

Writes LevelsWrites(uint32_t block)
{
    const uint32_t at = 868 + 32 * block;
    Writes writes = {{at + 4, 0}};
    const float values[] = {0, 0.5f, 1, 0, 0.5f, 1};
    for (uint32_t i = 0; i < 6; ++i) writes.push_back({at + 8 + 4 * i, Bits(values[i])});
    if (block == 0) {
        writes.push_back({33540, 0});
        writes.push_back({33544, 0});
    }
    return writes;
}

Writes SecondaryWrites(uint32_t index)
{
    Writes writes;
    const uint32_t at = 29868 + 124 * index;
    for (uint32_t i = 0; i < 31; ++i) writes.push_back({at + 4 * i, 0});
    writes[1].word = Bits(0.05f);
    writes[2].word = Bits(0.1f);
    writes[3].word = Bits(0.05f);
    writes[5].word = 1;
    writes[8].word = Bits(100);
    writes[28].word = Bits(1);
    writes[29].word = Bits(1);
    return writes;
}

Writes LimiterWrites(uint32_t system)
{
    return {{33380, 0}, {33384, Bits(110)}, {33388, Bits(-30)}, {33392, Bits(120)},
            {33396, 0}, {33400, Bits(90)},  {33404, Bits(100)}, {33408, Bits(130)},
            {33412, 3}, {33416, system},    {33420, 0}};
}

Writes LumaRangeWrites()
{
    return {{29832, 0}, {29844, Bits(0.3f)}, {29848, Bits(0.3831f)}, {29852, Bits(0.7f)}, {29856, Bits(0.3831f)}};
}

Writes CurveWrites(uint32_t at, float firstY, float lastY)
{
    return {{at + 8, 0},           {at + 12, 2}, {at + 16, Bits(0)}, {at + 20, Bits(1)}, {at + 80, Bits(firstY)},
            {at + 84, Bits(lastY)}};
}

/// Words of an extended record; the eight pairs of bytes are written beside.
Writes ExtensionWrites(uint32_t index)
{
    const uint32_t at = 30616 + 460 * index;
    const uint32_t words[] = {0, Bits(0.05f), 0, 1, 0, 0, Bits(100), 0, 0, 0, Bits(1), Bits(1), 0};
    Writes writes;
    for (uint32_t i = 0; i < 13; ++i) writes.push_back({at + 4 * i, words[i]});
    return writes;
}

constexpr OCResetDefaults kDefaults = {.videoLevels = {.videoBlackLevel = 16,
                                                       .videoWhiteLevel = 235,
                                                       .videoMinLevel = 1,
                                                       .videoMaxLevel = 254,
                                                       .videoSetupPresent = 1,
                                                       .videoSystem = 4},
                                       .limiterDefault = 7};

struct ResetRow {
    const char* name;
    uint32_t toolMask, curveMask;
    Writes writes;
    int extension = -1; ///< whose eight byte pairs are cleared
};

std::vector<ResetRow> ResetRows()
{
    std::vector<ResetRow> rows;
    const auto tool = [&](const char* name, uint32_t bit, Writes writes) {
        rows.push_back({name, 1u << bit, 0, std::move(writes)});
    };
    const auto curve = [&](const char* name, uint32_t bit, Writes writes) {
        rows.push_back({name, 0, 1u << bit, std::move(writes)});
    };
    for (uint32_t i = 0; i < 4; ++i) {
        tool("HSL", i, HSLWrites(i));
        tool("RGB", 4 + i, ChannelWrites(176, i));
        tool("YCbCr", 8 + i, ChannelWrites(388, i));
        tool("CMY", 12 + i, ChannelWrites(600, i));
    }
    tool("hue offset", 16, HueOffsetWrites());
    for (uint32_t i = 0; i < 5; ++i) tool("levels", 17 + i, LevelsWrites(i));
    for (uint32_t i = 0; i < 6; ++i) tool("secondary", 22 + i, SecondaryWrites(i));
    tool("limiter", 28, LimiterWrites(4));
    tool("no part", 29, {});
    tool("luma range", 30, LumaRangeWrites());
    tool("no part", 31, {});
    for (uint32_t i = 0; i < 4; ++i) curve("RGB curve", 1 + i, CurveWrites(1036 + 4108 * i, 0, 1));
    for (uint32_t i = 0; i < 3; ++i) curve("HSL curve", 5 + i, CurveWrites(17508 + 4108 * i, 0.5f, 0.5f));
    curve("transfer gamma", 8, {{33508, 0}, {33524, Bits(2.2f)}});
    curve("transfer log", 9, {{33512, 0}, {33528, 95}, {33532, 685}, {33536, 1}});
    for (uint32_t i = 0; i < 6; ++i) {
        curve("extension", 12 + i, ExtensionWrites(i));
        rows.back().extension = static_cast<int>(i);
    }
    for (uint32_t bit : {0u, 10u, 11u, 18u, 19u, 20u, 21u, 22u, 23u, 24u, 25u, 26u, 27u, 28u, 29u, 30u, 31u})
        curve("no part", bit, {});
    return rows;
}

OCSettings NoiseRecord(uint32_t seed)
{
    Random random(seed);
    OCSettings record;
    auto* bytes = reinterpret_cast<uint8_t*>(&record);
    for (size_t i = 0; i < sizeof record; ++i) bytes[i] = static_cast<uint8_t>(random() | 1); // no byte is 0
    return record;
}

void Apply(OCSettings* record, const Writes& writes)
{
    for (const Write& write : writes) std::memcpy(reinterpret_cast<uint8_t*>(record) + write.offset, &write.word, 4);
}

void ApplyRow(OCSettings* record, const ResetRow& row)
{
    Apply(record, row.writes);
    if (row.extension < 0) return;
    for (int i = 0; i < 8; ++i)
        std::memset(reinterpret_cast<uint8_t*>(record) + 30616 + 460 * row.extension + 76 + 48 * i, 0, 2);
}

const Writes kHead = {{0, 0x12343210}, {4, 0},     {8, 0},     {172, 0},    {384, 0},     {596, 0},
                      {808, 0},        {864, 0},   {1028, 0},  {1032, 0},   {17504, 0},   {29832, 0},
                      {29860, 0},      {29864, 1}, {30612, 0}, {33480, 16}, {33484, 235}, {33488, 1},
                      {33492, 254},    {33496, 1}, {33500, 4}, {33376, 7}};

testing::AssertionResult SameRecord(const OCSettings& expected, const OCSettings& seen)
{
    for (uint32_t offset = 0; offset < sizeof(OCSettings); ++offset) {
        const uint8_t a = reinterpret_cast<const uint8_t*>(&expected)[offset];
        const uint8_t b = reinterpret_cast<const uint8_t*>(&seen)[offset];
        if (a != b)
            return testing::AssertionFailure() << "byte " << offset << ": expected " << int{a} << ", seen " << int{b};
    }
    return testing::AssertionSuccess();
}

/// Every tool on and away from neutral.
OCSettings AllOn()
{
    OCSettings record = NoiseRecord(5);
    return record;
}

} // namespace

TEST(OCSettings, EachMaskBitAloneWritesExactlyItsBytes)
{
    for (const ResetRow& row : ResetRows())
        for (uint32_t seed : {1u, 2u}) {
            OCSettings seen = NoiseRecord(seed);
            OCSettings expected = seen;
            ApplyRow(&expected, row);
            OCResetSettings(&seen, row.toolMask, row.curveMask, kDefaults);
            EXPECT_TRUE(SameRecord(expected, seen))
                << row.name << ", masks " << std::hex << row.toolMask << " " << row.curveMask;
        }
}

TEST(OCSettings, NoMaskWritesNothing)
{
    OCSettings seen = NoiseRecord(3);
    const OCSettings expected = seen;
    OCResetSettings(&seen, 0, 0, kDefaults);
    EXPECT_TRUE(SameRecord(expected, seen));
}

TEST(OCSettings, BothMasksAllOnesWriteTheHeadAndEveryPart)
{
    OCSettings seen = NoiseRecord(4);
    OCSettings expected = seen;
    Apply(&expected, kHead);
    for (const ResetRow& row : ResetRows()) ApplyRow(&expected, row);
    OCResetSettings(&seen, 0xFFFFFFFF, 0xFFFFFFFF, kDefaults);
    EXPECT_TRUE(SameRecord(expected, seen));
}

TEST(OCSettings, OneMaskAllOnesLeavesTheHeadAlone)
{
    const struct {
        uint32_t tool, curve;
    } cases[] = {{0xFFFFFFFF, 0}, {0, 0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFE}, {0x7FFFFFFF, 0xFFFFFFFF}};
    for (const auto& c : cases) {
        OCSettings seen = NoiseRecord(6);
        OCSettings expected = seen;
        for (const ResetRow& row : ResetRows())
            if ((row.toolMask & c.tool) || (row.curveMask & c.curve)) ApplyRow(&expected, row);
        if ((c.curve >> 1 & 15) == 15) Apply(&expected, {{1032, 0}});
        if ((c.curve >> 5 & 7) == 7) Apply(&expected, {{17504, 0}});
        OCResetSettings(&seen, c.tool, c.curve, kDefaults);
        EXPECT_TRUE(SameRecord(expected, seen)) << std::hex << c.tool << " " << c.curve;
        EXPECT_NE(seen.signature, kOCSettingsSignature);
        EXPECT_NE(seen.primaryOn, 0u);
    }
}

TEST(OCSettings, TheCurveSwitchesGoOffOnlyWithAllTheirCurves)
{
    for (uint32_t mask = 0; mask < 256; ++mask) {
        OCSettings seen = NoiseRecord(7);
        OCResetSettings(&seen, 0, mask, kDefaults);
        EXPECT_EQ(seen.rgbCurvesOn == 0, (mask & 0x1E) == 0x1E) << mask;
        EXPECT_EQ(seen.hslCurvesOn == 0, (mask & 0xE0) == 0xE0) << mask;
        EXPECT_NE(seen.curvesOn, 0u);
    }
    OCSettings oneByOne = NoiseRecord(8);
    for (uint32_t bit = 1; bit < 8; ++bit) OCResetSettings(&oneByOne, 0, 1u << bit, kDefaults);
    EXPECT_NE(oneByOne.rgbCurvesOn, 0u);
    EXPECT_NE(oneByOne.hslCurvesOn, 0u);
}

TEST(OCSettings, AHueOffsetResetKeepsTheWheels)
{
    OCSettings record = NeutralGrade();
    record.hueOffset.master.huewheel = 11;
    record.hueOffset.shadows.huewheel = 22;
    record.hueOffset.midtones.huewheel = 33;
    record.hueOffset.highlights.huewheel = 44;
    record.hueOffset.shadows.strength = 0.5f;
    OCResetSettings(&record, 1u << 16, 0, kDefaults);
    EXPECT_EQ(record.hueOffset.master.huewheel, 11u);
    EXPECT_EQ(record.hueOffset.shadows.huewheel, 22u);
    EXPECT_EQ(record.hueOffset.midtones.huewheel, 33u);
    EXPECT_EQ(record.hueOffset.highlights.huewheel, 44u);
    EXPECT_EQ(record.hueOffset.shadows.strength, 0);
}

TEST(OCSettings, ALevelsMasterResetClearsBothRecoveries)
{
    OCSettings record = NeutralGrade();
    record.inputControls_highlight_recovery = 0.5f;
    record.outputControls_highlight_recovery = 0.25f;
    OCResetSettings(&record, 0xF << 18, 0, kDefaults);
    EXPECT_EQ(record.inputControls_highlight_recovery, 0.5f);
    OCResetSettings(&record, 1u << 17, 0, kDefaults);
    EXPECT_EQ(record.inputControls_highlight_recovery, 0);
    EXPECT_EQ(record.outputControls_highlight_recovery, 0);
}

TEST(OCSettings, EveryVideoSystemReachesTheLimiterUnchanged)
{
    for (int32_t system : {1, 2, 3, 4}) {
        OCResetDefaults defaults = kDefaults;
        defaults.videoLevels.videoSystem = system;
        OCSettings record = {};
        OCResetSettings(&record, 1u << 28, 0, defaults);
        EXPECT_EQ(record.limiter.limiter_system, system);
        OCResetSettings(&record, 0xFFFFFFFF, 0xFFFFFFFF, defaults);
        EXPECT_EQ(record.limiter.limiter_system, system);
        EXPECT_EQ(record.videoLevels.videoSystem, system);
    }
}

TEST(OCSettings, AGradeInFullForceIsNotNeutralised)
{
    OCSettings seen = AllOn();
    const OCSettings expected = seen;
    OCNeutraliseSettings(&seen);
    EXPECT_TRUE(SameRecord(expected, seen));
}

TEST(OCSettings, EachSwitchNeutralisesItsToolsAndNoOther)
{
    struct Row {
        const char* name;
        uint32_t offset, toolMask, curveMask;
    };
    std::vector<Row> rows = {{"primaryOn", 4, 0x1000F, 0},
                             {"hslOn", 8, 0xF, 0},
                             {"rgbOn", 172, 0xF0, 0},
                             {"ycbcrOn", 384, 0xF00, 0},
                             {"cmyOn", 596, 0xF000, 0},
                             {"hueOffsetOn", 808, 0x10000, 0},
                             {"hueOffsetActive", 812, 0, 0},
                             {"levelsOn", 864, 0x3E0000, 0},
                             {"curvesOn", 1028, 0, 0xFE},
                             {"rgbCurvesOn", 1032, 0, 0x1E},
                             {"hslCurvesOn", 17504, 0, 0xE0},
                             {"lumaRangeOn", 29832, 1u << 30, 0},
                             {"secondaryOn", 29860, 0xFC00000, 0},
                             {"secondaryInUse", 29864, 0xFC00000, 0},
                             {"limiter_enable", 33376, 1u << 28, 0},
                             {"transferOn", 33504, 0, 0}};
    for (uint32_t i = 0; i < 4; ++i) {
        rows.push_back({"HSL block", 12 + 40 * i, 1u << i, 0});
        rows.push_back({"RGB block", 176 + 52 * i, 1u << (4 + i), 0});
        rows.push_back({"YCbCr block", 388 + 52 * i, 1u << (8 + i), 0});
        rows.push_back({"CMY block", 600 + 52 * i, 1u << (12 + i), 0});
    }
    for (uint32_t i = 0; i < 5; ++i) rows.push_back({"levels block", 868 + 32 * i + 4, 1u << (17 + i), 0});
    for (uint32_t i = 0; i < 6; ++i) rows.push_back({"secondary", 29868 + 124 * i, 1u << (22 + i), 0});
    for (const Row& row : rows) {
        OCSettings seen = AllOn();
        std::memset(reinterpret_cast<uint8_t*>(&seen) + row.offset, 0, 4);
        OCSettings expected = seen;
        OCResetSettings(&expected, row.toolMask, row.curveMask, kOCResetDefaults);
        OCNeutraliseSettings(&seen);
        EXPECT_TRUE(SameRecord(expected, seen)) << row.name << " at " << row.offset;
    }
}

TEST(OCSettings, HueOffsetsOutliveTheControlsTabButNotThePane)
{
    OCSettings record = NeutralGrade();
    record.primaryOn = record.hueOffsetOn = 1;
    record.hueOffset.master.strength = 0.5f;
    OCSettings copy = record;
    OCNeutraliseSettings(&copy);
    EXPECT_EQ(copy.hueOffset.master.strength, 0.5f);
    record.primaryOn = 0;
    copy = record;
    OCNeutraliseSettings(&copy);
    EXPECT_EQ(copy.hueOffset.master.strength, 0);
    EXPECT_EQ(copy.hueOffsetOn, 0u);
}

TEST(OCSettings, DefaultsOfAFreshRecordAreNeutral)
{
    const OCSettings record = NeutralGrade();
    EXPECT_EQ(record.signature, 0x12343210u);
    EXPECT_EQ(record.secondaryInUse, 1u);
    EXPECT_EQ(record.hsl.shadows.saturation, 100);
    EXPECT_EQ(record.hsl.shadows.contrastCenter, 0.5f);
    EXPECT_EQ(record.cmy.midtones.channel[2].gain, 1);
    EXPECT_EQ(record.levels[4].inwhitept, 1);
    EXPECT_EQ(record.rgbCurve[3].points.xy.pointCount, 2);
    EXPECT_EQ(record.hslCurve[1].points.xy.y[1], 0.5f);
    EXPECT_EQ(record.transfer.transferGamma, 2.2f);
    EXPECT_EQ(record.transfer.transferMode, 1);
    EXPECT_EQ(record.limiter.limiter_clip_method, 3);
    EXPECT_EQ(record.secondaryExtension[5].word12, 1u);
}
