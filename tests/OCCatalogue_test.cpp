// The catalogue against lists of its own: spellings in tests/data, addresses computed here from plain numbers.
#include "src/OCCatalogue.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Lines(const char* name)
{
    const char* folder = std::getenv("OC_SOURCE_DIR");
    std::ifstream file(std::string(folder ? folder : ".") + "/tests/data/" + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

using Offsets = std::vector<uint32_t>;

void Run(Offsets* offsets, uint32_t first, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) offsets->push_back(first + 4 * i);
}

void Channels(Offsets* offsets, uint32_t first)
{
    for (uint32_t block = 0; block < 4; ++block) Run(offsets, first + 52 * block + 4, 12);
}

/// Addresses of all keys, group by group.
Offsets KeyOffsets()
{
    Offsets offsets;
    for (uint32_t block = 0; block < 4; ++block) Run(&offsets, 12 + 40 * block + 4, 9);
    Channels(&offsets, 176);
    Channels(&offsets, 388);
    Channels(&offsets, 600);
    Run(&offsets, 816, 12);
    for (uint32_t block = 0; block < 5; ++block) Run(&offsets, 868 + 32 * block + 8, 6);
    Run(&offsets, 29844, 4);
    for (uint32_t i = 0; i < 6; ++i)
        for (uint32_t field : {4u, 8u, 12u, 16u, 24u, 28u, 32u, 36u, 40u, 44u, 112u, 116u, 120u})
            offsets.push_back(29868 + 124 * i + field);
    Run(&offsets, 33376, 12);
    Run(&offsets, 33540, 2);
    return offsets;
}

/// Addresses of all names; 0 is a separator.
Offsets NameOffsets()
{
    Offsets offsets = {33540, 0};
    for (uint32_t block = 0; block < 4; ++block) {
        Run(&offsets, 12 + 40 * block + 4, 9);
        if (block == 3) std::swap(offsets[offsets.size() - 8], offsets[offsets.size() - 7]); // vibrance comes first
        offsets.push_back(0);
    }
    Run(&offsets, 816, 12);
    offsets.push_back(0);
    for (uint32_t group : {176u, 388u, 600u})
        for (uint32_t block = 0; block < 4; ++block) {
            Run(&offsets, group + 52 * block + 4, 12);
            offsets.push_back(0);
        }
    for (uint32_t i = 0; i < 6; ++i) {
        for (uint32_t field : {4u, 8u, 12u, 24u, 28u, 32u, 36u, 40u, 44u, 112u, 116u, 120u})
            offsets.push_back(29868 + 124 * i + field);
        offsets.push_back(0);
    }
    offsets.push_back(33544);
    offsets.push_back(0);
    Run(&offsets, 33376, 9);
    return offsets;
}

bool EndsIn(const std::string& text, const char* end)
{
    const std::string tail = end;
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

OCNameKind KindOf(const std::string& name)
{
    if (name == "-") return ocNameSeparator;
    if (EndsIn(name, "Hue Wheel")) return ocNameHueWheel;
    if (EndsIn(name, "Tint Angle")) return ocNameTintAngle;
    if (EndsIn(name, "Enable") || EndsIn(name, "Preview") || EndsIn(name, "Invert")) return ocNameSwitch;
    return ocNameFloat;
}

} // namespace

TEST(OCCatalogue, HoldsEveryKeyInOrderWithItsAddress)
{
    const auto keys = OCParameterKeys();
    const auto spelled = Lines("catalogue-keys.txt");
    const Offsets offsets = KeyOffsets();
    ASSERT_EQ(keys.size(), 318u);
    ASSERT_EQ(spelled.size(), 318u);
    ASSERT_EQ(offsets.size(), 318u);
    for (size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(keys[i].key, spelled[i]) << "row " << i;
        EXPECT_EQ(keys[i].offset, offsets[i]) << "row " << i << ", " << spelled[i];
    }
}

TEST(OCCatalogue, HoldsEveryNameInOrderWithItsAddressAndKind)
{
    const auto names = OCParameterNames();
    const auto spelled = Lines("catalogue-names.txt");
    const Offsets offsets = NameOffsets();
    ASSERT_EQ(names.size(), 300u);
    ASSERT_EQ(spelled.size(), 275u);
    ASSERT_EQ(offsets.size(), 300u);
    size_t next = 0;
    size_t separators = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string expected = offsets[i] == 0 ? "-" : spelled[next++];
        separators += offsets[i] == 0;
        EXPECT_EQ(names[i].name, expected) << "row " << i;
        EXPECT_EQ(names[i].offset, offsets[i]) << "row " << i << ", " << expected;
        EXPECT_EQ(names[i].kind, KindOf(expected)) << "row " << i << ", " << expected;
    }
    EXPECT_EQ(next, 275u);
    EXPECT_EQ(separators, 25u);
}

// Deliberate spellings: whoever binds by name has always found them so.
TEST(OCCatalogue, TheTwelveGroupPedestalsBearTheNameOfTheGain)
{
    for (uint32_t group : {176u, 388u, 600u})
        for (uint32_t block = 0; block < 4; ++block) {
            const uint32_t gain = group + 52 * block + 4;
            std::vector<std::string> keys, names;
            for (const OCKeyRow& row : OCParameterKeys())
                if (row.offset == gain || row.offset == gain + 8) keys.push_back(row.key);
            for (const OCNameRow& row : OCParameterNames())
                if (row.offset == gain || row.offset == gain + 8) names.push_back(row.name);
            ASSERT_EQ(keys.size(), 2u);
            ASSERT_EQ(names.size(), 2u);
            EXPECT_EQ(keys[0], keys[1]);
            EXPECT_EQ(names[0], names[1]);
            EXPECT_TRUE(EndsIn(keys[0], "_gain"));
        }
}

TEST(OCCatalogue, HueOffsetKeysAreSingularAndNamesPlural)
{
    std::set<std::string> keys, names;
    for (const OCKeyRow& row : OCParameterKeys()) keys.insert(row.key);
    for (const OCNameRow& row : OCParameterNames()) names.insert(row.name);
    EXPECT_TRUE(keys.count("hueoffset_shadow_huewheel"));
    EXPECT_FALSE(keys.count("hueoffset_shadows_huewheel"));
    EXPECT_TRUE(names.count("Hue Offset Shadows Hue Wheel"));
    EXPECT_FALSE(names.count("Hue Offset Shadow Hue Wheel"));
    EXPECT_TRUE(keys.count("secondary_a_preview"));
    EXPECT_FALSE(names.count("Secondary A Preview"));
}

TEST(OCCatalogue, ShadowsVibranceStandsBeforeShadowsSaturationAlone)
{
    const auto names = OCParameterNames();
    size_t swapped = 0;
    for (size_t i = 0; i + 1 < names.size(); ++i)
        if (EndsIn(names[i].name, "Vibrance") && EndsIn(names[i + 1].name, "Saturation")) {
            EXPECT_STREQ(names[i].name, "HSL Shadows Vibrance");
            ++swapped;
        }
    EXPECT_EQ(swapped, 1u);
}
