// The tone strip: all greys from white at the top to black at the bottom, and beside them what the whole correction
// makes of each, so that a lifted black, a clipped white or a tint is seen at any time without a look at the scopes.
#pragma once

#include "src/support/TKUserDraw.h"

/// Fills a control that draws the strip.   Thread: main.
void TKCreateToneStrip(TKUserDraw* control, const char* objectName);

/// What the correction makes of the grey of a row of `height` rows, not clamped; `grey` receives the grey itself.
void TKToneAt(const TKSession* session, uint32_t row, uint32_t height, float* grey, float result[3]);
