// The tool panes as tables: which tabs exist, what each holds, and the field that each control edits.
//
// A pane is a tab of the settings area; its tone ranges are tabs inside it. Widgets are built from these rows, and tests
// walk them. Add a tool by adding a row.
#pragma once

#include "src/support/TincturaUIControls.h"

/// A tone range of a pane: one page of sliders.
struct TKPageRow {
    const char* label;
    const char* prefix; ///< first part of the object names, "hsl_master"
    TKSectionID section;
    uint32_t blockOffset;  ///< in OCSettings
    uint32_t switchOffset; ///< of the page's own switch
};

/// A top tab of the settings area.
struct TKPaneRow {
    const char* label;
    const char* objectName;
    uint32_t switchOffset;  ///< of the pane's switch
    const char* innerLabel; ///< of the tab between pane and ranges, or null
    uint32_t innerSwitchOffset;
    std::span<const TKPageRow> pages;
    std::span<const TKSliderRow> sliders;
    uint32_t columnRows; ///< sliders stand in columns of this many
};

/// The panes, in tab order.
std::span<const TKPaneRow> TKToolPanes();

inline constexpr int kTKSliderHeight = 34; ///< of the control itself
inline constexpr int kTKLeastSliderWidth = 220;
inline constexpr int kTKMostSliderWidth = 330;
inline constexpr int kTKPaneMargin = 10;
inline constexpr int kTKLeastToolHeight = 366;
inline constexpr int kTKLeastToolWidth = 855;

/// Where a slider stands on its page.
struct TKPlace {
    int x, y, width, height; ///< in the page's pixels
};

/// The place of slider `index` on a page of this width. Columns are as wide as the page allows, within the limits of a
/// slider; a page too narrow for all columns has fewer, longer ones.
TKPlace TKSliderPlace(const TKPaneRow& pane, uint32_t index, int pageWidth);

/// How high a page of this width becomes, with its Reset button below the sliders.
int TKPageHeight(const TKPaneRow& pane, int pageWidth);

/// The place of the Reset button.
TKPlace TKResetPlace(const TKPaneRow& pane, int pageWidth);
