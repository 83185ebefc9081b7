// The levels control: a channel's input histogram over a bar with three handles, and an output bar with three more.
//
// The six fields of the channel's block are the values; a record of this control shows them, tests where the mouse is,
// and moves them. Gray is kept in proportion: when black or white moves, it moves with them. A drag and a key write the
// field at once and put the picture off until the hand pauses.
//
// Keyboard, with a handle in focus: Left and Right move it by 1/256, with shift by 1/1024; Home and End take it to the
// ends of its way; Return opens its value for typing. Shift makes a drag ten times slower.
//
// Thread of everything here: main.
#pragma once

#include "src/ScopeDraw.h"
#include "src/support/TKDeferral.h"
#include "src/support/TincturaUIControls.h"

struct LevelsVars;

/// The handles in the order of the fields.
enum LevelsHandle : uint32_t {
    levelsInBlack,
    levelsInGray,
    levelsInWhite,
    levelsOutBlack,
    levelsOutGray,
    levelsOutWhite,
    kLevelsHandleCount
};

/// What LevelsHitTest finds.
enum : uint32_t {
    kLevelsHitNothing = 0,
    kLevelsHitPlot = 128, ///< the histogram, and no handle
    kLevelsHitInBlack = 129,
    kLevelsHitInGray = 130,
    kLevelsHitInWhite = 131,
    kLevelsHitOutBlack = 133,
    kLevelsHitOutGray = 134,
    kLevelsHitOutWhite = 135,
};

/// The code of a handle, and the handle of a code; kLevelsHandleCount for a code of none.
uint32_t LevelsHitCode(uint32_t handle);
uint32_t LevelsHandleOf(uint32_t hitCode);

inline constexpr int32_t kLevelsTickMs = 20;    ///< of the timer that calls LevelsTick
inline constexpr int32_t kLevelsDeferTicks = 5; ///< from a change to its picture
inline constexpr int32_t kLevelsNarrowPlot = 256, kLevelsWidePlot = 512;
inline constexpr int32_t kLevelsWideFrom = 553; ///< width of the control from which plots are wide
inline constexpr int32_t kLevelsMargin = 8;     ///< left of the plot
inline constexpr int32_t kLevelsBarHeight = 16;
inline constexpr int32_t kLevelsHandleBox = 20; ///< side of the box that takes the mouse
inline constexpr int32_t kLevelsHandleDrop = 2; ///< from the bar to that box
inline constexpr float kLevelsNudge = 1.0f / 256, kLevelsFineNudge = 1.0f / 1024;

// --- Geometry ---------------------------------------------------------------------------------------------------------

/// The parts of the control in its own pixels. Rectangles end before `right` and `bottom`.
struct LevelsLayout {
    ScopeRect frame; ///< what the parts take up; never beyond the width that was asked for, if that holds one plot
    ScopeRect inputLabel, inputPlot, inputBar;
    ScopeRect outputLabel, outputBar;
    ScopeRect readout[kLevelsHandleCount]; ///< values, below their handles' bar: black left, gray amid, white right
    bool stacked;                          ///< the output group stands below the input group
};

/// The places for a control of this width and height. Plots are 256 wide below a width of 553, otherwise 512, 8 pixels
/// from the left; the output group stands beside the input group, at 280 or 536, or below it where that would cut it off.
/// The histogram takes what height is left over, at least 40.
LevelsLayout LevelsLayoutOf(int32_t controlWidth, int32_t height);

/// The height at which the histogram is as low as it gets, and one at which it reads well.
int32_t LevelsLeastHeight(int32_t controlWidth);
int32_t LevelsNaturalHeight(int32_t controlWidth);

/// Bins of a histogram in a plot of this width: 128, 256 or 512.
uint32_t LevelsBinCount(int32_t plotWidth);

// --- The control ------------------------------------------------------------------------------------------------------

/// The value of a handle as a number that can be typed: a slider's record without a track.
struct LevelsReadout {
    SliderVars slider; ///< the first member: LevelsReadout is found from it
    LevelsVars* owner;
    uint32_t handle;
};

