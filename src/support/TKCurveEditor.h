// The curve editor: up to 16 points of one curve, dragged with the mouse or moved with keys.
//
// The points stand in the settings record, sorted by x; the editor holds addresses, no values. A record of any content
// is safe: its count of points is read as 0 to 16. A curve that is a table of samples is shown and cannot be edited.
// What a drag changes stands in the settings at once; the picture follows two ticks of 10 ms after the hand pauses, and up
// to 60 times a second while it does not.
//
// Thread of everything here: main.
#pragma once

#include "src/ScopeDraw.h"
#include "src/TincturaFrameBuffer.h"
#include "src/support/TKContextMenu.h"
#include "src/support/TKDeferral.h"
#include "src/support/TKSession.h"

inline constexpr float kTKCurveGap = 0.004f;        // between neighbours in x
inline constexpr float kTKCurveReach = 0.06f;       // of the pointer, in plot units
inline constexpr float kTKCurveNudge = 0.00390625f; // 1/256: a push of an arrow key
inline constexpr int32_t kTKCurveTicks = 2;         // of 10 ms, until a drag is rendered
inline constexpr int32_t kTKCurveKeyTicks = 4;      // until a key is, at most
inline constexpr uint32_t kTKCurveReadOnly = 1;     // bit of readOnlyFlags
inline constexpr int32_t kTKCurveHSLChannel = -1;   // CurveVars.channel of the curves over the hue
inline constexpr int32_t kTKDisplayFormatCount = 7; // of colours

/// Cursor resources. The numbers are those that the session's setCursor takes.
enum TKCursor : uint32_t {
    tkCursorArrow = 0,
    tkCursorEyedropper = 500,
    tkCursorBlackPoint = 501,
    tkCursorGrayPoint = 502,
    tkCursorWhitePoint = 503,
    tkCursorCurvePoint = 504, ///< over a point
    tkCursorAddPoint = 505,   ///< a press makes a point
};

struct CurveVars {
    void* control;                 ///< the window, or null
    void (*redraw)(void* control); ///< asks it to paint anew; may be null

    ScopeRect frame;               ///< the whole control
    ScopeRect plot;                ///< the graph inside it
    FBFrame* gradientSource;       ///< what lies under the plot, or null; see TKCurvePainter.h
    const uint32_t* readOnlyFlags; ///< kTKCurveReadOnly: a table of samples
    int32_t channel;               ///< 0 master, 1 red, 2 green, 3 blue; kTKCurveHSLChannel
    int32_t* pointCount;           ///< in the settings
    float* pointX;                 ///< 16, in the settings, 0 to 1
    float* pointY;                 ///< likewise
    int32_t dragPoint;             ///< index of the point that is dragged, or -1
    int32_t selectedPoint;         ///< index of the selected point, or -1
    bool dragging;
    bool hovering; ///< the mouse is over the plot

    HCurve* curve; ///< in the settings
    TKSectionID section;
    const char* label;
    const char* objectName;
    const int32_t* displayFormat; ///< of colours, 1 to 7; null is 1

    // Between events.
    int32_t hoverPoint;   ///< index of the point under the mouse, or -1
    float hoverX, hoverY; ///< of the mouse in plot units, while hovering
    TKCursor cursor;      ///< that belongs to the mouse's place
    float lowX, highX;    ///< where the dragged point may go
    TKDeferral deferral;
    TKDeferPace pace; ///< of a drag
    int32_t waited;   ///< ticks since the oldest key that is not rendered
};

/// Fills an editor of one of the settings' curves. `section` is one of tkSectionCurveMaster to tkSectionCurveLightness
/// and tells curve and channel. Label and name are literals. The record has no size until TKPlaceCurve.
void TKCreateCurve(TKSession* session, CurveVars* vars, const char* label, const char* objectName, TKSectionID section);

/// Releases the gradient.
void TKDisposeCurve(CurveVars* vars);

/// The control and its graph stand there now.
void TKPlaceCurve(CurveVars* vars, const ScopeRect& frame, const ScopeRect& plot);

/// Whether the curve is a table of samples.
bool TKCurveIsReadOnly(const CurveVars& vars);
/// The points that can be read, 0 to 16; 0 for a table of samples.
int32_t TKCurvePointCount(const CurveVars& vars);

/// Inserts a point before the first one with a larger x, and drags and selects it. Nothing happens with 16 points.
/// Without data it shows a message.
void AddCurvePoint(TKSession* session, CurveVars* vars, float y, float x);

