// Where the rows of a page stand. Blocks of rows become columns, side by side as far as the width allows; heights are
// stretched between what a control needs and what it can use, all by the same share, so that rows of neighbouring columns
// stay level. The colour samples of a page stand in a row above the columns where that makes it less high. Other controls
// stand beside an editor that takes the width, where it is wide enough without theirs, and below it otherwise.
#pragma once

#include "src/UI/ToolPanes.h"
#include "src/support/TKColorSample.h"

inline constexpr int kTKSliderHeight = 34; ///< of the control itself
inline constexpr int kTKLeastControlWidth = 220;
inline constexpr int kTKMostControlWidth = 330;
inline constexpr int kTKPaneMargin = 10; ///< from the left and from the top
inline constexpr int kTKLeastToolHeight = 366;
inline constexpr int kTKLeastToolWidth = 855;

inline constexpr int kTKCheckboxHeight = 20;
inline constexpr int kTKPopupHeight = 40;
inline constexpr int kTKSampleHeight = kTKColorSampleHeight;
inline constexpr int kTKWheelExtra = 16 + 4 + 2 * 35; ///< label above a wheel, gap and sliders below it
inline constexpr int kTKEyedroppersWidth = 96;

/// Widths of the levels editor: with plots of 256 and of 512.
inline constexpr int kTKNarrowLevelsWidth = 552;
inline constexpr int kTKWideLevelsWidth = 1064;

struct TKPlace {
    int x, y, width, height; ///< in the page's pixels
};

struct TKPageLayout {
    std::vector<TKPlace> places; ///< one a row
    int width, height;           ///< of the page
    double stretch;              ///< 0: as small as it may be, 1: as large as is of use
    bool fits;                   ///< in the size that was asked for
};

/// The upper right corner of an area when something else stands there; nothing when a side is 0.
struct TKCorner {
    int width, height;
};

/// Lays a page out for an area. A page that does not fit has a comfortable height of its own and is to be scrolled; its
/// width exceeds the area's only where one column alone does.
///
/// With a corner the controls stand below it and the buttons of the foot to its left, so that they cost no height; a page
/// whose buttons find no room there does not fit.
TKPageLayout TKLayOutPage(const TKPageRow& page, int width, int height, TKCorner corner = {});
