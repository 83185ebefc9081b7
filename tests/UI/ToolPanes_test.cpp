// The tables of the panes: every label, field, range and list, and the walk over them.
#include "src/UI/ToolPanes.h"

#include "src/OCCatalogue.h"
#include "src/UI/UIImageScale.h"
#include "src/support/TKCommands.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

namespace {

const char* KindName(TKRowKind kind)
{
    switch (kind) {
    case tkRowSlider: return "slider";
    case tkRowCheckbox: return "checkbox";
    case tkRowPopup: return "popup";
    case tkRowColorSample: return "sample";
    case tkRowHueWheel: return "wheel";
    case tkRowCurve: return "curve";
    case tkRowLevels: return "levels";
    case tkRowLumaRange: return "luma ranges";
    case tkRowEyedroppers: return "eyedroppers";
    case tkRowButton: return "button";
    }
    return "";
}

void Tell(std::span<const TKTabRow> tabs, const std::string& indent, std::string* text)
{
    for (const TKTabRow& tab : tabs) {
        *text += indent + tab.label + "\n";
        if (!tab.page) {
            Tell({tab.tabs, tab.tabCount}, indent + "  ", text);
            continue;
        }
        for (const TKControlRow& row : tab.page->rows) {
            *text += indent + "  " + KindName(row.kind) + " " + row.bind.label;
            if (row.items) *text += std::string(": ") + row.items;
            if (row.command != 0) *text += " " + std::to_string(row.command);
            *text += "\n";
        }
    }
}

/// The page that bears a prefix.
const TKPageRow& PageOf(const char* prefix)
{
    for (const TKPagePath& path : TKToolPages())
        if (std::strcmp(path.page->prefix, prefix) == 0) return *path.page;
    ADD_FAILURE() << prefix;
    return *TKToolPages().front().page;
}

const TKControlRow& RowOf(const TKPageRow& page, const char* label)
{
    for (const TKControlRow& row : page.rows)
        if (std::strcmp(row.bind.label, label) == 0) return row;
    ADD_FAILURE() << label;
    return page.rows[0];
}

std::string Ranges(const char* sliders)
{
    std::string text;
    for (const char* range : {"Master", "Highlights", "Midtones", "Shadows"})
        text += std::string("  ") + range + "\n" + sliders + "    button Reset 4\n";
    return text;
}

/// Three sliders of each group, as the panes show them.
std::string Triples(std::initializer_list<const char*> groups)
{
    std::string text;
    for (const char* group : groups)
        for (const char* what : {"Gamma", "Pedestal", "Gain"})
            text += std::string("    slider ") + group + " " + what + "\n";
    return text;
}

std::string Indented(const std::string& text)
{
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at) + 1;
        result += "  " + text.substr(at, end - at);
        at = end;
    }
    return result;
}

std::string ExpectedTree()
{
    std::string text = "HSL\n  Controls\n";
    text += Indented(Ranges("    slider Hue\n    slider Saturation\n    slider Vibrance\n    slider Brightness\n"
                            "    slider Contrast\n    slider Contrast Center\n    slider RGB Gain\n"
                            "    slider Gamma\n    slider Pedestal\n"));
    text += "  Hue Offsets\n    wheel Master\n    wheel Shadows\n    wheel Midtones\n    wheel Highlights\n"
            "    button Reset 4\n";
    text += "RGB\n" + Ranges(Triples({"Master", "Red", "Green", "Blue"}).c_str());
    text += "CMY\n" + Ranges(Triples({"Master", "Cyan", "Magenta", "Yellow"}).c_str());
    text += "YCbCr\n" + Ranges(Triples({"Y", "Cb", "Cr"}).c_str());
    text += "Curves\n  RGB\n    curve Master\n    curve Red\n    curve Green\n    curve Blue\n"
            "    eyedroppers Points\n    button Reset 4\n    button Save... 8\n    button Load... 7\n"
            "  HSL\n    curve Hue\n    curve Saturation\n    curve Lightness\n    button Reset 4\n";
    text += "Levels\n  Master\n    levels Master\n    slider Highlight Recovery (Input)\n    button Reset 4\n"
            "    button Auto Exposure 14\n    button Auto Color 15\n";
    for (const char* channel : {"Red", "Green", "Blue"})
        text += std::string("  ") + channel + "\n    levels " + channel + "\n    button Reset 4\n";
    text += "Luma Range\n  luma ranges Luma Ranges\n  button Reset 4\nSecondary\n";
    for (const char* secondary : {"A", "B", "C", "D", "E", "F"})
        text += std::string("  ") + secondary +
                "\n    sample Sample 1\n    sample Sample 2\n    sample Sample 3\n    sample Sample 4\n"
                "    slider Chroma Tolerance\n    slider Luma Tolerance\n    slider Softness\n"
                "    checkbox Invert Selection\n    checkbox Show Preview\n"
                "    popup Preview Style: Desaturate|Mask|Alpha\n    slider Hue\n    slider Saturation\n"
                "    slider Gain\n    slider Gamma\n    slider Pedestal\n    wheel Hue Offset\n"
                "    button Reset 4\n";
    text += "Limiting\n  checkbox Soft Clip Enable\n  slider Soft Clip Knee Level\n  slider Soft Clip White Level\n"
            "  slider Soft Clip Max Level\n  slider Luma Hard Clip Level\n  slider Chroma Max Limit\n"
            "  slider Chroma Min Limit\n  popup Limit Method: Reduce Saturation|Reduce Luma|Smart Limit\n"
            "  popup Video System: NTSC|PAL|ATSC\n  checkbox Preview Out of Limit Chroma\n  button Reset 4\n";
    return text;
}

} // namespace

