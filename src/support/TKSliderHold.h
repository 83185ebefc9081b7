// A slider's thumb in the hand, and its keys.
//
// The thumb keeps its distance from the pointer; with shift it moves a tenth of the way, from wherever it is then. The
// hold counts in fractions of track units, so that many small moves add up to one large one.
//
// Thread of everything here: main.
#pragma once

#include "src/support/TincturaUIControls.h"

inline constexpr double kTKFineDrag = 0.1; ///< of the pointer's way, with shift

struct TKSliderHold {
    double position; ///< where the hand has the thumb, in track units, beyond the ends too
    double pixel;    ///< where the pointer was last, from the track's start
};

/// The thumb was taken where it is; an open edit is committed.
void TKGrabThumb(TKSession* session, const SliderVars& slider, TKSliderHold* hold, double pixel);

/// The track was pressed beside the thumb, on a track of `length` pixels: the thumb jumps to the pointer, with shift it
/// is taken where it is.
TKEffect TKPressTrack(TKSession* session, SliderVars* slider, TKSliderHold* hold, double pixel, int32_t length,
                      uint32_t modifiers);

/// The pointer moved to `pixel` on a track of `length` pixels.
TKEffect TKMoveHeldThumb(TKSession* session, SliderVars* slider, TKSliderHold* hold, double pixel, int32_t length,
                         uint32_t modifiers);

/// What a virtual key does to a slider that has the focus.
enum TKSliderKeyAction : uint32_t {
    tkSliderKeyNone,
    tkSliderKeyStep,  ///< up, down: a notch of the wheel, with shift a tenth; page up and down: ten
    tkSliderKeyReset, ///< delete, backspace
    tkSliderKeyEdit,  ///< Return: opens the edit
};
TKSliderKeyAction TKSliderKeyActionOf(uint32_t virtualKey);

/// Carries the action out. Nothing happens for a key without one.
TKEffect TKSliderKey(TKSession* session, SliderVars* slider, uint32_t virtualKey, uint32_t modifiers);
