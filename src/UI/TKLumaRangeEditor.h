// The luma range editor: where shadows end and highlights begin, and how softly, as two handles in a plot of the three
// weights that the engine makes of them.
//
// A handle's x is the position of its crossover, its y the softness: together the fields lumarange_shadowx and
// lumarange_shadowy, and those of the highlights. The positions do not pass each other. A drag and a key write the
// fields at once and put the picture off until the hand pauses.
//
// Keyboard, with a handle in focus: the arrows move it by 1/256, with shift by 1/1024; Home and End take the position to
// the ends of its way; Return opens the position for typing. Shift makes a drag ten times slower.
//
// Thread of everything here: main.
#pragma once

#include "src/ScopeDraw.h"
#include "src/support/TKDeferral.h"
#include "src/support/TincturaUIControls.h"

struct LumaRangeVars;

enum LumaRangeHandle : uint32_t { lumaRangeShadows, lumaRangeHighlights, kLumaRangeHandleCount };

/// The curves, in the order of the engine's ranges.
enum LumaRangeCurve : uint32_t {
    lumaRangeShadowCurve,
    lumaRangeMidtoneCurve,
    lumaRangeHighlightCurve,
    kLumaRangeCurveCount
};

inline constexpr int32_t kLumaRangeTickMs = 20;    ///< of the timer that calls LumaRangeTick
inline constexpr int32_t kLumaRangeDeferTicks = 5; ///< from a change to its picture
inline constexpr int32_t kLumaRangeReach = 5;      ///< around the plot, where half of a handle may stand
inline constexpr float kLumaRangeNudge = 1.0f / 256, kLumaRangeFineNudge = 1.0f / 1024;

/// Greys and the handle's colour, 16 bits a component.
inline constexpr uint16_t kLumaRangeGridGrey = 13364, kLumaRangeActiveGrey = 60000, kLumaRangeOtherGrey = 35000,
                          kLumaRangeFrameGrey = 24000;
inline constexpr uint32_t kLumaRangeHandleAccent = 6; ///< of the palette: yellow

// --- Curves -----------------------------------------------------------------------------------------------------------

/// Hermite weights of start, end, start tangent and end tangent.
struct LumaRangeWeights {
    float h00, h01, h10, h11;
};
inline constexpr uint32_t kLumaRangeWeightCount = 2000;

/// The table: row i is for t = i / 2000.
const LumaRangeWeights* GetLumaRangeWeights();

inline constexpr uint32_t kLumaRangeColumns = 1025;

/// The weights of the three ranges over the scale: column i is for a luma of i / 1024. The three add up to 1.
struct LumaRangeCurves {
    float weight[kLumaRangeCurveCount][kLumaRangeColumns];
};

/// Fills the curves from a block. What the engine's tables hold, but for the coarser steps of the walk.
void BuildLumaRangeCurves(const OCLumaRangeBlock& block, LumaRangeCurves* curves);

// --- Geometry ---------------------------------------------------------------------------------------------------------

/// The parts of the editor in its own pixels. Rectangles end before `right` and `bottom`.
struct LumaRangeLayout {
    ScopeRect frame; ///< what the parts take up
    ScopeRect plot;  ///< the curves
    ScopeRect ramp;  ///< the scale from black to white below it
    ScopeRect name[kLumaRangeHandleCount];
    ScopeRect readout[2 * kLumaRangeHandleCount]; ///< position and softness of shadows, then of highlights
};

LumaRangeLayout LumaRangeLayoutOf(int32_t controlWidth, int32_t height);
int32_t LumaRangeLeastHeight(int32_t controlWidth);
int32_t LumaRangeNaturalHeight(int32_t controlWidth);

// --- The control ------------------------------------------------------------------------------------------------------

/// A value of a handle as a number that can be typed: a slider's record without a track.
struct LumaRangeReadout {
    SliderVars slider; ///< the first member: LumaRangeReadout is found from it
    LumaRangeVars* owner;
    uint32_t handle;
    bool isSoftness;
};