/// It must stay in place once it is initialised.
struct LevelsVars {
    // What it is bound to.
    uint8_t* dataBase;
    uint32_t channelOffset;                    ///< `lvco`: of the OCLevelsBlock in the record
    uint32_t handleOffset[kLevelsHandleCount]; ///< `lvib`, `lvig`, `lviw`, `lvob`, `lvog`, `lvow`: of its fields
    TKSectionID section;
    const char* objectName;
    // What it shows.
    LevelsLayout layout;
    float value[kLevelsHandleCount]; ///< of the handles, 0 to 1, whatever the record holds
    float field[kLevelsHandleCount]; ///< what the record holds: the readouts say it
    uint32_t channel;                ///< 1 master, 2 red, 3 green, 4 blue
    float pixelsPerUnit;             ///< of the bars
    LevelsReadout readout[kLevelsHandleCount];
    // Between events.
    uint32_t tracking;  ///< hit code of the drag in progress, or 0
    double mouseX;      ///< at the last event of the drag
    double travelled;   ///< pixels since the press
    float pressedValue; ///< of the dragged handle at the press
    float pressedRatio; ///< (gray - black) / (white - black) of its bar at the press
    TKDeferral deferral;
};

/// Binds a control to a channel's block and shows its values.
///
/// vars            stays in place; every other function takes it
/// base            the settings record
/// channelOffset   of the OCLevelsBlock in it
/// channel         1 master, 2 red, 3 green, 4 blue
/// section         marked with each render
/// objectName      of the widget; outlives the record
void InitLevels(LevelsVars* vars, void* base, uint32_t channelOffset, uint32_t channel, TKSectionID section,
                const char* objectName);

/// Fits the parts into a control of this size.
void LayOutLevels(LevelsVars* vars, int32_t controlWidth, int32_t height);

/// Shows the values of a record; nothing is written and nothing rendered. When they are others than before, a drag or a
/// held-back render of the old ones is dropped. True when something has to be painted anew.
bool UpdateLevels(LevelsVars* vars, const void* settings);

/// A handle's place: distance of its middle from the left of the control, in pixels.
int32_t LevelsHandleX(const LevelsVars& vars, uint32_t handle);

/// The 20 by 20 box that takes the mouse for a handle.
ScopeRect LevelsHandleRect(const LevelsVars& vars, uint32_t handle);

/// What is at a point of the control: gray before black before white, input before output.
uint32_t LevelsHitTest(const LevelsVars& vars, int32_t x, int32_t y);

/// "Input Black" and so on.
const char* LevelsHandleName(uint32_t handle);

/// A value with three decimals, as in the C locale, always ended; empty when there is no room.
void FormatLevelsValue(double value, char* text, uint32_t length);

// --- Gestures ---------------------------------------------------------------------------------------------------------

/// The button went down. A handle is taken and its code returned; its undo step opens with its first change. Commits an
/// open edit. Any other code is only returned.
uint32_t PressLevels(TKSession* session, LevelsVars* vars, double x, double y);

/// The mouse moved with a handle taken: the handle follows, within 0 to 1 and its neighbours. The field is written and
/// the picture follows 100 ms after the last change.
TKEffect TrackLevelsHandle(TKSession* session, LevelsVars* vars, double x, uint32_t modifiers);

/// The button went up, or the mouse was taken away: what was held back is rendered, the undo step gets its last state.
TKEffect ReleaseLevels(TKSession* session, LevelsVars* vars);

/// Moves a handle by keyboard to `wanted`, within its limits. Moves of one handle in a row are one undo step.
TKEffect MoveLevelsHandle(TKSession* session, LevelsVars* vars, uint32_t handle, float wanted);

/// The timer. Renders what is due; ends a drag of which no button is down any more. True when it rendered.
bool LevelsTick(TKSession* session, LevelsVars* vars);

/// Whether the timer has anything to do.
bool LevelsNeedTick(const LevelsVars& vars);

/// Renders at once what is held back: a key was let go, the focus goes, or TKSettleControls asks. True when it rendered.
bool FlushLevels(TKSession* session, LevelsVars* vars);

/// Gives the open edit of a readout three decimals instead of two.
void RefineLevelsEdit(SliderVars* slider);
