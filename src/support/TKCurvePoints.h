// The three eyedroppers of the curves: a colour of the picture that is to become black, white or grey.
//
// Each moves one point of the red, the green and the blue curve as one undo step. Curves that are tables of samples are
// left alone. Components are clamped to 0 to 1; what is no finite number counts as 0.   Thread of everything here: main.
#pragma once

#include "src/support/TKCurveEditor.h"
#include "src/support/TKEyedropper.h"

/// The first point goes to the sample's component, output 0.
TKEffect SetBlackPoint(TKSession* session, const float rgb[3]);

/// The last point goes to the sample's component, output 1.
TKEffect SetWhitePoint(TKSession* session, const float rgb[3]);

/// A point takes each component to the middle one of the three, by size. It is the nearest one between the first and
/// the last when it lies within kTKCurveReach in x, or when a curve is full; otherwise it is made.
TKEffect SetGrayPoint(TKSession* session, const float rgb[3]);

enum TKCurvePointKind : uint32_t { tkBlackPoint, tkGrayPoint, tkWhitePoint };

/// An eyedropper that calls one of the three. What was picked last stays with it and is no part of the grade.
struct TKCurveEyedropper {
    TKEyedropper eyedropper;
    float picked[3];
    uint32_t toolTip; ///< index of its text: 15, which has none, 16, 17
};

/// Fills it: name, cursor, tool tip. The record must stay in place.
void TKInitCurveEyedropper(TKCurveEyedropper* record, TKCurvePointKind kind, const char* objectName);
