// Inside the engine: the slots that tables stand in, the inputs that each was made from, and who fills them.
//
// A slot is built again only when its inputs changed. Tables of tools that are off are left alone.
#pragma once

#include "src/OCEngine.h"

#include <initializer_list>

namespace ocengine {

inline constexpr const char* kTitle = "Ochrine 3 UI";
inline constexpr uint32_t kTableStride = 16400; // floats from table to table, a multiple of a cache line
inline constexpr uint32_t kKeyFloats = 12;
inline constexpr float kLongBase = 128, kShortBase = 2048; // slope of the last 128 and of the last 8 steps

/// Master and the three ranges, in the order in which the contrast of one feeds the next.
enum Group : uint32_t { kMaster, kShadowGroup, kMidtoneGroup, kHighlightGroup, kGroupCount };

enum Slot : uint32_t {
    kHSLSlot = 0,                             // by group
    kRGBSlot = kHSLSlot + kGroupCount,        // by group, then channel
    kYCCSlot = kRGBSlot + kGroupCount * 3,    // likewise
    kLevelsSlot = kYCCSlot + kGroupCount * 3, // by channel
    kSecondarySlot = kLevelsSlot + 3,
    kForwardSlot = kSecondarySlot + kOCSecondaryCount,
    kInverseSlot,
    kRGBCurveSlot, // by channel
    kHSLCurveSlot = kRGBCurveSlot + 3,
    kWeightSlot = kHSLCurveSlot + 3, // by range
    kSlotCount = kWeightSlot + 3
};

/// Further tables behind the slots: intermediate results that have no tone of their own.
enum Inner : uint32_t {
    kChain = kSlotCount,              // by group: the contrast stage, without brightness and gamma
    kOwnCurve = kChain + kGroupCount, // by channel: the RGB curves before they go through the master
    kRows = kOwnCurve + 3,            // from here on four tables each, entries side by side
    kWeightRows = kRows,
    kHSLRows = kWeightRows + 4,
    kRGBRows = kHSLRows + 4,     // by channel
    kYCCRows = kRGBRows + 4 * 3, // by channel
    kHSLCurveRows = kYCCRows + 4 * 3,
    kMasterCurve = kHSLCurveRows + 4, // by channel: the RGB curve behind the gamma of the RGB master, in one
    kNewHSLCurve = kMasterCurve + 3,  // by curve: HSL curves until all of an update are built
    kTableCount = kNewHSLCurve + 3
};

/// The inputs of a table, compared bit by bit.
struct Key {
    uint32_t count;
    float value[kKeyFloats];
};

Key KeyOf(std::initializer_list<float> values);

} // namespace ocengine

struct OCEngine {
    OCProcessParams params;
    float* tables;                           // kTableCount tables
    float* calcArray;                        // scratch of one table, from the first update on
    ocengine::Key key[ocengine::kSlotCount]; // count 0: never built
    uint64_t version[ocengine::kSlotCount];  // of the contents
    HCurve rgbCurve[4], hslCurve[3];
    bool rgbCurvesBuilt, hslCurvesBuilt, weightsBuilt;
    uint64_t masterCurveOf[3][2]; // versions of gamma and curve that a channel's composed table was made from
    OCLumaRangeBlock lumaRange;
    uint32_t tablesBuilt;
    BPStatus status; // of the last update
};

namespace ocengine {

float* TableAt(OCEngine* engine, uint32_t slot);

/// The tone of a slot; `base` is the inverse of the length over which its slope is taken.
OCTone ToneAt(OCEngine* engine, uint32_t slot, float base = kShortBase);

/// Lays the entries of three tables side by side: `first`, and two more `step` slots apart.
const float* LaySideBySide(OCEngine* engine, uint32_t rows, uint32_t first, uint32_t step);

/// True when the slot has to be built; it then counts as built with this key.
bool Renew(OCEngine* engine, uint32_t slot, const Key& key);

/// Gives the contents of a slot a new version. Renew does so.
void MarkChanged(OCEngine* engine, uint32_t slot);

void FillRamp(float* table);

/// A table that raises its input to the product of two exponents, as one power, and the entries in turn to further ones.
OCTone BuildPowers(OCEngine* engine, uint32_t slot, float own, float whole, std::initializer_list<float> further = {});

// The tools, each from the neutralised grade into the parameters and tables of the engine.
void UpdateHSL(OCEngine* engine, const OCSettings& s);
void UpdateHueOffset(OCEngine* engine, const OCSettings& s);
void UpdateRGB(OCEngine* engine, const OCSettings& s);
void UpdateYCbCr(OCEngine* engine, const OCSettings& s);
void UpdateLevels(OCEngine* engine, const OCSettings& s);
void UpdateRGBCurves(OCEngine* engine, const OCSettings& s);
void UpdateMasterCurves(OCEngine* engine); // after UpdateRGB, UpdateYCbCr and UpdateRGBCurves
void UpdateHSLCurves(OCEngine* engine, const OCSettings& s);
void UpdateWeights(OCEngine* engine, const OCSettings& s);
void UpdateSecondaries(OCEngine* engine, const OCSettings& s);
void UpdateLimiter(OCEngine* engine, const OCSettings& s);
void UpdateTransfer(OCEngine* engine, const OCSettings& s);

/// Fills the tables that may be asked for before they were ever built: the transfer's, and curves whose first build
/// found no memory.
void FillNeutral(OCEngine* engine);

} // namespace ocengine