TEST(ToolPanes, TheTreeHasItsTabsAndControlsInOrder)
{
    std::string text;
    Tell(TKToolPanes(), "", &text);
    EXPECT_EQ(text, ExpectedTree());
}

TEST(ToolPanes, ThePreferenceListsATabEach)
{
    const std::string items = kTKSettingsPaneItems;
    EXPECT_EQ(static_cast<size_t>(std::count(items.begin(), items.end(), '|') + 1), TKToolPanes().size());
}

TEST(ToolPanes, EveryClassOfSliderHasItsRanges)
{
    struct Range {
        const char* prefix;
        const char* label;
        double low, high, entryLow, entryHigh;
    };
    constexpr Range kRanges[] = {
        {"hsl_shadows", "Hue", -360, 360, -3600, 3600},
        {"hsl_shadows", "Saturation", 0, 300, -1000, 1000},
        {"hsl_shadows", "Vibrance", -100, 100, -100, 100},
        {"hsl_shadows", "Brightness", -100, 100, -100, 100},
        {"hsl_shadows", "Contrast", -100, 100, -100, 100},
        {"hsl_shadows", "Contrast Center", 0, 1, 0, 1},
        {"hsl_shadows", "RGB Gain", 0, 3, 0, 20},
        {"hsl_shadows", "Gamma", 0.1, 5, 0.1, 10},
        {"hsl_shadows", "Pedestal", -1, 1, -1, 1},
        {"rgb_master", "Master Gain", 0, 3, 0, 20},
        {"cmy_midtones", "Cyan Gamma", 0.1, 5, 0.1, 10},
        {"ycbcr_highlights", "Cr Pedestal", -1, 1, -1, 1},
        {"levels_master", "Highlight Recovery (Input)", 0, 1, 0, 1},
        {"secondary_f", "Chroma Tolerance", 0, 0.5, 0, 1},
        {"secondary_f", "Luma Tolerance", 0, 0.5, 0, 1},
        {"secondary_f", "Softness", 0, 0.3, 0, 1},
        {"secondary_f", "Hue", -360, 360, -3600, 3600},
        {"secondary_f", "Saturation", 0, 300, -1000, 1000},
        {"secondary_f", "Gain", 0, 3, 0, 20},
        {"secondary_f", "Gamma", 0.1, 5, 0.1, 10},
        {"secondary_f", "Pedestal", -1, 1, -1, 1},
        {"limiter", "Soft Clip Knee Level", 60, 100, 60, 100},
        {"limiter", "Soft Clip White Level", 80, 120, 80, 120},
        {"limiter", "Soft Clip Max Level", 110, 160, 110, 160},
        {"limiter", "Luma Hard Clip Level", 70, 130, 70, 130},
        {"limiter", "Chroma Max Limit", 70, 130, 70, 130},
        {"limiter", "Chroma Min Limit", -40, 0, -40, 0},
    };
    for (const Range& range : kRanges) {
        const TKSliderRow& bind = RowOf(PageOf(range.prefix), range.label).bind;
        EXPECT_EQ(bind.low, range.low) << range.label;
        EXPECT_EQ(bind.high, range.high) << range.label;
        EXPECT_EQ(bind.entryLow, range.entryLow) << range.label;
        EXPECT_EQ(bind.entryHigh, range.entryHigh) << range.label;
    }
}

