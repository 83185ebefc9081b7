// Where the parts of the settings area stand: the page in front, the colour sample and the tone strip that are always in
// sight, and the row of colour match of the panes that have one.
#pragma once

#include "src/UI/ToolPageLayout.h"

inline constexpr int kTKAreaEdge = 8;
inline constexpr int kTKSampleWidth = kTKColorSampleWidth;
inline constexpr int kTKStripWidth = 22; ///< of the tone strip, right of the sample
inline constexpr int kTKStripGap = 4;
inline constexpr int kTKMatchNarrowWidth = 196, kTKMatchHighHeight = 72; ///< of the row in two lines
inline constexpr int kTKMatchWideWidth = 414, kTKMatchLowHeight = 42;    ///< in one line

struct TKToolAreaLayout {
    TKPlace page, sample, strip;
    TKPlace match;   ///< empty without one
    bool isBeside;   ///< sample and match stand beside the page, otherwise above it or in its corner
    TKCorner corner; ///< of the page, in which the sample stands; empty otherwise
};

/// The height of the area in a window that has `room` pixels for pictures and tools: never below its least height; above
/// the screens that we are made for it takes a third of what there is more.
int TKToolAreaHeight(int room);

/// Lays out an area whose rows of tabs end at `tabsBottom`. What is always in sight stands beside the page where the page
/// is no worse for it, and above it otherwise, when only the whole width holds the page's columns. Without a row of match
/// the page then begins below the tabs and has its buttons beside the sample.
TKToolAreaLayout TKLayOutToolArea(int width, int height, int tabsBottom, const TKPageRow& page, bool hasMatch);
