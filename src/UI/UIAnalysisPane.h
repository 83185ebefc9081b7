// The mouse in the analysis pane without its window: which menu a right click opens, what a choice and a wheel turn do
// to the selection.
#pragma once

#include "src/TincturaUIDispCombo.h"

/// What the caller has to do after a change.
struct [[nodiscard]] TKAnalysisEffect {
    bool changed;           ///< the selection is another one
    bool writesPreferences; ///< at once
    bool repaints;          ///< the analysis pane, with force
    bool updatesGallery;    ///< tell the gallery's panel
};

enum TKAnalysisMenuID : int32_t {
    tkMenuNone = 0,
    tkMenuDisplays = 202,        ///< the ten displays
    tkMenuDisplaysAndZoom = 203, ///< the same, a line, and four zooms at items 12 to 15
    tkMenuZoom = 204,            ///< four zooms
};

struct TKAnalysisMenuItem {
    const char* title; ///< empty: a line
    int32_t display;   ///< that it selects, or 0
    int32_t zoom;      ///< that it selects, or 0
    bool checked;      ///< the zoom in use
};

inline constexpr int32_t kTKAnalysisItemLimit = 15;

/// A menu and where it was opened. Items count from 1.
struct TKAnalysisMenu {
    TKAnalysisMenuID id;
    int32_t quadrant; ///< ScopeQuadrant; -1 for the single vectorscope
    int32_t itemCount;
    TKAnalysisMenuItem item[kTKAnalysisItemLimit];
};

/// The quadrant under a point of a pane: by halves of the pane, whatever the widths of its displays.
int32_t TKComboQuadrantAt(int32_t width, int32_t height, int32_t x, int32_t y);

/// The quadrant that an arrow key leads to; -1 for another key. At an edge it stays.
int32_t TKQuadrantAfterKey(int32_t quadrant, uint32_t virtualKey);

/// What the right button opens at a point of a pane of this size; tkMenuNone in other displays.
TKAnalysisMenu TKAnalysisMenuAt(const ScopeSelection& selection, int32_t width, int32_t height, int32_t x, int32_t y);

/// Carries out item `number`, from 1, of a menu. A number without an item changes nothing.
TKAnalysisEffect TKAnalysisChoose(ScopeSelection* selection, const TKAnalysisMenu& menu, int32_t number);

/// Whether a vectorscope is under a point of a pane of this size.
bool TKHasVectorscopeAt(const ScopeSelection& selection, int32_t width, int32_t height, int32_t x, int32_t y);

/// Turns the wheel at a point: above 0 is away from the hand and zooms in by 1, below 0 zooms out by 1. Only where a
/// vectorscope is; in the combo the place is logged.
TKAnalysisEffect TKAnalysisWheel(ScopeSelection* selection, int32_t width, int32_t height, int32_t x, int32_t y,
                                 int32_t turn);

/// Selects a tab. Entering or leaving the gallery tells its panel. A number without a tab changes nothing.
TKAnalysisEffect SelectAnalysisDisplay(ScopeSelection* selection, int32_t tab);
