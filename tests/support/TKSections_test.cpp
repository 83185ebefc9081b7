// The switches that an edit turns on.
#include "tests/support/TKControlsTest.h"

#include "src/OCSettings.h"

namespace {

using TKSectionsTest = TKControlsTest;

TEST_F(TKSectionsTest, SwitchesAreSetInnermostFirstAndOnlyWhereNeeded)
{
    Live().hslOn = 77; // on already
    EXPECT_TRUE(MarkSectionActive(session_, tkSectionHSLShadows, true, true));
    EXPECT_EQ(Live().hsl.shadows.on, 1u);
    EXPECT_EQ(Live().hslOn, 77u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_FALSE(MarkSectionActive(session_, tkSectionHSLShadows, true, true));
    EXPECT_TRUE(MarkSectionActive(session_, tkSectionHSLShadows, false, false));
    EXPECT_EQ(Live().hsl.shadows.on, 0u);
    EXPECT_EQ(Live().primaryOn, 1u);
    EXPECT_FALSE(MarkSectionActive(session_, tkSectionNone, true, true));
}

/// The word at a byte offset of a record.
uint32_t WordAt(const OCSettings& settings, uint32_t offset)
{
    uint32_t word;
    std::memcpy(&word, reinterpret_cast<const uint8_t*>(&settings) + offset, 4);
    return word;
}

TEST_F(TKSectionsTest, EverySectionMarksWhatTheEngineAsksFor)
{
    for (const TKSection& section : TKSections()) {
        Live() = TKNeutralSettings();
        for (uint32_t i = 0; i < section.switchCount; ++i)
            std::memset(reinterpret_cast<uint8_t*>(&Live()) + section.switchOffset[i], 0, 4);
        EXPECT_TRUE(MarkSectionActive(session_, section.id, true, true)) << section.name;
        OCSettings reset = Live();
        OCResetSettings(&reset, section.toolMask, section.curveMask, kOCResetDefaults);
        // Its masks reset its own switch, except where neighbours share it or the host's wish decides.
        const bool shared = section.id >= tkSectionCurveMaster && section.id <= tkSectionCurveLightness;
        EXPECT_EQ(WordAt(reset, section.switchOffset[0]), shared || section.id == tkSectionLimiter ? 1u : 0u)
            << section.name;
        // No switch above it goes off.
        for (uint32_t i = 1; i < section.switchCount; ++i)
            EXPECT_EQ(WordAt(reset, section.switchOffset[i]), 1u) << section.name;
        // With all its switches on, what it holds survives the neutralising of what is off.
        OCSettings marked = Live();
        std::memset(reinterpret_cast<uint8_t*>(&marked) + section.blockOffset + 8, 0x3e, 4);
        const OCSettings before = marked;
        OCNeutraliseSettings(&marked);
        EXPECT_EQ(WordAt(marked, section.blockOffset + 8), WordAt(before, section.blockOffset + 8)) << section.name;
    }
}

} // namespace
