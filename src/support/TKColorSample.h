// The colour sample composite: an eyedropper, the colour it picked and what the correction makes of it side by side,
// and the popup that chooses how their values are printed.
//
// Thread of everything here: main.
#pragma once

#include "src/support/TKEyedropper.h"
#include "src/support/TKProperties.h"
#include "src/support/TKSwatch.h"

inline constexpr int kTKColorSampleHeight = 113;
inline constexpr int kTKColorSampleWidth = 170; ///< of the popup, and so of the whole
inline constexpr int kTKSampleSwatchWidth = 65;

/// A composite. It must stay in place from TKCreateColorSample to TKDisposeColorSample: its parts point at each other.
struct TKColorSample {
    TKEyedropper eyedropper;
    TKSwatch source, result;
    bool hasCheckbox;    ///< whether the sample has a switch of its own
    TKCheckbox checkbox; ///< bound to it; a pick turns it on
    TKSwatch* linked;    ///< a swatch elsewhere that takes the picked colour and shares the format, or null
    int32_t format;      ///< TKColorFormat; the popup's value
    int32_t id;          ///< that the parts share
    const char* label;
    const char* objectName;
    TKControlNode node; ///< of the whole; its children are the parts, with their identities
    TKControlNode eyedropperNode, sourceNode, resultNode, checkboxNode, popupNode;
};

/// Fills a composite for the triple at `dataOffset` of `base`, in the format RGB 8-bit. `switchOffset` is that of the
/// sample's switch, or kTKNoOffset. `id` tells composites apart; `parent` may be null. bpMemFullErr when there is no
/// memory for the identities; the composite works without them.
BPStatus TKCreateColorSample(TKColorSample* sample, void* base, uint32_t dataOffset, uint32_t switchOffset,
                             TKSectionID section, int32_t id, TKControlNode* parent, const char* label,
                             const char* objectName);
void TKDisposeColorSample(TKColorSample* sample);

/// Links a swatch of the same record: it takes each colour that this composite picks, and prints in its format.
void TKLinkColorSample(TKColorSample* sample, TKSwatch* linked);

/// The user chose format `index` of the popup, counted from 0: the swatches of the composite and the linked one are
/// redrawn. The grade is not touched. True when it is another format than before.
bool TKSelectColorFormat(TKSession* session, TKColorSample* sample, int32_t index);

/// Where the parts stand, in pixels from the composite's corner.
struct TKPartRect {
    int x, y, width, height;
};
struct TKColorSampleLayout {
    TKPartRect label, eyedropper, source, result, popup;
};
TKColorSampleLayout TKLayOutColorSample();
