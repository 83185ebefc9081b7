// The row of colour match in a tool pane: a source colour and a target colour with their eyedroppers, the popup of what
// may change, and the button that computes the pane's values from the two.
//
// Both colours are part of the grade and the same in every pane, so that a pick is undone like any other edit and a
// colour picked once serves every tool.
//
// Thread of everything here: main.
#pragma once

#include "src/OCColorMatch.h"
#include "src/support/TKColorSample.h"

/// Where the grade keeps what is picked: the colour sample below the tabs, and the two colours of a match. No module
/// reads these words otherwise; resets keep them.
inline constexpr uint32_t kTKColorSampleOffset = offsetof(OCSettings, limiterPaneState);
inline constexpr uint32_t kTKMatchSourceOffset = offsetof(OCSettings, unassigned);
inline constexpr uint32_t kTKMatchTargetOffset = offsetof(OCSettings, unassigned) + 3 * sizeof(float);

/// A row. It must stay in place: its windows point at its parts.
struct TKMatchColor {
    OCMatchPane pane;
    int32_t entry; ///< of the popup, counted from 1
    TKEyedropper sourceEyedropper, targetEyedropper;
    TKSwatch source, target;
    const char* objectName;
};

/// Fills the row of a pane on the live settings, with the first entry of the pane's popup. `section` is what a pick
/// marks: tkSectionNone leaves the switches alone until the match is made.
void TKInitMatchColor(TKMatchColor* match, OCSettings* settings, OCMatchPane pane, TKSectionID section,
                      const char* objectName);

/// The entries of the popup, separated by "|".
const char* TKMatchColorList(const TKMatchColor& match);

/// The user chose entry `index` of the popup, counted from 0. Nothing of the grade changes. True when it is another.
bool TKSelectMatchEntry(TKSession* session, TKMatchColor* match, int32_t index);

/// Whether the source allows a match. Black is what stands there before a pick, and no ratio to it can be taken; only a
/// point of a curve can be made from it.
bool TKMatchColorIsReady(const TKMatchColor& match);

/// The button: an open edit is committed, the values of the chosen entry are computed from the two colours and written
/// in one undo step, the sections that hold them are switched on, their controls follow, the picture is rendered. Of
/// the secondaries, whose values are written into all six, those with a sample are switched on. On the Hue Offsets tab,
/// or with an entry that writes nothing or only what stands there already, nothing happens. A denominator of 0 is not guarded.
TKEffect TKRunMatchColor(TKSession* session, const TKMatchColor* match);