struct LumaRangePoint {
    float x, y; ///< 0 to 1, y upwards
};

/// It must stay in place once it is initialised.
struct LumaRangeVars {
    // What it is bound to.
    uint8_t* dataBase;
    uint32_t blockOffset; ///< of the OCLumaRangeBlock in the record
    TKSectionID section;
    const char* objectName;
    // What it shows.
    LumaRangeLayout layout;
    LumaRangePoint value[kLumaRangeHandleCount]; ///< position and softness, whatever the record holds
    LumaRangePoint field[kLumaRangeHandleCount]; ///< what the record holds: the readouts say it
    LumaRangeCurves curves;
    uint32_t active; ///< the handle that was picked last, or kLumaRangeHandleCount
    LumaRangeReadout readout[2 * kLumaRangeHandleCount];
    // Between events.
    bool tracking;
    double mouseX, mouseY;         ///< at the last event of the drag
    double travelledX, travelledY; ///< pixels since the press
    LumaRangePoint pressedValue;   ///< of the active handle at the press
    TKDeferral deferral;
};

/// Binds an editor to a block and shows its values.
///
/// vars          stays in place; every other function takes it
/// base          the settings record
/// blockOffset   of the OCLumaRangeBlock in it
/// section       marked with each render
/// objectName    of the widget; outlives the record
void InitLumaRange(LumaRangeVars* vars, void* base, uint32_t blockOffset, TKSectionID section, const char* objectName);

/// Fits the parts into a control of this size.
void LayOutLumaRange(LumaRangeVars* vars, int32_t controlWidth, int32_t height);

/// Shows the values of a record; nothing is written and nothing rendered. When they are others than before, a drag or a
/// held-back render of the old ones is dropped. True when something has to be painted anew.
bool UpdateLumaRange(LumaRangeVars* vars, const void* settings);

/// The curve that is drawn as the active one, or kLumaRangeCurveCount.
uint32_t LumaRangeActiveCurve(const LumaRangeVars& vars);

/// A handle's middle in the control's pixels, and the place of any values in the plot.
LumaRangePoint LumaRangePixel(const LumaRangeVars& vars, LumaRangePoint values);
LumaRangePoint LumaRangeHandlePixel(const LumaRangeVars& vars, uint32_t handle);

/// The handle that is nearest to a point of the plot or next to it; kLumaRangeHandleCount elsewhere. Of handles on each
/// other the one that can be pulled to the side of the point.
uint32_t LumaRangeHitTest(const LumaRangeVars& vars, double x, double y);

/// "Shadows" or "Highlights".
const char* LumaRangeHandleName(uint32_t handle);

// --- Gestures ---------------------------------------------------------------------------------------------------------

/// The button went down: the nearest handle is picked, which moves nothing. Commits an open edit. Returns the handle.
uint32_t PressLumaRange(TKSession* session, LumaRangeVars* vars, double x, double y);

/// The mouse moved with a handle picked: it follows, within the plot and the other's limits. The picture follows 100 ms
/// after the last change.
TKEffect TrackLumaRangeHandle(TKSession* session, LumaRangeVars* vars, double x, double y, uint32_t modifiers);

/// The button went up, or the mouse was taken away: what was held back is rendered, the undo step gets its last state.
TKEffect ReleaseLumaRange(TKSession* session, LumaRangeVars* vars);

/// Moves a handle by keyboard, within its limits. Moves of one handle in a row are one undo step.
TKEffect MoveLumaRangeHandle(TKSession* session, LumaRangeVars* vars, uint32_t handle, LumaRangePoint wanted);

/// The timer. Renders what is due; ends a drag of which no button is down any more. True when it rendered.
bool LumaRangeTick(TKSession* session, LumaRangeVars* vars);

/// Whether the timer has anything to do.
bool LumaRangeNeedsTick(const LumaRangeVars& vars);

/// Renders at once what is held back: a key was let go, the focus goes, or TKSettleControls asks. True when it rendered.
bool FlushLumaRange(TKSession* session, LumaRangeVars* vars);
