// The tool panes as tables: which tabs exist, what each holds, and the field that each control edits.
//
// The settings area is a tree of tabs. A tab holds either tabs or a page, and a page is a list of rows, one a control.
// Widgets are built from these rows, and tests walk them. Add a control by adding a row, a tool by adding a tab.
#pragma once

#include "src/support/TincturaUIControls.h"

#include <string>
#include <vector>

enum TKRowKind : uint8_t {
    tkRowSlider,
    tkRowCheckbox,
    tkRowPopup,
    tkRowColorSample,
    tkRowHueWheel, ///< label, wheel, and below it the sliders of angle and strength
    tkRowCurve,
    tkRowLevels,
    tkRowLumaRange,
    tkRowEyedroppers, ///< black, gray and white point of the curves
    tkRowButton,
};

/// A row of a page: one control.
struct TKControlRow {
    TKRowKind kind;
    /// Label, name and field of any control; ranges of a slider alone.
    TKSliderRow bind;
    bool startsBlock = false;            ///< the rows from here on stand together, apart from those before
    TKSectionID section = tkSectionNone; ///< when it is not the page's
    const char* items = nullptr;         ///< of a popup, separated by "|"
    uint32_t command = 0;                ///< of a button
    int32_t channel = 0;                 ///< of a curve (-1: of hue, saturation, lightness) and of levels
    bool hasWholeName = false;           ///< the row's object name goes without the page's prefix
};

inline constexpr int32_t kTKNoMatch = -1;

/// What stands on one page.
struct TKPageRow {
    const char* prefix; ///< first part of the object names, "hsl_master"
    TKSectionID section;
    uint32_t blockOffset;         ///< in OCSettings; the rows' offsets count from it
    uint32_t toolMask, curveMask; ///< what Reset resets
    std::span<const TKControlRow> rows;
    int32_t match = kTKNoMatch; ///< OCMatchPane of the row of colour match that goes with the page
};

inline constexpr uint32_t kTKNoSwitch = 0xFFFFFFFF;

/// A tab: with tabs inside it, or with a page.
struct TKTabRow {
    const char* label;
    const char* objectName;
    uint32_t switchOffset; ///< of the word in OCSettings that its checkbox shows, or kTKNoSwitch
    const TKTabRow* tabs;
    uint32_t tabCount;     ///< 0: it has a page
    const TKPageRow* page; ///< null when it has tabs
};

/// The panes, in tab order.
std::span<const TKTabRow> TKToolPanes();

/// A page and the way to it.
struct TKPagePath {
    const TKPageRow* page;
    int32_t tab[3];           ///< of the panes, inside it, inside that; -1 beyond the page's own
    uint32_t switchOffset[3]; ///< of those tabs, kTKNoSwitch where there is none
};

/// Every page in the order of the tabs.
std::vector<TKPagePath> TKToolPages();

/// The object name of a row's control, "hsl_master_hue".
std::string TKRowName(const TKPageRow& page, const TKControlRow& row);

/// The section that an edit of a row turns on.
inline TKSectionID TKRowSection(const TKPageRow& page, const TKControlRow& row)
{
    return row.section == tkSectionNone ? page.section : row.section;
}

// Lists of popups.
inline constexpr char kTKVideoSystemItems[] = "NTSC|PAL|ATSC";
inline constexpr char kTKLimitMethodItems[] = "Reduce Saturation|Reduce Luma|Smart Limit";
inline constexpr char kTKPreviewStyleItems[] = "Desaturate|Mask|Alpha";
/// The tabs, as the preference names them.
inline constexpr char kTKSettingsPaneItems[] = "HSL|RGB|CMY|YCbCr|Curves|Levels|Luma Ranges|Secondary CC|Limiting";
