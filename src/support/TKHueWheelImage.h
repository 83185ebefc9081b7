// The background of the hue offset wheel: which tint stands where.
#pragma once

#include "src/support/TKHueWheel.h"

/// The colour of the wheel at a place from its centre, y downward, before the marks and before muting; of 16 bits.
///
/// radius   above 0; the place lies inside it or on it
ScopeColor TKHueWheelColor(int32_t x, int32_t y, int32_t radius);

/// Fills a square surface: nothing (all zero) outside the radius, opaque colours inside, muted by `uiSaturation`, a
/// 16.16 factor; a black square marks the centre and short black ticks at the rim the six main colours.
///
/// radius   of the wheel in pixels of the surface; the centre is at half the width
/// scale    pixels of the surface for a pixel of the control, at least 1: size of the marks
///
/// Thread: any, own surface.
void TKPaintHueWheel(ScopeSurface* surface, int32_t radius, int32_t scale, uint32_t uiSaturation);

/// A background that wheels share. It lives as long as a wheel shows it, or the session keeps it for the next one.
struct TKWheelImage {
    ScopeSurface surface;
    uint32_t saturation; ///< "UI Saturation" that it was made with
    uint32_t users;      ///< wheels, and the session
};

/// Makes the wheel's background when it has none that fits: a square as wide as the wheel, `scale` pixels for each of
/// the control's. As long as the saturation is that of the first wheel, wheels share the newest image of their size, so
/// that several of one size paint once; with another saturation each has an image of its own.
///
/// Returns bpNoErr, or an error of ScopeSurfaceCreate with no image.   Thread: main.
BPStatus TKPrepareHueWheelImage(TKSession* session, HueOffsetVars* vars, double scale);

/// The wheel has no background any more.
void TKReleaseHueWheelImage(HueOffsetVars* vars);

/// The session keeps no shared image any more; wheels that show it still have it.
void TKForgetWheelImage(TKSession* session);