TEST(ToolPanes, AllSlidersAreScaledFloats)
{
    for (const TKPagePath& path : TKToolPages())
        for (const TKControlRow& row : path.page->rows)
            if (row.kind == tkRowSlider) {
                EXPECT_EQ(row.bind.flags, 3u) << TKRowName(*path.page, row);
            }
}

TEST(ToolPanes, TheNeutralValueOfEverySliderIsWhatAResetWrites)
{
    OCSettings defaults = {};
    OCResetSettings(&defaults, kOCResetAll, kOCResetAll, kOCResetDefaults);
    for (const TKPagePath& path : TKToolPages())
        for (const TKControlRow& row : path.page->rows) {
            if (row.kind != tkRowSlider) continue;
            float value;
            std::memcpy(&value, reinterpret_cast<uint8_t*>(&defaults) + path.page->blockOffset + row.bind.offset, 4);
            EXPECT_EQ(value, static_cast<float>(row.bind.neutral)) << TKRowName(*path.page, row);
        }
}

TEST(ToolPanes, EveryBindingIsTheFieldThatTheCatalogueNames)
{
    // The pedestal of a group bears the name of its gain there, and the style of a preview has none.
    std::set<std::string> named;
    for (const TKPagePath& path : TKToolPages())
        for (const TKControlRow& row : path.page->rows) {
            if (row.kind != tkRowSlider && row.kind != tkRowCheckbox && row.kind != tkRowPopup) continue;
            const uint32_t offset = path.page->blockOffset + row.bind.offset;
            const std::string name = TKRowName(*path.page, row);
            const bool isPedestal = std::strcmp(row.bind.objectName, "pedestal") == 0 && name.rfind("hsl", 0) != 0;
            const std::string key = isPedestal ? std::string(path.page->prefix) + "_gain" : name;
            bool found = false;
            for (const OCKeyRow& field : OCParameterKeys())
                found = found || (field.offset == offset && field.key == key);
            EXPECT_TRUE(found || std::strcmp(row.bind.objectName, "previewstyle") == 0) << name;
            EXPECT_TRUE(named.insert(name).second) << name << " names two controls";
        }
    EXPECT_EQ(RowOf(PageOf("secondary_c"), "Preview Style").bind.offset, offsetof(OCSecondary, previewStyle));
}

TEST(ToolPanes, EveryFieldOfTheCatalogueThatAPaneEditsHasItsControl)
{
    // The middle of a group's pages: nothing but what other tools keep for themselves is left out.
    std::set<uint32_t> bound;
    for (const TKPagePath& path : TKToolPages())
        for (const TKControlRow& row : path.page->rows) {
            const uint32_t at = path.page->blockOffset + row.bind.offset;
            const uint32_t words = row.kind == tkRowHueWheel    ? 3
                                   : row.kind == tkRowLevels    ? 8
                                   : row.kind == tkRowLumaRange ? 6
                                                                : 1;
            if (row.kind == tkRowButton) continue;
            for (uint32_t word = 0; word < words; ++word) bound.insert(at + 4 * word);
        }
    const uint32_t switches[] = {offsetof(OCSettings, limiter_enable)};
    bound.insert(switches, switches + 1);
    for (const OCKeyRow& field : OCParameterKeys()) {
        const std::string key = field.key;
        // Deliberate: the luma levels and the group of YCbCr have no page, the two recoveries no slider.
        const bool hasNone = key.rfind("levels_luma", 0) == 0 || key == "limiter_highlight_recovery" ||
                             key == "outputControls_highlight_recovery" ||
                             (key.rfind("ycbcr_", 0) == 0 && !bound.contains(field.offset));
        EXPECT_TRUE(hasNone || bound.contains(field.offset)) << key;
    }
}

TEST(ToolPanes, TheSwitchesOfATabArePathsOfItsSection)
{
    for (const TKPagePath& path : TKToolPages()) {
        std::set<uint32_t> shown;
        for (const uint32_t offset : path.switchOffset)
            if (offset != kTKNoSwitch) shown.insert(offset);
        for (const TKControlRow& row : path.page->rows) {
            const TKSection& section = TKSections()[TKRowSection(*path.page, row)];
            const std::set<uint32_t> marked(section.switchOffset, section.switchOffset + section.switchCount);
            EXPECT_EQ(marked, shown) << TKRowName(*path.page, row);
        }
    }
}

