// The greys by brightness and the accents by saturation.
#include "src/support/TKPalette.h"

#include <gtest/gtest.h>

namespace {

TEST(TKPalette, FullBrightnessKeepsTheBaseAndInvertsNothing)
{
    TKPalette palette = {};
    PrepareUIPalette(&palette, 65536);
    EXPECT_EQ(palette.grey[0].red, 56797);
    EXPECT_EQ(palette.grey[18].green, 48496);
    EXPECT_EQ(palette.grey[28].blue, 0);
    EXPECT_EQ(palette.grey[38].blue, 32768);
    EXPECT_EQ(palette.grey[40].red, 29000);
    EXPECT_EQ(palette.grey[5].red, 65535);
}

TEST(TKPalette, TheDefaultIsDarkAndItsTextsAreInverted)
{
    TKPalette palette = {};
    PrepareUIPalette(&palette, 22282);
    EXPECT_EQ(palette.grey[18].red, static_cast<uint16_t>(48496.0 * 22282 / 65536 + 0.5));
    EXPECT_EQ(palette.grey[19].red, 65535);
    EXPECT_EQ(palette.grey[28].red, 65535);
    EXPECT_EQ(palette.grey[29].red, 65535 - 11141);
    EXPECT_EQ(palette.grey[20].red, 65535 - 11141);
    EXPECT_EQ(palette.grey[37].red, 65535);
    EXPECT_EQ(palette.grey[38].red, 65535 - 11141);
    EXPECT_EQ(palette.grey[30].red, 0); // its neighbour is no text
    EXPECT_EQ(palette.grey[40].red, 9860);
    for (const TKColor& grey : palette.grey) EXPECT_TRUE(grey.red == grey.green && grey.green == grey.blue);
}

TEST(TKPalette, TheBorderOfDarkIsAtFiftyFivePercent)
{
    TKPalette palette = {};
    PrepareUIPalette(&palette, 48710); // 36044.9 of entry 18
    EXPECT_EQ(palette.grey[18].red, 36045);
    EXPECT_EQ(palette.grey[28].red, 0);
    PrepareUIPalette(&palette, 48709);
    EXPECT_EQ(palette.grey[18].red, 36044);
    EXPECT_EQ(palette.grey[28].red, 65535);
}

TEST(TKPalette, AnAbsurdBrightnessIsClamped)
{
    TKPalette palette = {};
    PrepareUIPalette(&palette, 0xFFFFFFFFu);
    EXPECT_EQ(palette.grey[0].red, 65535);
    EXPECT_EQ(palette.grey[1].red, 0);
    PrepareUIPalette(&palette, 0);
    EXPECT_EQ(palette.grey[0].red, 0);
}

TEST(TKPalette, FullSaturationKeepsTheAccentsButTheGrey)
{
    TKPalette palette = {};
    PrepareAccentTable(&palette, 65536);
    EXPECT_EQ(palette.accent[0].red, 52736);
    EXPECT_EQ(palette.accent[4].blue, 65535);
    EXPECT_EQ(palette.accent[11].green, 26214);
    EXPECT_EQ(palette.accent[12].blue, 41891);
    const uint16_t luma = static_cast<uint16_t>(0.587 * 55535 + 0.5);
    EXPECT_EQ(palette.accent[5].red, luma);
    EXPECT_EQ(palette.accent[5].green, luma);
    EXPECT_EQ(palette.accent[5].blue, luma);
}

TEST(TKPalette, NoSaturationMakesGreysOfTheMutedOnes)
{
    TKPalette palette = {};
    PrepareAccentTable(&palette, 0);
    for (const uint32_t i : {0u, 1u, 2u, 3u, 4u, 6u, 7u, 8u, 9u, 10u}) {
        EXPECT_EQ(palette.accent[i].red, palette.accent[i].green) << i;
        EXPECT_EQ(palette.accent[i].green, palette.accent[i].blue) << i;
    }
    EXPECT_EQ(palette.accent[11].blue, 65535); // the last two are not muted
    EXPECT_EQ(palette.accent[12].red, 1285);
    EXPECT_EQ(palette.accent[2].red, static_cast<uint16_t>(0.299 * 65535 + 0.5));
}

TEST(TKPalette, MutingClampsWhatASaturationAboveOneOvershoots)
{
    const TKColor color = DesaturateColor({65535, 0, 0}, 3 * 65536);
    EXPECT_EQ(color.red, 65535);
    EXPECT_EQ(color.green, 0);
}

TEST(TKPalette, AColorRefHasBlueOnTop)
{
    EXPECT_EQ(TKColorRef({0xFFFF, 0xCC00, 0}), 0x00CCFFu);
}

} // namespace
