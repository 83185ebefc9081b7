// The rows of the tool panes, and the tree of tabs above them.
#include "src/UI/ToolPanes.h"

#include "src/OCColorMatch.h"
#include "src/support/TKCommands.h"

namespace {

#define AT(field) static_cast<uint32_t>(offsetof(OCSettings, field))

// Rows of every kind ---------------------------------------------------------------------------------------------------

constexpr TKControlRow Slider(TKSliderRow bind, bool startsBlock = false)
{
    return {.kind = tkRowSlider, .bind = bind, .startsBlock = startsBlock};
}

/// A control that is bound to a field without a range.
constexpr TKControlRow Bound(TKRowKind kind, const char* label, const char* name, uint32_t offset, bool startsBlock)
{
    return {.kind = kind,
            .bind = {.label = label,
                     .objectName = name,
                     .offset = offset,
                     .low = 0,
                     .high = 1,
                     .entryLow = 0,
                     .entryHigh = 1,
                     .neutral = 0,
                     .flags = 0},
            .startsBlock = startsBlock};
}

constexpr TKControlRow Checkbox(const char* label, const char* name, uint32_t offset, bool startsBlock = false)
{
    return Bound(tkRowCheckbox, label, name, offset, startsBlock);
}

constexpr TKControlRow Popup(const char* label, const char* name, uint32_t offset, const char* items,
                             bool startsBlock = false)
{
    TKControlRow row = Bound(tkRowPopup, label, name, offset, startsBlock);
    row.items = items;
    return row;
}

constexpr TKControlRow Button(const char* label, const char* name, uint32_t command)
{
    TKControlRow row = Bound(tkRowButton, label, name, 0, false);
    row.command = command;
    return row;
}

constexpr TKControlRow Reset()
{
    return Button("Reset", "reset", kTKCommandResetGroup);
}

// Classes of sliders ---------------------------------------------------------------------------------------------------

constexpr TKSliderRow Hue(uint32_t offset)
{
    return {"Hue", "hue", offset, -360, 360, -3600, 3600, 0};
}

constexpr TKSliderRow Saturation(uint32_t offset)
{
    return {"Saturation", "saturation", offset, 0, 300, -1000, 1000, 100};
}

constexpr TKSliderRow Percent(const char* label, const char* name, uint32_t offset)
{
    return {label, name, offset, -100, 100, -100, 100, 0};
}

constexpr TKSliderRow Gain(const char* label, const char* name, uint32_t offset)
{
    return {label, name, offset, 0, 3, 0, 20, 1};
}

constexpr TKSliderRow Gamma(const char* label, const char* name, uint32_t offset)
{
    return {label, name, offset, 0.1, 5, 0.1, 10, 1};
}

constexpr TKSliderRow Pedestal(const char* label, const char* name, uint32_t offset)
{
    return {label, name, offset, -1, 1, -1, 1, 0};
}

// HSL ------------------------------------------------------------------------------------------------------------------

#define HSL(field) TK_FLOAT_FIELD(OCHSLBlock, field)

constexpr TKControlRow kHSLRows[] = {
    Slider(Hue(HSL(hue)), true),
    Slider(Saturation(HSL(saturation))),
    Slider(Percent("Vibrance", "vibrance", HSL(vibrance))),
    Slider(Percent("Brightness", "brightness", HSL(brightness)), true),
    Slider(Percent("Contrast", "contrast", HSL(contrast))),
    Slider({"Contrast Center", "contrastCenter", HSL(contrastCenter), 0, 1, 0, 1, 0.5}),
    Slider(Gain("RGB Gain", "gain", HSL(gain)), true),
    Slider(Gamma("Gamma", "gamma", HSL(gamma))),
    Slider(Pedestal("Pedestal", "pedestal", HSL(pedestal))),
    Reset(),
};

#define WHEEL(range) static_cast<uint32_t>(offsetof(OCHueOffsetBlock, range))

constexpr TKControlRow kHueOffsetRows[] = {
    Bound(tkRowHueWheel, "Master", "master", WHEEL(master), true),
    Bound(tkRowHueWheel, "Shadows", "shadow", WHEEL(shadows), true),
    Bound(tkRowHueWheel, "Midtones", "midtone", WHEEL(midtones), true),
    Bound(tkRowHueWheel, "Highlights", "highlight", WHEEL(highlights), true),
    Reset(),
};

// RGB, CMY, YCbCr ------------------------------------------------------------------------------------------------------

constexpr uint32_t kGroup = offsetof(OCChannelBlock, group);
constexpr uint32_t kChannel = offsetof(OCChannelBlock, channel);
constexpr uint32_t kTriple = sizeof(OCTriple);

// The pane shows gamma, pedestal, gain; the record holds gain, gamma, pedestal.
#define TRIPLE(label, prefix, pedName, triple)                                                                         \
    Slider(Gamma(label " Gamma", prefix "gamma", (triple) + TK_FLOAT_FIELD(OCTriple, gamma)), true),                   \
        Slider(Pedestal(label " Pedestal", prefix pedName, (triple) + TK_FLOAT_FIELD(OCTriple, pedestal))),            \
        Slider(Gain(label " Gain", prefix "gain", (triple) + TK_FLOAT_FIELD(OCTriple, gain)))

constexpr TKControlRow kRGBRows[] = {
    TRIPLE("Master", "", "pedestal", kGroup),
    TRIPLE("Red", "r_", "ped", kChannel),
    TRIPLE("Green", "g_", "ped", kChannel + kTriple),
    TRIPLE("Blue", "b_", "ped", kChannel + 2 * kTriple),
    Reset(),
};

constexpr TKControlRow kCMYRows[] = {
    TRIPLE("Master", "", "pedestal", kGroup),
    TRIPLE("Cyan", "c_", "ped", kChannel),
    TRIPLE("Magenta", "m_", "ped", kChannel + kTriple),
    TRIPLE("Yellow", "y_", "ped", kChannel + 2 * kTriple),
    Reset(),
};

constexpr TKControlRow kYCbCrRows[] = {
    TRIPLE("Y", "y_", "ped", kChannel),
    TRIPLE("Cb", "cb_", "ped", kChannel + kTriple),
    TRIPLE("Cr", "cr_", "ped", kChannel + 2 * kTriple),
    Reset(),
};

// Curves ---------------------------------------------------------------------------------------------------------------

constexpr TKControlRow Curve(const char* label, const char* name, uint32_t offset, TKSectionID section, int32_t channel)
{
    TKControlRow row = Bound(tkRowCurve, label, name, offset, true);
    row.section = section;
    row.channel = channel;
    return row;
}

constexpr TKControlRow kRGBCurveRows[] = {
    Curve("Master", "master", AT(rgbCurve[0]), tkSectionCurveMaster, 0),
    Curve("Red", "red", AT(rgbCurve[1]), tkSectionCurveRed, 1),
    Curve("Green", "green", AT(rgbCurve[2]), tkSectionCurveGreen, 2),
    Curve("Blue", "blue", AT(rgbCurve[3]), tkSectionCurveBlue, 3),
    Bound(tkRowEyedroppers, "Points", "points", AT(curveSelection), false),
    Reset(),
    Button("Save...", "save", kTKCommandSaveCurves),
    Button("Load...", "load", kTKCommandLoadCurves),
};

constexpr TKControlRow kHSLCurveRows[] = {
    Curve("Hue", "hue", AT(hslCurve[0]), tkSectionCurveHue, -1),
    Curve("Saturation", "saturation", AT(hslCurve[1]), tkSectionCurveSaturation, -1),
    Curve("Lightness", "lightness", AT(hslCurve[2]), tkSectionCurveLightness, -1),
    Reset(),
};

// Levels, luma ranges --------------------------------------------------------------------------------------------------

constexpr TKControlRow Levels(const char* label, int32_t channel)
{
    TKControlRow row = Bound(tkRowLevels, label, "levels", 0, true);
    row.channel = channel;
    return row;
}

constexpr TKControlRow WholeName(TKControlRow row)
{
    row.hasWholeName = true;
    return row;
}

constexpr TKControlRow kLevelsMasterRows[] = {
    Levels("Master", 1),
    WholeName(Slider({"Highlight Recovery (Input)", "inputControls_highlight_recovery",
                      AT(inputControls_highlight_recovery) - AT(levels[0]), 0, 1, 0, 1, 0},
                     true)),
    Reset(),
    Button("Auto Exposure", "auto_exposure", kTKCommandAutoExposure),
    Button("Auto Color", "auto_color", kTKCommandAutoColor),
};
constexpr TKControlRow kLevelsRedRows[] = {Levels("Red", 2), Reset()};
constexpr TKControlRow kLevelsGreenRows[] = {Levels("Green", 3), Reset()};
constexpr TKControlRow kLevelsBlueRows[] = {Levels("Blue", 4), Reset()};

constexpr TKControlRow kLumaRangeRows[] = {Bound(tkRowLumaRange, "Luma Ranges", "editor", 0, true), Reset()};

// Secondaries ----------------------------------------------------------------------------------------------------------

#define SECONDARY(field) TK_FLOAT_FIELD(OCSecondary, field)
#define IN_SECONDARY(field) static_cast<uint32_t>(offsetof(OCSecondary, field))

constexpr TKControlRow kSecondaryRows[] = {
    Bound(tkRowColorSample, "Sample 1", "sample1", IN_SECONDARY(sample[0]), true),
    Bound(tkRowColorSample, "Sample 2", "sample2", IN_SECONDARY(sample[1]), false),
    Bound(tkRowColorSample, "Sample 3", "sample3", IN_SECONDARY(sample[2]), true),
    Bound(tkRowColorSample, "Sample 4", "sample4", IN_SECONDARY(sample[3]), false),
    Slider({"Chroma Tolerance", "chromatol", SECONDARY(chromatol), 0, 0.5, 0, 1, 0.1}, true),
    Slider({"Luma Tolerance", "lumatol", SECONDARY(lumatol), 0, 0.5, 0, 1, 0.05}),
    Slider({"Softness", "softness", SECONDARY(softness), 0, 0.3, 0, 1, 0.05}),
    Checkbox("Invert Selection", "invert", IN_SECONDARY(invert)),
    Checkbox("Show Preview", "preview", IN_SECONDARY(preview)),
    Popup("Preview Style", "previewstyle", IN_SECONDARY(previewStyle), kTKPreviewStyleItems),
    Slider(Hue(SECONDARY(hue)), true),
    Slider(Saturation(SECONDARY(saturation))),
    Slider(Gain("Gain", "gain", SECONDARY(gain))),
    Slider(Gamma("Gamma", "gamma", SECONDARY(gamma))),
    Slider(Pedestal("Pedestal", "ped", SECONDARY(ped))),
    Bound(tkRowHueWheel, "Hue Offset", "hueoffset", IN_SECONDARY(hueoffset_huewheel), true),
    Reset(),
};
// The fields of a secondary's wheel stand as those of a range.
static_assert(IN_SECONDARY(hueoffset_tintangle) - IN_SECONDARY(hueoffset_huewheel) ==
              offsetof(OCHueOffsetTriple, tintangle));
static_assert(IN_SECONDARY(hueoffset_strength) - IN_SECONDARY(hueoffset_huewheel) ==
              offsetof(OCHueOffsetTriple, strength));

// Limiter --------------------------------------------------------------------------------------------------------------

/// What is typed reaches as far as the track.
constexpr TKControlRow Limit(const char* label, const char* name, uint32_t offset, double low, double high,
                             double neutral, bool startsBlock = false)
{
    return Slider({label, name, offset, low, high, low, high, neutral}, startsBlock);
}

#define LIMITER(field) TK_FLOAT_FIELD(OCLimiterBlock, field)
#define IN_LIMITER(field) static_cast<uint32_t>(offsetof(OCLimiterBlock, field))
constexpr uint32_t kPreviewBeforeBlock = AT(limiter_preview) - AT(limiter); // wraps: the word stands before the block

constexpr TKControlRow kLimiterRows[] = {
    Checkbox("Soft Clip Enable", "softclip_enable", IN_LIMITER(limiter_softclip_enable), true),
    Limit("Soft Clip Knee Level", "softclip_knee", LIMITER(limiter_softclip_knee), 60, 100, 90),
    Limit("Soft Clip White Level", "softclip_white_level", LIMITER(limiter_softclip_white_level), 80, 120, 100),
    Limit("Soft Clip Max Level", "softclip_max_level", LIMITER(limiter_softclip_max_level), 110, 160, 130),
    Limit("Luma Hard Clip Level", "luma_max", LIMITER(limiter_luma_max), 70, 130, 120, true),
    Limit("Chroma Max Limit", "chroma_max", LIMITER(limiter_chroma_max), 70, 130, 110),
    Limit("Chroma Min Limit", "chroma_min", LIMITER(limiter_chroma_min), -40, 0, -30),
    Popup("Limit Method", "clip_method", IN_LIMITER(limiter_clip_method), kTKLimitMethodItems, true),
    Popup("Video System", "system", IN_LIMITER(limiter_system), kTKVideoSystemItems),
    Checkbox("Preview Out of Limit Chroma", "preview", kPreviewBeforeBlock),
    Reset(),
};

// Pages ----------------------------------------------------------------------------------------------------------------

constexpr TKPageRow Page(const char* prefix, TKSectionID section, uint32_t block, uint32_t toolMask, uint32_t curveMask,
                         std::span<const TKControlRow> rows, int32_t match = kTKNoMatch)
{
    return {.prefix = prefix,
            .section = section,
            .blockOffset = block,
            .toolMask = toolMask,
            .curveMask = curveMask,
            .rows = rows,
            .match = match};
}

constexpr TKPageRow kHSLPages[] = {
    Page("hsl_master", tkSectionHSLMaster, AT(hsl.master), kOCResetHSL, 0, kHSLRows, ocMatchHSL),
    Page("hsl_highlights", tkSectionHSLHighlights, AT(hsl.highlights), kOCResetHSL << 1, 0, kHSLRows, ocMatchHSL),
    Page("hsl_midtones", tkSectionHSLMidtones, AT(hsl.midtones), kOCResetHSL << 2, 0, kHSLRows, ocMatchHSL),
    Page("hsl_shadows", tkSectionHSLShadows, AT(hsl.shadows), kOCResetHSL << 3, 0, kHSLRows, ocMatchHSL),
};
constexpr TKPageRow kHueOffsetPage =
    Page("hueoffset", tkSectionHueOffsets, AT(hueOffset), kOCResetHueOffset, 0, kHueOffsetRows);

#define RANGE_PAGES(name, section, group, bit, rows, match)                                                            \
    {                                                                                                                  \
        Page(name "_master", section##Master, AT(group.master), (bit), 0, rows, match),                                \
            Page(name "_highlights", section##Highlights, AT(group.highlights), (bit) << 1, 0, rows, match),           \
            Page(name "_midtones", section##Midtones, AT(group.midtones), (bit) << 2, 0, rows, match),                 \
            Page(name "_shadows", section##Shadows, AT(group.shadows), (bit) << 3, 0, rows, match),                    \
    }
constexpr TKPageRow kRGBPages[] = RANGE_PAGES("rgb", tkSectionRGB, rgb, kOCResetRGB, kRGBRows, ocMatchRGB);
constexpr TKPageRow kCMYPages[] = RANGE_PAGES("cmy", tkSectionCMY, cmy, kOCResetCMY, kCMYRows, ocMatchCMY);
constexpr TKPageRow kYCbCrPages[] =
    RANGE_PAGES("ycbcr", tkSectionYCbCr, ycbcr, kOCResetYCbCr, kYCbCrRows, ocMatchYCbCr);

// The curves of a tab are reset together, which switches the tab off.
constexpr TKPageRow kRGBCurvePage =
    Page("curves_rgb", tkSectionCurveMaster, 0, 0, 15 * kOCResetRGBCurve, kRGBCurveRows, ocMatchCurves);
// Deliberate: a match adds its points to the RGB curves from here too, for it belongs to the pane and not to its tab.
constexpr TKPageRow kHSLCurvePage =
    Page("curves_hsl", tkSectionCurveHue, 0, 0, 7 * kOCResetHSLCurve, kHSLCurveRows, ocMatchCurves);

constexpr TKPageRow kLevelsPages[] = {
    Page("levels_master", tkSectionLevelsMaster, AT(levels[0]), kOCResetLevels, 0, kLevelsMasterRows),
    Page("levels_red", tkSectionLevelsRed, AT(levels[1]), kOCResetLevels << 1, 0, kLevelsRedRows),
    Page("levels_green", tkSectionLevelsGreen, AT(levels[2]), kOCResetLevels << 2, 0, kLevelsGreenRows),
    Page("levels_blue", tkSectionLevelsBlue, AT(levels[3]), kOCResetLevels << 3, 0, kLevelsBlueRows),
};
constexpr TKPageRow kLumaRangePage =
    Page("lumarange", tkSectionLumaRange, AT(lumaRange), kOCResetLumaRange, 0, kLumaRangeRows);

constexpr TKPageRow SecondaryPage(const char* prefix, uint32_t index)
{
    return Page(prefix, static_cast<TKSectionID>(tkSectionSecondaryA + index),
                AT(secondary) + index * static_cast<uint32_t>(sizeof(OCSecondary)), kOCResetSecondary << index,
                kOCResetExtension << index, kSecondaryRows, ocMatchSecondary);
}
constexpr TKPageRow kSecondaryPages[] = {SecondaryPage("secondary_a", 0), SecondaryPage("secondary_b", 1),
                                         SecondaryPage("secondary_c", 2), SecondaryPage("secondary_d", 3),
                                         SecondaryPage("secondary_e", 4), SecondaryPage("secondary_f", 5)};
constexpr TKPageRow kLimiterPage = Page("limiter", tkSectionLimiter, AT(limiter), kOCResetLimiter, 0, kLimiterRows);

// Tabs -----------------------------------------------------------------------------------------------------------------

constexpr TKTabRow Leaf(const char* label, const char* name, uint32_t switchOffset, const TKPageRow* page)
{
    return {
        .label = label, .objectName = name, .switchOffset = switchOffset, .tabs = nullptr, .tabCount = 0, .page = page};
}

constexpr TKTabRow Branch(const char* label, const char* name, uint32_t switchOffset, std::span<const TKTabRow> tabs)
{
    return {.label = label,
            .objectName = name,
            .switchOffset = switchOffset,
            .tabs = tabs.data(),
            .tabCount = static_cast<uint32_t>(tabs.size()),
            .page = nullptr};
}

#define RANGE_TABS(name, group, pages)                                                                                 \
    {                                                                                                                  \
        Leaf("Master", name "_master", AT(group.master.on), &pages[0]),                                                \
            Leaf("Highlights", name "_highlights", AT(group.highlights.on), &pages[1]),                                \
            Leaf("Midtones", name "_midtones", AT(group.midtones.on), &pages[2]),                                      \
            Leaf("Shadows", name "_shadows", AT(group.shadows.on), &pages[3]),                                         \
    }
constexpr TKTabRow kHSLRangeTabs[] = RANGE_TABS("hsl", hsl, kHSLPages);
constexpr TKTabRow kRGBTabs[] = RANGE_TABS("rgb", rgb, kRGBPages);
constexpr TKTabRow kCMYTabs[] = RANGE_TABS("cmy", cmy, kCMYPages);
constexpr TKTabRow kYCbCrTabs[] = RANGE_TABS("ycbcr", ycbcr, kYCbCrPages);

constexpr TKTabRow kHSLTabs[] = {
    Branch("Controls", "pane_hsl_controls", AT(hslOn), kHSLRangeTabs),
    Leaf("Hue Offsets", "hueoffset", AT(hueOffsetOn), &kHueOffsetPage),
};
constexpr TKTabRow kCurveTabs[] = {
    Leaf("RGB", "curves_rgb", AT(rgbCurvesOn), &kRGBCurvePage),
    Leaf("HSL", "curves_hsl", AT(hslCurvesOn), &kHSLCurvePage),
};
constexpr TKTabRow kLevelsTabs[] = {
    Leaf("Master", "levels_master", AT(levels[0].on), &kLevelsPages[0]),
    Leaf("Red", "levels_red", AT(levels[1].on), &kLevelsPages[1]),
    Leaf("Green", "levels_green", AT(levels[2].on), &kLevelsPages[2]),
    Leaf("Blue", "levels_blue", AT(levels[3].on), &kLevelsPages[3]),
};
constexpr TKTabRow kSecondaryTabs[] = {
    Leaf("A", "secondary_a", AT(secondary[0].on), &kSecondaryPages[0]),
    Leaf("B", "secondary_b", AT(secondary[1].on), &kSecondaryPages[1]),
    Leaf("C", "secondary_c", AT(secondary[2].on), &kSecondaryPages[2]),
    Leaf("D", "secondary_d", AT(secondary[3].on), &kSecondaryPages[3]),
    Leaf("E", "secondary_e", AT(secondary[4].on), &kSecondaryPages[4]),
    Leaf("F", "secondary_f", AT(secondary[5].on), &kSecondaryPages[5]),
};

constexpr TKTabRow kPanes[] = {
    Branch("HSL", "pane_hsl", AT(primaryOn), kHSLTabs),
    Branch("RGB", "pane_rgb", AT(rgbOn), kRGBTabs),
    Branch("CMY", "pane_cmy", AT(cmyOn), kCMYTabs),
    Branch("YCbCr", "pane_ycbcr", AT(ycbcrOn), kYCbCrTabs),
    Branch("Curves", "pane_curves", AT(curvesOn), kCurveTabs),
    Branch("Levels", "pane_levels", AT(levelsOn), kLevelsTabs),
    Leaf("Luma Range", "pane_lumarange", AT(lumaRangeOn), &kLumaRangePage),
    Branch("Secondary", "pane_secondary", AT(secondaryOn), kSecondaryTabs),
    Leaf("Limiting", "pane_limiting", AT(limiter_enable), &kLimiterPage),
};

// Proofs ---------------------------------------------------------------------------------------------------------------

/// Labels, fields inside the record, sliders with sound ranges, lists and commands where they belong.
constexpr bool RowsAreSound(const TKPageRow& page)
{
    for (const TKControlRow& row : page.rows) {
        TKSliderRow bind = row.bind;
        bind.offset += page.blockOffset;
        if (row.kind == tkRowButton) bind.offset = 0;
        if (!TKSlidersAreSound({&bind, 1}, sizeof(OCSettings))) return false;
        if ((row.kind == tkRowPopup) != (row.items != nullptr)) return false;
        if ((row.kind == tkRowButton) != (row.command != 0)) return false;
    }
    return !page.rows.empty() && (page.toolMask != 0 || page.curveMask != 0);
}

constexpr bool TabsAreSound(std::span<const TKTabRow> tabs, int depth)
{
    for (const TKTabRow& tab : tabs) {
        if (depth > 3 || (tab.page != nullptr) == (tab.tabCount != 0)) return false;
        if (tab.page ? !RowsAreSound(*tab.page) : !TabsAreSound({tab.tabs, tab.tabCount}, depth + 1)) return false;
    }
    return true;
}
static_assert(TabsAreSound(kPanes, 1) && std::size(kPanes) == 9);

} // namespace

std::span<const TKTabRow> TKToolPanes()
{
    return kPanes;
}
