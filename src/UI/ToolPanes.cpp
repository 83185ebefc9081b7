// The rows of the tool panes.
#include "src/UI/ToolPanes.h"

#include <algorithm>

namespace {

#define HSL(field) TK_FLOAT_FIELD(OCHSLBlock, field)

constexpr TKSliderRow kHSLSliders[] = {
    {"Hue", "hue", HSL(hue), -360, 360, -3600, 3600, 0},
    {"Saturation", "saturation", HSL(saturation), 0, 300, -1000, 1000, 100},
    {"Vibrance", "vibrance", HSL(vibrance), -100, 100, -100, 100, 0},
    {"Brightness", "brightness", HSL(brightness), -100, 100, -100, 100, 0},
    {"Contrast", "contrast", HSL(contrast), -100, 100, -100, 100, 0},
    {"Contrast Center", "contrastCenter", HSL(contrastCenter), 0, 1, 0, 1, 0.5},
    {"RGB Gain", "gain", HSL(gain), 0, 3, 0, 20, 1},
    {"Gamma", "gamma", HSL(gamma), 0.1, 5, 0.1, 10, 1},
    {"Pedestal", "pedestal", HSL(pedestal), -1, 1, -1, 1, 0},
};
static_assert(TKSlidersAreSound(kHSLSliders, sizeof(OCHSLBlock)));

/// Field of the triple at `triple` bytes in a channel block.
constexpr TKSliderRow Gamma(const char* label, const char* name, uint32_t triple)
{
    return {label, name, triple + TK_FLOAT_FIELD(OCTriple, gamma), 0.1, 5, 0.1, 10, 1};
}

constexpr TKSliderRow Pedestal(const char* label, const char* name, uint32_t triple)
{
    return {label, name, triple + TK_FLOAT_FIELD(OCTriple, pedestal), -1, 1, -1, 1, 0};
}

constexpr TKSliderRow Gain(const char* label, const char* name, uint32_t triple)
{
    return {label, name, triple + TK_FLOAT_FIELD(OCTriple, gain), 0, 3, 0, 20, 1};
}

constexpr uint32_t kGroup = offsetof(OCChannelBlock, group);
constexpr uint32_t kChannel = offsetof(OCChannelBlock, channel);
constexpr uint32_t kTriple = sizeof(OCTriple);

// The pane shows gamma, pedestal, gain; the record holds gain, gamma, pedestal.
constexpr TKSliderRow kRGBSliders[] = {
    Gamma("Master Gamma", "gamma", kGroup),
    Pedestal("Master Pedestal", "pedestal", kGroup),
    Gain("Master Gain", "gain", kGroup),
    Gamma("Red Gamma", "r_gamma", kChannel),
    Pedestal("Red Pedestal", "r_ped", kChannel),
    Gain("Red Gain", "r_gain", kChannel),
    Gamma("Green Gamma", "g_gamma", kChannel + kTriple),
    Pedestal("Green Pedestal", "g_ped", kChannel + kTriple),
    Gain("Green Gain", "g_gain", kChannel + kTriple),
    Gamma("Blue Gamma", "b_gamma", kChannel + 2 * kTriple),
    Pedestal("Blue Pedestal", "b_ped", kChannel + 2 * kTriple),
    Gain("Blue Gain", "b_gain", kChannel + 2 * kTriple),
};
static_assert(TKSlidersAreSound(kRGBSliders, sizeof(OCChannelBlock)));

#define AT(field) static_cast<uint32_t>(offsetof(OCSettings, field))
#define PAGE(label, prefix, section, range)                                                                            \
    {                                                                                                                  \
        label, prefix, section, AT(range), AT(range.on)                                                                \
    }

constexpr TKPageRow kHSLPages[] = {
    PAGE("Master", "hsl_master", tkSectionHSLMaster, hsl.master),
    PAGE("Highlights", "hsl_highlights", tkSectionHSLHighlights, hsl.highlights),
    PAGE("Midtones", "hsl_midtones", tkSectionHSLMidtones, hsl.midtones),
    PAGE("Shadows", "hsl_shadows", tkSectionHSLShadows, hsl.shadows),
};

constexpr TKPageRow kRGBPages[] = {
    PAGE("Master", "rgb_master", tkSectionRGBMaster, rgb.master),
    PAGE("Highlights", "rgb_highlights", tkSectionRGBHighlights, rgb.highlights),
    PAGE("Midtones", "rgb_midtones", tkSectionRGBMidtones, rgb.midtones),
    PAGE("Shadows", "rgb_shadows", tkSectionRGBShadows, rgb.shadows),
};

constexpr TKPaneRow kPanes[] = {
    {.label = "HSL",
     .objectName = "pane_hsl",
     .switchOffset = AT(primaryOn),
     .innerLabel = "Controls",
     .innerSwitchOffset = AT(hslOn),
     .pages = kHSLPages,
     .sliders = kHSLSliders,
     .columnRows = 3},
    {.label = "RGB",
     .objectName = "pane_rgb",
     .switchOffset = AT(rgbOn),
     .innerLabel = nullptr,
     .innerSwitchOffset = 0,
     .pages = kRGBPages,
     .sliders = kRGBSliders,
     .columnRows = 3},
};

constexpr int kColumnGap = 22;
constexpr int kRowPitch = 58;
constexpr int kResetWidth = 72;
constexpr int kResetHeight = 24;

struct Grid {
    int columns, rows, sliderWidth;
};

/// As many columns as the table asks for when they fit, otherwise as many as fit, at least one.
Grid GridOf(const TKPaneRow& pane, int pageWidth)
{
    const int count = static_cast<int>(pane.sliders.size());
    const int wanted = (count + static_cast<int>(pane.columnRows) - 1) / static_cast<int>(pane.columnRows);
    const int room = pageWidth - 2 * kTKPaneMargin;
    const int fitting = std::max(1, (room + kColumnGap) / (kTKLeastSliderWidth + kColumnGap));
    Grid grid = {};
    grid.columns = std::min(wanted, fitting);
    grid.rows = grid.columns == wanted ? static_cast<int>(pane.columnRows) : (count + grid.columns - 1) / grid.columns;
    grid.sliderWidth =
        std::clamp((room - (grid.columns - 1) * kColumnGap) / grid.columns, kTKLeastSliderWidth, kTKMostSliderWidth);
    return grid;
}

} // namespace

std::span<const TKPaneRow> TKToolPanes()
{
    return kPanes;
}

TKPlace TKSliderPlace(const TKPaneRow& pane, uint32_t index, int pageWidth)
{
    const Grid grid = GridOf(pane, pageWidth);
    const int column = static_cast<int>(index) / grid.rows;
    const int row = static_cast<int>(index) % grid.rows;
    return {.x = kTKPaneMargin + column * (grid.sliderWidth + kColumnGap),
            .y = kTKPaneMargin + row * kRowPitch,
            .width = grid.sliderWidth,
            .height = kTKSliderHeight};
}

TKPlace TKResetPlace(const TKPaneRow& pane, int pageWidth)
{
    const Grid grid = GridOf(pane, pageWidth);
    return {.x = kTKPaneMargin,
            .y = kTKPaneMargin + grid.rows * kRowPitch + 6,
            .width = kResetWidth,
            .height = kResetHeight};
}

int TKPageHeight(const TKPaneRow& pane, int pageWidth)
{
    const TKPlace reset = TKResetPlace(pane, pageWidth);
    return reset.y + reset.height + kTKPaneMargin;
}