TEST(ToolPanes, ResetReachesTheGroupOfItsPageAlone)
{
    for (const TKPagePath& path : TKToolPages()) {
        uint32_t tools = 0, curves = 0;
        for (const TKControlRow& row : path.page->rows) {
            const TKSection& section = TKSections()[TKRowSection(*path.page, row)];
            tools |= section.toolMask;
            curves |= section.curveMask;
        }
        EXPECT_EQ(path.page->toolMask, tools) << path.page->prefix;
        EXPECT_EQ(path.page->curveMask, curves) << path.page->prefix;
    }
    EXPECT_EQ(PageOf("curves_rgb").curveMask, 30u);
    EXPECT_EQ(PageOf("curves_rgb").toolMask, 0u);
}

TEST(ToolPanes, ARowWithANameOfItsOwnGoesWithoutThePrefix)
{
    const TKPageRow& page = PageOf("levels_master");
    EXPECT_EQ(TKRowName(page, RowOf(page, "Highlight Recovery (Input)")), "inputControls_highlight_recovery");
    EXPECT_EQ(TKRowName(page, RowOf(page, "Reset")), "levels_master_reset");
}

TEST(UIImagePane, APictureIsFittedWithItsShape)
{
    const struct {
        uint32_t width, height;
        float aspect;
        int areaWidth, areaHeight;
        TKImageRect expected;
    } cases[] = {
        {1920, 1080, 1, 960, 540, {0, 0, 960, 540}},           {1920, 1080, 1, 960, 1000, {0, 230, 960, 540}},
        {1920, 1080, 1, 2000, 540, {520, 0, 960, 540}},        {720, 576, 16.0f / 15.0f, 768, 576, {0, 0, 768, 576}},
        {1440, 1080, 4.0f / 3.0f, 960, 540, {0, 0, 960, 540}},
    };
    for (const auto& c : cases) {
        const TKImageRect rect = TKFitPicture(c.width, c.height, c.aspect, c.areaWidth, c.areaHeight);
        EXPECT_EQ(rect.x, c.expected.x);
        EXPECT_EQ(rect.y, c.expected.y);
        EXPECT_EQ(rect.width, c.expected.width);
        EXPECT_EQ(rect.height, c.expected.height);
    }
}

TEST(UIImagePane, AnyShapeStaysInsideTheArea)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (uint32_t width : {1u, 2u, 999u, 65535u})
        for (uint32_t height : {1u, 3u, 1000u, 65535u})
            for (float aspect : {1e-30f, 0.5f, 1.0f, 1e30f, infinity, -1.0f, std::nanf("")})
                for (int area : {1, 7, 4000}) {
                    const TKImageRect rect = TKFitPicture(width, height, aspect, area, 300);
                    EXPECT_GE(rect.width, 1);
                    EXPECT_GE(rect.height, 1);
                    EXPECT_GE(rect.x, 0);
                    EXPECT_GE(rect.y, 0);
                    EXPECT_LE(rect.x + rect.width, area);
                    EXPECT_LE(rect.y + rect.height, 300);
                }
    EXPECT_EQ(TKFitPicture(0, 10, 1, 100, 100).width, 0);
    EXPECT_EQ(TKFitPicture(10, 10, 1, 0, 100).width, 0);
}

TEST(UIImagePane, SurfaceBytesBecomeOpaqueWords)
{
    ScopeSurface surface = {};
    ASSERT_EQ(ScopeSurfaceCreate(5, 2, &surface), bpNoErr);
    uint8_t* pixel = surface.pixels + surface.rowBytes + 2 * 4;
    pixel[0] = 0x40; // alpha
    pixel[1] = 0x11;
    pixel[2] = 0x22;
    pixel[3] = 0x33;
    uint32_t words[2][6];
    for (auto& row : words)
        for (uint32_t& word : row) word = 7;
    TKSurfaceToWords(surface, &words[0][0], 6);
    EXPECT_EQ(words[1][2], 0xFF112233u);
    EXPECT_EQ(words[0][0], 0xFF000000u);
    EXPECT_EQ(words[0][5], 7u); // beyond the width
    ScopeSurfaceDispose(&surface);
}