/// Removes a point when there are at least three. True when it did.
bool DeleteCurvePoint(CurveVars* vars, int32_t index);

/// The section goes on and, with `repaint`, the picture follows.
void NotifyCurveChange(TKSession* session, CurveVars* vars, bool repaint);

// --- Places. Coordinates are those of `frame` ----------------------------------------------------------------------------

struct TKPlotPoint {
    float x, y; ///< 0 to 1 inside the plot, y upward
};
TKPlotPoint TKCurveFromPixels(const CurveVars& vars, double x, double y);
/// The pixels of the first and the last column and row are 0 and 1.
double TKCurvePixelX(const CurveVars& vars, double x);
double TKCurvePixelY(const CurveVars& vars, double y);

/// The nearest point within kTKCurveReach, or -1. With 16 points, and on a table of samples, nobody looks: -1.
int32_t TKCurvePointNear(const CurveVars& vars, TKPlotPoint place);

// --- Gestures -----------------------------------------------------------------------------------------------------------

/// The mouse moved without a button. Sets hover point, cursor and readouts.
void TKCurveHover(CurveVars* vars, double x, double y);
void TKCurveLeave(CurveVars* vars);

/// Whether a press there is one in the plot.
bool TKCurveHit(const CurveVars& vars, double x, double y);

/// The left button went down in the plot: an undo step is opened, the section goes on, a point is taken or made.
TKEffect TKCurvePress(TKSession* session, CurveVars* vars, double x, double y);
TKEffect TKCurveMove(TKSession* session, CurveVars* vars, double x, double y);
/// The button went up, or the mouse was taken away: renders what was held back and stores the state for undo.
TKEffect TKCurveRelease(TKSession* session, CurveVars* vars);

/// Backspace and Delete remove the selected point, the arrows move it by 1/256; pushes in a row are one undo step.
/// Page Up and Page Down select the previous and the next point, Insert makes one halfway to the next. Keys that are not
/// taken, and all with control or alt: false.
bool TKCurveKey(TKSession* session, CurveVars* vars, uint32_t virtualKey, uint32_t modifiers);

/// The output of the selected point, 0 without one; and the same from assistive tools, as the arrows do it.
float TKCurveOutput(const CurveVars& vars);
void TKCurveSetOutput(TKSession* session, CurveVars* vars, float output);

/// The 10 ms timer of the control. Renders a change that is due; ends a drag whose button is up though nobody said so.
void TKCurveTick(TKSession* session, CurveVars* vars);
/// Renders at once what is held back and stores it for undo; a drag goes on. See TKSettleControls.
void TKSettleCurve(TKSession* session, CurveVars* vars);
/// Whether the timer has anything to do.
bool TKCurveWantsTicks(const CurveVars& vars);

// --- Menu 200 -----------------------------------------------------------------------------------------------------------

enum TKCurveMenuItem : uint32_t { tkCurveDelete, tkCurveReset, tkCurveResetAll, tkCurveLoad, tkCurveSave };
TKContextMenu TKCurveMenu(const CurveVars& vars);
TKEffect TKCurveMenuSelect(TKSession* session, CurveVars* vars, uint32_t item);

// --- Texts --------------------------------------------------------------------------------------------------------------

/// What "Input:" and "Output:" show: the place of the mouse, else the selected point; empty without either and for a
/// table of samples.
struct TKCurveReadout {
    char input[24], output[24]; ///< UTF-8
};
TKCurveReadout TKCurveReadouts(const CurveVars& vars);

/// A value of 0 to 1 as the colour display format has it: "RGB 8-bit|RGB 10-bit|RGB 16-bit|RGB floating point|RGB
/// Percent|HSL|Hex", from 1; others count as 1. `isHue` tells that it stands on the axis of hues, whose middle is red.
void TKFormatCurveValue(int32_t format, float value, bool isHue, char* text, uint32_t length);

/// The value as a screen reader says it: the selected point, or how many there are.
void TKCurveText(const CurveVars& vars, char* text, uint32_t length);

// --- From the record ----------------------------------------------------------------------------------------------------

/// The settings may have changed: a selection that points nowhere goes, a change that waited to be rendered is dropped,
/// a drag of a point that is gone ends. With `previous`, a curve that is equal in both is left alone, unless forced.
/// True when the editor was redrawn.
bool TKUpdateCurve(CurveVars* vars, const OCSettings* settings, const OCSettings* previous, bool force);
