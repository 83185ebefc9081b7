// The sections of the grade: which switches an edit in each of them must turn on to take effect.
#include "src/support/TincturaUIControls.h"

namespace {

#define TK_BLOCK(field) offsetof(OCSettings, field)

/// A tone range of a pane with one switch above the blocks.
#define TK_RANGE(section, label, group, range, groupSwitch, bit)                                                       \
    {                                                                                                                  \
        section, label, TK_BLOCK(group.range), 2, {TK_BLOCK(group.range.on), TK_BLOCK(groupSwitch), 0}, 1u << (bit), 0 \
    }

/// A tone range of the HSL pane: block, Controls tab, pane.
#define TK_HSL_RANGE(section, label, range, bit)                                                                       \
    {                                                                                                                  \
        section, label, TK_BLOCK(hsl.range), 3, {TK_BLOCK(hsl.range.on), TK_BLOCK(hslOn), TK_BLOCK(primaryOn)},        \
            1u << (bit), 0                                                                                             \
    }

#define TK_LEVELS(section, label, index, bit)                                                                          \
    {                                                                                                                  \
        section, label, TK_BLOCK(levels[index]), 2, {TK_BLOCK(levels[index].on), TK_BLOCK(levelsOn), 0}, 1u << (bit),  \
            0                                                                                                          \
    }

/// One curve of a tab: it shares the tab's switch with its neighbours.
#define TK_CURVE(section, label, curve, tabSwitch, bit)                                                                \
    {                                                                                                                  \
        section, label, TK_BLOCK(curve), 2, {TK_BLOCK(tabSwitch), TK_BLOCK(curvesOn), 0}, 0, 1u << (bit)               \
    }

/// A secondary with its extended record.
#define TK_SECONDARY(section, label, index)                                                                            \
    {                                                                                                                  \
        section, label, TK_BLOCK(secondary[index]), 2, {TK_BLOCK(secondary[index].on), TK_BLOCK(secondaryOn), 0},      \
            kOCResetSecondary << (index), kOCResetExtension << (index)                                                 \
    }

constexpr TKSection kSections[] = {
    TK_HSL_RANGE(tkSectionHSLMaster, "HSL Master", master, 0),
    TK_HSL_RANGE(tkSectionHSLHighlights, "HSL Highlights", highlights, 1),
    TK_HSL_RANGE(tkSectionHSLMidtones, "HSL Midtones", midtones, 2),
    TK_HSL_RANGE(tkSectionHSLShadows, "HSL Shadows", shadows, 3),
    TK_RANGE(tkSectionRGBMaster, "RGB Master", rgb, master, rgbOn, 4),
    TK_RANGE(tkSectionRGBHighlights, "RGB Highlights", rgb, highlights, rgbOn, 5),
    TK_RANGE(tkSectionRGBMidtones, "RGB Midtones", rgb, midtones, rgbOn, 6),
    TK_RANGE(tkSectionRGBShadows, "RGB Shadows", rgb, shadows, rgbOn, 7),
    TK_RANGE(tkSectionCMYMaster, "CMY Master", cmy, master, cmyOn, 12),
    TK_RANGE(tkSectionCMYHighlights, "CMY Highlights", cmy, highlights, cmyOn, 13),
    TK_RANGE(tkSectionCMYMidtones, "CMY Midtones", cmy, midtones, cmyOn, 14),
    TK_RANGE(tkSectionCMYShadows, "CMY Shadows", cmy, shadows, cmyOn, 15),
    TK_RANGE(tkSectionYCbCrMaster, "YCbCr Master", ycbcr, master, ycbcrOn, 8),
    TK_RANGE(tkSectionYCbCrHighlights, "YCbCr Highlights", ycbcr, highlights, ycbcrOn, 9),
    TK_RANGE(tkSectionYCbCrMidtones, "YCbCr Midtones", ycbcr, midtones, ycbcrOn, 10),
    TK_RANGE(tkSectionYCbCrShadows, "YCbCr Shadows", ycbcr, shadows, ycbcrOn, 11),
    TK_LEVELS(tkSectionLevelsMaster, "Levels Master", 0, 17),
    TK_LEVELS(tkSectionLevelsRed, "Levels Red", 1, 18),
    TK_LEVELS(tkSectionLevelsGreen, "Levels Green", 2, 19),
    TK_LEVELS(tkSectionLevelsBlue, "Levels Blue", 3, 20),
    {tkSectionHueOffsets,
     "Hue Offsets",
     TK_BLOCK(hueOffset),
     2,
     {TK_BLOCK(hueOffsetOn), TK_BLOCK(primaryOn), 0},
     kOCResetHueOffset,
     0},
    TK_CURVE(tkSectionCurveMaster, "Curves Master", rgbCurve[0], rgbCurvesOn, 1),
    TK_CURVE(tkSectionCurveRed, "Curves Red", rgbCurve[1], rgbCurvesOn, 2),
    TK_CURVE(tkSectionCurveGreen, "Curves Green", rgbCurve[2], rgbCurvesOn, 3),
    TK_CURVE(tkSectionCurveBlue, "Curves Blue", rgbCurve[3], rgbCurvesOn, 4),
    TK_CURVE(tkSectionCurveHue, "Curves Hue", hslCurve[0], hslCurvesOn, 5),
    TK_CURVE(tkSectionCurveSaturation, "Curves Saturation", hslCurve[1], hslCurvesOn, 6),
    TK_CURVE(tkSectionCurveLightness, "Curves Lightness", hslCurve[2], hslCurvesOn, 7),
    {tkSectionLumaRange, "Luma Range", TK_BLOCK(lumaRange), 1, {TK_BLOCK(lumaRangeOn), 0, 0}, kOCResetLumaRange, 0},
    TK_SECONDARY(tkSectionSecondaryA, "Secondary A", 0),
    TK_SECONDARY(tkSectionSecondaryB, "Secondary B", 1),
    TK_SECONDARY(tkSectionSecondaryC, "Secondary C", 2),
    TK_SECONDARY(tkSectionSecondaryD, "Secondary D", 3),
    TK_SECONDARY(tkSectionSecondaryE, "Secondary E", 4),
    TK_SECONDARY(tkSectionSecondaryF, "Secondary F", 5),
    {tkSectionLimiter, "Limiter", TK_BLOCK(limiter), 1, {TK_BLOCK(limiter_enable), 0, 0}, kOCResetLimiter, 0},
};

constexpr bool SectionsAreSound()
{
    uint32_t index = 0;
    for (const TKSection& section : kSections) {
        if (section.id != index++) return false;
        if (section.switchCount < 1 || section.switchCount > 3) return false;
        for (uint32_t i = 0; i < section.switchCount; ++i)
            if (section.switchOffset[i] % 4 != 0 || section.switchOffset[i] >= sizeof(OCSettings)) return false;
        if (section.toolMask == 0 && section.curveMask == 0) return false;
    }
    return index == tkSectionCount;
}
static_assert(SectionsAreSound());
static_assert(kOCResetRGBCurve == 1u << 1 && kOCResetHSLCurve == 1u << 5);
static_assert(kOCResetYCbCr == 1u << 8 && kOCResetCMY == 1u << 12 && kOCResetLevels == 1u << 17);

} // namespace

std::span<const TKSection> TKSections()
{
    return kSections;
}
