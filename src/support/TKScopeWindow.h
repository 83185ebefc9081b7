// The displays in a window of their own, on any screen: an option, off until a user turns it on. The window has a
// selection of its own and follows each refresh as the analysis pane does, in the single view as well.
//
// It is remembered in a store of its own, so that the preferences hold what they always held; there lie the zooms of the
// analysis pane too.
#pragma once

#include "src/TincturaUIDispCombo.h"
#include "src/platform/BPStatus.h"

struct TKSession;

inline constexpr char kTKScopeWindowStore[] = "Displays";
inline constexpr uint32_t kTKWindowGeometryLimit = 128;

/// A part of TKViews.
struct TKScopeWindow {
    int32_t isOpen;                              ///< 0 or 1; a hidden application keeps it
    int32_t analysisTab;                         ///< ScopeTab, none that is a pane of its own
    int32_t comboSelection[kScopeQuadrantCount]; ///< ScopeDisplay
    int32_t vectorscopeZoom, comboVectorscopeZoom;
    uint8_t geometry[kTKWindowGeometryLimit]; ///< place and size, in the window system's words
    uint32_t geometryBytes;                   ///< 0: none yet
};

/// Closed, with the selection of a first start and no place.
void TKInitScopeWindow(TKScopeWindow* window);

/// Reads what the last session left, the pane's zooms included. What is missing, out of range or unreadable is as
/// TKInitViews makes it.
void TKReadScopeWindow(TKSession* session);

/// Stores it and the pane's zooms, all or nothing; the log tells a failure.
void TKWriteScopeWindow(TKSession* session);

/// Opens or closes the window, at once and for the next sessions.
void TKOpenScopeWindow(TKSession* session, bool open);

/// Its displays are to be drawn anew, with `force` before this returns. Nothing happens while it is closed.
void UpdateScopeWindow(TKSession* session, bool force);

/// The tabs of the window: the displays, without the panes of their own. The tab of a number from 0; -1 for another.
inline constexpr int32_t kTKScopeWindowTabCount = kScopeTabCount - 2;
int32_t TKScopeWindowTabAt(int32_t number);
/// The number of a tab, or -1 for a pane of its own.
int32_t TKScopeWindowNumberOf(int32_t tab);
