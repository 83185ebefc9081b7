// Colour match: from a source colour and a target colour to the values of a pane that turn the one into the other.
//
// What every popup entry of every pane writes is one constant table, OCMatchPanes. Values are what the formulas give: a
// denominator of 0 is not guarded, so an infinite value or a NaN may stand in the record, which the engine bears.
// Switches, undo, controls and picture are the caller's.
#pragma once

#include "src/OCSettings.h"

#include <span>

/// The panes that a match may be asked for. On the Hue Offsets tab nothing happens.
enum OCMatchPane : uint32_t {
    ocMatchHSL,
    ocMatchHueOffsets,
    ocMatchRGB,
    ocMatchCMY,
    ocMatchYCbCr,
    ocMatchCurves,
    ocMatchSecondary,
    ocMatchPaneCount
};

/// What is computed from the two colours.
enum OCMatchValue : uint32_t {
    ocMatchHue,        ///< degrees from the source's chroma to the target's
    ocMatchSaturation, ///< percent
    ocMatchLuma,       ///< target over source, as are the next five
    ocMatchRed,
    ocMatchGreen,
    ocMatchBlue,
    ocMatchCb,
    ocMatchCr,
    ocMatchCyan, ///< the three together make the ratios of red, green and blue
    ocMatchMagenta,
    ocMatchYellow,
    ocMatchLumaPoint, ///< a point of a curve: x of the source, y of the target
    ocMatchRedPoint,
    ocMatchGreenPoint,
    ocMatchBluePoint,
};

/// One value that a match writes.
struct OCMatchRow {
    uint32_t entries;             ///< bit n: popup entry n writes it, counted from 1
    OCMatchValue value;           ///< what is written; from ocMatchLumaPoint on a point is added to an HCurve
    uint32_t offset;              ///< of the float, or of the HCurve, in OCSettings
    uint32_t count, stride;       ///< how often it is written, and the bytes from one place to the next
    uint32_t toolMask, curveMask; ///< the groups that show it, as OCResetSettings counts them
};

struct OCMatchPaneRow {
    OCMatchPane pane;
    const char* popup; ///< the list beside the button, entries separated by |
    uint32_t entryCount;
    std::span<const OCMatchRow> rows;
};

/// Every pane, in the order of OCMatchPane.
std::span<const OCMatchPaneRow> OCMatchPanes();

/// The groups that a match wrote, for UpdateAllControls.
struct OCMatchGroups {
    uint32_t toolMask, curveMask;
};

/// Carries out a match.
///
/// entry    the popup's selection, counted from 1; one that the list does not have writes nothing
/// source, target   red, green, blue
///
/// Thread: main.
OCMatchGroups OCMatchColors(OCSettings* settings, OCMatchPane pane, uint32_t entry, const float source[3],
                            const float target[3]);

/// The same with the two colours read from the record, where the swatches beside the button are bound. Both are read
/// before anything is written. Offsets that no three floats of the record have write nothing.   Thread: main.
OCMatchGroups OCMatchColorsAt(OCSettings* settings, OCMatchPane pane, uint32_t entry, uint32_t sourceOffset,
                              uint32_t targetOffset);

/// Adds a point to a point curve, before the first one with a larger x, so that an equal x goes behind. False, with the
/// curve as it was, when it has 16 points already, is a table of samples, or a coordinate is no finite number.
/// Thread: any, own curve.
bool OCAddCurvePoint(HCurve* curve, float x, float y);
