// The hue offset wheel: a tint's angle and strength as the place of a handle in a circle, with two sliders beside it.
//
// A drag moves the handle to the pointer; with shift the handle moves by a tenth of the pointer's way. A screen angle is
// the tint's angle less kTKWheelTurn degrees, with y growing downward. What a drag changes stands in the settings at
// once; the picture follows two ticks of 10 ms after the hand pauses, and up to 60 times a second while it does not.
//
// Thread of everything here: main.
#pragma once

#include "src/ScopeDraw.h"
#include "src/support/TKContextMenu.h"
#include "src/support/TKDeferral.h"
#include "src/support/TKSession.h"

inline constexpr double kTKWheelTurn = 103.0;
inline constexpr double kTKWheelTurnRadians = 1.7976891994476318; // the same
inline constexpr int32_t kTKWheelTicks = 2;                       // of 10 ms, until a drag is rendered
inline constexpr float kTKWheelNudge = 0.02f;                     // of the radius: a push of an arrow key
inline constexpr float kTKWheelFineNudge = 0.002f;                // with shift

/// One wheel with its two sliders.
struct HueOffsetVars {
    void* control;                 ///< the window, or null
    void (*redraw)(void* control); ///< asks it to paint anew; may be null

    ScopeSurface wheelImage;  ///< background; not owned when it is the shared one
    TKWheelImage* shared;     ///< that image, or null
    uint32_t imageSaturation; ///< "UI Saturation" that it was made with
    ScopeRect frame;          ///< the wheel's square in the window
    ScopeRect wheelRect;      ///< `frame` less 2 on each side
    int32_t radius;           ///< half the width of `wheelRect` less 5, at least 0
    int16_t handleY, handleX; ///< from the centre, in pixels
    float angle;              ///< degrees, [0, 360]
    float strength;           ///< [0, 1]
    bool enabled;             ///< gestures count

    uint8_t* dataBase;   ///< the settings record
    uint32_t hoco, hoso; ///< offsets of the fields of angle and strength
    TKSectionID section;
    bool repaint; ///< whether a change renders the picture anew
    const char* label;
    const char* objectName;
    SliderVars hueSlider, strengthSlider; ///< registered with the session; the record must stay in place

    // Between events.
    bool captured;           ///< the mouse belongs to the wheel
    bool firstEvent;         ///< the next move is that of the press
    double mouseX, mouseY;   ///< the previous event, from the centre
    double targetX, targetY; ///< the previous target, from the centre
    TKDeferral deferral;
    TKDeferPace pace;
};

/// Fills a wheel with its sliders and registers the sliders.
///
/// hoco, hoso   offsets in OCSettings of the float fields of angle and strength
/// label        of the wheel, such as "Master"; objectName is the last part of the widgets' names. Both are literals.
///
/// Returns what TKRegisterSlider returns. Until TKPlaceHueOffset the wheel has 150 pixels a side.
BPStatus TKCreateHueOffset(TKSession* session, HueOffsetVars* vars, const char* label, const char* objectName,
                           uint32_t hoco, uint32_t hoso, TKSectionID section);

/// Releases the image, or its part of the shared one.
void TKDisposeHueOffset(HueOffsetVars* vars);

/// The wheel stands in `frame` now.
void TKPlaceHueOffset(HueOffsetVars* vars, const ScopeRect& frame);

/// Where the handle stands for an angle in degrees and a strength, in a wheel of a radius: whole pixels, cut.
struct TKWheelPlace {
    int16_t x, y;
};
TKWheelPlace TKHueOffsetHandle(float angle, float strength, int32_t radius);

/// Moves the handle; the settings stay. A value that is not finite counts as 0.
void SetHueOffsetAngle(HueOffsetVars* vars, float angle, bool redraw);
void SetHueOffsetStrength(HueOffsetVars* vars, float strength, bool redraw);

/// Writes both fields; with `repaint` the section goes on and the picture follows.
void NotifyHueOffset(TKSession* session, HueOffsetVars* vars, float angle, float strength, bool repaint);

/// Adds to the angle and wraps it into 0 to 360. Handle, sliders and fields follow. Undo is the caller's.
TKEffect RotateHueOffset(TKSession* session, HueOffsetVars* vars, float delta, bool repaint);

/// Moves the handle by a vector of pixels, y downward, without losing parts of pixels. Handle, sliders and fields
/// follow. Undo is the caller's.
TKEffect OffsetHueOffset(TKSession* session, HueOffsetVars* vars, float dx, float dy, bool repaint);

// --- Gestures. Coordinates are those of `frame`; modifiers are the word of BPKeyboard.h ----------------------------------

/// Whether a press there is one on the wheel.
bool TKHueOffsetHit(const HueOffsetVars& vars, double x, double y);

/// The left button went down: an undo step is opened, the section goes on, the handle follows.
TKEffect TKHueOffsetPress(TKSession* session, HueOffsetVars* vars, double x, double y, uint32_t modifiers);
TKEffect TKHueOffsetMove(TKSession* session, HueOffsetVars* vars, double x, double y, uint32_t modifiers);
/// The button went up, or the mouse was taken away: renders what was held back and stores the state for undo.
TKEffect TKHueOffsetRelease(TKSession* session, HueOffsetVars* vars);

/// The arrows move the handle by kTKWheelNudge of the radius, with shift by kTKWheelFineNudge. Pushes in a row are one
/// undo step. Delete and Backspace reset the wheel as its menu does. Other keys, and all with control or alt, are not
/// taken: false.
bool TKHueOffsetKey(TKSession* session, HueOffsetVars* vars, uint32_t virtualKey, uint32_t modifiers);

/// The 10 ms timer of the control. Renders a change that is due; ends a drag whose button is up though nobody said so.
void TKHueOffsetTick(TKSession* session, HueOffsetVars* vars);
/// Renders at once what is held back and stores it for undo; a drag goes on. See TKSettleControls.
void TKSettleHueOffset(TKSession* session, HueOffsetVars* vars);
/// Whether the timer has anything to do.
bool TKHueOffsetWantsTicks(const HueOffsetVars& vars);

// --- Menu 201 -----------------------------------------------------------------------------------------------------------

enum TKWheelMenuItem : uint32_t { tkWheelReset, tkWheelResetAll };
TKContextMenu TKHueOffsetMenu(const HueOffsetVars& vars);
TKEffect TKHueOffsetMenuSelect(TKSession* session, HueOffsetVars* vars, uint32_t item);

// --- From the record ----------------------------------------------------------------------------------------------------

/// Brings the handle to the values of a record of the same kind as the settings; the sliders have a road of their own.
/// With `previous`, values that are equal in both are left alone, unless forced. A change that waited to be rendered is
/// dropped, and a drag goes on as a new undo step. True when the handle was set.
bool TKUpdateHueOffset(HueOffsetVars* vars, const OCSettings* settings, const OCSettings* previous, bool force);

/// The value as a screen reader says it: "Hue 120.00, Strength 0.50".
void TKHueOffsetText(const HueOffsetVars& vars, char* text, uint32_t length);
